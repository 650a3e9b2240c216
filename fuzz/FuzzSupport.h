// What the fuzz targets share: the entry point libFuzzer (or StandaloneFuzzMain.cpp) calls, the
// check that stops a run, LeakSanitizer switched off around JSON-GLib's own leaks, and a device
// root for the host port removed at exit.
#ifndef ZON_FUZZ_SUPPORT_H
#define ZON_FUZZ_SUPPORT_H

#include <errno.h>   // program_invocation_short_name
#include <ftw.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

// Present only in sanitized builds.
extern "C" void __lsan_disable() __attribute__((weak));
extern "C" void __lsan_enable() __attribute__((weak));

namespace fuzz {

// A failed property: the message names the target and what broke, and the run stops there.
inline void check(bool condition, const char* what)
{
	if (!condition) {
		fprintf(stderr, "%s: %s\n", program_invocation_short_name, what);
		abort();
	}
}

// JSON-GLib 1.6 loses part of what it builds on some broken texts (surrogate escapes, a second
// top-level value): its leak, not the code under test's, so such parsing runs without leak checks.
template <typename Work>
void withoutLeakChecks(Work work)
{
	if (__lsan_disable)
		__lsan_disable();
	work();
	if (__lsan_enable)
		__lsan_enable();
}

// A fresh ZON_HOST_ROOT for the whole run, removed at exit; the host's log goes nowhere unless
// ZON_HOST_LOG names a file (broken inputs are logged on every run).
inline const std::string& deviceRoot()
{
	static const std::string root = [] {
		char dir[] = "/tmp/zon-fuzz-XXXXXX";
		check(mkdtemp(dir) != nullptr, "cannot make a device root");
		setenv("ZON_HOST_ROOT", dir, 1);
		setenv("ZON_HOST_LOG", "/dev/null", 0);
		atexit([] {
			nftw(deviceRoot().c_str(), [](const char* p, const struct stat*, int, struct FTW*) { return remove(p); }, 16,
				FTW_DEPTH | FTW_PHYS);
		});
		return std::string(dir);
	}();
	return root;
}

} // namespace fuzz

#endif // ZON_FUZZ_SUPPORT_H

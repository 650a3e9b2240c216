/*
 * host_internal.h - what the host port's sources share. Not installed.
 */
#ifndef ZON_HOST_INTERNAL_H
#define ZON_HOST_INTERNAL_H

#include <cstdint>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <glib.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <time.h>

#include "tizen_error.h"
#include "modules.h"
#include "zon-host/zon_host.h"

// The library is built with hidden visibility; only the platform APIs and the control API are
// exported, so the helpers below never clash with an application's own symbols.
#define ZON_HOST_API extern "C" __attribute__((visibility("default")))

// First statement of every platform function: an injected fault makes the call fail before it
// has any effect. `__func__` keeps the name in step with the function it guards.
// A settings read passes here dozens of times a refresh: the checks cost a counter test until a
// test arms a fault, and the name is looked up among the declared points once per call site.
#define ZON_HOST_FAULT_RETURN_ERROR() \
	do { \
		static const bool zonHostPointKnown_ [[maybe_unused]] = zonhost::faultPointReached(__func__); \
		int zonHostError_ = 0; \
		if (zonhost::g_armedFaults && zonhost::faultCheck(__func__, &zonHostError_)) \
			return zonHostError_; \
	} while (0)

// For functions that answer a pointer or value instead of an error code: the injected error is
// left in get_last_result(), as the platform does for such functions.
#define ZON_HOST_FAULT_RETURN(failValue) \
	do { \
		static const bool zonHostPointKnown_ [[maybe_unused]] = zonhost::faultPointReached(__func__); \
		int zonHostError_ = 0; \
		if (zonhost::g_armedFaults && zonhost::faultCheck(__func__, &zonHostError_)) { \
			set_last_result(zonHostError_); \
			return failValue; \
		} \
	} while (0)

// Declares the fault points of a source file, so that zon_host_fault_inject() knows them:
//   ZON_HOST_FAULT_POINTS("preference_set_int", "preference_get_int");
// A fault point that was not declared logs an error the first time it is reached.
#define ZON_HOST_FAULT_POINTS(...) \
	static const bool zonHostFaultPointsDeclared_ [[maybe_unused]] = zonhost::declareFaultPoints({__VA_ARGS__})

namespace zonhost {

// Both keep the names themselves, not copies: literals and __func__ only.
bool declareFaultPoints(std::initializer_list<const char *> names);
// Logs an error when `function` was not declared a fault point; answers true.
bool faultPointReached(const char *function);
// How many faults are armed; zero on a device no test is failing on purpose.
extern std::size_t g_armedFaults;
// True, with *error set, when this call of the platform function `function` must fail (an
// injected fault); counts the call.
bool faultCheck(const char *function, int *error);

// ---- the environment (host.cpp) ----

// One environment variable as getenv() gives it, scanning the environment again only when it may
// have changed: the library reads settings and logs on its hot paths, and getenv() compares the
// name with every variable each time. glibc's setenv(), unsetenv() and putenv() never write into
// an entry's text: they replace entry pointers, move entries down, or put a new entry where the
// terminating null was; so the same array with the same entry where the variable was (or, when it
// was absent, the same last entry and still a null after it) means the same answer. Keep one per
// thread (thread_local), as getenv() needs no lock.
class EnvVariable {
public:
	explicit EnvVariable(const char *name) : _name(name), _length(strlen(name)) {}
	// getenv(name).
	const char *get();

private:
	const char *_name;
	size_t _length;
	char **_scanned = nullptr;
	size_t _at = 0;               // the variable's entry, or the terminating null
	const char *_mark = nullptr;  // environ[_at] when found, else environ[_at - 1]
	const char *_value = nullptr;
};

// ---- device root and application directories (host.cpp) ----

// The device root, created on first use, without a trailing '/'.
const std::string &root();
// True once root() chose the device (until the next zon_host_reset()).
bool deviceOpen();
// <root>/apps/<app id>/ followed by `sub` ("data/", "shared/res/", ...). Created when
// `create`; empty string when that fails.
std::string appDir(const char *sub, bool create);
// mkdir -p with mode 0755; true when the directory exists afterwards.
bool ensureDir(const std::string &path);
// "Europe/Berlin" out of a zone file path such as "/usr/share/zoneinfo/Europe/Berlin"; empty
// when the path is not below a zoneinfo directory.
std::string zoneFromPath(const std::string &path);
// The desktop's Olson zone id ("Europe/Berlin"), "UTC" when it can't be told.
std::string desktopTimeZone();

// ---- the device's zone (zone.cpp) ----

// True for an Olson id with a zone file under /usr/share/zoneinfo.
bool isZoneName(const std::string &zone);
// Points <root>/fs/opt/etc/localtime at the zone's file (replacing any link); logs failures.
bool linkDeviceZone(const std::string &zone);
// The zone id the device's link names; empty without a link.
std::string deviceZoneId();
// Makes the device's link what the C library and ICU take as local.
void applyDeviceZone();
// Logs when ICU's zone rules are missing or older than the machine's tzdata.
void checkZoneRules();
// `relative` (a path from the library's directory, e.g. "../share/locale") beside the loaded
// libzon-host, so that an installation moved to another prefix finds its data; empty when the
// library's own path cannot be found.
std::string besideHostLibrary(const char *relative);
// localtime_r() in the device's zone, whatever zone the C library last loaded: the reentrant
// call does not reload the zone rules, so the host's own broken-down times go through here.
void deviceLocalTime(time_t t, struct tm *out);

// ---- typed key files (keystore.cpp) ----

enum class Type { None, Int, Double, Bool, String };

struct Value {
	Type type = Type::None;
	long long i = 0;
	double d = 0.0;
	bool b = false;
	std::string s;

	static Value ofInt(long long v) { Value x; x.type = Type::Int; x.i = v; return x; }
	static Value ofDouble(double v) { Value x; x.type = Type::Double; x.d = v; return x; }
	static Value ofBool(bool v) { Value x; x.type = Type::Bool; x.b = v; return x; }
	static Value ofString(const char *v) { Value x; x.type = Type::String; x.s = v; return x; }
	bool operator==(const Value &o) const;
	bool operator!=(const Value &o) const { return !(*this == o); }
};

// A GLib key file with one group per type ([int], [double], [bool], [string]), so that the
// stores stay readable and editable by hand. Keys that are not valid key-file keys are
// %-escaped on disk.
class KeyStore {
public:
	enum class Lookup { Absent, Found, Corrupt };

	// A `journaled` store appends each change to <path>.journal rather than replacing the file
	// (keystore.cpp): a change then costs one write instead of a file replaced by rename.
	// A `watched` store asks the kernel (inotify on its directory) whether its file changed
	// instead of looking at the file on every load().
	explicit KeyStore(std::string path, std::string headerComment = std::string(), bool journaled = false,
			bool watched = false);
	~KeyStore();
	KeyStore(const KeyStore &) = delete;
	KeyStore &operator=(const KeyStore &) = delete;

	// A missing file is an empty store; false on a read or parse error, which leaves the store
	// empty. A store kept across calls re-reads the file only when it changed since the last
	// load() or save() (another process, a hand edit), so a caller may load() before every use.
	bool load();
	// Atomic replace; creates the parent directory. False on failure, after which the next
	// load() reads the file again.
	bool save();
	Lookup lookup(const char *key, Value *out) const;
	void set(const char *key, const Value &value);
	bool remove(const char *key);
	std::vector<std::string> keys() const;
	const std::string &path() const { return _path; }

private:
	// What tells one version of the file from the next: writers replace it by rename (a new
	// inode), hand edits rewrite it in place (a new mtime, to the nanosecond, or size).
	struct Stamp {
		bool exists = false;
		dev_t dev = 0;
		ino_t ino = 0;
		off_t size = 0;
		struct timespec mtime = {};
		struct timespec ctime = {};
		bool operator==(const Stamp &o) const;
		static Stamp of(const struct stat &st);
		bool settled() const;
	};

	struct Journal;
	struct Watch;

	void forget();
	Lookup readKey(const char *key, Value *out) const;
	bool loadFile(bool *reloaded);
	bool saveFile();
	bool openJournal(bool create);
	void readJournal();
	bool appendJournal(const std::vector<std::string> &changes);
	bool applyChange(const std::string &change);
	void removeStored(const std::string &stored);

	std::string _path;
	std::string _header;
	GKeyFile *_file;
	// Answers already read out of _file, so that a settings read is a map lookup; emptied by
	// every change to _file (and bounded: a program may ask for any number of absent keys).
	struct Answer {
		Lookup result;
		Value value;
	};
	mutable std::map<std::string, Answer, std::less<>> _answers;
	Stamp _stamp;
	// False until a load or save has seen a stamp that a later change cannot repeat.
	bool _current = false;
	std::unique_ptr<Journal> _journal;
	std::unique_ptr<Watch> _watch;
};

// One store per module, kept while the path it was opened for stays the same (the device root
// and the application id may change between calls).
class KeptStore {
public:
	// The store for `path`, loaded; nullptr when the file can't be read or parsed.
	KeyStore *load(const std::string &path, const std::string &headerComment, bool journaled = false,
			bool watched = false);
	void drop() { _store.reset(); }

private:
	std::unique_ptr<KeyStore> _store;
};

// ---- main-loop deliveries (delivery.cpp) ----

using Serial = std::uint64_t;
Serial newSerial();
// Queues `fn` on GLib's default main context, on behalf of the registration `owner`.
void deliverLater(Serial owner, std::function<void()> fn);
// Drops the deliveries of `owner` not yet dispatched (one being dispatched runs to its end).
void cancelDeliveries(Serial owner);

// The platform answers a feature key with or without its "http://" scheme: both name one
// feature, stored under the short form.
std::string featureKey(const char *key);

// ---- diagnostics of the platform implementation itself, logged as the device's platform
// libraries do, under their own tag ----
// Exported for zon-host-toolkit, the host's other library; not declared in any installed header.
__attribute__((visibility("default"))) void platformLog(int prio, const char *tag, const char *fmt, ...)
		G_GNUC_PRINTF(3, 4);

} // namespace zonhost

#endif // ZON_HOST_INTERNAL_H

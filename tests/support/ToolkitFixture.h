/*
 * ToolkitFixture.h - Elementary without a display, for tests that create toolkit objects.
 *
 * On top of HostFixture (a fresh device per test), SetUp starts the toolkit on its buffer
 * engine and opens a 360x360 window; TearDown deletes the window, shuts the toolkit down and
 * fails the test if the toolkit logged a fault meanwhile: a critical line, or a failed safety
 * check. EFL reports misuse of its API (a callback added to a deleted object, a null where an
 * object belongs) as a failed safety check at error level and carries on, so without this check
 * such faults pass unnoticed. Other error lines are not faults: the toolkit logs those for a
 * missing desktop session too.
 *
 * A test binary that includes this header sets the toolkit's environment before main(), for all
 * its tests: Eina reads the directories below once, at its first initialisation, and other code
 * of the binary (the host's theme service, for one) may initialise Eina before the first toolkit
 * test runs.
 * - HOME is a directory of the process's own, /tmp/zon-toolkit-test-<pid>, made by the first
 *   toolkit test and removed when the process exits: the toolkit keeps its configuration there.
 * - XDG_RUNTIME_DIR and XDG_CACHE_HOME are shared by all test processes of the user and kept
 *   between runs, under /tmp/zon-toolkit-<uid>: the toolkit starts a helper daemon (efreetd)
 *   that listens and caches there and outlives the process by seconds, writing as it goes, so a
 *   directory removed at exit would come back. Processes running side by side share the one
 *   daemon.
 * - The buffer engine is selected, and chatter that only reflects the missing desktop session
 *   (system bus modules, backtraces) is turned off unless the environment already says
 *   otherwise.
 *
 *   class ViewTest : public ToolkitFixture {};
 *   TEST_F(ViewTest, ...) {
 *       Evas_Object* button = elm_button_add(window());
 *       ...
 *       evas_object_del(button);
 *   }
 */
#ifndef ZON_TESTS_TOOLKIT_FIXTURE_H
#define ZON_TESTS_TOOLKIT_FIXTURE_H

#include <fcntl.h>
#include <stdarg.h>
#include <string.h>
#include <sys/stat.h>

#include <mutex>

#include <Elementary.h>

#include "HostFixture.h"

class ToolkitFixture : public HostFixture {
protected:
	void SetUp() override
	{
		HostFixture::SetUp();
		if (HasFatalFailure())
			return;
		makePrivateDir();
		eina_log_print_cb_set(recordFaultCb, nullptr);
		ASSERT_GT(initToolkit(), 0);
		toolkitUp_ = true;
		window_ = elm_win_util_standard_add("zon-tests", "zon-tests");
		ASSERT_NE(window_, nullptr);
		evas_object_resize(window_, 360, 360);
		evas_object_show(window_);
	}

	void TearDown() override
	{
		if (window_)
			evas_object_del(std::exchange(window_, nullptr));
		if (std::exchange(toolkitUp_, false))
			elm_shutdown();
		eina_log_print_cb_set(eina_log_print_cb_stderr, nullptr);
		std::lock_guard<std::mutex> lock(faultMutex_);
		for (const std::string& line : std::exchange(faultLines_, {}))
			ADD_FAILURE() << "toolkit fault: " << line;
		HostFixture::TearDown();
	}

	Evas_Object* window() const { return window_; }
	Evas* evas() const { return evas_object_evas_get(window_); }

public:
	// Sets the environment, once, before main(); HOME itself is made by the first toolkit test of
	// the process, so that processes which run none (test listing, death-test children) leave
	// nothing behind.
	static void prepareEnvironment()
	{
		setenv("HOME", privateDir_.c_str(), 1);
		const std::string shared = "/tmp/zon-toolkit-" + std::to_string(getuid());
		mkdir(shared.c_str(), 0700);
		for (auto [variable, dir] : {std::pair{"XDG_RUNTIME_DIR", "/runtime"}, {"XDG_CACHE_HOME", "/cache"}}) {
			mkdir((shared + dir).c_str(), 0700);
			setenv(variable, (shared + dir).c_str(), 1);
		}
		setenv("ELM_DISPLAY", "buffer", 1);
		setenv("ELM_ENGINE", "buffer", 1);
		setenv("ECORE_NO_SYSTEM_MODULES", "1", 0);
		setenv("EINA_LOG_BACKTRACE", "-1", 0);
	}

private:
	static void makePrivateDir()
	{
		static bool made = false;
		if (std::exchange(made, true))
			return;
		// A process that died with this pid before may have left its directory.
		removeTree(privateDir_);
		if (mkdir(privateDir_.c_str(), 0700) != 0) {
			perror("toolkit fixture: mkdir");
			abort();
		}
		atexit([] { removeTree(privateDir_); });
	}

	// The toolkit starts a helper daemon (efreetd) that inherits standard output and error and
	// outlives the test process by seconds; ctest waits for those pipes to close. The daemon gets
	// /dev/null instead. Faults logged meanwhile are still recorded.
	static int initToolkit()
	{
		fflush(nullptr);
		int savedOut = dup(STDOUT_FILENO), savedErr = dup(STDERR_FILENO), devNull = open("/dev/null", O_WRONLY | O_CLOEXEC);
		if (savedOut < 0 || savedErr < 0 || devNull < 0 || dup2(devNull, STDOUT_FILENO) < 0 || dup2(devNull, STDERR_FILENO) < 0) {
			perror("toolkit fixture: redirecting output");
			abort();
		}
		int result = elm_init(0, nullptr);
		fflush(nullptr);
		dup2(savedOut, STDOUT_FILENO);
		dup2(savedErr, STDERR_FILENO);
		for (int fd : {savedOut, savedErr, devNull})
			close(fd);
		return result;
	}

	static void recordFaultCb(const Eina_Log_Domain* domain, Eina_Log_Level level, const char* file,
		const char* fnc, int line, const char* fmt, void* data, va_list args)
	{
		bool safetyCheck = level == EINA_LOG_LEVEL_ERR && domain && domain->name
			&& strcmp(domain->name, "eina_safety") == 0;
		if (level <= EINA_LOG_LEVEL_CRITICAL || safetyCheck) {
			va_list copy;
			va_copy(copy, args);
			char message[1024];
			vsnprintf(message, sizeof(message), fmt, copy);
			va_end(copy);
			std::lock_guard<std::mutex> lock(faultMutex_);
			faultLines_.push_back(std::string(domain && domain->name ? domain->name : "?") + " "
				+ (file ? file : "?") + ":" + std::to_string(line) + " " + (fnc ? fnc : "?") + "() "
				+ message);
		}
		eina_log_print_cb_stderr(domain, level, file, fnc, line, fmt, data, args);
	}

	// Defined before environmentPrepared below, so initialised before it.
	static inline const std::string privateDir_ = "/tmp/zon-toolkit-test-" + std::to_string(getpid());
	static inline std::vector<std::string> faultLines_;
	static inline std::mutex faultMutex_;
	Evas_Object* window_ = nullptr;
	bool toolkitUp_ = false;
};

namespace zon_toolkit_fixture_detail {
inline const bool environmentPrepared = (ToolkitFixture::prepareEnvironment(), true);
}

#endif /* ZON_TESTS_TOOLKIT_FIXTURE_H */

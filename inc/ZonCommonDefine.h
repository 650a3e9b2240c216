/**
 * @file
 * ZonCommonDefine.h - logging and assert macros shared by every source of zon-common.
 *
 * A source file defines LOG_TAG before including this header; the tag is fixed per file:
 * @code
 *   #define LOG_TAG "zonvista"
 *   #include "ZonCommonDefine.h"
 *   ...
 *   WERROR("open database is failed.");        // error priority, "* Critical *" in red
 *   WINFO("table created");                    // info priority, in green
 *   WASSERT(timezone != nullptr);              // logs "WASSERT! timezone != nullptr", aborts
 * @endcode
 * Every line goes to dlog's main buffer as "FILE: FUNCTION(LINE) > MESSAGE" (FILE without its directories).
 * WASSERT stays active in every build type, NDEBUG or not.
 */
#ifndef ZON_COMMON_DEFINE_H
#define ZON_COMMON_DEFINE_H

#include <assert.h>
#include <dlog.h>

#ifndef LOG_TAG
/// The dlog tag of the including source file; "zonvista" unless it defined its own.
#define LOG_TAG "zonvista"
#endif

namespace zon_common_detail {
/// Compile-time base name of __FILE__, so log lines carry "ZonDBManager.cpp" and not a build path.
constexpr const char* baseName(const char* path)
{
	const char* base = path;
	for (const char* p = path; *p; ++p) {
		if (*p == '/')
			base = p + 1;
	}
	return base;
}
}

/// The including source file's base name.
#define ZON_LOG_FILE_ (zon_common_detail::baseName(__FILE__))

/// One line at priority `prio` on the main buffer, prefixed with file, function and line.
#define ZON_LOG_(prio, fmt, ...) \
	__dlog_print(LOG_ID_MAIN, prio, LOG_TAG, "%s: %s(%d) > " fmt, ZON_LOG_FILE_, __func__, __LINE__, ##__VA_ARGS__)

/// An error line, the message wrapped in "\033[0;31m* Critical * " ... "\033[0;m".
#define WERROR(fmt, ...) ZON_LOG_(DLOG_ERROR, "\033[0;31m* Critical * " fmt "\033[0;m", ##__VA_ARGS__)
/// An informational line, the message wrapped in "\033[0;32m" ... "\033[0;m".
#define WINFO(fmt, ...) ZON_LOG_(DLOG_INFO, "\033[0;32m" fmt "\033[0;m", ##__VA_ARGS__)
/// A debug line.
#define WDEBUG(fmt, ...) ZON_LOG_(DLOG_DEBUG, fmt, ##__VA_ARGS__)
/// A warning line.
#define WWARNING(fmt, ...) ZON_LOG_(DLOG_WARN, fmt, ##__VA_ARGS__)

/// __assert_fail is what assert() expands to; calling it directly keeps the check in NDEBUG builds
/// and keeps the familiar "Assertion `(expr)' failed." message. <assert.h> hides its declaration
/// under NDEBUG, hence ours (the same as the C library's).
extern "C" void __assert_fail(const char* assertion, const char* file, unsigned int line, const char* function)
	noexcept __attribute__((__noreturn__));
/// Logs "WASSERT! " and the condition, then aborts, when `expr` is false; in every build type.
#define WASSERT(expr) \
	do { \
		if (!(expr)) { \
			WERROR("WASSERT! %s", #expr); \
			__assert_fail("(" #expr ")", __FILE__, __LINE__, __PRETTY_FUNCTION__); \
		} \
	} while (0)

#endif /* ZON_COMMON_DEFINE_H */

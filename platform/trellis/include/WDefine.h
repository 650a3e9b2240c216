/*
 * WDefine.h - what every piece of app_trellis shares: the export mark of the library's symbols
 * and its log lines.
 *
 * The framework logs under the tag "WAPP" in the same shape as the applications built on it:
 * "<file base name>: <function>(<line>) > <message>" on dlog's main buffer, errors wrapped as
 * "* Critical *" in red. The public headers stay free of the platform's log header; the one
 * formatting function lives in the library.
 *
 *   WTRELLIS_ERROR("Already removed listener! =%d", id);
 */
#ifndef _APP_TRELLIS_WDEFINE_H_
#define _APP_TRELLIS_WDEFINE_H_

#define WAPP_TRELLIS_API __attribute__((visibility("default")))

namespace app_trellis {
namespace detail {

// Priorities as dlog numbers them, so this header does not need dlog.h.
enum WLogPriority {
	WLOG_DEBUG = 3,
	WLOG_INFO = 4,
	WLOG_WARN = 5,
	WLOG_ERROR = 6,
};

constexpr const char* baseName(const char* path)
{
	const char* base = path;
	for (const char* p = path; *p; ++p) {
		if (*p == '/')
			base = p + 1;
	}
	return base;
}

WAPP_TRELLIS_API void log(WLogPriority prio, const char* file, const char* func, int line,
	const char* fmt, ...) __attribute__((format(printf, 5, 6)));

}
}

#define WTRELLIS_ERROR(fmt, ...) \
	::app_trellis::detail::log(::app_trellis::detail::WLOG_ERROR, \
		::app_trellis::detail::baseName(__FILE__), __func__, __LINE__, \
		"\033[0;31m* Critical * " fmt "\033[0;m", ##__VA_ARGS__)

#endif /* _APP_TRELLIS_WDEFINE_H_ */

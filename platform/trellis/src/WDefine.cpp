#include "WDefine.h"

#include <stdarg.h>
#include <stdio.h>

#include <string>

#include <dlog.h>

#define WTRELLIS_LOG_TAG "WAPP"

static_assert(int(app_trellis::detail::WLOG_DEBUG) == int(DLOG_DEBUG)
		&& int(app_trellis::detail::WLOG_INFO) == int(DLOG_INFO)
		&& int(app_trellis::detail::WLOG_WARN) == int(DLOG_WARN)
		&& int(app_trellis::detail::WLOG_ERROR) == int(DLOG_ERROR),
	"WDefine.h mirrors dlog's priorities");

namespace app_trellis {
namespace detail {

void log(WLogPriority prio, const char* file, const char* func, int line, const char* fmt, ...)
{
	va_list ap;
	va_start(ap, fmt);
	va_list measure;
	va_copy(measure, ap);
	int length = vsnprintf(nullptr, 0, fmt, measure);
	va_end(measure);
	std::string message(length > 0 ? length : 0, '\0');
	if (length > 0)
		vsnprintf(&message[0], message.size() + 1, fmt, ap);
	va_end(ap);
	__dlog_print(LOG_ID_MAIN, prio, WTRELLIS_LOG_TAG, "%s: %s(%d) > %s", file, func, line, message.c_str());
}

}
}

/*
 * dlog.h - the platform log.
 *
 * On the host every line is formatted the way the device's log reader shows it in its "time"
 * view, with the local time zone of the host:
 *
 *   MM-DD HH:MM:SS.mmm+ZZZZ P/TAG     (  PID): message
 *   01-31 14:05:09.123+0100 E/zonvista( 4242): ZonDBManager.cpp: initialize(120) > ...
 *
 * P is one of V D I W E F; the tag is left-aligned in 8 columns (longer tags are kept whole)
 * and the pid right-aligned in 5. A message that contains newlines becomes several lines with
 * the same prefix, as the reader prints it.
 *
 * Destination: the file named by the environment variable ZON_HOST_LOG (appended to, created
 * when missing) when it is set and not empty; otherwise standard error, for DLOG_ERROR and
 * DLOG_FATAL only. Lines of DLOG_SILENT are accepted and dropped. zon-host/zon_host.h can
 * additionally keep the formatted messages in memory for tests.
 *
 * Return value of the print functions: the number of bytes of the formatted message on
 * success, or a negative DLOG_ERROR_* code.
 */
#ifndef _DLOG_H_
#define _DLOG_H_

#include <stdarg.h>
#include <tizen_error.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
	DLOG_ERROR_NONE = TIZEN_ERROR_NONE,
	DLOG_ERROR_INVALID_PARAMETER = TIZEN_ERROR_INVALID_PARAMETER,
	DLOG_ERROR_NOT_PERMITTED = TIZEN_ERROR_NOT_PERMITTED,
} dlog_error_e;

typedef enum {
	DLOG_UNKNOWN = 0,
	DLOG_DEFAULT,
	DLOG_VERBOSE,
	DLOG_DEBUG,
	DLOG_INFO,
	DLOG_WARN,
	DLOG_ERROR,
	DLOG_FATAL,
	DLOG_SILENT,
	DLOG_PRIO_MAX,
} log_priority;

typedef enum {
	LOG_ID_INVALID = -1,
	LOG_ID_MAIN,
	LOG_ID_RADIO,
	LOG_ID_SYSTEM,
	LOG_ID_APPS,
	LOG_ID_KMSG,
	LOG_ID_SYSLOG,
	LOG_ID_MAX,
} log_id_t;

#define DLOG_PRINTF_ATTR(fmt_index) __attribute__((format(printf, fmt_index, fmt_index + 1)))

/* Application log: writes to the LOG_ID_APPS buffer. */
int dlog_print(log_priority prio, const char *tag, const char *fmt, ...) DLOG_PRINTF_ATTR(3);
int dlog_vprint(log_priority prio, const char *tag, const char *fmt, va_list ap);

/* Platform-internal log with an explicit buffer; what the library's logging macros use. */
int __dlog_print(log_id_t log_id, int prio, const char *tag, const char *fmt, ...) DLOG_PRINTF_ATTR(4);
int __dlog_vprint(log_id_t log_id, int prio, const char *tag, const char *fmt, va_list ap);

#ifdef __cplusplus
}
#endif

#endif /* _DLOG_H_ */

/*
 * korvath_log_manager.h - the device's usage-survey log service.
 *
 * Applications report how they are used (a feature was used, the application is in some
 * state) as records of string key-value pairs. A record is inserted under the content URI of
 * the survey it belongs to; the two surveys open to applications are below. The service
 * collects the records and sends them on its own schedule; an application never reads them
 * back.
 *
 * - korvath_log_manager_create() gives a handle of the caller's, released with
 *   korvath_log_manager_destroy(). A destroyed or unknown handle is
 *   KORVATH_LOG_MANAGER_ERROR_INVALID_PARAMETER.
 * - korvath_log_manager_insert() takes a copy of the bundle's string values (other value types
 *   are not part of a record and are skipped); the record is stored before it returns and
 *   *request_id, when asked for, identifies it. A URI that is not one of the surveys below is
 *   KORVATH_LOG_MANAGER_ERROR_INVALID_PARAMETER. The callback, when given, is called on the
 *   main loop with the request id and the result, unless the handle is destroyed first.
 *
 * On the host the records are appended to <root>/usage_survey.log, one line per record:
 *
 *   <request id> TAB <sender app id> TAB <uri> TAB <key>=<value> TAB <key>=<value> ...
 *
 * with the pairs in the bundle's order. In keys and values a backslash, tab, newline and
 * carriage return are written as \\, \t, \n and \r, and '=' in a key as \=. Lines starting
 * with '#' are comments. Request ids count up per device root.
 */
#ifndef __KORVATH_LOG_MANAGER_H__
#define __KORVATH_LOG_MANAGER_H__

#include <bundle.h>
#include <tizen_error.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Feature use: the application reports that the user used one of its features. */
#define KORVATH_LOG_MANAGER_URI_USE_APP_FEATURE_SURVEY \
	"content://com.korvath.developer.context/log/use_app_feature_survey"
/* Application status: the application reports a state or setting of its own. */
#define KORVATH_LOG_MANAGER_URI_REPORT_APP_STATUS_SURVEY \
	"content://com.korvath.developer.context/log/report_app_status_survey"

typedef enum {
	KORVATH_LOG_MANAGER_ERROR_NONE = TIZEN_ERROR_NONE,
	KORVATH_LOG_MANAGER_ERROR_INVALID_PARAMETER = TIZEN_ERROR_INVALID_PARAMETER,
	KORVATH_LOG_MANAGER_ERROR_OUT_OF_MEMORY = TIZEN_ERROR_OUT_OF_MEMORY,
	KORVATH_LOG_MANAGER_ERROR_IO_ERROR = TIZEN_ERROR_IO_ERROR,
	KORVATH_LOG_MANAGER_ERROR_PERMISSION_DENIED = TIZEN_ERROR_PERMISSION_DENIED,
} korvath_log_manager_error_e;

typedef struct korvath_log_manager_s *korvath_log_manager_h;

typedef void (*korvath_log_manager_insert_cb)(int request_id, int result, void *user_data);

int korvath_log_manager_create(korvath_log_manager_h *handle);
int korvath_log_manager_destroy(korvath_log_manager_h handle);
/* callback and request_id may be NULL. */
int korvath_log_manager_insert(korvath_log_manager_h handle, const char *uri, bundle *data,
		korvath_log_manager_insert_cb callback, void *user_data, int *request_id);

#ifdef __cplusplus
}
#endif

#endif /* __KORVATH_LOG_MANAGER_H__ */

/*
 * app_control.h - asking another application to do something: a launch request names the
 * application (or only an operation), carries string extra data and may ask for a reply.
 *
 * Behaviour worth knowing:
 * - Getters answer malloc'd copies (free them); an operation, URI, MIME type or app id that was
 *   never set is answered as NULL with APP_CONTROL_ERROR_NONE.
 * - app_control_add_extra_data() replaces a value already stored under the key. Keys starting
 *   with "__APP_SVC_" are the framework's own and are refused with
 *   APP_CONTROL_ERROR_KEY_REJECTED. A NULL value is APP_CONTROL_ERROR_INVALID_PARAMETER.
 * - app_control_send_launch_request() returns once the request is accepted; the application
 *   receives it later, on the main loop, as a copy that is destroyed when its handler returns
 *   (clone it to keep it, e.g. to reply later). A request whose application is not installed
 *   fails at once with APP_CONTROL_ERROR_APP_NOT_FOUND; so does one without an app id, since
 *   no installed application answers operations implicitly.
 * - The reply callback, if given, is called on the main loop once the launched application
 *   calls app_control_reply_to_launch_request() on the request it received. Its `request` is a
 *   copy of the request as sent, valid during the call only.
 *
 * On the host the installed applications are the stand-ins registered through
 * zon-host/zon_host.h (zon_host_register_app() and the zon_host_install_*() calls); every
 * launch request is recorded there, with its extra data and result, for tests to look at.
 */
#ifndef __TIZEN_APPFW_APP_CONTROL_H__
#define __TIZEN_APPFW_APP_CONTROL_H__

#include <stdbool.h>
#include <bundle.h>
#include <tizen_error.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct app_control_s *app_control_h;

typedef enum {
	APP_CONTROL_ERROR_NONE = TIZEN_ERROR_NONE,
	APP_CONTROL_ERROR_INVALID_PARAMETER = TIZEN_ERROR_INVALID_PARAMETER,
	APP_CONTROL_ERROR_OUT_OF_MEMORY = TIZEN_ERROR_OUT_OF_MEMORY,
	APP_CONTROL_ERROR_APP_NOT_FOUND = TIZEN_ERROR_APPLICATION | 0x21,
	APP_CONTROL_ERROR_KEY_NOT_FOUND = TIZEN_ERROR_KEY_NOT_AVAILABLE,
	APP_CONTROL_ERROR_KEY_REJECTED = TIZEN_ERROR_KEY_REJECTED,
	APP_CONTROL_ERROR_INVALID_DATA_TYPE = TIZEN_ERROR_APPLICATION | 0x22,
	APP_CONTROL_ERROR_LAUNCH_REJECTED = TIZEN_ERROR_APPLICATION | 0x23,
	APP_CONTROL_ERROR_PERMISSION_DENIED = TIZEN_ERROR_PERMISSION_DENIED,
	APP_CONTROL_ERROR_LAUNCH_FAILED = TIZEN_ERROR_APPLICATION | 0x24,
	APP_CONTROL_ERROR_TIMED_OUT = TIZEN_ERROR_TIMED_OUT,
	APP_CONTROL_ERROR_IO_ERROR = TIZEN_ERROR_IO_ERROR,
} app_control_error_e;

typedef enum {
	APP_CONTROL_RESULT_APP_STARTED = 1,
	APP_CONTROL_RESULT_SUCCEEDED = 0,
	APP_CONTROL_RESULT_FAILED = -1,
	APP_CONTROL_RESULT_CANCELED = -2,
} app_control_result_e;

#define APP_CONTROL_OPERATION_MAIN "http://tizen.org/appcontrol/operation/main"
#define APP_CONTROL_OPERATION_DEFAULT "http://tizen.org/appcontrol/operation/default"
#define APP_CONTROL_OPERATION_EDIT "http://tizen.org/appcontrol/operation/edit"
#define APP_CONTROL_OPERATION_VIEW "http://tizen.org/appcontrol/operation/view"
#define APP_CONTROL_OPERATION_PICK "http://tizen.org/appcontrol/operation/pick"
#define APP_CONTROL_OPERATION_CREATE_CONTENT "http://tizen.org/appcontrol/operation/create_content"
#define APP_CONTROL_OPERATION_CALL "http://tizen.org/appcontrol/operation/call"
#define APP_CONTROL_OPERATION_SEND "http://tizen.org/appcontrol/operation/send"
#define APP_CONTROL_OPERATION_SEND_TEXT "http://tizen.org/appcontrol/operation/send_text"
#define APP_CONTROL_OPERATION_SHARE "http://tizen.org/appcontrol/operation/share"
#define APP_CONTROL_OPERATION_MULTI_SHARE "http://tizen.org/appcontrol/operation/multi_share"
#define APP_CONTROL_OPERATION_SHARE_TEXT "http://tizen.org/appcontrol/operation/share_text"
#define APP_CONTROL_OPERATION_DIAL "http://tizen.org/appcontrol/operation/dial"
#define APP_CONTROL_OPERATION_SEARCH "http://tizen.org/appcontrol/operation/search"
#define APP_CONTROL_OPERATION_DOWNLOAD "http://tizen.org/appcontrol/operation/download"
#define APP_CONTROL_OPERATION_PRINT "http://tizen.org/appcontrol/operation/print"
#define APP_CONTROL_OPERATION_COMPOSE "http://tizen.org/appcontrol/operation/compose"
#define APP_CONTROL_OPERATION_SETTING "http://tizen.org/appcontrol/operation/setting"

#define APP_CONTROL_DATA_SUBJECT "http://tizen.org/appcontrol/data/subject"
#define APP_CONTROL_DATA_TO "http://tizen.org/appcontrol/data/to"
#define APP_CONTROL_DATA_CC "http://tizen.org/appcontrol/data/cc"
#define APP_CONTROL_DATA_BCC "http://tizen.org/appcontrol/data/bcc"
#define APP_CONTROL_DATA_TEXT "http://tizen.org/appcontrol/data/text"
#define APP_CONTROL_DATA_TITLE "http://tizen.org/appcontrol/data/title"
#define APP_CONTROL_DATA_SELECTED "http://tizen.org/appcontrol/data/selected"
#define APP_CONTROL_DATA_PATH "http://tizen.org/appcontrol/data/path"
#define APP_CONTROL_DATA_SELECTION_MODE "http://tizen.org/appcontrol/data/selection_mode"

typedef void (*app_control_reply_cb)(app_control_h request, app_control_h reply, app_control_result_e result,
		void *user_data);
/* Return false to stop the iteration. */
typedef bool (*app_control_extra_data_cb)(app_control_h app_control, const char *key, void *user_data);

int app_control_create(app_control_h *app_control);
int app_control_destroy(app_control_h app_control);
int app_control_clone(app_control_h *clone, app_control_h app_control);

/* NULL clears the value. */
int app_control_set_operation(app_control_h app_control, const char *operation);
int app_control_get_operation(app_control_h app_control, char **operation);
int app_control_set_uri(app_control_h app_control, const char *uri);
int app_control_get_uri(app_control_h app_control, char **uri);
int app_control_set_mime(app_control_h app_control, const char *mime);
int app_control_get_mime(app_control_h app_control, char **mime);
int app_control_set_app_id(app_control_h app_control, const char *app_id);
int app_control_get_app_id(app_control_h app_control, char **app_id);

/* Only on a request an application received: who sent it, and whether it waits for a reply.
 * Other handles fail with APP_CONTROL_ERROR_INVALID_PARAMETER. */
int app_control_get_caller(app_control_h app_control, char **id);
int app_control_is_reply_requested(app_control_h app_control, bool *requested);

int app_control_add_extra_data(app_control_h app_control, const char *key, const char *value);
int app_control_add_extra_data_array(app_control_h app_control, const char *key, const char *value[], int length);
int app_control_remove_extra_data(app_control_h app_control, const char *key);
/* An array value fails with APP_CONTROL_ERROR_INVALID_DATA_TYPE, a missing key with
 * APP_CONTROL_ERROR_KEY_NOT_FOUND. */
int app_control_get_extra_data(app_control_h app_control, const char *key, char **value);
/* *value is a malloc'd array of malloc'd strings. */
int app_control_get_extra_data_array(app_control_h app_control, const char *key, char ***value, int *length);
int app_control_is_extra_data_array(app_control_h app_control, const char *key, bool *array);
int app_control_foreach_extra_data(app_control_h app_control, app_control_extra_data_cb callback, void *user_data);

/* callback may be NULL: no reply is wanted. */
int app_control_send_launch_request(app_control_h app_control, app_control_reply_cb callback, void *user_data);
/* Called by a launched application with the request it received. APP_CONTROL_RESULT_APP_STARTED
 * is not a reply (APP_CONTROL_ERROR_INVALID_PARAMETER). A reply nobody waits for is accepted
 * and dropped. */
int app_control_reply_to_launch_request(app_control_h reply, app_control_h request, app_control_result_e result);

#ifdef __cplusplus
}
#endif

#endif /* __TIZEN_APPFW_APP_CONTROL_H__ */

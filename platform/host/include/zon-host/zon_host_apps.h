/**
 * @file
 * zon_host_apps.h - the other applications of the device as a test plays them: stand-ins installed
 * by app id, and the record of launch requests and replies.
 *
 * Application framework: the other applications of the device, launch requests, replies,
 * message ports and alarms (app_control.h, message_port.h, app_alarm.h).
 *
 * The installed applications are in-process stand-ins registered by app id. A launch request
 * (app_control_send_launch_request(), or an alarm going off) to an id nobody registered fails
 * at send time with APP_CONTROL_ERROR_APP_NOT_FOUND; otherwise the stand-in's handler is
 * called on the main loop with a copy of the request. Handlers run as the current application
 * id (zon_host_app_id()): what a stand-in writes to preferences lands in the calling
 * application's store.
 *
 * zon_host_reset() uninstalls every stand-in (the shipped ones too), unregisters all message
 * ports, cancels pending alarms and the weather agent's delayed answers, and forgets recorded
 * launches and replies. Of these, only message ports still registered count as live
 * registrations in its result: an application must unregister its ports, while installed
 * applications and pending alarms are the device's state (an alarm may rightly outlive the
 * object that scheduled it).
 *
 * Every platform function of bundle.h, app_control.h, message_port.h and app_alarm.h is a
 * fault point. The platform's own work for an application (delivering, an alarm launching,
 * the stand-ins answering) does not pass through them, so an injected fault hits only the
 * application's own call. Exception: the service stand-in writes its preference through
 * preference_set_int(), and so counts toward that fault point.
 *
 * Ownership: the records' strings belong to the host (valid until the record is cleared);
 * the handle a launch handler gets is valid during the call only.
 *
 * Threading: like the platform APIs it stands in for, everything here runs on the thread of
 * GLib's default main context only.
 *
 * Example:
 *   zon_host_register_app("korvath.other", onLaunch, &seen);
 *   app_control_send_launch_request(request, NULL, NULL);
 *   zon_host_pump(100);                       // onLaunch runs with a copy of the request
 *   zon_host_launch_get(0, &launch);          // what was sent, found or not
 */
#ifndef ZON_HOST_ZON_HOST_APPS_H
#define ZON_HOST_ZON_HOST_APPS_H

#include <stdbool.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

struct app_control_s;

/** A stand-in's launch handler. The handle (an app_control_h) is valid during the call only:
 * clone it to reply later. */
typedef void (*zon_host_app_launch_cb)(struct app_control_s *app_control, void *user_data);

/** Installs a stand-in application. Registering an id again replaces its handler; launches
 * already queued go to the new one. Returns 0, or -1 for a NULL/empty id or a NULL handler. */
int zon_host_register_app(const char *app_id, zon_host_app_launch_cb on_launch, void *user_data);
/** Uninstalls it and drops the launches still queued for it. Returns 0, or -1 when the id is
 * not installed. */
int zon_host_unregister_app(const char *app_id);
/** Whether a stand-in is installed under `app_id`. */
bool zon_host_app_is_registered(const char *app_id);

/** One launch request as it was sent, in the order of sending. The strings and arrays stay
 * valid until the record is cleared (zon_host_launch_clear(), zon_host_reset()). */
typedef struct {
	const char *caller;                /**< app id of the requesting application */
	const char *app_id;                /**< target; NULL when the request named none */
	const char *operation;             /**< NULL when none was set */
	size_t extra_count;                /**< number of extra data pairs */
	const char *const *extra_keys;     /**< extra data in the order the request holds it */
	const char *const *extra_values;   /**< NULL for an array value */
	int result;                        /**< what the send answered: APP_CONTROL_ERROR_NONE or
	                                      APP_CONTROL_ERROR_APP_NOT_FOUND */
	bool reply_requested;              /**< sent with a reply callback */
	bool from_alarm;                   /**< sent by an alarm going off */
} zon_host_launch;

/** Records every request that passed parameter checks and fault injection, whether its
 * application was found or not. */
size_t zon_host_launch_count(void);
bool zon_host_launch_get(size_t i, zon_host_launch *launch);  /**< false when i is out of range */
/** The string value of extra data `key` of launch i; NULL if absent, an array, or no such i. */
const char *zon_host_launch_extra(size_t i, const char *key);
/** Forgets the recorded launches. */
void zon_host_launch_clear(void);

/** One app_control_reply_to_launch_request() made by a stand-in, in order. */
typedef struct {
	const char *app_id;   /**< the replying application (the target of the request) */
	const char *caller;   /**< the application that made the request */
	int result;           /**< app_control_result_e */
	bool delivered;       /**< the request had a reply callback, which gets the reply */
} zon_host_reply;

/** The number of recorded replies. */
size_t zon_host_reply_count(void);
/** Copies reply i into *reply; false when i is out of range. */
bool zon_host_reply_get(size_t i, zon_host_reply *reply);
const char *zon_host_reply_extra(size_t i, const char *key);  /**< extra data of the reply */
/** Forgets the recorded replies. */
void zon_host_reply_clear(void);

#ifdef __cplusplus
}
#endif

#endif /* ZON_HOST_ZON_HOST_APPS_H */

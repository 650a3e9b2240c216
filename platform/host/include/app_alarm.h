/*
 * app_alarm.h - alarms that launch an application later, even one that is not running.
 *
 * An alarm holds a copy of an app control; when it goes off, the platform sends that app
 * control as a launch request on behalf of the application that scheduled it.
 *
 * Behaviour worth knowing:
 * - The app control must name its application (app_control_set_app_id()); otherwise
 *   scheduling fails with ALARM_ERROR_INVALID_PARAMETER. A negative delay is invalid too.
 * - Alarm ids are > 0 and belong to the application that scheduled the alarm: cancelling an
 *   id that is not (or no longer) pending for it fails with ALARM_ERROR_INVALID_PARAMETER.
 *   A one-shot alarm is no longer pending once it went off.
 * - If the application to launch is not installed when the alarm goes off, the launch fails
 *   and is logged; the alarm is gone anyway.
 *
 * On the host an alarm is a GLib timeout on the default main context, and
 * zon-host/zon_host.h lists pending alarms and fires one at once (zon_host_fire_alarm()).
 */
#ifndef __TIZEN_APPFW_ALARM_H__
#define __TIZEN_APPFW_ALARM_H__

#include <stdbool.h>
#include <time.h>
#include <app_control.h>
#include <tizen_error.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
	ALARM_ERROR_NONE = TIZEN_ERROR_NONE,
	ALARM_ERROR_INVALID_PARAMETER = TIZEN_ERROR_INVALID_PARAMETER,
	ALARM_ERROR_INVALID_TIME = TIZEN_ERROR_ALARM | 0x05,
	ALARM_ERROR_INVALID_DATE = TIZEN_ERROR_ALARM | 0x06,
	ALARM_ERROR_CONNECTION_FAIL = TIZEN_ERROR_ALARM | 0x07,
	ALARM_ERROR_NOT_PERMITTED_APP = TIZEN_ERROR_ALARM | 0x08,
	ALARM_ERROR_OUT_OF_MEMORY = TIZEN_ERROR_OUT_OF_MEMORY,
	ALARM_ERROR_PERMISSION_DENIED = TIZEN_ERROR_PERMISSION_DENIED,
	ALARM_ERROR_NOT_SUPPORTED = TIZEN_ERROR_NOT_SUPPORTED,
} alarm_error_e;

/* Return false to stop the iteration. */
typedef bool (*alarm_registered_alarm_cb)(int alarm_id, void *user_data);

/* One-shot alarms `delay` seconds from now. The "service" form is the one a service
 * application may be woken by; on the host both behave alike. */
int alarm_schedule_once_after_delay(app_control_h app_control, int delay, int *alarm_id);
int alarm_schedule_service_once_after_delay(app_control_h app_control, int delay, int *alarm_id);

int alarm_cancel(int alarm_id);
int alarm_cancel_all(void);
int alarm_foreach_registered_alarm(alarm_registered_alarm_cb callback, void *user_data);

/* A clone of the alarm's app control; the caller destroys it. */
int alarm_get_app_control(int alarm_id, app_control_h *app_control);
/* When the alarm goes off, in local time. */
int alarm_get_scheduled_date(int alarm_id, struct tm *date);
int alarm_get_current_time(struct tm *date);

#ifdef __cplusplus
}
#endif

#endif /* __TIZEN_APPFW_ALARM_H__ */

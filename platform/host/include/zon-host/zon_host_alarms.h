/**
 * @file
 * zon_host_alarms.h - the alarms of app_alarm.h as a test sees them: every pending alarm, and firing
 * one at once, so that a 10-second time-out takes no time in a test. An alarm is a real GLib
 * timer on the main loop besides; zon_host_reset() cancels every pending alarm, without
 * counting them as live: an alarm may rightly outlive the object that scheduled it.
 *
 * Ownership: the strings of a zon_host_alarm belong to the host.
 *
 * Threading: like the platform APIs it stands in for, everything here runs on the thread of
 * GLib's default main context only.
 *
 * Example:
 *   alarm_schedule_once_after_delay(control, 10, &id);
 *   zon_host_alarm_get(0, &alarm);            // alarm.delay_seconds == 10
 *   zon_host_fire_alarm(id);                  // its launch is sent now
 *   zon_host_pump(100);                       // and reaches the application
 */
#ifndef ZON_HOST_ZON_HOST_ALARMS_H
#define ZON_HOST_ZON_HOST_ALARMS_H

#include <stdbool.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Pending alarms of every application, in id order. Strings valid until the alarm fires, is
 * cancelled or the host is reset. */
typedef struct {
	int id;                     /**< as alarm_schedule_*() answered it */
	int delay_seconds;          /**< as scheduled */
	const char *app_id;         /**< application its app control launches */
	const char *operation;      /**< of its app control; NULL when none was set */
	const char *owner_app_id;   /**< application that scheduled it */
} zon_host_alarm;

/** The number of pending alarms. */
size_t zon_host_alarm_count(void);
/** Copies pending alarm i (in id order) into *alarm; false when i is out of range. */
bool zon_host_alarm_get(size_t i, zon_host_alarm *alarm);
/** Makes alarm_id go off now: it is no longer pending, its launch is sent (and recorded) at
 * once and reaches the application on the main loop. Returns 0, or -1 when no such alarm is
 * pending. */
int zon_host_fire_alarm(int alarm_id);

#ifdef __cplusplus
}
#endif

#endif /* ZON_HOST_ZON_HOST_ALARMS_H */

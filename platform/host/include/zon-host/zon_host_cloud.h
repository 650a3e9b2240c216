/**
 * @file
 * zon_host_cloud.h - the cloud backup service (korvath_cloud.h, which documents the record file
 * format) as a test or zonclock plays it.
 *
 * A session is started here and then runs as the device's service runs it: the service
 * launches the current application (zon_host_app_id(), installed with zon_host_register_app())
 * as "korvath.cloud-service", with a request whose operation is KORVATH_CLOUD_OPERATION_BACKUP,
 * _BACKUP_INFO or _RESTORE. The application's launch handler registers its callbacks and
 * replies: a failed reply ends the session there (no completion notice); a succeeded one opens
 * it. Each step is then delivered on the main loop after the application answered the previous
 * one:
 *   backup:  preparation -> keys and dates -> records (not in an info session) -> completion
 *   restore: preparation -> restoration path -> restoration -> completion
 * The service checks what it is given: a backup file must be a record file holding exactly the
 * announced keys, in their order, each with a value; restored records need a key and a date.
 * An accepted backup is kept (byte for byte) as ROOT/cloud/APP_ID/backup.dat, the "cloud"
 * copy a later restore session starts from. A restore places the source file's bytes,
 * unchecked, at the path the application names.
 * A step whose callback is not registered (any more) ends the session with completion(false).
 * A keys-and-dates answer without records, or any answer of an info session, completes with
 * true straight away.
 *
 * Faults: every korvath_cloud_* function is a fault point of zon_host_fault_inject(); the
 * service's own behaviour is changed with zon_host_cloud_fail_at() and
 * zon_host_cloud_set_record_list(), which hold until changed or zon_host_reset().
 *
 * zon_host_reset() ends any session without a notice, frees every record and list handle
 * (those the application leaked included), drops the registrations (counted as live in its
 * result) and takes korvath_cloud_initialize() back to zero.
 *
 * Ownership: answered strings belong to the host, valid until the next session starts or the
 * host is reset.
 *
 * Threading: like the platform APIs it stands in for, everything here runs on the thread of
 * GLib's default main context only.
 *
 * Example:
 *   zon_host_register_app(zon_host_app_id(), onLaunch, model);  // registers, replies
 *   zon_host_cloud_start(ZON_HOST_CLOUD_BACKUP, NULL);
 *   if (zon_host_cloud_wait(1000) == ZON_HOST_CLOUD_FAILED)
 *     puts(zon_host_cloud_failure());
 */
#ifndef ZON_HOST_ZON_HOST_CLOUD_H
#define ZON_HOST_ZON_HOST_CLOUD_H

#include <stdbool.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/** The kinds of cloud session. */
typedef enum {
	ZON_HOST_CLOUD_BACKUP,
	ZON_HOST_CLOUD_BACKUP_INFO,
	ZON_HOST_CLOUD_RESTORE,
} zon_host_cloud_session_e;

/** Where the last session stands. */
typedef enum {
	ZON_HOST_CLOUD_IDLE,       /**< no session since the reset */
	ZON_HOST_CLOUD_RUNNING,    /**< started; its end not yet delivered */
	ZON_HOST_CLOUD_SUCCEEDED,  /**< completion(true) was delivered */
	ZON_HOST_CLOUD_FAILED,     /**< completion(false) was delivered, or the session ended
	                              without one (launch failed, request refused) */
} zon_host_cloud_state_e;

/** The steps of a session, for zon_host_cloud_fail_at(). */
typedef enum {
	ZON_HOST_CLOUD_STEP_NONE,
	ZON_HOST_CLOUD_STEP_LAUNCH,
	ZON_HOST_CLOUD_STEP_PREPARATION,
	ZON_HOST_CLOUD_STEP_KEYS_AND_DATES,
	ZON_HOST_CLOUD_STEP_RECORDS,
	ZON_HOST_CLOUD_STEP_RESTORATION_PATH,
	ZON_HOST_CLOUD_STEP_RESTORATION,
	ZON_HOST_CLOUD_STEP_COMPLETION,
} zon_host_cloud_step_e;

/** What the service hands the application as record list, for zon_host_cloud_set_record_list(). */
typedef enum {
	ZON_HOST_CLOUD_LIST_AS_SENT,  /**< backup: the announced records; restore: the source file */
	ZON_HOST_CLOUD_LIST_NULL,     /**< backup: the records callback gets no list; restore: the
	                                 restoration callback gets no path */
	ZON_HOST_CLOUD_LIST_EMPTY,    /**< backup: a list without records; restore: a record file
	                                 without records is placed instead of the source */
} zon_host_cloud_list_e;

/** Starts a session. restore_source: the record file a restore session restores (read now),
 * NULL for the cloud copy of the last accepted backup. Returns 0, or -1 when a session is
 * running, the source can't be read, or the launch failed (then FAILED, with the reason). */
int zon_host_cloud_start(zon_host_cloud_session_e kind, const char *restore_source);
/** Where the last session stands; IDLE after a reset. */
zon_host_cloud_state_e zon_host_cloud_state(void);
/** Pumps the main loop until the session is no longer running, nothing is left to dispatch or
 * max_dispatches iterations ran; returns the state. A session still RUNNING after it waits for
 * an application that will not answer. */
zon_host_cloud_state_e zon_host_cloud_wait(int max_dispatches);
/** The service's time-out: a running session stops waiting and ends with completion(false) on
 * the main loop. Returns 0, or -1 when no session is running. */
int zon_host_cloud_time_out(void);
/** The service gives up when the session reaches `step`: completion(false) is delivered instead
 * of that step's callback (at LAUNCH: the session fails at once, nobody is launched; at
 * COMPLETION: a session that went well completes with false). STEP_NONE: no fault. */
void zon_host_cloud_fail_at(zon_host_cloud_step_e step);
/** What the service hands the application as record list from now on (zon_host_cloud_list_e). */
void zon_host_cloud_set_record_list(zon_host_cloud_list_e mode);

/** Why the last session FAILED; NULL otherwise. Valid until the next start or reset. */
const char *zon_host_cloud_failure(void);

/** The traffic of the last session, in order, as texts (valid until the next start or reset):
 *   "launch <operation> APP_ID", "reply succeeded" | "reply failed",
 *   "preparation", "preparation_completed_response <true|false>",
 *   "sending_keys_and_dates", "keys_and_dates <n> <ok>",
 *   "backup <n>" | "backup none", "backup_path <path>|none <ok>",
 *   "sending_restoration_path", "restoration_path <path>|none <ok>",
 *   "restoration <path>" | "restoration none", "record_list <n>|none <ok>",
 *   "gave up at <step>", "time-out", "completed <true|false>".
 * A callback's event comes before anything the callback answered. */
/** @{ */
size_t zon_host_cloud_event_count(void);
const char *zon_host_cloud_event(size_t i);
/** @} */

/** The path of the last session: the backup path or restoration path the application sent. */
const char *zon_host_cloud_path(void);

/** The records of the last session. Backup: the keys and dates announced (values NULL), and
 * once the backup file was accepted, the file's records. Restore: the records of the list the
 * application sent back. Out-parameters may be NULL; absent fields are NULL. false when i is
 * out of range. */
/** @{ */
size_t zon_host_cloud_record_count(void);
bool zon_host_cloud_record(size_t i, const char **key, const char **date, const char **value);
/** @} */

/** ROOT/cloud/APP_ID/backup.dat when it exists, else NULL. Valid until the next call. */
const char *zon_host_cloud_stored_backup(void);

/** Records and lists created and not yet destroyed, those owned by a list included. */
size_t zon_host_cloud_live_handles(void);

#ifdef __cplusplus
}
#endif

#endif /* ZON_HOST_ZON_HOST_CLOUD_H */

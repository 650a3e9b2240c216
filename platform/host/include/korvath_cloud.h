/*
 * korvath_cloud.h - the device's cloud backup service, as an application sees it.
 *
 * The service starts a session by launching the application with a request whose operation is
 * one of the KORVATH_CLOUD_OPERATION_* below. The application initialises this interface,
 * registers the callbacks of that kind of session and replies to the request; a succeeded
 * reply opens the session, a failed one ends it. The service then calls, one step at a time
 * and each only after the application answered the one before:
 *
 *   backup:  preparation      -> ..._send_preparation_completed_response(ready)
 *            keys and dates   -> ..._send_keys_and_dates(list of keys and dates, ok)
 *            backup(list)     -> fill in each record's value, korvath_cloud_file_create_file(),
 *                                ..._send_backup_path(path, ok)       (not in an info session)
 *            completed(result)
 *   restore: preparation      -> ..._send_preparation_completed_response(ready)
 *            restoration path -> ..._send_restoration_path(path, ok); the service puts the
 *                                restored record file there
 *            restoration(path)-> korvath_cloud_file_create_record_list(), re-key and re-date
 *                                the records, ..._send_record_list(list, ok)
 *            completed(result)
 *
 * Callbacks arrive on the main loop. A second registration of the same callback replaces the
 * first. korvath_cloud_initialize() may be called more than once; the registrations of both
 * kinds are dropped when the last korvath_cloud_deinitialize() balances them.
 *
 * Records and lists: a record holds a key, a date and a value, all UTF-8 texts; the date is a
 * decimal number (the service takes it as a point in time, milliseconds or seconds as the
 * application chose). A list owns the records added to it and destroys them with itself; it has
 * a cursor, moved with ..._move_to_first() and ..._move_to_next(), whose record
 * ..._get_current_record() answers. Moving past the last record leaves the cursor at the end,
 * where ..._get_current_record() and a further ..._move_to_next() answer
 * KORVATH_CLOUD_ERROR_NO_DATA. The getters of a record answer pointers into the record, valid
 * until that field is set again or the record is destroyed; a field never set is answered as
 * NULL with KORVATH_CLOUD_ERROR_NONE.
 *
 * Ownership: the list the backup callback receives is the application's (destroy it once the
 * backup path was sent); a list sent with ..._send_keys_and_dates() stays the sender's; a list
 * sent with ..._send_record_list() becomes the service's.
 *
 * On the host the service is played by zon-host (zon-host/zon_host.h drives its sessions).
 * A record file is a GLib key file, UTF-8, readable and editable by hand:
 *
 *   # Cloud record file (korvath_cloud_file_create_file), format 1: ...
 *   [records]
 *   format=1
 *   count=2
 *
 *   [record 0]
 *   key=city.main.0
 *   date=1718000000123
 *   value={"cityId":299}
 *
 *   [record 1]
 *   ...
 *
 * [records] comes first and holds the format (1) and the number of records; the groups
 * [record 0] .. [record count-1] hold the records in list order, each with the fields that
 * were set (key, date, value; a field never set has no line). Texts are escaped as key files
 * escape them (\n, \t, \r, \\, a leading blank as \s). A file is refused as a whole
 * (KORVATH_CLOUD_ERROR_INVALID_FORMAT) when it is no key file, the format is not 1, the count
 * does not match the record groups exactly, there is any other group, or a field holds what
 * the record setters would refuse (an empty key, a date that is not digits, text that is not
 * UTF-8).
 */
#ifndef __KORVATH_CLOUD_H__
#define __KORVATH_CLOUD_H__

#include <stdbool.h>
#include <tizen_error.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Operations of the launch requests that start a session. An info session is a backup session
 * that stops after the keys and dates: the service only wants to know what a backup would hold. */
#define KORVATH_CLOUD_OPERATION_BACKUP "http://korvath.com/appcontrol/operation/cloud_backup"
#define KORVATH_CLOUD_OPERATION_BACKUP_INFO "http://korvath.com/appcontrol/operation/cloud_backup_info"
#define KORVATH_CLOUD_OPERATION_RESTORE "http://korvath.com/appcontrol/operation/cloud_restore"

#define KORVATH_CLOUD_ERROR_BASE -0x03100000

typedef enum {
	KORVATH_CLOUD_ERROR_NONE = TIZEN_ERROR_NONE,
	KORVATH_CLOUD_ERROR_INVALID_PARAMETER = TIZEN_ERROR_INVALID_PARAMETER,
	KORVATH_CLOUD_ERROR_OUT_OF_MEMORY = TIZEN_ERROR_OUT_OF_MEMORY,
	KORVATH_CLOUD_ERROR_IO_ERROR = TIZEN_ERROR_IO_ERROR,
	KORVATH_CLOUD_ERROR_PERMISSION_DENIED = TIZEN_ERROR_PERMISSION_DENIED,
	KORVATH_CLOUD_ERROR_NO_DATA = TIZEN_ERROR_NO_DATA,                  /* cursor past the last record */
	KORVATH_CLOUD_ERROR_NOT_INITIALIZED = KORVATH_CLOUD_ERROR_BASE | 0x01,
	KORVATH_CLOUD_ERROR_INVALID_STATE = KORVATH_CLOUD_ERROR_BASE | 0x02, /* no session waits for this answer */
	KORVATH_CLOUD_ERROR_INVALID_FORMAT = KORVATH_CLOUD_ERROR_BASE | 0x03, /* not a record file */
} korvath_cloud_error_e;

typedef struct korvath_cloud_record_s *korvath_cloud_record_h;
typedef struct korvath_cloud_list_s *korvath_cloud_list_h;

int korvath_cloud_initialize(void);
int korvath_cloud_deinitialize(void);

/* ---- records ---- */
int korvath_cloud_record_create(korvath_cloud_record_h *record);
/* A record added to a list is destroyed with the list (KORVATH_CLOUD_ERROR_INVALID_PARAMETER). */
int korvath_cloud_record_destroy(korvath_cloud_record_h record);
/* A key is a non-empty UTF-8 text. */
int korvath_cloud_record_set_key(korvath_cloud_record_h record, const char *key);
int korvath_cloud_record_get_key(korvath_cloud_record_h record, const char **key);
/* A date is a non-empty text of decimal digits. */
int korvath_cloud_record_set_date(korvath_cloud_record_h record, const char *date);
int korvath_cloud_record_get_date(korvath_cloud_record_h record, const char **date);
/* A value is a UTF-8 text, possibly empty. */
int korvath_cloud_record_set_value(korvath_cloud_record_h record, const char *value);
int korvath_cloud_record_get_value(korvath_cloud_record_h record, const char **value);

/* ---- lists ---- */
int korvath_cloud_list_create(korvath_cloud_list_h *list);
int korvath_cloud_list_destroy(korvath_cloud_list_h list);
/* The list takes the record over; a record is in one list at most. */
int korvath_cloud_list_add(korvath_cloud_list_h list, korvath_cloud_record_h record);
int korvath_cloud_list_get_record_count(korvath_cloud_list_h list, int *count);
/* KORVATH_CLOUD_ERROR_NO_DATA on an empty list. */
int korvath_cloud_list_move_to_first(korvath_cloud_list_h list);
int korvath_cloud_list_move_to_next(korvath_cloud_list_h list);
/* The record stays the list's. */
int korvath_cloud_list_get_current_record(korvath_cloud_list_h list, korvath_cloud_record_h *record);

/* ---- record files ---- */
/* Writes the list to path, replacing the file (the directory must exist). */
int korvath_cloud_file_create_file(korvath_cloud_list_h list, const char *path);
/* Reads a record file into a new list of the caller's. KORVATH_CLOUD_ERROR_IO_ERROR when the
 * file can't be read, KORVATH_CLOUD_ERROR_INVALID_FORMAT when it is not a record file. */
int korvath_cloud_file_create_record_list(const char *path, korvath_cloud_list_h *list);

/* ---- backup sessions ---- */
typedef void (*korvath_cloud_backup_record_preparation_cb)(void *user_data);
typedef void (*korvath_cloud_backup_record_sending_keys_and_dates_cb)(void *user_data);
/* list: the records the service wants values for, in the order their keys were sent. */
typedef void (*korvath_cloud_backup_record_backup_cb)(korvath_cloud_list_h list, void *user_data);
typedef void (*korvath_cloud_backup_record_completed_cb)(bool result, void *user_data);

/* Each needs korvath_cloud_initialize() first (KORVATH_CLOUD_ERROR_NOT_INITIALIZED) and a
 * callback (KORVATH_CLOUD_ERROR_INVALID_PARAMETER). */
int korvath_cloud_backup_record_set_preparation_cb(korvath_cloud_backup_record_preparation_cb callback,
		void *user_data);
int korvath_cloud_backup_record_set_sending_keys_and_dates_cb(
		korvath_cloud_backup_record_sending_keys_and_dates_cb callback, void *user_data);
int korvath_cloud_backup_record_set_backup_cb(korvath_cloud_backup_record_backup_cb callback, void *user_data);
int korvath_cloud_backup_record_set_completed_cb(korvath_cloud_backup_record_completed_cb callback,
		void *user_data);

/* The answers; each is KORVATH_CLOUD_ERROR_INVALID_STATE when no session waits for it. */
int korvath_cloud_backup_record_send_preparation_completed_response(bool ready);
/* Every record of the list needs a key and a date; the service keeps a copy. */
int korvath_cloud_backup_record_send_keys_and_dates(korvath_cloud_list_h list, bool result);
/* path: the record file holding the values; NULL with result false when there is none. */
int korvath_cloud_backup_record_send_backup_path(const char *path, bool result);

/* ---- restore sessions ---- */
typedef void (*korvath_cloud_restore_record_preparation_cb)(void *user_data);
typedef void (*korvath_cloud_restore_record_sending_restoration_path_cb)(void *user_data);
/* path: the record file the service placed where the application asked; NULL when it has none. */
typedef void (*korvath_cloud_restore_record_restoration_cb)(const char *path, void *user_data);
typedef void (*korvath_cloud_restore_record_completed_cb)(bool result, void *user_data);

int korvath_cloud_restore_record_set_preparation_cb(korvath_cloud_restore_record_preparation_cb callback,
		void *user_data);
int korvath_cloud_restore_record_set_sending_restoration_path_cb(
		korvath_cloud_restore_record_sending_restoration_path_cb callback, void *user_data);
int korvath_cloud_restore_record_set_restoration_cb(korvath_cloud_restore_record_restoration_cb callback,
		void *user_data);
int korvath_cloud_restore_record_set_completed_cb(korvath_cloud_restore_record_completed_cb callback,
		void *user_data);

int korvath_cloud_restore_record_send_preparation_completed_response(bool ready);
/* path: a file path in a directory of the application's. */
int korvath_cloud_restore_record_send_restoration_path(const char *path, bool result);
/* The service takes the list over, with result true; NULL with result false when nothing was
 * restored. Every record needs a key and a date. */
int korvath_cloud_restore_record_send_record_list(korvath_cloud_list_h list, bool result);

#ifdef __cplusplus
}
#endif

#endif /* __KORVATH_CLOUD_H__ */

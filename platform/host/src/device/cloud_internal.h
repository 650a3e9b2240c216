/*
 * cloud_internal.h - what the four sources of the simulated cloud backup service share. Not
 * installed.
 *
 *   api/cloud.cpp             korvath_cloud_*: the handles the application holds, its
 *                             connection and callback registrations
 *   device/cloud_records.cpp  the record file: its format, reading and writing
 *   device/cloud_sessions.cpp the service's side of a session, a chain of steps on the main loop
 *   device/cloud_control.cpp  zon_host_cloud_*: starting sessions and reading their outcome
 *
 * Threading: the main-loop thread only.
 */
#ifndef ZON_HOST_CLOUD_INTERNAL_H
#define ZON_HOST_CLOUD_INTERNAL_H

#include <optional>
#include <string>
#include <vector>

#include "host_internal.h"
#include "korvath_cloud.h"

struct korvath_cloud_record_s {
	std::optional<std::string> key;
	std::optional<std::string> date;
	std::optional<std::string> value;
	korvath_cloud_list_s *list = nullptr; // the list that owns it
};

struct korvath_cloud_list_s {
	std::vector<korvath_cloud_record_s *> records;
	size_t cursor = 0;
};

namespace zonhost {
namespace cloud {

extern const char kTag[];

// ---- the handles and registrations of the application (api/cloud.cpp) ----

// Every handle given out and not destroyed is known: a stale one is an error, not a crash.
korvath_cloud_record_s *newRecord();
korvath_cloud_list_s *newList();
void addToList(korvath_cloud_list_s *list, korvath_cloud_record_s *record);
// Destroys the list with its records.
void destroyList(korvath_cloud_list_s *list);
bool liveList(korvath_cloud_list_h list);
size_t liveHandles();

template <typename Callback>
struct Slot {
	Callback callback = nullptr;
	void *userData = nullptr;
	explicit operator bool() const { return callback != nullptr; }
};

struct Callbacks {
	Slot<korvath_cloud_backup_record_preparation_cb> backupPreparation;
	Slot<korvath_cloud_backup_record_sending_keys_and_dates_cb> keysAndDates;
	Slot<korvath_cloud_backup_record_backup_cb> backup;
	Slot<korvath_cloud_backup_record_completed_cb> backupCompleted;
	Slot<korvath_cloud_restore_record_preparation_cb> restorePreparation;
	Slot<korvath_cloud_restore_record_sending_restoration_path_cb> restorationPath;
	Slot<korvath_cloud_restore_record_restoration_cb> restoration;
	Slot<korvath_cloud_restore_record_completed_cb> restoreCompleted;
};
// What the application registered; copy a slot before calling it, the callback may replace it.
const Callbacks &callbacks();

// ---- record files (cloud_records.cpp) ----

struct StoredRecord {
	std::optional<std::string> key;
	std::optional<std::string> date;
	std::optional<std::string> value;
};

// What the record setters accept, and a record file must hold.
bool validText(const char *text);
bool validKey(const char *key);
bool validDate(const char *date);

std::vector<StoredRecord> copyRecords(const korvath_cloud_list_s *list);
std::string fileText(const korvath_cloud_list_s *list);
// KORVATH_CLOUD_ERROR_NONE with the records, or KORVATH_CLOUD_ERROR_INVALID_FORMAT (and why).
int parseRecordFile(const char *data, size_t length, std::vector<StoredRecord> &records, std::string &why);
// As parseRecordFile(), or KORVATH_CLOUD_ERROR_IO_ERROR when the file can't be read.
int readRecordFile(const char *path, std::vector<StoredRecord> &records, std::string &why);
// Atomic replace; false with why.
bool writeFile(const std::string &path, const std::string &data, std::string &why);

// ---- sessions (cloud_sessions.cpp) ----

// The answer the service waits for.
enum class Wait { Nothing, Reply, Preparation, KeysAndDates, BackupPath, RestorationPath, RecordList };

struct Session {
	zon_host_cloud_state_e state = ZON_HOST_CLOUD_IDLE;
	zon_host_cloud_session_e kind = ZON_HOST_CLOUD_BACKUP;
	Serial serial = 0;
	Wait waiting = Wait::Nothing;
	bool ending = false; // the completion notice is queued
	std::string failure;
	std::vector<std::string> events;
	std::vector<StoredRecord> records;
	std::optional<std::string> path;
	std::string restoreData;
	korvath_cloud_list_s *handedOut = nullptr;
};
// The last session, or the one running.
const Session &session();

// How the service behaves from now on, as zon_host_cloud_fail_at() and
// zon_host_cloud_set_record_list() set it.
struct Script {
	zon_host_cloud_step_e failAt = ZON_HOST_CLOUD_STEP_NONE;
	zon_host_cloud_list_e listMode = ZON_HOST_CLOUD_LIST_AS_SENT;
};
Script &script();

// Where the service keeps the running application's last backup.
std::string storedBackupPath();

// Starts a session of `kind` (none running); a restore hands out `restoreData`. 0, or -1 when
// the application can't be launched.
int startSession(zon_host_cloud_session_e kind, std::string restoreData);
// Ends the running session as the service's time-out would; -1 when none runs.
int timeOut();

// The application's answers, after the handle checks of korvath_cloud_*: each is
// KORVATH_CLOUD_ERROR_INVALID_STATE when the session does not wait for it.
int answerPreparation(bool backup, bool ready);
int answerKeysAndDates(korvath_cloud_list_h list, bool result);
int answerBackupPath(const char *path, bool result);
int answerRestorationPath(const char *path, bool result);
int answerRecordList(korvath_cloud_list_h list, bool result);

} // namespace cloud
} // namespace zonhost

#endif // ZON_HOST_CLOUD_INTERNAL_H

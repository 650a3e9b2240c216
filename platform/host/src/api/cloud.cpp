/*
 * cloud.cpp - the device's cloud backup service (korvath_cloud.h): records, lists, record
 * files, and the service's side of backup and restore sessions, driven from zon_host.h.
 *
 * A session is a chain of steps. Each step is delivered on the main loop only after the
 * application answered the one before, as the device's service does over its IPC; an answer
 * never calls back into the application from inside the call that gave it.
 */
#include "app_framework.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <unordered_set>

#include <fcntl.h>
#include <unistd.h>

#include <glib/gstdio.h>

#include "dlog.h"
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
namespace {

const char kTag[] = "KORVATH_CLOUD";
// Who launches the application with a session request.
const char kServiceAppId[] = "korvath.cloud-service";
const char kRecordsGroup[] = "records";
const int kFormatVersion = 1;

// Every handle ever given out and not destroyed. Checking against these makes a stale handle an
// error instead of a crash, and keeps what the application leaks reachable until the reset.
std::unordered_set<korvath_cloud_record_s *> g_records;
std::unordered_set<korvath_cloud_list_s *> g_lists;

template <typename Callback>
struct Slot {
	Callback callback = nullptr;
	void *userData = nullptr;
	explicit operator bool() const { return callback != nullptr; }
};

struct BackupCallbacks {
	Slot<korvath_cloud_backup_record_preparation_cb> preparation;
	Slot<korvath_cloud_backup_record_sending_keys_and_dates_cb> keysAndDates;
	Slot<korvath_cloud_backup_record_backup_cb> backup;
	Slot<korvath_cloud_backup_record_completed_cb> completed;
};

struct RestoreCallbacks {
	Slot<korvath_cloud_restore_record_preparation_cb> preparation;
	Slot<korvath_cloud_restore_record_sending_restoration_path_cb> restorationPath;
	Slot<korvath_cloud_restore_record_restoration_cb> restoration;
	Slot<korvath_cloud_restore_record_completed_cb> completed;
};

int g_initCount = 0;
BackupCallbacks g_backup;
RestoreCallbacks g_restore;

// The answer the service waits for.
enum class Wait { Nothing, Reply, Preparation, KeysAndDates, BackupPath, RestorationPath, RecordList };

struct StoredRecord {
	std::optional<std::string> key;
	std::optional<std::string> date;
	std::optional<std::string> value;
};

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

Session g_session;
zon_host_cloud_step_e g_failAt = ZON_HOST_CLOUD_STEP_NONE;
zon_host_cloud_list_e g_listMode = ZON_HOST_CLOUD_LIST_AS_SENT;
std::string g_storedBackupPath;

const char *stepName(zon_host_cloud_step_e step)
{
	switch (step) {
	case ZON_HOST_CLOUD_STEP_NONE: return "none";
	case ZON_HOST_CLOUD_STEP_LAUNCH: return "launch";
	case ZON_HOST_CLOUD_STEP_PREPARATION: return "preparation";
	case ZON_HOST_CLOUD_STEP_KEYS_AND_DATES: return "keys and dates";
	case ZON_HOST_CLOUD_STEP_RECORDS: return "records";
	case ZON_HOST_CLOUD_STEP_RESTORATION_PATH: return "restoration path";
	case ZON_HOST_CLOUD_STEP_RESTORATION: return "restoration";
	case ZON_HOST_CLOUD_STEP_COMPLETION: return "completion";
	}
	return "?";
}

const char *flag(bool value)
{
	return value ? "true" : "false";
}

bool isBackup()
{
	return g_session.kind != ZON_HOST_CLOUD_RESTORE;
}

void event(std::string text)
{
	g_session.events.push_back(std::move(text));
}

// ---- records and lists ----

bool validText(const char *text)
{
	return text && g_utf8_validate(text, -1, nullptr);
}

bool validKey(const char *key)
{
	return validText(key) && *key;
}

bool validDate(const char *date)
{
	if (!date || !*date)
		return false;
	for (const char *p = date; *p; ++p) {
		if (*p < '0' || *p > '9')
			return false;
	}
	return true;
}

korvath_cloud_record_s *newRecord()
{
	auto *record = new korvath_cloud_record_s;
	g_records.insert(record);
	return record;
}

korvath_cloud_list_s *newList()
{
	auto *list = new korvath_cloud_list_s;
	g_lists.insert(list);
	return list;
}

void addToList(korvath_cloud_list_s *list, korvath_cloud_record_s *record)
{
	record->list = list;
	list->records.push_back(record);
}

void destroyList(korvath_cloud_list_s *list)
{
	for (korvath_cloud_record_s *record : list->records) {
		g_records.erase(record);
		delete record;
	}
	g_lists.erase(list);
	delete list;
}

bool liveRecord(korvath_cloud_record_h record)
{
	return record && g_records.count(record);
}

bool liveList(korvath_cloud_list_h list)
{
	return list && g_lists.count(list);
}

std::vector<StoredRecord> copyRecords(const korvath_cloud_list_s *list)
{
	std::vector<StoredRecord> copy;
	for (const korvath_cloud_record_s *record : list->records)
		copy.push_back(StoredRecord{record->key, record->date, record->value});
	return copy;
}

// ---- record files ----

std::string recordGroup(size_t index)
{
	return "record " + std::to_string(index);
}

// The text as a key file stores it: escaped, so that any UTF-8 text reads back unchanged.
std::string escaped(const std::string &text)
{
	GKeyFile *file = g_key_file_new();
	g_key_file_set_string(file, "g", "k", text.c_str());
	gchar *value = g_key_file_get_value(file, "g", "k", nullptr);
	std::string result = value ? value : "";
	g_free(value);
	g_key_file_free(file);
	return result;
}

// Written line by line rather than through GKeyFile's writer, which drops a group without
// keys: a record with nothing set must still take its place.
std::string fileText(const korvath_cloud_list_s *list)
{
	std::string text =
			"# Cloud record file (korvath_cloud_file_create_file), format 1: [records] holds the\n"
			"# count, [record N] the key, date and value of the N-th record (N from 0).\n"
			"[records]\n"
			"format=" + std::to_string(kFormatVersion) + "\n"
			"count=" + std::to_string(list->records.size()) + "\n";
	for (size_t i = 0; i < list->records.size(); ++i) {
		const korvath_cloud_record_s *record = list->records[i];
		text += "\n[" + recordGroup(i) + "]\n";
		if (record->key)
			text += "key=" + escaped(*record->key) + "\n";
		if (record->date)
			text += "date=" + escaped(*record->date) + "\n";
		if (record->value)
			text += "value=" + escaped(*record->value) + "\n";
	}
	return text;
}

// An absent field is fine; a present one must hold what the setters accept.
bool readField(GKeyFile *file, const char *group, const char *name, bool (*valid)(const char *),
		std::optional<std::string> &out)
{
	if (!g_key_file_has_key(file, group, name, nullptr))
		return true;
	gchar *text = g_key_file_get_string(file, group, name, nullptr);
	bool ok = text && valid(text);
	if (ok)
		out = std::string(text);
	g_free(text);
	return ok;
}

// KORVATH_CLOUD_ERROR_NONE with the records of a record file, or KORVATH_CLOUD_ERROR_INVALID_FORMAT.
int parseRecordFile(const char *data, size_t length, std::vector<StoredRecord> &records, std::string &why)
{
	GKeyFile *file = g_key_file_new();
	GError *error = nullptr;
	std::unique_ptr<GKeyFile, void (*)(GKeyFile *)> guard(file, g_key_file_free);
	if (!g_key_file_load_from_data(file, data, length, G_KEY_FILE_NONE, &error)) {
		why = error ? error->message : "not a key file";
		g_clear_error(&error);
		return KORVATH_CLOUD_ERROR_INVALID_FORMAT;
	}
	int format = g_key_file_get_integer(file, kRecordsGroup, "format", &error);
	if (error || format != kFormatVersion) {
		why = error ? error->message : "format " + std::to_string(format) + " is not known";
		g_clear_error(&error);
		return KORVATH_CLOUD_ERROR_INVALID_FORMAT;
	}
	int count = g_key_file_get_integer(file, kRecordsGroup, "count", &error);
	if (error || count < 0) {
		why = error ? error->message : "negative record count";
		g_clear_error(&error);
		return KORVATH_CLOUD_ERROR_INVALID_FORMAT;
	}
	gsize groups = 0;
	g_strfreev(g_key_file_get_groups(file, &groups));
	if (groups != (gsize)count + 1) {
		why = "count " + std::to_string(count) + " does not match the " + std::to_string(groups - 1) + " record groups";
		return KORVATH_CLOUD_ERROR_INVALID_FORMAT;
	}
	for (int i = 0; i < count; ++i) {
		std::string group = recordGroup(i);
		StoredRecord record;
		if (!g_key_file_has_group(file, group.c_str())) {
			why = "[" + group + "] is missing";
			return KORVATH_CLOUD_ERROR_INVALID_FORMAT;
		}
		if (!readField(file, group.c_str(), "key", validKey, record.key) ||
				!readField(file, group.c_str(), "date", validDate, record.date) ||
				!readField(file, group.c_str(), "value", validText, record.value)) {
			why = "[" + group + "] holds an unreadable field";
			return KORVATH_CLOUD_ERROR_INVALID_FORMAT;
		}
		records.push_back(std::move(record));
	}
	return KORVATH_CLOUD_ERROR_NONE;
}

int readRecordFile(const char *path, std::vector<StoredRecord> &records, std::string &why)
{
	gchar *data = nullptr;
	gsize length = 0;
	GError *error = nullptr;
	if (!g_file_get_contents(path, &data, &length, &error)) {
		why = error->message;
		g_clear_error(&error);
		return KORVATH_CLOUD_ERROR_IO_ERROR;
	}
	int ret = parseRecordFile(data, length, records, why);
	g_free(data);
	return ret;
}

// Replaced atomically (a reader sees the old file or the new one), but without waiting for the
// disk as g_file_set_contents() does: a simulated device need not survive a power cut, and a
// session writes several files.
bool writeFile(const std::string &path, const std::string &data, std::string &why)
{
	std::string temporary = path + ".XXXXXX";
	int fd = g_mkstemp_full(&temporary[0], O_WRONLY, 0666);
	if (fd < 0) {
		why = g_strerror(errno);
		return false;
	}
	bool ok = true;
	for (size_t done = 0; ok && done < data.size();) {
		ssize_t n = write(fd, data.data() + done, data.size() - done);
		if (n < 0 && errno == EINTR)
			continue;
		ok = n > 0;
		done += ok ? (size_t)n : 0;
	}
	if (!ok)
		why = g_strerror(errno);
	if (close(fd) != 0 && ok) {
		why = g_strerror(errno);
		ok = false;
	}
	if (ok && rename(temporary.c_str(), path.c_str()) != 0) {
		why = g_strerror(errno);
		ok = false;
	}
	if (!ok)
		unlink(temporary.c_str());
	return ok;
}

std::string storedBackupPath()
{
	return root() + "/cloud/" + zon_host_app_id() + "/backup.dat";
}

// ---- the service's side of a session ----

void releaseHandedOut()
{
	// The application destroys the list it was handed unless it gave up on it; what it left is
	// the service's to free once the session is over.
	if (g_session.handedOut && liveList(g_session.handedOut))
		destroyList(g_session.handedOut);
	g_session.handedOut = nullptr;
}

void finish(bool result, const std::string &failure)
{
	releaseHandedOut();
	g_session.waiting = Wait::Nothing;
	g_session.state = result ? ZON_HOST_CLOUD_SUCCEEDED : ZON_HOST_CLOUD_FAILED;
	if (!result && g_session.failure.empty())
		g_session.failure = failure;
	if (!result)
		platformLog(DLOG_ERROR, kTag, "session failed: %s", g_session.failure.c_str());
}

// Ends the session with the completion notice, delivered on the main loop.
void complete(bool result, const std::string &failure)
{
	if (g_session.ending)
		return;
	if (result && g_failAt == ZON_HOST_CLOUD_STEP_COMPLETION) {
		result = false;
		event("gave up at completion");
	}
	g_session.ending = true;
	g_session.waiting = Wait::Nothing;
	if (!result) {
		g_session.failure = failure.empty() ? std::string("the service gave up at completion") : failure;
	}
	Serial serial = g_session.serial;
	deliverLater(serial, [serial, result]() {
		if (g_session.serial != serial)
			return;
		std::string why = g_session.failure;
		event(std::string("completed ") + flag(result));
		// Over before the application hears of it: its handler may look at the outcome or start
		// the next session.
		finish(result, why);
		if (isBackup()) {
			Slot<korvath_cloud_backup_record_completed_cb> slot = g_backup.completed;
			if (slot)
				slot.callback(result, slot.userData);
		} else {
			Slot<korvath_cloud_restore_record_completed_cb> slot = g_restore.completed;
			if (slot)
				slot.callback(result, slot.userData);
		}
	});
}

void giveUp(zon_host_cloud_step_e step)
{
	event(std::string("gave up at ") + stepName(step));
	complete(false, std::string("the service gave up at ") + stepName(step));
}

void leave(const char *missing)
{
	complete(false, std::string("the application has no ") + missing + " callback registered");
}

// Queues step `step`; `deliver` runs on the main loop while the session is still on.
void advance(zon_host_cloud_step_e step, std::function<void()> deliver)
{
	if (g_failAt == step) {
		giveUp(step);
		return;
	}
	Serial serial = g_session.serial;
	deliverLater(serial, [serial, deliver]() {
		if (g_session.serial != serial || g_session.state != ZON_HOST_CLOUD_RUNNING || g_session.ending)
			return;
		deliver();
	});
}

void startRecords();
void startRestoration();

void askPreparation()
{
	advance(ZON_HOST_CLOUD_STEP_PREPARATION, []() {
		if (isBackup()) {
			Slot<korvath_cloud_backup_record_preparation_cb> slot = g_backup.preparation;
			if (!slot)
				return leave("preparation");
			g_session.waiting = Wait::Preparation;
			event("preparation");
			slot.callback(slot.userData);
		} else {
			Slot<korvath_cloud_restore_record_preparation_cb> slot = g_restore.preparation;
			if (!slot)
				return leave("preparation");
			g_session.waiting = Wait::Preparation;
			event("preparation");
			slot.callback(slot.userData);
		}
	});
}

void askKeysAndDates()
{
	advance(ZON_HOST_CLOUD_STEP_KEYS_AND_DATES, []() {
		Slot<korvath_cloud_backup_record_sending_keys_and_dates_cb> slot = g_backup.keysAndDates;
		if (!slot)
			return leave("sending keys and dates");
		g_session.waiting = Wait::KeysAndDates;
		event("sending_keys_and_dates");
		slot.callback(slot.userData);
	});
}

void startRecords()
{
	advance(ZON_HOST_CLOUD_STEP_RECORDS, []() {
		Slot<korvath_cloud_backup_record_backup_cb> slot = g_backup.backup;
		if (!slot)
			return leave("backup");
		korvath_cloud_list_s *list = nullptr;
		if (g_listMode != ZON_HOST_CLOUD_LIST_NULL) {
			list = newList();
			if (g_listMode == ZON_HOST_CLOUD_LIST_AS_SENT) {
				for (const StoredRecord &stored : g_session.records) {
					korvath_cloud_record_s *record = newRecord();
					record->key = stored.key;
					record->date = stored.date;
					addToList(list, record);
				}
			}
		}
		g_session.handedOut = list;
		g_session.waiting = Wait::BackupPath;
		event(list ? "backup " + std::to_string(list->records.size()) : std::string("backup none"));
		slot.callback(list, slot.userData);
	});
}

void askRestorationPath()
{
	advance(ZON_HOST_CLOUD_STEP_RESTORATION_PATH, []() {
		Slot<korvath_cloud_restore_record_sending_restoration_path_cb> slot = g_restore.restorationPath;
		if (!slot)
			return leave("sending restoration path");
		g_session.waiting = Wait::RestorationPath;
		event("sending_restoration_path");
		slot.callback(slot.userData);
	});
}

void startRestoration()
{
	advance(ZON_HOST_CLOUD_STEP_RESTORATION, []() {
		Slot<korvath_cloud_restore_record_restoration_cb> slot = g_restore.restoration;
		if (!slot)
			return leave("restoration");
		// Copied: the callback may answer, and the answer may end the session.
		std::optional<std::string> path;
		if (g_listMode != ZON_HOST_CLOUD_LIST_NULL)
			path = g_session.path;
		g_session.waiting = Wait::RecordList;
		event("restoration " + (path ? *path : std::string("none")));
		slot.callback(path ? path->c_str() : nullptr, slot.userData);
	});
}

void onReply(app_control_h, app_control_h, app_control_result_e result, void *userData)
{
	Serial serial = (Serial)(uintptr_t)userData;
	if (g_session.serial != serial || g_session.waiting != Wait::Reply)
		return;
	g_session.waiting = Wait::Nothing;
	if (result != APP_CONTROL_RESULT_SUCCEEDED) {
		event("reply failed");
		// Nothing was opened, so there is nothing to complete.
		finish(false, "the application refused the request");
		return;
	}
	event("reply succeeded");
	askPreparation();
}

// The answers of the application check that the service waits for them, from this kind of
// session.
bool expecting(Wait wait, bool backup)
{
	return g_session.state == ZON_HOST_CLOUD_RUNNING && !g_session.ending && g_session.waiting == wait &&
			isBackup() == backup;
}

int answerPreparation(bool backup, bool ready)
{
	if (!expecting(Wait::Preparation, backup))
		return KORVATH_CLOUD_ERROR_INVALID_STATE;
	g_session.waiting = Wait::Nothing;
	event(std::string("preparation_completed_response ") + flag(ready));
	if (!ready)
		complete(false, "the application was not ready");
	else if (backup)
		askKeysAndDates();
	else
		askRestorationPath();
	return KORVATH_CLOUD_ERROR_NONE;
}

int cancelSession()
{
	if (g_session.state != ZON_HOST_CLOUD_RUNNING)
		return -1;
	cancelDeliveries(g_session.serial);
	// A new serial: whatever the old steps still had in flight (the launch reply) is ignored.
	g_session.serial = newSerial();
	g_session.ending = false;
	return 0;
}

} // namespace

int cloudReset()
{
	int live = 0;
	for (bool registered : {(bool)g_backup.preparation, (bool)g_backup.keysAndDates, (bool)g_backup.backup,
				(bool)g_backup.completed, (bool)g_restore.preparation, (bool)g_restore.restorationPath,
				(bool)g_restore.restoration, (bool)g_restore.completed})
		live += registered ? 1 : 0;
	if (g_session.serial)
		cancelDeliveries(g_session.serial);
	g_session = Session();
	while (!g_lists.empty())
		destroyList(*g_lists.begin());
	for (korvath_cloud_record_s *record : g_records)
		delete record;
	g_records.clear();
	g_backup = BackupCallbacks();
	g_restore = RestoreCallbacks();
	g_initCount = 0;
	g_failAt = ZON_HOST_CLOUD_STEP_NONE;
	g_listMode = ZON_HOST_CLOUD_LIST_AS_SENT;
	g_storedBackupPath.clear();
	return live;
}

ZON_HOST_MODULE("cloud", ResetRank::State, cloudReset);

} // namespace zonhost

using namespace zonhost;

ZON_HOST_FAULT_POINTS("korvath_cloud_initialize", "korvath_cloud_deinitialize", "korvath_cloud_record_create",
		"korvath_cloud_record_destroy", "korvath_cloud_record_set_key", "korvath_cloud_record_get_key",
		"korvath_cloud_record_set_date", "korvath_cloud_record_get_date", "korvath_cloud_record_set_value",
		"korvath_cloud_record_get_value", "korvath_cloud_list_create", "korvath_cloud_list_destroy",
		"korvath_cloud_list_add", "korvath_cloud_list_get_record_count", "korvath_cloud_list_move_to_first",
		"korvath_cloud_list_move_to_next", "korvath_cloud_list_get_current_record", "korvath_cloud_file_create_file",
		"korvath_cloud_file_create_record_list", "korvath_cloud_backup_record_set_preparation_cb",
		"korvath_cloud_backup_record_set_sending_keys_and_dates_cb", "korvath_cloud_backup_record_set_backup_cb",
		"korvath_cloud_backup_record_set_completed_cb",
		"korvath_cloud_backup_record_send_preparation_completed_response",
		"korvath_cloud_backup_record_send_keys_and_dates", "korvath_cloud_backup_record_send_backup_path",
		"korvath_cloud_restore_record_set_preparation_cb",
		"korvath_cloud_restore_record_set_sending_restoration_path_cb",
		"korvath_cloud_restore_record_set_restoration_cb", "korvath_cloud_restore_record_set_completed_cb",
		"korvath_cloud_restore_record_send_preparation_completed_response",
		"korvath_cloud_restore_record_send_restoration_path", "korvath_cloud_restore_record_send_record_list");

// ---- connection ----

ZON_HOST_API int korvath_cloud_initialize(void)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	++g_initCount;
	return KORVATH_CLOUD_ERROR_NONE;
}

ZON_HOST_API int korvath_cloud_deinitialize(void)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (g_initCount == 0)
		return KORVATH_CLOUD_ERROR_NOT_INITIALIZED;
	if (--g_initCount == 0) {
		g_backup = BackupCallbacks();
		g_restore = RestoreCallbacks();
	}
	return KORVATH_CLOUD_ERROR_NONE;
}

// ---- records ----

ZON_HOST_API int korvath_cloud_record_create(korvath_cloud_record_h *record)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!record)
		return KORVATH_CLOUD_ERROR_INVALID_PARAMETER;
	*record = newRecord();
	return KORVATH_CLOUD_ERROR_NONE;
}

ZON_HOST_API int korvath_cloud_record_destroy(korvath_cloud_record_h record)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!liveRecord(record) || record->list)
		return KORVATH_CLOUD_ERROR_INVALID_PARAMETER;
	g_records.erase(record);
	delete record;
	return KORVATH_CLOUD_ERROR_NONE;
}

namespace {

int setField(korvath_cloud_record_h record, std::optional<std::string> korvath_cloud_record_s::*field,
		const char *text, bool (*valid)(const char *))
{
	if (!liveRecord(record) || !valid(text))
		return KORVATH_CLOUD_ERROR_INVALID_PARAMETER;
	record->*field = std::string(text);
	return KORVATH_CLOUD_ERROR_NONE;
}

int getField(korvath_cloud_record_h record, std::optional<std::string> korvath_cloud_record_s::*field,
		const char **text)
{
	if (!liveRecord(record) || !text)
		return KORVATH_CLOUD_ERROR_INVALID_PARAMETER;
	const std::optional<std::string> &value = record->*field;
	*text = value ? value->c_str() : nullptr;
	return KORVATH_CLOUD_ERROR_NONE;
}

} // namespace

ZON_HOST_API int korvath_cloud_record_set_key(korvath_cloud_record_h record, const char *key)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return setField(record, &korvath_cloud_record_s::key, key, validKey);
}

ZON_HOST_API int korvath_cloud_record_get_key(korvath_cloud_record_h record, const char **key)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return getField(record, &korvath_cloud_record_s::key, key);
}

ZON_HOST_API int korvath_cloud_record_set_date(korvath_cloud_record_h record, const char *date)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return setField(record, &korvath_cloud_record_s::date, date, validDate);
}

ZON_HOST_API int korvath_cloud_record_get_date(korvath_cloud_record_h record, const char **date)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return getField(record, &korvath_cloud_record_s::date, date);
}

ZON_HOST_API int korvath_cloud_record_set_value(korvath_cloud_record_h record, const char *value)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return setField(record, &korvath_cloud_record_s::value, value, validText);
}

ZON_HOST_API int korvath_cloud_record_get_value(korvath_cloud_record_h record, const char **value)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return getField(record, &korvath_cloud_record_s::value, value);
}

// ---- lists ----

ZON_HOST_API int korvath_cloud_list_create(korvath_cloud_list_h *list)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!list)
		return KORVATH_CLOUD_ERROR_INVALID_PARAMETER;
	*list = newList();
	return KORVATH_CLOUD_ERROR_NONE;
}

ZON_HOST_API int korvath_cloud_list_destroy(korvath_cloud_list_h list)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!liveList(list))
		return KORVATH_CLOUD_ERROR_INVALID_PARAMETER;
	destroyList(list);
	return KORVATH_CLOUD_ERROR_NONE;
}

ZON_HOST_API int korvath_cloud_list_add(korvath_cloud_list_h list, korvath_cloud_record_h record)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!liveList(list) || !liveRecord(record) || record->list)
		return KORVATH_CLOUD_ERROR_INVALID_PARAMETER;
	addToList(list, record);
	return KORVATH_CLOUD_ERROR_NONE;
}

ZON_HOST_API int korvath_cloud_list_get_record_count(korvath_cloud_list_h list, int *count)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!liveList(list) || !count)
		return KORVATH_CLOUD_ERROR_INVALID_PARAMETER;
	*count = (int)list->records.size();
	return KORVATH_CLOUD_ERROR_NONE;
}

ZON_HOST_API int korvath_cloud_list_move_to_first(korvath_cloud_list_h list)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!liveList(list))
		return KORVATH_CLOUD_ERROR_INVALID_PARAMETER;
	list->cursor = 0;
	return list->records.empty() ? KORVATH_CLOUD_ERROR_NO_DATA : KORVATH_CLOUD_ERROR_NONE;
}

ZON_HOST_API int korvath_cloud_list_move_to_next(korvath_cloud_list_h list)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!liveList(list))
		return KORVATH_CLOUD_ERROR_INVALID_PARAMETER;
	if (list->cursor >= list->records.size())
		return KORVATH_CLOUD_ERROR_NO_DATA;
	++list->cursor;
	return KORVATH_CLOUD_ERROR_NONE;
}

ZON_HOST_API int korvath_cloud_list_get_current_record(korvath_cloud_list_h list, korvath_cloud_record_h *record)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!liveList(list) || !record)
		return KORVATH_CLOUD_ERROR_INVALID_PARAMETER;
	if (list->cursor >= list->records.size())
		return KORVATH_CLOUD_ERROR_NO_DATA;
	*record = list->records[list->cursor];
	return KORVATH_CLOUD_ERROR_NONE;
}

// ---- record files ----

ZON_HOST_API int korvath_cloud_file_create_file(korvath_cloud_list_h list, const char *path)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!liveList(list) || !path || !*path)
		return KORVATH_CLOUD_ERROR_INVALID_PARAMETER;
	std::string why;
	if (!writeFile(path, fileText(list), why)) {
		platformLog(DLOG_ERROR, kTag, "cannot write %s: %s", path, why.c_str());
		return KORVATH_CLOUD_ERROR_IO_ERROR;
	}
	return KORVATH_CLOUD_ERROR_NONE;
}

ZON_HOST_API int korvath_cloud_file_create_record_list(const char *path, korvath_cloud_list_h *list)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!path || !list)
		return KORVATH_CLOUD_ERROR_INVALID_PARAMETER;
	std::vector<StoredRecord> records;
	std::string why;
	int ret = readRecordFile(path, records, why);
	if (ret != KORVATH_CLOUD_ERROR_NONE) {
		platformLog(DLOG_ERROR, kTag, "cannot read records from %s: %s", path, why.c_str());
		return ret;
	}
	korvath_cloud_list_s *result = newList();
	for (StoredRecord &stored : records) {
		korvath_cloud_record_s *record = newRecord();
		record->key = std::move(stored.key);
		record->date = std::move(stored.date);
		record->value = std::move(stored.value);
		addToList(result, record);
	}
	*list = result;
	return KORVATH_CLOUD_ERROR_NONE;
}

// ---- backup sessions ----

namespace {

template <typename Callback>
int registerSlot(Slot<Callback> &slot, Callback callback, void *userData)
{
	if (g_initCount == 0)
		return KORVATH_CLOUD_ERROR_NOT_INITIALIZED;
	if (!callback)
		return KORVATH_CLOUD_ERROR_INVALID_PARAMETER;
	slot.callback = callback;
	slot.userData = userData;
	return KORVATH_CLOUD_ERROR_NONE;
}

} // namespace

ZON_HOST_API int korvath_cloud_backup_record_set_preparation_cb(korvath_cloud_backup_record_preparation_cb callback,
		void *user_data)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return registerSlot(g_backup.preparation, callback, user_data);
}

ZON_HOST_API int korvath_cloud_backup_record_set_sending_keys_and_dates_cb(
		korvath_cloud_backup_record_sending_keys_and_dates_cb callback, void *user_data)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return registerSlot(g_backup.keysAndDates, callback, user_data);
}

ZON_HOST_API int korvath_cloud_backup_record_set_backup_cb(korvath_cloud_backup_record_backup_cb callback,
		void *user_data)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return registerSlot(g_backup.backup, callback, user_data);
}

ZON_HOST_API int korvath_cloud_backup_record_set_completed_cb(korvath_cloud_backup_record_completed_cb callback,
		void *user_data)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return registerSlot(g_backup.completed, callback, user_data);
}

ZON_HOST_API int korvath_cloud_backup_record_send_preparation_completed_response(bool ready)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return answerPreparation(true, ready);
}

ZON_HOST_API int korvath_cloud_backup_record_send_keys_and_dates(korvath_cloud_list_h list, bool result)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!expecting(Wait::KeysAndDates, true))
		return KORVATH_CLOUD_ERROR_INVALID_STATE;
	if (!liveList(list))
		return KORVATH_CLOUD_ERROR_INVALID_PARAMETER;
	for (const korvath_cloud_record_s *record : list->records) {
		if (!record->key || !record->date)
			return KORVATH_CLOUD_ERROR_INVALID_PARAMETER;
	}
	g_session.waiting = Wait::Nothing;
	g_session.records = copyRecords(list);
	for (StoredRecord &record : g_session.records)
		record.value.reset();
	event("keys_and_dates " + std::to_string(list->records.size()) + " " + flag(result));

	std::string duplicate;
	std::unordered_set<std::string> keys;
	for (const StoredRecord &record : g_session.records) {
		if (!keys.insert(*record.key).second && duplicate.empty())
			duplicate = *record.key;
	}
	if (!result)
		complete(false, "the application could not list its records");
	else if (!duplicate.empty())
		complete(false, "key \"" + duplicate + "\" was sent twice");
	else if (g_session.kind == ZON_HOST_CLOUD_BACKUP_INFO || g_session.records.empty())
		complete(true, ""); // nothing to ask values for
	else
		startRecords();
	return KORVATH_CLOUD_ERROR_NONE;
}

ZON_HOST_API int korvath_cloud_backup_record_send_backup_path(const char *path, bool result)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!expecting(Wait::BackupPath, true))
		return KORVATH_CLOUD_ERROR_INVALID_STATE;
	g_session.waiting = Wait::Nothing;
	event(std::string("backup_path ") + (path ? path : "none") + " " + flag(result));
	if (path)
		g_session.path = std::string(path);
	if (!result || !path || !*path) {
		complete(false, "the application sent no backup file");
		return KORVATH_CLOUD_ERROR_NONE;
	}

	// What a real upload would take: the file as the application wrote it, checked against the
	// keys it announced.
	gchar *data = nullptr;
	gsize length = 0;
	if (!g_file_get_contents(path, &data, &length, nullptr)) {
		complete(false, std::string("cannot read the backup file ") + path);
		return KORVATH_CLOUD_ERROR_NONE;
	}
	std::string bytes(data, length);
	g_free(data);
	std::vector<StoredRecord> records;
	std::string why;
	if (parseRecordFile(bytes.data(), bytes.size(), records, why) != KORVATH_CLOUD_ERROR_NONE) {
		complete(false, std::string("the backup file ") + path + " is not a record file: " + why);
		return KORVATH_CLOUD_ERROR_NONE;
	}
	if (records.size() != g_session.records.size()) {
		complete(false, "the backup file holds " + std::to_string(records.size()) + " records, " +
				std::to_string(g_session.records.size()) + " were announced");
		return KORVATH_CLOUD_ERROR_NONE;
	}
	for (size_t i = 0; i < records.size(); ++i) {
		const StoredRecord &announced = g_session.records[i];
		if (records[i].key != announced.key) {
			complete(false, "record " + std::to_string(i) + " of the backup file is not \"" + *announced.key + "\"");
			return KORVATH_CLOUD_ERROR_NONE;
		}
		if (!records[i].value) {
			complete(false, "record \"" + *announced.key + "\" has no value");
			return KORVATH_CLOUD_ERROR_NONE;
		}
	}

	std::string stored = storedBackupPath();
	gchar *dir = g_path_get_dirname(stored.c_str());
	bool made = ensureDir(dir);
	g_free(dir);
	if (!made || !writeFile(stored, bytes, why)) {
		complete(false, "cannot keep the backup at " + stored + ": " + why);
		return KORVATH_CLOUD_ERROR_NONE;
	}
	g_session.records = std::move(records);
	complete(true, "");
	return KORVATH_CLOUD_ERROR_NONE;
}

// ---- restore sessions ----

ZON_HOST_API int korvath_cloud_restore_record_set_preparation_cb(korvath_cloud_restore_record_preparation_cb callback,
		void *user_data)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return registerSlot(g_restore.preparation, callback, user_data);
}

ZON_HOST_API int korvath_cloud_restore_record_set_sending_restoration_path_cb(
		korvath_cloud_restore_record_sending_restoration_path_cb callback, void *user_data)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return registerSlot(g_restore.restorationPath, callback, user_data);
}

ZON_HOST_API int korvath_cloud_restore_record_set_restoration_cb(korvath_cloud_restore_record_restoration_cb callback,
		void *user_data)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return registerSlot(g_restore.restoration, callback, user_data);
}

ZON_HOST_API int korvath_cloud_restore_record_set_completed_cb(korvath_cloud_restore_record_completed_cb callback,
		void *user_data)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return registerSlot(g_restore.completed, callback, user_data);
}

ZON_HOST_API int korvath_cloud_restore_record_send_preparation_completed_response(bool ready)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return answerPreparation(false, ready);
}

ZON_HOST_API int korvath_cloud_restore_record_send_restoration_path(const char *path, bool result)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!expecting(Wait::RestorationPath, false))
		return KORVATH_CLOUD_ERROR_INVALID_STATE;
	g_session.waiting = Wait::Nothing;
	event(std::string("restoration_path ") + (path && *path ? path : "none") + " " + flag(result));
	if (!result || !path || !*path) {
		complete(false, "the application gave no restoration path");
		return KORVATH_CLOUD_ERROR_NONE;
	}
	g_session.path = std::string(path);

	std::string data = g_session.restoreData;
	if (g_listMode == ZON_HOST_CLOUD_LIST_EMPTY) {
		korvath_cloud_list_s empty;
		data = fileText(&empty);
	}
	std::string why;
	if (!writeFile(path, data, why)) {
		complete(false, std::string("cannot place the restored records at ") + path + ": " + why);
		return KORVATH_CLOUD_ERROR_NONE;
	}
	startRestoration();
	return KORVATH_CLOUD_ERROR_NONE;
}

ZON_HOST_API int korvath_cloud_restore_record_send_record_list(korvath_cloud_list_h list, bool result)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!expecting(Wait::RecordList, false))
		return KORVATH_CLOUD_ERROR_INVALID_STATE;
	if (list && !liveList(list))
		return KORVATH_CLOUD_ERROR_INVALID_PARAMETER;
	g_session.waiting = Wait::Nothing;
	event("record_list " + (list ? std::to_string(list->records.size()) : std::string("none")) + " " + flag(result));
	if (list) {
		g_session.records = copyRecords(list);
		destroyList(list);
	}
	if (!result || !list) {
		complete(false, "the application restored nothing");
		return KORVATH_CLOUD_ERROR_NONE;
	}
	for (size_t i = 0; i < g_session.records.size(); ++i) {
		const StoredRecord &record = g_session.records[i];
		if (!record.key || !record.date) {
			complete(false, "restored record " + std::to_string(i) + " has no " + (record.key ? "date" : "key"));
			return KORVATH_CLOUD_ERROR_NONE;
		}
	}
	complete(true, "");
	return KORVATH_CLOUD_ERROR_NONE;
}

// ---- control API (zon_host.h) ----

ZON_HOST_API int zon_host_cloud_start(zon_host_cloud_session_e kind, const char *restore_source)
{
	if (g_session.state == ZON_HOST_CLOUD_RUNNING)
		return -1;
	if (kind != ZON_HOST_CLOUD_BACKUP && kind != ZON_HOST_CLOUD_BACKUP_INFO && kind != ZON_HOST_CLOUD_RESTORE)
		return -1;

	std::string data;
	if (kind == ZON_HOST_CLOUD_RESTORE) {
		std::string source = restore_source ? std::string(restore_source) : storedBackupPath();
		gchar *bytes = nullptr;
		gsize length = 0;
		GError *error = nullptr;
		if (!g_file_get_contents(source.c_str(), &bytes, &length, &error)) {
			platformLog(DLOG_ERROR, kTag, "no restore session: %s", error->message);
			g_clear_error(&error);
			return -1;
		}
		data.assign(bytes, length);
		g_free(bytes);
	}

	if (g_session.serial)
		cancelDeliveries(g_session.serial);
	releaseHandedOut();
	g_session = Session();
	g_session.kind = kind;
	g_session.serial = newSerial();
	g_session.state = ZON_HOST_CLOUD_RUNNING;
	g_session.restoreData = std::move(data);

	const char *operation = kind == ZON_HOST_CLOUD_BACKUP ? KORVATH_CLOUD_OPERATION_BACKUP
			: kind == ZON_HOST_CLOUD_BACKUP_INFO ? KORVATH_CLOUD_OPERATION_BACKUP_INFO
			: KORVATH_CLOUD_OPERATION_RESTORE;
	if (g_failAt == ZON_HOST_CLOUD_STEP_LAUNCH) {
		event("gave up at launch");
		finish(false, "the service gave up at launch");
		return 0;
	}

	app_control_s request;
	request.operation = std::string(operation);
	request.appId = std::string(zon_host_app_id());
	event(std::string("launch ") + operation + " " + zon_host_app_id());
	g_session.waiting = Wait::Reply;
	int ret = launch(request, kServiceAppId, onReply, (void *)(uintptr_t)g_session.serial, false);
	if (ret != APP_CONTROL_ERROR_NONE) {
		finish(false, std::string("cannot launch ") + zon_host_app_id() + ": " + get_error_message(ret));
		return -1;
	}
	return 0;
}

ZON_HOST_API zon_host_cloud_state_e zon_host_cloud_state(void)
{
	return g_session.state;
}

ZON_HOST_API zon_host_cloud_state_e zon_host_cloud_wait(int max_dispatches)
{
	for (int i = 0; i < max_dispatches && g_session.state == ZON_HOST_CLOUD_RUNNING; ++i) {
		if (zon_host_pump(1) == 0)
			break;
	}
	return g_session.state;
}

ZON_HOST_API int zon_host_cloud_time_out(void)
{
	if (cancelSession() != 0)
		return -1;
	event("time-out");
	complete(false, "the service timed out waiting for the application");
	return 0;
}

ZON_HOST_API void zon_host_cloud_fail_at(zon_host_cloud_step_e step)
{
	g_failAt = step;
}

ZON_HOST_API void zon_host_cloud_set_record_list(zon_host_cloud_list_e mode)
{
	g_listMode = mode;
}

ZON_HOST_API const char *zon_host_cloud_failure(void)
{
	return g_session.state == ZON_HOST_CLOUD_FAILED ? g_session.failure.c_str() : nullptr;
}

ZON_HOST_API size_t zon_host_cloud_event_count(void)
{
	return g_session.events.size();
}

ZON_HOST_API const char *zon_host_cloud_event(size_t i)
{
	return i < g_session.events.size() ? g_session.events[i].c_str() : nullptr;
}

ZON_HOST_API const char *zon_host_cloud_path(void)
{
	return g_session.path ? g_session.path->c_str() : nullptr;
}

ZON_HOST_API size_t zon_host_cloud_record_count(void)
{
	return g_session.records.size();
}

ZON_HOST_API bool zon_host_cloud_record(size_t i, const char **key, const char **date, const char **value)
{
	if (i >= g_session.records.size())
		return false;
	const StoredRecord &record = g_session.records[i];
	if (key)
		*key = record.key ? record.key->c_str() : nullptr;
	if (date)
		*date = record.date ? record.date->c_str() : nullptr;
	if (value)
		*value = record.value ? record.value->c_str() : nullptr;
	return true;
}

ZON_HOST_API const char *zon_host_cloud_stored_backup(void)
{
	g_storedBackupPath = storedBackupPath();
	return g_file_test(g_storedBackupPath.c_str(), G_FILE_TEST_IS_REGULAR) ? g_storedBackupPath.c_str() : nullptr;
}

ZON_HOST_API size_t zon_host_cloud_live_handles(void)
{
	return g_records.size() + g_lists.size();
}

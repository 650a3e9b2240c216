/*
 * cloud_sessions.cpp - the simulated cloud service's side of backup and restore sessions.
 *
 * A session is a chain of steps. Each step is delivered on the main loop only after the
 * application answered the one before, as the device's service does over its IPC; an answer
 * never calls back into the application from inside the call that gave it.
 */
#include "app_framework.h"
#include "cloud_internal.h"

#include <cstdint>
#include <unordered_set>

#include "dlog.h"

namespace zonhost {
namespace cloud {
namespace {

// Who launches the application with a session request.
const char kServiceAppId[] = "korvath.cloud-service";

Session g_session;
Script g_script;

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
	if (result && g_script.failAt == ZON_HOST_CLOUD_STEP_COMPLETION) {
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
			Slot<korvath_cloud_backup_record_completed_cb> slot = callbacks().backupCompleted;
			if (slot)
				slot.callback(result, slot.userData);
		} else {
			Slot<korvath_cloud_restore_record_completed_cb> slot = callbacks().restoreCompleted;
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
	if (g_script.failAt == step) {
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

// A step that only asks the application for its answer.
template <typename Callback>
void ask(zon_host_cloud_step_e step, Slot<Callback> Callbacks::*which, const char *missing, Wait wait,
		const char *name)
{
	advance(step, [which, missing, wait, name]() {
		Slot<Callback> slot = callbacks().*which;
		if (!slot)
			return leave(missing);
		g_session.waiting = wait;
		event(name);
		slot.callback(slot.userData);
	});
}

void askPreparation()
{
	if (isBackup())
		ask(ZON_HOST_CLOUD_STEP_PREPARATION, &Callbacks::backupPreparation, "preparation", Wait::Preparation,
				"preparation");
	else
		ask(ZON_HOST_CLOUD_STEP_PREPARATION, &Callbacks::restorePreparation, "preparation", Wait::Preparation,
				"preparation");
}

void askKeysAndDates()
{
	ask(ZON_HOST_CLOUD_STEP_KEYS_AND_DATES, &Callbacks::keysAndDates, "sending keys and dates", Wait::KeysAndDates,
			"sending_keys_and_dates");
}

void startRecords()
{
	advance(ZON_HOST_CLOUD_STEP_RECORDS, []() {
		Slot<korvath_cloud_backup_record_backup_cb> slot = callbacks().backup;
		if (!slot)
			return leave("backup");
		korvath_cloud_list_s *list = nullptr;
		if (g_script.listMode != ZON_HOST_CLOUD_LIST_NULL) {
			list = newList();
			if (g_script.listMode == ZON_HOST_CLOUD_LIST_AS_SENT) {
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
	ask(ZON_HOST_CLOUD_STEP_RESTORATION_PATH, &Callbacks::restorationPath, "sending restoration path",
			Wait::RestorationPath, "sending_restoration_path");
}

void startRestoration()
{
	advance(ZON_HOST_CLOUD_STEP_RESTORATION, []() {
		Slot<korvath_cloud_restore_record_restoration_cb> slot = callbacks().restoration;
		if (!slot)
			return leave("restoration");
		// Copied: the callback may answer, and the answer may end the session.
		std::optional<std::string> path;
		if (g_script.listMode != ZON_HOST_CLOUD_LIST_NULL)
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

const Session &session()
{
	return g_session;
}

Script &script()
{
	return g_script;
}

std::string storedBackupPath()
{
	return root() + "/cloud/" + zon_host_app_id() + "/backup.dat";
}

int startSession(zon_host_cloud_session_e kind, std::string restoreData)
{
	if (g_session.serial)
		cancelDeliveries(g_session.serial);
	releaseHandedOut();
	g_session = Session();
	g_session.kind = kind;
	g_session.serial = newSerial();
	g_session.state = ZON_HOST_CLOUD_RUNNING;
	g_session.restoreData = std::move(restoreData);

	const char *operation = kind == ZON_HOST_CLOUD_BACKUP ? KORVATH_CLOUD_OPERATION_BACKUP
			: kind == ZON_HOST_CLOUD_BACKUP_INFO ? KORVATH_CLOUD_OPERATION_BACKUP_INFO
			: KORVATH_CLOUD_OPERATION_RESTORE;
	if (g_script.failAt == ZON_HOST_CLOUD_STEP_LAUNCH) {
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

int timeOut()
{
	if (cancelSession() != 0)
		return -1;
	event("time-out");
	complete(false, "the service timed out waiting for the application");
	return 0;
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

int answerKeysAndDates(korvath_cloud_list_h list, bool result)
{
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

int answerBackupPath(const char *path, bool result)
{
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

int answerRestorationPath(const char *path, bool result)
{
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
	if (g_script.listMode == ZON_HOST_CLOUD_LIST_EMPTY) {
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

int answerRecordList(korvath_cloud_list_h list, bool result)
{
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

ZON_HOST_MODULE("cloud_sessions", ResetRank::State, [] {
	if (g_session.serial)
		cancelDeliveries(g_session.serial);
	g_session = Session();
	g_script = Script();
	return 0;
});

} // namespace cloud
} // namespace zonhost

/*
 * cloud.cpp - the device's cloud backup service as the application sees it (korvath_cloud.h):
 * records, lists and record files, the connection and the session callbacks. The service's
 * side of a session is device/cloud_sessions.cpp.
 */
#include "cloud_internal.h"

#include <unordered_set>

#include "dlog.h"

namespace zonhost {
namespace cloud {

const char kTag[] = "KORVATH_CLOUD";

namespace {

// Every handle ever given out and not destroyed. Checking against these makes a stale handle an
// error instead of a crash, and keeps what the application leaks reachable until the reset.
std::unordered_set<korvath_cloud_record_s *> g_records;
std::unordered_set<korvath_cloud_list_s *> g_lists;

int g_initCount = 0;
Callbacks g_callbacks;

bool liveRecord(korvath_cloud_record_h record)
{
	return record && g_records.count(record);
}

} // namespace

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

bool liveList(korvath_cloud_list_h list)
{
	return list && g_lists.count(list);
}

size_t liveHandles()
{
	return g_records.size() + g_lists.size();
}

const Callbacks &callbacks()
{
	return g_callbacks;
}

// Handles the application leaked are freed; callbacks it left registered count as live.
ZON_HOST_MODULE("cloud", ResetRank::State, [] {
	int live = 0;
	const Callbacks &c = g_callbacks;
	for (bool registered : {(bool)c.backupPreparation, (bool)c.keysAndDates, (bool)c.backup,
				(bool)c.backupCompleted, (bool)c.restorePreparation, (bool)c.restorationPath,
				(bool)c.restoration, (bool)c.restoreCompleted})
		live += registered ? 1 : 0;
	while (!g_lists.empty())
		destroyList(*g_lists.begin());
	for (korvath_cloud_record_s *record : g_records)
		delete record;
	g_records.clear();
	g_callbacks = Callbacks();
	g_initCount = 0;
	return live;
});

} // namespace cloud
} // namespace zonhost

using namespace zonhost;
using namespace zonhost::cloud;

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
	if (--g_initCount == 0)
		g_callbacks = Callbacks();
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
	return registerSlot(g_callbacks.backupPreparation, callback, user_data);
}

ZON_HOST_API int korvath_cloud_backup_record_set_sending_keys_and_dates_cb(
		korvath_cloud_backup_record_sending_keys_and_dates_cb callback, void *user_data)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return registerSlot(g_callbacks.keysAndDates, callback, user_data);
}

ZON_HOST_API int korvath_cloud_backup_record_set_backup_cb(korvath_cloud_backup_record_backup_cb callback,
		void *user_data)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return registerSlot(g_callbacks.backup, callback, user_data);
}

ZON_HOST_API int korvath_cloud_backup_record_set_completed_cb(korvath_cloud_backup_record_completed_cb callback,
		void *user_data)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return registerSlot(g_callbacks.backupCompleted, callback, user_data);
}

ZON_HOST_API int korvath_cloud_backup_record_send_preparation_completed_response(bool ready)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return answerPreparation(true, ready);
}

ZON_HOST_API int korvath_cloud_backup_record_send_keys_and_dates(korvath_cloud_list_h list, bool result)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return answerKeysAndDates(list, result);
}

ZON_HOST_API int korvath_cloud_backup_record_send_backup_path(const char *path, bool result)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return answerBackupPath(path, result);
}

// ---- restore sessions ----

ZON_HOST_API int korvath_cloud_restore_record_set_preparation_cb(korvath_cloud_restore_record_preparation_cb callback,
		void *user_data)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return registerSlot(g_callbacks.restorePreparation, callback, user_data);
}

ZON_HOST_API int korvath_cloud_restore_record_set_sending_restoration_path_cb(
		korvath_cloud_restore_record_sending_restoration_path_cb callback, void *user_data)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return registerSlot(g_callbacks.restorationPath, callback, user_data);
}

ZON_HOST_API int korvath_cloud_restore_record_set_restoration_cb(korvath_cloud_restore_record_restoration_cb callback,
		void *user_data)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return registerSlot(g_callbacks.restoration, callback, user_data);
}

ZON_HOST_API int korvath_cloud_restore_record_set_completed_cb(korvath_cloud_restore_record_completed_cb callback,
		void *user_data)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return registerSlot(g_callbacks.restoreCompleted, callback, user_data);
}

ZON_HOST_API int korvath_cloud_restore_record_send_preparation_completed_response(bool ready)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return answerPreparation(false, ready);
}

ZON_HOST_API int korvath_cloud_restore_record_send_restoration_path(const char *path, bool result)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return answerRestorationPath(path, result);
}

ZON_HOST_API int korvath_cloud_restore_record_send_record_list(korvath_cloud_list_h list, bool result)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return answerRecordList(list, result);
}

/*
 * cloud_control.cpp - how a test or zonclock plays the cloud service (zon_host.h): starts a
 * session, scripts where the service gives up, and reads what the session did.
 */
#include "cloud_internal.h"

#include "dlog.h"

using namespace zonhost;
using namespace zonhost::cloud;

ZON_HOST_API int zon_host_cloud_start(zon_host_cloud_session_e kind, const char *restore_source)
{
	if (session().state == ZON_HOST_CLOUD_RUNNING)
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

	return startSession(kind, std::move(data));
}

ZON_HOST_API zon_host_cloud_state_e zon_host_cloud_state(void)
{
	return session().state;
}

ZON_HOST_API zon_host_cloud_state_e zon_host_cloud_wait(int max_dispatches)
{
	for (int i = 0; i < max_dispatches && session().state == ZON_HOST_CLOUD_RUNNING; ++i) {
		if (zon_host_pump(1) == 0)
			break;
	}
	return session().state;
}

ZON_HOST_API int zon_host_cloud_time_out(void)
{
	return timeOut();
}

ZON_HOST_API void zon_host_cloud_fail_at(zon_host_cloud_step_e step)
{
	script().failAt = step;
}

ZON_HOST_API void zon_host_cloud_set_record_list(zon_host_cloud_list_e mode)
{
	script().listMode = mode;
}

ZON_HOST_API const char *zon_host_cloud_failure(void)
{
	return session().state == ZON_HOST_CLOUD_FAILED ? session().failure.c_str() : nullptr;
}

ZON_HOST_API size_t zon_host_cloud_event_count(void)
{
	return session().events.size();
}

ZON_HOST_API const char *zon_host_cloud_event(size_t i)
{
	return i < session().events.size() ? session().events[i].c_str() : nullptr;
}

ZON_HOST_API const char *zon_host_cloud_path(void)
{
	return session().path ? session().path->c_str() : nullptr;
}

ZON_HOST_API size_t zon_host_cloud_record_count(void)
{
	return session().records.size();
}

ZON_HOST_API bool zon_host_cloud_record(size_t i, const char **key, const char **date, const char **value)
{
	if (i >= session().records.size())
		return false;
	const StoredRecord &record = session().records[i];
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
	// Answered until the next call.
	static std::string path;
	path = storedBackupPath();
	return g_file_test(path.c_str(), G_FILE_TEST_IS_REGULAR) ? path.c_str() : nullptr;
}

ZON_HOST_API size_t zon_host_cloud_live_handles(void)
{
	return liveHandles();
}


/*
 * app_alarm.cpp - one-shot alarms as GLib timeouts on the default main context.
 *
 * The device's alarm service keeps alarms outside the application; here they live in the
 * process, so zon_host_reset() (a new device) drops them.
 */
#include "app_framework.h"

#include <map>

#include "app_alarm.h"
#include "dlog.h"

namespace zonhost {
namespace {

const char kTag[] = "CAPI_APPFW_ALARM";

struct Alarm {
	std::string owner;
	int delay;
	time_t due;
	AppControlPtr appControl;
	guint source;
};
std::map<int, Alarm> g_alarms;
// Never reused, so that a stale id (an application keeps the last one it got) can't cancel a
// later alarm.
int g_nextAlarmId = 1;

void goOff(int id)
{
	auto it = g_alarms.find(id);
	if (it == g_alarms.end())
		return;
	Alarm alarm = it->second;
	g_alarms.erase(it);
	int ret = launch(*alarm.appControl, alarm.owner, nullptr, nullptr, true);
	if (ret != APP_CONTROL_ERROR_NONE) {
		platformLog(DLOG_ERROR, kTag, "alarm %d: launch of %s failed (%d)", id, alarm.appControl->appId->c_str(),
				ret);
	}
}

gboolean timerFired(gpointer data)
{
	goOff(GPOINTER_TO_INT(data));
	return G_SOURCE_REMOVE;
}

void removeSource(guint source)
{
	if (GSource *s = g_main_context_find_source_by_id(nullptr, source))
		g_source_destroy(s);
}

int schedule(app_control_h appControl, int delay, int *alarmId)
{
	if (!appControl || !alarmId || delay < 0)
		return ALARM_ERROR_INVALID_PARAMETER;
	if (!appControl->appId || appControl->appId->empty()) {
		platformLog(DLOG_ERROR, kTag, "the app control names no application");
		return ALARM_ERROR_INVALID_PARAMETER;
	}
	int id = g_nextAlarmId++;
	// Milliseconds keep short alarms exact; beyond what fits, whole seconds are enough.
	GSource *source = (unsigned)delay <= G_MAXUINT / 1000 ? g_timeout_source_new((guint)delay * 1000)
			: g_timeout_source_new_seconds((guint)delay);
	g_source_set_name(source, "zon-host alarm");
	g_source_set_callback(source, timerFired, GINT_TO_POINTER(id), nullptr);
	guint sourceId = g_source_attach(source, nullptr);
	g_source_unref(source);
	g_alarms[id] = Alarm{zon_host_app_id(), delay, time(nullptr) + delay, shareAppControl(appControl->clone()),
			sourceId};
	*alarmId = id;
	return ALARM_ERROR_NONE;
}

// The pending alarm `id` of the running application.
std::map<int, Alarm>::iterator ownAlarm(int id)
{
	auto it = g_alarms.find(id);
	if (it == g_alarms.end() || it->second.owner != zon_host_app_id())
		return g_alarms.end();
	return it;
}

} // namespace

// Pending alarms are the device's state, not the application's: no live count.
ZON_HOST_MODULE("alarm", ResetRank::State, [] {
	for (const auto &entry : g_alarms)
		removeSource(entry.second.source);
	g_alarms.clear();
	return 0;
});

} // namespace zonhost

using namespace zonhost;

ZON_HOST_FAULT_POINTS("alarm_schedule_once_after_delay", "alarm_schedule_service_once_after_delay", "alarm_cancel",
		"alarm_cancel_all", "alarm_foreach_registered_alarm", "alarm_get_app_control", "alarm_get_scheduled_date",
		"alarm_get_current_time");

ZON_HOST_API int alarm_schedule_once_after_delay(app_control_h app_control, int delay, int *alarm_id)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return schedule(app_control, delay, alarm_id);
}

ZON_HOST_API int alarm_schedule_service_once_after_delay(app_control_h app_control, int delay, int *alarm_id)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	return schedule(app_control, delay, alarm_id);
}

ZON_HOST_API int alarm_cancel(int alarm_id)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	auto it = ownAlarm(alarm_id);
	if (it == g_alarms.end()) {
		platformLog(DLOG_ERROR, kTag, "alarm %d is not pending", alarm_id);
		return ALARM_ERROR_INVALID_PARAMETER;
	}
	removeSource(it->second.source);
	g_alarms.erase(it);
	return ALARM_ERROR_NONE;
}

ZON_HOST_API int alarm_cancel_all(void)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	for (auto it = g_alarms.begin(); it != g_alarms.end();) {
		if (it->second.owner == zon_host_app_id()) {
			removeSource(it->second.source);
			it = g_alarms.erase(it);
		} else {
			++it;
		}
	}
	return ALARM_ERROR_NONE;
}

ZON_HOST_API int alarm_foreach_registered_alarm(alarm_registered_alarm_cb callback, void *user_data)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!callback)
		return ALARM_ERROR_INVALID_PARAMETER;
	// Ids first: the callback may cancel alarms.
	std::vector<int> ids;
	for (const auto &entry : g_alarms) {
		if (entry.second.owner == zon_host_app_id())
			ids.push_back(entry.first);
	}
	for (int id : ids) {
		if (!callback(id, user_data))
			break;
	}
	return ALARM_ERROR_NONE;
}

ZON_HOST_API int alarm_get_app_control(int alarm_id, app_control_h *app_control)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!app_control)
		return ALARM_ERROR_INVALID_PARAMETER;
	auto it = ownAlarm(alarm_id);
	if (it == g_alarms.end())
		return ALARM_ERROR_INVALID_PARAMETER;
	*app_control = it->second.appControl->clone();
	return ALARM_ERROR_NONE;
}

ZON_HOST_API int alarm_get_scheduled_date(int alarm_id, struct tm *date)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!date)
		return ALARM_ERROR_INVALID_PARAMETER;
	auto it = ownAlarm(alarm_id);
	if (it == g_alarms.end())
		return ALARM_ERROR_INVALID_PARAMETER;
	deviceLocalTime(it->second.due, date);
	return ALARM_ERROR_NONE;
}

ZON_HOST_API int alarm_get_current_time(struct tm *date)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!date)
		return ALARM_ERROR_INVALID_PARAMETER;
	deviceLocalTime(time(nullptr), date);
	return ALARM_ERROR_NONE;
}

ZON_HOST_API size_t zon_host_alarm_count(void)
{
	return g_alarms.size();
}

ZON_HOST_API bool zon_host_alarm_get(size_t i, zon_host_alarm *alarm)
{
	if (i >= g_alarms.size() || !alarm)
		return false;
	auto it = std::next(g_alarms.begin(), (long)i);
	alarm->id = it->first;
	alarm->delay_seconds = it->second.delay;
	alarm->app_id = it->second.appControl->appId->c_str();
	alarm->operation = it->second.appControl->operation ? it->second.appControl->operation->c_str() : nullptr;
	alarm->owner_app_id = it->second.owner.c_str();
	return true;
}

ZON_HOST_API int zon_host_fire_alarm(int alarm_id)
{
	auto it = g_alarms.find(alarm_id);
	if (it == g_alarms.end())
		return -1;
	removeSource(it->second.source);
	goOff(alarm_id);
	return 0;
}

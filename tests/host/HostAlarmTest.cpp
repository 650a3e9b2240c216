#include <cstdlib>
#include <string>
#include <vector>

#include <glib.h>

#include <app_alarm.h>
#include <app_control.h>
#include <app_preference.h>
#include <zon-host/zon_host.h>

#include "HostFixture.h"

namespace {

class HostAlarm : public HostFixture {};

struct Launched {
	std::vector<std::string> instances;
	std::vector<std::string> callers;
	static void onLaunch(app_control_h h, void *self)
	{
		auto *l = static_cast<Launched *>(self);
		char *v = nullptr;
		app_control_get_extra_data(h, "instance_id", &v);
		l->instances.push_back(v ? v : "(none)");
		free(v);
		app_control_get_caller(h, &v);
		l->callers.push_back(v ? v : "(none)");
		free(v);
	}
};

// The time-out alarm as the weather handler arms it.
int scheduleTimeout(const char *instance, int delay = 10)
{
	app_control_h h = nullptr;
	app_control_create(&h);
	app_control_set_operation(h, APP_CONTROL_OPERATION_DEFAULT);
	app_control_set_app_id(h, "korvath.zonvista-service");
	app_control_add_extra_data(h, "operation", "weather_agent_timeout");
	if (instance)
		app_control_add_extra_data(h, "instance_id", instance);
	int id = -1;
	int ret = alarm_schedule_service_once_after_delay(h, delay, &id);
	app_control_destroy(h);
	return ret == ALARM_ERROR_NONE ? id : ret;
}

TEST_F(HostAlarm, PendingAlarmIsListedAndFiresNow)
{
	Launched service;
	zon_host_register_app("korvath.zonvista-service", Launched::onLaunch, &service);
	int id = scheduleTimeout("widget-1");
	ASSERT_GT(id, 0);

	ASSERT_EQ(1u, zon_host_alarm_count());
	zon_host_alarm alarm;
	ASSERT_TRUE(zon_host_alarm_get(0, &alarm));
	EXPECT_EQ(id, alarm.id);
	EXPECT_EQ(10, alarm.delay_seconds);
	EXPECT_STREQ("korvath.zonvista-service", alarm.app_id);
	EXPECT_STREQ(APP_CONTROL_OPERATION_DEFAULT, alarm.operation);
	EXPECT_STREQ(ZON_HOST_DEFAULT_APP_ID, alarm.owner_app_id);

	// Not due: pumping neither fires it nor waits for it.
	gint64 start = g_get_monotonic_time();
	EXPECT_EQ(0, zon_host_pump(100));
	EXPECT_LT(g_get_monotonic_time() - start, G_USEC_PER_SEC);
	EXPECT_TRUE(service.instances.empty());

	struct tm due = {};
	EXPECT_EQ(ALARM_ERROR_NONE, alarm_get_scheduled_date(id, &due));
	time_t wait = mktime(&due) - time(nullptr);
	EXPECT_TRUE(wait >= 8 && wait <= 10) << wait;

	ASSERT_EQ(0, zon_host_fire_alarm(id));
	EXPECT_EQ(0u, zon_host_alarm_count());
	EXPECT_EQ(-1, zon_host_fire_alarm(id)) << "one-shot";
	ASSERT_EQ(1u, zon_host_launch_count());
	zon_host_launch rec;
	zon_host_launch_get(0, &rec);
	EXPECT_TRUE(rec.from_alarm);
	EXPECT_STREQ("weather_agent_timeout", zon_host_launch_extra(0, "operation"));
	EXPECT_TRUE(service.instances.empty()) << "the launch itself arrives on the main loop";
	zon_host_pump(100);
	EXPECT_EQ(std::vector<std::string>{"widget-1"}, service.instances);
	EXPECT_EQ(std::vector<std::string>{ZON_HOST_DEFAULT_APP_ID}, service.callers);
	EXPECT_EQ(ALARM_ERROR_INVALID_PARAMETER, alarm_cancel(id)) << "gone off, no longer pending";
}

TEST_F(HostAlarm, CancelledAlarmsNeverGoOff)
{
	Launched service;
	zon_host_register_app("korvath.zonvista-service", Launched::onLaunch, &service);
	int first = scheduleTimeout("a", 0);
	int second = scheduleTimeout("b", 0);
	ASSERT_GT(second, first);
	EXPECT_EQ(ALARM_ERROR_NONE, alarm_cancel(first));
	EXPECT_EQ(ALARM_ERROR_INVALID_PARAMETER, alarm_cancel(first));

	// Another application's alarms are out of reach of this one.
	zon_host_set_app_id("korvath.zonvista-widget");
	int widgets = scheduleTimeout("w", 0);
	EXPECT_EQ(ALARM_ERROR_INVALID_PARAMETER, alarm_cancel(second));
	zon_host_set_app_id(nullptr);
	EXPECT_EQ(ALARM_ERROR_NONE, alarm_cancel_all());
	ASSERT_EQ(1u, zon_host_alarm_count());
	zon_host_alarm alarm;
	zon_host_alarm_get(0, &alarm);
	EXPECT_EQ(widgets, alarm.id);

	// A delay of 0 is a real timer that is due at once: only the widget's alarm goes off.
	zon_host_pump(100);
	EXPECT_EQ(std::vector<std::string>{"w"}, service.instances);
	EXPECT_EQ(std::vector<std::string>{"korvath.zonvista-widget"}, service.callers);
	EXPECT_EQ(0u, zon_host_alarm_count());
}

TEST_F(HostAlarm, InvalidRequestsAndInjectedFaultsScheduleNothing)
{
	app_control_h h = nullptr;
	app_control_create(&h);
	int id = -1;
	EXPECT_EQ(ALARM_ERROR_INVALID_PARAMETER, alarm_schedule_once_after_delay(h, 10, &id)) << "no app id";
	app_control_set_app_id(h, "korvath.zonvista-service");
	EXPECT_EQ(ALARM_ERROR_INVALID_PARAMETER, alarm_schedule_once_after_delay(h, -1, &id));
	EXPECT_EQ(ALARM_ERROR_INVALID_PARAMETER, alarm_schedule_once_after_delay(nullptr, 10, &id));
	EXPECT_EQ(-1, id);

	zon_host_fault_inject("alarm_schedule_service_once_after_delay", 1, ALARM_ERROR_CONNECTION_FAIL);
	EXPECT_EQ(ALARM_ERROR_CONNECTION_FAIL, alarm_schedule_service_once_after_delay(h, 10, &id));
	EXPECT_EQ(0u, zon_host_alarm_count());
	ASSERT_EQ(ALARM_ERROR_NONE, alarm_schedule_service_once_after_delay(h, 10, &id));
	zon_host_fault_inject("alarm_cancel", 1, ALARM_ERROR_PERMISSION_DENIED);
	EXPECT_EQ(ALARM_ERROR_PERMISSION_DENIED, alarm_cancel(id));
	EXPECT_EQ(1u, zon_host_alarm_count());

	// Its application is not installed when it goes off: the launch fails, the alarm is gone.
	ASSERT_EQ(0, zon_host_fire_alarm(id));
	zon_host_launch rec;
	ASSERT_TRUE(zon_host_launch_get(0, &rec));
	EXPECT_EQ(APP_CONTROL_ERROR_APP_NOT_FOUND, rec.result);
	EXPECT_TRUE(zon_host_log_contains("launch of korvath.zonvista-service failed"));

	// A pending alarm is device state: reset drops it without counting it as a leak.
	ASSERT_EQ(ALARM_ERROR_NONE, alarm_schedule_service_once_after_delay(h, 0, &id));
	app_control_destroy(h);
	EXPECT_EQ(0, zon_host_reset());
	EXPECT_EQ(0u, zon_host_alarm_count());
	EXPECT_EQ(0, zon_host_pump(100));
	EXPECT_EQ(0u, zon_host_launch_count());
}

TEST_F(HostAlarm, ServiceSignalsTheTimeOutThroughThePreference)
{
	int changes = 0;
	ASSERT_EQ(0, zon_host_install_zonvista_service());
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_int("widget-7", 0));
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_changed_cb("widget-7",
			[](const char *, void *n) { ++*static_cast<int *>(n); }, &changes));

	int other = scheduleTimeout(nullptr);
	int id = scheduleTimeout("widget-7");
	zon_host_fire_alarm(other);
	zon_host_pump(100);
	EXPECT_TRUE(zon_host_log_contains("without instance_id"));
	EXPECT_EQ(0, changes);

	zon_host_fire_alarm(id);
	zon_host_pump(100);
	int value = 0;
	EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_get_int("widget-7", &value));
	EXPECT_NE(0, value);
	EXPECT_EQ(1, changes);
	preference_unset_changed_cb("widget-7");
}

} // namespace

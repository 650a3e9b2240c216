#include <app_alarm.h>
#include <app_control.h>

#include "HostFixture.h"

namespace {

class HostAlarm : public HostFixture {};

// "<instance_id> from <caller>" for every launch that reaches the service.
void recordLaunch(app_control_h h, void *self)
{
	char *instance = nullptr, *caller = nullptr;
	app_control_get_extra_data(h, "instance_id", &instance);
	app_control_get_caller(h, &caller);
	static_cast<std::vector<std::string> *>(self)->push_back(takeText(instance) + " from " + takeText(caller));
}

// The time-out alarm as the weather handler arms it.
int scheduleTimeout(const char *instance, int delay = 10)
{
	app_control_h h = nullptr;
	app_control_create(&h);
	app_control_set_operation(h, APP_CONTROL_OPERATION_DEFAULT);
	app_control_set_app_id(h, "korvath.zonvista-service");
	app_control_add_extra_data(h, "operation", "weather_agent_timeout");
	app_control_add_extra_data(h, "instance_id", instance);
	int id = -1;
	int ret = alarm_schedule_service_once_after_delay(h, delay, &id);
	app_control_destroy(h);
	return ret == ALARM_ERROR_NONE ? id : ret;
}

TEST_F(HostAlarm, PendingAlarmIsListedFiresNowOrIsCancelledByItsOwner)
{
	std::vector<std::string> launches;
	zon_host_register_app("korvath.zonvista-service", recordLaunch, &launches);
	int id = scheduleTimeout("widget-1");
	ASSERT_GT(id, 0);
	zon_host_alarm alarm;
	ASSERT_TRUE(zon_host_alarm_get(0, &alarm));
	EXPECT_TRUE(alarm.id == id && alarm.delay_seconds == 10);

	EXPECT_EQ(0, zon_host_pump(100)) << "not due yet";
	struct tm due = {};
	EXPECT_EQ(ALARM_ERROR_NONE, alarm_get_scheduled_date(id, &due));
	time_t wait = mktime(&due) - time(nullptr);
	EXPECT_TRUE(wait >= 8 && wait <= 10) << wait;

	ASSERT_EQ(0, zon_host_fire_alarm(id));
	EXPECT_EQ(-1, zon_host_fire_alarm(id)) << "one-shot";
	zon_host_launch rec;
	ASSERT_TRUE(zon_host_launch_get(0, &rec));
	EXPECT_TRUE(rec.from_alarm);
	EXPECT_TRUE(launches.empty()) << "the launch itself arrives on the main loop";
	zon_host_pump(100);
	EXPECT_EQ(std::vector<std::string>{"widget-1 from " ZON_HOST_DEFAULT_APP_ID}, launches);
	EXPECT_EQ(ALARM_ERROR_INVALID_PARAMETER, alarm_cancel(id)) << "gone off, no longer pending";

	// Cancelling reaches only the owner's pending alarms.
	launches.clear();
	int first = scheduleTimeout("a", 0);
	int second = scheduleTimeout("b", 0);
	EXPECT_EQ(ALARM_ERROR_NONE, alarm_cancel(first));
	EXPECT_EQ(ALARM_ERROR_INVALID_PARAMETER, alarm_cancel(first));
	zon_host_set_app_id("korvath.zonvista-widget");
	scheduleTimeout("w", 0);
	EXPECT_EQ(ALARM_ERROR_INVALID_PARAMETER, alarm_cancel(second));
	zon_host_set_app_id(nullptr);
	EXPECT_EQ(ALARM_ERROR_NONE, alarm_cancel_all());
	zon_host_fault_inject("alarm_schedule_service_once_after_delay", 1, ALARM_ERROR_CONNECTION_FAIL);
	EXPECT_EQ(ALARM_ERROR_CONNECTION_FAIL, scheduleTimeout("failed", 0));

	// A delay of 0 is a real timer that is due at once: only the widget's alarm goes off.
	zon_host_pump(100);
	EXPECT_EQ(std::vector<std::string>{"w from korvath.zonvista-widget"}, launches);
	EXPECT_EQ(0u, zon_host_alarm_count());

	// Its application gone when it goes off: the launch fails and says so. A pending alarm is
	// device state: reset drops it without counting it as a leak.
	zon_host_unregister_app("korvath.zonvista-service");
	zon_host_fire_alarm(scheduleTimeout("lost"));
	EXPECT_TRUE(zon_host_log_contains("launch of korvath.zonvista-service failed"));
	scheduleTimeout("pending", 0);
	EXPECT_EQ(0, zon_host_reset());
	EXPECT_EQ(0u, zon_host_alarm_count());
	EXPECT_EQ(0, zon_host_pump(100));
}

} // namespace

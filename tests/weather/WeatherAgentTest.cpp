// The exchange with the weather agent on the host device: the launch the agent receives, the
// answer on the port, the time-out alarm and the service's signal, as the platform sees them.
#include "WeatherTestSupport.h"

using WeatherAgentTest = WeatherFixture;

TEST_F(WeatherAgentTest, AnswerTravelsFromLaunchThroughPortToBothListsAndCallback)
{
	ZonDBManager* db = ZonDBManager::getInstance();
	db->insert(35, "Beijing", false);
	db->insert(35, "Beijing", true);
	db->insert(39, "Berlin", false);
	open(_WIDGET_VIEW_WEATHER_PORT, kInstance);

	EXPECT_TRUE(handler->requestWeatherData(35, true, false));

	ASSERT_EQ(1u, zon_host_launch_count());
	zon_host_launch launch = {};
	ASSERT_TRUE(zon_host_launch_get(0, &launch));
	EXPECT_STREQ("korvath.weather-agent", launch.app_id);
	std::vector<std::pair<std::string, std::string>> extras;
	for (size_t k = 0; k < launch.extra_count; ++k)
		extras.emplace_back(launch.extra_keys[k], launch.extra_values[k] ? launch.extra_values[k] : "(array)");
	EXPECT_EQ((decltype(extras){{"PORT_ID", "zonvista.widget.weather.port"}, {"max", "1"}, {"lon_0", "116.397459"},
				  {"lat_0", "39.938884"}, {"MESSAGE", "REQUEST_WEATHER_INFO_WITH_GEO_POSITION"}}),
		extras);

	ASSERT_EQ(1u, zon_host_alarm_count());
	zon_host_alarm alarm = alarmAt(0);
	EXPECT_EQ(10, alarm.delay_seconds);
	EXPECT_STREQ("korvath.zonvista-service", alarm.app_id);
	EXPECT_STREQ(APP_CONTROL_OPERATION_DEFAULT, alarm.operation);
	EXPECT_TRUE(received.empty()) << "answers come on the main loop, not inside the request";

	zon_host_pump(100);

	ASSERT_EQ(1u, received.size());
	const ZonWeatherReplayData& data = received[0];
	EXPECT_TRUE(data.validity);
	EXPECT_EQ(35, data.cityId);
	EXPECT_EQ(kNow, data.refreshedTime);
	EXPECT_DOUBLE_EQ(116.397459, data.longitude);
	EXPECT_EQ(0u, zon_host_alarm_count());
	EXPECT_EQ(0, preferenceInt(kInstance));
	EXPECT_EQ(0, timeOuts);

	// Weather is shared by the two lists; the stamp is the cache's clock, not the agent's time.
	WeatherRow stored{data.weatherType, data.currentTemperature, 1, weatherClockAt(kNow)};
	EXPECT_EQ(std::vector<WeatherRow>(2, stored), weatherRows(35));
	EXPECT_EQ(0, weatherRows(39).at(0).lastUpdateTime);
}

TEST_F(WeatherAgentTest, SilentAgentEndsInTimeOutEvenAfterTheHandlerIsGone)
{
	installAgent(ZON_HOST_WEATHER_SILENT);
	ZonDBManager::getInstance()->insert(35, "Beijing", false);
	open(_WIDGET_VIEW_WEATHER_PORT, kInstance);
	handler->requestWeatherData(35, true, false);
	zon_host_pump(100);
	EXPECT_EQ(0, timeOuts);

	size_t service = fireAlarm();
	EXPECT_STREQ("weather_agent_timeout", zon_host_launch_extra(service, "operation"));
	EXPECT_STREQ(kInstance, zon_host_launch_extra(service, "instance_id"));
	EXPECT_EQ(1, preferenceInt(kInstance));
	EXPECT_EQ(1, timeOuts);

	// The next request puts the signal back to 0, and that change of value is no time-out.
	zon_host_weather_agent_config late = {};
	late.delay_ms = 60000;
	ASSERT_EQ(0, zon_host_install_weather_agent(&late));
	handler->requestWeatherData(35, true, false);
	EXPECT_EQ(0, preferenceInt(kInstance));
	zon_host_pump(100);
	EXPECT_EQ(1, timeOuts);

	// As on the device, the alarm outlives a destroyed handler and the service still signals;
	// neither that nor the late answer reaches anybody.
	ASSERT_EQ(1u, zon_host_weather_agent_pending());
	handler.reset();
	EXPECT_EQ(1, zon_host_weather_agent_flush());
	fireAlarm();
	EXPECT_EQ(1, preferenceInt(kInstance));
	EXPECT_EQ(1, timeOuts);
	EXPECT_TRUE(received.empty());
	EXPECT_EQ(0, weatherRows(35)[0].lastUpdateTime);
}

TEST_F(WeatherAgentTest, EveryRequestReplacesThePendingAlarm)
{
	installAgent(ZON_HOST_WEATHER_SILENT);
	open(_WIDGET_VIEW_WEATHER_PORT, kInstance);
	handler->requestWeatherData(35, true, false);
	int first = alarmAt(0).id;
	handler->requestWeatherData(39, true, false);
	ASSERT_EQ(1u, zon_host_alarm_count());
	EXPECT_NE(first, alarmAt(0).id);
	EXPECT_EQ(-1, zon_host_fire_alarm(first)) << "the first alarm must be cancelled";
	EXPECT_EQ(2u, ZonWeatherAgentHandlerTestPeer::latitudes(*handler).size());
	zon_host_pump(100);

	// An answer cancels the alarm of the latest request; the id is kept, so the request after it
	// cancels a finished alarm quietly instead of logging.
	installAgent(ZON_HOST_WEATHER_ANSWER);
	handler->requestWeatherData(331, true, false);
	zon_host_pump(100);
	ASSERT_EQ(1u, received.size());
	EXPECT_EQ(331, received[0].cityId);
	EXPECT_EQ(0u, zon_host_alarm_count());
	handler->requestWeatherData(331, true, false);
	EXPECT_EQ(1u, zon_host_log_count_matching("alarm id is not valid"));
	EXPECT_EQ(1u, zon_host_alarm_count());
	zon_host_pump(100);
	EXPECT_EQ(0, timeOuts);
}

TEST_F(WeatherAgentTest, CallbacksMayDeleteTheirHandler)
{
	ZonWeatherAgentHandler* handler = new ZonWeatherAgentHandler(_WIDGET_VIEW_WEATHER_PORT, kInstance);
	handler->setReceiveWeatherDataFunc([&](ZonWeatherReplayData& data) {
		received.push_back(data);
		delete handler;
		handler = nullptr;
	});
	handler->requestWeatherData(35, true, false);
	zon_host_pump(100);
	EXPECT_EQ(1u, received.size());
	EXPECT_EQ(nullptr, handler);

	installAgent(ZON_HOST_WEATHER_SILENT);
	handler = new ZonWeatherAgentHandler(_WIDGET_VIEW_WEATHER_PORT, kInstance);
	handler->setTimeOutCb([&]() {
		++timeOuts;
		delete handler;
		handler = nullptr;
	});
	handler->requestWeatherData(35, true, false);
	fireAlarm();
	EXPECT_EQ(1, timeOuts);
	EXPECT_EQ(nullptr, handler);
}

TEST_F(WeatherAgentTest, ViewHandlerGetsAnswersButNoTimeOutAndLeavesTheDatabaseAlone)
{
	// The view form does not open the database; the widget form does.
	ZonDBManager::getInstance()->insert(39, "Berlin", false);
	ZonDBManager::getInstance()->finalize();
	ZonWeatherAgentHandler& view = open(_BASE_VIEW_WEATHER_PORT);

	view.requestWeatherData(39, true, false);
	EXPECT_STREQ("zonvista.base.weather.port", zon_host_launch_extra(0, "PORT_ID"));
	zon_host_pump(100);
	ASSERT_EQ(1u, received.size());
	EXPECT_EQ(0, weatherRows(39)[0].lastUpdateTime) << "stored into a closed database";

	installAgent(ZON_HOST_WEATHER_SILENT);
	view.requestWeatherData(39, true, false);
	EXPECT_EQ(nullptr, zon_host_launch_extra(fireAlarm(), "instance_id"));
	EXPECT_EQ(0, timeOuts);

	installAgent(ZON_HOST_WEATHER_ANSWER);
	open(_DETAIL_VIEW_WEATHER_PORT, kInstance).requestWeatherData(39, true, false);
	zon_host_pump(100);
	EXPECT_EQ(weatherClockAt(kNow), weatherRows(39)[0].lastUpdateTime);
}

TEST_F(WeatherAgentTest, AgentPathFailuresReachOnlyTheDirectCaller)
{
	open(_WIDGET_VIEW_WEATHER_PORT, kInstance);
	for (int cityId : {0, 332, -1}) {
		EXPECT_FALSE(handler->requestWeatherDataFromWeatherAgent(cityId)) << cityId;
		EXPECT_TRUE(handler->requestWeatherData(cityId, true, false)) << cityId;
	}
	EXPECT_EQ(0u, zon_host_launch_count());
	EXPECT_EQ(0u, zon_host_alarm_count());

	// No agent installed: the launch fails, the time-out is armed all the same.
	ASSERT_EQ(0, zon_host_unregister_app("korvath.weather-agent"));
	EXPECT_FALSE(handler->requestWeatherDataFromWeatherAgent(35));
	EXPECT_TRUE(handler->requestWeatherData(35, true, false));
	zon_host_launch launch = {};
	ASSERT_TRUE(zon_host_launch_get(0, &launch));
	EXPECT_EQ(APP_CONTROL_ERROR_APP_NOT_FOUND, launch.result);
	int armed = alarmAt(0).id;

	// No handle at all: nothing sent, the earlier alarm left as it was.
	ASSERT_EQ(0, zon_host_fault_inject("app_control_create", 1, APP_CONTROL_ERROR_OUT_OF_MEMORY));
	EXPECT_FALSE(handler->requestWeatherDataFromWeatherAgent(39));
	EXPECT_EQ(2u, zon_host_launch_count());
	ASSERT_EQ(1u, zon_host_alarm_count());
	EXPECT_EQ(armed, alarmAt(0).id);

	// "MESSAGE" refused: the launch still goes out, without it.
	installAgent(ZON_HOST_WEATHER_ANSWER);
	ASSERT_EQ(0, zon_host_fault_inject("app_control_add_extra_data", 5, APP_CONTROL_ERROR_OUT_OF_MEMORY));
	EXPECT_FALSE(handler->requestWeatherDataFromWeatherAgent(39));
	ASSERT_EQ(3u, zon_host_launch_count());
	EXPECT_EQ(nullptr, zon_host_launch_extra(2, "MESSAGE"));
	EXPECT_STREQ("52.507542", zon_host_launch_extra(2, "lat_0"));
}

// The time-out service creates its handle twice; only a failed first creation makes the
// request report failure.
TEST_F(WeatherAgentTest, TimeOutServiceFlagsOnlyAFailedFirstCreation)
{
	open(_WIDGET_VIEW_WEATHER_PORT, kInstance);
	ASSERT_EQ(0, zon_host_fault_inject("app_control_create", 2, APP_CONTROL_ERROR_OUT_OF_MEMORY));
	EXPECT_FALSE(handler->requestWeatherDataFromWeatherAgent(35));
	EXPECT_EQ(1u, zon_host_alarm_count());
	zon_host_pump(100);
	EXPECT_EQ(1u, received.size());

	ASSERT_EQ(0, zon_host_fault_inject("app_control_create", 3, APP_CONTROL_ERROR_OUT_OF_MEMORY));
	EXPECT_TRUE(handler->requestWeatherDataFromWeatherAgent(39));
	EXPECT_EQ(0u, zon_host_alarm_count());

	ASSERT_EQ(0, zon_host_fault_inject("alarm_schedule_service_once_after_delay", 1, ALARM_ERROR_CONNECTION_FAIL));
	EXPECT_TRUE(handler->requestWeatherDataFromWeatherAgent(39));
	EXPECT_EQ(0u, zon_host_alarm_count());
}

// The exchange with the weather agent on the host device: the launch the agent receives, the
// answer on the port, the time-out alarm and the service's signal, as the platform sees them.
#include <stdlib.h>

#include <memory>

#include "WeatherTestSupport.h"

using namespace weathertest;
using Extras = std::vector<std::pair<std::string, std::string>>;

namespace {

class WeatherAgentTest : public WeatherFixture {
protected:
	void silenceAgent()
	{
		zon_host_weather_agent_config config = {};
		config.mode = ZON_HOST_WEATHER_SILENT;
		ASSERT_EQ(0, zon_host_install_weather_agent(&config));
	}

	static std::string alarmExtra(int alarmId, const char* key)
	{
		app_control_h control = nullptr;
		char* value = nullptr;
		std::string text = "(absent)";
		if (alarm_get_app_control(alarmId, &control) == ALARM_ERROR_NONE
			&& app_control_get_extra_data(control, key, &value) == APP_CONTROL_ERROR_NONE && value)
			text = value;
		free(value);
		app_control_destroy(control);
		return text;
	}
};

TEST_F(WeatherAgentTest, AnswerTravelsFromLaunchThroughPortToBothListsAndCallback)
{
	ZonDBManager* db = ZonDBManager::getInstance();
	db->insert(35, "Beijing", false);
	db->insert(35, "Beijing", true);
	db->insert(39, "Berlin", false);
	auto handler = std::make_unique<ZonWeatherAgentHandler>(_WIDGET_VIEW_WEATHER_PORT, kInstance);
	watch(*handler);

	EXPECT_TRUE(handler->requestWeatherData(35, true, false));

	ASSERT_EQ(1u, zon_host_launch_count());
	zon_host_launch launch;
	ASSERT_TRUE(zon_host_launch_get(0, &launch));
	EXPECT_STREQ("korvath.weather-agent", launch.app_id);
	EXPECT_EQ(nullptr, launch.operation);
	EXPECT_EQ(APP_CONTROL_ERROR_NONE, launch.result);
	EXPECT_FALSE(launch.reply_requested);
	EXPECT_EQ((Extras{{"PORT_ID", "zonvista.widget.weather.port"}, {"max", "1"}, {"lon_0", "116.397459"},
				  {"lat_0", "39.938884"}, {"MESSAGE", "REQUEST_WEATHER_INFO_WITH_GEO_POSITION"}}),
		launchExtras(0));

	std::vector<zon_host_alarm> alarms = pendingAlarms();
	ASSERT_EQ(1u, alarms.size());
	EXPECT_EQ(10, alarms[0].delay_seconds);
	EXPECT_STREQ("korvath.zonvista-service", alarms[0].app_id);
	EXPECT_STREQ(APP_CONTROL_OPERATION_DEFAULT, alarms[0].operation);
	EXPECT_EQ("weather_agent_timeout", alarmExtra(alarms[0].id, "operation"));
	EXPECT_EQ(kInstance, alarmExtra(alarms[0].id, "instance_id"));
	EXPECT_TRUE(received.empty()) << "answers come on the main loop, not inside the request";

	zon_host_pump(100);

	ASSERT_EQ(1u, received.size());
	const ZonWeatherReplayData& data = received[0];
	EXPECT_TRUE(data.validity);
	EXPECT_EQ(35, data.cityId);
	EXPECT_GT(data.weatherType, UNDEFINED_WEATHER);
	EXPECT_LT(data.weatherType, HURRICANE);
	EXPECT_TRUE(data.isCentegrade);
	EXPECT_TRUE(data.showCurrentLocation);
	EXPECT_EQ(kNow, data.refreshedTime);
	EXPECT_DOUBLE_EQ(39.938884, data.latitude);
	EXPECT_DOUBLE_EQ(116.397459, data.longitude);
	EXPECT_NE(ZON_WEATHER_NO_TEMPERATURE, data.currentTemperature);

	EXPECT_TRUE(pendingAlarms().empty());
	EXPECT_EQ(0, preferenceInt(kInstance));
	EXPECT_EQ(0, timeOuts);

	// Weather is shared by the two lists; the stamp is the cache's clock, not the agent's time.
	std::vector<WeatherRow> rows = weatherRows(35);
	ASSERT_EQ(2u, rows.size());
	for (const WeatherRow& row : rows) {
		EXPECT_EQ(data.weatherType, row.weatherType);
		EXPECT_EQ(data.currentTemperature, row.temperature);
		EXPECT_EQ(1, row.isCentigrade);
		EXPECT_EQ(weatherClockAt(kNow), row.lastUpdateTime);
	}
	ASSERT_EQ(1u, weatherRows(39).size());
	EXPECT_EQ(0, weatherRows(39)[0].lastUpdateTime);
}

TEST_F(WeatherAgentTest, SilentAgentEndsInTimeOutThroughAlarmServiceAndPreference)
{
	silenceAgent();
	ZonDBManager::getInstance()->insert(35, "Beijing", false);
	auto handler = std::make_unique<ZonWeatherAgentHandler>(_WIDGET_VIEW_WEATHER_PORT, kInstance);
	watch(*handler);

	handler->requestWeatherData(35, true, false);
	zon_host_pump(100);
	EXPECT_EQ(0, timeOuts);
	std::vector<zon_host_alarm> alarms = pendingAlarms();
	ASSERT_EQ(1u, alarms.size());

	size_t serviceLaunch = zon_host_launch_count();
	ASSERT_EQ(0, zon_host_fire_alarm(alarms[0].id));
	zon_host_pump(100);

	zon_host_launch launch;
	ASSERT_TRUE(zon_host_launch_get(serviceLaunch, &launch));
	EXPECT_TRUE(launch.from_alarm);
	EXPECT_STREQ("korvath.zonvista-service", launch.app_id);
	EXPECT_STREQ(kInstance, zon_host_launch_extra(serviceLaunch, "instance_id"));
	EXPECT_EQ(1, preferenceInt(kInstance));
	EXPECT_EQ(1, timeOuts);
	EXPECT_TRUE(received.empty());
	EXPECT_EQ(0, weatherRows(35)[0].lastUpdateTime);

	// The next request puts the signal back to 0, and that change of value is no time-out.
	zon_host_log_clear();
	handler->requestWeatherData(35, true, false);
	EXPECT_EQ(0, preferenceInt(kInstance));
	zon_host_pump(100);
	EXPECT_EQ(1, timeOuts);
	EXPECT_TRUE(zon_host_log_contains("timeout callback is not set"));
}

TEST_F(WeatherAgentTest, EveryRequestReplacesThePendingAlarm)
{
	silenceAgent();
	auto handler = std::make_unique<ZonWeatherAgentHandler>(_WIDGET_VIEW_WEATHER_PORT, kInstance);
	watch(*handler);

	handler->requestWeatherData(35, true, false);
	EXPECT_EQ(1u, zon_host_log_count_matching("alarm id is not valid"));
	std::vector<zon_host_alarm> first = pendingAlarms();
	ASSERT_EQ(1u, first.size());

	handler->requestWeatherData(39, true, false);
	std::vector<zon_host_alarm> second = pendingAlarms();
	ASSERT_EQ(1u, second.size());
	EXPECT_NE(first[0].id, second[0].id);
	EXPECT_EQ(-1, zon_host_fire_alarm(first[0].id)) << "the first alarm must be cancelled";
	EXPECT_EQ(2u, ZonWeatherAgentHandlerTestPeer::latitudes(*handler).size());
	zon_host_pump(100);

	// An answer cancels the alarm of the latest request; the id is kept, so the request after it
	// cancels a finished alarm quietly instead of logging.
	ASSERT_EQ(0, zon_host_install_weather_agent(nullptr));
	handler->requestWeatherData(331, true, false);
	zon_host_pump(100);
	ASSERT_EQ(1u, received.size());
	EXPECT_EQ(331, received[0].cityId);
	EXPECT_TRUE(pendingAlarms().empty());
	handler->requestWeatherData(331, true, false);
	EXPECT_EQ(1u, zon_host_log_count_matching("alarm id is not valid"));
	EXPECT_EQ(1u, pendingAlarms().size());
	zon_host_pump(100);
	EXPECT_EQ(0, timeOuts);
}

TEST_F(WeatherAgentTest, DestroyedHandlerLeavesItsAlarmButHearsNothing)
{
	zon_host_weather_agent_config late = {};
	late.delay_ms = 60000;
	ASSERT_EQ(0, zon_host_install_weather_agent(&late));
	ZonDBManager::getInstance()->insert(35, "Beijing", false);
	auto handler = std::make_unique<ZonWeatherAgentHandler>(_WIDGET_VIEW_WEATHER_PORT, kInstance);
	watch(*handler);
	handler->requestWeatherData(35, true, false);
	zon_host_pump(100);
	ASSERT_EQ(1u, zon_host_weather_agent_pending());
	ASSERT_EQ(1u, pendingAlarms().size());
	int alarmId = pendingAlarms()[0].id;

	handler.reset();

	// As on the device: the alarm outlives the handler, the service still signals.
	ASSERT_EQ(1u, pendingAlarms().size());
	EXPECT_EQ(1, zon_host_weather_agent_flush());
	ASSERT_EQ(0, zon_host_fire_alarm(alarmId));
	zon_host_pump(100);
	EXPECT_EQ(1, preferenceInt(kInstance));
	EXPECT_TRUE(pendingAlarms().empty());
	EXPECT_TRUE(received.empty());
	EXPECT_EQ(0, timeOuts);
	EXPECT_EQ(0, weatherRows(35)[0].lastUpdateTime);
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

	silenceAgent();
	handler = new ZonWeatherAgentHandler(_WIDGET_VIEW_WEATHER_PORT, kInstance);
	handler->setTimeOutCb([&]() {
		++timeOuts;
		delete handler;
		handler = nullptr;
	});
	handler->requestWeatherData(35, true, false);
	ASSERT_EQ(0, zon_host_fire_alarm(pendingAlarms().at(0).id));
	zon_host_pump(100);
	EXPECT_EQ(1, timeOuts);
	EXPECT_EQ(nullptr, handler);
}

TEST_F(WeatherAgentTest, ViewHandlerGetsAnswersButNoTimeOutAndLeavesTheDatabaseAlone)
{
	// The view form does not open the database; the widget form does.
	ZonDBManager::getInstance()->insert(39, "Berlin", false);
	ZonDBManager::getInstance()->finalize();
	auto view = std::make_unique<ZonWeatherAgentHandler>(_BASE_VIEW_WEATHER_PORT);
	watch(*view);
	EXPECT_GT(ZonWeatherAgentHandlerTestPeer::messagePortId(*view), 0);

	view->requestWeatherData(39, true, false);
	EXPECT_STREQ("zonvista.base.weather.port", zon_host_launch_extra(0, "PORT_ID"));
	ASSERT_EQ(1u, pendingAlarms().size());
	EXPECT_EQ("(absent)", alarmExtra(pendingAlarms()[0].id, "instance_id"));
	zon_host_pump(100);
	ASSERT_EQ(1u, received.size());
	EXPECT_EQ(39, received[0].cityId);
	EXPECT_EQ(0, weatherRows(39)[0].lastUpdateTime) << "stored into a closed database";

	silenceAgent();
	view->requestWeatherData(39, true, false);
	ASSERT_EQ(0, zon_host_fire_alarm(pendingAlarms().at(0).id));
	zon_host_pump(100);
	EXPECT_EQ(0, timeOuts);
	EXPECT_TRUE(zon_host_log_contains("weather time-out without instance_id"));

	ASSERT_EQ(0, zon_host_install_weather_agent(nullptr));
	auto widget = std::make_unique<ZonWeatherAgentHandler>(_DETAIL_VIEW_WEATHER_PORT, kInstance);
	widget->setReceiveWeatherDataFunc([this](ZonWeatherReplayData& data) { received.push_back(data); });
	widget->requestWeatherData(39, true, false);
	zon_host_pump(100);
	ASSERT_EQ(2u, received.size());
	EXPECT_EQ(weatherClockAt(kNow), weatherRows(39)[0].lastUpdateTime);
}

TEST_F(WeatherAgentTest, AgentPathFailuresReachOnlyTheDirectCaller)
{
	auto handler = std::make_unique<ZonWeatherAgentHandler>(_WIDGET_VIEW_WEATHER_PORT, kInstance);
	watch(*handler);

	for (int cityId : {0, 332, -1}) {
		EXPECT_FALSE(handler->requestWeatherDataFromWeatherAgent(cityId)) << cityId;
		EXPECT_TRUE(handler->requestWeatherData(cityId, true, false)) << cityId;
	}
	EXPECT_EQ(0u, zon_host_launch_count());
	EXPECT_TRUE(pendingAlarms().empty());
	EXPECT_FALSE(zon_host_log_contains("requestcity"));

	// No agent installed: the launch fails, the time-out is armed all the same.
	ASSERT_EQ(0, zon_host_unregister_app("korvath.weather-agent"));
	EXPECT_FALSE(handler->requestWeatherDataFromWeatherAgent(35));
	EXPECT_TRUE(zon_host_log_contains("send launch request failed !"));
	zon_host_launch launch;
	ASSERT_TRUE(zon_host_launch_get(0, &launch));
	EXPECT_EQ(APP_CONTROL_ERROR_APP_NOT_FOUND, launch.result);
	ASSERT_EQ(1u, pendingAlarms().size());
	int armed = pendingAlarms()[0].id;

	// No handle at all: nothing sent, the earlier alarm left as it was.
	ASSERT_EQ(0, zon_host_fault_inject("app_control_create", 1, APP_CONTROL_ERROR_OUT_OF_MEMORY));
	EXPECT_FALSE(handler->requestWeatherDataFromWeatherAgent(39));
	EXPECT_TRUE(zon_host_log_contains("app control create failed !"));
	EXPECT_EQ(1u, zon_host_launch_count());
	ASSERT_EQ(1u, pendingAlarms().size());
	EXPECT_EQ(armed, pendingAlarms()[0].id);

	// "MESSAGE" refused: the launch still goes out, without it.
	ASSERT_EQ(0, zon_host_install_weather_agent(nullptr));
	ASSERT_EQ(0, zon_host_fault_inject("app_control_add_extra_data", 5, APP_CONTROL_ERROR_OUT_OF_MEMORY));
	EXPECT_FALSE(handler->requestWeatherDataFromWeatherAgent(39));
	EXPECT_TRUE(zon_host_log_contains("set message failed !"));
	ASSERT_EQ(2u, zon_host_launch_count());
	EXPECT_EQ(nullptr, zon_host_launch_extra(1, "MESSAGE"));
	EXPECT_STREQ("52.507542", zon_host_launch_extra(1, "lat_0"));
	zon_host_pump(100);
	EXPECT_TRUE(received.empty()) << "the agent ignores a launch without MESSAGE";
}

TEST_F(WeatherAgentTest, TimeOutServiceFlagsOnlyAFailedFirstCreation)
{
	auto handler = std::make_unique<ZonWeatherAgentHandler>(_WIDGET_VIEW_WEATHER_PORT, kInstance);
	watch(*handler);

	// Creation #2 is the time-out service's first: alarm armed, answer delivered, yet false.
	ASSERT_EQ(0, zon_host_fault_inject("app_control_create", 2, APP_CONTROL_ERROR_OUT_OF_MEMORY));
	EXPECT_FALSE(handler->requestWeatherDataFromWeatherAgent(35));
	EXPECT_EQ(1u, pendingAlarms().size());
	zon_host_pump(100);
	EXPECT_EQ(1u, received.size());

	// Its second creation failing leaves no alarm at all, and the request reports success.
	ASSERT_EQ(0, zon_host_fault_inject("app_control_create", 3, APP_CONTROL_ERROR_OUT_OF_MEMORY));
	EXPECT_TRUE(handler->requestWeatherDataFromWeatherAgent(39));
	EXPECT_TRUE(pendingAlarms().empty());

	ASSERT_EQ(0, zon_host_fault_inject("alarm_schedule_service_once_after_delay", 1, ALARM_ERROR_CONNECTION_FAIL));
	EXPECT_TRUE(handler->requestWeatherDataFromWeatherAgent(39));
	EXPECT_TRUE(pendingAlarms().empty());
	zon_host_pump(100);
	EXPECT_EQ(3u, received.size());
}

} // namespace

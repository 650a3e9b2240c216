// Decoding of the agent's answers, well-formed and not: what reaches the callback, what is
// stored, and that no message, however odd, crashes or stores an invalid answer.
#include <limits.h>
#include <string.h>

#include <memory>

#include "WeatherTestSupport.h"

using namespace weathertest;
using Pairs = std::vector<std::pair<const char*, const char*>>;

namespace {

class WeatherReplyTest : public WeatherFixture {
protected:
	void SetUp() override
	{
		WeatherFixture::SetUp();
		ZonDBManager::getInstance()->insert(35, "Beijing", false);
		ZonDBManager::getInstance()->updateWeatherInfo(35, CLOUDY, 20, true, 123);
		handler = std::make_unique<ZonWeatherAgentHandler>(_WIDGET_VIEW_WEATHER_PORT, kInstance);
		watch(*handler);
	}

	void TearDown() override
	{
		handler.reset();
		WeatherFixture::TearDown();
	}

	// Beijing asked for, the agent answering exactly `pairs` (with "lat"/"lon" echoed unless
	// named). The record the callback got.
	ZonWeatherReplayData answer(const Pairs& pairs)
	{
		agentAnswers(pairs);
		received.clear();
		handler->requestWeatherData(35, true, false);
		zon_host_pump(100);
		EXPECT_EQ(1u, received.size());
		EXPECT_TRUE(pendingAlarms().empty());
		return received.empty() ? ZonWeatherReplayData() : received.back();
	}

	// Straight onto the handler's port, as any application may send.
	void send(bundle* message)
	{
		ASSERT_EQ(MESSAGE_PORT_ERROR_NONE, message_port_send_message(zon_host_app_id(), _WIDGET_VIEW_WEATHER_PORT, message));
		bundle_free(message);
		zon_host_pump(100);
	}

	static void expectUntouched()
	{
		std::vector<WeatherRow> rows = weatherRows(35);
		ASSERT_EQ(1u, rows.size());
		EXPECT_EQ(CLOUDY, rows[0].weatherType);
		EXPECT_EQ(20, rows[0].temperature);
		EXPECT_EQ(123, rows[0].lastUpdateTime);
	}

	std::unique_ptr<ZonWeatherAgentHandler> handler;
};

TEST_F(WeatherReplyTest, IconIdsMapThroughTheTableWithItsShiftAt21)
{
	for (int icon = 1; icon <= 20; ++icon)
		EXPECT_EQ(static_cast<WeatherType>(icon), ZonWeatherAgentHandlerTestPeer::convertIconId(icon)) << icon;
	EXPECT_EQ(RAIN, ZonWeatherAgentHandlerTestPeer::convertIconId(21));
	EXPECT_EQ(HAIL, ZonWeatherAgentHandlerTestPeer::convertIconId(22));
	EXPECT_EQ(SANDSTORM, ZonWeatherAgentHandlerTestPeer::convertIconId(23));
	for (int icon : {0, -1, -22, 24, 25, INT_MAX, INT_MIN})
		EXPECT_EQ(UNDEFINED_WEATHER, ZonWeatherAgentHandlerTestPeer::convertIconId(icon)) << icon;
}

TEST_F(WeatherReplyTest, FindCommaTurnsEveryCommaIntoAPoint)
{
	for (auto [before, after] : Pairs{{"51,5", "51.5"}, {"-0,25", "-0.25"}, {"1,2,,3", "1.2..3"}, {"", ""}}) {
		char text[16];
		strcpy(text, before);
		ZonWeatherAgentHandlerTestPeer::findComma(text);
		EXPECT_STREQ(after, text);
	}
	EXPECT_TRUE(zon_host_log_contains("before value 51,5"));
	EXPECT_TRUE(zon_host_log_contains("after value 51.5"));
	EXPECT_EQ(4u, zon_host_log_count_matching("before value ")) << "an empty text is logged too";
	EXPECT_EQ(4u, zon_host_log_count_matching("after value "));
}

TEST_F(WeatherReplyTest, FullAnswerIsDecodedStoredAndLogged)
{
	ZonWeatherReplayData data = answer({{"result", "0"}, {"iconID", "21"}, {"refreshedTime", "1699990000"},
		{"currentTemperature", "-7"}, {"temperatureUnit", "c"}, {"showCurrentLocation", "off"}, {"extra", "1"}});
	EXPECT_TRUE(data.validity);
	EXPECT_EQ(RAIN, data.weatherType);
	EXPECT_EQ(1699990000, data.refreshedTime);
	EXPECT_EQ(-7, data.currentTemperature);
	EXPECT_TRUE(data.isCentegrade);
	EXPECT_FALSE(data.showCurrentLocation);
	EXPECT_EQ(35, data.cityId);

	std::vector<WeatherRow> rows = weatherRows(35);
	EXPECT_EQ(RAIN, rows[0].weatherType);
	EXPECT_EQ(-7, rows[0].temperature);
	EXPECT_EQ(weatherClockAt(kNow), rows[0].lastUpdateTime);

	for (const char* line : {"result key = result, value = 0", "icon id key = iconID, value = 21",
			 "currentTemperature key = currentTemperature, value = -7", "temperatureUnit key = temperatureUnit, value = c",
			 "lat key = lat, value = 39.938884", "lon key = lon, value = 116.397459", "replycity 39.938884--->35"})
		EXPECT_TRUE(zon_host_log_contains(line)) << line;
}

TEST_F(WeatherReplyTest, FlagsFollowTheirExactTexts)
{
	ZonWeatherReplayData upper = answer({{"result", "0"}, {"temperatureUnit", "C"}, {"showCurrentLocation", "OFF"}});
	EXPECT_FALSE(upper.isCentegrade);
	EXPECT_TRUE(upper.showCurrentLocation);

	// Nothing but success: the record keeps its empty values, and they are stored.
	ZonWeatherReplayData bare = answer({{"result", "0"}});
	EXPECT_FALSE(bare.showCurrentLocation);
	EXPECT_EQ(ZON_WEATHER_NO_TEMPERATURE, bare.currentTemperature);
	EXPECT_EQ(UNDEFINED_WEATHER, bare.weatherType);
	EXPECT_EQ(ZON_WEATHER_NO_TEMPERATURE, weatherRows(35)[0].temperature);
}

TEST_F(WeatherReplyTest, InvalidAnswersReachTheCallbackButAreNeverStored)
{
	const Pairs invalid[] = {{}, {{"result", "1"}}, {{"result", "00"}}, {{"result", " 0"}}, {{"result", ""}},
		{{"RESULT", "0"}}, {{"result", "0x0"}, {"iconID", "1"}, {"currentTemperature", "30"}}};
	for (const Pairs& pairs : invalid) {
		zon_host_log_clear();
		ZonWeatherReplayData data = answer(pairs);
		EXPECT_FALSE(data.validity);
		EXPECT_EQ(0, data.cityId);
		EXPECT_TRUE(zon_host_log_contains("weather reply is not valid"));
		expectUntouched();
	}

	send(bundle_create());
	ASSERT_EQ(2u, received.size());
	EXPECT_FALSE(received.back().validity);
	EXPECT_EQ(ZON_WEATHER_NO_TEMPERATURE, received.back().currentTemperature);
	expectUntouched();
}

TEST_F(WeatherReplyTest, GarbageAndHugeNumbersDoNotWrapOrOverflow)
{
	ZonWeatherReplayData garbage = answer({{"result", "0"}, {"iconID", "sunny"}, {"currentTemperature", "12abc"},
		{"refreshedTime", "soon"}});
	EXPECT_EQ(UNDEFINED_WEATHER, garbage.weatherType);
	EXPECT_EQ(12, garbage.currentTemperature);
	EXPECT_EQ(0, garbage.refreshedTime);

	// On the watch these saturate at the int range; a wrapped 2^32 + 1 would read as sunny.
	ZonWeatherReplayData huge = answer({{"result", "0"}, {"iconID", "4294967297"},
		{"currentTemperature", "99999999999999999999"}});
	EXPECT_EQ(UNDEFINED_WEATHER, huge.weatherType);
	EXPECT_EQ(INT_MAX, huge.currentTemperature);
	EXPECT_EQ(INT_MAX, weatherRows(35)[0].temperature);
	EXPECT_EQ(INT_MIN, answer({{"result", "0"}, {"currentTemperature", "-99999999999999999999"}}).currentTemperature);

	// Latitudes that print far wider than their buffer, or not at all, match no city.
	std::string longText(5000, '9');
	for (const char* lat : {"1e308", "-1e308", "1e999", "nan", "", longText.c_str()}) {
		ZonWeatherReplayData data = answer({{"result", "0"}, {"lat", lat}});
		EXPECT_EQ(0, data.cityId) << lat;
	}
}

TEST_F(WeatherReplyTest, CityIsFoundByTheLatitudeAsPrinted)
{
	// More digits that print alike still find the city; the sixth decimal does not.
	EXPECT_EQ(35, answer({{"result", "0"}, {"lat", "39.9388838"}}).cityId);
	ZonDBManager::getInstance()->updateWeatherInfo(35, CLOUDY, 20, true, 123);
	EXPECT_EQ(0, answer({{"result", "0"}, {"lat", "39.938885"}}).cityId);
	expectUntouched();
	EXPECT_TRUE(zon_host_log_contains("replycity 39.938885--->0"));
	EXPECT_EQ(0, ZonWeatherAgentHandlerTestPeer::latitudes(*handler).at("39.938885"));
}

TEST_F(WeatherReplyTest, OddEntriesAndUnexpectedMessagesAreSurvived)
{
	// Unasked: no alarm to cancel, so the time-out signal is left as it is.
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_int(kInstance, 5));
	zon_host_pump(100);
	bundle* message = bundle_create();
	bundle_add_str(message, "result", "1");
	send(message);
	EXPECT_TRUE(zon_host_log_contains("alarm id is not valid"));
	EXPECT_EQ(5, preferenceInt(kInstance));
	ASSERT_EQ(1u, received.size());

	// A byte value without terminator, an array where a text belongs, an unknown key.
	zon_host_weather_agent_config silent = {};
	silent.mode = ZON_HOST_WEATHER_SILENT;
	ASSERT_EQ(0, zon_host_install_weather_agent(&silent));
	handler->requestWeatherData(35, true, false);
	message = bundle_create();
	bundle_add_str(message, "result", "0");
	bundle_add_byte(message, "iconID", "3", 1);
	const char* lon[] = {"116.397459", "1"};
	bundle_add_str_array(message, "lon", lon, 2);
	bundle_add_str(message, "lat", "39.938884");
	bundle_add_str(message, "korvath", "unknown");
	send(message);
	ASSERT_EQ(2u, received.size());
	EXPECT_EQ(CLOUDY, received[1].weatherType);
	EXPECT_EQ(0.0, received[1].longitude);
	EXPECT_EQ(35, received[1].cityId);
	EXPECT_TRUE(pendingAlarms().empty());

	// Without a receive callback nothing is decoded or stored, but the alarm is still cancelled.
	handler->setReceiveWeatherDataFunc(nullptr);
	ZonDBManager::getInstance()->updateWeatherInfo(35, CLOUDY, 20, true, 123);
	agentAnswers({{"result", "0"}, {"iconID", "1"}});
	handler->requestWeatherData(35, true, false);
	zon_host_pump(100);
	EXPECT_TRUE(zon_host_log_contains("_receiveWeatherDataFunc callback is not set"));
	EXPECT_TRUE(pendingAlarms().empty());
	expectUntouched();
}

} // namespace

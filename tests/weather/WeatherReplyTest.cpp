// Decoding of the agent's answers, well-formed and not: what reaches the callback, what is
// stored, and that no message, however odd, crashes or stores an invalid answer. Then the cache
// path: what counts as fresh on the cache's fixed clock, and what is asked of the agent otherwise.
#include <limits.h>
#include <string.h>

#include "WeatherTestSupport.h"

using Pairs = std::vector<std::pair<const char*, const char*>>;

class WeatherReplyTest : public WeatherFixture {
protected:
	void SetUp() override
	{
		WeatherFixture::SetUp();
		ZonDBManager::getInstance()->insert(35, "Beijing", false);
		ZonDBManager::getInstance()->updateWeatherInfo(35, CLOUDY, 20, true, 123);
		open(_WIDGET_VIEW_WEATHER_PORT, kInstance);
	}

	// Beijing asked for, the agent answering exactly `pairs` (with "lat"/"lon" echoed unless
	// named). The record the callback got.
	ZonWeatherReplayData answer(const Pairs& pairs)
	{
		installAgent(ZON_HOST_WEATHER_FIXED, pairs);
		received.clear();
		handler->requestWeatherData(35, true, false);
		zon_host_pump(100);
		EXPECT_EQ(1u, received.size());
		EXPECT_EQ(0u, zon_host_alarm_count());
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
		EXPECT_EQ(std::vector<WeatherRow>(1, {CLOUDY, 20, 1, 123}), weatherRows(35));
	}

	// A reading of this very moment.
	static void store(int cityId, int type)
	{
		ZonDBManager::getInstance()->updateWeatherInfo(cityId, type, -3, true, static_cast<int>(weatherClockAt(kNow)));
	}
};

TEST_F(WeatherReplyTest, IconIdsCommasAndAFullAnswerAreDecodedAndStored)
{
	for (int icon = 1; icon <= 20; ++icon)
		EXPECT_EQ(static_cast<WeatherType>(icon), ZonWeatherAgentHandlerTestPeer::convertIconId(icon)) << icon;
	for (auto [icon, type] : {std::pair{21, RAIN}, {22, HAIL}, {23, SANDSTORM}, {0, UNDEFINED_WEATHER},
			 {-1, UNDEFINED_WEATHER}, {-22, UNDEFINED_WEATHER}, {24, UNDEFINED_WEATHER},
			 {INT_MAX, UNDEFINED_WEATHER}, {INT_MIN, UNDEFINED_WEATHER}})
		EXPECT_EQ(type, ZonWeatherAgentHandlerTestPeer::convertIconId(icon)) << icon;

	for (auto [before, after] : Pairs{{"51,5", "51.5"}, {"-0,25", "-0.25"}, {"1,2,,3", "1.2..3"}, {"", ""}}) {
		char text[16];
		strcpy(text, before);
		ZonWeatherAgentHandlerTestPeer::findComma(text);
		EXPECT_STREQ(after, text);
	}

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

	// Flags follow their exact texts.
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

TEST_F(WeatherReplyTest, InvalidOrUnheardAnswersAreNeverStored)
{
	// Unasked: no alarm to cancel, so the time-out signal is left as it is.
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_int(kInstance, 5));
	zon_host_pump(100);
	bundle* message = bundle_create();
	bundle_add_str(message, "result", "1");
	send(message);
	EXPECT_EQ(5, preferenceInt(kInstance));
	ASSERT_EQ(1u, received.size());

	const Pairs invalid[] = {{}, {{"result", "1"}}, {{"result", "00"}}, {{"result", " 0"}}, {{"result", ""}},
		{{"RESULT", "0"}}, {{"result", "0x0"}, {"iconID", "1"}, {"currentTemperature", "30"}}};
	for (const Pairs& pairs : invalid) {
		ZonWeatherReplayData data = answer(pairs);
		EXPECT_FALSE(data.validity);
		EXPECT_EQ(0, data.cityId);
		expectUntouched();
	}
	send(bundle_create());
	ASSERT_EQ(2u, received.size());
	EXPECT_FALSE(received.back().validity);
	expectUntouched();

	// Without a receive callback nothing is decoded or stored, but the alarm is still cancelled.
	handler->setReceiveWeatherDataFunc(nullptr);
	installAgent(ZON_HOST_WEATHER_FIXED, {{"result", "0"}, {"iconID", "1"}});
	handler->requestWeatherData(35, true, false);
	zon_host_pump(100);
	EXPECT_EQ(0u, zon_host_alarm_count());
	expectUntouched();
}

TEST_F(WeatherReplyTest, NumbersDoNotWrapOrOverflowLatitudesMatchAsPrinted)
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
	for (const char* lat : {"1e308", "-1e308", "1e999", "nan", "", longText.c_str()})
		EXPECT_EQ(0, answer({{"result", "0"}, {"lat", lat}}).cityId) << lat;

	// The city is found by the latitude as printed: more digits that print alike still find the
	// city; the sixth decimal does not.
	EXPECT_EQ(35, answer({{"result", "0"}, {"lat", "39.9388838"}}).cityId);
	ZonDBManager::getInstance()->updateWeatherInfo(35, CLOUDY, 20, true, 123);
	EXPECT_EQ(0, answer({{"result", "0"}, {"lat", "39.938885"}}).cityId);
	expectUntouched();
	EXPECT_EQ(0, ZonWeatherAgentHandlerTestPeer::latitudes(*handler).at("39.938885"));
}

// The cache path, on a detail view.
TEST_F(WeatherReplyTest, CacheNeverFreshForUnknownWeatherOtherListOrNoRow)
{
	open(_DETAIL_VIEW_WEATHER_PORT);
	store(35, UNDEFINED_WEATHER);
	EXPECT_FALSE(handler->checkWeatherDataInWeatherDatabase(35, false));

	// Berlin has no row; a city only in the second list is found only there.
	store(39, SUNNY);
	EXPECT_FALSE(handler->checkWeatherDataInWeatherDatabase(39, false));
	ZonDBManager::getInstance()->insert(39, "Berlin", true);
	store(39, SUNNY);
	EXPECT_FALSE(handler->checkWeatherDataInWeatherDatabase(39, false));
	EXPECT_TRUE(handler->checkWeatherDataInWeatherDatabase(39, true));

	// The check path never falls back on the agent; the request path does.
	ASSERT_EQ(1u, received.size());
	EXPECT_EQ(0u, zon_host_launch_count());
	EXPECT_EQ(0u, zon_host_alarm_count());
	EXPECT_TRUE(handler->requestWeatherData(35, false, true));
	EXPECT_EQ(1u, zon_host_launch_count());

	// A fresh entry without a taker is not refetched either.
	handler->setReceiveWeatherDataFunc(nullptr);
	EXPECT_TRUE(handler->requestWeatherData(39, false, true));
	EXPECT_EQ(1u, zon_host_launch_count());
}

// The agent's answer is stamped and judged on the same fixed clock: fresh for exactly 10800 s.
TEST_F(WeatherReplyTest, StoredAnswerAgesOnTheFixedClock)
{
	open(_DETAIL_VIEW_WEATHER_PORT);
	handler->requestWeatherData(35, true, false);
	zon_host_pump(100);
	ASSERT_EQ(1u, received.size());

	TestClock::set(kNow + 10800);
	EXPECT_TRUE(handler->requestWeatherData(35, false, false));
	ASSERT_EQ(2u, received.size()) << "a fresh entry is answered before the request returns";
	const ZonWeatherReplayData& cached = received[1];
	EXPECT_TRUE(cached.validity);
	EXPECT_EQ(35, cached.cityId);
	EXPECT_EQ(received[0].weatherType, cached.weatherType);
	EXPECT_EQ(received[0].currentTemperature, cached.currentTemperature);
	EXPECT_EQ(received[0].isCentegrade, cached.isCentegrade);
	EXPECT_EQ(1u, zon_host_launch_count());
	EXPECT_EQ(0u, zon_host_alarm_count());

	// One second older and the agent is asked instead; its answer comes later.
	TestClock::advance(1);
	EXPECT_TRUE(handler->requestWeatherData(35, false, false));
	EXPECT_EQ(2u, received.size());
	EXPECT_EQ(2u, zon_host_launch_count());
	EXPECT_EQ(1u, zon_host_alarm_count());
	zon_host_pump(100);
	EXPECT_EQ(3u, received.size());
	EXPECT_EQ(weatherClockAt(kNow + 10801), weatherRows(35)[0].lastUpdateTime);
}

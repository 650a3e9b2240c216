// The weather cache path: what counts as fresh on the cache's fixed clock, and what is asked of
// the agent otherwise.
#include <memory>

#include "WeatherTestSupport.h"

using namespace weathertest;

namespace {

class WeatherCacheTest : public WeatherFixture {
protected:
	void SetUp() override
	{
		WeatherFixture::SetUp();
		ZonDBManager::getInstance()->insert(35, "Beijing", false);
		handler = std::make_unique<ZonWeatherAgentHandler>(_DETAIL_VIEW_WEATHER_PORT);
		watch(*handler);
	}

	void TearDown() override
	{
		handler.reset();
		WeatherFixture::TearDown();
	}

	static void store(int cityId, int type, time_t stamp)
	{
		ZonDBManager::getInstance()->updateWeatherInfo(cityId, type, -3, true, static_cast<int>(stamp));
	}

	std::unique_ptr<ZonWeatherAgentHandler> handler;
};

TEST_F(WeatherCacheTest, EntryUpToThreeHoursOldAnswersAtOnce)
{
	store(35, SNOW, weatherClockAt(kNow) - 10800);
	EXPECT_TRUE(handler->requestWeatherData(35, false, false));

	ASSERT_EQ(1u, received.size()) << "a fresh entry is answered before the request returns";
	const ZonWeatherReplayData& data = received[0];
	EXPECT_TRUE(data.validity);
	EXPECT_EQ(SNOW, data.weatherType);
	EXPECT_EQ(-3, data.currentTemperature);
	EXPECT_TRUE(data.isCentegrade);
	EXPECT_EQ(35, data.cityId);
	EXPECT_EQ(0, data.refreshedTime);
	EXPECT_FALSE(data.showCurrentLocation);
	EXPECT_EQ(0.0, data.latitude);
	EXPECT_EQ(0u, zon_host_launch_count());
	EXPECT_TRUE(pendingAlarms().empty());
	EXPECT_TRUE(zon_host_log_contains("reply weather validity"));

	// One second older and the agent is asked instead; its answer comes later.
	store(35, SNOW, weatherClockAt(kNow) - 10801);
	received.clear();
	EXPECT_TRUE(handler->requestWeatherData(35, false, false));
	EXPECT_TRUE(received.empty());
	EXPECT_TRUE(zon_host_log_contains("force reload from weather agent"));
	EXPECT_EQ(1u, zon_host_launch_count());
	EXPECT_EQ(1u, pendingAlarms().size());
	zon_host_pump(100);
	ASSERT_EQ(1u, received.size());
	EXPECT_EQ(35, received[0].cityId);
	EXPECT_EQ(weatherClockAt(kNow), weatherRows(35)[0].lastUpdateTime);
}

TEST_F(WeatherCacheTest, UnknownWeatherOtherListOrNoRowIsNeverFresh)
{
	store(35, UNDEFINED_WEATHER, weatherClockAt(kNow));
	EXPECT_FALSE(handler->checkWeatherDataInWeatherDatabase(35, false));

	// Berlin has no row; a city only in the second list is found only there.
	store(39, SUNNY, weatherClockAt(kNow));
	EXPECT_FALSE(handler->checkWeatherDataInWeatherDatabase(39, false));
	ZonDBManager::getInstance()->insert(39, "Berlin", true);
	store(39, SUNNY, weatherClockAt(kNow));
	EXPECT_FALSE(handler->checkWeatherDataInWeatherDatabase(39, false));
	EXPECT_TRUE(handler->checkWeatherDataInWeatherDatabase(39, true));

	// The check path never falls back on the agent; the request path does.
	ASSERT_EQ(1u, received.size());
	EXPECT_EQ(0u, zon_host_launch_count());
	EXPECT_TRUE(pendingAlarms().empty());
	EXPECT_TRUE(handler->requestWeatherData(35, false, true));
	EXPECT_EQ(1u, zon_host_launch_count());
}

TEST_F(WeatherCacheTest, CheckLogsTheEntryAndAnswersOnlyWithACallback)
{
	store(35, SNOW, weatherClockAt(kNow));
	EXPECT_TRUE(handler->checkWeatherDataInWeatherDatabase(35, false));
	EXPECT_TRUE(zon_host_log_contains("weatherType[12], currentTemperature[-3], isCentigrade[1], cityId[35]"));
	EXPECT_EQ(1u, received.size());

	handler->setReceiveWeatherDataFunc(nullptr);
	zon_host_log_clear();
	EXPECT_TRUE(handler->checkWeatherDataInWeatherDatabase(35, false));
	EXPECT_TRUE(handler->requestWeatherData(35, false, false));
	EXPECT_FALSE(zon_host_log_contains("reply weather validity"));
	EXPECT_EQ(0u, zon_host_launch_count()) << "a fresh entry without a taker is not refetched";
}

TEST_F(WeatherCacheTest, StoredAnswerAgesOnTheFixedClock)
{
	handler->requestWeatherData(35, true, false);
	zon_host_pump(100);
	ASSERT_EQ(1u, received.size());
	const ZonWeatherReplayData fromAgent = received[0];

	pinWallClock(kNow + 10800);
	EXPECT_TRUE(handler->requestWeatherData(35, false, false));
	ASSERT_EQ(2u, received.size());
	EXPECT_EQ(fromAgent.weatherType, received[1].weatherType);
	EXPECT_EQ(fromAgent.currentTemperature, received[1].currentTemperature);
	EXPECT_EQ(1u, zon_host_launch_count());

	pinWallClock(kNow + 10801);
	EXPECT_TRUE(handler->requestWeatherData(35, false, false));
	EXPECT_EQ(2u, received.size());
	EXPECT_EQ(2u, zon_host_launch_count());
	zon_host_pump(100);
	EXPECT_EQ(weatherClockAt(kNow + 10801), weatherRows(35)[0].lastUpdateTime);
}

} // namespace

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

	// A reading of this very moment.
	static void store(int cityId, int type)
	{
		ZonDBManager::getInstance()->updateWeatherInfo(cityId, type, -3, true, static_cast<int>(weatherClockAt(kNow)));
	}

	std::unique_ptr<ZonWeatherAgentHandler> handler;
};

TEST_F(WeatherCacheTest, UnknownWeatherOtherListOrNoRowIsNeverFresh)
{
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
TEST_F(WeatherCacheTest, StoredAnswerAgesOnTheFixedClock)
{
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

} // namespace

/*
 * WeatherTestSupport.h - what the weather suites share: a device with the weather agent and the
 * world-clock service installed, a pinned wall clock, the stored weather rows as another process
 * reads them, and access to the handler's private conversions.
 */
#ifndef ZON_TESTS_WEATHER_TEST_SUPPORT_H
#define ZON_TESTS_WEATHER_TEST_SUPPORT_H

#include <time.h>

#include <map>
#include <memory>
#include <tuple>

#include <sqlite3.h>

#include <app_alarm.h>
#include <app_common.h>
#include <app_control.h>
#include <app_preference.h>
#include <bundle.h>
#include <message_port.h>

#include "HostFixture.h"
#include "TestClock.h"
#include "ZonDBManager.h"
#include "ZonWeatherAgentHandler.h"

class ZonWeatherAgentHandlerTestPeer {
public:
	static WeatherType convertIconId(int iconId) { return ZonWeatherAgentHandler::_convertIconIdToWeatherType(iconId); }
	static void findComma(char* text) { ZonWeatherAgentHandler::_findComma(text); }
	static const std::map<std::string, int>& latitudes(const ZonWeatherAgentHandler& handler)
	{
		return handler.latToCityIdMap;
	}
};

// 2023-11-14 22:13:20 UTC.
const time_t kNow = 1700000000;
const char kInstance[] = "weather-widget-7";

// The cache's clock, worked out independently of the library: the wall time of POSIX "GMT+9"
// (nine hours west of UTC) read back as a time of the local zone.
inline time_t weatherClockAt(time_t utc)
{
	time_t west = utc - 9 * 3600;
	tm broken;
	gmtime_r(&west, &broken);
	broken.tm_isdst = 0;
	return mktime(&broken);
}

struct WeatherRow {
	int weatherType;
	int temperature;
	int isCentigrade;
	long long lastUpdateTime;

	auto fields() const { return std::tie(weatherType, temperature, isCentigrade, lastUpdateTime); }
	bool operator==(const WeatherRow& o) const { return fields() == o.fields(); }
};

// The city's rows, main list first, read through a connection of their own.
inline std::vector<WeatherRow> weatherRows(int cityId)
{
	std::vector<WeatherRow> rows;
	char* dir = app_get_data_path();
	std::string path = std::string(dir ? dir : "") + "zonvista.db";
	free(dir);
	sqlite3* db = nullptr;
	sqlite3_stmt* stmt = nullptr;
	std::string sql = "SELECT weather_type, temparature, is_centigrade, last_update_time FROM added_city2 "
		"WHERE city_id = " + std::to_string(cityId) + " ORDER BY is_external, id;";
	if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK
		&& sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr) == SQLITE_OK) {
		while (sqlite3_step(stmt) == SQLITE_ROW)
			rows.push_back({sqlite3_column_int(stmt, 0), sqlite3_column_int(stmt, 1), sqlite3_column_int(stmt, 2),
				sqlite3_column_int64(stmt, 3)});
	}
	sqlite3_finalize(stmt);
	sqlite3_close(db);
	return rows;
}

inline int preferenceInt(const char* key)
{
	int value = -1;
	return preference_get_int(key, &value) == PREFERENCE_ERROR_NONE ? value : -1;
}

inline zon_host_alarm alarmAt(size_t i)
{
	zon_host_alarm alarm = {};
	EXPECT_TRUE(zon_host_alarm_get(i, &alarm)) << "no pending alarm #" << i;
	return alarm;
}

// An agent in `mode`; a fixed one answers exactly `pairs` (and echoes "lat"/"lon" unless the
// pairs name them).
inline void installAgent(zon_host_weather_mode mode,
	const std::vector<std::pair<const char*, const char*>>& pairs = {})
{
	std::vector<const char*> keys, values;
	for (const auto& pair : pairs) {
		keys.push_back(pair.first);
		values.push_back(pair.second);
	}
	zon_host_weather_agent_config config = {};
	config.mode = mode;
	config.date = kNow;
	config.fixed_keys = keys.data();
	config.fixed_values = values.data();
	config.fixed_count = pairs.size();
	ASSERT_EQ(0, zon_host_install_weather_agent(&config));
}

// A device with the agent (answering at once, weather for kNow) and the service, the city
// database open, and the wall clock standing at kNow.
class WeatherFixture : public HostFixture {
protected:
	void SetUp() override
	{
		HostFixture::SetUp();
		// The cache judges age to the second: a real clock could tick between setup and the check.
		TestClock::set(kNow);
		installAgent(ZON_HOST_WEATHER_ANSWER);
		ASSERT_EQ(0, zon_host_install_zonvista_service());
		ZonDBManager::getInstance()->initialize();
	}

	void TearDown() override
	{
		handler.reset();
		ZonDBManager::getInstance()->finalize();
		TestClock::release();
		HostFixture::TearDown();
	}

	// A handler on `port` (for a widget when `instance` is given) whose records are copied into
	// `received` and whose time-outs are counted.
	ZonWeatherAgentHandler& open(const char* port, const char* instance = nullptr)
	{
		handler = instance ? std::make_unique<ZonWeatherAgentHandler>(port, instance)
						   : std::make_unique<ZonWeatherAgentHandler>(port);
		watch(*handler);
		return *handler;
	}

	// Sets off the pending alarm and lets the service it launches run; the index of that launch.
	static size_t fireAlarm()
	{
		size_t launch = zon_host_launch_count();
		EXPECT_EQ(0, zon_host_fire_alarm(alarmAt(0).id));
		zon_host_pump(100);
		return launch;
	}

	void watch(ZonWeatherAgentHandler& watched)
	{
		watched.setReceiveWeatherDataFunc([this](ZonWeatherReplayData& data) { received.push_back(data); });
		watched.setTimeOutCb([this]() { ++timeOuts; });
	}

	std::unique_ptr<ZonWeatherAgentHandler> handler;
	std::vector<ZonWeatherReplayData> received;
	int timeOuts = 0;
};

#endif /* ZON_TESTS_WEATHER_TEST_SUPPORT_H */

#include "WeatherText.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "Settings.h"
#include "Texts.h"
#include "ZonCityinfo.h"
#include "ZonDBManager.h"
#include "ZonTimeUtil.h"
#include "ZonWeatherAgentHandler.h"

namespace zonclock {

const char* const kNone = "\u2014";

std::string weatherName(int weatherType)
{
	// In the order of WeatherType, from SUNNY on.
	static const char* const names[] = {
		tr("Sunny"), tr("Partly sunny"), tr("Cloudy"), tr("Rain"), tr("Fog"), tr("Showers"),
		tr("Partly sunny with showers"), tr("Thunderstorms"), tr("Partly sunny with thunder showers"),
		tr("Flurries"), tr("Partly sunny with flurries"), tr("Snow"), tr("Rain and snow"),
		tr("Ice, sleet, freezing rain"), tr("Hot"), tr("Cold"), tr("Windy"), tr("Clear"), tr("Mostly clear"),
		tr("Heavy rain"), tr("Hail"), tr("Sandstorm"), tr("Hurricane"),
	};
	static_assert(std::size(names) == WEATHER_STATE_MAX - 1, "one name per condition");
	if (weatherType == UNDEFINED_WEATHER)
		return std::string();
	if (weatherType < SUNNY || weatherType >= WEATHER_STATE_MAX)
		return tr("condition") + (" " + std::to_string(weatherType));
	return names[weatherType - SUNNY];
}

std::string temperatureText(int temperature, bool isCentigrade)
{
	if (temperature == ZON_WEATHER_NO_TEMPERATURE)
		return kNone;
	bool fahrenheit = regionUsesFahrenheit(deviceRegion());
	if (fahrenheit == isCentigrade)
		temperature = static_cast<int>(std::lround(fahrenheit ? temperature * 9.0 / 5 + 32 : (temperature - 32) * 5.0 / 9));
	return std::to_string(temperature) + (fahrenheit ? " \u00B0F" : " \u00B0C");
}

time_t weatherClockNow()
{
	// Exactly the library's reading: its zone's wall time, then mktime() in whatever zone the
	// library left the process in.
	tm now;
	memset(&now, 0, sizeof now);
	ZonTimeUtil::getCurrentTime("GMT+9", now);
	return mktime(&now);
}

std::string ageText(double seconds)
{
	long minutes = seconds < 60 ? 0 : static_cast<long>(seconds / 60);
	char text[64];
	if (minutes == 0)
		return tr("just now");
	if (minutes < 60)
		snprintf(text, sizeof text, tr("%ld min ago"), minutes);
	else if (minutes < 24 * 60 && minutes % 60)
		snprintf(text, sizeof text, tr("%ld h %ld min ago"), minutes / 60, minutes % 60);
	else if (minutes < 24 * 60)
		snprintf(text, sizeof text, tr("%ld h ago"), minutes / 60);
	else
		snprintf(text, sizeof text, tr("%ld d ago"), minutes / (24 * 60));
	return text;
}

CachedWeather cachedWeather(ZonDBManager* db, int cityId, bool isExternal)
{
	CachedWeather weather;
	int type = 0, temperature = 0, updated = 0;
	bool centigrade = false;
	if (!db->getWeatherInfo(cityId, type, temperature, centigrade, updated, isExternal) || type == UNDEFINED_WEATHER)
		return weather;
	weather.known = true;
	weather.weatherType = type;
	weather.temperature = temperature;
	weather.isCentigrade = centigrade;
	weather.ageSeconds = difftime(weatherClockNow(), static_cast<time_t>(updated));
	return weather;
}

std::string cachedWeatherText(const CachedWeather& weather)
{
	if (!weather.known)
		return kNone;
	std::string text = weatherName(weather.weatherType) + " " + tr("(simulated)");
	if (weather.temperature != ZON_WEATHER_NO_TEMPERATURE)
		text += " " + temperatureText(weather.temperature, weather.isCentigrade);
	text += ", " + ageText(weather.ageSeconds);
	if (weather.ageSeconds > kWeatherFreshSeconds)
		text += std::string(", ") + tr("stale");
	return text;
}

} // namespace zonclock

#include "WeatherText.h"

#include <cstring>
#include <iterator>

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
		"Sunny", "Partly sunny", "Cloudy", "Rain", "Fog", "Showers", "Partly sunny with showers",
		"Thunderstorms", "Partly sunny with thunder showers", "Flurries", "Partly sunny with flurries",
		"Snow", "Rain and snow", "Ice, sleet, freezing rain", "Hot", "Cold", "Windy", "Clear",
		"Mostly clear", "Heavy rain", "Hail", "Sandstorm", "Hurricane",
	};
	static_assert(std::size(names) == WEATHER_STATE_MAX - 1, "one name per condition");
	if (weatherType == UNDEFINED_WEATHER)
		return std::string();
	if (weatherType < SUNNY || weatherType >= WEATHER_STATE_MAX)
		return "condition " + std::to_string(weatherType);
	return names[weatherType - SUNNY];
}

std::string temperatureText(int temperature, bool isCentigrade)
{
	if (temperature == ZON_WEATHER_NO_TEMPERATURE)
		return kNone;
	return std::to_string(temperature) + (isCentigrade ? " \u00B0C" : " \u00B0F");
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
	if (minutes == 0)
		return "just now";
	if (minutes < 60)
		return std::to_string(minutes) + " min ago";
	if (minutes < 24 * 60) {
		std::string text = std::to_string(minutes / 60) + " h";
		if (minutes % 60)
			text += " " + std::to_string(minutes % 60) + " min";
		return text + " ago";
	}
	return std::to_string(minutes / (24 * 60)) + " d ago";
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
	std::string text = weatherName(weather.weatherType);
	if (weather.temperature != ZON_WEATHER_NO_TEMPERATURE)
		text += " " + temperatureText(weather.temperature, weather.isCentigrade);
	text += ", " + ageText(weather.ageSeconds);
	if (weather.ageSeconds > kWeatherFreshSeconds)
		text += ", stale";
	return text;
}

} // namespace zonclock

/*
 * WeatherText.h - how zonclock shows weather: condition names, temperatures, and the age of what
 * the city database caches.
 *
 * Ages are measured on the cache's own clock (see ZonWeatherAgentHandler.h): the stored update
 * times are not epoch seconds, but the wall time of a fixed zone read back as local time, so
 * "now" has to be taken the same way to compare with them.
 */
#ifndef ZONCLOCK_WEATHER_TEXT_H
#define ZONCLOCK_WEATHER_TEXT_H

#include <time.h>

#include <string>

class ZonDBManager;

namespace zonclock {

// Shown where there is no weather, or no temperature.
extern const char* const kNone;

// "Partly sunny with showers"; "" for UNDEFINED_WEATHER, "condition N" for a value the library
// does not define.
std::string weatherName(int weatherType);
// "21 °C", "-4 °F" in the unit of the device's region (°F where it measures the US way),
// converted when stored in the other; kNone for the library's "no temperature" marker.
std::string temperatureText(int temperature, bool isCentigrade);

// Now on the cache's clock.
time_t weatherClockNow();
// "just now", "12 min ago", "2 h 5 min ago", "3 d ago"; a stored time ahead of now (the
// desktop's clock went back) counts as just now.
std::string ageText(double seconds);
// An answer older than this makes the library ask the agent again.
const double kWeatherFreshSeconds = 10800.0;

struct CachedWeather {
	bool known = false;   // a condition is stored
	int weatherType = 0;
	int temperature = 0;
	bool isCentigrade = false;
	double ageSeconds = 0;
};

CachedWeather cachedWeather(ZonDBManager* db, int cityId, bool isExternal);
// "Sunny (simulated) 21 °C, 12 min ago", "... 4 h ago, stale"; kNone when nothing is stored.
// The host's weather agent is a stand-in that invents its values from place and day, so every
// weather zonclock shows is labelled so beside the values.
std::string cachedWeatherText(const CachedWeather& weather);

} // namespace zonclock

#endif /* ZONCLOCK_WEATHER_TEXT_H */

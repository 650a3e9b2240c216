/*
 * ZonTimeUtilTestPeer.h - the private helpers of ZonTimeUtil that the tests and the literal
 * reference (LiteralTimeUtil) reach, and its best-pattern caches emptied as at library load.
 */
#ifndef ZON_TESTS_TIME_UTIL_TEST_PEER_H
#define ZON_TESTS_TIME_UTIL_TEST_PEER_H

#include "ZonTimeUtil.h"

class ZonTimeUtilTestPeer {
public:
	static void splitTimeStr(char* time_str, char* ampm_str, bool* is_ampm_pre, int size)
	{
		ZonTimeUtil::_splitTimeStr(time_str, ampm_str, is_ampm_pre, size);
	}
	static double julDay(int year, int month, int day, int hour)
	{
		return ZonTimeUtil::_getJulDay(year, month, day, hour);
	}
	static double normalizedAngle(double angle) { return ZonTimeUtil::_getNormalizedAngle(angle); }
	static double eclipticLongitudeOfSun(double d) { return ZonTimeUtil::_getEclipticLongitudeOfSun(d); }
	static double hourAngle(double latitude, double declination, bool twilight)
	{
		return twilight ? ZonTimeUtil::_getHourAngleForTwilight(latitude, declination)
						: ZonTimeUtil::_getHourAngle(latitude, declination);
	}
	// As when the library has just been loaded.
	static void forgetPatternCaches()
	{
		ZonTimeUtil::_bestPatternForTime.clear();
		ZonTimeUtil::_bestPatternForDate.clear();
		ZonTimeUtil::_locale.clear();
	}
};

#endif /* ZON_TESTS_TIME_UTIL_TEST_PEER_H */

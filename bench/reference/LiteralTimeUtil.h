/*
 * LiteralTimeUtil.h - the literal pipeline, reference of the time benchmarks and of the time
 * tests' differential test: ZonTimeUtil's text functions (and
 * ZonStrUtil::convertNumberToString) as they were before ICU objects were kept between calls.
 * Same names, arguments, results, side effects and log messages; see LiteralTimeUtil.cpp.
 */
#ifndef ZON_BENCH_LITERAL_TIME_UTIL_H
#define ZON_BENCH_LITERAL_TIME_UTIL_H

#include <time.h>

#include <string>

#include "ZonTimeUtil.h"
#include "ZonTimeUtilTestPeer.h"

class LiteralTimeUtil {
public:
	static bool isDstOn(const char* timezone);
	static std::string getTimeDiff(const char* timezone);
	static std::string getTimeDiffToRead(const char* timezone);
	static std::string getTimeDiffWithFontSize(const char* timezone);
	static std::string getTimeDiffOnWidgetArc(const char* timezone);
	static std::string getCurrentTime(const char* timezone);
	static std::string getCurrentTime24(const char* timezone);
	static std::string getCurrentDate(const char* timezone);
	static std::string getTTSCurrentDate(const char* timezone);
	static std::string getCurrentGMT(const char* timezone);
	static std::string getCurrentTimeWithBestPattern(const char* timezone);
	static std::string getCurrentDateWithBestPattern(const char* timezone);
	static void getBestPatternForTime();
	static void getBestPatternForDate();
	static std::string getCurrentTimeWithFontSize(const char* timezone, int timeFont, int ampmFont);
	static std::string getCurrentTimeWithFontSizeandDefaultFontName(const char* timezone, int timeFont, int ampmFont);
	static bool _getFormattedDateString(time_t t, const char* locale, const char* timezone, std::string& out);
	static void getSunRiseSetTime(const char* timezone, double latitude, double longitude, std::string& sunrise,
		std::string& sunset, bool* isDayTime = nullptr, const char* timezone_path = nullptr);
	static std::string convertNumberToString(int number);
	static void forgetPatternCaches();

	// Never touched ICU: the library's own.
	static double getGmtOffset(const char* timezone) { return ZonTimeUtil::getGmtOffset(timezone); }
	static void getLocale(std::string& out) { ZonTimeUtil::getLocale(out); }

private:
	static double _getTimezoneValue(const char* timezone) { return ZonTimeUtil::_getTimezoneValue(timezone); }
	static void _splitTimeStr(char* time_str, char* ampm_str, bool* is_ampm_pre, int size)
	{
		ZonTimeUtilTestPeer::splitTimeStr(time_str, ampm_str, is_ampm_pre, size);
	}
	static double _getJulDay(int y, int m, int d, int h) { return ZonTimeUtilTestPeer::julDay(y, m, d, h); }
	static double _getNormalizedAngle(double a) { return ZonTimeUtilTestPeer::normalizedAngle(a); }
	static double _getEclipticLongitudeOfSun(double d) { return ZonTimeUtilTestPeer::eclipticLongitudeOfSun(d); }
	static double _getHourAngle(double lat, double decl) { return ZonTimeUtilTestPeer::hourAngle(lat, decl, false); }
	static double _getHourAngleForTwilight(double lat, double decl)
	{
		return ZonTimeUtilTestPeer::hourAngle(lat, decl, true);
	}

	static std::string _getCurrentTimeWithMarkup(const char* timezone, int timeFont, int ampmFont, bool withFontName);

	static std::string _locale;
	static std::string _bestPatternForTime;
	static std::string _bestPatternForDate;
};

#endif /* ZON_BENCH_LITERAL_TIME_UTIL_H */

/**
 * @class ZonTimeUtil
 * ZonTimeUtil.h - time-zone arithmetic and localised time texts of the world clock.
 *
 * Every zone is named by its Olson id ("Asia/Seoul", a city's timezone_path), except where a
 * function says it takes the catalogue's GMT text ("GMT+5:30", a city's timezone). Offsets are
 * hours as double, and relative to the device's own zone unless the name says "System": a city
 * in the device's zone is 0, whatever the device's distance from UTC.
 *
 * Offsets come from the system's zone rules (the process's TZ and tzset), daylight saving and all
 * texts from ICU. The texts follow the device settings:
 *   - "db/menu_widget/regionformat" (vconf): locale of dates, clocks and digits ("ko_KR.UTF-8");
 *   - the 24-hour setting (system_settings, SYSTEM_SETTINGS_KEY_LOCALE_TIMEFORMAT_24HOUR);
 *   - "db/menu_widget/language" (vconf): only to tell an Arabic display language apart;
 *   - the "zonvista" gettext domain for the difference texts, looked up with dgettext(); the
 *     application binds the domain and chooses the language.
 *
 * Deliberate arithmetic that callers may trip over:
 *   - A west-of-UTC zone with half or quarter hours loses them the other way: -3:30 counts as
 *     -2.5 hours, -9:30 as -8.5. Every difference text builds on this.
 *   - "Asia/Pyongyang" is always computed with Seoul's offset in getGmtOffset().
 *   - _getTimezoneValue() reads minutes as hundredths ("GMT+5:30" is 5.30).
 *
 * Failures are never thrown: they are logged and give an empty (or truncated) text, an unchanged
 * out-parameter or false. A null zone id is a programming error and aborts (WASSERT).
 *
 * Ownership and threading: a class of static functions; results are returned by value. Main-loop
 * thread only: the functions set and unset the process-wide TZ variable around their work (a TZ
 * set by somebody else is lost), _getFormattedDateString() changes ICU's default locale, and
 * the best-pattern caches are unguarded static strings.
 *
 * Example:
 * @code
 *   std::string when = ZonTimeUtil::getCurrentTime("Asia/Tokyo");     // "9:41 PM"
 *   std::string diff = ZonTimeUtil::getTimeDiff("Asia/Tokyo");        // "9 hrs ahead" on a UTC device
 *   std::string rise, set;
 *   bool day = false;
 *   ZonTimeUtil::getSunRiseSetTime("GMT+9", 35.68, 139.69, rise, set, &day, "Asia/Tokyo");
 * @endcode
 */
#ifndef ZON_TIME_UTIL_H
#define ZON_TIME_UTIL_H

#include <time.h>

#include <string>

class ZonTimeUtil {
public:
	// ---- offsets and daylight saving ----

	/// City offset minus device offset, in hours.
	static double getGmtOffset(const char* timezone);
	/// The device's own offset from UTC, in hours.
	static double getSystemGmtOffset();
	/// Whether the zone observes daylight time at this instant (ICU's zone data). True when
	/// memory runs out, false when ICU cannot make a calendar for it.
	static bool isDstOn(const char* timezone);
	/// The present local time of the zone, every field filled. out.tm_zone points into the C
	/// library's static storage.
	static void getCurrentTime(const char* timezone, tm& out);
	/// Hours of a "GMT+h:mm" text, minutes read as hundredths. Index 3 is the sign: '-' negates,
	/// anything else does not.
	static double _getTimezoneValue(const char* timezone);

	// ---- difference to the device, as sentences from the "zonvista" catalogue; "" when the
	// city keeps the device's time ----

	/// For a list row, digits in the region format's numbering ("3 hrs 30 mins ahead").
	static std::string getTimeDiff(const char* timezone);
	/// For the screen reader ("3 hours 30 minutes ahead").
	static std::string getTimeDiffToRead(const char* timezone);
	/// getTimeDiff's sentence in "<font_size=32>...</font_size>".
	static std::string getTimeDiffWithFontSize(const char* timezone);
	/// Signed and short for the round widget's arc: U+200E and "+" ahead, U+200E and U+2212
	/// behind, e.g. "\u200E+3 h".
	static std::string getTimeDiffOnWidgetArc(const char* timezone);

	// ---- present time and date of a zone, in the region format ----

	/// The region format without ".UTF-8" ("ko_KR"); "en_US" when it cannot be read.
	static void getLocale(std::string& out);
	/// Hours and minutes, 12- or 24-hour as the device is set.
	static std::string getCurrentTime(const char* timezone);
	/// Hours and minutes on the 24-hour clock, whatever the device's setting.
	static std::string getCurrentTime24(const char* timezone);
	/// Weekday, month and day, abbreviated; the TTS form spells the weekday out.
	///@{
	static std::string getCurrentDate(const char* timezone);
	static std::string getTTSCurrentDate(const char* timezone);
	///@}
	/// Localised GMT offset ("GMT+9"); "GMT+0" rather than a bare "GMT".
	static std::string getCurrentGMT(const char* timezone);

	/// The same clock and date texts with patterns computed once. The caches (and the locale
	/// they were made for) hold until getBestPatternForTime() / getBestPatternForDate() are
	/// called again: call them after a change of language, region or 24-hour setting.
	///@{
	static std::string getCurrentTimeWithBestPattern(const char* timezone);
	static std::string getCurrentDateWithBestPattern(const char* timezone);
	static void getBestPatternForTime();
	static void getBestPatternForDate();
	///@}

	/// getCurrentTime() as markup for the round display: the digits in timeFont with the
	/// "QNum-3R" font, an AM/PM marker in ampmFont on whichever side the locale puts it.
	static std::string getCurrentTimeWithFontSize(const char* timezone, int timeFont, int ampmFont);
	/// The same markup with the toolkit's default font.
	static std::string getCurrentTimeWithFontSizeandDefaultFontName(const char* timezone, int timeFont,
		int ampmFont);

	/// Clock text (hours and minutes, 12- or 24-hour as the device is set) of instant t in the
	/// zone (null: ICU's default zone) and locale (null: the region format). Makes the region
	/// format ICU's default locale as a side effect. False, with out unchanged, on any failure.
	static bool _getFormattedDateString(time_t t, const char* locale, const char* timezone, std::string& out);

	// ---- sunrise and sunset ----

	/// Today's sunrise and sunset of a city as its local clock texts, by a low-precision solar
	/// model evaluated at noon of the device's date. `timezone` is the city's "GMT+h:mm" text,
	/// `timezone_path` its Olson id; without timezone_path nothing is written. *isDayTime, when
	/// asked for, tells whether the present instant lies between the two.
	static void getSunRiseSetTime(const char* timezone, double latitude, double longitude, std::string& sunrise,
		std::string& sunset, bool* isDayTime = nullptr, const char* timezone_path = nullptr);

private:
	friend class ZonTimeUtilTestPeer;

	/// Declared without bodies and never called; getGmtOffset() and getSystemGmtOffset() do the
	/// work. Kept so that the class declares what it always declared.
	static double _getGmtOffset(const char* timezone);
	static double _getSystemGmtOffset();

	/// Both clock markups; withFontName chooses the "QNum-3R" one.
	static std::string _getCurrentTimeWithMarkup(const char* timezone, int timeFont, int ampmFont,
		bool withFontName);
	/// Splits a 12-hour clock text held in time_str into digits (left in time_str) and marker
	/// (ampm_str); *is_ampm_pre tells whether the marker came first. Both buffers hold `size`
	/// bytes; each part is cut to 31 bytes.
	static void _splitTimeStr(char* time_str, char* ampm_str, bool* is_ampm_pre, int size);

	/// Days since the 2000 epoch (J2000 less half a day) at `hour` of the given date.
	static double _getJulDay(int year, int month, int day, int hour);
	/// The angle in [0, 2*pi).
	static double _getNormalizedAngle(double angle);
	static double _getEclipticLongitudeOfSun(double d);
	/// Half the day arc (plus pi/2) for sunrise and sunset, and for civil twilight.
	static double _getHourAngle(double latitude, double declination);
	static double _getHourAngleForTwilight(double latitude, double declination);

	static std::string _locale;
	static std::string _bestPatternForTime;
	static std::string _bestPatternForDate;
};

#endif /* ZON_TIME_UTIL_H */

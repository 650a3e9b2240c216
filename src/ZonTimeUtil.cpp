#define LOG_TAG "zonvista"

#include "ZonTimeUtil.h"

#include <ctype.h>
#include <limits.h>
#include <libintl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include <unicode/ucal.h>
#include <unicode/udat.h>
#include <unicode/uloc.h>
#include <unicode/ustring.h>

#include <system_settings.h>
#include <vconf.h>

#include "ZonCommonDefine.h"
#include "ZonIcuCache.h"
#include "ZonStrUtil.h"

#define ZON_TEXT_DOMAIN "zonvista"
#define ZON_REGION_FORMAT_KEY "db/menu_widget/regionformat"
#define ZON_LANGUAGE_KEY "db/menu_widget/language"

#define ZON_SKELETON_TIME_12 "hh:mm"
#define ZON_SKELETON_TIME_24 "HH:mm"
#define ZON_SKELETON_DATE "EEEMMMd"
#define ZON_SKELETON_DATE_TTS "EEEEMMMd"
#define ZON_SKELETON_GMT "O"

// The left-to-right mark keeps the sign in front of the digits inside right-to-left text; behind
// is the typographic minus U+2212, the counterpart of "+", not the hyphen.
#define ZON_ARC_SIGN_AHEAD "\xE2\x80\x8E+"
#define ZON_ARC_SIGN_BEHIND "\xE2\x80\x8E\xE2\x88\x92"

std::string ZonTimeUtil::_locale;
std::string ZonTimeUtil::_bestPatternForTime;
std::string ZonTimeUtil::_bestPatternForDate;

namespace {

// Locale of the last _getFormattedDateString() call, kept until the next one.
char* lastLocale = nullptr;

// The platform's i18n layer folds ICU's status into its own code, where a warning (a fallback
// locale, say) is still success.
const int I18N_ERROR_NONE = 0;

int i18nResult(UErrorCode status)
{
	return U_FAILURE(status) ? static_cast<int>(status) : I18N_ERROR_NONE;
}

constexpr double kTwoPi = 6.283185307179586;
constexpr double kDegree = 0.017453292519943295;

// ---- settings ----

bool is24HourFormat()
{
	bool is24 = false;
	int ret = system_settings_get_value_bool(SYSTEM_SETTINGS_KEY_LOCALE_TIMEFORMAT_24HOUR, &is24);
	if (ret != SYSTEM_SETTINGS_ERROR_NONE) {
		WERROR("system_settings_get_value_bool failed(%d)", ret);
		return false;
	}
	return is24;
}

// ---- UTF-8 / UTF-16 ----

// Always terminated within `capacity` units; a longer text is cut.
void toUChars(const char* text, UChar* dest, int32_t capacity)
{
	UErrorCode status = U_ZERO_ERROR;
	memset(dest, 0, capacity * sizeof(UChar));
	u_strFromUTF8(dest, capacity - 1, nullptr, text, -1, &status);
}

// At most capacity - 1 bytes, whole characters only.
std::string toUtf8(const UChar* text, int32_t length, int32_t capacity)
{
	std::vector<char> buffer(capacity, '\0');
	UErrorCode status = U_ZERO_ERROR;
	u_strToUTF8(buffer.data(), capacity - 1, nullptr, text, length, &status);
	return buffer.data();
}

// ---- formatting ----

void getBestPattern(const char* locale, const char* skeleton, UChar* pattern, int32_t capacity)
{
	UErrorCode status = U_ZERO_ERROR;
	if (!ZonIcuCache::getBestPattern(locale, skeleton, pattern, capacity, &status))
		WERROR("udatpg_open failed(%d)", status);
}

std::string formatNow(const char* locale, const UChar* pattern, const char* timezone, bool assertCreated)
{
	UChar zone[256];
	toUChars(timezone, zone, 256);

	UChar formatted[64] = {0};
	UErrorCode status = U_ZERO_ERROR;
	int32_t length = 0;
	if (pattern[0] == 'O' && pattern[1] == 0) {
		// The GMT texts' pattern is the one field "O": written as a formatter would, without one.
		length = ZonIcuCache::formatShortGmt(locale, zone, ucal_getNow(), formatted, 64, &status);
		if (assertCreated && length < 0)
			WASSERT(i18nResult(status) == I18N_ERROR_NONE);
	} else {
		UDateFormat* format = ZonIcuCache::getDateFormat(locale, pattern, zone, &status);
		int ret = i18nResult(status);
		if (assertCreated)
			WASSERT(ret == I18N_ERROR_NONE);
		if (ret != I18N_ERROR_NONE || !format)
			return std::string();
		status = U_ZERO_ERROR;
		length = ZonIcuCache::formatDate(format, ucal_getNow(), formatted, 64, &status);
	}
	// A text that could not be made or does not fit is empty.
	if (U_FAILURE(status) || length < 0)
		length = 0;
	return toUtf8(formatted, length, 64);
}

std::string formatNowWithSkeleton(const char* timezone, const char* skeleton, bool assertCreated)
{
	std::string locale;
	ZonTimeUtil::getLocale(locale);
	UChar pattern[64];
	getBestPattern(locale.c_str(), skeleton, pattern, 64);
	return formatNow(locale.c_str(), pattern, timezone, assertCreated);
}

std::string formatNowWithCachedPattern(const std::string& locale, const std::string& pattern, const char* timezone)
{
	UChar patternText[64];
	toUChars(pattern.c_str(), patternText, 64);
	return formatNow(locale.c_str(), patternText, timezone, true);
}

// ---- offsets ----

// Whole hours plus the remaining minutes; west of UTC the minutes are subtracted while being
// negative, which adds them back (-3:30 gives -2.5). Every difference text is built on it.
double hoursFromGmtoff(long gmtoff)
{
	long hours = gmtoff / 3600;
	long minutes = (gmtoff % 3600) / 60;
	if (minutes < 0)
		return hours - minutes / 60.0;
	if (minutes > 0)
		return hours + minutes / 60.0;
	return hours + 0.0;
}

// The watch's conversion of a double to int: NaN gives 0, values out of range saturate.
int toDeviceInt(double value)
{
	if (std::isnan(value))
		return 0;
	if (value >= static_cast<double>(INT_MAX))
		return INT_MAX;
	if (value <= static_cast<double>(INT_MIN))
		return INT_MIN;
	return static_cast<int>(value);
}

// ---- difference texts ----

enum DiffCase {
	DIFF_MINUTES,
	DIFF_ONE_HOUR,
	DIFF_ONE_HOUR_MINUTES,
	DIFF_HOURS,
	DIFF_HOURS_MINUTES,
};

struct DiffIds {
	const char* ahead;
	const char* behind;
};

// Indexed by DiffCase. The hours-only "ahead" id of the list texts is a WDS_CLOUD id while its
// twin is a WDS_CLOCK id; both are the catalogue's names.
const DiffIds kListIds[] = {
	{"WDS_ZON_BODY_PD_MINS_AHEAD_ABB", "WDS_ZON_BODY_PD_MINS_BEHIND_ABB"},
	{"WDS_CLOCK_BODY_1_HR_AHEAD", "WDS_CLOCK_BODY_1_HR_BEHIND"},
	{"WDS_CLOCK_BODY_1_HR_PD_MINS_AHEAD", "WDS_CLOCK_BODY_1_HR_PD_MINS_BEHIND"},
	{"WDS_CLOUD_BODY_PD_HRS_AHEAD", "WDS_CLOCK_BODY_PD_HRS_BEHIND"},
	{"WDS_CLOCK_BODY_P1SD_HRS_P2SD_MINS_AHEAD", "WDS_CLOCK_BODY_P1SD_HRS_P2SD_MINS_BEHIND"},
};

const DiffIds kReadIds[] = {
	{"WDS_ZON_TBOPT_PD_MINUTES_AHEAD", "WDS_ZON_TBOPT_PD_MINUTES_BEHIND"},
	{"WDS_ZON_TBOPT_ONE_HOUR_AHEAD", "WDS_ZON_TBOPT_ONE_HOUR_BEHIND"},
	{"WDS_ZON_TBOPT_ONE_HOUR_PD_MINUTES_AHEAD", "WDS_ZON_TBOPT_ONE_HOUR_PD_MINUTES_BEHIND"},
	{"WDS_ZON_TBOPT_PD_HOURS_AHEAD", "WDS_ZON_TBOPT_PD_HOURS_BEHIND"},
	{"WDS_ZON_TBOPT_P1SD_HOURS_P2SD_MINUTES_AHEAD", "WDS_ZON_TBOPT_P1SD_HOURS_P2SD_MINUTES_BEHIND"},
};

// The arc carries its own sign, so one id serves both directions.
const char* const kArcIds[] = {
	"WDS_ZON_BODY_PD_MINS",
	"WDS_ALM_BODY_1_HR",
	"WDS_ZON_BODY_1_HR_PD_MINS",
	"WDS_ZON_BODY_PD_HRS",
	"WDS_ZON_BODY_P1SD_HRS_P2SD_MINS",
};

struct TimeDiff {
	int gmt;       // hundredths of an hour, truncated; 0 when the city keeps the device's time
	int hours;     // absolute
	int minutes;   // absolute
	DiffCase kind;
};

TimeDiff computeTimeDiff(const char* timezone)
{
	TimeDiff diff;
	double offset = ZonTimeUtil::getGmtOffset(timezone);
	diff.gmt = static_cast<int>(offset * 100.0);
	WINFO("gmt[%d], timezone[%s]", diff.gmt, timezone);

	int hourPart = diff.gmt / 100;
	int minutePart = (diff.gmt % 100) * 60 / 100;
	diff.hours = abs(hourPart);
	diff.minutes = abs(minutePart);

	if (hourPart == 0)
		diff.kind = DIFF_MINUTES;
	else if (diff.hours == 1 && diff.minutes == 0)
		diff.kind = DIFF_ONE_HOUR;
	else if (diff.hours == 1)
		diff.kind = DIFF_ONE_HOUR_MINUTES;
	else if (diff.minutes == 0)
		diff.kind = DIFF_HOURS;
	else
		diff.kind = DIFF_HOURS_MINUTES;
	return diff;
}

const char* lookupDiffText(const DiffIds* ids, const TimeDiff& diff)
{
	const DiffIds& pair = ids[diff.kind];
	return dgettext(ZON_TEXT_DOMAIN, diff.gmt > 0 ? pair.ahead : pair.behind);
}

// Rewrites each occurrence of `from` in text (a buffer of `size` bytes) as `to`, one at a time
// through a 512-byte work buffer, until none is left.
void replaceAll(char* text, size_t size, const char* from, const char* to)
{
	char work[512];
	size_t fromLength = strlen(from);
	char* at;
	while ((at = strstr(text, from)) != nullptr) {
		snprintf(work, sizeof(work), "%.*s%s%s", static_cast<int>(at - text), text, to, at + fromLength);
		size_t kept = strnlen(work, size - 1);
		memcpy(text, work, kept);
		text[kept] = '\0';
	}
}

// Puts values[i] in place of the i-th `mark` of text. A mark beyond the values (a translation
// that happens to contain the mark literally) takes the last value.
std::string fillMarks(const char* text, const char* mark, const std::vector<std::string>& values)
{
	std::string result;
	size_t markLength = strlen(mark);
	size_t used = 0;
	const char* from = text;
	const char* at;
	while ((at = strstr(from, mark)) != nullptr) {
		result.append(from, at - from);
		result += values[used < values.size() ? used : values.size() - 1];
		++used;
		from = at + markLength;
	}
	result += from;
	return result.size() < 256 ? result : result.substr(0, 255);
}

// ---- clock markup ----

struct TimeMarkup {
	const char* whole;           // font size, text
	const char* markerAfter;     // time font, time, marker font, marker
	const char* wholeArabic;     // font size, text
	const char* markerBefore;    // marker font, marker, time font, time
};

const TimeMarkup kMarkupWithFontName = {
	"<font=QNum-3R font_size=%d style=shadow shadow_color=#00000066>%s</>",
	"<font=QNum-3R font_size=%d style=shadow shadow_color=#00000066>%s</><font_size=%d style=shadow shadow_color=#00000066> %s</>",
	"<font=QNum-3R font_size=%d style=shadow shadow_color=#00000066>%s</font_size>",
	"<font_size=%d style=shadow shadow_color=#00000066>%s </><font=QNum-3R font_size=%d style=shadow shadow_color=#00000066>%s</>",
};

const TimeMarkup kMarkupWithDefaultFont = {
	"<font_size=%d style=shadow shadow_color=#00000066>%s</>",
	"<font_size=%d style=shadow shadow_color=#00000066>%s</><font_size=%d style=shadow shadow_color=#00000066> %s</>",
	"<font_size=%d style=shadow shadow_color=#00000066>%s</font_size>",
	"<font_size=%d style=shadow shadow_color=#00000066>%s </><font_size=%d style=shadow shadow_color=#00000066>%s</>",
};

}

// ---- offsets and daylight saving ----

double ZonTimeUtil::getSystemGmtOffset()
{
	time_t now = time(nullptr);
	struct tm local;
	localtime_r(&now, &local);
	WINFO("current timeZone[%s]", local.tm_zone ? local.tm_zone : "");
	return hoursFromGmtoff(local.tm_gmtoff);
}

double ZonTimeUtil::getGmtOffset(const char* timezone)
{
	WASSERT(timezone != nullptr);

	double sysOffset = getSystemGmtOffset();

	// The list shows Pyongyang on Seoul's time, whatever the zone rules say.
	if (!strcmp(timezone, "Asia/Pyongyang"))
		setenv("TZ", "Asia/Seoul", 1);
	else
		setenv("TZ", timezone, 1);
	tzset();
	time_t now = time(nullptr);
	struct tm local;
	localtime_r(&now, &local);
	double csOffset = hoursFromGmtoff(local.tm_gmtoff);

	unsetenv("TZ");
	tzset();

	WINFO("cs_offset[%lf], sys_offset[%lf]", csOffset, sysOffset);
	return csOffset - sysOffset;
}

bool ZonTimeUtil::isDstOn(const char* timezone)
{
	WASSERT(timezone != nullptr);

	const char* locale = uloc_getDefault();
	if (!locale)
		WERROR("i18n_ulocale_get_default() is failed!!!");

	size_t length = strlen(timezone);
	UChar* zone = static_cast<UChar*>(calloc(length + 1, sizeof(UChar)));
	// Without memory the caller is told "daylight": the clock then errs by an hour rather than
	// the screen showing nothing.
	if (!zone)
		return true;
	u_uastrcpy(zone, timezone);
	int32_t zoneLength = u_strlen(zone);

	UErrorCode status = U_ZERO_ERROR;
	UCalendar* calendar = ZonIcuCache::getCalendar(zone, zoneLength, locale, &status);
	free(zone);
	if (!calendar) {
		WERROR("i18n_ucalendar_create failed.");
		return false;
	}

	status = U_ZERO_ERROR;
	return ucal_inDaylightTime(calendar, &status);
}

void ZonTimeUtil::getCurrentTime(const char* timezone, tm& out)
{
	WASSERT(timezone != nullptr);

	setenv("TZ", timezone, 1);
	tzset();
	time_t now = time(nullptr);
	struct tm* local = localtime(&now);
	if (local) {
		out.tm_sec = local->tm_sec;
		out.tm_min = local->tm_min;
		out.tm_hour = local->tm_hour;
		out.tm_mday = local->tm_mday;
		out.tm_mon = local->tm_mon;
		out.tm_year = local->tm_year;
		out.tm_wday = local->tm_wday;
		out.tm_yday = local->tm_yday;
		out.tm_isdst = local->tm_isdst;
		out.tm_gmtoff = local->tm_gmtoff;
		out.tm_zone = local->tm_zone;
	}
	unsetenv("TZ");
	tzset();
}

double ZonTimeUtil::_getTimezoneValue(const char* timezone)
{
	WASSERT(timezone != nullptr);

	size_t length = strlen(timezone);
	std::string value = length > 4 ? std::string(timezone + 4) : std::string();
	char sign = length > 3 ? timezone[3] : '\0';

	double result;
	size_t colon = value.find(':');
	if (colon != std::string::npos) {
		std::string hours = value.substr(0, colon);
		std::string minutes = value.substr(colon + 1);
		// Minutes as hundredths: the sunrise arithmetic has always been tuned to this reading.
		result = strtod(hours.c_str(), nullptr) + strtod(minutes.c_str(), nullptr) / 100.0;
	} else {
		result = strtod(value.c_str(), nullptr);
	}

	if (sign == '-')
		result = -result;
	return result;
}

// ---- difference texts ----

std::string ZonTimeUtil::getTimeDiff(const char* timezone)
{
	WASSERT(timezone != nullptr);

	TimeDiff diff = computeTimeDiff(timezone);
	if (diff.gmt == 0)
		return std::string();

	std::string hourText = ZonStrUtil::convertNumberToString(diff.hours);
	std::string minuteText = ZonStrUtil::convertNumberToString(diff.minutes);
	WINFO("hourText[%d], minuteText[%d]", diff.hours, diff.minutes);

	char format[256] = {0};
	char result[256] = {0};
	snprintf(format, sizeof(format), "%s", lookupDiffText(kListIds, diff));

	// The digits are texts in the region's numbering, so every number mark becomes "%s". The
	// positions are lost with it: a translation that puts the minutes first receives the hours
	// there.
	switch (diff.kind) {
	case DIFF_MINUTES:
	case DIFF_ONE_HOUR_MINUTES:
		replaceAll(format, sizeof(format), "%d", "%s");
		snprintf(result, sizeof(result), format, minuteText.c_str());
		break;
	case DIFF_HOURS:
		replaceAll(format, sizeof(format), "%d", "%s");
		snprintf(result, sizeof(result), format, hourText.c_str());
		break;
	case DIFF_HOURS_MINUTES:
		replaceAll(format, sizeof(format), "%1$d", "%s");
		replaceAll(format, sizeof(format), "%2$d", "%s");
		snprintf(result, sizeof(result), format, hourText.c_str(), minuteText.c_str());
		break;
	case DIFF_ONE_HOUR:
		snprintf(result, sizeof(result), "%s", format);
		break;
	}
	return result;
}

// The reading and markup forms fill the catalogue text with plain integers, so positional marks
// keep their meaning there.
static std::string formatWithIntegers(const char* format, const TimeDiff& diff)
{
	char result[256] = {0};
	switch (diff.kind) {
	case DIFF_MINUTES:
	case DIFF_ONE_HOUR_MINUTES:
		snprintf(result, sizeof(result), format, diff.minutes);
		break;
	case DIFF_HOURS:
		snprintf(result, sizeof(result), format, diff.hours);
		break;
	case DIFF_HOURS_MINUTES:
		snprintf(result, sizeof(result), format, diff.hours, diff.minutes);
		break;
	case DIFF_ONE_HOUR:
		return format;
	}
	return result;
}

std::string ZonTimeUtil::getTimeDiffToRead(const char* timezone)
{
	WASSERT(timezone != nullptr);

	TimeDiff diff = computeTimeDiff(timezone);
	if (diff.gmt == 0)
		return std::string();

	char format[256] = {0};
	snprintf(format, sizeof(format), "%s", lookupDiffText(kReadIds, diff));
	return formatWithIntegers(format, diff);
}

std::string ZonTimeUtil::getTimeDiffWithFontSize(const char* timezone)
{
	WASSERT(timezone != nullptr);

	TimeDiff diff = computeTimeDiff(timezone);
	if (diff.gmt == 0)
		return std::string();

	// Looked up and not shown: the abbreviations stay in the catalogue's list of used ids.
	char hourAbbreviation[32] = {0};
	char minuteAbbreviation[32] = {0};
	snprintf(hourAbbreviation, sizeof(hourAbbreviation), "%s", dgettext(ZON_TEXT_DOMAIN, "IDS_CLOCK_BODY_H_LC_ABB_M_HOUR"));
	snprintf(minuteAbbreviation, sizeof(minuteAbbreviation), "%s",
		dgettext(ZON_TEXT_DOMAIN, "IDS_CLOCK_BODY_M_LC_ABB_M_MINUTE"));

	char format[256] = {0};
	snprintf(format, sizeof(format), "<font_size=32>%s</font_size>", lookupDiffText(kListIds, diff));
	return formatWithIntegers(format, diff);
}

std::string ZonTimeUtil::getTimeDiffOnWidgetArc(const char* timezone)
{
	WASSERT(timezone != nullptr);

	TimeDiff diff = computeTimeDiff(timezone);
	if (diff.gmt == 0)
		return std::string();

	std::string hourText = ZonStrUtil::convertNumberToString(diff.hours);
	std::string minuteText = ZonStrUtil::convertNumberToString(diff.minutes);
	WINFO("hourText[%d], minuteText[%d]", diff.hours, diff.minutes);

	const char* sign = diff.gmt > 0 ? ZON_ARC_SIGN_AHEAD : ZON_ARC_SIGN_BEHIND;
	const char* text = dgettext(ZON_TEXT_DOMAIN, kArcIds[diff.kind]);

	if (diff.kind == DIFF_ONE_HOUR)
		return std::string(sign) + text;

	// Whatever form the translation gives its numbers, printing -1 through it leaves a "-1"
	// where each number goes; that is where the signed digits are put.
	char marked[256] = {0};
	snprintf(marked, sizeof(marked), text, -1, -1);

	switch (diff.kind) {
	case DIFF_MINUTES:
		return fillMarks(marked, "-1", {sign + minuteText});
	case DIFF_HOURS:
		return fillMarks(marked, "-1", {sign + hourText});
	case DIFF_HOURS_MINUTES: {
		// Only the hours carry the sign.
		char signedHours[128] = {0};
		snprintf(signedHours, sizeof(signedHours), "%s%s", sign, hourText.c_str());
		return fillMarks(marked, "-1", {signedHours, minuteText});
	}
	case DIFF_ONE_HOUR_MINUTES:
		return fillMarks((std::string(sign) + marked).c_str(), "-1", {minuteText});
	case DIFF_ONE_HOUR:
		break;
	}
	return std::string();
}

// ---- present time and date ----

void ZonTimeUtil::getLocale(std::string& out)
{
	char* regionFormat = vconf_get_str(ZON_REGION_FORMAT_KEY);
	if (!regionFormat) {
		WERROR("vconf_get_str() failed : region format");
		out = "en_US";
		return;
	}

	// "ko_KR.UTF-8" gives "ko_KR"; any other shape (no dot, two dots, another encoding) is kept
	// whole, as splitting at every dot and expecting exactly "UTF-8" after the only one would.
	const char* dot = strchr(regionFormat, '.');
	if (dot && !strcmp(dot + 1, "UTF-8"))
		out.assign(regionFormat, dot - regionFormat);
	else
		out = regionFormat;
	free(regionFormat);
}

std::string ZonTimeUtil::getCurrentTime(const char* timezone)
{
	WASSERT(timezone != nullptr);
	return formatNowWithSkeleton(timezone, is24HourFormat() ? ZON_SKELETON_TIME_24 : ZON_SKELETON_TIME_12, true);
}

std::string ZonTimeUtil::getCurrentTime24(const char* timezone)
{
	WASSERT(timezone != nullptr);
	return formatNowWithSkeleton(timezone, ZON_SKELETON_TIME_24, false);
}

std::string ZonTimeUtil::getCurrentDate(const char* timezone)
{
	WASSERT(timezone != nullptr);
	return formatNowWithSkeleton(timezone, ZON_SKELETON_DATE, true);
}

std::string ZonTimeUtil::getTTSCurrentDate(const char* timezone)
{
	WASSERT(timezone != nullptr);
	return formatNowWithSkeleton(timezone, ZON_SKELETON_DATE_TTS, true);
}

std::string ZonTimeUtil::getCurrentGMT(const char* timezone)
{
	WASSERT(timezone != nullptr);
	std::string gmt = formatNowWithSkeleton(timezone, ZON_SKELETON_GMT, false);
	// The band header always shows a sign, even at zero.
	if (gmt == "GMT")
		gmt = "GMT+0";
	return gmt;
}

void ZonTimeUtil::getBestPatternForTime()
{
	bool is24 = is24HourFormat();
	getLocale(_locale);
	UChar pattern[64];
	getBestPattern(_locale.c_str(), is24 ? ZON_SKELETON_TIME_24 : ZON_SKELETON_TIME_12, pattern, 64);
	_bestPatternForTime = toUtf8(pattern, -1, 64);
}

void ZonTimeUtil::getBestPatternForDate()
{
	getLocale(_locale);
	UChar pattern[64];
	getBestPattern(_locale.c_str(), ZON_SKELETON_DATE, pattern, 64);
	_bestPatternForDate = toUtf8(pattern, -1, 64);
}

std::string ZonTimeUtil::getCurrentTimeWithBestPattern(const char* timezone)
{
	WASSERT(timezone != nullptr);
	if (_bestPatternForTime.empty())
		getBestPatternForTime();
	return formatNowWithCachedPattern(_locale, _bestPatternForTime, timezone);
}

std::string ZonTimeUtil::getCurrentDateWithBestPattern(const char* timezone)
{
	WASSERT(timezone != nullptr);
	if (_bestPatternForDate.empty())
		getBestPatternForDate();
	return formatNowWithCachedPattern(_locale, _bestPatternForDate, timezone);
}

std::string ZonTimeUtil::getCurrentTimeWithFontSize(const char* timezone, int timeFont, int ampmFont)
{
	WASSERT(timezone != nullptr);
	return _getCurrentTimeWithMarkup(timezone, timeFont, ampmFont, true);
}

std::string ZonTimeUtil::getCurrentTimeWithFontSizeandDefaultFontName(const char* timezone, int timeFont,
	int ampmFont)
{
	WASSERT(timezone != nullptr);
	return _getCurrentTimeWithMarkup(timezone, timeFont, ampmFont, false);
}

std::string ZonTimeUtil::_getCurrentTimeWithMarkup(const char* timezone, int timeFont, int ampmFont,
	bool withFontName)
{
	const TimeMarkup& markup = withFontName ? kMarkupWithFontName : kMarkupWithDefaultFont;
	char result[256] = {0};
	if (is24HourFormat()) {
		snprintf(result, sizeof(result), markup.whole, timeFont, getCurrentTime(timezone).c_str());
		return result;
	}

	char timeText[256] = {0};
	snprintf(timeText, sizeof(timeText), "%s", getCurrentTime(timezone).c_str());

	char* language = vconf_get_str(ZON_LANGUAGE_KEY);
	bool arabic = language && strstr(language, "ar");
	free(language);

	if (arabic) {
		// Arabic-Indic digits are no ASCII digits for _splitTimeStr; the space is the only
		// boundary to be trusted.
		char* space = strchr(timeText, ' ');
		if (space && space[1]) {
			*space = '\0';
			snprintf(result, sizeof(result), markup.markerAfter, timeFont, timeText, ampmFont, space + 1);
		} else {
			snprintf(result, sizeof(result), markup.wholeArabic, timeFont, timeText);
		}
		return result;
	}

	char ampmText[256] = {0};
	bool isAmpmPre = false;
	_splitTimeStr(timeText, ampmText, &isAmpmPre, sizeof(timeText));
	if (isAmpmPre)
		snprintf(result, sizeof(result), markup.markerBefore, ampmFont, ampmText, timeFont, timeText);
	else
		snprintf(result, sizeof(result), markup.markerAfter, timeFont, timeText, ampmFont, ampmText);
	return result;
}

void ZonTimeUtil::_splitTimeStr(char* time_str, char* ampm_str, bool* is_ampm_pre, int size)
{
	char timePart[32] = {0};
	char ampmPart[32] = {0};
	size_t length = strlen(time_str);
	auto at = [&](size_t i) -> unsigned char {
		return i < length ? static_cast<unsigned char>(time_str[i]) : '\0';
	};

	if (isdigit(at(0))) {
		// "9:30 PM", "10:30PM": four or five characters of clock, then the marker.
		size_t markerStart;
		if (!isdigit(at(4))) {
			memcpy(timePart, time_str, length < 4 ? length : 4);
			markerStart = at(4) == ' ' ? 5 : 4;
		} else {
			memcpy(timePart, time_str, 5);
			markerStart = at(5) == ' ' ? 6 : 5;
		}
		if (markerStart < length)
			snprintf(ampmPart, sizeof(ampmPart), "%s", time_str + markerStart);
		*is_ampm_pre = false;
	} else {
		// "AM 9:30", "오전 9:30": the marker runs to the first digit.
		size_t i = 0;
		size_t kept = 0;
		while (i < length && !isdigit(at(i))) {
			if (kept < sizeof(ampmPart) - 1)
				ampmPart[kept++] = time_str[i];
			++i;
		}
		if (kept > 0 && i < length && ampmPart[kept - 1] == ' ')
			ampmPart[--kept] = '\0';
		if (i < length)
			snprintf(timePart, sizeof(timePart), "%.5s", time_str + i);
		*is_ampm_pre = true;
	}

	memset(time_str, 0, size);
	memset(ampm_str, 0, size);
	snprintf(time_str, 32, "%s", timePart);
	snprintf(ampm_str, 32, "%s", ampmPart);
}

bool ZonTimeUtil::_getFormattedDateString(time_t t, const char* locale, const char* timezone, std::string& out)
{
	free(lastLocale);
	lastLocale = nullptr;

	char* regionFormat = vconf_get_str(ZON_REGION_FORMAT_KEY);
	if (!regionFormat) {
		WERROR("get region format failed");
		return false;
	}
	char* codeset = strstr(regionFormat, ".UTF-8");
	if (codeset)
		*codeset = '\0';
	UErrorCode status = U_ZERO_ERROR;
	uloc_setDefault(regionFormat, &status);
	int ret = i18nResult(status);
	if (ret != I18N_ERROR_NONE) {
		WERROR("Set default locale %s error [%d]", regionFormat, ret);
		free(regionFormat);
		return false;
	}
	free(regionFormat);

	if (!locale) {
		locale = uloc_getDefault();
		if (!locale) {
			WERROR("locale nullptr");
			return false;
		}
	}
	WINFO("locale = %s", locale);

	UChar zone[64] = {0};
	if (timezone)
		toUChars(timezone, zone, 64);

	const char* skeleton = is24HourFormat() ? ZON_SKELETON_TIME_24 : ZON_SKELETON_TIME_12;
	status = U_ZERO_ERROR;
	UChar pattern[32] = {0};
	if (!strcmp(skeleton, "a"))
		toUChars(skeleton, pattern, 32);
	else
		ZonIcuCache::getBestPattern(locale, skeleton, pattern, 32, &status);
	lastLocale = strdup(locale);

	// Only a formatter for a named zone is shared; ICU's default zone is taken as it is now.
	std::unique_ptr<UDateFormat, void (*)(UDateFormat*)> ownFormat(nullptr, udat_close);
	UDateFormat* format = nullptr;
	status = U_ZERO_ERROR;
	if (timezone) {
		format = ZonIcuCache::getDateFormat(locale, pattern, zone, &status);
	} else {
		ownFormat.reset(udat_open(UDAT_PATTERN, UDAT_PATTERN, locale, nullptr, -1, pattern, -1, &status));
		format = ownFormat.get();
	}
	if (U_FAILURE(status) || !format) {
		WERROR("i18n_udate_create failed");
		return false;
	}

	UChar formatted[64] = {0};
	status = U_ZERO_ERROR;
	int32_t length = ZonIcuCache::formatDate(format, t * 1000.0, formatted, 64, &status);
	ret = i18nResult(status);
	if (ret != I18N_ERROR_NONE) {
		WERROR("Get i18n_udate_format_date error [%d]", ret);
		return false;
	}
	if (length == 0) {
		WERROR("formattedLength = 0");
		return false;
	}

	std::string text = toUtf8(formatted, length, 256);
	free(lastLocale);
	lastLocale = nullptr;
	out = text;
	return true;
}

// ---- sunrise and sunset ----

namespace {

// The low-precision solar model, in the degrees it is stated in and the radians it computes with.
// Each radian form is the literal the model has always used; the static_asserts prove it is the
// degree value times kDegree to the last bit, so naming changed no result.
constexpr double kMeanLongitudeAtEpochDeg = 280.461;    // at 2000-01-01 12:00 (d = 0)
constexpr double kMeanLongitudeAtEpoch = 4.894967873435816;
constexpr double kMeanLongitudePerDayDeg = 0.9856474;   // per day
constexpr double kMeanLongitudePerDay = 0.017202792393721557;
constexpr double kMeanAnomalyAtEpochDeg = 357.528;
constexpr double kMeanAnomalyAtEpoch = 6.240040768070287;
constexpr double kMeanAnomalyPerDayDeg = 0.9856003;     // per day
constexpr double kMeanAnomalyPerDay = 0.017201970343643867;
// The two terms of the equation of centre.
constexpr double kCentreFirstDeg = 1.915;
constexpr double kCentreFirst = 0.03342305517569141;
constexpr double kCentreSecondDeg = 0.020;
constexpr double kCentreSecond = 0.00034906585039886593;
constexpr double kObliquityAtEpochDeg = 23.439;
constexpr double kObliquityAtEpoch = 0.4090877233749509;
constexpr double kObliquityPerDayDeg = 0.0000004;       // per day, decreasing
constexpr double kObliquityPerDay = 6.981317007977318e-9;
// How far below the horizon the sun's centre is at rise and set: refraction and the half disc,
// 49.9 arc minutes, a tenth of a minute short of the usual zenith of 90.833 degrees.
constexpr double kRiseSetAllowanceDeg = 49.9 / 60;
constexpr double kRiseSetAllowance = 0.014515321612419507;
// Civil twilight: the sun's centre 6 degrees below the horizon.
constexpr double kCivilTwilightDeg = 6.0;
constexpr double kCivilTwilight = 0.10471975511965978;
// Above this the tangent product is taken as 1: the sun circles without setting.
constexpr double kPolarDayClamp = 0.99999;
// _getJulDay's day count at 2000-01-01 00:00, less half a day.
constexpr double kDaysToEpoch = 730531.5;

static_assert(kMeanLongitudeAtEpochDeg * kDegree == kMeanLongitudeAtEpoch, "radians of the degrees");
static_assert(kMeanLongitudePerDayDeg * kDegree == kMeanLongitudePerDay, "radians of the degrees");
static_assert(kMeanAnomalyAtEpochDeg * kDegree == kMeanAnomalyAtEpoch, "radians of the degrees");
static_assert(kMeanAnomalyPerDayDeg * kDegree == kMeanAnomalyPerDay, "radians of the degrees");
static_assert(kCentreFirstDeg * kDegree == kCentreFirst, "radians of the degrees");
static_assert(kCentreSecondDeg * kDegree == kCentreSecond, "radians of the degrees");
static_assert(kObliquityAtEpochDeg * kDegree == kObliquityAtEpoch, "radians of the degrees");
static_assert(kObliquityPerDayDeg * kDegree == kObliquityPerDay, "radians of the degrees");
static_assert(kRiseSetAllowanceDeg * kDegree == kRiseSetAllowance, "radians of the degrees");
static_assert(kCivilTwilightDeg * kDegree == kCivilTwilight, "radians of the degrees");

// The hour angle at which the sun's centre is `allowance` below the horizon.
double hourAngleBelowHorizon(double latitude, double declination, double allowance)
{
	if (latitude < 0)
		allowance = -allowance;
	double x = tan(declination + allowance) * tan(latitude * kDegree);
	if (x > kPolarDayClamp)
		x = 1.0;
	return asin(x) + M_PI / 2;
}

}

double ZonTimeUtil::_getJulDay(int year, int month, int day, int hour)
{
	long days = 367L * year - 7 * (year + (month + 9) / 12) / 4 + 275 * month / 9 + day;
	return static_cast<double>(days) - kDaysToEpoch + hour / 24.0;
}

double ZonTimeUtil::_getNormalizedAngle(double angle)
{
	double turns = angle / kTwoPi;
	double normalized = (turns - trunc(turns)) * kTwoPi;
	if (normalized < 0)
		normalized += kTwoPi;
	return normalized;
}

double ZonTimeUtil::_getEclipticLongitudeOfSun(double d)
{
	double meanLongitude = _getNormalizedAngle(d * kMeanLongitudePerDay + kMeanLongitudeAtEpoch);
	double meanAnomaly = _getNormalizedAngle(d * kMeanAnomalyPerDay + kMeanAnomalyAtEpoch);
	return _getNormalizedAngle(meanLongitude + kCentreFirst * sin(meanAnomaly) + kCentreSecond * sin(2 * meanAnomaly));
}

double ZonTimeUtil::_getHourAngle(double latitude, double declination)
{
	// No lower clamp: polar night gives NaN.
	return hourAngleBelowHorizon(latitude, declination, kRiseSetAllowance);
}

double ZonTimeUtil::_getHourAngleForTwilight(double latitude, double declination)
{
	return hourAngleBelowHorizon(latitude, declination, kCivilTwilight);
}

namespace {

// The instant at `hours` (local clock hours of today, fractional) in the city's zone, its
// broken-down form left in `local`.
time_t cityInstant(const char* timezonePath, double hours, struct tm& local)
{
	setenv("TZ", timezonePath, 1);
	tzset();
	time_t now = time(nullptr);
	localtime_r(&now, &local);
	int wholeHours = toDeviceInt(hours);
	local.tm_hour = wholeHours;
	local.tm_min = toDeviceInt((hours - wholeHours) * 60);
	local.tm_isdst = -1;
	// The GMT text the hours came from is the standard offset.
	if (ZonTimeUtil::isDstOn(timezonePath))
		local.tm_hour += 1;
	time_t instant = mktime(&local);
	unsetenv("TZ");
	tzset();
	return instant;
}

}

void ZonTimeUtil::getSunRiseSetTime(const char* timezone, double latitude, double longitude, std::string& sunrise,
	std::string& sunset, bool* isDayTime, const char* timezone_path)
{
	WASSERT(timezone != nullptr);

	// Noon of the device's date, which may be another date than the city's.
	time_t now = time(nullptr);
	struct tm deviceNow;
	localtime_r(&now, &deviceNow);
	double d = _getJulDay(deviceNow.tm_year + 1900, deviceNow.tm_mon + 1, deviceNow.tm_mday, 12);

	double lambda = _getEclipticLongitudeOfSun(d);
	double obliquity = kObliquityAtEpoch - d * kObliquityPerDay;
	double rightAscension = atan2(cos(obliquity) * sin(lambda), cos(lambda));
	double declination = asin(sin(obliquity) * sin(lambda));

	double meanLongitude = _getNormalizedAngle(d * kMeanLongitudePerDay + kMeanLongitudeAtEpoch);
	double equation = meanLongitude - rightAscension;
	if (equation < M_PI)
		equation += kTwoPi;

	double hourAngle = _getHourAngle(latitude, declination);
	// The twilight angle is worked out and dropped, as the watch's model has always done: none of
	// the outputs (two clock texts and the day flag) has a dawn or dusk time to put it in. The
	// call is pure (no state, no log), so keeping the model step for step costs a few floating
	// point operations and changes nothing.
	_getHourAngleForTwilight(latitude, declination);

	double tz = _getTimezoneValue(timezone);
	double hourAngleHours = hourAngle * 12 / M_PI;
	double longitudeHours = longitude / 15.0;
	double equationHours = (1 - equation / kTwoPi) * 1440 / 60;

	double rise = 12 - hourAngleHours + tz - longitudeHours + equationHours;
	double set = hourAngleHours + 12 + tz - longitudeHours + equationHours;
	if (rise > 24)
		rise -= 24;
	if (set > 24)
		set -= 24;
	WDEBUG("rise[%lf], set[%lf], timezone[%s]", rise, set, timezone);

	if (!timezone_path)
		return;

	struct tm riseLocal;
	struct tm setLocal;
	time_t riseTime = cityInstant(timezone_path, rise, riseLocal);
	_getFormattedDateString(riseTime, nullptr, timezone_path, sunrise);
	time_t setTime = cityInstant(timezone_path, set, setLocal);
	_getFormattedDateString(setTime, nullptr, timezone_path, sunset);

	if (isDayTime) {
		setenv("TZ", timezone_path, 1);
		tzset();
		time_t current = time(nullptr);
		struct tm cityNow;
		localtime_r(&current, &cityNow);
		time_t riseT = mktime(&riseLocal);
		time_t setT = mktime(&setLocal);
		time_t nowT = mktime(&cityNow);
		*isDayTime = setT > nowT && riseT <= nowT;
		unsetenv("TZ");
		tzset();
	}
}

// Today's time texts as the library made them before it kept ICU objects: a pattern generator
// and a formatter (or number formatter, or calendar) made and destroyed on every call. Kept
// verbatim as the reference of the differential test; only the class name differs, and the parts
// that never touch ICU (offsets, the locale, the 12-hour split, the solar arithmetic) are the
// library's own, reached through LiteralTimeUtil.h.
#define LOG_TAG "zonvista"

#include "LiteralTimeUtil.h"

#include <ctype.h>
#include <limits.h>
#include <libintl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <cmath>
#include <string>
#include <vector>

#include <glib.h>
#include <unicode/ucal.h>
#include <unicode/udat.h>
#include <unicode/udatpg.h>
#include <unicode/unum.h>
#include <unicode/uloc.h>
#include <unicode/ustring.h>

#include <system_settings.h>
#include <vconf.h>

#include "ZonCommonDefine.h"

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

std::string LiteralTimeUtil::_locale;
std::string LiteralTimeUtil::_bestPatternForTime;
std::string LiteralTimeUtil::_bestPatternForDate;

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

const double kTwoPi = 6.283185307179586;
const double kDegree = 0.017453292519943295;

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
	memset(pattern, 0, capacity * sizeof(UChar));
	UErrorCode status = U_ZERO_ERROR;
	UDateTimePatternGenerator* generator = udatpg_open(locale, &status);
	if (U_FAILURE(status)) {
		WERROR("udatpg_open failed(%d)", status);
		udatpg_close(generator);
		return;
	}
	UChar skeletonText[64];
	toUChars(skeleton, skeletonText, 64);
	udatpg_getBestPattern(generator, skeletonText, -1, pattern, capacity - 1, &status);
	udatpg_close(generator);
}

std::string formatNow(const char* locale, const UChar* pattern, const char* timezone, bool assertCreated)
{
	UChar zone[256];
	toUChars(timezone, zone, 256);

	UErrorCode status = U_ZERO_ERROR;
	UDateFormat* format = udat_open(UDAT_PATTERN, UDAT_PATTERN, locale, zone, -1, pattern, -1, &status);
	int ret = i18nResult(status);
	if (assertCreated)
		WASSERT(ret == I18N_ERROR_NONE);
	if (ret != I18N_ERROR_NONE || !format) {
		udat_close(format);
		return std::string();
	}

	UChar formatted[64] = {0};
	status = U_ZERO_ERROR;
	int32_t length = udat_format(format, ucal_getNow(), formatted, 64, nullptr, &status);
	udat_close(format);
	if (U_FAILURE(status))
		length = 0;
	return toUtf8(formatted, length, 64);
}

std::string formatNowWithSkeleton(const char* timezone, const char* skeleton, bool assertCreated)
{
	std::string locale;
	LiteralTimeUtil::getLocale(locale);
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
	double offset = LiteralTimeUtil::getGmtOffset(timezone);
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

bool LiteralTimeUtil::isDstOn(const char* timezone)
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
	UCalendar* calendar = ucal_open(zone, zoneLength, locale, UCAL_TRADITIONAL, &status);
	if (U_FAILURE(status)) {
		WERROR("i18n_ucalendar_create failed.");
		free(zone);
		if (calendar)
			ucal_close(calendar);
		return false;
	}

	status = U_ZERO_ERROR;
	bool inDaylight = ucal_inDaylightTime(calendar, &status);
	ucal_close(calendar);
	free(zone);
	return inDaylight;
}

// ---- difference texts ----

std::string LiteralTimeUtil::getTimeDiff(const char* timezone)
{
	WASSERT(timezone != nullptr);

	TimeDiff diff = computeTimeDiff(timezone);
	if (diff.gmt == 0)
		return std::string();

	std::string hourText = LiteralTimeUtil::convertNumberToString(diff.hours);
	std::string minuteText = LiteralTimeUtil::convertNumberToString(diff.minutes);
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

std::string LiteralTimeUtil::getTimeDiffToRead(const char* timezone)
{
	WASSERT(timezone != nullptr);

	TimeDiff diff = computeTimeDiff(timezone);
	if (diff.gmt == 0)
		return std::string();

	char format[256] = {0};
	snprintf(format, sizeof(format), "%s", lookupDiffText(kReadIds, diff));
	return formatWithIntegers(format, diff);
}

std::string LiteralTimeUtil::getTimeDiffWithFontSize(const char* timezone)
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

std::string LiteralTimeUtil::getTimeDiffOnWidgetArc(const char* timezone)
{
	WASSERT(timezone != nullptr);

	TimeDiff diff = computeTimeDiff(timezone);
	if (diff.gmt == 0)
		return std::string();

	std::string hourText = LiteralTimeUtil::convertNumberToString(diff.hours);
	std::string minuteText = LiteralTimeUtil::convertNumberToString(diff.minutes);
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

std::string LiteralTimeUtil::getCurrentTime(const char* timezone)
{
	WASSERT(timezone != nullptr);
	return formatNowWithSkeleton(timezone, is24HourFormat() ? ZON_SKELETON_TIME_24 : ZON_SKELETON_TIME_12, true);
}

std::string LiteralTimeUtil::getCurrentTime24(const char* timezone)
{
	WASSERT(timezone != nullptr);
	return formatNowWithSkeleton(timezone, ZON_SKELETON_TIME_24, false);
}

std::string LiteralTimeUtil::getCurrentDate(const char* timezone)
{
	WASSERT(timezone != nullptr);
	return formatNowWithSkeleton(timezone, ZON_SKELETON_DATE, true);
}

std::string LiteralTimeUtil::getTTSCurrentDate(const char* timezone)
{
	WASSERT(timezone != nullptr);
	return formatNowWithSkeleton(timezone, ZON_SKELETON_DATE_TTS, true);
}

std::string LiteralTimeUtil::getCurrentGMT(const char* timezone)
{
	WASSERT(timezone != nullptr);
	std::string gmt = formatNowWithSkeleton(timezone, ZON_SKELETON_GMT, false);
	// The band header always shows a sign, even at zero.
	if (gmt == "GMT")
		gmt = "GMT+0";
	return gmt;
}

void LiteralTimeUtil::getBestPatternForTime()
{
	bool is24 = is24HourFormat();
	getLocale(_locale);
	UChar pattern[64];
	getBestPattern(_locale.c_str(), is24 ? ZON_SKELETON_TIME_24 : ZON_SKELETON_TIME_12, pattern, 64);
	_bestPatternForTime = toUtf8(pattern, -1, 64);
}

void LiteralTimeUtil::getBestPatternForDate()
{
	getLocale(_locale);
	UChar pattern[64];
	getBestPattern(_locale.c_str(), ZON_SKELETON_DATE, pattern, 64);
	_bestPatternForDate = toUtf8(pattern, -1, 64);
}

std::string LiteralTimeUtil::getCurrentTimeWithBestPattern(const char* timezone)
{
	WASSERT(timezone != nullptr);
	if (_bestPatternForTime.empty())
		getBestPatternForTime();
	return formatNowWithCachedPattern(_locale, _bestPatternForTime, timezone);
}

std::string LiteralTimeUtil::getCurrentDateWithBestPattern(const char* timezone)
{
	WASSERT(timezone != nullptr);
	if (_bestPatternForDate.empty())
		getBestPatternForDate();
	return formatNowWithCachedPattern(_locale, _bestPatternForDate, timezone);
}

std::string LiteralTimeUtil::getCurrentTimeWithFontSize(const char* timezone, int timeFont, int ampmFont)
{
	WASSERT(timezone != nullptr);
	return _getCurrentTimeWithMarkup(timezone, timeFont, ampmFont, true);
}

std::string LiteralTimeUtil::getCurrentTimeWithFontSizeandDefaultFontName(const char* timezone, int timeFont,
	int ampmFont)
{
	WASSERT(timezone != nullptr);
	return _getCurrentTimeWithMarkup(timezone, timeFont, ampmFont, false);
}

std::string LiteralTimeUtil::_getCurrentTimeWithMarkup(const char* timezone, int timeFont, int ampmFont,
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


bool LiteralTimeUtil::_getFormattedDateString(time_t t, const char* locale, const char* timezone, std::string& out)
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
	UDateTimePatternGenerator* generator = udatpg_open(locale, &status);
	lastLocale = strdup(locale);
	UChar skeletonText[64];
	toUChars(skeleton, skeletonText, 64);
	UChar pattern[32] = {0};
	if (!strcmp(skeleton, "a"))
		toUChars(skeleton, pattern, 32);
	else
		udatpg_getBestPattern(generator, skeletonText, -1, pattern, 31, &status);
	udatpg_close(generator);

	status = U_ZERO_ERROR;
	UDateFormat* format = udat_open(UDAT_PATTERN, UDAT_PATTERN, locale, timezone ? zone : nullptr, -1, pattern, -1,
		&status);
	if (U_FAILURE(status) || !format) {
		WERROR("i18n_udate_create failed");
		udat_close(format);
		return false;
	}

	UChar formatted[64] = {0};
	status = U_ZERO_ERROR;
	int32_t length = udat_format(format, t * 1000.0, formatted, 64, nullptr, &status);
	ret = i18nResult(status);
	if (ret != I18N_ERROR_NONE) {
		WERROR("Get i18n_udate_format_date error [%d]", ret);
		udat_close(format);
		return false;
	}
	if (length == 0) {
		WERROR("formattedLength = 0");
		udat_close(format);
		return false;
	}

	std::string text = toUtf8(formatted, length, 256);
	udat_close(format);
	free(lastLocale);
	lastLocale = nullptr;
	out = text;
	return true;
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
	if (LiteralTimeUtil::isDstOn(timezonePath))
		local.tm_hour += 1;
	time_t instant = mktime(&local);
	unsetenv("TZ");
	tzset();
	return instant;
}

}

void LiteralTimeUtil::getSunRiseSetTime(const char* timezone, double latitude, double longitude, std::string& sunrise,
	std::string& sunset, bool* isDayTime, const char* timezone_path)
{
	WASSERT(timezone != nullptr);

	// Noon of the device's date, which may be another date than the city's.
	time_t now = time(nullptr);
	struct tm deviceNow;
	localtime_r(&now, &deviceNow);
	double d = _getJulDay(deviceNow.tm_year + 1900, deviceNow.tm_mon + 1, deviceNow.tm_mday, 12);

	double lambda = _getEclipticLongitudeOfSun(d);
	double obliquity = 0.4090877233749509 - d * 6.981317007977318e-9;
	double rightAscension = atan2(cos(obliquity) * sin(lambda), cos(lambda));
	double declination = asin(sin(obliquity) * sin(lambda));

	double meanLongitude = _getNormalizedAngle(d * 0.017202792393721557 + 4.894967873435816);
	double equation = meanLongitude - rightAscension;
	if (equation < M_PI)
		equation += kTwoPi;

	double hourAngle = _getHourAngle(latitude, declination);
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

std::string LiteralTimeUtil::convertNumberToString(int number)
{
	char* regionFormat = vconf_get_str(ZON_REGION_FORMAT_KEY);
	if (!regionFormat) {
		char text[128] = {0};
		snprintf(text, sizeof(text), "%d", number);
		return text;
	}

	char locale[33] = {0};
	strncpy(locale, regionFormat, 32);
	free(regionFormat);
	char* codeset = strstr(locale, ".UTF-8");
	if (codeset)
		*codeset = '\0';

	UErrorCode status = U_ZERO_ERROR;
	UNumberFormat* format = unum_open(UNUM_DECIMAL, nullptr, -1, locale, nullptr, &status);
	UChar formatted[20] = {0};
	int32_t length = unum_format(format, number, formatted, 20, nullptr, &status);
	if (U_FAILURE(status))
		length = 0;

	char text[20] = {0};
	UErrorCode convertStatus = U_ZERO_ERROR;
	u_strToUTF8(text, 19, nullptr, formatted, length, &convertStatus);
	unum_close(format);
	return text;
}

void LiteralTimeUtil::forgetPatternCaches()
{
	_bestPatternForTime.clear();
	_bestPatternForDate.clear();
	_locale.clear();
}

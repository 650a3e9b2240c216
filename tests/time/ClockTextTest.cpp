#include <ctype.h>
#include <stdio.h>
#include <string.h>

#include <string>

#include <gtest/gtest.h>
#include <unicode/uloc.h>

#include "TimeTestSupport.h"
#include "ZonTimeUtil.h"

using namespace zontest;

namespace {

const char* const kLocales[] = {"en_US", "ko_KR", "ar_AE", "zh_CN", "de_DE", "ja_JP"};
const char* const kZones[] = {"Asia/Seoul", "America/New_York", "Asia/Kolkata"};

// 2026-01-15 12:00:00 UTC, 21:00 in Seoul.
const time_t kInstant = 1768478400;

// ICU's text with a fixed pattern rather than a skeleton.
std::string icuFormatPattern(const char* locale, const std::string& pattern, const char* zone, UDate when)
{
	UErrorCode status = U_ZERO_ERROR;
	icu::SimpleDateFormat format(icu::UnicodeString::fromUTF8(pattern), icu::Locale(locale), status);
	format.adoptTimeZone(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(zone)));
	icu::UnicodeString text;
	format.format(when, text);
	std::string out;
	text.toUTF8String(out);
	return out;
}

std::string icuBestPattern(const char* locale, const char* skeleton)
{
	UErrorCode status = U_ZERO_ERROR;
	std::unique_ptr<icu::DateTimePatternGenerator> generator(
		icu::DateTimePatternGenerator::createInstance(icu::Locale(locale), status));
	std::string out;
	generator->getBestPattern(icu::UnicodeString::fromUTF8(skeleton), status).toUTF8String(out);
	return out;
}

template <typename Expected, typename Produce>
::testing::AssertionResult sameAtOneOfTwoInstants(Expected expectedAt, Produce produce)
{
	UDate start = ucal_getNow();
	std::string got = produce();
	UDate end = ucal_getNow();
	std::string before = expectedAt(start);
	if (got == before || got == expectedAt(end))
		return ::testing::AssertionSuccess();
	return ::testing::AssertionFailure() << "got \"" << got << "\", expected \"" << before << "\"";
}

std::string printf2(const char* format, int a, const std::string& b)
{
	char buffer[512];
	snprintf(buffer, sizeof(buffer), format, a, b.c_str());
	return buffer;
}

std::string printf4(const char* format, int a, const std::string& b, int c, const std::string& d)
{
	char buffer[512];
	snprintf(buffer, sizeof(buffer), format, a, b.c_str(), c, d.c_str());
	return buffer;
}

}

class ClockText : public TimeFixture {};

TEST_F(ClockText, TimeAndDateAreIcuTextsOfTheRegionFormat)
{
	for (bool is24 : {false, true}) {
		set24Hour(is24);
		for (const char* locale : kLocales) {
			setRegionFormat((std::string(locale) + ".UTF-8").c_str());
			ZonTimeUtil::getBestPatternForTime();
			ZonTimeUtil::getBestPatternForDate();
			for (const char* zone : kZones) {
				SCOPED_TRACE(std::string(locale) + (is24 ? " 24h " : " 12h ") + zone);
				const char* clock = is24 ? "HH:mm" : "hh:mm";
				EXPECT_TRUE(matchesIcuNow(locale, clock, zone, [&] { return ZonTimeUtil::getCurrentTime(zone); }));
				EXPECT_TRUE(matchesIcuNow(locale, "HH:mm", zone, [&] { return ZonTimeUtil::getCurrentTime24(zone); }));
				EXPECT_TRUE(matchesIcuNow(locale, "EEEMMMd", zone, [&] { return ZonTimeUtil::getCurrentDate(zone); }));
				EXPECT_TRUE(
					matchesIcuNow(locale, "EEEEMMMd", zone, [&] { return ZonTimeUtil::getTTSCurrentDate(zone); }));
				EXPECT_TRUE(matchesIcuNow(locale, "O", zone, [&] { return ZonTimeUtil::getCurrentGMT(zone); }));
				EXPECT_TRUE(matchesIcuNow(
					locale, clock, zone, [&] { return ZonTimeUtil::getCurrentTimeWithBestPattern(zone); }));
				EXPECT_TRUE(matchesIcuNow(
					locale, "EEEMMMd", zone, [&] { return ZonTimeUtil::getCurrentDateWithBestPattern(zone); }));
			}
		}
	}
}

TEST_F(ClockText, ZeroOffsetAlwaysShowsASign)
{
	for (const char* locale : {"en_US", "de_DE", "ko_KR", "ja_JP"}) {
		setRegionFormat((std::string(locale) + ".UTF-8").c_str());
		EXPECT_EQ("GMT+0", ZonTimeUtil::getCurrentGMT("Africa/Abidjan")) << locale;
		EXPECT_EQ("GMT+0", ZonTimeUtil::getCurrentGMT("UTC")) << locale;
	}
	// Only the bare "GMT" is rewritten; other languages' zero formats stay as ICU writes them.
	setRegionFormat("fr_FR.UTF-8");
	EXPECT_EQ("UTC", ZonTimeUtil::getCurrentGMT("UTC"));
	setRegionFormat("ar_AE.UTF-8");
	EXPECT_EQ(icuFormat("ar_AE", "O", "UTC", ucal_getNow()), ZonTimeUtil::getCurrentGMT("UTC"));
}

TEST_F(ClockText, PatternCachesHoldUntilRefreshed)
{
	ZonTimeUtilTestPeer::forgetPatternCaches();
	const char* zone = "Asia/Seoul";

	// The first call fills the cache from the settings of the moment.
	EXPECT_TRUE(matchesIcuNow("en_US", "hh:mm", zone, [&] { return ZonTimeUtil::getCurrentTimeWithBestPattern(zone); }));
	EXPECT_TRUE(
		matchesIcuNow("en_US", "EEEMMMd", zone, [&] { return ZonTimeUtil::getCurrentDateWithBestPattern(zone); }));

	// Later changes are not seen...
	set24Hour(true);
	setRegionFormat("de_DE.UTF-8");
	EXPECT_TRUE(matchesIcuNow("en_US", "hh:mm", zone, [&] { return ZonTimeUtil::getCurrentTimeWithBestPattern(zone); }));
	EXPECT_TRUE(
		matchesIcuNow("en_US", "EEEMMMd", zone, [&] { return ZonTimeUtil::getCurrentDateWithBestPattern(zone); }));

	// ...until the date cache is refreshed, which also moves the shared locale: the old 12-hour
	// pattern is then written in German.
	ZonTimeUtil::getBestPatternForDate();
	EXPECT_TRUE(
		matchesIcuNow("de_DE", "EEEMMMd", zone, [&] { return ZonTimeUtil::getCurrentDateWithBestPattern(zone); }));
	std::string oldPattern = icuBestPattern("en_US", "hh:mm");
	EXPECT_TRUE(sameAtOneOfTwoInstants([&](UDate when) { return icuFormatPattern("de_DE", oldPattern, zone, when); },
		[&] { return ZonTimeUtil::getCurrentTimeWithBestPattern(zone); }));

	ZonTimeUtil::getBestPatternForTime();
	EXPECT_TRUE(matchesIcuNow("de_DE", "HH:mm", zone, [&] { return ZonTimeUtil::getCurrentTimeWithBestPattern(zone); }));
}

// Each markup is checked with the "QNum-3R" font and, with that attribute taken out, without it.
class ClockMarkup : public ClockText {
protected:
	// `markup` turns ICU's clock text of the moment into the expected "QNum-3R" markup.
	template <typename Markup>
	void expectMarkup(const char* locale, const char* skeleton, const char* zone, Markup markup)
	{
		auto expected = [&](UDate when, bool withFontName) {
			std::string text = markup(icuFormat(locale, skeleton, zone, when));
			for (size_t at; !withFontName && (at = text.find("font=QNum-3R ")) != std::string::npos;)
				text.erase(at, strlen("font=QNum-3R "));
			return text;
		};
		EXPECT_TRUE(sameAtOneOfTwoInstants([&](UDate when) { return expected(when, true); },
			[&] { return ZonTimeUtil::getCurrentTimeWithFontSize(zone, 60, 30); }));
		EXPECT_TRUE(sameAtOneOfTwoInstants([&](UDate when) { return expected(when, false); },
			[&] { return ZonTimeUtil::getCurrentTimeWithFontSizeandDefaultFontName(zone, 60, 30); }));
	}

	static std::string markerAfter(const std::string& time, const std::string& marker)
	{
		return printf4("<font=QNum-3R font_size=%d style=shadow shadow_color=#00000066>%s</>"
					   "<font_size=%d style=shadow shadow_color=#00000066> %s</>",
			60, time, 30, marker);
	}
};

TEST_F(ClockMarkup, TwentyFourHourClockIsOnePiece)
{
	set24Hour(true);
	expectMarkup("en_US", "HH:mm", "Europe/Berlin", [](const std::string& text) {
		return printf2("<font=QNum-3R font_size=%d style=shadow shadow_color=#00000066>%s</>", 60, text);
	});
}

TEST_F(ClockMarkup, MarkerAfterOrBeforeTheDigits)
{
	// "9:41" then U+202F and "PM": no ASCII space to drop, the marker keeps the narrow space.
	expectMarkup("en_US", "hh:mm", "America/New_York", [](const std::string& text) {
		size_t end = text.find_first_not_of("0123456789:");
		return markerAfter(text.substr(0, end), text.substr(end));
	});

	// "오후 09:41": the marker first, the space before the digits dropped.
	setRegionFormat("ko_KR.UTF-8");
	expectMarkup("ko_KR", "hh:mm", "Asia/Seoul", [](const std::string& text) {
		size_t digit = text.find_first_of("0123456789");
		return printf4("<font_size=%d style=shadow shadow_color=#00000066>%s </>"
					   "<font=QNum-3R font_size=%d style=shadow shadow_color=#00000066>%s</>",
			30, text.substr(0, digit - 1), 60, text.substr(digit, 5));
	});
}

TEST_F(ClockMarkup, ArabicDisplayLanguageSplitsAtTheFirstSpace)
{
	setDisplayLanguage("ar_AE.UTF-8");

	// "09:41 م"
	setRegionFormat("ar_AE.UTF-8");
	expectMarkup("ar_AE", "hh:mm", "Asia/Dubai", [](const std::string& text) {
		size_t space = text.find(' ');
		return markerAfter(text.substr(0, space), text.substr(space + 1));
	});

	// An English clock has only a narrow no-break space: one piece, closed by </font_size>.
	setRegionFormat("en_US.UTF-8");
	expectMarkup("en_US", "hh:mm", "Asia/Dubai", [](const std::string& text) {
		return printf2("<font=QNum-3R font_size=%d style=shadow shadow_color=#00000066>%s</font_size>", 60, text);
	});
}

TEST_F(ClockText, SplittingTwelveHourTexts)
{
	struct Split {
		const char* text;
		const char* time;
		const char* ampm;
		bool ampmFirst;
	};
	const Split cases[] = {
		{"9:30 PM", "9:30", "PM", false},
		{"10:30 PM", "10:30", "PM", false},
		{"10:30PM", "10:30", "PM", false},
		{"9:30PM", "9:30", "PM", false},
		{"AM 9:30", "9:30", "AM", true},
		{"오전 10:30", "10:30", "오전", true},
		{"午前10:30", "10:30", "午前", true},
		{"9:30", "9:30", "", false},
		{"10:30", "10:30", "", false},
		{"9:3", "9:3", "", false},
		{"p.m. 10:30:59", "10:30", "p.m.", true},
		// Arabic-Indic digits are not digits here: everything is marker.
		{"\xD9\xA9:\xD9\xA3\xD9\xA0 \xD9\x85", "", "\xD9\xA9:\xD9\xA3\xD9\xA0 \xD9\x85", true},
	};
	for (const Split& c : cases) {
		std::string time, ampm;
		bool ampmFirst = !c.ampmFirst;
		ZonTimeUtilTestPeer::splitTimeStr(c.text, time, ampm, ampmFirst);
		EXPECT_EQ(c.time, time) << c.text;
		EXPECT_EQ(c.ampm, ampm) << c.text;
		EXPECT_EQ(c.ampmFirst, ampmFirst) << c.text;
	}

	// Each part is cut to 31 bytes.
	std::string time, ampm;
	bool ampmFirst = false;
	ZonTimeUtilTestPeer::splitTimeStr("10:30 abcdefghijklmnopqrstuvwxyzABCDEFGHIJ", time, ampm, ampmFirst);
	EXPECT_EQ("abcdefghijklmnopqrstuvwxyzABCDE", ampm);
}

TEST_F(ClockText, FormattedDateStringOfAGivenInstant)
{
	std::string out = "untouched";
	ASSERT_TRUE(ZonTimeUtil::_getFormattedDateString(kInstant, nullptr, "Asia/Seoul", out));
	EXPECT_EQ(icuFormat("en_US", "hh:mm", "Asia/Seoul", kInstant * 1000.0), out);
	EXPECT_EQ("9:00\xE2\x80\xAFPM", out);   // the locale prefers "h" to the skeleton's "hh"
	EXPECT_TRUE(zon_host_log_contains("locale = en_US"));

	set24Hour(true);
	ASSERT_TRUE(ZonTimeUtil::_getFormattedDateString(kInstant, nullptr, "Asia/Seoul", out));
	EXPECT_EQ("21:00", out);

	// The region format becomes ICU's default locale; an explicit locale wins over it.
	set24Hour(false);
	setRegionFormat("ko_KR.UTF-8");
	ASSERT_TRUE(ZonTimeUtil::_getFormattedDateString(kInstant, nullptr, "Asia/Seoul", out));
	EXPECT_EQ(icuFormat("ko_KR", "hh:mm", "Asia/Seoul", kInstant * 1000.0), out);
	EXPECT_STREQ("ko_KR", uloc_getDefault());
	ASSERT_TRUE(ZonTimeUtil::_getFormattedDateString(kInstant, "ja_JP", "Asia/Tokyo", out));
	EXPECT_EQ(icuFormat("ja_JP", "hh:mm", "Asia/Tokyo", kInstant * 1000.0), out);
	EXPECT_STREQ("ko_KR", uloc_getDefault());

	// Without a zone, ICU's default zone.
	std::unique_ptr<icu::TimeZone> defaultZone(icu::TimeZone::createDefault());
	icu::UnicodeString id;
	defaultZone->getID(id);
	std::string defaultId;
	id.toUTF8String(defaultId);
	ASSERT_TRUE(ZonTimeUtil::_getFormattedDateString(kInstant, nullptr, nullptr, out));
	EXPECT_EQ(icuFormat("ko_KR", "hh:mm", defaultId.c_str(), kInstant * 1000.0), out);

	// No region format: nothing is written.
	out = "untouched";
	ASSERT_EQ(0, zon_host_fault_inject("vconf_get_str", 1, VCONF_ERROR));
	EXPECT_FALSE(ZonTimeUtil::_getFormattedDateString(kInstant, nullptr, "Asia/Seoul", out));
	EXPECT_EQ("untouched", out);
	EXPECT_TRUE(zon_host_log_contains("get region format failed"));
}

TEST_F(ClockText, LocaleOfTheRegionFormat)
{
	struct Case {
		const char* region;
		const char* locale;
	};
	const Case cases[] = {
		{"ko_KR.UTF-8", "ko_KR"},
		{"en_US", "en_US"},
		{"sr_RS.UTF-8.x", "sr_RS.UTF-8.x"},
		{"de_DE.utf8", "de_DE.utf8"},
		{"ja_JP.", "ja_JP."},
		{"sr_Latn_RS.UTF-8", "sr_Latn_RS"},
		{".UTF-8", ""},
	};
	for (const Case& c : cases) {
		setRegionFormat(c.region);
		std::string locale = "stale";
		ZonTimeUtil::getLocale(locale);
		EXPECT_EQ(c.locale, locale) << c.region;
	}

	std::string locale = "stale";
	ASSERT_EQ(0, zon_host_fault_inject("vconf_get_str", 1, VCONF_ERROR));
	ZonTimeUtil::getLocale(locale);
	EXPECT_EQ("en_US", locale);
	EXPECT_TRUE(zon_host_log_contains("vconf_get_str() failed : region format"));
}

TEST_F(ClockText, UnreadableClockSettingMeansTwelveHours)
{
	set24Hour(true);
	ASSERT_EQ(0, zon_host_fault_inject("system_settings_get_value_bool", 1, SYSTEM_SETTINGS_ERROR_IO_ERROR))
		<< "zon-host's fault list does not know system_settings_get_value_bool";
	EXPECT_TRUE(matchesIcuNow("en_US", "hh:mm", "Asia/Seoul", [] { return ZonTimeUtil::getCurrentTime("Asia/Seoul"); }));
	EXPECT_TRUE(matchesIcuNow("en_US", "HH:mm", "Asia/Seoul", [] { return ZonTimeUtil::getCurrentTime("Asia/Seoul"); }));
}

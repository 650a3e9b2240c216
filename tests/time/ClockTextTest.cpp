#include "TimeTestSupport.h"

// 2026-01-15 12:00:00 UTC, 21:00 in Seoul.
const time_t kInstant = 1768478400;

const std::string kShadow = " style=shadow shadow_color=#00000066>";

static std::string bigDigits(const std::string& time)
{
	return "<font=QNum-3R font_size=60" + kShadow + time + "</>";
}

static std::string smallMarker(const std::string& marker)
{
	return "<font_size=30" + kShadow + marker + "</>";
}

// On a set clock: 12:00 UTC, morning in New York, evening in Seoul.
class ClockText : public TimeFixture {
protected:
	void SetUp() override
	{
		TimeFixture::SetUp();
		TestClock::set(kInstant);
	}

	static std::string icuNow(const char* locale, const char* skeleton, const char* zone)
	{
		return icuFormat(locale, skeleton, zone, kInstant * 1000.0);
	}

	// `markup` turns ICU's clock text of the moment into the expected "QNum-3R" markup; the
	// default-font form must be the same with that attribute taken out.
	template <typename Markup>
	void expectMarkup(const char* locale, const char* skeleton, const char* zone, Markup markup)
	{
		std::string text = markup(icuNow(locale, skeleton, zone));
		EXPECT_EQ(text, ZonTimeUtil::getCurrentTimeWithFontSize(zone, 60, 30));
		text.erase(text.find("font=QNum-3R "), strlen("font=QNum-3R "));
		EXPECT_EQ(text, ZonTimeUtil::getCurrentTimeWithFontSizeandDefaultFontName(zone, 60, 30));
	}
};

TEST_F(ClockText, TimeAndDateAreIcuTextsOfTheRegionFormat)
{
	for (bool is24 : {false, true}) {
		set24Hour(is24);
		for (const char* locale : {"en_US", "ko_KR", "ar_AE", "zh_CN", "de_DE", "ja_JP"}) {
			setRegion(locale);
			ZonTimeUtil::getBestPatternForTime();
			ZonTimeUtil::getBestPatternForDate();
			for (const char* zone : {"Asia/Seoul", "America/New_York", "Asia/Kolkata"}) {
				SCOPED_TRACE(std::string(locale) + (is24 ? " 24h " : " 12h ") + zone);
				const char* clock = is24 ? "HH:mm" : "hh:mm";
				EXPECT_EQ(icuNow(locale, clock, zone), ZonTimeUtil::getCurrentTime(zone));
				EXPECT_EQ(icuNow(locale, "HH:mm", zone), ZonTimeUtil::getCurrentTime24(zone));
				EXPECT_EQ(icuNow(locale, "EEEMMMd", zone), ZonTimeUtil::getCurrentDate(zone));
				EXPECT_EQ(icuNow(locale, "EEEEMMMd", zone), ZonTimeUtil::getTTSCurrentDate(zone));
				EXPECT_EQ(icuNow(locale, "O", zone), ZonTimeUtil::getCurrentGMT(zone));
				EXPECT_EQ(icuNow(locale, clock, zone), ZonTimeUtil::getCurrentTimeWithBestPattern(zone));
				EXPECT_EQ(icuNow(locale, "EEEMMMd", zone), ZonTimeUtil::getCurrentDateWithBestPattern(zone));
			}
		}
	}

	// A zero offset always shows a sign.
	setRegion("en_US");
	EXPECT_EQ("GMT+0", ZonTimeUtil::getCurrentGMT("Africa/Abidjan"));
	setRegion("de_DE");
	EXPECT_EQ("GMT+0", ZonTimeUtil::getCurrentGMT("UTC"));
	// Only the bare "GMT" is rewritten; other languages' zero formats stay as ICU writes them.
	setRegion("fr_FR");
	EXPECT_EQ("UTC", ZonTimeUtil::getCurrentGMT("UTC"));
}

TEST_F(ClockText, PatternCachesHoldUntilRefreshed)
{
	ZonTimeUtilTestPeer::forgetPatternCaches();
	const char* zone = "Asia/Seoul";
	auto expectTimeAndDate = [&](const std::string& time, const std::string& date) {
		EXPECT_EQ(time, ZonTimeUtil::getCurrentTimeWithBestPattern(zone));
		EXPECT_EQ(date, ZonTimeUtil::getCurrentDateWithBestPattern(zone));
	};

	// The first call fills the cache from the settings of the moment; later changes are not seen.
	expectTimeAndDate(icuNow("en_US", "hh:mm", zone), icuNow("en_US", "EEEMMMd", zone));
	set24Hour(true);
	setRegion("de_DE");
	expectTimeAndDate(icuNow("en_US", "hh:mm", zone), icuNow("en_US", "EEEMMMd", zone));

	// Refreshing the date cache also moves the shared locale: the old 12-hour pattern is then
	// written in German.
	ZonTimeUtil::getBestPatternForDate();
	expectTimeAndDate(icuFormat("de_DE", "hh:mm", zone, kInstant * 1000.0, "en_US"),
		icuNow("de_DE", "EEEMMMd", zone));
	ZonTimeUtil::getBestPatternForTime();
	EXPECT_EQ(icuNow("de_DE", "HH:mm", zone), ZonTimeUtil::getCurrentTimeWithBestPattern(zone));
}

TEST_F(ClockText, MarkupOfEachClockLayout)
{
	set24Hour(true);
	expectMarkup("en_US", "HH:mm", "Europe/Berlin", bigDigits);
	set24Hour(false);

	// "9:41" then U+202F and "PM": no ASCII space to drop, the marker keeps the narrow space.
	expectMarkup("en_US", "hh:mm", "America/New_York", [](const std::string& text) {
		size_t end = text.find_first_not_of("0123456789:");
		return bigDigits(text.substr(0, end)) + smallMarker(" " + text.substr(end));
	});

	// "오후 09:41": the marker first, the space before the digits dropped.
	setRegion("ko_KR");
	expectMarkup("ko_KR", "hh:mm", "Asia/Seoul", [](const std::string& text) {
		size_t digit = text.find_first_of("0123456789");
		return smallMarker(text.substr(0, digit - 1) + " ") + bigDigits(text.substr(digit, 5));
	});

	// An Arabic display language splits at the first space ("09:41 م")...
	setDisplayLanguage("ar_AE.UTF-8");
	setRegion("ar_AE");
	expectMarkup("ar_AE", "hh:mm", "Asia/Dubai", [](const std::string& text) {
		size_t space = text.find(' ');
		return bigDigits(text.substr(0, space)) + smallMarker(" " + text.substr(space + 1));
	});
	// ...and an English clock, with only a narrow no-break space, is one piece closed by </font_size>.
	setRegion("en_US");
	expectMarkup("en_US", "hh:mm", "Asia/Dubai", [](const std::string& text) {
		return "<font=QNum-3R font_size=60" + kShadow + text + "</font_size>";
	});
}

TEST_F(ClockText, SplitTextsFormattedDateStringAndSettings)
{
	// Text, then the time, the marker and whether the marker comes first.
	using Split = std::tuple<const char*, const char*, const char*, bool>;
	for (auto [text, expectedTime, expectedAmpm, expectedFirst] : {Split{"9:30 PM", "9:30", "PM", false},
			 {"10:30PM", "10:30", "PM", false}, {"AM 9:30", "9:30", "AM", true}, {"午前10:30", "10:30", "午前", true},
			 {"9:3", "9:3", "", false}, {"p.m. 10:30:59", "10:30", "p.m.", true},
			 // Arabic-Indic digits are not digits here: everything is marker.
			 {"\xD9\xA9:\xD9\xA3\xD9\xA0 \xD9\x85", "", "\xD9\xA9:\xD9\xA3\xD9\xA0 \xD9\x85", true},
			 // Each part is cut to 31 bytes.
			 {"10:30 abcdefghijklmnopqrstuvwxyzABCDEFGHIJ", "10:30", "abcdefghijklmnopqrstuvwxyzABCDE", false}}) {
		char time[256] = {0}, ampm[256] = {0};
		snprintf(time, sizeof(time), "%s", text);
		bool ampmFirst = !expectedFirst;
		ZonTimeUtilTestPeer::splitTimeStr(time, ampm, &ampmFirst, sizeof(time));
		EXPECT_STREQ(expectedTime, time) << text;
		EXPECT_STREQ(expectedAmpm, ampm) << text;
		EXPECT_EQ(expectedFirst, ampmFirst) << text;
	}

	// The formatted date string of a given instant.
	std::string out;
	ASSERT_TRUE(ZonTimeUtil::_getFormattedDateString(kInstant, nullptr, "Asia/Seoul", out));
	EXPECT_EQ("9:00\xE2\x80\xAFPM", out);   // the locale prefers "h" to the skeleton's "hh"
	set24Hour(true);
	ASSERT_TRUE(ZonTimeUtil::_getFormattedDateString(kInstant, nullptr, "Asia/Seoul", out));
	EXPECT_EQ("21:00", out);

	// The region format becomes ICU's default locale; an explicit locale wins over it.
	set24Hour(false);
	setRegion("ko_KR");
	ASSERT_TRUE(ZonTimeUtil::_getFormattedDateString(kInstant, nullptr, "Asia/Seoul", out));
	EXPECT_EQ(icuFormat("ko_KR", "hh:mm", "Asia/Seoul", kInstant * 1000.0), out);
	ASSERT_TRUE(ZonTimeUtil::_getFormattedDateString(kInstant, "ja_JP", "Asia/Tokyo", out));
	EXPECT_EQ(icuFormat("ja_JP", "hh:mm", "Asia/Tokyo", kInstant * 1000.0), out);
	EXPECT_STREQ("ko_KR", uloc_getDefault());

	// No region format: nothing is written.
	out = "untouched";
	ASSERT_EQ(0, zon_host_fault_inject("vconf_get_str", 1, VCONF_ERROR));
	EXPECT_FALSE(ZonTimeUtil::_getFormattedDateString(kInstant, nullptr, "Asia/Seoul", out));
	EXPECT_EQ("untouched", out);

	// The locale of the region format: only an exact ".UTF-8" second piece is cut.
	for (auto [region, locale] : {std::pair<const char*, const char*>{"ko_KR.UTF-8", "ko_KR"}, {"en_US", "en_US"},
			 {"sr_RS.UTF-8.x", "sr_RS.UTF-8.x"}, {"de_DE.utf8", "de_DE.utf8"}, {".UTF-8", ""}}) {
		setRegionFormat(region);
		std::string got = "stale";
		ZonTimeUtil::getLocale(got);
		EXPECT_EQ(locale, got) << region;
	}

	std::string got = "stale";
	ASSERT_EQ(0, zon_host_fault_inject("vconf_get_str", 1, VCONF_ERROR));
	ZonTimeUtil::getLocale(got);
	EXPECT_EQ("en_US", got);

	// The library reads the 24-hour clock through system settings; the device keeps it in vconf,
	// where other processes write it too, and it survives a restart of the host state.
	auto is24 = [] {
		bool on = false;
		EXPECT_EQ(SYSTEM_SETTINGS_ERROR_NONE, system_settings_get_value_bool(SYSTEM_SETTINGS_KEY_LOCALE_TIMEFORMAT_24HOUR, &on));
		return on;
	};
	set24Hour(true);
	int format = 0;
	ASSERT_EQ(VCONF_OK, vconf_get_int(VCONFKEY_REGIONFORMAT_TIME1224, &format));
	EXPECT_EQ(VCONFKEY_TIME_FORMAT_24, format);
	zon_host_reset();
	EXPECT_TRUE(is24());
	ASSERT_EQ(VCONF_OK, vconf_set_int(VCONFKEY_REGIONFORMAT_TIME1224, VCONFKEY_TIME_FORMAT_12));
	EXPECT_FALSE(is24());
}

// The library, which keeps ICU objects between calls, against the literal pipeline that makes
// them on every call (LiteralTimeUtil): same texts, same side effects, same log lines.
#include <string.h>

#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>
#include <unicode/uloc.h>

#include "LiteralTimeUtil.h"
#include "TimeTestSupport.h"
#include "ZonCityList.h"
#include "ZonCityPoints.h"
#include "ZonIcuCache.h"
#include "ZonStrUtil.h"
#include "ZonTimeUtil.h"

using namespace zontest;

namespace {

const std::vector<const char*> kLocales = {"en_US", "ko_KR", "ar_AE", "fa_IR", "de_DE", "zh_CN", "ja_JP", "hi_IN"};

const time_t kNorthernSummer = 1784116800;    // 2026-07-15 12:00 UTC
const time_t kNorthernWinter = 1768478400;    // 2026-01-15 12:00 UTC
const time_t kBeforeEuropeChange = 1774744200;   // 2026-03-29 00:30 UTC, Europe changes at 01:00
const time_t kAfterEuropeChange = 1774747800;    // 01:30 UTC

// Under the sanitizers the literal pipeline is too slow for the whole catalogue: every 24th zone.
#ifdef ZON_SANITIZER_BUILD
const int kZoneStride = 24;
#else
const int kZoneStride = 1;
#endif

// The catalogue language of the difference texts, where the build has one.
const char* messageLanguage(const std::string& locale)
{
	for (const char* language : {"ar", "ko"}) {
		if (locale.compare(0, 2, language) == 0)
			return language;
	}
	return "en";
}

struct Text {
	const char* name;
	std::function<std::string(const char* zone)> library;
	std::function<std::string(const char* zone)> literal;
};

template <typename Util>
std::string sunTexts(const Cityinfo& city, const double point[2])
{
	std::string sunrise = "-", sunset = "-";
	bool day = false;
	Util::getSunRiseSetTime(city.timezone, point[0], point[1], sunrise, sunset, &day, city.timezone_path);
	return sunrise + "|" + sunset + (day ? "|day" : "|night");
}

template <typename Util>
std::string formattedAt(time_t t, const char* zone)
{
	std::string out = "unchanged";
	bool ok = Util::_getFormattedDateString(t, nullptr, zone, out);
	return out + (ok ? "" : "|false");
}

#define ZON_BOTH(call) [](const char* zone) { return ZonTimeUtil::call; }, [](const char* zone) { return LiteralTimeUtil::call; }

// Texts that follow the 24-hour setting, then those that do not.
const std::vector<Text>& hourTexts()
{
	static const std::vector<Text> texts = {
		{"getCurrentTime", ZON_BOTH(getCurrentTime(zone))},
		{"getCurrentTimeWithBestPattern", ZON_BOTH(getCurrentTimeWithBestPattern(zone))},
		{"getCurrentTimeWithFontSize", ZON_BOTH(getCurrentTimeWithFontSize(zone, 60, 30))},
		{"getCurrentTimeWithFontSizeandDefaultFontName", ZON_BOTH(getCurrentTimeWithFontSizeandDefaultFontName(zone, 48, 20))},
		{"_getFormattedDateString", [](const char* zone) { return formattedAt<ZonTimeUtil>(time(nullptr) - 5400, zone); },
			[](const char* zone) { return formattedAt<LiteralTimeUtil>(time(nullptr) - 5400, zone); }},
	};
	return texts;
}

const std::vector<Text>& otherTexts()
{
	static const std::vector<Text> texts = {
		{"getCurrentTime24", ZON_BOTH(getCurrentTime24(zone))},
		{"getCurrentDate", ZON_BOTH(getCurrentDate(zone))},
		{"getTTSCurrentDate", ZON_BOTH(getTTSCurrentDate(zone))},
		{"getCurrentGMT", ZON_BOTH(getCurrentGMT(zone))},
		{"getCurrentDateWithBestPattern", ZON_BOTH(getCurrentDateWithBestPattern(zone))},
		{"getTimeDiff", ZON_BOTH(getTimeDiff(zone))},
		{"getTimeDiffToRead", ZON_BOTH(getTimeDiffToRead(zone))},
		{"getTimeDiffWithFontSize", ZON_BOTH(getTimeDiffWithFontSize(zone))},
		{"getTimeDiffOnWidgetArc", ZON_BOTH(getTimeDiffOnWidgetArc(zone))},
		{"isDstOn", [](const char* zone) { return std::to_string(ZonTimeUtil::isDstOn(zone)); },
			[](const char* zone) { return std::to_string(LiteralTimeUtil::isDstOn(zone)); }},
	};
	return texts;
}

#undef ZON_BOTH

}

class TimeTextCache : public TimeFixture {
protected:
	void SetUp() override
	{
		TimeFixture::SetUp();
		ZonIcuCache::clear();
	}

	void TearDown() override
	{
		LiteralTimeUtil::forgetPatternCaches();
		ZonTimeUtilTestPeer::forgetPatternCaches();
		TimeFixture::TearDown();
	}

	void useLocale(const std::string& locale, bool is24)
	{
		setRegion(locale);
		setDisplayLanguage((locale + ".UTF-8").c_str());
		setLanguage(messageLanguage(locale));
		set24Hour(is24);
		// The documented refresh of the best-pattern caches after a settings change.
		ZonTimeUtil::getBestPatternForTime();
		ZonTimeUtil::getBestPatternForDate();
		LiteralTimeUtil::getBestPatternForTime();
		LiteralTimeUtil::getBestPatternForDate();
	}

	void compare(const Text& text, const char* zone, const std::string& context)
	{
		++_compared;
		std::string library = text.library(zone);
		std::string literal = text.literal(zone);
		if (library != literal && ++_differences <= 20)
			ADD_FAILURE() << text.name << "(" << zone << ") " << context << ": \"" << library << "\" != \"" << literal
						  << "\"";
	}

	// Every text of every catalogue city (every stride-th), in each locale, 12 and 24 hours.
	void compareCatalogue(const std::vector<const char*>& locales, int stride = kZoneStride)
	{
		for (const char* locale : locales) {
			for (bool is24 : {false, true}) {
				useLocale(locale, is24);
				std::string context =
					std::string(locale) + (is24 ? " 24h @" : " 12h @") + std::to_string(time(nullptr));
				for (int i = 0; i < ZON_CITY_COUNT; i += stride) {
					const Cityinfo& city = allCityList[i];
					for (const Text& text : hourTexts())
						compare(text, city.timezone_path, context);
					Text sun{"getSunRiseSetTime", [&](const char*) { return sunTexts<ZonTimeUtil>(city, allCityPoints[i]); },
						[&](const char*) { return sunTexts<LiteralTimeUtil>(city, allCityPoints[i]); }};
					compare(sun, city.timezone_path, context);
					for (const Text& text : is24 ? std::vector<Text>() : otherTexts())
						compare(text, city.timezone_path, context);
				}
			}
			for (int number : {0, 1, 7, 10, 45, 99, 1234, -5}) {
				Text digits{"convertNumberToString",
					[number](const char*) { return ZonStrUtil::convertNumberToString(number); },
					[number](const char*) { return LiteralTimeUtil::convertNumberToString(number); }};
				compare(digits, "", locale);
			}
		}
		EXPECT_EQ(0, _differences) << "of " << _compared << " texts";
		ZonIcuCache::Counts counts = ZonIcuCache::counts();
		EXPECT_LE(counts.generators, ZonIcuCache::kMaxGenerators);
		EXPECT_LE(counts.patterns, ZonIcuCache::kMaxPatterns);
		EXPECT_LE(counts.dateFormats, ZonIcuCache::kMaxDateFormats);
		EXPECT_LE(counts.zones, ZonIcuCache::kMaxZones);
		EXPECT_LE(counts.numberFormats, ZonIcuCache::kMaxNumberFormats);
		EXPECT_LE(counts.calendars, ZonIcuCache::kMaxCalendars);
	}

	long _compared = 0;
	long _differences = 0;
};

// One instant per test, so that ctest runs them side by side: summer and winter in the north,
// and half an hour before Europe moves its clocks.
class TimeTextCacheAt : public TimeTextCache, public ::testing::WithParamInterface<time_t> {};

TEST_P(TimeTextCacheAt, Catalogue)
{
	TestClock::set(GetParam());
	compareCatalogue(kLocales);
}

INSTANTIATE_TEST_SUITE_P(Instants, TimeTextCacheAt, ::testing::Values(kNorthernSummer, kNorthernWinter, kBeforeEuropeChange));

// Formatters and calendars made before Europe moves its clocks must give the summer texts after.
TEST_F(TimeTextCache, KeptObjectsFollowTheClockAcrossTheChange)
{
	TestClock::set(kBeforeEuropeChange);
	// Every third catalogue city keeps this one cheap; Europe's zones are spread through it.
	compareCatalogue({"de_DE"}, kZoneStride * 3);
	TestClock::set(kAfterEuropeChange);
	compareCatalogue({"de_DE"}, kZoneStride * 3);
	EXPECT_TRUE(ZonTimeUtil::isDstOn("Europe/Berlin"));
}

// A locale ICU has no data for borrows the default locale's, and _getFormattedDateString() moves
// the default: what was kept under the old default must not be served under the new one.
TEST_F(TimeTextCache, UnknownLocaleFollowsTheDefaultLocale)
{
	for (const char* defaultRegion : {"de_DE", "ko_KR", "ar_AE"}) {
		setRegion(defaultRegion);
		std::string ignored;
		ASSERT_TRUE(ZonTimeUtil::_getFormattedDateString(kNorthernWinter, nullptr, "UTC", ignored));
		ASSERT_STREQ(defaultRegion, uloc_getDefault());
		setRegionFormat("qq_QQ.UTF-8");
		SCOPED_TRACE(defaultRegion);
		EXPECT_EQ(LiteralTimeUtil::getCurrentDate("Asia/Seoul"), ZonTimeUtil::getCurrentDate("Asia/Seoul"));
		EXPECT_EQ(LiteralTimeUtil::getCurrentTime("Asia/Seoul"), ZonTimeUtil::getCurrentTime("Asia/Seoul"));
		EXPECT_EQ(LiteralTimeUtil::convertNumberToString(7), ZonStrUtil::convertNumberToString(7));
	}
}

namespace {

// Priority, tag, and the message after "file: function(line) > ", which names the reference's
// own source.
using LogLine = std::tuple<int, std::string, std::string>;

template <typename Util>
std::vector<LogLine> refreshLog()
{
	zon_host_log_clear();
	for (const char* zone : {"Asia/Seoul", "America/St_Johns", "Europe/London", "Asia/Kolkata"}) {
		Util::getCurrentTime(zone);
		Util::getCurrentDate(zone);
		Util::getTimeDiff(zone);
		Util::getTimeDiffOnWidgetArc(zone);
		Util::getCurrentGMT(zone);
		Util::getCurrentTimeWithFontSize(zone, 60, 30);
	}
	std::string sunrise, sunset;
	bool day = false;
	Util::getSunRiseSetTime("GMT+9", 37.5665, 126.9780, sunrise, sunset, &day, "Asia/Seoul");

	std::vector<LogLine> lines;
	for (size_t i = 0; i < zon_host_log_count(); ++i) {
		int priority = 0;
		const char* tag = nullptr;
		std::string message = zon_host_log_line(i, &priority, &tag);
		size_t body = message.find(" > ");
		lines.emplace_back(priority, tag ? tag : "", body == std::string::npos ? message : message.substr(body + 3));
	}
	return lines;
}

}

TEST_F(TimeTextCache, OneRefreshLogsAsTheLiteralPipeline)
{
	for (const char* locale : {"ar_AE", "en_US"}) {
		useLocale(locale, false);
		SCOPED_TRACE(locale);
		std::vector<LogLine> literal = refreshLog<LiteralTimeUtil>();
		EXPECT_EQ(literal, refreshLog<ZonTimeUtil>());   // first refresh: every object made
		EXPECT_EQ(literal, refreshLog<ZonTimeUtil>());   // then: every object kept
		EXPECT_GT(literal.size(), 20u);
	}
	// Without a region format the error lines come as before.
	ASSERT_EQ(0, zon_host_vconf_unset(VCONFKEY_REGIONFORMAT));
	setEnv("LC_ALL", nullptr);
	std::vector<LogLine> literal = refreshLog<LiteralTimeUtil>();
	EXPECT_EQ(literal, refreshLog<ZonTimeUtil>());
}

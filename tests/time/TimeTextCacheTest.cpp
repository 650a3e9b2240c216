// The library, which keeps ICU objects between calls, against the literal pipeline that makes
// them on every call (LiteralTimeUtil): same texts, same side effects, same log lines.
#include "LiteralTimeUtil.h"
#include "TimeTestSupport.h"
#include "ZonCityPoints.h"
#include "ZonIcuCache.h"

#include <unicode/ustring.h>

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

// A text of the library and of the literal pipeline, named by its call; `hourly` when it follows
// the 24-hour setting (the others are compared on the 12-hour clock only).
struct Text {
	const char* call;
	bool hourly;
	std::string (*library)(const char* zone);
	std::string (*literal)(const char* zone);
};

#define ZON_BOTH(hourly, call) \
	{#call, hourly, [](const char* zone) { using Util = ZonTimeUtil; return std::string(call); }, \
		[](const char* zone) { using Util = LiteralTimeUtil; return std::string(call); }}

const Text kTexts[] = {
	ZON_BOTH(true, Util::getCurrentTime(zone)),
	ZON_BOTH(true, Util::getCurrentTimeWithBestPattern(zone)),
	ZON_BOTH(true, Util::getCurrentTimeWithFontSize(zone, 60, 30)),
	ZON_BOTH(true, Util::getCurrentTimeWithFontSizeandDefaultFontName(zone, 48, 20)),
	ZON_BOTH(true, formattedAt<Util>(time(nullptr) - 5400, zone)),
	ZON_BOTH(false, Util::getCurrentTime24(zone)),
	ZON_BOTH(false, Util::getCurrentDate(zone)),
	ZON_BOTH(false, Util::getTTSCurrentDate(zone)),
	ZON_BOTH(false, Util::getCurrentGMT(zone)),
	ZON_BOTH(false, Util::getCurrentDateWithBestPattern(zone)),
	ZON_BOTH(false, Util::getTimeDiff(zone)),
	ZON_BOTH(false, Util::getTimeDiffToRead(zone)),
	ZON_BOTH(false, Util::getTimeDiffWithFontSize(zone)),
	ZON_BOTH(false, Util::getTimeDiffOnWidgetArc(zone)),
	ZON_BOTH(false, std::to_string(Util::isDstOn(zone))),
};

#undef ZON_BOTH

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
		// The catalogue language of the difference texts, where the build has one.
		const std::string language = locale.substr(0, 2);
		setLanguage(language == "ar" || language == "ko" ? language.c_str() : "en");
		set24Hour(is24);
		// The documented refresh of the best-pattern caches after a settings change.
		ZonTimeUtil::getBestPatternForTime();
		ZonTimeUtil::getBestPatternForDate();
		LiteralTimeUtil::getBestPatternForTime();
		LiteralTimeUtil::getBestPatternForDate();
	}

	void compare(const std::string& what, const std::string& library, const std::string& literal)
	{
		++_compared;
		if (library != literal && ++_differences <= 20)
			ADD_FAILURE() << what << ": \"" << library << "\" != \"" << literal << "\"";
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
					const char* zone = city.timezone_path;
					const std::string where = std::string(" in ") + zone + ", " + context;
					for (const Text& text : kTexts) {
						if (text.hourly || !is24)
							compare(text.call + where, text.library(zone), text.literal(zone));
					}
					compare("getSunRiseSetTime" + where, sunTexts<ZonTimeUtil>(city, allCityPoints[i]),
						sunTexts<LiteralTimeUtil>(city, allCityPoints[i]));
				}
			}
			for (int number : {0, 1, 7, 10, 45, 99, 1234, -5}) {
				compare("convertNumberToString in " + std::string(locale), ZonStrUtil::convertNumberToString(number),
					LiteralTimeUtil::convertNumberToString(number));
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

TEST_F(TimeTextCache, OneRefreshLogsAsTheLiteralPipelineUnknownLocalesFollowTheDefault)
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

	// A locale ICU has no data for borrows the default locale's, and _getFormattedDateString() moves
	// the default: what was kept under the old default must not be served under the new one.
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
	// A locale with data of its own gives the same under any default: what was kept for it stays.
	ZonIcuCache::clear();
	setRegionFormat("de_DE.UTF-8");
	ZonTimeUtil::getCurrentTime("Asia/Seoul");
	ZonTimeUtil::getCurrentDate("Asia/Seoul");
	UErrorCode status = U_ZERO_ERROR;
	uloc_setDefault("ko_KR", &status);
	EXPECT_EQ(LiteralTimeUtil::getCurrentTime("Asia/Seoul"), ZonTimeUtil::getCurrentTime("Asia/Seoul"));
	EXPECT_EQ(2u, ZonIcuCache::counts().patterns);
}

// The GMT texts skip the date formatter: what they write instead must be the formatter's text, in
// every locale ICU has, for zones east and west with half and quarter hours, in both seasons.
TEST_F(TimeTextCache, ShortGmtIsTheFormattersTextInEveryLocale)
{
	const UChar kPattern[] = {'O', 0};
	long differences = 0;
	for (int32_t i = 0; i < uloc_countAvailable(); ++i) {
		const char* locale = uloc_getAvailable(i);
		for (const char* zoneId : {"America/St_Johns", "Asia/Kathmandu", "Etc/UTC", "Pacific/Chatham", "Europe/Dublin"}) {
			UChar zone[64] = {0};
			u_uastrcpy(zone, zoneId);
			for (UDate when : {kNorthernSummer * 1000.0, kNorthernWinter * 1000.0}) {
				UErrorCode status = U_ZERO_ERROR;
				UDateFormat* format = udat_open(UDAT_PATTERN, UDAT_PATTERN, locale, zone, -1, kPattern, -1, &status);
				UChar expected[64] = {0};
				int32_t expectedLength = udat_format(format, when, expected, 64, nullptr, &status);
				udat_close(format);
				ASSERT_TRUE(U_SUCCESS(status)) << locale;
				UChar kept[64] = {0};
				int32_t length = ZonIcuCache::formatShortGmt(locale, zone, when, kept, 64, &status);
				if ((length != expectedLength || u_strcmp(kept, expected) != 0) && ++differences <= 20)
					ADD_FAILURE() << locale << " " << zoneId;
			}
		}
	}
	EXPECT_EQ(0, differences);
	EXPECT_LE(ZonIcuCache::counts().zoneFormats, ZonIcuCache::kMaxZoneFormats);
}

// The kept formatters write from their own calendar, set to the instant, instead of a copy of it:
// for zones moved between, instants either side of a change, and buffers too short, the text,
// length and status are udat_format()'s.
TEST_F(TimeTextCache, FormattersWriteFromTheirOwnCalendarAsUdatFormatDoes)
{
	const UChar kPattern[] = u"EEE, MMM d h:mm a zzzz";
	for (const char* locale : {"en_US", "ar_AE", "fa_IR", "ja_JP"}) {
		for (const char* zoneId : {"Europe/London", "Asia/Kathmandu", "America/St_Johns", "Europe/London"}) {
			UChar zone[64] = {0};
			u_uastrcpy(zone, zoneId);
			for (UDate when : {kBeforeEuropeChange * 1000.0, kAfterEuropeChange * 1000.0, kNorthernSummer * 1000.0}) {
				for (int32_t capacity : {64, 5}) {
					UErrorCode status = U_ZERO_ERROR;
					UDateFormat* format = ZonIcuCache::getDateFormat(locale, kPattern, zone, &status);
					ASSERT_TRUE(format && U_SUCCESS(status)) << locale;
					UChar expected[64] = {0}, kept[64] = {0};
					UErrorCode expectedStatus = U_ZERO_ERROR, keptStatus = U_ZERO_ERROR;
					int32_t expectedLength = udat_format(format, when, expected, capacity, nullptr, &expectedStatus);
					int32_t length = ZonIcuCache::formatDate(format, when, kept, capacity, &keptStatus);
					EXPECT_EQ(expectedLength, length) << locale << " " << zoneId;
					EXPECT_EQ(expectedStatus, keptStatus) << locale << " " << zoneId;
					EXPECT_EQ(0, u_memcmp(expected, kept, 64)) << locale << " " << zoneId;
				}
			}
		}
	}
}

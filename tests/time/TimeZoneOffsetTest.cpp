#include <math.h>
#include <string.h>
#include <sys/stat.h>

#include <string>

#include <gtest/gtest.h>

#include "TimeTestSupport.h"
#include "ZonCityList.h"
#include "ZonTimeUtil.h"

using namespace zontest;

namespace {

// 2016-06-01 12:00 UTC: Pyongyang kept +8:30 then, Seoul +9.
const time_t kPyongyangOwnTime = 1464782400;
// 2026-01-15 12:00 UTC: northern winter, southern summer.
const time_t kJanuary2026 = 1768478400;
// 2026-07-01 12:00 UTC.
const time_t kJuly2026 = 1782907200;

bool zoneFileExists(const char* zone)
{
	struct stat st;
	return stat((std::string("/usr/share/zoneinfo/") + zone).c_str(), &st) == 0;
}

}

class TimeZoneOffset : public TimeFixture {};

TEST_F(TimeZoneOffset, EveryCatalogueZoneAgreesWithTheSystemRules)
{
	for (const Cityinfo& city : allCityList) {
		SCOPED_TRACE(city.cityname_eng);
		// A zone the system does not know would read as UTC and prove nothing.
		ASSERT_TRUE(zoneFileExists(city.timezone_path)) << city.timezone_path;

		const char* rulesOf = strcmp(city.timezone_path, "Asia/Pyongyang") ? city.timezone_path : "Asia/Seoul";
		auto expectedAt = [&](time_t t) {
			return deviceHours(zoneOffsetSeconds(rulesOf, t)) - deviceHours(zoneOffsetSeconds(nullptr, t));
		};
		time_t before = time(nullptr);
		double got = ZonTimeUtil::getGmtOffset(city.timezone_path);
		time_t after = time(nullptr);

		EXPECT_TRUE(fabs(got - expectedAt(before)) < 1e-9 || fabs(got - expectedAt(after)) < 1e-9)
			<< city.timezone_path << ": got " << got << ", expected " << expectedAt(before);
		EXPECT_EQ(nullptr, getenv("TZ")) << "TZ left behind";
	}
}

TEST_F(TimeZoneOffset, SystemOffsetIsTheProcessZone)
{
	setEnv("TZ", "Asia/Tokyo");
	ZonTimeUtil::getGmtOffset("Europe/Paris");
	// The TZ above is gone: the process is back on the system zone.
	EXPECT_EQ(nullptr, getenv("TZ"));

	time_t now = time(nullptr);
	EXPECT_DOUBLE_EQ(deviceHours(zoneOffsetSeconds(nullptr, now)), ZonTimeUtil::getSystemGmtOffset());

	struct tm local;
	localtime_r(&now, &local);
	EXPECT_TRUE(zon_host_log_contains((std::string("current timeZone[") + local.tm_zone + "]").c_str()));
	EXPECT_TRUE(zon_host_log_contains("cs_offset["));
}

TEST_F(TimeZoneOffset, AsiaPyongyangUsesSeoul)
{
	ZON_FROZEN_CLOCK(kPyongyangOwnTime);

	// The zone rules really differ at this instant...
	ASSERT_EQ(8 * 3600 + 1800, zoneOffsetSeconds("Asia/Pyongyang", time(nullptr)));
	// ...and the offset is Seoul's all the same.
	EXPECT_DOUBLE_EQ(ZonTimeUtil::getGmtOffset("Asia/Seoul"), ZonTimeUtil::getGmtOffset("Asia/Pyongyang"));
	EXPECT_DOUBLE_EQ(9.0, ZonTimeUtil::getGmtOffset("Asia/Pyongyang") - ZonTimeUtil::getGmtOffset("UTC"));

	// The broken-down time has no such substitution.
	struct tm pyongyang = {};
	ZonTimeUtil::getCurrentTime("Asia/Pyongyang", pyongyang);
	EXPECT_EQ(8 * 3600 + 1800, pyongyang.tm_gmtoff);
}

TEST_F(TimeZoneOffset, HalfHoursWestOfUtcCountTowardTheEast)
{
	ZON_FROZEN_CLOCK(kJanuary2026);

	// getGmtOffset("UTC") is minus the device's offset, so these are offsets from UTC on any device.
	double utc = ZonTimeUtil::getGmtOffset("UTC");
	EXPECT_DOUBLE_EQ(-2.5, ZonTimeUtil::getGmtOffset("America/St_Johns") - utc);    // -3:30
	EXPECT_DOUBLE_EQ(-8.5, ZonTimeUtil::getGmtOffset("Pacific/Marquesas") - utc);   // -9:30
	EXPECT_DOUBLE_EQ(5.5, ZonTimeUtil::getGmtOffset("Asia/Kolkata") - utc);
	EXPECT_DOUBLE_EQ(5.75, ZonTimeUtil::getGmtOffset("Asia/Kathmandu") - utc);
	EXPECT_DOUBLE_EQ(10.5, ZonTimeUtil::getGmtOffset("Australia/Adelaide") - utc);  // +10:30 in summer
	EXPECT_DOUBLE_EQ(-4.0, ZonTimeUtil::getGmtOffset("America/Caracas") - utc);
	// Under an hour west flips to the east altogether.
	EXPECT_DOUBLE_EQ(0.5, ZonTimeUtil::getGmtOffset("ZZZ0:30") - utc);
	EXPECT_DOUBLE_EQ(-0.25, ZonTimeUtil::getGmtOffset("ZZZ1:45") - utc);   // -1:45

	if (deviceOffsetNow() == 0.0) {
		EXPECT_DOUBLE_EQ(-2.5, ZonTimeUtil::getGmtOffset("America/St_Johns"));
		EXPECT_DOUBLE_EQ(5.5, ZonTimeUtil::getGmtOffset("Asia/Kolkata"));
		EXPECT_DOUBLE_EQ(0.0, utc);
	}
}

TEST_F(TimeZoneOffset, OwnZoneIsZeroAndUnknownZoneIsUtc)
{
	double device = deviceOffsetNow();
	EXPECT_DOUBLE_EQ(0.0, ZonTimeUtil::getGmtOffset(zoneWithDifference(0).c_str()));
	EXPECT_DOUBLE_EQ(-device, ZonTimeUtil::getGmtOffset("Nowhere/Atlantis"));
	EXPECT_DOUBLE_EQ(-device, ZonTimeUtil::getGmtOffset(""));
}

TEST_F(TimeZoneOffset, DaylightSavingInJanuary)
{
	ZON_FROZEN_CLOCK(kJanuary2026);
	time_t now = time(nullptr);
	for (const char* zone : {"Europe/Berlin", "America/New_York", "Australia/Sydney", "America/Santiago",
			 "Asia/Seoul", "UTC"}) {
		EXPECT_EQ(zoneIsDst(zone, now), ZonTimeUtil::isDstOn(zone)) << zone;
	}
	EXPECT_TRUE(ZonTimeUtil::isDstOn("Australia/Sydney"));
	EXPECT_FALSE(ZonTimeUtil::isDstOn("Europe/Berlin"));
	EXPECT_FALSE(ZonTimeUtil::isDstOn("Nowhere/Atlantis"));
}

TEST_F(TimeZoneOffset, DaylightSavingInJuly)
{
	ZON_FROZEN_CLOCK(kJuly2026);
	time_t now = time(nullptr);
	for (const char* zone : {"Europe/Berlin", "America/New_York", "Australia/Sydney", "Asia/Seoul"})
		EXPECT_EQ(zoneIsDst(zone, now), ZonTimeUtil::isDstOn(zone)) << zone;
	EXPECT_TRUE(ZonTimeUtil::isDstOn("Europe/Berlin"));
	EXPECT_FALSE(ZonTimeUtil::isDstOn("Australia/Sydney"));
}

TEST_F(TimeZoneOffset, CurrentTimeOfAZoneFillsEveryField)
{
	setEnv("TZ", "Europe/Paris");
	struct tm got;
	memset(&got, 0x7f, sizeof(got));
	time_t before = time(nullptr);
	ZonTimeUtil::getCurrentTime("Asia/Kolkata", got);
	EXPECT_EQ(nullptr, getenv("TZ")) << "a TZ set before the call is not restored";

	time_t shifted = before + 5 * 3600 + 1800;
	struct tm expected;
	gmtime_r(&shifted, &expected);
	EXPECT_EQ(expected.tm_year, got.tm_year);
	EXPECT_EQ(expected.tm_yday, got.tm_yday);
	EXPECT_EQ(expected.tm_wday, got.tm_wday);
	EXPECT_EQ(expected.tm_mon, got.tm_mon);
	EXPECT_EQ(expected.tm_mday, got.tm_mday);
	EXPECT_EQ(expected.tm_hour * 60 + expected.tm_min, got.tm_hour * 60 + got.tm_min) << "unless a minute just ended";
	EXPECT_LE(0, got.tm_sec);
	EXPECT_GE(60, got.tm_sec);
	EXPECT_EQ(0, got.tm_isdst);
	EXPECT_EQ(5 * 3600 + 1800, got.tm_gmtoff);
	EXPECT_STREQ("IST", got.tm_zone);

	// The weather cache's clock: a POSIX "GMT+9" is nine hours west of UTC.
	ZonTimeUtil::getCurrentTime("GMT+9", got);
	EXPECT_EQ(-9 * 3600, got.tm_gmtoff);
	EXPECT_STREQ("GMT", got.tm_zone);
}

TEST_F(TimeZoneOffset, GmtTextMinutesAreHundredths)
{
	EXPECT_DOUBLE_EQ(5.30, ZonTimeUtil::_getTimezoneValue("GMT+5:30"));
	EXPECT_DOUBLE_EQ(5.45, ZonTimeUtil::_getTimezoneValue("GMT+5:45"));
	EXPECT_DOUBLE_EQ(-3.3, ZonTimeUtil::_getTimezoneValue("GMT-3:30"));
	EXPECT_DOUBLE_EQ(10.3, ZonTimeUtil::_getTimezoneValue("GMT+10:30"));
	EXPECT_DOUBLE_EQ(-3.0, ZonTimeUtil::_getTimezoneValue("GMT-3"));
	EXPECT_DOUBLE_EQ(12.0, ZonTimeUtil::_getTimezoneValue("GMT+12"));
	EXPECT_DOUBLE_EQ(0.0, ZonTimeUtil::_getTimezoneValue("GMT+0"));
	// Only '-' at index 3 is a sign; the prefix is never read.
	EXPECT_DOUBLE_EQ(9.0, ZonTimeUtil::_getTimezoneValue("UTC 9"));
	EXPECT_DOUBLE_EQ(-9.0, ZonTimeUtil::_getTimezoneValue("XYZ-9"));
	EXPECT_TRUE(signbit(ZonTimeUtil::_getTimezoneValue("GMT-0")));
	EXPECT_DOUBLE_EQ(0.0, ZonTimeUtil::_getTimezoneValue("GMT"));
}

// One function of each kind; all of them share the check.
TEST_F(TimeZoneOffset, NullZoneAborts)
{
	GTEST_FLAG_SET(death_test_style, "threadsafe");
	const char* null = nullptr;
	struct tm out;
	std::string a, b;
	EXPECT_DEATH(ZonTimeUtil::getGmtOffset(null), "\\(timezone != nullptr\\)");
	EXPECT_DEATH(ZonTimeUtil::isDstOn(null), "\\(timezone != nullptr\\)");
	EXPECT_DEATH(ZonTimeUtil::getCurrentTime(null, out), "\\(timezone != nullptr\\)");
	EXPECT_DEATH(ZonTimeUtil::_getTimezoneValue(null), "\\(timezone != nullptr\\)");
	EXPECT_DEATH(ZonTimeUtil::getTimeDiffOnWidgetArc(null), "\\(timezone != nullptr\\)");
	EXPECT_DEATH(ZonTimeUtil::getCurrentDate(null), "\\(timezone != nullptr\\)");
	EXPECT_DEATH(ZonTimeUtil::getCurrentTimeWithFontSize(null, 1, 1), "\\(timezone != nullptr\\)");
	EXPECT_DEATH(ZonTimeUtil::getSunRiseSetTime(null, 0, 0, a, b, nullptr, "UTC"), "\\(timezone != nullptr\\)");
}

#include <sys/stat.h>

#include "TimeTestSupport.h"

// 2016-06-01 12:00 UTC: Pyongyang kept +8:30 then, Seoul +9.
const time_t kPyongyangOwnTime = 1464782400;

class TimeZoneOffset : public TimeFixture {};

TEST_F(TimeZoneOffset, EveryCatalogueZoneAgreesWithTheSystemRules)
{
	for (const Cityinfo& city : allCityList) {
		SCOPED_TRACE(city.cityname_eng);
		// A zone the system does not know would read as UTC and prove nothing.
		struct stat st;
		ASSERT_EQ(0, stat((std::string("/usr/share/zoneinfo/") + city.timezone_path).c_str(), &st));

		const char* rulesOf = strcmp(city.timezone_path, "Asia/Pyongyang") ? city.timezone_path : "Asia/Seoul";
		auto expectedAt = [&](time_t t) {
			return deviceHours(zoneOffsetSeconds(rulesOf, t)) - deviceHours(zoneOffsetSeconds(nullptr, t));
		};
		time_t before = time(nullptr);
		double got = ZonTimeUtil::getGmtOffset(city.timezone_path);
		time_t after = time(nullptr);
		EXPECT_TRUE(fabs(got - expectedAt(before)) < 1e-9 || fabs(got - expectedAt(after)) < 1e-9)
			<< city.timezone_path << ": got " << got << ", expected " << expectedAt(before);
	}
}

TEST_F(TimeZoneOffset, PyongyangIsSeoulHalfHoursWestCountEastUnknownZonesAreUtc)
{
	TestClock::set(kPyongyangOwnTime);

	// The zone rules really differ at this instant, and the offset is Seoul's all the same.
	ASSERT_EQ(8 * 3600 + 1800, zoneOffsetSeconds("Asia/Pyongyang", time(nullptr)));
	EXPECT_DOUBLE_EQ(9.0, ZonTimeUtil::getGmtOffset("Asia/Pyongyang") - ZonTimeUtil::getGmtOffset("UTC"));

	// The broken-down time has no such substitution.
	struct tm pyongyang = {};
	ZonTimeUtil::getCurrentTime("Asia/Pyongyang", pyongyang);
	EXPECT_EQ(8 * 3600 + 1800, pyongyang.tm_gmtoff);

	// GMT texts: the minutes are hundredths.
	// Only '-' at index 3 is a sign; the prefix is never read.
	for (auto [text, hours] : {std::pair<const char*, double>{"GMT+5:30", 5.30}, {"GMT+5:45", 5.45},
			 {"GMT-3:30", -3.3}, {"GMT+10:30", 10.3}, {"GMT-3", -3.0}, {"GMT+0", 0.0}, {"UTC 9", 9.0},
			 {"XYZ-9", -9.0}, {"GMT", 0.0}})
		EXPECT_DOUBLE_EQ(hours, ZonTimeUtil::_getTimezoneValue(text)) << text;
	EXPECT_TRUE(signbit(ZonTimeUtil::_getTimezoneValue("GMT-0")));

	// Zones without daylight time. getGmtOffset("UTC") is minus the device's offset, so these
	// are offsets from UTC on any device.
	// -3:30 (St. John's in winter) reads -2.5 and -9:30 -8.5; under an hour west flips to the
	// east altogether: -0:30 reads +0.5, -1:45 -0.25.
	double utc = ZonTimeUtil::getGmtOffset("UTC");
	for (auto [zone, hours] : {std::pair<const char*, double>{"ZZZ3:30", -2.5}, {"Pacific/Marquesas", -8.5},
			 {"Asia/Kathmandu", 5.75}, {"Asia/Kolkata", 5.5}, {"ZZZ0:30", 0.5}, {"ZZZ1:45", -0.25}})
		EXPECT_DOUBLE_EQ(hours, ZonTimeUtil::getGmtOffset(zone) - utc) << zone;

	// This device's own offset is zero; an unknown zone is UTC.
	EXPECT_DOUBLE_EQ(0.0, ZonTimeUtil::getGmtOffset(zoneWithDifference(0).c_str()));
	EXPECT_DOUBLE_EQ(-deviceOffsetNow(), ZonTimeUtil::getGmtOffset("Nowhere/Atlantis"));
	EXPECT_DOUBLE_EQ(-deviceOffsetNow(), ZonTimeUtil::getGmtOffset(""));
	// Known zones' daylight flags are checked against the C library with the zone rules.
	EXPECT_FALSE(ZonTimeUtil::isDstOn("Nowhere/Atlantis"));
}

TEST_F(TimeZoneOffset, CurrentTimeOfAZoneFillsEveryField)
{
	struct tm got;
	memset(&got, 0x7f, sizeof(got));
	time_t before = time(nullptr);
	ZonTimeUtil::getCurrentTime("Asia/Kolkata", got);
	EXPECT_EQ(5 * 3600 + 1800, got.tm_gmtoff);
	EXPECT_EQ(0, got.tm_isdst);
	EXPECT_STREQ("IST", got.tm_zone);
	struct tm expected = clockIn("Asia/Kolkata", before);
	EXPECT_EQ(expected.tm_wday, got.tm_wday);
	EXPECT_EQ(expected.tm_yday, got.tm_yday);
	// Date and clock fields together; a field left unfilled would be far off.
	struct tm copy = got;
	EXPECT_NEAR(static_cast<double>(before), static_cast<double>(timegm(&copy) - got.tm_gmtoff), 2.0);

	// The weather cache's clock: a POSIX "GMT+9" is nine hours west of UTC.
	ZonTimeUtil::getCurrentTime("GMT+9", got);
	EXPECT_EQ(-9 * 3600, got.tm_gmtoff);

	// Zone changes leave no TZ behind.
	setEnv("TZ", "Asia/Tokyo");
	ZonTimeUtil::getGmtOffset("Europe/Paris");
	EXPECT_EQ(nullptr, getenv("TZ"));
	EXPECT_DOUBLE_EQ(deviceOffsetNow(), ZonTimeUtil::getSystemGmtOffset());
	setEnv("TZ", "Europe/Paris");
	ZonTimeUtil::getCurrentTime("Asia/Kolkata", got);
	EXPECT_EQ(nullptr, getenv("TZ"));
}

TEST_F(TimeZoneOffset, NullZoneAborts)
{
	GTEST_FLAG_SET(death_test_style, "threadsafe");
	const char* null = nullptr;
	struct tm out;
	std::string a, b;
	EXPECT_DEATH(ZonTimeUtil::getGmtOffset(null), "\\(timezone != nullptr\\)");
	EXPECT_DEATH(ZonTimeUtil::getCurrentTime(null, out), "\\(timezone != nullptr\\)");
	EXPECT_DEATH(ZonTimeUtil::getTimeDiffOnWidgetArc(null), "\\(timezone != nullptr\\)");
	EXPECT_DEATH(ZonTimeUtil::getSunRiseSetTime(null, 0, 0, a, b, nullptr, "UTC"), "\\(timezone != nullptr\\)");
}

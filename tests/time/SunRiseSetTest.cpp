#include "TimeTestSupport.h"

namespace {

struct SunCity {
	const char* zone;
	double latitude, longitude;
	const char* gmtText;   // as the catalogue writes it
	double gmtTextHours;   // as the watch reads it: minutes as hundredths
};

const SunCity kCities[] = {
	{"Asia/Seoul", 37.5665, 126.9780, "GMT+9", 9.0},
	{"America/New_York", 40.7128, -74.0060, "GMT-5", -5.0},
	{"Australia/Sydney", -33.8688, 151.2093, "GMT+10", 10.0},
	// The half and quarter hours are read as .30 and .45: 12 and 18 minutes early, 12 late.
	{"Asia/Kolkata", 22.5726, 88.3639, "GMT+5:30", 5.30},
	{"Asia/Kathmandu", 27.7172, 85.3240, "GMT+5:45", 5.45},
	{"America/St_Johns", 47.5615, -52.7126, "GMT-3:30", -3.30},
};

// NOAA's formulas are good to about a minute here. The watch's model shortens the day: it bends
// the declination instead of lowering the horizon, which near the equator leaves out the few
// minutes refraction adds at each end (up to 4.5 minutes); its times are then truncated to the
// minute. The quirks checked here are 12 minutes and more.
const double kToleranceMinutes = 6.0;

struct NoaaSun {
	double rise, set;   // minutes after 00:00 UTC
};

// NOAA's general solar position formulas (fractional-year series for the equation of time and
// the declination, 0.833 degrees below the horizon) for the device's date. Minutes after 00:00 UTC.
NoaaSun noaaSunToday(double latitude, double longitude)
{
	const double pi = 3.14159265358979323846;
	time_t now = time(nullptr);
	struct tm device;
	localtime_r(&now, &device);
	int year = device.tm_year + 1900;
	bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
	double gamma = 2 * pi / (leap ? 366 : 365) * device.tm_yday;
	double eqtime = 229.18 * (0.000075 + 0.001868 * cos(gamma) - 0.032077 * sin(gamma) - 0.014615 * cos(2 * gamma)
		- 0.040849 * sin(2 * gamma));
	double decl = 0.006918 - 0.399912 * cos(gamma) + 0.070257 * sin(gamma) - 0.006758 * cos(2 * gamma)
		+ 0.000907 * sin(2 * gamma) - 0.002697 * cos(3 * gamma) + 0.00148 * sin(3 * gamma);
	double lat = latitude * pi / 180;
	double ha = acos(cos(90.833 * pi / 180) / (cos(lat) * cos(decl)) - tan(lat) * tan(decl)) * 180 / pi;
	return {720 - 4 * (longitude + ha) - eqtime, 720 - 4 * (longitude - ha) - eqtime};
}

int minutesOfText(const std::string& text)
{
	int hours = 0, minutes = 0;
	EXPECT_EQ(2, sscanf(text.c_str(), "%d:%d", &hours, &minutes)) << text;
	return hours * 60 + minutes;
}

// Distance on the 24-hour dial.
double dialDistance(double a, double b)
{
	double d = fmod(fabs(a - b), 1440.0);
	return d > 720 ? 1440 - d : d;
}

double wrap(double minutes)
{
	double m = fmod(minutes, 1440.0);
	return m < 0 ? m + 1440 : m;
}

}

class SunRiseSet : public TimeFixture {
protected:
	void SetUp() override
	{
		TimeFixture::SetUp();
		set24Hour(true);
	}

	// Compares every city with NOAA for the device's date, the watch's quirks applied: the GMT
	// text's reading, and an hour more while the city keeps daylight time.
	void checkCitiesAgainstNoaa()
	{
		time_t now = time(nullptr);
		for (const SunCity& city : kCities) {
			SCOPED_TRACE(city.zone);
			std::string sunrise, sunset;
			bool isDay = false;
			ZonTimeUtil::getSunRiseSetTime(city.gmtText, city.latitude, city.longitude, sunrise, sunset, &isDay, city.zone);
			EXPECT_EQ(nullptr, getenv("TZ"));

			NoaaSun noaa = noaaSunToday(city.latitude, city.longitude);
			double shift = 60 * (city.gmtTextHours + (clockIn(city.zone, now).tm_isdst > 0 ? 1 : 0));
			double rise = wrap(noaa.rise + shift);
			double set = wrap(noaa.set + shift);
			EXPECT_LE(dialDistance(rise, minutesOfText(sunrise)), kToleranceMinutes) << sunrise;
			EXPECT_LE(dialDistance(set, minutesOfText(sunset)), kToleranceMinutes) << sunset;

			// Day is judged on the city's clock against those two times.
			double cityNow = wrap((now % 86400) / 60.0 + zoneOffsetSeconds(city.zone, now) / 60.0);
			if (dialDistance(cityNow, rise) > 10 && dialDistance(cityNow, set) > 10 && rise < set) {
				EXPECT_EQ(rise <= cityNow && cityNow < set, isDay) << "city clock " << cityNow;
			}
		}
	}
};

TEST_F(SunRiseSet, CitiesAgreeWithNoaaPolarDaysAndMidnightCrossings)
{
	checkCitiesAgainstNoaa();
	TestClock::set(1782907200);   // 2026-07-01 12:00 UTC
	checkCitiesAgainstNoaa();

	// Literal values for Seoul on 2026-07-01: the sun rises about 05:14 and sets about 19:57.
	std::string sunrise, sunset;
	ZonTimeUtil::getSunRiseSetTime("GMT+9", 37.5665, 126.9780, sunrise, sunset, nullptr, "Asia/Seoul");
	EXPECT_LE(dialDistance(5 * 60 + 14, minutesOfText(sunrise)), kToleranceMinutes) << sunrise;
	EXPECT_LE(dialDistance(19 * 60 + 57, minutesOfText(sunset)), kToleranceMinutes) << sunset;

	// Polar days, no zone path, and times across midnight.
	TestClock::set(1782043200);   // 2026-06-21 12:00 UTC
	bool isDay = false;
	// Longyearbyen, 78 degrees north: the sun never sets, rise and set are 24 hours apart, the
	// same clock time but for rounding ((x + 24) - 24 need not truncate to x's minute).
	ZonTimeUtil::getSunRiseSetTime("GMT+1", 78.2232, 15.6267, sunrise, sunset, &isDay, "Arctic/Longyearbyen");
	EXPECT_LE(dialDistance(minutesOfText(sunrise), minutesOfText(sunset)), 1.0) << sunrise << " " << sunset;
	// Utqiagvik lies far west of its zone's meridian: the clamped rise is solar midnight, about
	// 02:29 on its summer clock, where an unclamped NaN would read 01:00 (hour 0, plus daylight).
	ZonTimeUtil::getSunRiseSetTime("GMT-9", 71.2906, -156.7886, sunrise, sunset, &isDay, "America/Anchorage");
	EXPECT_LE(dialDistance(2 * 60 + 29, minutesOfText(sunrise)), kToleranceMinutes) << sunrise;
	// South of the polar circle there is no lower clamp: the hour angle is NaN, which the watch
	// turns into hour 0.
	ZonTimeUtil::getSunRiseSetTime("GMT+12", -77.8419, 166.6863, sunrise, sunset, &isDay, "Antarctica/McMurdo");
	EXPECT_EQ("00:00", sunrise);
	EXPECT_EQ("00:00", sunset);

	// Without a zone path nothing is written.
	isDay = true;
	ZonTimeUtil::getSunRiseSetTime("GMT+9", 37.5665, 126.9780, sunrise, sunset, &isDay, nullptr);
	EXPECT_TRUE(sunrise == "00:00" && sunset == "00:00" && isDay);

	// Far east on a zero offset the rise comes out negative and is left so (the clock wraps to
	// the evening before); far west the set passes 24 and is brought back once. The day flag
	// shows which day each lands on: at 06:00 the east's rise was last evening, so it is day; at
	// 18:00 the west's set was this morning, so it is night although the sun rose at 17:00.
	TestClock::set(1773986400);   // 2026-03-20 06:00 UTC
	NoaaSun east = noaaSunToday(0.0, 170.0);
	ASSERT_LT(east.rise, 0);
	ZonTimeUtil::getSunRiseSetTime("GMT+0", 0.0, 170.0, sunrise, sunset, &isDay, "UTC");
	EXPECT_LE(dialDistance(wrap(east.rise), minutesOfText(sunrise)), kToleranceMinutes) << sunrise;
	EXPECT_TRUE(isDay);
	TestClock::set(1774029600);   // 18:00 UTC
	NoaaSun west = noaaSunToday(0.0, -170.0);
	ASSERT_GT(west.set, 1440);
	ZonTimeUtil::getSunRiseSetTime("GMT+0", 0.0, -170.0, sunrise, sunset, &isDay, "UTC");
	EXPECT_LE(dialDistance(wrap(west.set), minutesOfText(sunset)), kToleranceMinutes) << sunset;
	EXPECT_FALSE(isDay);
	EXPECT_EQ(nullptr, getenv("TZ"));
}

/*
 * TimeTestSupport.h - shared ground of the time and localisation tests.
 *
 * - TimeFixture: a fresh device (HostFixture) in en_US, 12-hour, English messages of the
 *   "zonvista" domain bound to the build's catalogues (ZON_LOCALE_DIR).
 * - Independent truth: zone offsets from the C library's broken-down clocks (not tm_gmtoff), and
 *   clock texts from ICU's C++ formatter.
 * - The device's own zone is the process's local zone (zon-host keeps its link there while TZ is
 *   unset), so expectations are built relative to whatever it is.
 * - A test that needs another day sets the wall clock with TestClock; TearDown releases it.
 */
#ifndef ZON_TESTS_TIME_SUPPORT_H
#define ZON_TESTS_TIME_SUPPORT_H

#include <libintl.h>
#include <locale.h>
#include <math.h>
#include <string.h>
#include <time.h>

#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <tuple>

#include <unicode/dtptngen.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/ucal.h>
#include <unicode/uloc.h>

#include <system_settings.h>
#include <vconf.h>

#include "HostFixture.h"
#include "TestClock.h"
#include "ZonCityList.h"
#include "ZonStrUtil.h"
#include "ZoneClock.h"
#include "ZonTimeUtil.h"
#include "ZonTimeUtilTestPeer.h"

// glibc caches translations per locale name, not per LANGUAGE; bumping this counter is the
// documented way to make a change of LANGUAGE take effect.
extern "C" int _nl_msg_cat_cntr;

// The broken-down clock of `zone` (null: the device's own zone) at t.
inline struct tm clockIn(const char* zone, time_t t)
{
	if (zone)
		return zoneClock(zone, t);
	unsetenv("TZ");   // the device's zone is the local one while TZ is unset
	tzset();
	struct tm local;
	return *localtime_r(&t, &local);
}

inline long zoneOffsetSeconds(const char* zone, time_t t)
{
	struct tm local = clockIn(zone, t);
	return static_cast<long>(timegm(&local) - t);
}

// The watch's reading of an offset: whole hours toward zero, the minutes always counted
// eastward, so that -3:30 is -2.5.
inline double deviceHours(long seconds)
{
	return seconds / 3600 + labs(seconds % 3600) / 60 / 60.0;
}

inline double deviceOffsetNow()
{
	return deviceHours(zoneOffsetSeconds(nullptr, time(nullptr)));
}

// A POSIX TZ text ("ZZZ3:30") of a fixed zone whose getGmtOffset() from this device is `diff`.
inline std::string zoneWithDifference(double diff)
{
	double target = deviceOffsetNow() + diff;
	long seconds;
	if (target >= 0 || target == floor(target)) {
		seconds = lround(target * 3600);
	} else {
		// -2.5 can only come from -3:30: whole hours one further west, the minutes given back.
		long hours = static_cast<long>(floor(-target)) + 1;
		seconds = -(hours * 3600 + lround((hours + target) * 60) * 60);
	}
	long posix = -seconds;   // POSIX counts west of UTC as positive
	char text[32];
	snprintf(text, sizeof(text), "ZZZ%s%ld:%02ld", posix < 0 ? "-" : "", labs(posix) / 3600, labs(posix) % 3600 / 60);
	return text;
}

// ICU's own text of `when` for a skeleton, through the C++ API, with the best pattern of
// `patternLocale` (by default `locale` itself).
inline std::string icuFormat(const char* locale, const char* skeleton, const char* zone, UDate when,
	const char* patternLocale = nullptr)
{
	UErrorCode status = U_ZERO_ERROR;
	std::unique_ptr<icu::DateTimePatternGenerator> generator(
		icu::DateTimePatternGenerator::createInstance(icu::Locale(patternLocale ? patternLocale : locale), status));
	icu::UnicodeString pattern = generator->getBestPattern(icu::UnicodeString::fromUTF8(skeleton), status);
	icu::SimpleDateFormat format(pattern, icu::Locale(locale), status);
	format.adoptTimeZone(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(zone)));
	icu::UnicodeString text;
	std::string out;
	format.format(when, text).toUTF8String(out);
	EXPECT_TRUE(U_SUCCESS(status)) << u_errorName(status);
	return out;
}

class TimeFixture : public HostFixture {
protected:
	void SetUp() override
	{
		HostFixture::SetUp();
		// In the plain "C" locale glibc ignores LANGUAGE; C.UTF-8 honours it.
		ASSERT_NE(nullptr, setlocale(LC_ALL, "C.UTF-8"));
		ASSERT_NE(nullptr, bindtextdomain("zonvista", ZON_LOCALE_DIR));
		bind_textdomain_codeset("zonvista", "UTF-8");
		setLanguage("en");
		setRegionFormat("en_US.UTF-8");
		setDisplayLanguage("en_US.UTF-8");
		set24Hour(false);
	}

	void TearDown() override
	{
		TestClock::release();
		HostFixture::TearDown();
	}

	// The catalogue language of dgettext().
	void setLanguage(const char* language)
	{
		setEnv("LANGUAGE", language);
		++_nl_msg_cat_cntr;
	}
	void setRegionFormat(const char* value) { ASSERT_EQ(VCONF_OK, vconf_set_str(VCONFKEY_REGIONFORMAT, value)); }
	void setRegion(const std::string& locale) { setRegionFormat((locale + ".UTF-8").c_str()); }
	void setDisplayLanguage(const char* value) { ASSERT_EQ(VCONF_OK, vconf_set_str(VCONFKEY_LANGSET, value)); }
	void set24Hour(bool on)
	{
		ASSERT_EQ(SYSTEM_SETTINGS_ERROR_NONE,
			system_settings_set_value_bool(SYSTEM_SETTINGS_KEY_LOCALE_TIMEFORMAT_24HOUR, on));
	}
};

#endif /* ZON_TESTS_TIME_SUPPORT_H */

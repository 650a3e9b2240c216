#include <time.h>

#include <fstream>
#include <memory>

#include <unicode/timezone.h>
#include <vconf.h>

#include "HostFixture.h"
#include "ZoneClock.h"

namespace {

class HostZone : public HostFixture {
protected:
	std::string link() const
	{
		char target[1024] = "";
		ssize_t n = readlink(rootPath("fs/opt/etc/localtime").c_str(), target, sizeof target - 1);
		return n < 0 ? "<none>" : std::string(target, n);
	}

	// What the time utilities leave behind: TZ set to a city, then unset, then tzset().
	static long localOffsetAfterCityConversion(time_t t)
	{
		zoneClock("America/New_York", t);
		struct tm local;
		localtime_r(&t, &local);
		return local.tm_gmtoff;
	}

	static std::string icuDefaultZone()
	{
		icu::UnicodeString u;
		std::string id;
		std::unique_ptr<icu::TimeZone>(icu::TimeZone::createDefault())->getID(u).toUTF8String(id);
		return id;
	}
};

TEST_F(HostZone, DeviceZoneMovesEveryClockOrNoneAndWinsOverTzAtStart)
{
	static std::vector<std::string> seen;
	seen.clear();
	vconf_callback_fn recordZone = [](keynode_t *node, void *) { seen.push_back(vconf_keynode_get_str(node)); };
	ASSERT_EQ(VCONF_OK, vconf_notify_key_changed(VCONFKEY_SETAPPL_TIMEZONE_ID, recordZone, nullptr));
	const time_t now = time(nullptr);

	// St John's is off by half an hour from every zone a test machine is likely to be in.
	for (const char *zone : {"Asia/Kolkata", "America/St_Johns"}) {
		SCOPED_TRACE(zone);
		ASSERT_EQ(0, zon_host_set_device_zone(zone));
		EXPECT_EQ(std::string("/usr/share/zoneinfo/") + zone, link());
		EXPECT_STREQ(zone, zon_host_device_zone());
		EXPECT_EQ(zone, takeText(vconf_get_str(VCONFKEY_SETAPPL_TIMEZONE_ID)));

		const long expected = zoneClock(zone, now).tm_gmtoff;
		EXPECT_EQ(expected, localOffsetAfterCityConversion(now));
		EXPECT_EQ(nullptr, getenv("TZ")) << "TZ stays unset as the caller left it";
		EXPECT_EQ(expected, localtime(&now)->tm_gmtoff);
		struct tm local;
		localtime_r(&now, &local);
		local.tm_isdst = -1;
		EXPECT_EQ(now, mktime(&local));
		EXPECT_EQ(zone, icuDefaultZone());
	}
	// Anything but an Olson id with a zone file is refused and changes nothing.
	for (const char *bad : {"Mars/Olympus", "../../etc/passwd", "/usr/share/zoneinfo/UTC", "", "Asia"}) {
		zon_host_log_clear();
		EXPECT_EQ(-1, zon_host_set_device_zone(bad)) << bad;
		EXPECT_TRUE(zon_host_log_contains("unknown time zone")) << bad;
	}
	EXPECT_EQ(-1, zon_host_set_device_zone(nullptr));
	EXPECT_EQ("/usr/share/zoneinfo/America/St_Johns", link());
	EXPECT_EQ(zoneClock("America/St_Johns", now).tm_gmtoff, localOffsetAfterCityConversion(now));
	zon_host_pump(100);
	EXPECT_EQ((std::vector<std::string>{"Asia/Kolkata", "America/St_Johns"}), seen);
	vconf_ignore_key_changed(VCONFKEY_SETAPPL_TIMEZONE_ID, recordZone);

	// The desktop's TZ chose the zone of a new device; an existing device keeps its own, and TZ
	// leaves the environment when the device opens. Opening it checks ICU's rules against the
	// machine's tzdata.
	ASSERT_EQ(0, zon_host_set_device_zone("Asia/Kolkata"));
	setEnv("TZ", "Europe/Paris");
	const std::string upgraded = rootPath("tzdata.zi");
	std::ofstream(upgraded) << "# version 2099z\n";
	setEnv("ZON_HOST_TZDATA", upgraded.c_str());
	zon_host_reset();
	zon_host_log_capture(true);
	EXPECT_STREQ("Asia/Kolkata", zon_host_device_zone());
	EXPECT_TRUE(zon_host_log_contains("the machine's tzdata is 2099z"));
	EXPECT_EQ(nullptr, getenv("TZ"));
	EXPECT_EQ(19800, localOffsetAfterCityConversion(time(nullptr)));

	ASSERT_EQ(0, unlink(rootPath("fs/opt/etc/localtime").c_str()));
	zon_host_reset();
	EXPECT_STREQ("", zon_host_device_zone());
	EXPECT_EQ(0, localOffsetAfterCityConversion(time(nullptr)));
	EXPECT_EQ("Etc/UTC", icuDefaultZone());

	// ICU reads the machine's rules.
	std::string line;
	ASSERT_TRUE(std::getline(std::ifstream("/usr/share/zoneinfo/tzdata.zi"), line));
	UErrorCode status = U_ZERO_ERROR;
	EXPECT_EQ(line, std::string("# version ") + icu::TimeZone::getTZDataVersion(status));
	EXPECT_EQ(0, access((std::string(zon_host_icu_zone_dir()) + "/zoneinfo64.res").c_str(), R_OK));
}

} // namespace

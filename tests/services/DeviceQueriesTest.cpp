// The device and environment queries of ZonUtil, driven through the settings, features and
// packages of the simulated device.
#include <stdio.h>
#include <stdlib.h>

#include <string>

#include <gtest/gtest.h>

#include <app_preference.h>
#include <package_manager.h>
#include <system_info.h>
#include <vconf.h>
#include <zon-host/zon_host.h>

#include "HostFixture.h"
#include "ZonUtil.h"

namespace {

class DeviceQueriesTest : public HostFixture {
protected:
	// Both region-format queries, for one setting.
	void expectRegion(const char* region, bool rtl, bool arabic)
	{
		ASSERT_EQ(VCONF_OK, vconf_set_str("db/menu_widget/regionformat", region));
		EXPECT_EQ(rtl, zonUtilIsRTL()) << region;
		EXPECT_EQ(arabic, zonUtilIsArabic()) << region;
	}

	static size_t linesTagged(const char* wanted)
	{
		size_t count = 0;
		for (size_t i = 0; i < zon_host_log_count(); ++i) {
			const char* tag = nullptr;
			zon_host_log_line(i, nullptr, &tag);
			count += tag && std::string(tag) == wanted;
		}
		return count;
	}

	bool weatherPreference()
	{
		bool value = false;
		EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_get_boolean(".weatherPackageAvailable", &value));
		return value;
	}
};

TEST_F(DeviceQueriesTest, RegionFormatDirectionComparesTwoBytes)
{
	expectRegion("he_IL.UTF-8", true, false);
	expectRegion("arn_CL.UTF-8", true, true);
	expectRegion("ar_AE.UTF-8", true, true);
	expectRegion("fa_IR.UTF-8", true, false);
	expectRegion("ur_PK", true, false);
	expectRegion("en_US.UTF-8", false, false);
	expectRegion("a", false, false);
	expectRegion("", false, false);
	expectRegion(std::string(600, 'a').append("r").c_str(), false, false);
	expectRegion(("ar" + std::string(700, 'x')).c_str(), true, true);

	// Unreadable: taken as en_US, and said so once per query.
	zon_host_log_clear();
	ASSERT_EQ(VCONF_OK, vconf_set_str("db/menu_widget/regionformat", "ar_EG.UTF-8"));
	zon_host_fault_inject("vconf_get_str", 1, VCONF_ERROR);
	EXPECT_FALSE(zonUtilIsRTL());
	zon_host_fault_inject("vconf_get_str", 1, VCONF_ERROR);
	EXPECT_FALSE(zonUtilIsArabic());
	EXPECT_EQ(2u, zon_host_log_count_matching("vconf_get_str() failed : region format"));
}

TEST_F(DeviceQueriesTest, JerusalemOnlyInItsNineteenMarkets)
{
	EXPECT_FALSE(zonUtilCheckShowOnlyJerusalem());
	EXPECT_TRUE(zon_host_log_contains("vconf_get_str(VCONF_CSC_COUNTRY_ISO) is failed."));

	for (const char* code : {"AE", "SA", "IQ", "BH", "LB", "QA", "OM", "KW", "SY", "JO", "PK", "IR", "TR", "MA",
			 "DZ", "TN", "LY", "EG", "SN"}) {
		ASSERT_EQ(VCONF_OK, vconf_set_str("db/csc/country_iso", code));
		EXPECT_TRUE(zonUtilCheckShowOnlyJerusalem()) << code;
	}
	for (const char* code : {"IL", "sa", "SAU", "S", "", "US"}) {
		ASSERT_EQ(VCONF_OK, vconf_set_str("db/csc/country_iso", code));
		EXPECT_FALSE(zonUtilCheckShowOnlyJerusalem()) << code;
	}
}

TEST_F(DeviceQueriesTest, ScreenReaderAndDeviceTheme)
{
	EXPECT_FALSE(zonUtilIsScreenReaderOn());
	ASSERT_EQ(VCONF_OK, vconf_set_bool("db/setting/accessibility/tts", 1));
	EXPECT_TRUE(zonUtilIsScreenReaderOn());
	ASSERT_EQ(VCONF_OK, vconf_set_str("db/setting/accessibility/tts", "1"));
	EXPECT_FALSE(zonUtilIsScreenReaderOn()) << "a value of another type is unreadable";

	setEnv("ELM_DEVICE_PROD_THEME", nullptr);
	EXPECT_FALSE(zonUtilIsVorelDevice());
	for (const char* other : {"Vorel", "vorel2", ""}) {
		setEnv("ELM_DEVICE_PROD_THEME", other);
		EXPECT_FALSE(zonUtilIsVorelDevice()) << other;
	}
	EXPECT_FALSE(zon_host_log_contains("This is a VOREL device."));
	setEnv("ELM_DEVICE_PROD_THEME", "vorel");
	EXPECT_TRUE(zonUtilIsVorelDevice());
	EXPECT_TRUE(zon_host_log_contains("This is a VOREL device."));
}

TEST_F(DeviceQueriesTest, BezelFromFeaturesAndTheUserSetting)
{
	// A device that never declared a bezel.
	EXPECT_FALSE(zonUtilHasBezel());
	EXPECT_FALSE(zonUtilHasPhysicalBezel());
	EXPECT_EQ(4u, zon_host_log_count_matching("system_info_get_platform_bool fail"));

	ASSERT_EQ(0, zon_host_set_bezel(ZON_HOST_BEZEL_PHYSICAL));
	EXPECT_TRUE(zonUtilHasBezel());
	EXPECT_TRUE(zonUtilHasPhysicalBezel());
	ASSERT_EQ(VCONF_OK, vconf_set_bool(ZON_HOST_VCONF_ROTARY_EVENT_ENABLED, 0));
	EXPECT_TRUE(zonUtilHasBezel()) << "the setting is for virtual bezels only";

	ASSERT_EQ(0, zon_host_set_bezel(ZON_HOST_BEZEL_VIRTUAL));
	zon_host_log_clear();
	EXPECT_FALSE(zonUtilHasBezel());
	EXPECT_FALSE(zonUtilHasPhysicalBezel());
	EXPECT_TRUE(zon_host_log_contains("hasBezel[1]"));
	EXPECT_TRUE(zon_host_log_contains("hasSoftBezel[1]"));
	EXPECT_TRUE(zon_host_log_contains("hasSoftBezelEnable[0]"));
	ASSERT_EQ(VCONF_OK, vconf_set_bool(ZON_HOST_VCONF_ROTARY_EVENT_ENABLED, 1));
	EXPECT_TRUE(zonUtilHasBezel());
	EXPECT_FALSE(zonUtilHasPhysicalBezel());

	ASSERT_EQ(0, zon_host_vconf_unset(ZON_HOST_VCONF_ROTARY_EVENT_ENABLED));
	zon_host_log_clear();
	EXPECT_FALSE(zonUtilHasBezel());
	EXPECT_TRUE(zon_host_log_contains("vconf_get_bool fail -1"));

	// A failed read of the virtual-bezel feature makes a virtual bezel look physical.
	zon_host_fault_inject("system_info_get_platform_bool", 2, SYSTEM_INFO_ERROR_IO_ERROR);
	EXPECT_TRUE(zonUtilHasPhysicalBezel());
	zon_host_fault_inject("system_info_get_platform_bool", 1, SYSTEM_INFO_ERROR_IO_ERROR);
	EXPECT_FALSE(zonUtilHasBezel());

	ASSERT_EQ(0, zon_host_set_bezel(ZON_HOST_BEZEL_NONE));
	EXPECT_FALSE(zonUtilHasBezel());
	EXPECT_EQ(-1, zon_host_set_bezel(static_cast<zon_host_bezel_e>(7)));
}

TEST_F(DeviceQueriesTest, PreloadFlagOfInstalledPackages)
{
	size_t handles = zon_host_package_info_live();
	EXPECT_TRUE(zonUtilIsPkgPreloaded(ZON_HOST_WEATHER_PACKAGE_ID)) << "a watch comes with it";
	EXPECT_TRUE(zon_host_log_contains("isPreloaded = 1"));

	ASSERT_EQ(0, zon_host_package_install("korvath.stopwatch", "2.1.0", false));
	zon_host_log_clear();
	EXPECT_FALSE(zonUtilIsPkgPreloaded("korvath.stopwatch"));
	EXPECT_TRUE(zon_host_log_contains("isPreloaded = 0"));

	zon_host_log_clear();
	EXPECT_FALSE(zonUtilIsPkgPreloaded("korvath.nothing"));
	EXPECT_FALSE(zonUtilIsPkgPreloaded(nullptr));
	EXPECT_EQ(0u, linesTagged("zonvista")) << "a missing package is not worth a line";
	EXPECT_EQ(handles, zon_host_package_info_live()) << "every package information is destroyed";

	zon_host_fault_inject("package_info_is_preload_package", 1, PACKAGE_MANAGER_ERROR_IO_ERROR);
	zon_host_fault_inject("package_info_destroy", 1, PACKAGE_MANAGER_ERROR_IO_ERROR);
	EXPECT_FALSE(zonUtilIsPkgPreloaded(ZON_HOST_WEATHER_PACKAGE_ID)) << "unknown counts as not preloaded";
	std::string code = std::to_string(PACKAGE_MANAGER_ERROR_IO_ERROR);
	EXPECT_TRUE(zon_host_log_contains(("package_info_is_preload_package is failed[" + code + "]").c_str()));
	EXPECT_TRUE(zon_host_log_contains(("package_info_destroy is failed[" + code + "]").c_str()));
	EXPECT_EQ(handles + 1, zon_host_package_info_live()) << "a failed destroy is not retried";
}

TEST_F(DeviceQueriesTest, WeatherPackageStateFollowsInstallAndRemoval)
{
	zonUtilSetWeatherPkgState();
	EXPECT_TRUE(weatherPreference());

	ASSERT_EQ(0, zon_host_package_uninstall(ZON_HOST_WEATHER_PACKAGE_ID));
	EXPECT_FALSE(zon_host_package_is_installed(ZON_HOST_WEATHER_PACKAGE_ID));
	zonUtilSetWeatherPkgState();
	EXPECT_FALSE(weatherPreference());
	std::string expected = "package_manager_get_package_info is failed[" +
		std::to_string(PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE) + "]";
	EXPECT_TRUE(zon_host_log_contains(expected.c_str()));

	// Installed from the store, so not preloaded; the registry is a file the next process reads.
	ASSERT_EQ(0, zon_host_package_install(ZON_HOST_WEATHER_PACKAGE_ID, "3.0.1", false));
	zon_host_reset();
	zon_host_log_capture(true);
	zonUtilSetWeatherPkgState();
	EXPECT_TRUE(weatherPreference());
	EXPECT_FALSE(zonUtilIsPkgPreloaded(ZON_HOST_WEATHER_PACKAGE_ID));

	zon_host_fault_inject("preference_set_boolean", 1, PREFERENCE_ERROR_IO_ERROR);
	zon_host_fault_inject("package_info_destroy", 1, PACKAGE_MANAGER_ERROR_IO_ERROR);
	zonUtilSetWeatherPkgState();
	EXPECT_TRUE(zon_host_log_contains(
		("preference_set_boolean is failed[" + std::to_string(PREFERENCE_ERROR_IO_ERROR) + "]").c_str()));
	EXPECT_TRUE(zon_host_log_contains("package_info_destroy is failed["));
}

TEST_F(DeviceQueriesTest, PackageRegistryIsAReadableFile)
{
	ASSERT_EQ(0, zon_host_package_install("korvath.stopwatch", nullptr, false));
	FILE* file = fopen(rootPath("packages.ini").c_str(), "r");
	ASSERT_NE(nullptr, file);
	std::string text;
	char buffer[256];
	while (fgets(buffer, sizeof buffer, file))
		text += buffer;
	fclose(file);
	EXPECT_NE(std::string::npos, text.find("[korvath.weather]"));
	EXPECT_NE(std::string::npos, text.find("[korvath.stopwatch]\nversion=1.0.0\n"));

	package_info_h info = nullptr;
	ASSERT_EQ(PACKAGE_MANAGER_ERROR_NONE, package_manager_get_package_info("korvath.stopwatch", &info));
	char* version = nullptr;
	EXPECT_EQ(PACKAGE_MANAGER_ERROR_NONE, package_info_get_version(info, &version));
	EXPECT_STREQ("1.0.0", version);
	free(version);
	EXPECT_EQ(PACKAGE_MANAGER_ERROR_NONE, package_info_destroy(info));

	// Removing every package leaves an empty device, not a new one.
	EXPECT_EQ(0, zon_host_package_uninstall("korvath.stopwatch"));
	EXPECT_EQ(0, zon_host_package_uninstall("korvath.stopwatch"));
	EXPECT_EQ(0, zon_host_package_uninstall(ZON_HOST_WEATHER_PACKAGE_ID));
	EXPECT_EQ(0, zon_host_package_uninstall(ZON_HOST_DEFAULT_APP_ID));
	zon_host_reset();
	EXPECT_FALSE(zon_host_package_is_installed(ZON_HOST_WEATHER_PACKAGE_ID));
	EXPECT_EQ(-1, zon_host_package_install("../evil", nullptr, true));
	EXPECT_EQ(-1, zon_host_package_install("", nullptr, true));
}

} // namespace

// The device and environment queries of ZonUtil, driven through the settings, features and
// packages of the simulated device.
#include <string>
#include <utility>

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
	bool weatherPreference()
	{
		bool value = false;
		EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_get_boolean(".weatherPackageAvailable", &value));
		return value;
	}
};

TEST_F(DeviceQueriesTest, RegionDirectionComparesTwoBytesCountryAndThemeCompareExactly)
{
	const struct {
		std::string region;
		bool rtl, arabic;
	} cases[] = {
		{"he_IL.UTF-8", true, false}, {"arn_CL.UTF-8", true, true}, {"ur_PK", true, false},
		{"en_US.UTF-8", false, false}, {"a", false, false},
		// Only the first 512 bytes are copied; the first two decide.
		{std::string(600, 'a') + "r", false, false}, {"ar" + std::string(700, 'x'), true, true},
	};
	for (const auto& c : cases) {
		ASSERT_EQ(VCONF_OK, vconf_set_str("db/menu_widget/regionformat", c.region.c_str()));
		EXPECT_EQ(c.rtl, zonUtilIsRTL()) << c.region;
		EXPECT_EQ(c.arabic, zonUtilIsArabic()) << c.region;
	}

	// Unreadable: taken as en_US.
	ASSERT_EQ(VCONF_OK, vconf_set_str("db/menu_widget/regionformat", "ar_EG.UTF-8"));
	for (bool (*query)() : {zonUtilIsRTL, zonUtilIsArabic}) {
		zon_host_fault_inject("vconf_get_str", 1, VCONF_ERROR);
		EXPECT_FALSE(query());
	}
	EXPECT_TRUE(zon_host_log_contains("vconf_get_str() failed : region format"));

	// The country code and the device theme compare exactly.
	EXPECT_FALSE(zonUtilCheckShowOnlyJerusalem());
	EXPECT_TRUE(zon_host_log_contains("vconf_get_str(VCONF_CSC_COUNTRY_ISO) is failed."));
	const std::pair<const char*, bool> codes[] = {
		{"AE", true}, {"SN", true}, {"IL", false}, {"sa", false}, {"SAU", false}, {"", false}};
	for (const auto& c : codes) {
		ASSERT_EQ(VCONF_OK, vconf_set_str("db/csc/country_iso", c.first));
		EXPECT_EQ(c.second, zonUtilCheckShowOnlyJerusalem()) << c.first;
	}

	setEnv("ELM_DEVICE_PROD_THEME", "Vorel");
	EXPECT_FALSE(zonUtilIsVorelDevice());
	setEnv("ELM_DEVICE_PROD_THEME", "vorel");
	EXPECT_TRUE(zonUtilIsVorelDevice());
}

TEST_F(DeviceQueriesTest, BezelFromFeaturesAndTheUserSetting)
{
	EXPECT_FALSE(zonUtilHasBezel());
	EXPECT_FALSE(zonUtilHasPhysicalBezel());

	ASSERT_EQ(0, zon_host_set_bezel(ZON_HOST_BEZEL_PHYSICAL));
	ASSERT_EQ(VCONF_OK, vconf_set_bool(ZON_HOST_VCONF_ROTARY_EVENT_ENABLED, 0));
	EXPECT_TRUE(zonUtilHasBezel()) << "the setting is for virtual bezels only";
	EXPECT_TRUE(zonUtilHasPhysicalBezel());

	ASSERT_EQ(0, zon_host_set_bezel(ZON_HOST_BEZEL_VIRTUAL));
	EXPECT_FALSE(zonUtilHasBezel());
	EXPECT_FALSE(zonUtilHasPhysicalBezel());
	ASSERT_EQ(VCONF_OK, vconf_set_bool(ZON_HOST_VCONF_ROTARY_EVENT_ENABLED, 1));
	EXPECT_TRUE(zonUtilHasBezel());
	ASSERT_EQ(0, zon_host_vconf_unset(ZON_HOST_VCONF_ROTARY_EVENT_ENABLED));
	EXPECT_FALSE(zonUtilHasBezel());

	// A failed read of the virtual-bezel feature makes a virtual bezel look physical.
	zon_host_fault_inject("system_info_get_platform_bool", 2, SYSTEM_INFO_ERROR_IO_ERROR);
	EXPECT_TRUE(zonUtilHasPhysicalBezel());
}

TEST_F(DeviceQueriesTest, PackagesPreloadFlagAndTheWeatherPackageState)
{
	size_t handles = zon_host_package_info_live();
	EXPECT_TRUE(zonUtilIsPkgPreloaded(ZON_HOST_WEATHER_PACKAGE_ID)) << "a watch comes with it";
	EXPECT_FALSE(zonUtilIsPkgPreloaded("korvath.nothing"));
	zonUtilSetWeatherPkgState();
	EXPECT_TRUE(weatherPreference());

	ASSERT_EQ(0, zon_host_package_uninstall(ZON_HOST_WEATHER_PACKAGE_ID));
	zonUtilSetWeatherPkgState();
	EXPECT_FALSE(weatherPreference());
	EXPECT_TRUE(zon_host_log_contains(("package_manager_get_package_info is failed["
		+ std::to_string(PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE) + "]").c_str()));

	// Installed from the store, so not preloaded.
	ASSERT_EQ(0, zon_host_package_install(ZON_HOST_WEATHER_PACKAGE_ID, "3.0.1", false));
	zonUtilSetWeatherPkgState();
	EXPECT_TRUE(weatherPreference());
	EXPECT_FALSE(zonUtilIsPkgPreloaded(ZON_HOST_WEATHER_PACKAGE_ID));
	EXPECT_EQ(handles, zon_host_package_info_live()) << "every package information is destroyed";

	zon_host_fault_inject("package_info_is_preload_package", 1, PACKAGE_MANAGER_ERROR_IO_ERROR);
	zon_host_fault_inject("package_info_destroy", 1, PACKAGE_MANAGER_ERROR_IO_ERROR);
	EXPECT_FALSE(zonUtilIsPkgPreloaded("korvath.zonvista")) << "unknown counts as not preloaded";
	EXPECT_EQ(handles + 1, zon_host_package_info_live()) << "a failed destroy is not retried";
}

} // namespace

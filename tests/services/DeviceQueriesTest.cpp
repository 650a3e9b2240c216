// The device and environment queries of ZonUtil and ZonSyncUtil, driven through the settings,
// features, packages and launches of the simulated device, and the application's colour and font
// tables in the device's changeable theme, loaded from real files in the shared resource
// directory.
#include <sys/stat.h>

#include <fstream>
#include <string>
#include <tuple>
#include <utility>

#include <app_common.h>
#include <app_control.h>
#include <app_preference.h>
#include <package_manager.h>
#include <system_info.h>
#include <uxt_theme.h>
#include <vconf.h>

#include "HostFixture.h"
#include "ZonSyncUtil.h"
#include "ZonUtil.h"

namespace {

using DeviceQueriesTest = HostFixture;

TEST_F(DeviceQueriesTest, RegionCountryThemeBezelPackagesCompanionAndThemeTables)
{
	auto weatherPreference = [] {
		bool value = false;
		EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_get_boolean(".weatherPackageAvailable", &value));
		return value;
	};
	// Region, right to left, Arabic.
	const std::tuple<std::string, bool, bool> cases[] = {
		{"he_IL.UTF-8", true, false}, {"arn_CL.UTF-8", true, true}, {"ur_PK", true, false},
		{"en_US.UTF-8", false, false}, {"a", false, false},
		// Only the first 512 bytes are copied; the first two decide.
		{std::string(600, 'a') + "r", false, false}, {"ar" + std::string(700, 'x'), true, true},
	};
	for (const auto& [region, rtl, arabic] : cases) {
		ASSERT_EQ(VCONF_OK, vconf_set_str("db/menu_widget/regionformat", region.c_str()));
		EXPECT_EQ(rtl, zonUtilIsRTL()) << region;
		EXPECT_EQ(arabic, zonUtilIsArabic()) << region;
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

	// The bezel from the features and the user's setting (-1: left as the device has it). The
	// setting is for virtual bezels only.
	struct Bezel { int kind, setting; bool has, physical; };
	for (const Bezel& b : {Bezel{-1, -1, false, false}, {ZON_HOST_BEZEL_PHYSICAL, 0, true, true},
			 {ZON_HOST_BEZEL_VIRTUAL, 0, false, false}, {ZON_HOST_BEZEL_VIRTUAL, 1, true, false},
			 {ZON_HOST_BEZEL_VIRTUAL, -1, false, false}}) {
		ASSERT_TRUE(b.kind < 0 || zon_host_set_bezel(zon_host_bezel_e(b.kind)) == 0);
		ASSERT_EQ(0, b.setting < 0 ? zon_host_vconf_unset(ZON_HOST_VCONF_ROTARY_EVENT_ENABLED)
								   : vconf_set_bool(ZON_HOST_VCONF_ROTARY_EVENT_ENABLED, b.setting));
		EXPECT_EQ(b.has, zonUtilHasBezel()) << b.kind << b.setting;
		EXPECT_EQ(b.physical, zonUtilHasPhysicalBezel()) << b.kind << b.setting;
	}

	// A failed read of the virtual-bezel feature makes a virtual bezel look physical.
	zon_host_fault_inject("system_info_get_platform_bool", 2, SYSTEM_INFO_ERROR_IO_ERROR);
	EXPECT_TRUE(zonUtilHasPhysicalBezel());

	// Packages: the preload flag and the weather package's state.
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

	// The companion is connected through Bluetooth and its manager, and only then gets updates.
	const char kConnType[] = "memory/private/lnkp/conn_type";
	EXPECT_FALSE(ZonSyncUtil::isBtConnected());
	EXPECT_TRUE(zon_host_log_contains("vconf_get_int(VCONFKEY_LNKP_CONNECTIVITY_TYPE FAILED"));
	// Connected, but not over Bluetooth: the manager is not even asked.
	ASSERT_EQ(VCONF_OK, vconf_set_int(kConnType, 2));
	zon_host_log_clear();
	EXPECT_FALSE(ZonSyncUtil::isBtConnected());
	EXPECT_EQ(0u, zon_host_log_count());

	ASSERT_EQ(VCONF_OK, vconf_set_int(kConnType, 3));
	EXPECT_FALSE(ZonSyncUtil::isBtConnected());
	EXPECT_TRUE(zon_host_log_contains("vconf_get_int(VCONFKEY_HMX_HMANAGER_CONNECTED FAILED"));
	for (auto [bt, manager, connected] : {std::tuple{true, false, false}, {true, true, true}, {false, true, false}}) {
		ASSERT_EQ(0, zon_host_set_companion_connection(bt, manager));
		EXPECT_EQ(connected, ZonSyncUtil::isBtConnected()) << bt << manager;
	}

	// The watch-update request reaches the companion only when it is connected.
	ASSERT_EQ(0, zon_host_install_companion());
	ZonSyncUtil::requestWatchUpdate();
	ASSERT_EQ(0, zon_host_set_companion_connection(true, false));
	ZonSyncUtil::requestWatchUpdate();
	EXPECT_EQ(0u, zon_host_launch_count());

	ASSERT_EQ(0, zon_host_set_companion_connection(true, true));
	ZonSyncUtil::requestWatchUpdate();
	zon_host_launch launch;
	ASSERT_TRUE(zon_host_launch_count() == 1 && zon_host_launch_get(0, &launch));
	EXPECT_STREQ(ZON_HOST_COMPANION_APP_ID, launch.app_id);
	EXPECT_EQ(1u, launch.extra_count);
	EXPECT_STREQ("watch_change", zon_host_launch_extra(0, "change_request"));
	EXPECT_FALSE(launch.reply_requested);
	EXPECT_EQ(0, zon_host_companion_change_requests()) << "delivered on the main loop, not inside the call";
	zon_host_pump(10);
	EXPECT_EQ(1, zon_host_companion_change_requests());

	// Without the companion installed, the launch fails and says so.
	zon_host_reset();
	zon_host_log_capture(true);
	ZonSyncUtil::requestWatchUpdate();
	EXPECT_TRUE(zon_host_log_contains(
		("app_control_send_launch_request failed(" + std::to_string(APP_CONTROL_ERROR_APP_NOT_FOUND) + ")").c_str()));

	// Theme state belongs to the process: the test leaves both tables detached, as it found them.
	const std::string tables = takeText(app_get_shared_resource_path()) + "tables";
	ASSERT_EQ(0, mkdir(tables.c_str(), 0755));
	std::ofstream(tables + "/colors.xml") << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
										   "<color_table><color id=\"B011\" rgba=\"#FAFAFA80\"/></color_table>\n";
	std::ofstream(tables + "/fonts.xml") << "<font_table>\n  <font id=\"T011\" style=\"Condensed\" size=\"30\"/>\n</font_table>\n";
	std::ofstream(tables + "/bad.xml") << "<color_table><color id=\"A\" rgba=\"#FF0000\"/><color id=\"A\" rgba=\"#00FF00\"/>";
	const char *colors = "tables/colors.xml", *fonts = "tables/fonts.xml";
	// Tables left loaded by earlier tests of this process.
	const int baseline = zon_host_theme_table_count();
	uxt_theme_set_style(5);
	zonUtilAttachChangeableColors(colors);
	EXPECT_TRUE(zon_host_theme_changeable_ui_enabled());
	EXPECT_EQ(UXT_THEME_STYLE_DEFAULT, zon_host_theme_style());
	EXPECT_TRUE(zon_host_theme_color("B011", nullptr, nullptr, nullptr, nullptr));
	zonUtilAttachChangeableColors(colors); // the earlier table is deleted, not leaked
	zonUtilAttachChangeableFonts(fonts);
	EXPECT_EQ(baseline + 2, zon_host_theme_table_count());

	// With fonts still attached the changeable UI stays initialised: no style is re-selected.
	zonUtilDetachChangeableColors();
	EXPECT_FALSE(zon_host_theme_color("B011", nullptr, nullptr, nullptr, nullptr));
	EXPECT_TRUE(zon_host_theme_font("T011", nullptr, nullptr));
	uxt_theme_set_style(3);
	zonUtilAttachChangeableColors(colors);
	EXPECT_EQ(3, zon_host_theme_style());

	// Both detached: the next attach initialises again. Detaching never switches the UI off.
	zonUtilDetachChangeableFonts();
	zonUtilDetachChangeableColors();
	EXPECT_EQ(baseline, zon_host_theme_table_count());
	EXPECT_TRUE(zon_host_theme_changeable_ui_enabled());
	zonUtilDetachChangeableColors();
	EXPECT_FALSE(zon_host_log_contains("delete_color_table failed")) << "nothing to delete";
	zonUtilAttachChangeableFonts(fonts);
	EXPECT_EQ(UXT_THEME_STYLE_DEFAULT, zon_host_theme_style());

	// A malformed file is logged when applied, and leaves no colour table beside the fonts'.
	zonUtilAttachChangeableColors("tables/bad.xml");
	EXPECT_TRUE(zon_host_log_contains(
		("uxt_theme_set_color_table failed.(" + std::to_string(UXT_THEME_ERROR_INVALID_PARAMETER) + ")").c_str()));
	EXPECT_EQ(baseline + 1, zon_host_theme_table_count());
	zonUtilDetachChangeableColors();
	zonUtilDetachChangeableFonts();
	EXPECT_EQ(baseline, zon_host_theme_table_count()) << "the library lost a table";
}

} // namespace

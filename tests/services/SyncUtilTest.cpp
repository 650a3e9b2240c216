// The companion connection and the watch-update request, seen from the settings the watch reads
// and the launches that reach the companion's stand-in.
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include <app_control.h>
#include <vconf.h>
#include <zon-host/zon_host.h>

#include "HostFixture.h"
#include "ZonSyncUtil.h"

namespace {

const char kConnType[] = "memory/private/lnkp/conn_type";

class SyncUtilTest : public HostFixture {};

TEST_F(SyncUtilTest, ConnectedNeedsBluetoothAndTheCompanionManager)
{
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
}

TEST_F(SyncUtilTest, WatchUpdateReachesTheCompanionOnlyWhenConnected)
{
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
}

} // namespace

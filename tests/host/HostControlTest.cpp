#include <glib.h>

#include <app_common.h>
#include <app_preference.h>
#include <dlog.h>
#include <korvath_cloud.h>
#include <message_port.h>
#include <vconf.h>
#include <zon_platform.h>

#include "HostFixture.h"

namespace {

class HostControl : public HostFixture {};

TEST_F(HostControl, NthCallFailsWithoutEffectThenRecovers)
{
	int calls = 0;
	preference_set_int("ZonDBChanged", 0);
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_changed_cb("ZonDBChanged",
			[](const char *, void *n) { ++*static_cast<int *>(n); }, &calls));
	ASSERT_EQ(0, zon_host_fault_inject("preference_set_int", 2, PREFERENCE_ERROR_IO_ERROR));
	EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_set_int("ZonDBChanged", 1));
	EXPECT_EQ(PREFERENCE_ERROR_IO_ERROR, preference_set_int("ZonDBChanged", 0));
	zon_host_pump(100);
	EXPECT_EQ(1, calls) << "the failed call changed nothing";
	EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_set_int("ZonDBChanged", 0));
	zon_host_pump(100);
	EXPECT_EQ(2, calls);
	preference_unset_changed_cb("ZonDBChanged");

	// Pointer answers fail with NULL and leave the error in get_last_result().
	zon_host_fault_inject("app_get_data_path", 1, APP_ERROR_PERMISSION_DENIED);
	EXPECT_EQ(nullptr, app_get_data_path());
	EXPECT_EQ(APP_ERROR_PERMISSION_DENIED, get_last_result());
	EXPECT_NE("<null>", takeText(app_get_data_path()));
	zon_host_fault_inject("zon_platform_path", 1, TIZEN_ERROR_IO_ERROR);
	EXPECT_EQ(nullptr, zon_platform_path("/tmp/.zonvista_ldu"));

	EXPECT_EQ(-1, zon_host_fault_inject("no_such_function", 1, -1));
	zon_host_fault_inject("vconf_set_int", 1, VCONF_ERROR);
	zon_host_fault_inject("vconf_get_int", 1, VCONF_ERROR);
	zon_host_fault_inject("vconf_get_int", 0, 0);
	zon_host_reset();
	EXPECT_EQ(VCONF_OK, vconf_set_int("db/x/y", 1)) << "reset clears faults";
	EXPECT_EQ(VCONF_OK, vconf_get_int("db/x/y", &calls)) << "nth = 0 clears the fault";
}

// A module left out of the registry keeps its state across tests: the list is the contract.
TEST_F(HostControl, ResetReachesEveryModuleAndPumpIsBoundedWithoutWaiting)
{
	std::vector<std::string> names;
	for (size_t i = 0; zon_host_module_name(i); ++i)
		names.push_back(zon_host_module_name(i));
	EXPECT_EQ(zon_host_module_count(), names.size());
	EXPECT_EQ((std::vector<std::string>{"delivery", "alarm", "apps", "cloud", "cloud_sessions", "companion", "message_port",
			"preference", "vconf", "weather_agent", "zonvista_service", "faults", "log", "device"}),
			names);

	allowLeakedRegistrations();
	static int called;
	called = 0;
	preference_set_int("p", 0);
	preference_set_changed_cb("p", [](const char *, void *) { ++called; }, nullptr);
	vconf_notify_key_changed("db/x/y", [](keynode_t *, void *) { ++called; }, nullptr);
	vconf_notify_key_changed("db/x/z", [](keynode_t *, void *) { ++called; }, nullptr);
	message_port_register_local_port("port", [](int, const char *, const char *, bool, bundle *, void *) {},
			nullptr);
	korvath_cloud_initialize();
	korvath_cloud_backup_record_set_preparation_cb([](void *) {}, nullptr);
	preference_set_int("p", 1);
	vconf_set_int("db/x/y", 1);
	zon_host_set_app_id("other.app");

	EXPECT_EQ(5, zon_host_reset());
	EXPECT_STREQ(ZON_HOST_DEFAULT_APP_ID, zon_host_app_id());
	preference_set_int("p", 2);
	EXPECT_EQ(0, zon_host_pump(100));
	EXPECT_EQ(0, called);
	EXPECT_EQ(0, zon_host_reset()) << "a reset leaves nothing to count at the next";

	guint forever = g_idle_add([](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
	EXPECT_EQ(5, zon_host_pump(5));
	g_source_remove(forever);

	guint later = g_timeout_add_seconds(3600, [](gpointer) -> gboolean { return G_SOURCE_REMOVE; }, nullptr);
	gint64 start = g_get_monotonic_time();
	EXPECT_EQ(0, zon_host_pump(100));
	EXPECT_LT(g_get_monotonic_time() - start, G_USEC_PER_SEC);
	g_source_remove(later);
}

} // namespace

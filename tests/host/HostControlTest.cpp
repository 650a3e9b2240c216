#include <cstdlib>
#include <string>

#include <glib.h>

#include <app_common.h>
#include <app_preference.h>
#include <dlog.h>
#include <system_info.h>
#include <vconf.h>
#include <zon_platform.h>
#include <zon-host/zon_host.h>

#include "HostFixture.h"

namespace {

class HostControl : public HostFixture {};

int g_prefCalls = 0;
int g_vconfCalls = 0;

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
	int value = -1;
	preference_get_int("ZonDBChanged", &value);
	EXPECT_EQ(1, value);
	EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_set_int("ZonDBChanged", 0));
	zon_host_pump(100);
	EXPECT_EQ(2, calls);

	// Only the named function counts calls.
	zon_host_fault_inject("vconf_get_int", 1, VCONF_ERROR);
	vconf_set_int("db/setup_wizard/standalone", 1);
	EXPECT_EQ(VCONF_ERROR, vconf_get_int("db/setup_wizard/standalone", &value));
	EXPECT_EQ(VCONF_OK, vconf_get_int("db/setup_wizard/standalone", &value));

	preference_unset_changed_cb("ZonDBChanged");
}

TEST_F(HostControl, PointerAnswersFailWithNullAndLastResult)
{
	zon_host_fault_inject("app_get_data_path", 1, APP_ERROR_PERMISSION_DENIED);
	EXPECT_EQ(nullptr, app_get_data_path());
	EXPECT_EQ(APP_ERROR_PERMISSION_DENIED, get_last_result());
	char *path = app_get_data_path();
	EXPECT_NE(nullptr, path);
	free(path);

	vconf_set_str("db/csc/country_iso", "KR");
	zon_host_fault_inject("vconf_get_str", 1, VCONF_ERROR);
	EXPECT_EQ(nullptr, vconf_get_str("db/csc/country_iso"));
	zon_host_fault_inject("zon_platform_path", 1, TIZEN_ERROR_IO_ERROR);
	EXPECT_EQ(nullptr, zon_platform_path("/tmp/.zonvista_ldu"));

	bool b = false;
	zon_host_set_feature_bool("http://tizen.org/feature/input.rotating_bezel", true);
	zon_host_fault_inject("system_info_get_platform_bool", 1, SYSTEM_INFO_ERROR_IO_ERROR);
	EXPECT_EQ(SYSTEM_INFO_ERROR_IO_ERROR, system_info_get_platform_bool("http://tizen.org/feature/input.rotating_bezel", &b));
	EXPECT_FALSE(b);
}

TEST_F(HostControl, FaultsAreClearedByZeroAndByReset)
{
	EXPECT_EQ(-1, zon_host_fault_inject("no_such_function", 1, -1));
	EXPECT_EQ(-1, zon_host_fault_inject("preference_set_int", -1, -1));

	zon_host_fault_inject("preference_set_int", 1, PREFERENCE_ERROR_IO_ERROR);
	zon_host_fault_inject("preference_set_int", 0, 0);
	EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_set_int("k", 1));

	zon_host_fault_inject("dlog_print", 1, DLOG_ERROR_NOT_PERMITTED);
	zon_host_fault_inject("vconf_set_int", 1, VCONF_ERROR);
	zon_host_reset();
	EXPECT_EQ(VCONF_OK, vconf_set_int("db/x/y", 1));
	EXPECT_GT(dlog_print(DLOG_INFO, "t", "x"), 0);
}

TEST_F(HostControl, ResetDropsRegistrationsAndPendingDeliveries)
{
	allowLeakedRegistrations();
	g_prefCalls = g_vconfCalls = 0;
	preference_set_int("p", 0);
	preference_set_changed_cb("p", [](const char *, void *) { ++g_prefCalls; }, nullptr);
	vconf_notify_key_changed("db/x/y", [](keynode_t *, void *) { ++g_vconfCalls; }, nullptr);
	vconf_notify_key_changed("db/x/z", [](keynode_t *, void *) { ++g_vconfCalls; }, nullptr);
	preference_set_int("p", 1);
	vconf_set_int("db/x/y", 1);

	EXPECT_EQ(3, zon_host_reset());
	EXPECT_EQ(0, zon_host_pump(100));
	EXPECT_EQ(0, g_prefCalls + g_vconfCalls);
	preference_set_int("p", 2);
	EXPECT_EQ(0, zon_host_pump(100)) << "registrations are gone";
}

TEST_F(HostControl, PumpIsBoundedAndNeverWaits)
{
	guint forever = g_idle_add([](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
	EXPECT_EQ(5, zon_host_pump(5));
	g_source_remove(forever);

	// A timer that is not due yet is left alone, without blocking until it is.
	int fired = 0;
	guint later = g_timeout_add_seconds(3600, [](gpointer n) -> gboolean {
		++*static_cast<int *>(n);
		return G_SOURCE_REMOVE;
	}, &fired);
	gint64 start = g_get_monotonic_time();
	EXPECT_EQ(0, zon_host_pump(100));
	EXPECT_LT(g_get_monotonic_time() - start, G_USEC_PER_SEC);
	EXPECT_EQ(0, fired);
	g_source_remove(later);
}

} // namespace

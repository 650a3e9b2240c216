#include <app_control.h>

#include "HostFixture.h"

namespace {

class HostAppControl : public HostFixture {};

// A stand-in that remembers who launched it with which "lat_0", and keeps a clone of the
// request as a service that answers later would.
struct Receiver {
	std::vector<std::string> launches;
	std::vector<app_control_h> kept;

	static void onLaunch(app_control_h handle, void *self)
	{
		auto *r = static_cast<Receiver *>(self);
		char *caller = nullptr, *lat = nullptr;
		app_control_get_caller(handle, &caller);
		app_control_get_extra_data(handle, "lat_0", &lat);
		r->launches.push_back(takeText(caller) + " " + takeText(lat));
		app_control_h copy = nullptr;
		if (app_control_clone(&copy, handle) == APP_CONTROL_ERROR_NONE)
			r->kept.push_back(copy);
	}

	~Receiver()
	{
		for (app_control_h h : kept)
			app_control_destroy(h);
	}
};

TEST_F(HostAppControl, LaunchArrivesOnTheMainLoopAsACopyOrFailsAtSendTime)
{
	app_control_h h = nullptr;
	app_control_create(&h);
	app_control_set_app_id(h, "korvath.weather-agent");
	app_control_add_extra_data(h, "lat_0", "0.0");
	app_control_add_extra_data(h, "lat_0", "52.507542");
	EXPECT_EQ(APP_CONTROL_ERROR_APP_NOT_FOUND, app_control_send_launch_request(h, nullptr, nullptr));

	Receiver agent;
	ASSERT_EQ(0, zon_host_register_app("korvath.weather-agent", Receiver::onLaunch, &agent));
	ASSERT_EQ(APP_CONTROL_ERROR_NONE, app_control_send_launch_request(h, nullptr, nullptr));
	EXPECT_TRUE(agent.launches.empty()) << "delivered inside the send";
	app_control_add_extra_data(h, "lat_0", "changed");
	// A fault hits only the application's own calls: the failed send has no effect, and the
	// platform's copy of the request is no call of app_control_clone(), the stand-in's is.
	zon_host_fault_inject("app_control_send_launch_request", 1, APP_CONTROL_ERROR_LAUNCH_REJECTED);
	EXPECT_EQ(APP_CONTROL_ERROR_LAUNCH_REJECTED, app_control_send_launch_request(h, nullptr, nullptr));
	zon_host_fault_inject("app_control_clone", 1, APP_CONTROL_ERROR_OUT_OF_MEMORY);
	zon_host_pump(100);
	EXPECT_EQ(std::vector<std::string>{ZON_HOST_DEFAULT_APP_ID " 52.507542"}, agent.launches);
	EXPECT_TRUE(agent.kept.empty());

	ASSERT_EQ(2u, zon_host_launch_count());
	zon_host_launch rec;
	ASSERT_TRUE(zon_host_launch_get(0, &rec));
	EXPECT_EQ(APP_CONTROL_ERROR_APP_NOT_FOUND, rec.result);
	EXPECT_STREQ("52.507542", zon_host_launch_extra(1, "lat_0"));

	// Uninstalled between send and delivery, or reset: the launch is dropped.
	app_control_send_launch_request(h, nullptr, nullptr);
	EXPECT_EQ(0, zon_host_unregister_app("korvath.weather-agent"));
	zon_host_register_app("korvath.weather-agent", Receiver::onLaunch, &agent);
	app_control_send_launch_request(h, nullptr, nullptr);
	EXPECT_EQ(0, zon_host_reset()) << "installed applications are not leaks";
	EXPECT_EQ(0, zon_host_pump(100));
	EXPECT_EQ(1u, agent.launches.size());
	EXPECT_EQ(APP_CONTROL_ERROR_APP_NOT_FOUND, app_control_send_launch_request(h, nullptr, nullptr));
	app_control_destroy(h);
}

} // namespace

#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include <app_control.h>
#include <zon-host/zon_host.h>

#include "HostFixture.h"

namespace {

class HostAppControl : public HostFixture {
protected:
	app_control_h request(const char *appId)
	{
		app_control_h h = nullptr;
		app_control_create(&h);
		app_control_set_app_id(h, appId);
		return h;
	}
};

std::string take(char *s)
{
	std::string out = s ? s : "(null)";
	free(s);
	return out;
}

// A stand-in that remembers what each launch carried, and keeps a clone of it to reply later.
struct Receiver {
	std::vector<std::string> callers;
	std::vector<std::map<std::string, std::string>> extras;
	std::vector<app_control_h> kept;

	static void onLaunch(app_control_h handle, void *self)
	{
		auto *r = static_cast<Receiver *>(self);
		char *s = nullptr;
		app_control_get_caller(handle, &s);
		r->callers.push_back(take(s));
		r->extras.emplace_back();
		app_control_foreach_extra_data(handle, [](app_control_h h, const char *key, void *out) {
			char *v = nullptr;
			app_control_get_extra_data(h, key, &v);
			(*static_cast<std::map<std::string, std::string> *>(out))[key] = take(v);
			return true;
		}, &r->extras.back());
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
	app_control_h h = request("korvath.weather-agent");
	app_control_add_extra_data(h, "lat_0", "0.0");
	app_control_add_extra_data(h, "lat_0", "52.507542");
	EXPECT_EQ(APP_CONTROL_ERROR_APP_NOT_FOUND, app_control_send_launch_request(h, nullptr, nullptr));

	Receiver agent;
	ASSERT_EQ(0, zon_host_register_app("korvath.weather-agent", Receiver::onLaunch, &agent));
	ASSERT_EQ(APP_CONTROL_ERROR_NONE, app_control_send_launch_request(h, nullptr, nullptr));
	EXPECT_TRUE(agent.callers.empty()) << "delivered inside the send";
	app_control_add_extra_data(h, "lat_0", "changed");
	// A fault hits only the application's own calls: the failed send has no effect, and the
	// platform's copy of the request is no call of app_control_clone(), the stand-in's is.
	zon_host_fault_inject("app_control_send_launch_request", 1, APP_CONTROL_ERROR_LAUNCH_REJECTED);
	EXPECT_EQ(APP_CONTROL_ERROR_LAUNCH_REJECTED, app_control_send_launch_request(h, nullptr, nullptr));
	zon_host_fault_inject("app_control_clone", 1, APP_CONTROL_ERROR_OUT_OF_MEMORY);
	zon_host_pump(100);
	ASSERT_EQ(1u, agent.callers.size());
	EXPECT_TRUE(agent.kept.empty());
	EXPECT_EQ(ZON_HOST_DEFAULT_APP_ID, agent.callers[0]);
	EXPECT_EQ((std::map<std::string, std::string>{{"lat_0", "52.507542"}}), agent.extras[0]);

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
	EXPECT_EQ(1u, agent.callers.size());
	EXPECT_EQ(APP_CONTROL_ERROR_APP_NOT_FOUND, app_control_send_launch_request(h, nullptr, nullptr));
	app_control_destroy(h);
}

TEST_F(HostAppControl, AReplyReachesTheCallerOnce)
{
	struct Replies {
		std::vector<std::string> values;
		static void onReply(app_control_h request, app_control_h reply, app_control_result_e result, void *self)
		{
			char *q = nullptr, *answer = nullptr;
			app_control_get_extra_data(request, "q", &q);
			app_control_get_extra_data(reply, "answer", &answer);
			static_cast<Replies *>(self)->values.push_back(take(q) + "->" + take(answer) + " " + std::to_string(result));
		}
	} replies;
	Receiver service;
	zon_host_register_app("korvath.zonvista-service", Receiver::onLaunch, &service);
	app_control_h h = request("korvath.zonvista-service");
	app_control_add_extra_data(h, "q", "ping");
	ASSERT_EQ(APP_CONTROL_ERROR_NONE, app_control_send_launch_request(h, Replies::onReply, &replies));
	app_control_add_extra_data(h, "q", "changed after sending");
	ASSERT_EQ(APP_CONTROL_ERROR_NONE, app_control_send_launch_request(h, nullptr, nullptr));
	app_control_destroy(h);
	zon_host_pump(100);
	ASSERT_EQ(2u, service.kept.size());

	app_control_h reply = nullptr;
	app_control_create(&reply);
	app_control_add_extra_data(reply, "answer", "pong");
	EXPECT_EQ(APP_CONTROL_ERROR_INVALID_PARAMETER,
			app_control_reply_to_launch_request(reply, reply, APP_CONTROL_RESULT_SUCCEEDED)) << "not received";
	// Only the first reply to the launch with a callback reaches it, on the main loop.
	for (app_control_h launch : {service.kept[0], service.kept[0], service.kept[1]})
		EXPECT_EQ(APP_CONTROL_ERROR_NONE, app_control_reply_to_launch_request(reply, launch, APP_CONTROL_RESULT_SUCCEEDED));
	app_control_destroy(reply);
	EXPECT_TRUE(replies.values.empty());
	zon_host_pump(100);
	EXPECT_EQ(std::vector<std::string>{"ping->pong " + std::to_string(APP_CONTROL_RESULT_SUCCEEDED)}, replies.values);
	EXPECT_EQ(3u, zon_host_reply_count());
}

} // namespace

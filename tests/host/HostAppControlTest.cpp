#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include <app_control.h>
#include <zon-host/zon_host.h>

#include "HostFixture.h"

namespace {

class HostAppControl : public HostFixture {};

std::string take(char *s)
{
	std::string out = s ? s : "(null)";
	free(s);
	return out;
}

// A stand-in that remembers what each launch carried.
struct Receiver {
	struct Launch {
		std::string caller, appId, operation;
		std::map<std::string, std::string> extras;
		bool replyRequested = false;
	};
	std::vector<Launch> launches;
	// Clones kept for a later reply.
	std::vector<app_control_h> kept;

	static void onLaunch(app_control_h handle, void *self)
	{
		auto *r = static_cast<Receiver *>(self);
		Launch l;
		char *s = nullptr;
		app_control_get_caller(handle, &s);
		l.caller = take(s);
		app_control_get_app_id(handle, &s);
		l.appId = take(s);
		app_control_get_operation(handle, &s);
		l.operation = take(s);
		app_control_is_reply_requested(handle, &l.replyRequested);
		app_control_foreach_extra_data(handle, [](app_control_h h, const char *key, void *out) {
			char *v = nullptr;
			app_control_get_extra_data(h, key, &v);
			(*static_cast<std::map<std::string, std::string> *>(out))[key] = take(v);
			return true;
		}, &l.extras);
		r->launches.push_back(l);
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

struct Replies {
	std::vector<int> results;
	std::vector<std::string> values;
	static void onReply(app_control_h request, app_control_h reply, app_control_result_e result, void *self)
	{
		auto *r = static_cast<Replies *>(self);
		r->results.push_back(result);
		char *v = nullptr;
		app_control_get_extra_data(reply, "answer", &v);
		char *req = nullptr;
		app_control_get_extra_data(request, "q", &req);
		r->values.push_back(take(req) + "->" + take(v));
	}
};

TEST_F(HostAppControl, ExtraDataFollowsTheDeviceRules)
{
	app_control_h h = nullptr;
	ASSERT_EQ(APP_CONTROL_ERROR_NONE, app_control_create(&h));
	char *s = reinterpret_cast<char *>(1);
	EXPECT_EQ(APP_CONTROL_ERROR_NONE, app_control_get_operation(h, &s));
	EXPECT_EQ(nullptr, s) << "never set";

	EXPECT_EQ(APP_CONTROL_ERROR_NONE, app_control_add_extra_data(h, "max", "1"));
	EXPECT_EQ(APP_CONTROL_ERROR_NONE, app_control_add_extra_data(h, "max", "2")) << "replaces";
	EXPECT_EQ(APP_CONTROL_ERROR_INVALID_PARAMETER, app_control_add_extra_data(h, "instance_id", nullptr));
	EXPECT_EQ(APP_CONTROL_ERROR_KEY_REJECTED, app_control_add_extra_data(h, "__APP_SVC_OP_TYPE__", "x"));
	const char *list[] = {"a", "b"};
	EXPECT_EQ(APP_CONTROL_ERROR_NONE, app_control_add_extra_data_array(h, "list", list, 2));

	EXPECT_EQ(APP_CONTROL_ERROR_NONE, app_control_get_extra_data(h, "max", &s));
	EXPECT_EQ("2", take(s));
	s = nullptr;
	EXPECT_EQ(APP_CONTROL_ERROR_KEY_NOT_FOUND, app_control_get_extra_data(h, "instance_id", &s));
	EXPECT_EQ(APP_CONTROL_ERROR_INVALID_DATA_TYPE, app_control_get_extra_data(h, "list", &s));
	EXPECT_EQ(nullptr, s);
	char **array = nullptr;
	int n = 0;
	ASSERT_EQ(APP_CONTROL_ERROR_NONE, app_control_get_extra_data_array(h, "list", &array, &n));
	ASSERT_EQ(2, n);
	EXPECT_EQ("a", take(array[0]));
	EXPECT_EQ("b", take(array[1]));
	free(array);

	// The clone is independent of the original.
	app_control_h copy = nullptr;
	ASSERT_EQ(APP_CONTROL_ERROR_NONE, app_control_clone(&copy, h));
	EXPECT_EQ(APP_CONTROL_ERROR_NONE, app_control_remove_extra_data(h, "max"));
	EXPECT_EQ(APP_CONTROL_ERROR_KEY_NOT_FOUND, app_control_remove_extra_data(h, "max"));
	app_control_destroy(h);
	EXPECT_EQ(APP_CONTROL_ERROR_NONE, app_control_get_extra_data(copy, "max", &s));
	EXPECT_EQ("2", take(s));

	EXPECT_EQ(APP_CONTROL_ERROR_INVALID_PARAMETER, app_control_get_caller(copy, &s)) << "not a received launch";
	app_control_destroy(copy);
}

TEST_F(HostAppControl, LaunchArrivesOnTheMainLoopAsACopy)
{
	Receiver agent;
	ASSERT_EQ(0, zon_host_register_app("korvath.weather-agent", Receiver::onLaunch, &agent));
	app_control_h h = nullptr;
	app_control_create(&h);
	app_control_set_app_id(h, "korvath.weather-agent");
	app_control_set_operation(h, APP_CONTROL_OPERATION_DEFAULT);
	app_control_add_extra_data(h, "PORT_ID", "port");
	app_control_add_extra_data(h, "lat_0", "52.507542");
	ASSERT_EQ(APP_CONTROL_ERROR_NONE, app_control_send_launch_request(h, nullptr, nullptr));
	EXPECT_TRUE(agent.launches.empty()) << "delivered inside the send";
	// The caller's handle is its own again at once.
	app_control_add_extra_data(h, "lat_0", "changed");
	app_control_destroy(h);

	zon_host_pump(100);
	ASSERT_EQ(1u, agent.launches.size());
	const Receiver::Launch &l = agent.launches[0];
	EXPECT_EQ(ZON_HOST_DEFAULT_APP_ID, l.caller);
	EXPECT_EQ("korvath.weather-agent", l.appId);
	EXPECT_EQ("http://tizen.org/appcontrol/operation/default", l.operation);
	EXPECT_EQ((std::map<std::string, std::string>{{"PORT_ID", "port"}, {"lat_0", "52.507542"}}), l.extras);
	EXPECT_FALSE(l.replyRequested);

	ASSERT_EQ(1u, zon_host_launch_count());
	zon_host_launch rec;
	ASSERT_TRUE(zon_host_launch_get(0, &rec));
	EXPECT_STREQ("korvath.weather-agent", rec.app_id);
	ASSERT_EQ(2u, rec.extra_count);
	EXPECT_STREQ("PORT_ID", rec.extra_keys[0]);
	EXPECT_STREQ("52.507542", rec.extra_values[1]);
	EXPECT_STREQ("port", zon_host_launch_extra(0, "PORT_ID"));
	EXPECT_EQ(nullptr, zon_host_launch_extra(0, "lon_0"));
	EXPECT_FALSE(zon_host_launch_get(1, &rec));
}

TEST_F(HostAppControl, UnknownApplicationsFailAtSendTime)
{
	app_control_h h = nullptr;
	app_control_create(&h);
	EXPECT_EQ(APP_CONTROL_ERROR_APP_NOT_FOUND, app_control_send_launch_request(h, nullptr, nullptr))
			<< "no app id and nobody answers operations";
	app_control_set_app_id(h, "korvath.weather-agent");
	EXPECT_EQ(APP_CONTROL_ERROR_APP_NOT_FOUND, app_control_send_launch_request(h, nullptr, nullptr));
	ASSERT_EQ(2u, zon_host_launch_count());
	zon_host_launch rec;
	zon_host_launch_get(1, &rec);
	EXPECT_EQ(APP_CONTROL_ERROR_APP_NOT_FOUND, rec.result);
	zon_host_launch_get(0, &rec);
	EXPECT_EQ(nullptr, rec.app_id);

	// Uninstalled between send and delivery: the launch is dropped.
	Receiver agent;
	zon_host_register_app("korvath.weather-agent", Receiver::onLaunch, &agent);
	EXPECT_EQ(APP_CONTROL_ERROR_NONE, app_control_send_launch_request(h, nullptr, nullptr));
	EXPECT_EQ(0, zon_host_unregister_app("korvath.weather-agent"));
	EXPECT_EQ(-1, zon_host_unregister_app("korvath.weather-agent"));
	EXPECT_EQ(0, zon_host_pump(100));
	EXPECT_TRUE(agent.launches.empty());
	app_control_destroy(h);
	zon_host_launch_clear();
	EXPECT_EQ(0u, zon_host_launch_count());
}

TEST_F(HostAppControl, AReplyReachesTheCallerOnce)
{
	Receiver service;
	Replies replies;
	zon_host_register_app("korvath.zonvista-service", Receiver::onLaunch, &service);
	app_control_h h = nullptr;
	app_control_create(&h);
	app_control_set_app_id(h, "korvath.zonvista-service");
	app_control_add_extra_data(h, "q", "ping");
	ASSERT_EQ(APP_CONTROL_ERROR_NONE, app_control_send_launch_request(h, Replies::onReply, &replies));
	app_control_add_extra_data(h, "q", "changed after sending");
	ASSERT_EQ(APP_CONTROL_ERROR_NONE, app_control_send_launch_request(h, nullptr, nullptr));
	app_control_destroy(h);
	zon_host_pump(100);
	ASSERT_EQ(2u, service.kept.size());
	EXPECT_TRUE(service.launches[0].replyRequested);

	// The service replies later, on the clone it kept.
	app_control_h reply = nullptr;
	app_control_create(&reply);
	app_control_add_extra_data(reply, "answer", "pong");
	EXPECT_EQ(APP_CONTROL_ERROR_INVALID_PARAMETER,
			app_control_reply_to_launch_request(reply, service.kept[0], APP_CONTROL_RESULT_APP_STARTED));
	EXPECT_EQ(APP_CONTROL_ERROR_INVALID_PARAMETER,
			app_control_reply_to_launch_request(reply, reply, APP_CONTROL_RESULT_SUCCEEDED)) << "not received";
	ASSERT_EQ(APP_CONTROL_ERROR_NONE,
			app_control_reply_to_launch_request(reply, service.kept[0], APP_CONTROL_RESULT_SUCCEEDED));
	EXPECT_TRUE(replies.results.empty()) << "delivered inside the reply";
	EXPECT_EQ(APP_CONTROL_ERROR_NONE,
			app_control_reply_to_launch_request(reply, service.kept[0], APP_CONTROL_RESULT_FAILED));
	EXPECT_EQ(APP_CONTROL_ERROR_NONE,
			app_control_reply_to_launch_request(reply, service.kept[1], APP_CONTROL_RESULT_FAILED));
	app_control_destroy(reply);
	zon_host_pump(100);

	EXPECT_EQ(std::vector<int>{APP_CONTROL_RESULT_SUCCEEDED}, replies.results);
	EXPECT_EQ(std::vector<std::string>{"ping->pong"}, replies.values);
	ASSERT_EQ(3u, zon_host_reply_count());
	zon_host_reply rec;
	ASSERT_TRUE(zon_host_reply_get(0, &rec));
	EXPECT_STREQ("korvath.zonvista-service", rec.app_id);
	EXPECT_STREQ(ZON_HOST_DEFAULT_APP_ID, rec.caller);
	EXPECT_TRUE(rec.delivered);
	EXPECT_STREQ("pong", zon_host_reply_extra(0, "answer"));
	zon_host_reply_get(1, &rec);
	EXPECT_EQ(APP_CONTROL_RESULT_FAILED, rec.result);
	EXPECT_FALSE(rec.delivered) << "only one reply per launch";
	zon_host_reply_get(2, &rec);
	EXPECT_FALSE(rec.delivered) << "no reply callback";
}

TEST_F(HostAppControl, InjectedFaultsHitOnlyTheApplicationsOwnCalls)
{
	Receiver agent;
	zon_host_register_app("korvath.weather-agent", Receiver::onLaunch, &agent);
	app_control_h h = nullptr;
	app_control_create(&h);
	app_control_set_app_id(h, "korvath.weather-agent");

	ASSERT_EQ(0, zon_host_fault_inject("app_control_send_launch_request", 1, APP_CONTROL_ERROR_LAUNCH_REJECTED));
	EXPECT_EQ(APP_CONTROL_ERROR_LAUNCH_REJECTED, app_control_send_launch_request(h, nullptr, nullptr));
	EXPECT_EQ(0u, zon_host_launch_count()) << "a failed call has no effect";

	// The platform's own copy of the request is not a call of app_control_clone().
	zon_host_fault_inject("app_control_clone", 1, APP_CONTROL_ERROR_OUT_OF_MEMORY);
	EXPECT_EQ(APP_CONTROL_ERROR_NONE, app_control_send_launch_request(h, nullptr, nullptr));
	zon_host_pump(100);
	ASSERT_EQ(1u, agent.launches.size());
	EXPECT_TRUE(agent.kept.empty()) << "the stand-in's own clone got the fault";
	app_control_destroy(h);

	zon_host_fault_inject("app_control_create", 1, APP_CONTROL_ERROR_OUT_OF_MEMORY);
	h = nullptr;
	EXPECT_EQ(APP_CONTROL_ERROR_OUT_OF_MEMORY, app_control_create(&h));
	EXPECT_EQ(nullptr, h);
}

TEST_F(HostAppControl, ResetUninstallsAndForgets)
{
	Receiver agent;
	zon_host_register_app("korvath.weather-agent", Receiver::onLaunch, &agent);
	app_control_h h = nullptr;
	app_control_create(&h);
	app_control_set_app_id(h, "korvath.weather-agent");
	app_control_send_launch_request(h, nullptr, nullptr);

	EXPECT_EQ(0, zon_host_reset()) << "installed applications are not leaks";
	EXPECT_EQ(0, zon_host_pump(100));
	EXPECT_TRUE(agent.launches.empty());
	EXPECT_EQ(0u, zon_host_launch_count());
	EXPECT_FALSE(zon_host_app_is_registered("korvath.weather-agent"));
	EXPECT_EQ(APP_CONTROL_ERROR_APP_NOT_FOUND, app_control_send_launch_request(h, nullptr, nullptr));
	app_control_destroy(h);
	EXPECT_EQ(-1, zon_host_register_app("", Receiver::onLaunch, &agent));
	EXPECT_EQ(-1, zon_host_register_app("x", nullptr, &agent));
}

} // namespace

/*
 * apps.cpp - the installed applications of the simulated device, the launches that reach them
 * and their replies, with the record of both that tests read through zon_host.h.
 *
 * Every application is an in-process stand-in registered by app id. A launch is delivered on
 * the main loop as a copy of the request, the way the device's launchpad hands an application
 * its app control; the caller's handle is free for reuse as soon as the send returns.
 */
#include "app_framework.h"

#include <map>

#include "dlog.h"

namespace zonhost {
namespace {

const char kTag[] = "CAPI_APPFW_APP_CONTROL";

struct App {
	LaunchHandler handler;
	std::function<void()> onRemoved;
	// Owner of the launches queued for this application; kept when the handler is replaced.
	Serial serial;
};
std::map<std::string, App> g_apps;

// A caller waiting for the reply to one launch.
struct PendingReply {
	app_control_reply_cb callback;
	void *userData;
	AppControlPtr request;
	Serial serial;
};
std::map<unsigned long long, PendingReply> g_pendingReplies;
unsigned long long g_nextRequestId = 1;

struct Pairs {
	std::vector<std::string> keys;
	std::vector<std::string> values;
	std::vector<bool> present;
	std::vector<const char *> keyPtrs;
	std::vector<const char *> valuePtrs;

	// Not copyable: the pointer views point into the strings.
	Pairs(const Pairs &) = delete;
	Pairs &operator=(const Pairs &) = delete;

	explicit Pairs(const bundle *data)
	{
		for (const auto &entry : data->entries) {
			keys.push_back(entry->key);
			bool isString = entry->type == BUNDLE_TYPE_STR;
			values.push_back(isString ? entry->value : std::string());
			present.push_back(isString);
		}
		for (size_t i = 0; i < keys.size(); ++i) {
			keyPtrs.push_back(keys[i].c_str());
			valuePtrs.push_back(present[i] ? values[i].c_str() : nullptr);
		}
	}

	const char *find(const char *key) const
	{
		for (size_t i = 0; key && i < keys.size(); ++i) {
			if (keys[i] == key)
				return valuePtrs[i];
		}
		return nullptr;
	}
};

struct LaunchRecord {
	std::string caller;
	std::optional<std::string> appId;
	std::optional<std::string> operation;
	Pairs extras;
	int result;
	bool replyRequested;
	bool fromAlarm;
};
std::vector<std::unique_ptr<LaunchRecord>> g_launches;

struct ReplyRecord {
	std::string appId;
	std::string caller;
	Pairs extras;
	int result;
	bool delivered;
};
std::vector<std::unique_ptr<ReplyRecord>> g_replies;

struct StandIn {
	void (*onLaunch)(app_control_h);
	ResetFn reset;
};
// By app id. Function-local: the stand-ins register from their own static initialisers.
std::map<std::string, StandIn> &standIns()
{
	static std::map<std::string, StandIn> registered;
	return registered;
}

const char *orNull(const std::optional<std::string> &s)
{
	return s ? s->c_str() : nullptr;
}

bool validAppId(const char *id)
{
	return id && *id;
}

void removeApp(std::map<std::string, App>::iterator it)
{
	cancelDeliveries(it->second.serial);
	std::function<void()> onRemoved = std::move(it->second.onRemoved);
	g_apps.erase(it);
	if (onRemoved)
		onRemoved();
}

} // namespace

void installApp(const std::string &appId, LaunchHandler handler, std::function<void()> onRemoved)
{
	auto inserted = g_apps.emplace(appId, App{});
	App &app = inserted.first->second;
	// A replaced stand-in takes over the launches already queued for the old one.
	if (inserted.second)
		app.serial = newSerial();
	app.handler = std::move(handler);
	app.onRemoved = std::move(onRemoved);
}

bool appInstalled(const std::string &appId)
{
	return g_apps.count(appId) != 0;
}

int launch(const app_control_s &request, const std::string &caller, app_control_reply_cb callback, void *userData,
		bool fromAlarm)
{
	auto target = request.appId ? g_apps.find(*request.appId) : g_apps.end();
	int result = target == g_apps.end() ? APP_CONTROL_ERROR_APP_NOT_FOUND : APP_CONTROL_ERROR_NONE;
	g_launches.push_back(std::unique_ptr<LaunchRecord>(new LaunchRecord{caller, request.appId, request.operation,
			Pairs(request.data), result, callback != nullptr, fromAlarm}));
	if (result != APP_CONTROL_ERROR_NONE)
		return result;

	AppControlPtr received = shareAppControl(request.clone());
	received->caller = caller;
	received->requestId = g_nextRequestId++;
	received->replyRequested = callback != nullptr;
	if (callback) {
		g_pendingReplies[received->requestId] =
				PendingReply{callback, userData, shareAppControl(request.clone()), newSerial()};
	}

	std::string appId = target->first;
	Serial serial = target->second.serial;
	deliverLater(serial, [appId, serial, received]() {
		auto app = g_apps.find(appId);
		if (app == g_apps.end() || app->second.serial != serial)
			return;
		// Copied: the handler may unregister or replace its application.
		LaunchHandler handler = app->second.handler;
		handler(received.get());
	});
	return APP_CONTROL_ERROR_NONE;
}

void reply(const app_control_s &replyHandle, const app_control_s &request, app_control_result_e result)
{
	auto pending = g_pendingReplies.find(request.requestId);
	bool delivered = pending != g_pendingReplies.end();
	g_replies.push_back(std::unique_ptr<ReplyRecord>(new ReplyRecord{
			request.appId ? *request.appId : std::string(), request.caller, Pairs(replyHandle.data), result,
			delivered}));
	if (!delivered) {
		platformLog(DLOG_INFO, kTag, "reply of %s to %s: nobody waits for it",
				request.appId ? request.appId->c_str() : "?", request.caller.c_str());
		return;
	}
	// One reply per launch, as on the device.
	PendingReply waiting = pending->second;
	g_pendingReplies.erase(pending);
	AppControlPtr replyCopy = shareAppControl(replyHandle.clone());
	deliverLater(waiting.serial, [waiting, replyCopy, result]() {
		waiting.callback(waiting.request.get(), replyCopy.get(), result, waiting.userData);
	});
}

bool registerStandIn(const char *name, const char *appId, void (*onLaunch)(app_control_h), ResetFn reset)
{
	standIns()[appId] = StandIn{onLaunch, reset};
	return registerModule(name, ResetRank::State, reset);
}

void installStandIn(const char *appId)
{
	const StandIn &standIn = standIns().at(appId);
	installApp(appId, standIn.onLaunch, [reset = standIn.reset] { reset(); });
}

// Installed applications are the device's state, not the application's: no live count.
ZON_HOST_MODULE("apps", ResetRank::State, [] {
	while (!g_apps.empty())
		removeApp(g_apps.begin());
	for (const auto &entry : g_pendingReplies)
		cancelDeliveries(entry.second.serial);
	g_pendingReplies.clear();
	g_launches.clear();
	g_replies.clear();
	return 0;
});

} // namespace zonhost

using namespace zonhost;

ZON_HOST_API int zon_host_register_app(const char *app_id, zon_host_app_launch_cb on_launch, void *user_data)
{
	if (!validAppId(app_id) || !on_launch)
		return -1;
	installApp(app_id, [on_launch, user_data](app_control_h handle) { on_launch(handle, user_data); });
	return 0;
}

ZON_HOST_API int zon_host_unregister_app(const char *app_id)
{
	if (!validAppId(app_id))
		return -1;
	auto it = g_apps.find(app_id);
	if (it == g_apps.end())
		return -1;
	removeApp(it);
	return 0;
}

ZON_HOST_API bool zon_host_app_is_registered(const char *app_id)
{
	return validAppId(app_id) && appInstalled(app_id);
}

ZON_HOST_API size_t zon_host_launch_count(void)
{
	return g_launches.size();
}

ZON_HOST_API bool zon_host_launch_get(size_t i, zon_host_launch *launch)
{
	if (i >= g_launches.size() || !launch)
		return false;
	const LaunchRecord &r = *g_launches[i];
	launch->caller = r.caller.c_str();
	launch->app_id = orNull(r.appId);
	launch->operation = orNull(r.operation);
	launch->extra_count = r.extras.keys.size();
	launch->extra_keys = r.extras.keyPtrs.data();
	launch->extra_values = r.extras.valuePtrs.data();
	launch->result = r.result;
	launch->reply_requested = r.replyRequested;
	launch->from_alarm = r.fromAlarm;
	return true;
}

ZON_HOST_API const char *zon_host_launch_extra(size_t i, const char *key)
{
	return i < g_launches.size() ? g_launches[i]->extras.find(key) : nullptr;
}

ZON_HOST_API void zon_host_launch_clear(void)
{
	g_launches.clear();
}

ZON_HOST_API size_t zon_host_reply_count(void)
{
	return g_replies.size();
}

ZON_HOST_API bool zon_host_reply_get(size_t i, zon_host_reply *reply)
{
	if (i >= g_replies.size() || !reply)
		return false;
	const ReplyRecord &r = *g_replies[i];
	reply->app_id = r.appId.c_str();
	reply->caller = r.caller.c_str();
	reply->result = r.result;
	reply->delivered = r.delivered;
	return true;
}

ZON_HOST_API const char *zon_host_reply_extra(size_t i, const char *key)
{
	return i < g_replies.size() ? g_replies[i]->extras.find(key) : nullptr;
}

ZON_HOST_API void zon_host_reply_clear(void)
{
	g_replies.clear();
}

/*
 * app_framework.h - what the application framework's sources (bundle, app control, apps,
 * message port, alarm and the shipped stand-in applications) share. Not installed.
 *
 * The stand-ins and the framework use each other through the C++ helpers here, never through
 * the public functions: those are fault points, and a fault a test injects into
 * "bundle_add_str" is meant for the application's own call, not for one the platform makes
 * on its behalf.
 */
#ifndef ZON_HOST_APP_FRAMEWORK_H
#define ZON_HOST_APP_FRAMEWORK_H

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app_control.h"
#include "bundle.h"
#include "host_internal.h"

struct keyval_t {
	std::string key;
	int type = BUNDLE_TYPE_STR;
	// The string (without its NUL) or the bytes.
	std::string value;
	std::vector<std::string> items;
	// Views handed out by bundle_get_str_array() and bundle_keyval_get_array_val(), which
	// answer pointers into the bundle.
	std::vector<const char *> itemPtrs;
	std::vector<size_t> itemSizes;

	void setItems(std::vector<std::string> list);
};

struct _bundle_t {
	// In the order of addition. Shared, so that an entry deleted from inside bundle_foreach()
	// stays alive until its callback returns.
	std::vector<std::shared_ptr<keyval_t>> entries;

	keyval_t *find(const char *key) const;
	// BUNDLE_ERROR_NONE, or BUNDLE_ERROR_KEY_EXISTS without effect.
	int add(std::shared_ptr<keyval_t> entry);
	bool remove(const char *key);
	// The string of a string entry, else nullptr.
	const char *str(const char *key) const;
	// Replaces what the key held.
	void putStr(const char *key, const char *value);
	bundle *clone() const;
};

struct app_control_s {
	bundle *data = nullptr;
	std::optional<std::string> operation;
	std::optional<std::string> uri;
	std::optional<std::string> mime;
	std::optional<std::string> appId;
	// Set on the copy an application receives: who sent it, and the launch it belongs to
	// (0 on a handle an application built itself).
	std::string caller;
	unsigned long long requestId = 0;
	bool replyRequested = false;

	app_control_s();
	~app_control_s();
	app_control_s(const app_control_s &) = delete;
	app_control_s &operator=(const app_control_s &) = delete;

	app_control_s *clone() const;
	// The string extra, or nullptr (also for an array).
	const char *extra(const char *key) const;
};

namespace zonhost {

using AppControlPtr = std::shared_ptr<app_control_s>;
using BundlePtr = std::shared_ptr<bundle>;
AppControlPtr shareAppControl(app_control_s *handle);
BundlePtr shareBundle(bundle *b);

// ---- installed stand-in applications and the record of launches (apps.cpp) ----

// What an application does with a launch request it receives; the handle is destroyed after.
using LaunchHandler = std::function<void(app_control_h)>;
// Installs (or replaces) the stand-in for app_id. `onRemoved` runs when it is unregistered or
// the host is reset, so a stand-in can drop the work it still has queued.
void installApp(const std::string &appId, LaunchHandler handler, std::function<void()> onRemoved = nullptr);
bool appInstalled(const std::string &appId);

// Sends `request` as a launch on behalf of `caller`: records it, then queues the target's
// handler on the main loop. APP_CONTROL_ERROR_NONE, or APP_CONTROL_ERROR_APP_NOT_FOUND.
int launch(const app_control_s &request, const std::string &caller, app_control_reply_cb callback, void *userData,
		bool fromAlarm);
// The reply path of app_control_reply_to_launch_request(), after its checks.
void reply(const app_control_s &reply, const app_control_s &request, app_control_result_e result);

// ---- message ports (message_port.cpp) ----

// Sends a copy of `message` to a port on behalf of `senderAppId`; senderPort may be null.
int sendPortMessage(const std::string &senderAppId, const char *senderPort, bool senderTrusted,
		const char *remoteAppId, const char *remotePort, bool trusted, bundle *message);

// ---- the shipped stand-in applications (src/standins) ----

// Registers the stand-in `appId` and, as the host module `name`, its reset: `reset` forgets
// what the stand-in holds (queued answers, counters) and runs when it is uninstalled too.
bool registerStandIn(const char *name, const char *appId, void (*onLaunch)(app_control_h), ResetFn reset);
// Installs (or replaces) the registered stand-in `appId`.
void installStandIn(const char *appId);

} // namespace zonhost

// Once per stand-in, at namespace scope of its own source:
//   ZON_HOST_STANDIN("companion", ZON_HOST_COMPANION_APP_ID, onLaunch, reset);
#define ZON_HOST_STANDIN(name, appId, onLaunch, reset) \
	static const bool zonHostStandIn_ [[maybe_unused]] = zonhost::registerStandIn(name, appId, onLaunch, reset)

#endif // ZON_HOST_APP_FRAMEWORK_H

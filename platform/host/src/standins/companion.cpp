/*
 * companion.cpp - the watch's side of the phone companion: the stand-in application
 * "korvath.zonvista-consumer", which the world clock launches when its city list changed, and
 * the settings that say whether the phone is connected.
 *
 * On the device the consumer forwards a change request to the phone, which then pulls the new
 * list. There is no phone here; the stand-in counts the requests and logs each under its own
 * tag, so a test or a user can see that the request arrived.
 */
#include "app_framework.h"

#include <cstring>

#include "dlog.h"
#include "vconf.h"

namespace zonhost {
namespace {

const char kTag[] = "ZONVISTA_CONSUMER";
const char kConnTypeKey[] = "memory/private/lnkp/conn_type";
const char kManagerConnectedKey[] = "memory/hmx/hmanager_connected";
const int kBluetoothBit = 0x1;

int g_changeRequests = 0;

void onLaunch(app_control_h request)
{
	const char *change = request->extra("change_request");
	if (change && strcmp(change, "watch_change") == 0) {
		++g_changeRequests;
		platformLog(DLOG_INFO, kTag, "watch city list changed (request %d from %s)", g_changeRequests,
				request->caller.c_str());
	} else {
		platformLog(DLOG_WARN, kTag, "launch from %s without a change request ignored", request->caller.c_str());
	}
}

int forget()
{
	g_changeRequests = 0;
	return 0;
}

} // namespace

ZON_HOST_STANDIN("companion", ZON_HOST_COMPANION_APP_ID, onLaunch, forget);

} // namespace zonhost

using namespace zonhost;

ZON_HOST_API int zon_host_install_companion(void)
{
	forget();
	installStandIn(ZON_HOST_COMPANION_APP_ID);
	return 0;
}

ZON_HOST_API int zon_host_companion_change_requests(void)
{
	return g_changeRequests;
}

ZON_HOST_API int zon_host_set_companion_connection(bool bluetooth, bool manager_connected)
{
	// Other transports share the connection type; only the Bluetooth bit is ours to change.
	int connType = 0;
	if (vconf_get_int(kConnTypeKey, &connType) != VCONF_OK)
		connType = 0;
	connType = bluetooth ? (connType | kBluetoothBit) : (connType & ~kBluetoothBit);
	if (vconf_set_int(kConnTypeKey, connType) != VCONF_OK)
		return -1;
	return vconf_set_bool(kManagerConnectedKey, manager_connected) == VCONF_OK ? 0 : -1;
}

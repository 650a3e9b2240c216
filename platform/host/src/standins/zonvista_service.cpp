/*
 * zonvista_service.cpp - the stand-in for the world clock's background service, as far as the
 * weather time-out needs it.
 *
 * The weather handler arms an alarm that launches the service when the agent stays silent;
 * the service answers by writing a non-zero value to the preference named by the widget
 * instance, which the handler watches. On the device the service is another process of the
 * same package and shares the preference store; here it is the running application's store.
 */
#include "app_framework.h"

#include <cstring>

#include "app_preference.h"
#include "dlog.h"

namespace {

const char kTag[] = "ZON_HOST";

void onLaunch(app_control_h request)
{
	const char *operation = request->extra("operation");
	if (!operation || strcmp(operation, "weather_agent_timeout") != 0) {
		zonhost::platformLog(DLOG_INFO, kTag, "zonvista service: nothing to do for operation %s",
				operation ? operation : "(none)");
		return;
	}
	const char *instance = request->extra("instance_id");
	if (!instance || !*instance) {
		zonhost::platformLog(DLOG_ERROR, kTag, "zonvista service: weather time-out without instance_id");
		return;
	}
	int ret = preference_set_int(instance, 1);
	if (ret != PREFERENCE_ERROR_NONE)
		zonhost::platformLog(DLOG_ERROR, kTag, "zonvista service: cannot signal %s (%d)", instance, ret);
}

} // namespace

// Keeps nothing of its own: what it writes is the application's preference.
ZON_HOST_STANDIN("zonvista_service", ZON_HOST_ZONVISTA_SERVICE_APP_ID, onLaunch, [] { return 0; });

ZON_HOST_API int zon_host_install_zonvista_service(void)
{
	zonhost::installStandIn(ZON_HOST_ZONVISTA_SERVICE_APP_ID);
	return 0;
}

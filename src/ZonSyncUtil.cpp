#define LOG_TAG "WAPP"

#include "ZonSyncUtil.h"

#include <stdlib.h>
#include <string.h>

#include <app_control.h>
#include <vconf.h>

#include "ZonCommonDefine.h"

#define ZON_VCONF_LNKP_CONNECTIVITY_TYPE "memory/private/lnkp/conn_type"
#define ZON_VCONF_HMX_HMANAGER_CONNECTED "memory/hmx/hmanager_connected"
#define ZON_VCONF_HMX_HOST_VENDOR "db/hmx/host_status/vendor"
#define ZON_VCONF_SETUP_WIZARD_STANDALONE "db/setup_wizard/standalone"

// Bit of the accessory connection type that stands for Bluetooth.
#define ZON_LNKP_CONNECTIVITY_BT 0x1

#define ZON_COMPANION_APP_ID "korvath.zonvista-consumer"
#define ZON_CHANGE_REQUEST_KEY "change_request"
#define ZON_CHANGE_REQUEST_WATCH "watch_change"
#define ZON_OUR_COMPANY_VENDOR "korvath"

bool ZonSyncUtil::isBtConnected()
{
	int connType = 0;
	if (vconf_get_int(ZON_VCONF_LNKP_CONNECTIVITY_TYPE, &connType) != VCONF_OK) {
		WERROR("vconf_get_int(VCONFKEY_LNKP_CONNECTIVITY_TYPE FAILED");
		return false;
	}
	if (!(connType & ZON_LNKP_CONNECTIVITY_BT))
		return false;

	// Bluetooth alone is not enough: the phone's companion manager must be there to listen.
	int managerConnected = 0;
	if (vconf_get_bool(ZON_VCONF_HMX_HMANAGER_CONNECTED, &managerConnected) != VCONF_OK) {
		WERROR("vconf_get_int(VCONFKEY_HMX_HMANAGER_CONNECTED FAILED");
		return false;
	}
	return managerConnected != 0;
}

void ZonSyncUtil::requestWatchUpdate()
{
	if (!isBtConnected())
		return;

	app_control_h appControl = nullptr;
	int ret = app_control_create(&appControl);
	if (ret != APP_CONTROL_ERROR_NONE) {
		WERROR("app_control_create failed(%d)", ret);
		return;
	}

	ret = app_control_set_app_id(appControl, ZON_COMPANION_APP_ID);
	if (ret != APP_CONTROL_ERROR_NONE)
		WERROR("app_control_set_app_id failed(%d)", ret);
	ret = app_control_add_extra_data(appControl, ZON_CHANGE_REQUEST_KEY, ZON_CHANGE_REQUEST_WATCH);
	if (ret != APP_CONTROL_ERROR_NONE)
		WERROR("app_control_add_extra_data failed(%d)", ret);
	ret = app_control_send_launch_request(appControl, nullptr, nullptr);
	if (ret != APP_CONTROL_ERROR_NONE)
		WERROR("app_control_send_launch_request failed(%d)", ret);

	app_control_destroy(appControl);
}

bool ZonSyncUtil::_isConnectedWithOurCompany()
{
	char* vendor = vconf_get_str(ZON_VCONF_HMX_HOST_VENDOR);
	if (!vendor)
		return false;
	bool ours = strcmp(vendor, ZON_OUR_COMPANY_VENDOR) == 0;
	free(vendor);
	return ours;
}

bool ZonSyncUtil::_isWPCMode()
{
	int standalone = 0;
	int ret = vconf_get_int(ZON_VCONF_SETUP_WIZARD_STANDALONE, &standalone);
	WINFO("ret[%d]", ret);
	if (ret != VCONF_OK)
		return false;
	WINFO("zonvistaWPC = %d", standalone);
	return standalone != 0;
}

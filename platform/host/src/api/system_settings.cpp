/*
 * system_settings.cpp - the user's system settings over vconf, where the device keeps them.
 */
#include "host_internal.h"

#include "dlog.h"
#include "system_settings.h"
#include "vconf.h"

namespace {

const char kTag[] = "SYSTEM_SETTINGS";

bool isBoolKey(system_settings_key_e key)
{
	switch (key) {
	case SYSTEM_SETTINGS_KEY_MOTION_ACTIVATION:
	case SYSTEM_SETTINGS_KEY_USB_DEBUGGING_ENABLED:
	case SYSTEM_SETTINGS_KEY_3G_DATA_NETWORK_ENABLED:
	case SYSTEM_SETTINGS_KEY_LOCALE_TIMEFORMAT_24HOUR:
	case SYSTEM_SETTINGS_KEY_SOUND_LOCK:
	case SYSTEM_SETTINGS_KEY_SOUND_SILENT_MODE:
	case SYSTEM_SETTINGS_KEY_SOUND_TOUCH:
	case SYSTEM_SETTINGS_KEY_DISPLAY_SCREEN_ROTATION_AUTO:
	case SYSTEM_SETTINGS_KEY_MOTION_ENABLED:
	case SYSTEM_SETTINGS_KEY_NETWORK_WIFI_NOTIFICATION:
	case SYSTEM_SETTINGS_KEY_NETWORK_FLIGHT_MODE:
		return true;
	default:
		return false;
	}
}

// INVALID_PARAMETER for a key that is not a bool setting, NOT_SUPPORTED for one the host does
// not keep, NONE for the 24-hour clock.
int checkBoolKey(system_settings_key_e key)
{
	if (!isBoolKey(key)) {
		zonhost::platformLog(DLOG_ERROR, kTag, "key %d is not a bool setting", (int)key);
		return SYSTEM_SETTINGS_ERROR_INVALID_PARAMETER;
	}
	if (key != SYSTEM_SETTINGS_KEY_LOCALE_TIMEFORMAT_24HOUR) {
		zonhost::platformLog(DLOG_ERROR, kTag, "key %d is not supported", (int)key);
		return SYSTEM_SETTINGS_ERROR_NOT_SUPPORTED;
	}
	return SYSTEM_SETTINGS_ERROR_NONE;
}

}

ZON_HOST_FAULT_POINTS("system_settings_get_value_bool", "system_settings_set_value_bool");

ZON_HOST_API int system_settings_get_value_bool(system_settings_key_e key, bool *value)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	if (!value)
		return SYSTEM_SETTINGS_ERROR_INVALID_PARAMETER;
	int ret = checkBoolKey(key);
	if (ret != SYSTEM_SETTINGS_ERROR_NONE)
		return ret;

	int format = VCONFKEY_TIME_FORMAT_UNKNOWN;
	if (vconf_get_int(VCONFKEY_REGIONFORMAT_TIME1224, &format) != VCONF_OK) {
		zonhost::platformLog(DLOG_ERROR, kTag, "vconf_get_int(%s) failed", VCONFKEY_REGIONFORMAT_TIME1224);
		return SYSTEM_SETTINGS_ERROR_IO_ERROR;
	}
	*value = format == VCONFKEY_TIME_FORMAT_24;
	return SYSTEM_SETTINGS_ERROR_NONE;
}

ZON_HOST_API int system_settings_set_value_bool(system_settings_key_e key, bool value)
{
	ZON_HOST_FAULT_RETURN_ERROR();
	int ret = checkBoolKey(key);
	if (ret != SYSTEM_SETTINGS_ERROR_NONE)
		return ret;

	if (vconf_set_int(VCONFKEY_REGIONFORMAT_TIME1224, value ? VCONFKEY_TIME_FORMAT_24 : VCONFKEY_TIME_FORMAT_12)
		!= VCONF_OK) {
		zonhost::platformLog(DLOG_ERROR, kTag, "vconf_set_int(%s) failed", VCONFKEY_REGIONFORMAT_TIME1224);
		return SYSTEM_SETTINGS_ERROR_IO_ERROR;
	}
	return SYSTEM_SETTINGS_ERROR_NONE;
}

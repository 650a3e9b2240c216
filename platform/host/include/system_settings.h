/*
 * system_settings.h - the user's system settings (clock format, locale, sounds, display...).
 *
 * Every setting has a fixed value type; asking for it with a getter of another type fails with
 * SYSTEM_SETTINGS_ERROR_INVALID_PARAMETER. Settings the device does not have fail with
 * SYSTEM_SETTINGS_ERROR_NOT_SUPPORTED.
 *
 * On the host only the 24-hour clock is kept (SYSTEM_SETTINGS_KEY_LOCALE_TIMEFORMAT_24HOUR,
 * bool). It lives where the device keeps it, in vconf as VCONFKEY_REGIONFORMAT_TIME1224
 * (VCONFKEY_TIME_FORMAT_12 or VCONFKEY_TIME_FORMAT_24), so it persists in the device root's
 * vconf.ini and vconf change callbacks on that key see it change. A device where it was never
 * set shows its region format's clock (ICU's preferred hour for the region), as a device set up
 * in that region does. Every other key answers SYSTEM_SETTINGS_ERROR_NOT_SUPPORTED.
 *
 * Threading: like vconf, from the thread of GLib's default main context.
 *
 * Example:
 *   bool is24 = false;
 *   if (system_settings_get_value_bool(SYSTEM_SETTINGS_KEY_LOCALE_TIMEFORMAT_24HOUR, &is24)
 *           == SYSTEM_SETTINGS_ERROR_NONE && is24)
 *       use_24_hour_clock();
 */
#ifndef __TIZEN_SYSTEM_SETTING_H__
#define __TIZEN_SYSTEM_SETTING_H__

#include <stdbool.h>
#include <tizen_error.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
	SYSTEM_SETTINGS_ERROR_NONE = TIZEN_ERROR_NONE,
	SYSTEM_SETTINGS_ERROR_INVALID_PARAMETER = TIZEN_ERROR_INVALID_PARAMETER,
	SYSTEM_SETTINGS_ERROR_OUT_OF_MEMORY = TIZEN_ERROR_OUT_OF_MEMORY,
	SYSTEM_SETTINGS_ERROR_IO_ERROR = TIZEN_ERROR_IO_ERROR,
	SYSTEM_SETTINGS_ERROR_PERMISSION_DENIED = TIZEN_ERROR_PERMISSION_DENIED,
	SYSTEM_SETTINGS_ERROR_CALL_UNSUPPORTED_API = TIZEN_ERROR_SYSTEM_SETTING | 0x01,
	SYSTEM_SETTINGS_ERROR_NOT_SUPPORTED = TIZEN_ERROR_NOT_SUPPORTED,
} system_settings_error_e;

typedef enum {
	SYSTEM_SETTINGS_KEY_INCOMING_CALL_RINGTONE,      /* string */
	SYSTEM_SETTINGS_KEY_WALLPAPER_HOME_SCREEN,       /* string */
	SYSTEM_SETTINGS_KEY_WALLPAPER_LOCK_SCREEN,       /* string */
	SYSTEM_SETTINGS_KEY_FONT_SIZE,                   /* int */
	SYSTEM_SETTINGS_KEY_FONT_TYPE,                   /* string */
	SYSTEM_SETTINGS_KEY_MOTION_ACTIVATION,           /* bool */
	SYSTEM_SETTINGS_KEY_EMAIL_ALERT_RINGTONE,        /* string */
	SYSTEM_SETTINGS_KEY_USB_DEBUGGING_ENABLED,       /* bool */
	SYSTEM_SETTINGS_KEY_3G_DATA_NETWORK_ENABLED,     /* bool */
	/* The platform numbering skips one value here. */
	SYSTEM_SETTINGS_KEY_LOCKSCREEN_APP = SYSTEM_SETTINGS_KEY_3G_DATA_NETWORK_ENABLED + 2, /* string */
	SYSTEM_SETTINGS_KEY_DEFAULT_FONT_TYPE,           /* string */
	SYSTEM_SETTINGS_KEY_LOCALE_COUNTRY,              /* string */
	SYSTEM_SETTINGS_KEY_LOCALE_LANGUAGE,             /* string */
	SYSTEM_SETTINGS_KEY_LOCALE_TIMEFORMAT_24HOUR,    /* bool */
	SYSTEM_SETTINGS_KEY_LOCALE_TIMEZONE,             /* string */
	SYSTEM_SETTINGS_KEY_TIME_CHANGED,                /* int */
	SYSTEM_SETTINGS_KEY_SOUND_LOCK,                  /* bool */
	SYSTEM_SETTINGS_KEY_SOUND_SILENT_MODE,           /* bool */
	SYSTEM_SETTINGS_KEY_SOUND_TOUCH,                 /* bool */
	SYSTEM_SETTINGS_KEY_DISPLAY_SCREEN_ROTATION_AUTO, /* bool */
	SYSTEM_SETTINGS_KEY_DEVICE_NAME,                 /* string */
	SYSTEM_SETTINGS_KEY_MOTION_ENABLED,              /* bool */
	SYSTEM_SETTINGS_KEY_NETWORK_WIFI_NOTIFICATION,   /* bool */
	SYSTEM_SETTINGS_KEY_NETWORK_FLIGHT_MODE,         /* bool */
	SYSTEM_SETTINGS_KEY_SCREEN_BACKLIGHT_TIME,       /* int */
	SYSTEM_SETTINGS_KEY_SOUND_NOTIFICATION,          /* string */
	SYSTEM_SETTINGS_KEY_SOUND_NOTIFICATION_REPETITION_PERIOD, /* int */
	SYSTEM_SETTINGS_KEY_LOCK_STATE,                  /* int */
	SYSTEM_SETTINGS_KEY_MAX,
} system_settings_key_e;

/* Reads a bool setting. The value is left untouched on failure. */
int system_settings_get_value_bool(system_settings_key_e key, bool *value);
/* Writes a bool setting. */
int system_settings_set_value_bool(system_settings_key_e key, bool value);

#ifdef __cplusplus
}
#endif

#endif /* __TIZEN_SYSTEM_SETTING_H__ */

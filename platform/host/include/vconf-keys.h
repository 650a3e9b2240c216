/*
 * vconf-keys.h - names of the platform settings read by applications.
 *
 * Prefixes: "db/" settings persist, "memory/" settings live until the device restarts,
 * "file/" settings are kept in their own files. (On the host all of them persist in
 * vconf.ini under the device root.)
 */
#ifndef __VCONF_KEYS_H__
#define __VCONF_KEYS_H__

/* Region format, e.g. "en_US.UTF-8". */
#define VCONFKEY_REGIONFORMAT "db/menu_widget/regionformat"
/* Display language, e.g. "en_US.UTF-8". */
#define VCONFKEY_LANGSET "db/menu_widget/language"

/* 12- or 24-hour clock, int: VCONFKEY_TIME_FORMAT_12 or VCONFKEY_TIME_FORMAT_24. */
#define VCONFKEY_REGIONFORMAT_TIME1224 "db/menu_widget/regionformat_time1224"
enum {
	VCONFKEY_TIME_FORMAT_UNKNOWN = 0,
	VCONFKEY_TIME_FORMAT_12,
	VCONFKEY_TIME_FORMAT_24,
};

#define VCONFKEY_SETAPPL_PREFIX "db/setting"
/* The device's Olson time-zone id, e.g. "Asia/Seoul". */
#define VCONFKEY_SETAPPL_TIMEZONE_ID VCONFKEY_SETAPPL_PREFIX "/timezone_id"
#define VCONFKEY_SETAPPL_TIMEZONE_INT VCONFKEY_SETAPPL_PREFIX "/timezone"
#define VCONFKEY_SETAPPL_AUTOMATIC_TIME_UPDATE_BOOL VCONFKEY_SETAPPL_PREFIX "/automatic_time_update"
/* Screen reader on (bool). */
#define VCONFKEY_SETAPPL_ACCESSIBILITY_TTS VCONFKEY_SETAPPL_PREFIX "/accessibility/tts"
#define VCONFKEY_SETAPPL_ACCESSIBILITY_FONT_SIZE VCONFKEY_SETAPPL_PREFIX "/accessibility/font_size"
#define VCONFKEY_SETAPPL_ACCESSIBILITY_FONT_NAME VCONFKEY_SETAPPL_PREFIX "/accessibility/font_name"

/* Changed whenever the system time is set (int, the new time). */
#define VCONFKEY_SYSTEM_TIME_CHANGED "memory/system/timechanged"

#endif /* __VCONF_KEYS_H__ */

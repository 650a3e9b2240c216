/**
 * @file
 * zon_host_services.h - device services behind the device and environment queries, the world map and
 * usage logging: installed packages, the changeable theme, the usage-survey log and the bezel.
 * Packages and features persist under the device root; the theme's tables are process state
 * (see below).
 *
 * Ownership: answered strings belong to the host, valid as each function says.
 *
 * Threading: like the platform APIs it stands in for, everything here runs on the thread of
 * GLib's default main context only.
 *
 * Example:
 *   zon_host_package_uninstall(ZON_HOST_WEATHER_PACKAGE_ID);   // the weather app is gone
 *   zon_host_set_bezel(ZON_HOST_BEZEL_VIRTUAL);
 */
#ifndef ZON_HOST_ZON_HOST_SERVICES_H
#define ZON_HOST_ZON_HOST_SERVICES_H

#include <stdbool.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/** The weather application whose presence the world clock checks. */
#define ZON_HOST_WEATHER_PACKAGE_ID "korvath.weather"

/**
 * Installed packages, as package_manager_get_package_info() answers them; kept in
 * ROOT/packages.ini (one group per package: version, label, preload). A new device has
 * ZON_HOST_DEFAULT_APP_ID and ZON_HOST_WEATHER_PACKAGE_ID, both preloaded.
 * zon_host_package_install() adds or replaces a package (version NULL or "" is "1.0.0");
 * zon_host_package_uninstall() removes one, and is no error when it is not installed.
 * Both return 0, or -1 for an invalid id (empty, or other than letters, digits, '.', '_', '-')
 * or a registry that can't be read or written.
 */
/** @{ */
int zon_host_package_install(const char *package_id, const char *version, bool preload);
int zon_host_package_uninstall(const char *package_id);
bool zon_host_package_is_installed(const char *package_id);
/** @} */
/** Package information handles given out and not yet destroyed (package_info_destroy());
 * process state, kept across zon_host_reset(). */
size_t zon_host_package_info_live(void);

/**
 * The changeable theme (uxt_theme.h, which documents the table files) as this process set it.
 * It is process state, like the toolkit's theme: zon_host_reset() leaves it alone, since the
 * application still holds its tables.
 * zon_host_theme_color() and zon_host_theme_font() look an id up in the applied table of their
 * kind: false when none is applied or it has no such id (out-parameters may be NULL; the style
 * string lives as long as the table). zon_host_theme_table_count() counts the loaded tables of
 * both kinds, applied or not. zon_host_theme_applied_path() is the file of the applied font
 * (font = true) or colour table, NULL when none is applied; valid while that table is loaded.
 */
/** @{ */
bool zon_host_theme_changeable_ui_enabled(void);
int zon_host_theme_style(void);
int zon_host_theme_table_count(void);
const char *zon_host_theme_applied_path(bool font);
bool zon_host_theme_color(const char *id, int *r, int *g, int *b, int *a);
bool zon_host_theme_font(const char *id, const char **style, int *size);
/** @} */

/** Path of the usage-survey log, ROOT/usage_survey.log (format in korvath_log_manager.h);
 * the file appears with the first record. Valid until the next call or zon_host_reset(). */
const char *zon_host_survey_log_path(void);

/**
 * The bezel: the platform features of a rotating bezel and of a virtual (touch) rotating
 * bezel, and the user's setting that turns a virtual bezel's rotary input on (bool; a
 * physical bezel ignores it). A device that never set the features has no bezel.
 * zon_host_set_bezel() sets both features in both of the spellings the platform accepts
 * (with and without "http://"); returns 0, or -1 for an unknown kind or a store error.
 */
/** @{ */
#define ZON_HOST_FEATURE_ROTATING_BEZEL "http://tizen.org/feature/input.rotating_bezel"
#define ZON_HOST_FEATURE_VIRTUAL_ROTATING_BEZEL "http://tizen.org/feature/input.rotating_bezel.virtual"
#define ZON_HOST_VCONF_ROTARY_EVENT_ENABLED "db/setting/rotary_event_enabled"
/** @} */

/** The bezel a device has. */
typedef enum {
	ZON_HOST_BEZEL_NONE,
	ZON_HOST_BEZEL_PHYSICAL,
	ZON_HOST_BEZEL_VIRTUAL,
} zon_host_bezel_e;

/** Gives the device `bezel` (see above). */
int zon_host_set_bezel(zon_host_bezel_e bezel);

#ifdef __cplusplus
}
#endif

#endif /* ZON_HOST_ZON_HOST_SERVICES_H */

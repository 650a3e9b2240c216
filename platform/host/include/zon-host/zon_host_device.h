/**
 * @file
 * zon_host_device.h - the simulated device itself: its root directory, resetting it between
 * tests, the application the process acts as, the main loop, platform features and settings.
 *
 * The simulated device lives in one directory, the device root (ROOT below):
 *   $ZON_HOST_ROOT, else $XDG_DATA_HOME/zon-host, else $HOME/.local/share/zon-host.
 * Below it:
 *   apps/APP_ID/data/            app_get_data_path() (preferences in data/.preference)
 *   apps/APP_ID/cache/           app_get_cache_path()
 *   apps/APP_ID/res/             app_get_resource_path()
 *   apps/APP_ID/shared/data/     app_get_shared_data_path()
 *   apps/APP_ID/shared/res/      app_get_shared_resource_path()
 *   apps/APP_ID/shared/trusted/  app_get_shared_trusted_path()
 *   vconf.ini                      the vconf settings store
 *   system_info.ini                platform and custom features (read-only for the platform API)
 *   fs/DEVICE_PATH      device paths such as /tmp/.zonvista_ldu (zon_platform_path())
 *   fs/opt/etc/localtime           the device's local-time link; a new device (one without
 *                                  fs/opt/etc) gets it pointing at the desktop's zone file
 *                                  (TZ when the library was loaded, else /etc/localtime)
 * Every store is a GLib key file, readable and editable by hand, with one group per value type
 * ([int], [double], [bool], [string]).
 *
 * Ownership: strings answered here belong to the host (see each function for how long they
 * stay valid); strings passed in are copied.
 *
 * Threading: like the platform APIs it stands in for, everything here runs on the thread of
 * GLib's default main context only.
 *
 * Example (a test fixture):
 *   setenv("ZON_HOST_ROOT", tmpdir, 1);
 *   zon_host_reset();                         // a new device under tmpdir
 *   zon_host_set_feature_bool("http://tizen.org/feature/input.rotating_bezel", true);
 *   preference_set_int("k", 1);
 *   zon_host_pump(100);                       // delivers the change callbacks
 *   EXPECT_EQ(0, zon_host_reset());           // no registration left behind
 */
#ifndef ZON_HOST_ZON_HOST_DEVICE_H
#define ZON_HOST_ZON_HOST_DEVICE_H

#include <stdbool.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/** The application id every platform call acts as when nothing else was set. */
#define ZON_HOST_DEFAULT_APP_ID "korvath.zonvista"

/**
 * Forgets all in-memory host state: re-reads the device root from the environment, drops
 * registered change callbacks, pending main-loop deliveries, injected faults and captured log
 * lines, and sets the application id back to ZON_HOST_DEFAULT_APP_ID. Files under the root are
 * kept (a new root is a new device). Returns how many callback registrations were still live,
 * so a test fixture can assert that nothing leaked.
 * Log capture is switched off, as in a process that just started.
 */
int zon_host_reset(void);

/** The host's modules with per-device state, in the order zon_host_reset() resets them
 * ("delivery" first, "device" last); NULL past the end. For a test that checks that every
 * module is reset. */
/** @{ */
size_t zon_host_module_count(void);
const char *zon_host_module_name(size_t i);
/** @} */

/** Absolute path of the device root, without a trailing '/'. Owned by the host; valid until the
 * next zon_host_reset(). The directory is created on first use. */
const char *zon_host_root(void);

/** Sets the application id that app paths and preferences belong to (the process "is" that
 * application). The string is copied. NULL means ZON_HOST_DEFAULT_APP_ID; an id that could
 * leave apps/ (empty, containing '/', "." or "..") is refused with an error log line.
 * Preference change callbacks stay with the application that registered them. */
void zon_host_set_app_id(const char *app_id);
/** The application id the process acts as now; owned by the host. */
const char *zon_host_app_id(void);

/**
 * Dispatches pending main-loop work (change callbacks, timers that are due) on GLib's default
 * context without blocking, until nothing is pending or max_dispatches iterations have run.
 * Returns the number of iterations that dispatched something. Never sleeps.
 */
int zon_host_pump(int max_dispatches);

/**
 * Platform features answered by system_info_get_platform_bool() and
 * system_info_get_custom_bool(). Stored in ROOT/system_info.ini so that they persist like a
 * device's configuration. A key that was never set answers SYSTEM_INFO_ERROR_INVALID_PARAMETER,
 * as the device does for an unknown key.
 */
/** @{ */
int zon_host_set_feature_bool(const char *key, bool value);
int zon_host_unset_feature(const char *key);
/** @} */
/** Added: the other value types, for system_info_get_*_int/_double/_string(). Asking for a key
 * with another type than it was set with fails with SYSTEM_INFO_ERROR_INVALID_PARAMETER.
 * All zon_host_*feature*() functions return 0, or -1 for a NULL/empty key or value or a store
 * that can't be read or written; unsetting a key that is not set is not an error. */
/** @{ */
int zon_host_set_feature_int(const char *key, int value);
int zon_host_set_feature_double(const char *key, double value);
int zon_host_set_feature_string(const char *key, const char *value);
/** @} */

/**
 * Added: takes a vconf key back to "never set" (vconf itself has no such call for
 * applications): reads fail again, or answer the desktop default for the keys that have one.
 * No change callback is called. Returns 0 (also when the key was not set), or -1 for an
 * invalid key or a store that can't be read or written.
 */
int zon_host_vconf_unset(const char *key);

#ifdef __cplusplus
}
#endif

#endif /* ZON_HOST_ZON_HOST_DEVICE_H */

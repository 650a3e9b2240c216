/*
 * zon_host.h - control API of the host port.
 *
 * zon-host implements the watch platform's C APIs (dlog, app_common, app_preference, vconf,
 * system_info, ...) on desktop Linux. This header is what tests and zonclock use to play the
 * rest of the device: choose the device root, reset state between tests, configure platform
 * features, pump the main loop, capture log lines and inject faults.
 *
 * The simulated device lives in one directory, the device root:
 *   $ZON_HOST_ROOT, else $XDG_DATA_HOME/zon-host, else $HOME/.local/share/zon-host.
 * Below it:
 *   apps/<app id>/data/            app_get_data_path() (preferences in data/.preference)
 *   apps/<app id>/cache/           app_get_cache_path()
 *   apps/<app id>/res/             app_get_resource_path()
 *   apps/<app id>/shared/data/     app_get_shared_data_path()
 *   apps/<app id>/shared/res/      app_get_shared_resource_path()
 *   apps/<app id>/shared/trusted/  app_get_shared_trusted_path()
 *   vconf.ini                      the vconf settings store
 *   system_info.ini                platform and custom features (read-only for the platform API)
 *   fs/<absolute device path>      device paths such as /tmp/.zonvista_ldu (zon_platform_path())
 *   fs/opt/etc/localtime           the device's local-time link; a new device (one without
 *                                  fs/opt/etc) gets it pointing at the desktop's zone file
 *                                  (TZ when the library was loaded, else /etc/localtime)
 * Every store is a GLib key file, readable and editable by hand, with one group per value type
 * ([int], [double], [bool], [string]).
 *
 * Threading: like the platform APIs it stands in for, everything here runs on the thread of
 * GLib's default main context only.
 *
 * Example (a test):
 *   setenv("ZON_HOST_ROOT", tmpdir, 1);
 *   zon_host_reset();
 *   zon_host_log_capture(true);
 *   preference_set_int("k", 1);
 *   zon_host_pump(100);                       // delivers the change callbacks
 *   zon_host_fault_inject("preference_set_int", 1, PREFERENCE_ERROR_IO_ERROR);
 *   preference_set_int("k", 2);               // fails once with that error
 */
#ifndef ZON_HOST_ZON_HOST_H
#define ZON_HOST_ZON_HOST_H

#include <stdbool.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The application id every platform call acts as when nothing else was set. */
#define ZON_HOST_DEFAULT_APP_ID "korvath.zonvista"

/*
 * Forgets all in-memory host state: re-reads the device root from the environment, drops
 * registered change callbacks, pending main-loop deliveries, injected faults and captured log
 * lines, and sets the application id back to ZON_HOST_DEFAULT_APP_ID. Files under the root are
 * kept (a new root is a new device). Returns how many callback registrations were still live,
 * so a test fixture can assert that nothing leaked.
 * Log capture is switched off, as in a process that just started.
 */
int zon_host_reset(void);

/* Absolute path of the device root, without a trailing '/'. Owned by the host; valid until the
 * next zon_host_reset(). The directory is created on first use. */
const char *zon_host_root(void);

/* Sets the application id that app paths and preferences belong to (the process "is" that
 * application). The string is copied. NULL means ZON_HOST_DEFAULT_APP_ID; an id that could
 * leave apps/ (empty, containing '/', "." or "..") is refused with an error log line.
 * Preference change callbacks stay with the application that registered them. */
void zon_host_set_app_id(const char *app_id);
const char *zon_host_app_id(void);

/*
 * Dispatches pending main-loop work (change callbacks, timers that are due) on GLib's default
 * context without blocking, until nothing is pending or max_dispatches iterations have run.
 * Returns the number of iterations that dispatched something. Never sleeps.
 */
int zon_host_pump(int max_dispatches);

/*
 * Platform features answered by system_info_get_platform_bool() and
 * system_info_get_custom_bool(). Stored in <root>/system_info.ini so that they persist like a
 * device's configuration. A key that was never set answers SYSTEM_INFO_ERROR_INVALID_PARAMETER,
 * as the device does for an unknown key.
 */
int zon_host_set_feature_bool(const char *key, bool value);
int zon_host_unset_feature(const char *key);
/* Added: the other value types, for system_info_get_*_int/_double/_string(). Asking for a key
 * with another type than it was set with fails with SYSTEM_INFO_ERROR_INVALID_PARAMETER.
 * All zon_host_*feature*() functions return 0, or -1 for a NULL/empty key or value or a store
 * that can't be read or written; unsetting a key that is not set is not an error. */
int zon_host_set_feature_int(const char *key, int value);
int zon_host_set_feature_double(const char *key, double value);
int zon_host_set_feature_string(const char *key, const char *value);

/*
 * Added: takes a vconf key back to "never set" (vconf itself has no such call for
 * applications): reads fail again, or answer the desktop default for the keys that have one.
 * No change callback is called. Returns 0 (also when the key was not set), or -1 for an
 * invalid key or a store that can't be read or written.
 */
int zon_host_vconf_unset(const char *key);

/*
 * Log capture. While capture is on, every dlog line (any priority) is kept in memory besides
 * being written as usual. Starting a capture clears what was captured before.
 * zon_host_log_line() returns the formatted message (without tag and priority) of line i, and
 * its priority and tag through the optional out-parameters; NULL when i is out of range.
 * The strings stay valid until the captured lines are cleared (zon_host_log_clear(),
 * zon_host_log_capture(true), zon_host_reset()).
 */
void zon_host_log_capture(bool on);
size_t zon_host_log_count(void);
const char *zon_host_log_line(size_t i, int *priority, const char **tag);
bool zon_host_log_contains(const char *needle);   /* any captured message contains needle */
size_t zon_host_log_count_matching(const char *needle);
void zon_host_log_clear(void);

/*
 * Fault injection, in the manner of a VFS test shim: the nth call from now (1 = the next one)
 * of the named platform function fails with `error` and has no effect; later calls work again.
 * `function` is the C name ("preference_set_int", "vconf_get_int", "app_get_data_path", ...).
 * nth = 0 clears the fault of that function. Returns 0, or -1 for a function the host does not
 * know (or a negative nth). zon_host_reset() clears every fault.
 * Functions that answer a pointer (app_get_data_path, vconf_get_str, zon_platform_path, ...)
 * answer NULL instead and leave the error in get_last_result(). Every platform function of the
 * host is a fault point, the vconf_keynode_get_*() accessors and zon_platform_path() included;
 * get_last_result(), set_last_result(), get_error_message() and vconf_get_ext_errno() are not.
 */
int zon_host_fault_inject(const char *function, int nth, int error);

/* For the host port's own implementations: returns true and sets *error when the call of
 * `function` being made now must fail. Counts the call. (Each source of the host declares its
 * fault points with ZON_HOST_FAULT_POINTS() of src/host_internal.h, which is what makes
 * zon_host_fault_inject() know them; an undeclared one logs an error when first reached.) */
bool zon_host_fault_check(const char *function, int *error);

#ifdef __cplusplus
}
#endif

#endif /* ZON_HOST_ZON_HOST_H */

/**
 * @file
 * zon_host.h - control API of the host port.
 *
 * zon-host implements the watch platform's C APIs (dlog, app_common, app_preference, vconf,
 * system_info, ...) on desktop Linux. This header is what tests and zonclock use to play the
 * rest of the device: choose the device root, reset state between tests, configure platform
 * features, pump the main loop, capture log lines and inject faults.
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
size_t zon_host_module_count(void);
const char *zon_host_module_name(size_t i);

/** Absolute path of the device root, without a trailing '/'. Owned by the host; valid until the
 * next zon_host_reset(). The directory is created on first use. */
const char *zon_host_root(void);

/**
 * The device's own time zone. The link fs/opt/etc/localtime under the root is the one place it
 * lives: from the first use of a device (and after every zon_host_reset()), it is what the C
 * library and ICU take as local, as /opt/etc/localtime is on the watch. The desktop's TZ only
 * chooses the zone of a new device; it is removed from the environment when the device opens.
 * Programs linked with zon-host have tzset(), localtime() and mktime() wrapped so that an unset
 * TZ means the device's zone, not /etc/localtime, while TZ stays unset.
 *
 * zon_host_set_device_zone() sets it, all together: the link, the vconf key
 * VCONFKEY_SETAPPL_TIMEZONE_ID (its change callbacks fire) and the local zone of the C library
 * and ICU. `zone` is an Olson id with a file under /usr/share/zoneinfo ("Asia/Kolkata");
 * anything else is refused with an error log line. Returns 0, or -1 when nothing or not all
 * could be set.
 */
int zon_host_set_device_zone(const char *zone);

/** The zone id the device's link names ("Europe/Berlin"); "" when the device has no link (the
 * C library and ICU then take UTC). Valid until the next call. */
const char *zon_host_device_zone(void);

/** The directory of the zone rules ICU reads: built at build time from the machine's tzdata
 * (tools/tzdata), installed beside the library as share/zon-host/icu-tz. A program that uses
 * the library cannot bypass it: the library points ICU there while it loads. When the machine's
 * tzdata (the version line of /usr/share/zoneinfo/tzdata.zi, or of the file $ZON_HOST_TZDATA
 * names) is not what these rules were built from, opening a device logs a warning; rebuilding
 * picks the new tzdata up. */
const char *zon_host_icu_zone_dir(void);

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

/**
 * Log capture. While capture is on, every dlog line (any priority) is kept in memory besides
 * being written as usual. Starting a capture clears what was captured before.
 * zon_host_log_line() returns the formatted message (without tag and priority) of line i, and
 * its priority and tag through the optional out-parameters; NULL when i is out of range.
 * The strings stay valid until the captured lines are cleared (zon_host_log_clear(),
 * zon_host_log_capture(true), zon_host_reset()).
 */
/** @{ */
void zon_host_log_capture(bool on);
size_t zon_host_log_count(void);
const char *zon_host_log_line(size_t i, int *priority, const char **tag);
bool zon_host_log_contains(const char *needle);   /**< any captured message contains needle */
size_t zon_host_log_count_matching(const char *needle);
void zon_host_log_clear(void);
/** @} */

/**
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

/** For the host port's own implementations: returns true and sets *error when the call of
 * `function` being made now must fail. Counts the call. (Each source of the host declares its
 * fault points with ZON_HOST_FAULT_POINTS() of src/device/host_internal.h, which is what makes
 * zon_host_fault_inject() know them; an undeclared one logs an error when first reached.) */
bool zon_host_fault_check(const char *function, int *error);

/* ==========================================================================================
 * Application framework: the other applications of the device, launch requests, replies,
 * message ports and alarms (app_control.h, message_port.h, app_alarm.h).
 *
 * The installed applications are in-process stand-ins registered by app id. A launch request
 * (app_control_send_launch_request(), or an alarm going off) to an id nobody registered fails
 * at send time with APP_CONTROL_ERROR_APP_NOT_FOUND; otherwise the stand-in's handler is
 * called on the main loop with a copy of the request. Handlers run as the current application
 * id (zon_host_app_id()): what a stand-in writes to preferences lands in the calling
 * application's store.
 *
 * zon_host_reset() uninstalls every stand-in (the shipped ones too), unregisters all message
 * ports, cancels pending alarms and the weather agent's delayed answers, and forgets recorded
 * launches and replies. Of these, only message ports still registered count as live
 * registrations in its result: an application must unregister its ports, while installed
 * applications and pending alarms are the device's state (an alarm may rightly outlive the
 * object that scheduled it).
 *
 * Every platform function of bundle.h, app_control.h, message_port.h and app_alarm.h is a
 * fault point. The platform's own work for an application (delivering, an alarm launching,
 * the stand-ins answering) does not pass through them, so an injected fault hits only the
 * application's own call. Exception: the service stand-in writes its preference through
 * preference_set_int(), and so counts toward that fault point.
 * ========================================================================================== */

struct app_control_s;

/** A stand-in's launch handler. The handle (an app_control_h) is valid during the call only:
 * clone it to reply later. */
typedef void (*zon_host_app_launch_cb)(struct app_control_s *app_control, void *user_data);

/** Installs a stand-in application. Registering an id again replaces its handler; launches
 * already queued go to the new one. Returns 0, or -1 for a NULL/empty id or a NULL handler. */
int zon_host_register_app(const char *app_id, zon_host_app_launch_cb on_launch, void *user_data);
/** Uninstalls it and drops the launches still queued for it. Returns 0, or -1 when the id is
 * not installed. */
int zon_host_unregister_app(const char *app_id);
/** Whether a stand-in is installed under `app_id`. */
bool zon_host_app_is_registered(const char *app_id);

/** One launch request as it was sent, in the order of sending. The strings and arrays stay
 * valid until the record is cleared (zon_host_launch_clear(), zon_host_reset()). */
typedef struct {
	const char *caller;                /**< app id of the requesting application */
	const char *app_id;                /**< target; NULL when the request named none */
	const char *operation;             /**< NULL when none was set */
	size_t extra_count;                /**< number of extra data pairs */
	const char *const *extra_keys;     /**< extra data in the order the request holds it */
	const char *const *extra_values;   /**< NULL for an array value */
	int result;                        /**< what the send answered: APP_CONTROL_ERROR_NONE or
	                                      APP_CONTROL_ERROR_APP_NOT_FOUND */
	bool reply_requested;              /**< sent with a reply callback */
	bool from_alarm;                   /**< sent by an alarm going off */
} zon_host_launch;

/** Records every request that passed parameter checks and fault injection, whether its
 * application was found or not. */
size_t zon_host_launch_count(void);
bool zon_host_launch_get(size_t i, zon_host_launch *launch);  /**< false when i is out of range */
/** The string value of extra data `key` of launch i; NULL if absent, an array, or no such i. */
const char *zon_host_launch_extra(size_t i, const char *key);
/** Forgets the recorded launches. */
void zon_host_launch_clear(void);

/** One app_control_reply_to_launch_request() made by a stand-in, in order. */
typedef struct {
	const char *app_id;   /**< the replying application (the target of the request) */
	const char *caller;   /**< the application that made the request */
	int result;           /**< app_control_result_e */
	bool delivered;       /**< the request had a reply callback, which gets the reply */
} zon_host_reply;

/** The number of recorded replies. */
size_t zon_host_reply_count(void);
/** Copies reply i into *reply; false when i is out of range. */
bool zon_host_reply_get(size_t i, zon_host_reply *reply);
const char *zon_host_reply_extra(size_t i, const char *key);  /**< extra data of the reply */
/** Forgets the recorded replies. */
void zon_host_reply_clear(void);

/** Pending alarms of every application, in id order. Strings valid until the alarm fires, is
 * cancelled or the host is reset. */
typedef struct {
	int id;                     /**< as alarm_schedule_*() answered it */
	int delay_seconds;          /**< as scheduled */
	const char *app_id;         /**< application its app control launches */
	const char *operation;      /**< of its app control; NULL when none was set */
	const char *owner_app_id;   /**< application that scheduled it */
} zon_host_alarm;

/** The number of pending alarms. */
size_t zon_host_alarm_count(void);
/** Copies pending alarm i (in id order) into *alarm; false when i is out of range. */
bool zon_host_alarm_get(size_t i, zon_host_alarm *alarm);
/** Makes alarm_id go off now: it is no longer pending, its launch is sent (and recorded) at
 * once and reaches the application on the main loop. Returns 0, or -1 when no such alarm is
 * pending. */
int zon_host_fire_alarm(int alarm_id);

/** ---- the weather agent stand-in ----
 *
 * Request: a launch of ZON_HOST_WEATHER_AGENT_APP_ID whose extra data "MESSAGE" is
 * "REQUEST_WEATHER_INFO_WITH_GEO_POSITION" (other launches are ignored), with "PORT_ID" (the
 * caller's local message port for the answer), "max" (number of places, default 1, at most
 * 10) and "lat_N"/"lon_N" (decimal degrees, '.' as separator) for N = 0 .. max-1.
 * Answer: for each place, one message from ZON_HOST_WEATHER_AGENT_APP_ID (no sender port) to
 * the caller's port PORT_ID, a bundle of strings:
 *   "result"              "0"
 *   "iconID"              condition 1..23 (1 sunny ... 12 snow ... 15 hot ... 23 sandstorm)
 *   "refreshedTime"       the moment the weather is for (`date`, else now), epoch seconds
 *   "currentTemperature"  whole degrees, may be negative
 *   "temperatureUnit"     "c", or "f" with `fahrenheit`
 *   "showCurrentLocation" "on"
 *   "lat", "lon"          the "lat_N"/"lon_N" texts exactly as received
 * The weather is a function of place and (UTC) day only: temperature from latitude and
 * season, the condition from a hash, snow-type conditions at or below 0 C.
 * A place without a usable position gets the error form. A request without PORT_ID is logged
 * and dropped; an answer to a port that does not exist is logged and lost.
 */
#define ZON_HOST_WEATHER_AGENT_APP_ID "korvath.weather-agent"

/** How the weather agent stand-in answers. */
typedef enum {
	ZON_HOST_WEATHER_ANSWER = 0,  /**< the weather described above */
	ZON_HOST_WEATHER_SILENT,      /**< takes the launch, never answers (the time-out case) */
	ZON_HOST_WEATHER_ERROR,       /**< error form: "result" = error_result, plus "lat"/"lon" */
	ZON_HOST_WEATHER_FIXED,       /**< exactly the fixed pairs, plus the "lat"/"lon" echoes
	                                 unless the pairs name those keys */
} zon_host_weather_mode;

/** All zero means: answer at once with weather for now, in Celsius. */
typedef struct {
	zon_host_weather_mode mode;         /**< how to answer */
	unsigned int delay_ms;              /**< answer after this long (a GLib timeout); 0 = from the
	                                       launch handler, arriving on the next loop turn */
	const char *error_result;           /**< "result" of the error form; NULL = "1" */
	const char *const *fixed_keys;      /**< ZON_HOST_WEATHER_FIXED: fixed_count key/value */
	const char *const *fixed_values;    /**< pairs, copied */
	size_t fixed_count;                 /**< number of fixed pairs */
	bool fahrenheit;                    /**< temperatures in Fahrenheit, unit "f" */
	long long date;                     /**< the moment to make weather for, seconds since the
	                                       epoch; 0 = now */
} zon_host_weather_agent_config;

/** Installs the agent, or reconfigures it (answers already waiting keep theirs). NULL means
 * the all-zero configuration. Returns 0, or -1 for an invalid configuration (unknown mode,
 * NULL or empty fixed key, NULL fixed value). Uninstall it with zon_host_unregister_app(),
 * which also drops its waiting answers. */
int zon_host_install_weather_agent(const zon_host_weather_agent_config *config);
/** Answers waiting for their delay. */
size_t zon_host_weather_agent_pending(void);
/** Sends every waiting answer now (to be delivered on the main loop); returns how many. */
int zon_host_weather_agent_flush(void);

/** ---- the world-clock service stand-in ----
 *
 * Launched with extra data "operation" = "weather_agent_timeout" and "instance_id" = KEY, it
 * sets the integer preference KEY to 1 in the current application's store. Other launches
 * are logged and ignored.
 */
#define ZON_HOST_ZONVISTA_SERVICE_APP_ID "korvath.zonvista-service"

/** Installs the service stand-in; returns 0. */
int zon_host_install_zonvista_service(void);

/* ======================================================================================
 * Device services for the device and environment queries, the world map and usage logging:
 * installed packages, the changeable theme, the usage-survey log, the bezel and the phone
 * companion.
 * ====================================================================================== */

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

/**
 * The phone companion. The watch learns of the phone through settings: bit 0 of the int
 * "memory/private/lnkp/conn_type" (connected over Bluetooth), the bool
 * "memory/hmx/hmanager_connected" (the phone's companion manager is connected), the string
 * "db/hmx/host_status/vendor" (maker of the phone) and the int "db/setup_wizard/standalone"
 * (non-zero: the watch was set up to work without a phone). None is set on a new device.
 * zon_host_set_companion_connection() sets the first two (other bits of conn_type are kept);
 * returns 0, or -1 when vconf fails.
 *
 * zon_host_install_companion() installs the stand-in for ZON_HOST_COMPANION_APP_ID, the
 * watch's side of the companion, which the world clock launches with the extra data
 * "change_request" = "watch_change" when its city list changed. The stand-in counts those
 * requests (zon_host_companion_change_requests(), from 0 at installation) and logs each under
 * the tag "ZONVISTA_CONSUMER". zon_host_reset() uninstalls it, like every stand-in; until it
 * is installed, a launch to it fails with APP_CONTROL_ERROR_APP_NOT_FOUND.
 */
#define ZON_HOST_COMPANION_APP_ID "korvath.zonvista-consumer"

/** Sets the Bluetooth bit and the companion manager's connection (see above). */
int zon_host_set_companion_connection(bool bluetooth, bool manager_connected);
/** Installs the companion stand-in (see above); returns 0. */
int zon_host_install_companion(void);
/** The change requests the companion stand-in received since its installation. */
int zon_host_companion_change_requests(void);

/* ======================================================================================
 * The cloud backup service (korvath_cloud.h, which documents the record file format).
 *
 * A session is started here and then runs as the device's service runs it: the service
 * launches the current application (zon_host_app_id(), installed with zon_host_register_app())
 * as "korvath.cloud-service", with a request whose operation is KORVATH_CLOUD_OPERATION_BACKUP,
 * _BACKUP_INFO or _RESTORE. The application's launch handler registers its callbacks and
 * replies: a failed reply ends the session there (no completion notice); a succeeded one opens
 * it. Each step is then delivered on the main loop after the application answered the previous
 * one:
 *   backup:  preparation -> keys and dates -> records (not in an info session) -> completion
 *   restore: preparation -> restoration path -> restoration -> completion
 * The service checks what it is given: a backup file must be a record file holding exactly the
 * announced keys, in their order, each with a value; restored records need a key and a date.
 * An accepted backup is kept (byte for byte) as ROOT/cloud/APP_ID/backup.dat, the "cloud"
 * copy a later restore session starts from. A restore places the source file's bytes,
 * unchecked, at the path the application names.
 * A step whose callback is not registered (any more) ends the session with completion(false).
 * A keys-and-dates answer without records, or any answer of an info session, completes with
 * true straight away.
 *
 * Faults: every korvath_cloud_* function is a fault point of zon_host_fault_inject(); the
 * service's own behaviour is changed with zon_host_cloud_fail_at() and
 * zon_host_cloud_set_record_list(), which hold until changed or zon_host_reset().
 *
 * zon_host_reset() ends any session without a notice, frees every record and list handle
 * (those the application leaked included), drops the registrations (counted as live in its
 * result) and takes korvath_cloud_initialize() back to zero.
 * ====================================================================================== */

/** The kinds of cloud session. */
typedef enum {
	ZON_HOST_CLOUD_BACKUP,
	ZON_HOST_CLOUD_BACKUP_INFO,
	ZON_HOST_CLOUD_RESTORE,
} zon_host_cloud_session_e;

/** Where the last session stands. */
typedef enum {
	ZON_HOST_CLOUD_IDLE,       /**< no session since the reset */
	ZON_HOST_CLOUD_RUNNING,    /**< started; its end not yet delivered */
	ZON_HOST_CLOUD_SUCCEEDED,  /**< completion(true) was delivered */
	ZON_HOST_CLOUD_FAILED,     /**< completion(false) was delivered, or the session ended
	                              without one (launch failed, request refused) */
} zon_host_cloud_state_e;

/** The steps of a session, for zon_host_cloud_fail_at(). */
typedef enum {
	ZON_HOST_CLOUD_STEP_NONE,
	ZON_HOST_CLOUD_STEP_LAUNCH,
	ZON_HOST_CLOUD_STEP_PREPARATION,
	ZON_HOST_CLOUD_STEP_KEYS_AND_DATES,
	ZON_HOST_CLOUD_STEP_RECORDS,
	ZON_HOST_CLOUD_STEP_RESTORATION_PATH,
	ZON_HOST_CLOUD_STEP_RESTORATION,
	ZON_HOST_CLOUD_STEP_COMPLETION,
} zon_host_cloud_step_e;

/** What the service hands the application as record list, for zon_host_cloud_set_record_list(). */
typedef enum {
	ZON_HOST_CLOUD_LIST_AS_SENT,  /**< backup: the announced records; restore: the source file */
	ZON_HOST_CLOUD_LIST_NULL,     /**< backup: the records callback gets no list; restore: the
	                                 restoration callback gets no path */
	ZON_HOST_CLOUD_LIST_EMPTY,    /**< backup: a list without records; restore: a record file
	                                 without records is placed instead of the source */
} zon_host_cloud_list_e;

/** Starts a session. restore_source: the record file a restore session restores (read now),
 * NULL for the cloud copy of the last accepted backup. Returns 0, or -1 when a session is
 * running, the source can't be read, or the launch failed (then FAILED, with the reason). */
int zon_host_cloud_start(zon_host_cloud_session_e kind, const char *restore_source);
/** Where the last session stands; IDLE after a reset. */
zon_host_cloud_state_e zon_host_cloud_state(void);
/** Pumps the main loop until the session is no longer running, nothing is left to dispatch or
 * max_dispatches iterations ran; returns the state. A session still RUNNING after it waits for
 * an application that will not answer. */
zon_host_cloud_state_e zon_host_cloud_wait(int max_dispatches);
/** The service's time-out: a running session stops waiting and ends with completion(false) on
 * the main loop. Returns 0, or -1 when no session is running. */
int zon_host_cloud_time_out(void);
/** The service gives up when the session reaches `step`: completion(false) is delivered instead
 * of that step's callback (at LAUNCH: the session fails at once, nobody is launched; at
 * COMPLETION: a session that went well completes with false). STEP_NONE: no fault. */
void zon_host_cloud_fail_at(zon_host_cloud_step_e step);
/** What the service hands the application as record list from now on (zon_host_cloud_list_e). */
void zon_host_cloud_set_record_list(zon_host_cloud_list_e mode);

/** Why the last session FAILED; NULL otherwise. Valid until the next start or reset. */
const char *zon_host_cloud_failure(void);

/** The traffic of the last session, in order, as texts (valid until the next start or reset):
 *   "launch <operation> APP_ID", "reply succeeded" | "reply failed",
 *   "preparation", "preparation_completed_response <true|false>",
 *   "sending_keys_and_dates", "keys_and_dates <n> <ok>",
 *   "backup <n>" | "backup none", "backup_path <path>|none <ok>",
 *   "sending_restoration_path", "restoration_path <path>|none <ok>",
 *   "restoration <path>" | "restoration none", "record_list <n>|none <ok>",
 *   "gave up at <step>", "time-out", "completed <true|false>".
 * A callback's event comes before anything the callback answered. */
/** @{ */
size_t zon_host_cloud_event_count(void);
const char *zon_host_cloud_event(size_t i);
/** @} */

/** The path of the last session: the backup path or restoration path the application sent. */
const char *zon_host_cloud_path(void);

/** The records of the last session. Backup: the keys and dates announced (values NULL), and
 * once the backup file was accepted, the file's records. Restore: the records of the list the
 * application sent back. Out-parameters may be NULL; absent fields are NULL. false when i is
 * out of range. */
/** @{ */
size_t zon_host_cloud_record_count(void);
bool zon_host_cloud_record(size_t i, const char **key, const char **date, const char **value);
/** @} */

/** ROOT/cloud/APP_ID/backup.dat when it exists, else NULL. Valid until the next call. */
const char *zon_host_cloud_stored_backup(void);

/** Records and lists created and not yet destroyed, those owned by a list included. */
size_t zon_host_cloud_live_handles(void);

/* ======================================================================================
 * The toolkit: the watch theme, the back key, the bezel and the screen reader
 * (efl_extension.h and the accessibility calls of the host's Elementary.h).
 *
 * Objects are toolkit objects (Evas_Object *, Elm_Object_Item *); this header names them by
 * the toolkit's underlying type, struct _Eo_Opaque, so that it needs no toolkit header.
 * Everything here runs on the toolkit's main loop (after elm_init()).
 * The toolkit's calls are not fault points of zon_host_fault_inject(), and the state behind
 * them belongs to the toolkit's objects (it goes with each object), not to zon_host_reset().
 * ====================================================================================== */

struct _Eo_Opaque;
struct _Eext_Circle_Surface;

/**
 * Call once after each elm_init(). Adds the watch theme as an overlay of the toolkit's theme:
 * the styles the watch's toolkit has and upstream lacks (popups "toast/circle",
 * "toast/small/circle", "toast/circle/check" and "circle", the layout "popup" with style
 * "content/circle/buttons2", the buttons "popup/circle/left" and "popup/circle/right", the
 * progress bar "process/small"); without it such a popup logs a critical "Failed to set
 * layout!" and falls back to the default look. Also makes Escape and BackSpace the back key
 * and the mouse wheel the bezel, in every window of the process (see efl_extension.h).
 * The theme file is $ZON_HOST_THEME, else the one installed beside the library
 * (share/zon-host/zon-host-theme.edj), else the build tree's.
 * Returns 0; -1 when called before elm_init() or when the theme file is missing (logged).
 * Calling it again in the same toolkit session changes nothing.
 */
int zon_host_toolkit_init(void);
/** The theme file zon_host_toolkit_init() uses. Valid until the next call of either. */
const char *zon_host_toolkit_theme_path(void);

/**
 * Runs the toolkit's main loop (and dispatches GLib's default context, where the host's own
 * deliveries wait) until done(data) returns true or max_seconds have passed. done is checked
 * before every iteration, so a condition that already holds returns at once; NULL runs the
 * whole time. Returns whether done became true. For what only time brings about: animations,
 * the toolkit's own timers. Never waits longer than max_seconds.
 */
bool zon_host_toolkit_pump(double max_seconds, bool (*done)(void *data), void *data);

/** Presses the back key: the receiving object's back callbacks run now. Returns the receiving
 * object, NULL when no shown object has a back callback. */
struct _Eo_Opaque *zon_host_back_key(void);
/** Turns the bezel by one detent: the rotary handlers and the activated object's rotary
 * callbacks run now. Returns true when at least one of them ran. */
bool zon_host_rotary_event(bool clockwise);
/** The object whose rotary events are activated, NULL when none is. */
struct _Eo_Opaque *zon_host_rotary_activated_object(void);
/** The object a circle surface was added to; NULL when the surface is gone (deleted, or its
 * object deleted). */
struct _Eo_Opaque *zon_host_circle_surface_owner(const struct _Eext_Circle_Surface *surface);

/**
 * The screen reader. It is on when the device's setting "db/setting/accessibility/tts" is
 * true; zon_host_set_screen_reader() sets it (0, or -1 when vconf fails). The toolkit asks
 * every time, so a change takes effect at once.
 *
 * zon_host_screen_reader_text() is what the reader says for obj, as a malloc'd text (NULL
 * when it would say nothing): of the pieces its reading-information type selects, in this
 * order, the non-empty ones joined by ", ":
 *   name         its name function's result, else its name (translated in its translation
 *                domain; for a widget without a name, upstream's, such as a label's text);
 *   role         upstream's role name ("push button"), unless the role is invalid or unknown;
 *   description  its description function's result, else its description (translated).
 * The state is not read on the host. The functions run during the call.
 *
 * The highlight is the reader's cursor. zon_host_screen_reader_highlight() is the user
 * touching obj: like elm_atspi_component_highlight_grab(), it fails (-1) when the reader is
 * off or obj can't take the highlight; otherwise the object that loses the highlight emits
 * "atspi,unhighlighted" and obj emits "atspi,highlighted". The highlight goes with its
 * object's deletion.
 *
 * The reader's other events are played by the test; each returns 0, or -1 when the reader is
 * off or obj is no widget (or has no gesture callback):
 *   finish_reading  the reader is done reading obj: "access,read,stop" on obj, or with
 *                   cancelled "access,read,cancel" (it was interrupted);
 *   activate        a double tap on the highlighted obj: "access,activated" on obj;
 *   gesture         a gesture (Elm_Atspi_Gesture_Type) over obj reaches its gesture
 *                   callback; returns what the callback answered (1 consumed, 0 not).
 *
 * zon_host_access_relations() lists obj's relations of one type (Elm_Atspi_Relation_Type,
 * e.g. ELM_ATSPI_RELATION_FLOWS_TO, 10): stores up to max targets in order of appending and
 * returns how many there are. Relations to a deleted object are dropped with it.
 */
/** @{ */
int zon_host_set_screen_reader(bool on);
char *zon_host_screen_reader_text(const struct _Eo_Opaque *obj);
struct _Eo_Opaque *zon_host_screen_reader_highlighted(void);
int zon_host_screen_reader_highlight(struct _Eo_Opaque *obj);
int zon_host_screen_reader_finish_reading(struct _Eo_Opaque *obj, bool cancelled);
int zon_host_screen_reader_activate(struct _Eo_Opaque *obj);
int zon_host_screen_reader_gesture(struct _Eo_Opaque *obj, int gesture);
size_t zon_host_access_relations(const struct _Eo_Opaque *obj, int relation, struct _Eo_Opaque **targets,
		size_t max);
/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ZON_HOST_ZON_HOST_H */

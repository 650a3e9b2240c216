/**
 * @file
 * zon_host_standins.h - the other applications zon-host ships: the weather agent, the world clock's
 * service and the phone companion. Each is installed on demand (a launch to one that is not
 * installed fails, as on a device without it) and uninstalled by zon_host_reset().
 *
 * Ownership: configurations are copied at installation.
 *
 * Threading: like the platform APIs it stands in for, everything here runs on the thread of
 * GLib's default main context only.
 *
 * Example:
 *   zon_host_weather_agent_config config = {};
 *   config.mode = ZON_HOST_WEATHER_SILENT;    // the agent never answers: the time-out case
 *   zon_host_install_weather_agent(&config);
 *   zon_host_install_zonvista_service();      // the time-out's alarm launches it
 */
#ifndef ZON_HOST_ZON_HOST_STANDINS_H
#define ZON_HOST_ZON_HOST_STANDINS_H

#include <stdbool.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/** The weather agent.
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

/** The world clock's service.
 *
 * Launched with extra data "operation" = "weather_agent_timeout" and "instance_id" = KEY, it
 * sets the integer preference KEY to 1 in the current application's store. Other launches
 * are logged and ignored.
 */
#define ZON_HOST_ZONVISTA_SERVICE_APP_ID "korvath.zonvista-service"

/** Installs the service stand-in; returns 0. */
int zon_host_install_zonvista_service(void);

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

#ifdef __cplusplus
}
#endif

#endif /* ZON_HOST_ZON_HOST_STANDINS_H */

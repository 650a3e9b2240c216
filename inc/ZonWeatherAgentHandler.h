/**
 * @class ZonWeatherAgentHandler
 * ZonWeatherAgentHandler.h - current weather of a catalogue city, from the device's weather agent
 * or from the weather cache of the city database.
 *
 * The weather agent ("korvath.weather-agent") is a separate application. A request launches it
 * with the city's coordinates and the name of a local message port; the agent answers later with
 * a bundle of strings on that port. The handler decodes the answer into a ZonWeatherReplayData,
 * finds the city again by the latitude text it sent, stores the weather in the city's rows of
 * the database (ZonDBManager::updateWeatherInfo) and hands the record to the receive callback.
 *
 * A request to the agent also schedules a 10-second one-shot alarm that launches the
 * application's service ("korvath.zonvista-service") with "operation" = "weather_agent_timeout"
 * and "instance_id" = the widget instance id. The service answers by writing a non-zero integer to
 * the preference named by that id; a handler built with an instance id watches that preference
 * and calls the time-out callback. An answer cancels the alarm. A handler without instance id can
 * never see a time-out.
 *
 * The cache answers instead of the agent when the city's stored weather is known and at most
 * 10800 seconds (3 hours) old. "Now" for writing and for judging the cache is the wall clock of the
 * fixed zone "GMT+9" read back through mktime(), on both sides, so the two always agree.
 *
 * Contract:
 *   - requestWeatherData() always returns true; the answer (or nothing, or a time-out) comes
 *     later, on the main loop, except a fresh cache entry, which is handed to the receive
 *     callback before requestWeatherData() returns.
 *   - A reply whose "result" is not "0" reaches the receive callback with validity false and
 *     cityId 0, and is not stored.
 *   - Two cities whose latitudes print alike ("%lf") cannot be told apart: the answer goes to the
 *     one requested last.
 *
 * Ownership: the caller owns the handler. The record passed to the receive callback is only lent
 * for the call; copy what you keep. The destructor stops the port and the preference watch, but
 * leaves a pending alarm scheduled: the service still runs and still writes the preference.
 * Callbacks may destroy the handler.
 *
 * Threading: main-loop thread only, like every platform call it makes; nothing is locked.
 *
 * Example (a widget instance):
 * @code
 *   ZonWeatherAgentHandler* weather = new ZonWeatherAgentHandler(_WIDGET_VIEW_WEATHER_PORT, instanceId);
 *   weather->setReceiveWeatherDataFunc([](ZonWeatherReplayData& data) {
 *       if (data.validity)
 *           showWeather(data.cityId, data.weatherType, data.currentTemperature, data.isCentegrade);
 *   });
 *   weather->setTimeOutCb([]() { showWeatherUnavailable(); });
 *   weather->requestWeatherData(299, false, false);   // Tokyo: cache first, agent if stale
 *   ...
 *   delete weather;
 * @endcode
 */
#ifndef ZON_WEATHER_AGENT_HANDLER_H
#define ZON_WEATHER_AGENT_HANDLER_H

#include <time.h>

#include <functional>
#include <map>
#include <string>

#include <app_control.h>
#include <bundle.h>

#include "ZonCityinfo.h"

/// The application id of the weather agent, and the extra-data key that tells it where to answer.
inline constexpr char _WEATHER_AGENT_APP_ID[] = "korvath.weather-agent";
inline constexpr char _PORT_ID[] = "PORT_ID";

/// The reply ports of the three clients: main view, detail view, widget. Each client has its own
/// port so that their answers never cross.
inline constexpr char _BASE_VIEW_WEATHER_PORT[27] = "zonvista.base.weather.port";
inline constexpr char _DETAIL_VIEW_WEATHER_PORT[29] = "zonvista.detail.weather.port";
inline constexpr char _WIDGET_VIEW_WEATHER_PORT[29] = "zonvista.widget.weather.port";
// Other processes use these names as fixed-size fields; a shorter text would still compile.
static_assert(_BASE_VIEW_WEATHER_PORT[25] != '\0', "base view port name must fill its array");
static_assert(_DETAIL_VIEW_WEATHER_PORT[27] != '\0', "detail view port name must fill its array");
static_assert(_WIDGET_VIEW_WEATHER_PORT[27] != '\0', "widget port name must fill its array");

/// currentTemperature of a record that received no temperature.
#define ZON_WEATHER_NO_TEMPERATURE (-100000)

/// One answer, from the agent or from the cache. The members start as an empty answer.
struct ZonWeatherReplayData {
	WeatherType weatherType = UNDEFINED_WEATHER;    ///< the condition; UNDEFINED_WEATHER when unknown
	time_t refreshedTime = 0;                       ///< the agent's own refresh time; never stored
	int currentTemperature = ZON_WEATHER_NO_TEMPERATURE; ///< whole degrees, in the unit below
	bool isCentegrade = false;                      ///< true: Celsius
	bool showCurrentLocation = false;               ///< the agent's setting; true unless it sent "off"
	bool validity = false;                          ///< the agent said "result" = "0", or the cache was read
	double latitude = 0.0;                          ///< of the answered place, from the agent only
	double longitude = 0.0;                         ///< of the answered place, from the agent only
	int cityId = 0;                                 ///< catalogue id; 0 when the answer matched no request
};

class ZonWeatherAgentHandler {
public:
	/// For a view: answers arrive on `port`; no time-out is ever reported.
	explicit ZonWeatherAgentHandler(const char* port);
	/// For a widget instance: opens the city database, and watches the preference named by
	/// widgetInstanceId for the service's time-out signal (resetting it to 0 now).
	ZonWeatherAgentHandler(const char* port, const char* widgetInstanceId);
	virtual ~ZonWeatherAgentHandler();

	/// Called with every answer, from the agent or the cache (the record is lent for the call).
	void setReceiveWeatherDataFunc(std::function<void(ZonWeatherReplayData&)> func);
	/// Called when the service signals that the agent did not answer in time.
	void setTimeOutCb(std::function<void()> func);

	/// fromWeatherAgent: ask the agent whatever the cache holds. isExternal chooses the list whose
	/// row is read as cache (the second list when true). Always true.
	bool requestWeatherData(int cityId, bool fromWeatherAgent, bool isExternal);
	/// The cache when fresh, else the agent. Always true.
	bool requestWeatherDataFromWeatherDatabase(int cityId, bool isExternal);
	/// The cache when fresh (true), else false and nobody is asked.
	bool checkWeatherDataInWeatherDatabase(int cityId, bool isExternal);
	/// False for a city id outside 1..331 or when the request could not be built or sent.
	bool requestWeatherDataFromWeatherAgent(int cityId);

private:
	friend class ZonWeatherAgentHandlerTestPeer;

	ZonWeatherAgentHandler(const ZonWeatherAgentHandler&) = delete;
	ZonWeatherAgentHandler& operator=(const ZonWeatherAgentHandler&) = delete;

	/// Re-arms the time-out alarm. True only when the first of its two app-control creations
	/// failed and the rest succeeded; the agent path reports that as a failure.
	bool _runWeatherRequestTimeoutService();

	static void _weatherAgentTimeoutPreferenceChangedCb(const char* key, void* userData);
	/// Never registered; kept for the app-control reply it was once meant to receive.
	static void _weatherAgetnTimeOutCb(app_control_h request, app_control_h reply, app_control_result_e result,
		void* userData);
	static void _receiveWeatherInfoCb(int localPortId, const char* remoteAppId, const char* remotePort,
		bool trustedRemotePort, bundle* message, void* userData);
	static void _extractWeatherReply(const char* key, const int type, const bundle_keyval_t* kv, void* userData);
	/// Every ',' becomes '.', in place: the agent reads coordinates with a decimal point whatever
	/// our locale prints.
	static void _findComma(char* text);
	static WeatherType _convertIconIdToWeatherType(int iconId);

	char* _port;
	char* _widgetInstanceId;
	int _messagePortId;
	std::function<void(ZonWeatherReplayData&)> _receiveWeatherDataFunc;
	std::function<void()> _timeOutCb;
	int _weatherAgentTimeoutAlarmId;
	/// Latitude text ("%lf") of each requested city to its id: the reply names only the place.
	std::map<std::string, int> latToCityIdMap;
};

#endif /* ZON_WEATHER_AGENT_HANDLER_H */

#define LOG_TAG "zonvista"

#include "ZonWeatherAgentHandler.h"

#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <locale>
#include <sstream>

#include <app_alarm.h>
#include <app_control.h>
#include <app_preference.h>
#include <bundle.h>
#include <message_port.h>

#include "ZonCityPoints.h"
#include "ZonCommonDefine.h"
#include "ZonDBManager.h"
#include "ZonTimeUtil.h"

#define ZON_WEATHER_SERVICE_APP_ID "korvath.zonvista-service"
#define ZON_WEATHER_TIMEOUT_OPERATION "weather_agent_timeout"
#define ZON_WEATHER_TIMEOUT_SECONDS 10
#define ZON_WEATHER_CACHE_SECONDS 10800.0
// The clock of the weather cache; see weatherClockNow().
#define ZON_WEATHER_CLOCK_ZONE "GMT+9"
#define ZON_WEATHER_COORDINATE_SIZE 32
#define ZON_WEATHER_ICON_COUNT 23

namespace {

// Icon id n is entry n - 1. The agent has a second rain icon (21), which puts its hail and
// sandstorm icons one above our enumerators; no icon means HURRICANE.
const WeatherType iconWeatherTypes[ZON_WEATHER_ICON_COUNT] = {
	SUNNY, PARTLY_SUNNY, CLOUDY, RAIN, FOG,
	SHOWERS, PARTLY_SUNNY_WITH_SHOWERS, THUNDERSTORMS, PARTLY_SUNNY_WITH_THUNDER_SHOWER, FLURRIES,
	PARTLY_SUNNY_WITH_FLURRIES, SNOW, RAIN_AND_SNOW_MIXED, ICE_SLEET_FREEZING_RAIN, HOT,
	COLD, WINDY, CLEAR, MOSTLY_CLEAR, HEAVY_RAIN,
	RAIN, HAIL, SANDSTORM,
};

// Every process that writes or judges the cache reads "now" from the same fixed zone and turns it
// back into seconds in the local zone. The result is not the true epoch time, but it is the same
// on both sides whatever zone the device is set to, so a change of the device's zone between a
// reply and a later request never makes the cache look hours older or younger.
time_t weatherClockNow()
{
	tm now;
	memset(&now, 0, sizeof(now));
	ZonTimeUtil::getCurrentTime(ZON_WEATHER_CLOCK_ZONE, now);
	return mktime(&now);
}

// The watch's long is 32 bits, so strtol() saturates at the int range there. Do the same on a
// 64-bit host instead of letting a huge number wrap into a plausible one.
int strtoInt(const char* text)
{
	long value = strtol(text, nullptr, 10);
	if (value > INT_MAX)
		return INT_MAX;
	if (value < INT_MIN)
		return INT_MIN;
	return static_cast<int>(value);
}

double streamToDouble(const char* text)
{
	// The agent writes a decimal point whatever its locale; a failed read leaves 0.
	std::istringstream stream(text);
	stream.imbue(std::locale::classic());
	double value = 0.0;
	stream >> value;
	return value;
}

// The cache test shared by both cache entry points: fills `record` and answers whether the entry
// may be shown.
bool readFreshWeather(int cityId, bool isExternal, ZonWeatherReplayData& record)
{
	int weatherType = 0;
	int temperature = 0;
	bool isCentigrade = false;
	int lastUpdateTime = 0;
	record.validity = ZonDBManager::getInstance()->getWeatherInfo(cityId, weatherType, temperature, isCentigrade,
		lastUpdateTime, isExternal);

	time_t now = weatherClockNow();
	if (weatherType == UNDEFINED_WEATHER || difftime(now, lastUpdateTime) > ZON_WEATHER_CACHE_SECONDS
		|| !record.validity)
		return false;

	record.weatherType = static_cast<WeatherType>(weatherType);
	record.currentTemperature = temperature;
	record.isCentegrade = isCentigrade;
	record.cityId = cityId;
	return true;
}

}

ZonWeatherAgentHandler::ZonWeatherAgentHandler(const char* port)
	: _port(nullptr)
	, _widgetInstanceId(nullptr)
	, _messagePortId(-1)
	, _weatherAgentTimeoutAlarmId(-1)
{
	WASSERT(port != nullptr);
	_port = strdup(port);
	// A failed registration leaves its error code here: answers will simply never come.
	_messagePortId = message_port_register_local_port(_port, _receiveWeatherInfoCb, this);
}

ZonWeatherAgentHandler::ZonWeatherAgentHandler(const char* port, const char* widgetInstanceId)
	: _port(nullptr)
	, _widgetInstanceId(nullptr)
	, _messagePortId(-1)
	, _weatherAgentTimeoutAlarmId(-1)
{
	WASSERT(port != nullptr);
	// A widget instance may be the first thing of the process to run; replies are stored.
	ZonDBManager::getInstance()->initialize();

	_port = strdup(port);
	_widgetInstanceId = widgetInstanceId ? strdup(widgetInstanceId) : nullptr;
	_messagePortId = message_port_register_local_port(_port, _receiveWeatherInfoCb, this);

	// A non-zero value left by an earlier instance would otherwise hide the next time-out, which
	// the service signals by a change of value.
	preference_set_int(_widgetInstanceId, 0);
	preference_set_changed_cb(_widgetInstanceId, _weatherAgentTimeoutPreferenceChangedCb, this);
}

ZonWeatherAgentHandler::~ZonWeatherAgentHandler()
{
	message_port_unregister_local_port(_messagePortId);
	preference_unset_changed_cb(_widgetInstanceId);
	free(_port);
	free(_widgetInstanceId);
	latToCityIdMap.clear();
	_receiveWeatherDataFunc = nullptr;
	_timeOutCb = nullptr;
}

void ZonWeatherAgentHandler::setReceiveWeatherDataFunc(std::function<void(ZonWeatherReplayData&)> func)
{
	_receiveWeatherDataFunc = std::move(func);
}

void ZonWeatherAgentHandler::setTimeOutCb(std::function<void()> func)
{
	_timeOutCb = std::move(func);
}

bool ZonWeatherAgentHandler::requestWeatherData(int cityId, bool fromWeatherAgent, bool isExternal)
{
	// Whatever goes wrong here, the caller learns it through the callbacks or their silence.
	if (fromWeatherAgent)
		requestWeatherDataFromWeatherAgent(cityId);
	else
		requestWeatherDataFromWeatherDatabase(cityId, isExternal);
	return true;
}

bool ZonWeatherAgentHandler::requestWeatherDataFromWeatherDatabase(int cityId, bool isExternal)
{
	ZonWeatherReplayData record;
	if (readFreshWeather(cityId, isExternal, record)) {
		if (_receiveWeatherDataFunc) {
			WINFO("reply weather validity");
			// A copy, so that a callback that deletes this handler does not delete what runs.
			auto receive = _receiveWeatherDataFunc;
			receive(record);
		}
		return true;
	}

	WINFO("force reload from weather agent");
	requestWeatherDataFromWeatherAgent(cityId);
	return true;
}

bool ZonWeatherAgentHandler::checkWeatherDataInWeatherDatabase(int cityId, bool isExternal)
{
	ZonWeatherReplayData record;
	if (readFreshWeather(cityId, isExternal, record)) {
		WINFO("weatherType[%d], currentTemperature[%d], isCentigrade[%d], cityId[%d]", record.weatherType,
			record.currentTemperature, record.isCentegrade, record.cityId);
		if (_receiveWeatherDataFunc) {
			WINFO("reply weather validity");
			auto receive = _receiveWeatherDataFunc;
			receive(record);
		}
		return true;
	}

	WINFO("force reload from weather agent");
	return false;
}

bool ZonWeatherAgentHandler::requestWeatherDataFromWeatherAgent(int cityId)
{
	if (cityId < 1 || cityId > ZON_CITY_POINT_COUNT)
		return false;

	char latitude[ZON_WEATHER_COORDINATE_SIZE] = {0};
	char longitude[ZON_WEATHER_COORDINATE_SIZE] = {0};
	snprintf(latitude, sizeof(latitude), "%lf", allCityPoints[cityId - 1][0]);
	snprintf(longitude, sizeof(longitude), "%lf", allCityPoints[cityId - 1][1]);

	// Keyed by the text as this process prints it, before the fix-up below: the reply's latitude is
	// printed the same way when it comes back, so the two agree in any locale.
	latToCityIdMap[latitude] = cityId;
	WINFO("requestcity %d-->%s", cityId, latitude);

	_findComma(latitude);
	_findComma(longitude);

	app_control_h appControl = nullptr;
	if (app_control_create(&appControl) != APP_CONTROL_ERROR_NONE) {
		WERROR("app control create failed !");
		return false;
	}

	bool result = true;
	app_control_set_app_id(appControl, _WEATHER_AGENT_APP_ID);
	app_control_add_extra_data(appControl, _PORT_ID, _port);
	app_control_add_extra_data(appControl, "max", "1");
	app_control_add_extra_data(appControl, "lon_0", longitude);
	app_control_add_extra_data(appControl, "lat_0", latitude);
	if (app_control_add_extra_data(appControl, "MESSAGE", "REQUEST_WEATHER_INFO_WITH_GEO_POSITION")
		!= APP_CONTROL_ERROR_NONE) {
		WERROR("set message failed !");
		result = false;
	}

	// The agent answers on our port, not through an app-control reply.
	if (app_control_send_launch_request(appControl, nullptr, nullptr) != APP_CONTROL_ERROR_NONE) {
		WERROR("send launch request failed !");
		result = false;
	}
	app_control_destroy(appControl);

	// The time-out is armed even after a failed launch: the widget then learns of the failure the
	// same way as of a silent agent.
	if (_runWeatherRequestTimeoutService())
		result = false;

	return result;
}

bool ZonWeatherAgentHandler::_runWeatherRequestTimeoutService()
{
	if (_weatherAgentTimeoutAlarmId >= 1)
		alarm_cancel(_weatherAgentTimeoutAlarmId);
	else
		WINFO("alarm id is not valid");

	// Two creations in a row, and the answer is true only when the first one failed: callers
	// rely on requestWeatherDataFromWeatherAgent() answering false in exactly that case, so the
	// flag stays as it always was. The first handle serves nothing else and is released.
	app_control_h first = nullptr;
	app_control_h appControl = nullptr;
	int firstResult = app_control_create(&first);
	bool result = false;
	if (app_control_create(&appControl) == APP_CONTROL_ERROR_NONE)
		result = firstResult != APP_CONTROL_ERROR_NONE;
	if (first)
		app_control_destroy(first);

	if (app_control_set_operation(appControl, APP_CONTROL_OPERATION_DEFAULT) != APP_CONTROL_ERROR_NONE)
		result = false;
	if (app_control_set_app_id(appControl, ZON_WEATHER_SERVICE_APP_ID) != APP_CONTROL_ERROR_NONE)
		result = false;
	if (app_control_add_extra_data(appControl, "operation", ZON_WEATHER_TIMEOUT_OPERATION) != APP_CONTROL_ERROR_NONE)
		result = false;
	if (app_control_add_extra_data(appControl, "instance_id", _widgetInstanceId) != APP_CONTROL_ERROR_NONE)
		result = false;

	if (alarm_schedule_service_once_after_delay(appControl, ZON_WEATHER_TIMEOUT_SECONDS,
			&_weatherAgentTimeoutAlarmId) != ALARM_ERROR_NONE)
		result = false;

	app_control_destroy(appControl);
	// The service signals by a change of value, so the watched value must be 0 before it writes.
	preference_set_int(_widgetInstanceId, 0);

	return result;
}

void ZonWeatherAgentHandler::_weatherAgentTimeoutPreferenceChangedCb(const char*, void* userData)
{
	ZonWeatherAgentHandler* handler = static_cast<ZonWeatherAgentHandler*>(userData);

	int value = 0;
	preference_get_int(handler->_widgetInstanceId, &value);
	// Our own resets to 0 arrive here too; only the service's non-zero write is a time-out.
	if (handler->_timeOutCb && value != 0) {
		auto timeOut = handler->_timeOutCb;
		timeOut();
	} else {
		WINFO("timeout callback is not set");
	}
}

void ZonWeatherAgentHandler::_weatherAgetnTimeOutCb(app_control_h, app_control_h, app_control_result_e, void*)
{
}

void ZonWeatherAgentHandler::_receiveWeatherInfoCb(int, const char*, const char*, bool, bundle* message,
	void* userData)
{
	ZonWeatherAgentHandler* handler = static_cast<ZonWeatherAgentHandler*>(userData);

	// The stored id is kept after the cancel; cancelling a finished alarm again later is harmless.
	if (handler->_weatherAgentTimeoutAlarmId >= 1) {
		alarm_cancel(handler->_weatherAgentTimeoutAlarmId);
		preference_set_int(handler->_widgetInstanceId, 0);
	} else {
		WINFO("alarm id is not valid");
	}

	if (!handler->_receiveWeatherDataFunc) {
		WERROR("_receiveWeatherDataFunc callback is not set");
		return;
	}
	// A copy, so that a callback that deletes this handler does not delete what runs.
	auto receive = handler->_receiveWeatherDataFunc;

	ZonWeatherReplayData record;
	bundle_foreach(message, _extractWeatherReply, &record);

	if (!record.validity) {
		receive(record);
		WERROR("weather reply is not valid");
		return;
	}

	time_t now = weatherClockNow();

	// Printed as the request printed the catalogue latitude, so an echoed latitude finds its city.
	char latitude[ZON_WEATHER_COORDINATE_SIZE] = {0};
	snprintf(latitude, sizeof(latitude), "%lf", record.latitude);
	int cityId = handler->latToCityIdMap[latitude];
	WINFO("replycity %s--->%d", latitude, cityId);

	ZonDBManager::getInstance()->updateWeatherInfo(cityId, record.weatherType, record.currentTemperature,
		record.isCentegrade, static_cast<int>(now));

	record.cityId = cityId;
	receive(record);
}

void ZonWeatherAgentHandler::_extractWeatherReply(const char* key, const int, const bundle_keyval_t* kv,
	void* userData)
{
	ZonWeatherReplayData* record = static_cast<ZonWeatherReplayData*>(userData);

	void* raw = nullptr;
	size_t size = 0;
	if (!key || !kv || bundle_keyval_get_basic_val(const_cast<bundle_keyval_t*>(kv), &raw, &size) != BUNDLE_ERROR_NONE
		|| !raw)
		return;
	// A byte value need not end in NUL; the copy always does, and stops at the first one.
	std::string copy(static_cast<const char*>(raw), size);
	const char* value = copy.c_str();

	if (!strcmp(key, "result")) {
		WINFO("result key = %s, value = %s", key, value);
		if (!strcmp(value, "0"))
			record->validity = true;
	}
	if (!strcmp(key, "iconID")) {
		WINFO("icon id key = %s, value = %s", key, value);
		record->weatherType = _convertIconIdToWeatherType(strtoInt(value));
	}
	if (!strcmp(key, "refreshedTime"))
		record->refreshedTime = static_cast<time_t>(strtol(value, nullptr, 10));
	if (!strcmp(key, "currentTemperature")) {
		WINFO("currentTemperature key = %s, value = %s", key, value);
		record->currentTemperature = strtoInt(value);
	}
	if (!strcmp(key, "temperatureUnit")) {
		WINFO("temperatureUnit key = %s, value = %s", key, value);
		record->isCentegrade = !strcmp(value, "c");
	}
	if (!strcmp(key, "showCurrentLocation"))
		record->showCurrentLocation = strcmp(value, "off") != 0;
	if (!strcmp(key, "lat")) {
		WINFO("lat key = %s, value = %s", key, value);
		record->latitude = streamToDouble(value);
	}
	if (!strcmp(key, "lon")) {
		WINFO("lon key = %s, value = %s", key, value);
		record->longitude = streamToDouble(value);
	}
}

void ZonWeatherAgentHandler::_findComma(char* text)
{
	if (!text)
		return;
	WINFO("before value %s", text);
	for (char* p = text; *p; ++p) {
		if (*p == ',')
			*p = '.';
	}
	WINFO("after value %s", text);
}

WeatherType ZonWeatherAgentHandler::_convertIconIdToWeatherType(int iconId)
{
	// One unsigned test covers 0, the negatives and everything past the table.
	unsigned int index = static_cast<unsigned int>(iconId) - 1u;
	if (index >= ZON_WEATHER_ICON_COUNT)
		return UNDEFINED_WEATHER;
	return iconWeatherTypes[index];
}

/*
 * weather_agent.cpp - the stand-in for the device's weather agent.
 *
 * The agent is launched with the place to report on and answers with a message on the port
 * the caller named. Its weather is made up but steady: the same place and day always give
 * the same answer, temperatures follow latitude and season, and cold days bring snow rather
 * than thunderstorms, so what a user sees in zonclock looks like weather.
 */
#include "app_framework.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <map>

#include "dlog.h"
#include "message_port.h"

namespace zonhost {
namespace {

const char kTag[] = "ZON_HOST";
const char kAgentAppId[] = ZON_HOST_WEATHER_AGENT_APP_ID;
const char kRequest[] = "REQUEST_WEATHER_INFO_WITH_GEO_POSITION";
// A request names at most this many places (keys lat_0/lon_0 ... lat_9/lon_9).
const int kMaxPlaces = 10;

struct Config {
	zon_host_weather_mode mode = ZON_HOST_WEATHER_ANSWER;
	unsigned delayMs = 0;
	std::string errorResult = "1";
	std::vector<std::pair<std::string, std::string>> fixed;
	bool fahrenheit = false;
	long long date = 0;
};
Config g_config;

struct Answer {
	std::string caller;
	std::string port;
	BundlePtr message;
	guint source;
};
// Answers waiting for their delay, in the order they were made.
std::map<unsigned, Answer> g_waiting;
unsigned g_nextAnswer = 1;

std::uint32_t fnv1a(const std::string &text)
{
	std::uint32_t h = 2166136261u;
	for (unsigned char c : text) {
		h ^= c;
		h *= 16777619u;
	}
	return h;
}

bool parseCoordinate(const char *text, double limit, double *out)
{
	if (!text || !*text)
		return false;
	char *end = nullptr;
	double v = g_ascii_strtod(text, &end);
	if (*end || !std::isfinite(v) || std::fabs(v) > limit)
		return false;
	*out = v;
	return true;
}

// Icon ids as the agent numbers its conditions (1 sunny ... 23 sandstorm).
int pickIcon(int celsius, std::uint32_t hash)
{
	static const int cold[] = {12, 10, 11, 13, 14, 16, 3, 18};
	static const int hot[] = {15, 1, 2, 8, 19, 23};
	static const int mild[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 17, 18, 19, 20, 21, 22};
	if (celsius <= 0)
		return cold[hash % G_N_ELEMENTS(cold)];
	if (celsius >= 30)
		return hot[hash % G_N_ELEMENTS(hot)];
	return mild[hash % G_N_ELEMENTS(mild)];
}

void addEchoes(bundle *message, const char *lat, const char *lon)
{
	if (lat && !message->find("lat"))
		message->putStr("lat", lat);
	if (lon && !message->find("lon"))
		message->putStr("lon", lon);
}

bundle *makeWeather(const char *latText, const char *lonText)
{
	auto *message = new _bundle_t;
	double lat = 0, lon = 0;
	if (!parseCoordinate(latText, 90, &lat) || !parseCoordinate(lonText, 180, &lon)) {
		platformLog(DLOG_ERROR, kTag, "weather agent: no usable position (%s, %s)", latText ? latText : "-",
				lonText ? lonText : "-");
		message->putStr("result", g_config.errorResult.c_str());
		addEchoes(message, latText, lonText);
		return message;
	}

	gint64 when = g_config.date ? g_config.date : g_get_real_time() / G_USEC_PER_SEC;
	GDateTime *day = g_date_time_new_from_unix_utc(when);
	int dayOfYear = g_date_time_get_day_of_year(day);
	gchar *date = g_date_time_format(day, "%Y-%m-%d");
	g_date_time_unref(day);
	char place[64];
	g_snprintf(place, sizeof place, "%.4f,%.4f,", lat, lon);
	std::uint32_t hash = fnv1a(std::string(place) + date);
	g_free(date);

	// Annual mean falls off towards the poles; the swing between summer and winter grows with
	// latitude, warmest around 19 July in the north and mid-January in the south.
	double season = std::cos(2 * G_PI * (dayOfYear - 200) / 365.25) * (lat < 0 ? -1 : 1);
	double celsius = 27.0 - 0.0055 * lat * lat + 0.25 * std::fabs(lat) * season + (double)(hash % 7) - 3;
	long whole = std::lround(celsius);
	long shown = g_config.fahrenheit ? std::lround(celsius * 9 / 5 + 32) : whole;

	char text[32];
	message->putStr("result", "0");
	g_snprintf(text, sizeof text, "%d", pickIcon((int)whole, hash >> 8));
	message->putStr("iconID", text);
	g_snprintf(text, sizeof text, "%lld", (long long)when);
	message->putStr("refreshedTime", text);
	g_snprintf(text, sizeof text, "%ld", shown);
	message->putStr("currentTemperature", text);
	message->putStr("temperatureUnit", g_config.fahrenheit ? "f" : "c");
	message->putStr("showCurrentLocation", "on");
	addEchoes(message, latText, lonText);
	return message;
}

bundle *makeAnswer(const char *lat, const char *lon)
{
	switch (g_config.mode) {
	case ZON_HOST_WEATHER_ERROR: {
		auto *message = new _bundle_t;
		message->putStr("result", g_config.errorResult.c_str());
		addEchoes(message, lat, lon);
		return message;
	}
	case ZON_HOST_WEATHER_FIXED: {
		auto *message = new _bundle_t;
		for (const auto &pair : g_config.fixed)
			message->putStr(pair.first.c_str(), pair.second.c_str());
		addEchoes(message, lat, lon);
		return message;
	}
	default:
		return makeWeather(lat, lon);
	}
}

void send(const Answer &answer)
{
	int ret = sendPortMessage(kAgentAppId, nullptr, false, answer.caller.c_str(), answer.port.c_str(), false,
			answer.message.get());
	if (ret != MESSAGE_PORT_ERROR_NONE) {
		platformLog(DLOG_ERROR, kTag, "weather agent: answer to %s port %s failed (%d)", answer.caller.c_str(),
				answer.port.c_str(), ret);
	}
}

void sendWaiting(unsigned key)
{
	auto it = g_waiting.find(key);
	if (it == g_waiting.end())
		return;
	Answer answer = std::move(it->second);
	g_waiting.erase(it);
	send(answer);
}

gboolean delayElapsed(gpointer data)
{
	sendWaiting(GPOINTER_TO_UINT(data));
	return G_SOURCE_REMOVE;
}

void removeSource(guint source)
{
	if (GSource *s = g_main_context_find_source_by_id(nullptr, source))
		g_source_destroy(s);
}

void dropWaiting()
{
	for (const auto &entry : g_waiting)
		removeSource(entry.second.source);
	g_waiting.clear();
}

void onLaunch(app_control_h request)
{
	const char *message = request->extra("MESSAGE");
	if (!message || strcmp(message, kRequest) != 0) {
		platformLog(DLOG_INFO, kTag, "weather agent: launch without a request (MESSAGE %s)",
				message ? message : "missing");
		return;
	}
	const char *port = request->extra("PORT_ID");
	if (!port || !*port) {
		platformLog(DLOG_ERROR, kTag, "weather agent: request of %s names no PORT_ID", request->caller.c_str());
		return;
	}
	if (g_config.mode == ZON_HOST_WEATHER_SILENT) {
		platformLog(DLOG_INFO, kTag, "weather agent: silent, request of %s unanswered", request->caller.c_str());
		return;
	}

	const char *max = request->extra("max");
	int places = max ? atoi(max) : 1;
	places = CLAMP(places, 1, kMaxPlaces);
	for (int i = 0; i < places; ++i) {
		std::string latKey = "lat_" + std::to_string(i);
		std::string lonKey = "lon_" + std::to_string(i);
		const char *lat = request->extra(latKey.c_str());
		const char *lon = request->extra(lonKey.c_str());
		if (i > 0 && !lat && !lon)
			break;
		Answer answer{request->caller, port, shareBundle(makeAnswer(lat, lon)), 0};
		if (g_config.delayMs == 0) {
			send(answer);
			continue;
		}
		unsigned key = g_nextAnswer++;
		answer.source = g_timeout_add(g_config.delayMs, delayElapsed, GUINT_TO_POINTER(key));
		g_waiting.emplace(key, std::move(answer));
	}
}

} // namespace

// Runs when the agent is uninstalled as well: a re-install brings its own configuration.
int forget()
{
	dropWaiting();
	g_config = Config();
	return 0;
}

ZON_HOST_STANDIN("weather_agent", kAgentAppId, onLaunch, forget);

} // namespace zonhost

using namespace zonhost;

ZON_HOST_API int zon_host_install_weather_agent(const zon_host_weather_agent_config *config)
{
	Config next;
	if (config) {
		if (config->mode < ZON_HOST_WEATHER_ANSWER || config->mode > ZON_HOST_WEATHER_FIXED)
			return -1;
		if (config->mode == ZON_HOST_WEATHER_FIXED && config->fixed_count > 0 &&
				(!config->fixed_keys || !config->fixed_values))
			return -1;
		next.mode = config->mode;
		next.delayMs = config->delay_ms;
		if (config->error_result)
			next.errorResult = config->error_result;
		for (size_t i = 0; config->mode == ZON_HOST_WEATHER_FIXED && i < config->fixed_count; ++i) {
			if (!config->fixed_keys[i] || !*config->fixed_keys[i] || !config->fixed_values[i])
				return -1;
			next.fixed.emplace_back(config->fixed_keys[i], config->fixed_values[i]);
		}
		next.fahrenheit = config->fahrenheit;
		next.date = config->date;
	}
	g_config = std::move(next);
	installStandIn(kAgentAppId);
	return 0;
}

ZON_HOST_API size_t zon_host_weather_agent_pending(void)
{
	return g_waiting.size();
}

ZON_HOST_API int zon_host_weather_agent_flush(void)
{
	std::vector<unsigned> keys;
	for (const auto &entry : g_waiting)
		keys.push_back(entry.first);
	for (unsigned key : keys) {
		auto it = g_waiting.find(key);
		if (it == g_waiting.end())
			continue;
		removeSource(it->second.source);
		sendWaiting(key);
	}
	return (int)keys.size();
}

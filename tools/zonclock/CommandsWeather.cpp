/*
 * The weather command: the weather of some cities, through the library's exchange with the
 * weather agent.
 *
 * Each city gets a handler of its own, with its own reply port and widget instance id: an error
 * answer carries no city (the library hands it on with city id 0), and a time-out is signalled
 * through the instance id's preference, so only separate handlers tell whose answer or time-out
 * it was. All requests go out at once and the run then waits on GLib's main loop, as the
 * application does, until each city has an answer or a time-out; the library's time-out alarm
 * is ten seconds, --timeout is zonclock's own limit beyond it.
 *
 * On the watch the agent and the world-clock service are applications of their own. Here their
 * stand-ins are installed into this process before the requests, the agent configured by
 * --agent.
 */
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <glib-unix.h>
#include <glib.h>

#include <app_preference.h>
#include <zon-host/zon_host.h>

#include "Catalogue.h"
#include "CityOperand.h"
#include "Command.h"
#include "DatabaseFailure.h"
#include "Output.h"
#include "Session.h"
#include "Table.h"
#include "Texts.h"
#include "WeatherText.h"
#include "ZonDBManager.h"
#include "ZonWeatherAgentHandler.h"

namespace zonclock {

namespace {

const int kDefaultWaitSeconds = 20;

struct Request {
	enum Outcome { Waiting, FromCache, FromAgent, AgentError, TimedOut, NoAnswer };

	const Cityinfo* city = nullptr;
	bool isExternal = false;
	bool listed = false;
	std::string instanceId;
	std::unique_ptr<ZonWeatherAgentHandler> handler;
	// Set while requestWeatherData() runs: an answer then can only have come from the cache.
	bool requesting = false;
	Outcome outcome = Waiting;
	ZonWeatherReplayData data;
	CachedWeather cached;
};

struct Wait {
	int waiting = 0;
	bool expired = false;
	bool interrupted = false;
};

bool parseAgent(const std::string& text, zon_host_weather_agent_config& config)
{
	config = zon_host_weather_agent_config();
	if (text.empty() || text == "answer")
		return true;
	if (text == "silent") {
		config.mode = ZON_HOST_WEATHER_SILENT;
		return true;
	}
	if (text == "error") {
		config.mode = ZON_HOST_WEATHER_ERROR;
		return true;
	}
	const char prefix[] = "delay=";
	if (text.compare(0, strlen(prefix), prefix) != 0)
		return false;
	std::string digits = text.substr(strlen(prefix));
	if (digits.empty() || digits.size() > 9 || digits.find_first_not_of("0123456789") != std::string::npos)
		return false;
	config.delay_ms = static_cast<unsigned int>(std::stoul(digits));
	return true;
}

bool parseSeconds(const std::string& text, int& seconds)
{
	if (text.empty() || text.size() > 6 || text.find_first_not_of("0123456789") != std::string::npos)
		return false;
	seconds = std::atoi(text.c_str());
	return seconds > 0;
}

const char* outcomeText(Request::Outcome outcome)
{
	switch (outcome) {
	case Request::FromCache:
		return tr("cache");
	case Request::FromAgent:
		return tr("agent");
	case Request::AgentError:
		return tr("agent error");
	case Request::TimedOut:
		return tr("timed out");
	case Request::Waiting:
	case Request::NoAnswer:
		break;
	}
	return tr("no answer");
}

// The list whose row is read as the city's cache: the one it is in, main list first. Weather
// is stored into the rows of both lists, so either holds the latest answer.
void chooseList(ZonDBManager* db, Request& request)
{
	for (bool second : {false, true}) {
		for (const Cityinfo& city : db->getAllCityList(second)) {
			if (city.id == request.city->id) {
				request.isExternal = second;
				request.listed = true;
				return;
			}
		}
	}
}

void fireServiceAlarms()
{
	std::vector<int> ids;
	zon_host_alarm alarm;
	for (size_t i = 0; zon_host_alarm_get(i, &alarm); ++i) {
		if (alarm.app_id && strcmp(alarm.app_id, ZON_HOST_ZONVISTA_SERVICE_APP_ID) == 0)
			ids.push_back(alarm.id);
	}
	for (int id : ids)
		zon_host_fire_alarm(id);
}

gboolean expire(gpointer data)
{
	static_cast<Wait*>(data)->expired = true;
	return G_SOURCE_REMOVE;
}

gboolean interrupt(gpointer data)
{
	static_cast<Wait*>(data)->interrupted = true;
	return G_SOURCE_CONTINUE;
}

void finish(Request& request, Wait& wait, Request::Outcome outcome)
{
	if (request.outcome != Request::Waiting)
		return;
	request.outcome = outcome;
	--wait.waiting;
}

void watch(Request& request, Wait& wait)
{
	std::string port = "zonclock.weather." + std::to_string(request.city->id);
	request.instanceId = port;
	request.handler.reset(new ZonWeatherAgentHandler(port.c_str(), request.instanceId.c_str()));
	Request* r = &request;
	Wait* w = &wait;
	request.handler->setReceiveWeatherDataFunc([r, w](ZonWeatherReplayData& data) {
		if (r->outcome != Request::Waiting)
			return;
		r->data = data;
		finish(*r, *w, r->requesting ? Request::FromCache : data.validity ? Request::FromAgent : Request::AgentError);
	});
	request.handler->setTimeOutCb([r, w]() { finish(*r, *w, Request::TimedOut); });
}

std::string fromText(const Request& request)
{
	std::string text = outcomeText(request.outcome);
	if (request.outcome == Request::FromCache && request.cached.known)
		text += ", " + ageText(request.cached.ageSeconds);
	return text;
}

int runWeather(const Invocation& invocation, Session& session)
{
	bool second = invocation.has("--second");
	bool refresh = invocation.has("--refresh");
	bool fireAlarm = invocation.has("--fire-alarm");
	zon_host_weather_agent_config agent;
	if (!parseAgent(invocation.value("--agent"), agent))
		return usageError("--agent takes answer, silent, error or delay=MS, got '%s'",
			invocation.value("--agent").c_str());
	int waitSeconds = kDefaultWaitSeconds;
	if (invocation.has("--timeout") && !parseSeconds(invocation.value("--timeout"), waitSeconds))
		return usageError("--timeout needs a whole number of seconds above 0, got '%s'",
			invocation.value("--timeout").c_str());

	std::vector<const Cityinfo*> cities;
	for (const std::string& operand : invocation.operands) {
		int exitCode = kExitOk;
		const Cityinfo* city = resolveCity(operand, exitCode);
		if (!city)
			return exitCode;
		bool again = false;
		for (const Cityinfo* other : cities)
			again = again || other->id == city->id;
		if (!again)
			cities.push_back(city);
	}

	ZonDBManager* db = session.db();
	std::vector<std::unique_ptr<Request>> requests;
	if (cities.empty()) {
		std::vector<Cityinfo> list = db->getAllCityList(second);
		if (db->lastError())
			return failure("cannot read the %s: %s", second ? "second list" : "main list", databaseFailure(db).c_str());
		if (list.empty()) {
			printf(tr("The %s is empty: name the cities, or add some with 'zonclock add%s CITY'.\n"),
				second ? tr("second list") : tr("main list"), second ? " --second" : "");
			return kExitOk;
		}
		for (const Cityinfo& city : list) {
			requests.emplace_back(new Request);
			requests.back()->city = catalogueCity(city.id);
			requests.back()->isExternal = second;
			requests.back()->listed = true;
		}
	} else {
		for (const Cityinfo* city : cities) {
			requests.emplace_back(new Request);
			requests.back()->city = city;
			chooseList(db, *requests.back());
		}
	}

	// The agent answers in the unit of the region, as the watch's weather service does.
	agent.fahrenheit = regionUsesFahrenheit(deviceRegion());
	zon_host_install_weather_agent(&agent);
	zon_host_install_zonvista_service();

	Wait wait;
	wait.waiting = static_cast<int>(requests.size());
	for (auto& request : requests) {
		request->cached = cachedWeather(db, request->city->id, request->isExternal);
		watch(*request, wait);
		request->requesting = true;
		request->handler->requestWeatherData(request->city->id, refresh, request->isExternal);
		request->requesting = false;
	}

	if (wait.waiting > 0) {
		guint limit = g_timeout_add(static_cast<guint>(waitSeconds) * 1000, expire, &wait);
		guint signals[] = {g_unix_signal_add(SIGINT, interrupt, &wait), g_unix_signal_add(SIGTERM, interrupt, &wait),
			g_unix_signal_add(SIGHUP, interrupt, &wait)};
		if (fireAlarm) {
			// What the agent answers without delay arrives within these turns of the loop;
			// whoever is still waiting then gets the time-out now instead of in ten seconds.
			zon_host_pump(1000);
			if (wait.waiting > 0)
				fireServiceAlarms();
		}
		while (wait.waiting > 0 && !wait.expired && !wait.interrupted)
			g_main_context_iteration(nullptr, TRUE);
		if (!wait.expired)
			g_source_remove(limit);
		for (guint id : signals)
			g_source_remove(id);
	}

	// The host's agent is a stand-in: its answers are labelled in the table and flagged in data.
	Records table({{"cityId", nullptr}, {"city", tr("City")}, {"weather", tr("Weather")}, {"weatherType", nullptr},
		{"temperature", tr("Temperature")}, {"degrees", nullptr}, {"isCentigrade", nullptr}, {"source", tr("From")},
		{"simulated", nullptr}});
	std::string missing;
	std::string unlisted;
	for (auto& request : requests) {
		if (request->outcome == Request::Waiting)
			request->outcome = Request::NoAnswer;
		bool answered = request->outcome == Request::FromCache || request->outcome == Request::FromAgent;
		if (!answered)
			missing += (missing.empty() ? "" : ", ") + displayName(*request->city);
		std::string name = weatherName(request->data.weatherType);
		std::string temperature = answered ? temperatureText(request->data.currentTemperature, request->data.isCentegrade)
										   : std::string(kNone);
		bool hasTemperature = temperature != kNone;
		table.add({Value::number(request->city->id), Value::text(displayName(*request->city)),
			answered && !name.empty() ? Value::text(name + " " + tr("(simulated)")) : Value::none(),
			answered ? Value::number(request->data.weatherType) : Value::none(),
			hasTemperature ? Value::text(temperature) : Value::none(),
			hasTemperature ? Value::number(request->data.currentTemperature) : Value::none(),
			hasTemperature ? Value::flag(request->data.isCentegrade) : Value::none(), Value::text(fromText(*request)),
			answered ? Value::flag(true) : Value::none()});
		if (!request->listed)
			unlisted += (unlisted.empty() ? "" : ", ") + displayName(*request->city);
	}
	emit(invocation.format, stdout, "cities", table);
	if (!unlisted.empty() && invocation.format == Format::Text)
		printf(tr("\nIn no list, so not cached: %s.\n"), unlisted.c_str());

	// A time-out may still be on its way to the service; the preferences are ours alone.
	for (auto& request : requests) {
		request->handler.reset();
		preference_remove(request->instanceId.c_str());
	}

	if (wait.interrupted)
		return failure("interrupted before the weather of %s came", missing.c_str());
	if (!missing.empty())
		return failure(tr("no weather for %s"), missing.c_str());
	return kExitOk;
}

} // namespace

void registerWeatherCommands(CommandSet& commands)
{
	static const std::string help = std::string(
		"Asks the library for the weather of each CITY, or of every city of the main list (or the\n"
		"second list), and prints condition, temperature and where the answer came from:\n"
		"  cache        the city's stored weather, at most three hours old (with its age)\n"
		"  agent        a fresh answer of the weather agent, now stored for the city\n"
		"  agent error  the agent answered with an error; nothing is stored\n"
		"  timed out    the library's ten-second alarm went off before an answer\n"
		"  no answer    neither came within --timeout\n"
		"Only cities in a list keep their weather: the cache is the list's rows. A named city is\n"
		"read from the list it is in.\n"
		"A time-out takes the real ten seconds unless --fire-alarm is given. Exits with 1 when a\n"
		"city got no weather.\n\n") +
		kCityHelp;

	commands.add({"weather", "[CITY...]", 0, INT_MAX,
		{{"--second", nullptr, "without CITY, the cities of the second list"},
			{"--refresh", nullptr, "ask the weather agent even when the cache is fresh"},
			{"--agent", "MODE", "how the simulated agent behaves: answer (default), silent,\n"
								"error, or delay=MS to answer after MS milliseconds"},
			{"--fire-alarm", nullptr, "make the pending time-out alarm go off as soon as the\n"
									  "answers at hand are in, instead of after ten seconds"},
			{"--timeout", "SECONDS", "stop waiting after SECONDS (default 20)"}, kFormatOption},
		"Show the weather of cities, from the cache or the weather agent", help.c_str(), runWeather});
}

} // namespace zonclock

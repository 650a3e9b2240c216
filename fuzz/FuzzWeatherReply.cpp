// Fuzz target of the weather reply. The input becomes an arbitrary bundle (text, byte and array
// entries, under the agent's keys or any other) that arrives on a handler's port as the agent's
// answer would, after a request for Beijing. Whatever the message, the handler must answer it
// with exactly one record, cancel the time-out, never name a condition the agent has no icon
// for, and store nothing unless the reply was valid and found its city.
//
// Input layout: byte 0 bit 0 chooses whether Beijing is requested first (alarm armed, latitude
// known). Then entries, each:
//   op      bits 0-1: 0 text, 1 bytes, 2 text array, 3 text; bit 2: key from the table below,
//           else a raw key; bit 3: value from the table below, else raw bytes
//   key     table index (1 byte) or length (1 byte, mod 32) and bytes
//   value   table index (1 byte) or length (1 byte) and bytes; an array splits at NUL bytes
#include <limits.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <app_alarm.h>
#include <bundle.h>
#include <message_port.h>
#include <zon-host/zon_host.h>

#include "ZonDBManager.h"
#include "ZonWeatherAgentHandler.h"

namespace {

const char* const kKeys[] = {"result", "iconID", "refreshedTime", "currentTemperature", "temperatureUnit",
	"showCurrentLocation", "lat", "lon", "Result", "lat_0"};
const char* const kValues[] = {"0", "1", "00", "-7", "21", "23", "24", "-1", "4294967297", "99999999999999999999",
	"-99999999999999999999", "c", "C", "off", "", "39.938884", "39.9388838", "39.938885", "116.397459", "1e308",
	"-1e999", "nan", "inf", " 0", "0x10", "12abc"};
const int kBeijing = 35;
const int kSentinelType = CLOUDY;
const int kSentinelTemperature = 20;
const int kSentinelStamp = 123;

std::string gRoot;

void check(bool condition, const char* what)
{
	if (!condition) {
		fprintf(stderr, "FuzzWeatherReply: %s\n", what);
		abort();
	}
}

void removeRoot()
{
	std::string command = "rm -rf '" + gRoot + "'";
	if (system(command.c_str()) != 0)
		fprintf(stderr, "FuzzWeatherReply: could not remove %s\n", gRoot.c_str());
}

void setUpOnce()
{
	static bool done = false;
	if (done)
		return;
	done = true;
	char pattern[] = "/tmp/zon-fuzz-weather-XXXXXX";
	check(mkdtemp(pattern) != nullptr, "no temporary device root");
	gRoot = pattern;
	atexit(removeRoot);
	setenv("ZON_HOST_ROOT", gRoot.c_str(), 1);
	// Every input logs a dozen lines; none of them is news.
	setenv("ZON_HOST_LOG", "/dev/null", 0);
	zon_host_reset();
	zon_host_weather_agent_config silent = {};
	silent.mode = ZON_HOST_WEATHER_SILENT;
	zon_host_install_weather_agent(&silent);
	zon_host_install_zonvista_service();
	ZonDBManager::getInstance()->initialize();
	ZonDBManager::getInstance()->insert(kBeijing, "Beijing", false);
}

struct Reader {
	const uint8_t* data;
	size_t size;
	size_t at = 0;

	bool done() const { return at >= size; }
	uint8_t byte() { return at < size ? data[at++] : 0; }
	std::string bytes(size_t length)
	{
		length = std::min(length, size - std::min(at, size));
		std::string out(reinterpret_cast<const char*>(data + at), length);
		at += length;
		return out;
	}
};

bundle* buildMessage(Reader& in)
{
	bundle* message = bundle_create();
	while (!in.done()) {
		uint8_t op = in.byte();
		std::string key = (op & 4) ? kKeys[in.byte() % (sizeof(kKeys) / sizeof(kKeys[0]))] : in.bytes(in.byte() % 32);
		std::string value = (op & 8) ? kValues[in.byte() % (sizeof(kValues) / sizeof(kValues[0]))] : in.bytes(in.byte());
		switch (op & 3) {
		case 1:
			bundle_add_byte(message, key.c_str(), value.data(), value.size());
			break;
		case 2: {
			std::vector<std::string> parts;
			size_t start = 0;
			for (size_t nul; (nul = value.find('\0', start)) != std::string::npos; start = nul + 1)
				parts.push_back(value.substr(start, nul - start));
			parts.push_back(value.substr(start));
			std::vector<const char*> texts;
			for (const std::string& part : parts)
				texts.push_back(part.c_str());
			bundle_add_str_array(message, key.c_str(), texts.data(), static_cast<int>(texts.size()));
			break;
		}
		default:
			bundle_add_str(message, key.c_str(), value.c_str());
			break;
		}
	}
	return message;
}

struct StoredWeather {
	int type = -1;
	int temperature = -1;
	bool centigrade = false;
	int stamp = -1;
};

StoredWeather stored()
{
	StoredWeather row;
	ZonDBManager::getInstance()->getWeatherInfo(kBeijing, row.type, row.temperature, row.centigrade, row.stamp, false);
	return row;
}

}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
	setUpOnce();
	Reader in{data, size};
	bool requestFirst = in.byte() & 1;

	ZonDBManager::getInstance()->updateWeatherInfo(kBeijing, kSentinelType, kSentinelTemperature, true, kSentinelStamp);
	std::vector<ZonWeatherReplayData> records;
	{
		ZonWeatherAgentHandler handler(_WIDGET_VIEW_WEATHER_PORT);
		handler.setReceiveWeatherDataFunc([&records](ZonWeatherReplayData& record) { records.push_back(record); });
		if (requestFirst)
			handler.requestWeatherDataFromWeatherAgent(kBeijing);

		bundle* message = buildMessage(in);
		int sent = message_port_send_message(zon_host_app_id(), _WIDGET_VIEW_WEATHER_PORT, message);
		bundle_free(message);
		check(sent == MESSAGE_PORT_ERROR_NONE, "the handler's port refused a message");
		zon_host_pump(100);
	}

	check(records.size() == 1, "a message did not give exactly one record");
	const ZonWeatherReplayData& record = records[0];
	check(record.weatherType >= UNDEFINED_WEATHER && record.weatherType <= SANDSTORM, "condition without an icon");
	check(zon_host_alarm_count() == 0, "the answer left the time-out armed");

	StoredWeather row = stored();
	bool untouched = row.type == kSentinelType && row.temperature == kSentinelTemperature && row.centigrade
		&& row.stamp == kSentinelStamp;
	if (!record.validity) {
		check(record.cityId == 0, "an invalid reply was given a city");
		check(untouched, "an invalid reply was stored");
	} else if (record.cityId == kBeijing) {
		check(requestFirst, "a city was found that nobody asked for");
		check(row.type == record.weatherType && row.temperature == record.currentTemperature
				&& row.centigrade == record.isCentegrade,
			"the stored weather differs from the record");
	} else {
		check(record.cityId == 0, "a reply was given a city nobody asked for");
		check(untouched, "a reply without a city was stored");
	}

	zon_host_launch_clear();
	return 0;
}

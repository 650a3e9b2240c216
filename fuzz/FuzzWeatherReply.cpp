// Fuzz target of the weather reply. The input becomes an arbitrary bundle (text, byte and array
// entries, under the agent's keys or any other) that arrives on a handler's port as the agent's
// answer would. Whatever the message, the handler must answer it with exactly one record, cancel
// the time-out, never name a condition the agent has no icon for, and store nothing unless the
// reply was valid and found its city.
//
// Input layout: byte 0 bit 0 chooses whether Beijing is requested first (alarm armed, latitude
// known). Then entries, each:
//   op      bits 0-1: 0 text, 1 bytes, 2 text array, 3 text; bit 2: key from the table below,
//           else a raw key; bit 3: value from the table below, else raw bytes
//   key     table index (1 byte) or length (1 byte, mod 32) and bytes
//   value   table index (1 byte) or length (1 byte) and bytes; an array holds the value and the key

#include <algorithm>
#include <vector>

#include <bundle.h>
#include <message_port.h>
#include <zon-host/zon_host.h>

#include "FuzzSupport.h"
#include "ZonDBManager.h"
#include "ZonWeatherAgentHandler.h"

namespace {

const char* const kKeys[] = {"result", "iconID", "refreshedTime", "currentTemperature", "temperatureUnit",
	"showCurrentLocation", "lat", "lon", "Result", "lat_0"};
const char* const kValues[] = {"0", "1", "00", "-7", "21", "23", "24", "-1", "4294967297", "99999999999999999999",
	"-99999999999999999999", "c", "C", "off", "", "39.938884", "39.9388838", "39.938885", "116.397459", "1e308",
	"-1e999", "nan", "inf", " 0", "0x10", "12abc"};
const int kBeijing = 35;

using fuzz::check;

bool setUpOnce()
{
	fuzz::deviceRoot();
	zon_host_reset();
	zon_host_weather_agent_config silent = {};
	silent.mode = ZON_HOST_WEATHER_SILENT;
	zon_host_install_weather_agent(&silent);
	zon_host_install_zonvista_service();
	ZonDBManager::getInstance()->initialize();
	ZonDBManager::getInstance()->insert(kBeijing, "Beijing", false);
	return true;
}

bundle* buildMessage(const uint8_t* data, size_t size)
{
	size_t at = 1;
	auto byte = [&] { return at < size ? data[at++] : 0; };
	auto bytes = [&](size_t length) {
		length = std::min(length, size - std::min(at, size));
		std::string out(reinterpret_cast<const char*>(data + std::min(at, size)), length);
		at += length;
		return out;
	};
	bundle* message = bundle_create();
	while (at < size) {
		uint8_t op = byte();
		std::string key = (op & 4) ? kKeys[byte() % (sizeof(kKeys) / sizeof(kKeys[0]))] : bytes(byte() % 32);
		std::string value = (op & 8) ? kValues[byte() % (sizeof(kValues) / sizeof(kValues[0]))] : bytes(byte());
		if ((op & 3) == 1) {
			bundle_add_byte(message, key.c_str(), value.data(), value.size());
		} else if ((op & 3) == 2) {
			const char* texts[] = {value.c_str(), key.c_str()};
			bundle_add_str_array(message, key.c_str(), texts, 2);
		} else {
			bundle_add_str(message, key.c_str(), value.c_str());
		}
	}
	return message;
}

}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
	[[maybe_unused]] static const bool setUp = setUpOnce();
	bool requestFirst = size > 0 && (data[0] & 1);

	ZonDBManager::getInstance()->updateWeatherInfo(kBeijing, CLOUDY, 20, true, 123);
	std::vector<ZonWeatherReplayData> records;
	{
		ZonWeatherAgentHandler handler(_WIDGET_VIEW_WEATHER_PORT);
		handler.setReceiveWeatherDataFunc([&records](ZonWeatherReplayData& record) { records.push_back(record); });
		if (requestFirst)
			handler.requestWeatherDataFromWeatherAgent(kBeijing);
		bundle* message = buildMessage(data, size);
		int sent = message_port_send_message(zon_host_app_id(), _WIDGET_VIEW_WEATHER_PORT, message);
		bundle_free(message);
		check(sent == MESSAGE_PORT_ERROR_NONE, "the handler's port refused a message");
		zon_host_pump(100);
	}

	check(records.size() == 1, "a message did not give exactly one record");
	const ZonWeatherReplayData& record = records[0];
	check(record.weatherType >= UNDEFINED_WEATHER && record.weatherType <= SANDSTORM, "condition without an icon");
	check(zon_host_alarm_count() == 0, "the answer left the time-out armed");

	int type = -1, temperature = -1, stamp = -1;
	bool centigrade = false;
	ZonDBManager::getInstance()->getWeatherInfo(kBeijing, type, temperature, centigrade, stamp, false);
	bool untouched = type == CLOUDY && temperature == 20 && centigrade && stamp == 123;
	if (record.validity && record.cityId == kBeijing) {
		check(requestFirst, "a city was found that nobody asked for");
		check(type == record.weatherType && temperature == record.currentTemperature && centigrade == record.isCentegrade,
			"the stored weather differs from the record");
	} else {
		check(record.cityId == 0, "a reply was given a city nobody asked for");
		check(untouched, record.validity ? "a reply without a city was stored" : "an invalid reply was stored");
	}
	zon_host_launch_clear();
	return 0;
}

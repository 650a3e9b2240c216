// Fuzz target of zonclock's restore-file checks: any bytes as the values of a backup's records,
// one value per line ("~" alone: a record without a value), fed to RestoreCheck as the cloud
// service would hand them over. Whatever the records: when the check passes, the cities it
// returns are lists the database can hold as they are (each list's positions 0..n-1 once, no
// city twice in a list, every city a catalogue row by id and exact name, numbers in their
// ranges); when it fails it says why, in a bounded number of lines.

#include <set>
#include <sstream>
#include <vector>

#include "Catalogue.h"
#include "FuzzSupport.h"
#include "RestoreCheck.h"
#include "ZonCityinfo.h"

using fuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
	std::istringstream lines(std::string(reinterpret_cast<const char*>(data), size));
	zonclock::RestoreCheck records;
	std::set<std::string> keys;
	int count = 0;
	for (std::string line; std::getline(lines, line); ++count) {
		std::string key;
		fuzz::withoutLeakChecks([&] { key = records.add(count, line == "~" ? nullptr : line.c_str()); });
		check(!key.empty(), "a record was given no key");
		keys.insert(key);
	}
	check(records.seen() == count, "a record was not counted");

	bool passed = records.check();
	// At most a few lines per record, and a bounded summary of holes per list.
	check(records.problems().size() <= size_t(3 * count + 14), "too many problems for the records given");
	if (!passed) {
		check(!records.problems().empty(), "a refused file names no problem");
		return 0;
	}
	check(records.problems().empty(), "a file that passed has problems");

	std::vector<zonclock::CityRecord> cities = records.inListOrder();
	int expected[2] = {0, 0};
	std::set<int> ids[2];
	for (const zonclock::CityRecord& city : cities) {
		int list = city.second ? 1 : 0;
		check(city.position == expected[list]++, "positions of a passed list have a hole or a repeat");
		check(ids[list].insert(city.cityId).second, "a passed list holds a city twice");
		const Cityinfo* known = zonclock::catalogueCity(city.cityId);
		check(known && city.englishName == known->cityname_eng, "a passed city is not a catalogue row");
		check(city.weatherType >= UNDEFINED_WEATHER && city.weatherType < WEATHER_STATE_MAX, "weather type out of range");
		check(city.lastUpdateTime >= 0, "a negative update time passed");
		check(keys.count(zonclock::cityKey(city)) == 1, "a passed city was handed back under another key");
	}
	check(expected[0] <= zonclock::catalogueSize() && expected[1] <= zonclock::catalogueSize(),
		"a passed list is longer than the catalogue");
	return 0;
}

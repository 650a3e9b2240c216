#include "RestoreCheck.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <map>
#include <set>

#include <json-glib/json-glib.h>

#include "Catalogue.h"
#include "ZonCityinfo.h"
#include "ZonJsonParser.h"

namespace zonclock {

const char kManifestKind[] = "zonclock.manifest";
const char kCityKind[] = "zonclock.city";
const char kManifestKey[] = "manifest";
const int kBackupFormat = 1;

const char* listName(bool second)
{
	return second ? "second list" : "main list";
}

std::string cityKey(const CityRecord& city)
{
	return std::string(city.second ? "second" : "main") + "." + std::to_string(city.position);
}

namespace {

// The members of one record's JSON object, read as strictly as the database will hold them.
// Only texts that ZonJsonParser accepted come here, so nesting is bounded.
class Members {
public:
	explicit Members(const std::string& json)
		: _parser(json_parser_new())
	{
		if (json_parser_load_from_data(_parser, json.c_str(), static_cast<gssize>(json.size()), nullptr)) {
			JsonNode* root = json_parser_get_root(_parser);
			if (root && JSON_NODE_HOLDS_OBJECT(root))
				_object = json_node_get_object(root);
		}
	}
	~Members() { g_object_unref(_parser); }
	Members(const Members&) = delete;
	Members& operator=(const Members&) = delete;

	// Empty when the member is a JSON integer within low..high, else what is wrong with it.
	std::string integer(const char* name, long long low, long long high, int& value) const
	{
		JsonNode* node = value_(name);
		if (!node)
			return std::string(name) + " is missing";
		GType type = json_node_get_value_type(node);
		if (type == G_TYPE_DOUBLE) {
			double number = json_node_get_double(node);
			if (!std::isfinite(number))
				return std::string(name) + " is not a finite number";
			if (number != std::floor(number))
				return std::string(name) + " is not an integer";
			if (number < static_cast<double>(low) || number > static_cast<double>(high))
				return outside(name, low, high);
			value = static_cast<int>(number);
			return std::string();
		}
		if (type != G_TYPE_INT64)
			return std::string(name) + " is not a number";
		gint64 number = json_node_get_int(node);
		if (number < low || number > high)
			return outside(name, low, high);
		value = static_cast<int>(number);
		return std::string();
	}

	std::string boolean(const char* name, bool& value) const
	{
		JsonNode* node = value_(name);
		if (!node)
			return std::string(name) + " is missing";
		if (json_node_get_value_type(node) != G_TYPE_BOOLEAN)
			return std::string(name) + " is not true or false";
		value = json_node_get_boolean(node);
		return std::string();
	}

	bool string(const char* name, std::string& value) const
	{
		JsonNode* node = value_(name);
		if (!node || json_node_get_value_type(node) != G_TYPE_STRING)
			return false;
		value = json_node_get_string(node);
		return true;
	}

private:
	JsonNode* value_(const char* name) const
	{
		JsonNode* node = _object ? json_object_get_member(_object, name) : nullptr;
		return node && JSON_NODE_HOLDS_VALUE(node) ? node : nullptr;
	}

	static std::string outside(const char* name, long long low, long long high)
	{
		return std::string(name) + " is outside " + std::to_string(low) + ".." + std::to_string(high);
	}

	JsonParser* _parser;
	JsonObject* _object = nullptr;
};

// "a, b and c".
std::string joined(const std::vector<std::string>& parts)
{
	std::string text;
	for (size_t i = 0; i < parts.size(); ++i)
		text += (i == 0 ? "" : i + 1 == parts.size() ? " and " : ", ") + parts[i];
	return text;
}

} // namespace

std::string RestoreCheck::add(int index, const char* jsonStr)
{
	++_seen;
	std::string where = "[record " + std::to_string(index) + "]";
	if (!jsonStr) {
		_problems.push_back(where + ": it has no value");
		return unreadableKey(index);
	}

	std::string kind;
	ZonJsonParser(jsonStr).getStringValue("kind", kind);
	if (kind != kManifestKind && kind != kCityKind) {
		_problems.push_back(where + ": it is not a record of a zonclock backup");
		return unreadableKey(index);
	}
	int format = 0;
	if (!Members(jsonStr).integer("format", INT_MIN, INT_MAX, format).empty() || format != kBackupFormat) {
		_problems.push_back(where + ": its format is not " + std::to_string(kBackupFormat)
			+ " (written by another version of zonclock?)");
		return unreadableKey(index);
	}
	return kind == kManifestKind ? readManifest(jsonStr, where, index) : readCity(jsonStr, where, index);
}

std::string RestoreCheck::readManifest(const std::string& jsonStr, const std::string& where, int index)
{
	Members members(jsonStr);
	int mainCount = 0;
	int secondCount = 0;
	std::vector<std::string> wrong;
	// A list holds each catalogue city at most once.
	for (auto [name, count] : {std::pair{"mainCount", &mainCount}, {"secondCount", &secondCount}}) {
		std::string problem = members.integer(name, 0, catalogueSize(), *count);
		if (!problem.empty())
			wrong.push_back(problem);
	}
	if (!wrong.empty()) {
		_problems.push_back(where + ": the manifest has no valid city counts: " + joined(wrong));
		return unreadableKey(index);
	}
	if (_manifest) {
		_problems.push_back(where + ": a second manifest");
		return unreadableKey(index);
	}
	_manifest.reset(new std::pair<int, int>(mainCount, secondCount));
	return kManifestKey;
}

std::string RestoreCheck::readCity(const std::string& jsonStr, const std::string& where, int index)
{
	Members members(jsonStr);
	CityRecord city;
	std::string list;
	std::vector<std::string> wrong;
	if (!members.string("list", list) || (list != "main" && list != "second"))
		wrong.push_back("list is not \"main\" or \"second\"");
	if (!members.string("englishName", city.englishName))
		wrong.push_back("englishName is not a text");
	const struct {
		const char* name;
		long long low;
		long long high;
		int* value;
	} numbers[] = {
		{"position", 0, catalogueSize() - 1, &city.position},
		{"cityId", INT_MIN, INT_MAX, &city.cityId},
		{"weatherType", UNDEFINED_WEATHER, WEATHER_STATE_MAX - 1, &city.weatherType},
		{"temperature", INT_MIN, INT_MAX, &city.temperature},
		{"lastUpdateTime", 0, INT_MAX, &city.lastUpdateTime},
	};
	for (const auto& number : numbers) {
		std::string problem = members.integer(number.name, number.low, number.high, *number.value);
		if (!problem.empty())
			wrong.push_back(problem);
	}
	std::string problem = members.boolean("isCentigrade", city.isCentigrade);
	if (!problem.empty())
		wrong.push_back(problem);
	if (!wrong.empty()) {
		_problems.push_back(where + ": the city is not valid: " + joined(wrong));
		return unreadableKey(index);
	}
	city.second = list == "second";

	// The database keeps a row only while id and English name match the catalogue.
	const Cityinfo* known = catalogueCity(city.cityId);
	if (!known || city.englishName != known->cityname_eng) {
		_problems.push_back(where + ": city " + std::to_string(city.cityId) + " \"" + city.englishName
			+ "\" is not in the catalogue");
		return unreadableKey(index);
	}
	_cities.push_back(city);
	return cityKey(city);
}

bool RestoreCheck::check()
{
	// Two full lists and the manifest: anything beyond is not a backup of this catalogue.
	if (_seen > 1 + 2 * catalogueSize())
		_problems.push_back("the file holds " + std::to_string(_seen) + " records, more than a backup of two lists of the "
			+ std::to_string(catalogueSize()) + " catalogue cities can");
	if (!_manifest) {
		if (_problems.empty())
			_problems.push_back("the manifest record is missing");
		return false;
	}
	for (bool second : {false, true}) {
		int expected = second ? _manifest->second : _manifest->first;
		std::set<int> positions;
		std::map<int, int> firstPosition; // city id -> position
		for (const CityRecord& city : inListOrder()) {
			if (city.second != second)
				continue;
			std::string at = std::string(listName(second)) + " position " + std::to_string(city.position + 1);
			if (city.position >= expected)
				_problems.push_back(at + " is beyond the " + std::to_string(expected) + " cities the manifest counts");
			else if (!positions.insert(city.position).second)
				_problems.push_back(at + " appears twice");
			auto [it, first] = firstPosition.emplace(city.cityId, city.position);
			if (!first)
				_problems.push_back(at + ": city " + std::to_string(city.cityId) + " \"" + city.englishName
					+ "\" is already at position " + std::to_string(it->second + 1));
		}
		// A damaged count may be large: name the first few holes, then only how many.
		const size_t named = 5;
		size_t missing = static_cast<size_t>(expected) - positions.size();
		size_t listed = 0;
		for (int position = 0; position < expected && listed < std::min(missing, named); ++position) {
			if (!positions.count(position)) {
				_problems.push_back(std::string(listName(second)) + " position " + std::to_string(position + 1)
					+ " is missing");
				++listed;
			}
		}
		if (missing > listed)
			_problems.push_back("... and " + std::to_string(missing - listed) + " more positions of the "
				+ listName(second) + " are missing");
	}
	return _problems.empty();
}

std::vector<CityRecord> RestoreCheck::inListOrder() const
{
	std::vector<CityRecord> ordered(_cities);
	std::stable_sort(ordered.begin(), ordered.end(), [](const CityRecord& a, const CityRecord& b) {
		return a.second != b.second ? !a.second : a.position < b.position;
	});
	return ordered;
}

} // namespace zonclock

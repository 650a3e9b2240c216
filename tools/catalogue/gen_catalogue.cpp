/*
 * gen_catalogue - writes the city catalogue header from its table.
 *
 *   gen_catalogue <cities.tsv> <output.h>
 *
 * cities.tsv holds one row per city, ids 1..331 in row order, eight tab-separated columns:
 * id, cityname_string, cityname_eng, country_string, country_name, timezone, timezone_path and
 * chinese_name; lines starting with '#' are comments. The header gets every column but the last
 * one verbatim. chinese_name only serves to compute chinese_index: the 1-based rank of the name
 * under ICU's "zh" collation (pinyin order), equal names ranked by id so that the result does not
 * depend on the sort algorithm.
 *
 * Anything unexpected in the table stops the run with a message naming the line, and nothing is
 * written: the header is committed, and a half-checked table must not silently replace it.
 */
#include "../common/TableTool.h"

#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {


[[noreturn]] void fail(const std::string& message) { table_tool::fail("gen_catalogue", message); }
void writeFile(const std::string& path, const std::string& text) { table_tool::writeFile("gen_catalogue", path, text); }

constexpr int kCityCount = 331;
constexpr size_t kTextSize = 128; // bytes of a Cityinfo text field, NUL included

enum Column {
	COL_ID,
	COL_CITYNAME_STRING,
	COL_CITYNAME_ENG,
	COL_COUNTRY_STRING,
	COL_COUNTRY_NAME,
	COL_TIMEZONE,
	COL_TIMEZONE_PATH,
	COL_CHINESE_NAME,
	COL_COUNT
};

const char* const kColumnNames[COL_COUNT] = {
	"id", "cityname_string", "cityname_eng", "country_string",
	"country_name", "timezone", "timezone_path", "chinese_name",
};

struct City {
	int id = 0;
	std::string fields[COL_COUNT];
	int chineseIndex = 0;
};

bool isValidUtf8(const std::string& text)
{
	const uint8_t* s = reinterpret_cast<const uint8_t*>(text.data());
	int32_t length = static_cast<int32_t>(text.size());
	for (int32_t i = 0; i < length;) {
		UChar32 c;
		U8_NEXT(s, i, length, c);
		if (c < 0)
			return false;
	}
	return true;
}

// Blanks at either end are legitimate ("Cairo " is stored so), but control characters are not:
// a carriage return from a file saved with CRLF would otherwise end up inside a C string.
void checkField(const std::string& cell, int column, const std::string& at)
{
	const std::string name = kColumnNames[column];
	if (cell.empty())
		fail(at + name + " is empty");
	if (cell.size() >= kTextSize)
		fail(at + name + " has " + std::to_string(cell.size()) + " bytes, at most " +
			std::to_string(kTextSize - 1) + " fit");
	for (unsigned char c : cell) {
		if (c < 0x20 || c == 0x7f) {
			char code[8];
			std::snprintf(code, sizeof code, "0x%02x", c);
			fail(at + name + " holds the control character " + code +
				(c == '\r' ? " (carriage return: save the file with LF line ends)" : ""));
		}
	}
	if (!isValidUtf8(cell))
		fail(at + name + " is not valid UTF-8");
}

std::vector<City> readTable(const std::string& path)
{
	std::vector<City> cities;
	table_tool::forEachRow("gen_catalogue", path, [&](const std::string& at, int,
		const std::vector<std::string>& cells) {
		if (cells.size() != COL_COUNT)
			fail(at + "expected " + std::to_string(COL_COUNT) + " tab-separated columns, found " +
				std::to_string(cells.size()));

		City city;
		for (int column = 0; column < COL_COUNT; ++column) {
			checkField(cells[column], column, at);
			city.fields[column] = cells[column];
		}

		const std::string& idText = cells[COL_ID];
		if (idText.size() > 3 || idText.find_first_not_of("0123456789") != std::string::npos ||
			idText[0] == '0')
			fail(at + "id \"" + idText + "\" is not a number from 1 to " + std::to_string(kCityCount));
		city.id = std::stoi(idText);

		// Users' databases store ids, and the database code finds a row at index id - 1.
		const int expected = static_cast<int>(cities.size()) + 1;
		if (city.id != expected)
			fail(at + "id " + idText + " where " + std::to_string(expected) +
				" was expected: ids run 1.." + std::to_string(kCityCount) + " in row order");
		if (city.id > kCityCount)
			fail(at + "more than " + std::to_string(kCityCount) + " rows");
		cities.push_back(city);
	});
	if (cities.size() != kCityCount)
		fail(path + ": " + std::to_string(cities.size()) + " rows, the catalogue has " +
			std::to_string(kCityCount));
	return cities;
}

void rankChineseNames(std::vector<City>& cities)
{
	UErrorCode status = U_ZERO_ERROR;
	std::unique_ptr<icu::Collator> collator(icu::Collator::createInstance(icu::Locale("zh"), status));
	// Without the zh tailoring ICU falls back to the root order (code points for Han), which
	// would still be a permutation and so slip past every later check.
	if (U_FAILURE(status) || status == U_USING_DEFAULT_WARNING || !collator)
		fail(std::string("no Chinese collation in this ICU: ") + u_errorName(status));

	struct Key {
		std::string sortKey;
		int id;
		size_t row;
	};
	std::vector<Key> keys;
	for (size_t row = 0; row < cities.size(); ++row) {
		icu::UnicodeString name = icu::UnicodeString::fromUTF8(cities[row].fields[COL_CHINESE_NAME]);
		int32_t size = collator->getSortKey(name, nullptr, 0);
		std::string sortKey(static_cast<size_t>(size), '\0');
		collator->getSortKey(name, reinterpret_cast<uint8_t*>(&sortKey[0]), size);
		keys.push_back({sortKey, cities[row].id, row});
	}
	std::sort(keys.begin(), keys.end(), [](const Key& a, const Key& b) {
		int order = a.sortKey.compare(b.sortKey);
		return order != 0 ? order < 0 : a.id < b.id;
	});
	for (size_t rank = 0; rank < keys.size(); ++rank)
		cities[keys[rank].row].chineseIndex = static_cast<int>(rank) + 1;
}

// Octal escapes are always three digits, so a following digit can never join the escape.
std::string cString(const std::string& text)
{
	std::string out = "\"";
	for (unsigned char c : text) {
		if (c == '"' || c == '\\') {
			out += '\\';
			out += static_cast<char>(c);
		} else if (c < 0x20 || c >= 0x7f) {
			char escape[8];
			std::snprintf(escape, sizeof escape, "\\%03o", c);
			out += escape;
		} else {
			out += static_cast<char>(c);
		}
	}
	return out + "\"";
}

std::string renderHeader(const std::vector<City>& cities)
{
	std::ostringstream out;
	out << "/**\n"
		" * @file\n"
		" * ZonCityList.h - the catalogue of the " << kCityCount << " selectable cities.\n"
		" *\n"
		" * Generated by tools/catalogue/gen_catalogue from tools/catalogue/cities.tsv. Do not edit:\n"
		" * change cities.tsv and build the target regenerate-catalogue.\n"
		" *\n"
		" * The array is static and writable on purpose. Every source file that includes this header\n"
		" * gets its own copy, and the city database writes dbId into its copy alone.\n"
		" *\n"
		" * Row n - 1 holds id n. chinese_index is the rank of the city's Chinese name under ICU's \"zh\"\n"
		" * collation (pinyin order), equal names ranked by id.\n"
		" */\n"
		"#ifndef ZON_CITY_LIST_H\n"
		"#define ZON_CITY_LIST_H\n"
		"\n"
		"#include \"ZonCityinfo.h\"\n"
		"\n"
		"/// The number of catalogue cities; ids run from 1 to this.\n"
		"#define ZON_CITY_COUNT " << kCityCount << "\n"
		"\n"
		"/// The catalogue, row id - 1 for city id; this file's own copy.\n"
		"[[maybe_unused]] static Cityinfo allCityList[ZON_CITY_COUNT] = {\n";
	for (const City& city : cities) {
		out << "\t{" << city.id << ", " << city.chineseIndex;
		for (int column = COL_CITYNAME_STRING; column <= COL_TIMEZONE_PATH; ++column)
			out << ", " << cString(city.fields[column]);
		out << ", nullptr, nullptr, 0, nullptr, 0, 0, false, UNDEFINED_WEATHER},\n";
	}
	out << "};\n"
		"\n"
		"#endif /* ZON_CITY_LIST_H */\n";
	return out.str();
}

} // namespace

int main(int argc, char** argv)
{
	if (argc != 3) {
		std::cerr << "usage: gen_catalogue <cities.tsv> <output.h>\n";
		return EXIT_FAILURE;
	}
	std::vector<City> cities = readTable(argv[1]);
	rankChineseNames(cities);
	writeFile(argv[2], renderHeader(cities));
	return EXIT_SUCCESS;
}

/*
 * gen_citypoints - writes the city coordinate header from its table.
 *
 *   gen_citypoints <city_points.tsv> <output.h> [<cities.tsv>]
 *
 * city_points.tsv holds one row per catalogue city, ids 1..331 in row order, tab-separated:
 * id, cityname_eng, latitude, longitude and an optional note; lines starting with '#' are
 * comments. Latitude and longitude are decimal degrees, north and east positive, and their text
 * goes into the header unchanged as the double literal, so the compiled value is exactly the
 * number the table shows.
 *
 * Given the catalogue's own table as third argument, every English name is compared with the
 * catalogue's row of the same id: the names are there only so that a person can read the table,
 * and a row shifted by one would otherwise go unnoticed.
 *
 * Anything unexpected stops the run with a message naming the line, and nothing is written: the
 * header is committed, and a half-checked table must not silently replace it.
 */
#include "../common/TableTool.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {


[[noreturn]] void fail(const std::string& message) { table_tool::fail("gen_citypoints", message); }
void writeFile(const std::string& path, const std::string& text) { table_tool::writeFile("gen_citypoints", path, text); }

constexpr int kCityCount = 331;

struct Point {
	int id = 0;
	std::string name;
	std::string latitude;  // as written in the table, which is also the literal in the header
	std::string longitude;
	std::string latitudeKey;
	int line = 0;
};

int parseId(const std::string& text, const std::string& at)
{
	if (text.empty() || text.size() > 3 || text.find_first_not_of("0123456789") != std::string::npos ||
		text[0] == '0')
		fail(at + "id \"" + text + "\" is not a number from 1 to " + std::to_string(kCityCount));
	return std::stoi(text);
}

// The name ends up in a // comment of the header: a control character or a final backslash
// would break the line or swallow the next one.
void checkName(const std::string& name, const std::string& at)
{
	if (name.empty())
		fail(at + "cityname_eng is empty");
	for (unsigned char c : name) {
		if (c < 0x20 || c >= 0x7f)
			fail(at + "cityname_eng holds a byte outside printable ASCII");
		if (c == '\\')
			fail(at + "cityname_eng holds a backslash");
	}
}

// Only "-?digits.digits" is accepted, without superfluous leading zeros. The text is pasted into
// C++ as it stands: without a fraction it would be an int literal (an octal one after a leading
// zero), and the forms strtod also takes (exponents, hexadecimal, "inf", blanks, '+') are not
// what a reader of the table expects to see.
double parseDegrees(const std::string& text, const char* what, double limit, const std::string& at)
{
	size_t digits = text[0] == '-' ? 1 : 0;
	size_t point = text.find('.');
	bool wellFormed = point != std::string::npos && point > digits && point + 1 < text.size() &&
		text.find_first_not_of("0123456789", digits) == point &&
		text.find_first_not_of("0123456789", point + 1) == std::string::npos &&
		(text[digits] != '0' || point == digits + 1);
	if (!wellFormed)
		fail(at + what + " \"" + text + "\" is not a plain decimal such as -33.8688 (digits, a point, digits; no leading zeros)");

	// strtod reads '.' here: this program never changes the C locale.
	char* end = nullptr;
	double value = std::strtod(text.c_str(), &end);
	if (*end != '\0' || !std::isfinite(value))
		fail(at + what + " \"" + text + "\" does not read as a number");
	if (value < -limit || value > limit)
		fail(at + what + " " + text + " is outside -" + std::to_string(static_cast<int>(limit)) + "..+" +
			std::to_string(static_cast<int>(limit)) + " degrees");
	return value;
}

std::vector<Point> readTable(const std::string& path)
{
	std::vector<Point> points;
	table_tool::forEachRow("gen_citypoints", path, [&](const std::string& at, int lineNo,
		const std::vector<std::string>& cells) {
		// An editor that strips trailing whitespace removes the tab before an empty note, so four
		// columns are as good as five.
		if (cells.size() != 4 && cells.size() != 5)
			fail(at + "expected 4 or 5 tab-separated columns (id, cityname_eng, latitude, longitude, note), found " +
				std::to_string(cells.size()));

		Point point;
		point.line = lineNo;
		point.id = parseId(cells[0], at);
		const int expected = static_cast<int>(points.size()) + 1;
		if (point.id != expected)
			fail(at + "id " + cells[0] + " where " + std::to_string(expected) +
				" was expected: ids run 1.." + std::to_string(kCityCount) + " in row order");
		if (point.id > kCityCount)
			fail(at + "more than " + std::to_string(kCityCount) + " rows");

		checkName(cells[1], at);
		point.name = cells[1];

		double latitude = parseDegrees(cells[2], "latitude", 90.0, at);
		parseDegrees(cells[3], "longitude", 180.0, at);
		point.latitude = cells[2];
		point.longitude = cells[3];

		// Exactly as the weather request keys it (32-byte buffer): a reply is tied back to its city
		// only through this text.
		char key[32] = {0};
		std::snprintf(key, sizeof key, "%lf", latitude);
		point.latitudeKey = key;

		if (cells.size() == 5) {
			for (unsigned char c : cells[4]) {
				if (c < 0x20 || c == 0x7f)
					fail(at + "note holds a control character");
			}
		}
		points.push_back(point);
	});
	if (points.size() != kCityCount)
		fail(path + ": " + std::to_string(points.size()) + " rows, the catalogue has " +
			std::to_string(kCityCount));
	return points;
}

// Two cities whose latitudes print alike would share one request key, and the weather asked for
// one would be filed under the other.
void checkLatitudeKeys(const std::vector<Point>& points, const std::string& path)
{
	std::map<std::string, const Point*> byKey;
	for (const Point& point : points) {
		auto inserted = byKey.emplace(point.latitudeKey, &point);
		if (!inserted.second) {
			const Point& first = *inserted.first->second;
			fail(table_tool::where(path, point.line) + "latitude " + point.latitude + " of id " + std::to_string(point.id) +
				" prints as " + point.latitudeKey + ", as does latitude " + first.latitude + " of id " +
				std::to_string(first.id) + " (line " + std::to_string(first.line) +
				"); the printed latitude is the weather lookup key and must be unique");
		}
	}
}

void checkNamesAgainstCatalogue(const std::vector<Point>& points, const std::string& cataloguePath)
{
	size_t row = 0;
	table_tool::forEachRow("gen_citypoints", cataloguePath, [&](const std::string& at, int,
		const std::vector<std::string>& cells) {
		if (cells.size() < 3)
			fail(at + "not a catalogue row");
		if (row >= points.size())
			fail(at + "more rows than the coordinate table");
		const Point& point = points[row++];
		if (cells[0] != std::to_string(point.id) || cells[2] != point.name)
			fail(at + "catalogue row " + cells[0] + " \"" + cells[2] +
				"\" does not match coordinate row " + std::to_string(point.id) + " \"" + point.name + "\"");
	});
	if (row != points.size())
		fail(cataloguePath + ": " + std::to_string(row) + " rows, the coordinate table has " +
			std::to_string(points.size()));
}

std::string trimmed(const std::string& text)
{
	size_t first = text.find_first_not_of(' ');
	size_t last = text.find_last_not_of(' ');
	return first == std::string::npos ? std::string() : text.substr(first, last - first + 1);
}

std::string renderHeader(const std::vector<Point>& points)
{
	std::ostringstream out;
	out << "/**\n"
		" * @file\n"
		" * ZonCityPoints.h - where the " << kCityCount << " catalogue cities lie.\n"
		" *\n"
		" * Generated by tools/citypoints/gen_citypoints from tools/citypoints/city_points.tsv. Do not\n"
		" * edit: change city_points.tsv and build the target regenerate-citypoints.\n"
		" *\n"
		" * allCityPoints[id - 1] is {latitude, longitude} of catalogue city id, in decimal degrees,\n"
		" * north and east positive. The weather request finds a reply's city by the latitude printed\n"
		" * with \"%lf\", so no two rows print alike; the literals are the table's text, digit for digit.\n"
		" */\n"
		"#ifndef ZON_CITY_POINTS_H\n"
		"#define ZON_CITY_POINTS_H\n"
		"\n"
		"/// The number of rows, one per catalogue city.\n"
		"#define ZON_CITY_POINT_COUNT " << kCityCount << "\n"
		"\n"
		"/// {latitude, longitude} in decimal degrees, row id - 1 for catalogue city id.\n"
		"[[maybe_unused]] static const double allCityPoints[ZON_CITY_POINT_COUNT][2] = {\n";
	for (const Point& point : points)
		out << "\t{" << point.latitude << ", " << point.longitude << "}, // " << point.id << " "
			<< trimmed(point.name) << "\n";
	out << "};\n"
		"\n"
		"#endif /* ZON_CITY_POINTS_H */\n";
	return out.str();
}

} // namespace

int main(int argc, char** argv)
{
	if (argc != 3 && argc != 4) {
		std::cerr << "usage: gen_citypoints <city_points.tsv> <output.h> [<cities.tsv>]\n";
		return EXIT_FAILURE;
	}
	std::vector<Point> points = readTable(argv[1]);
	checkLatitudeKeys(points, argv[1]);
	if (argc == 4)
		checkNamesAgainstCatalogue(points, argv[3]);
	writeFile(argv[2], renderHeader(points));
	return EXIT_SUCCESS;
}

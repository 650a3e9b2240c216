// Invariants of the city coordinates. The weather exchange ties an answer to its city only by the
// "%lf" text of the latitude, so the table is checked as a lookup key as well as a map; where the
// system's zone table knows a city, its position there is the outside truth.

#include <gtest/gtest.h>

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <system_error>

#include "ZonCityList.h"
#include "ZonCityPoints.h"

namespace {

constexpr int kCityCount = 331;
const std::string kZoneDir = "/usr/share/zoneinfo/";

double latitude(int id) { return allCityPoints[id - 1][0]; }
double longitude(int id) { return allCityPoints[id - 1][1]; }

// As the weather request formats it.
std::string latitudeKey(int id)
{
	char text[32] = {0};
	std::snprintf(text, sizeof text, "%lf", latitude(id));
	return text;
}

// One ISO 6709 component: sign, then DDMM[SS] (latitude, 2 degree digits) or DDDMM[SS] (3).
double iso6709(const std::string& text, size_t digits)
{
	double value = std::stoi(text.substr(1, digits)) + std::stoi(text.substr(1 + digits, 2)) / 60.0 +
		(text.size() > 3 + digits ? std::stoi(text.substr(3 + digits, 2)) / 3600.0 : 0.0);
	return text.at(0) == '-' ? -value : value;
}

// Letters and digits only, lower case: "St. John's", "St_Johns" and "st johns" are one name.
std::string comparable(const std::string& name)
{
	std::string out;
	for (unsigned char c : name) {
		if (std::isalnum(c))
			out += static_cast<char>(std::tolower(c));
	}
	return out;
}

// The catalogue's "GMT+5:45" in hours.
double gmtOffsetHours(const char* text)
{
	const char* colon = std::strchr(text, ':');
	double hours = std::atoi(text + 4) + (colon ? std::atoi(colon + 1) / 60.0 : 0.0);
	return text[3] == '-' ? -hours : hours;
}

} // namespace

TEST(CityPointsInvariant, OnePairPerCatalogueCityWithinRangeAndAUniqueLatitudeText)
{
	static_assert(ZON_CITY_POINT_COUNT == ZON_CITY_COUNT, "one coordinate pair per catalogue city");
	ASSERT_EQ(kCityCount, static_cast<int>(std::size(allCityPoints)));
	std::map<std::string, int> owner;
	for (int id = 1; id <= kCityCount; ++id) {
		EXPECT_TRUE(std::fabs(latitude(id)) <= 90.0 && std::fabs(longitude(id)) <= 180.0) << "id " << id;
		// A row dropped from the initialiser would silently become a zero pair.
		EXPECT_FALSE(latitude(id) == 0.0 && longitude(id) == 0.0) << "id " << id;
		auto inserted = owner.emplace(latitudeKey(id), id);
		EXPECT_TRUE(inserted.second) << "ids " << id << " and " << inserted.first->second
									 << " both request weather as latitude " << inserted.first->first;
	}
}

TEST(CityPointsInvariant, ProductCoordinatesAreKeptDigitForDigit)
{
	// Answers for these cities are matched by these exact values; a rounding "tidy-up" of the
	// table would orphan them. 283 is the Canadian St. John's, not Antigua's namesake.
	const struct {
		int id;
		double latitude, longitude;
	} rows[] = {{1, 5.3485419, -3.9798626}, {2, 24.3865481, 54.563506}, {35, 39.9388838, 116.3974589},
		{39, 52.5075419, 13.4261419}, {261, 37.7577, -122.4376}, {283, 47.4824155, -52.8286382},
		{331, 47.377455, 8.536715}};
	for (const auto& row : rows)
		EXPECT_EQ(std::make_pair(row.latitude, row.longitude), std::make_pair(latitude(row.id), longitude(row.id))) << row.id;
	EXPECT_EQ("5.348542", latitudeKey(1));
	EXPECT_EQ("37.757700", latitudeKey(261));
}

// A city is taken as its zone's principal location when its English name is the zone's exemplar
// city (the last part of the zone name; letters and digits compared, case ignored, a trailing
// "City" allowed, as in "Mexico City") and the catalogue files it under that very zone or a link
// to it. The second condition keeps out namesakes: San Juan of Puerto Rico is not
// America/Argentina/San_Juan, and Antigua's St. John's is not America/St_Johns.
TEST(CityPointsInvariant, PrincipalLocationsAgreeWithTheSystemZoneTable)
{
	std::ifstream in(kZoneDir + "zone1970.tab");
	ASSERT_TRUE(in) << "cannot read " << kZoneDir << "zone1970.tab (package tzdata)";

	struct ZoneLocation {
		std::string zone;
		double latitude, longitude;
	};
	std::map<std::string, ZoneLocation> byExemplar;
	for (std::string line; std::getline(in, line);) {
		if (line.empty() || line[0] == '#')
			continue;
		size_t tab1 = line.find('\t'), tab2 = line.find('\t', tab1 + 1);
		ASSERT_NE(std::string::npos, tab2) << line;
		std::string coordinates = line.substr(tab1 + 1, tab2 - tab1 - 1);
		std::string zone = line.substr(tab2 + 1, line.find('\t', tab2 + 1) - tab2 - 1);
		size_t split = coordinates.find_first_of("+-", 1);
		ASSERT_TRUE(split == 5 || split == 7) << line;
		byExemplar.emplace(comparable(zone.substr(zone.rfind('/') + 1)),
			ZoneLocation{zone, iso6709(coordinates.substr(0, split), 2), iso6709(coordinates.substr(split), 3)});
	}

	int covered = 0;
	for (const Cityinfo& city : allCityList) {
		std::string name = comparable(city.cityname_eng);
		auto found = byExemplar.find(name);
		if (found == byExemplar.end() && name.size() > 4 && name.compare(name.size() - 4, 4, "city") == 0)
			found = byExemplar.find(name.substr(0, name.size() - 4));
		std::error_code error;
		if (found == byExemplar.end() ||
			!std::filesystem::equivalent(kZoneDir + city.timezone_path, kZoneDir + found->second.zone, error))
			continue;
		++covered;
		EXPECT_NEAR(found->second.latitude, latitude(city.id), 1.0) << city.cityname_eng << " / " << found->second.zone;
		EXPECT_NEAR(found->second.longitude, longitude(city.id), 1.0) << city.cityname_eng << " / " << found->second.zone;
	}
	RecordProperty("principal_locations_checked", covered);
	// Well over a hundred capitals and zone cities are in the catalogue; a small count means the
	// table or the matching broke, not that the coordinates are right.
	EXPECT_GE(covered, 120);
}

// Civil time follows the sun: standard time stays within about two hours of the local mean time
// of every city in the catalogue (western China is the farthest off). A longitude with the wrong
// sign, or a row shifted against the catalogue, lands far outside that.
TEST(CityPointsInvariant, LongitudeAgreesWithTheCitysGmtOffset)
{
	for (const Cityinfo& city : allCityList) {
		double apart = std::remainder(gmtOffsetHours(city.timezone) - longitude(city.id) / 15.0, 24.0);
		EXPECT_LE(std::fabs(apart), 3.0) << "id " << city.id << " " << city.cityname_eng << " at longitude "
										 << longitude(city.id) << " is " << apart << " h from " << city.timezone;
	}
}

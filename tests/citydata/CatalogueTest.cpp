// Invariants of the city catalogue and its coordinates that the database, the map, the weather
// exchange and the users' stored rows rely on. The table is data kept as the product has it, so
// these tests pin its irregularities as well as its rules: a "fix" to either is a fault.

#include <gtest/gtest.h>

#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>
#include <unicode/ucal.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <strings.h>
#include <system_error>
#include <tuple>
#include <vector>

#include "ZonCityList.h"
#include "ZonCityPoints.h"

namespace {

const std::string kZoneDir = "/usr/share/zoneinfo/";

const Cityinfo& city(int id) { return allCityList[id - 1]; }
double latitude(int id) { return allCityPoints[id - 1][0]; }
double longitude(int id) { return allCityPoints[id - 1][1]; }

std::vector<int> idsWhere(bool (*predicate)(const Cityinfo&))
{
	std::vector<int> ids;
	for (const Cityinfo& c : allCityList)
		ids.insert(ids.end(), predicate(c), c.id);
	return ids;
}

// The weather exchange ties an answer to its city only by the "%lf" text of the latitude.
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
	std::string out = std::regex_replace(name, std::regex("[^A-Za-z0-9]+"), "");
	std::transform(out.begin(), out.end(), out.begin(), [](unsigned char c) { return std::tolower(c); });
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

// Civil time follows the sun: standard time stays within about two hours of the local mean time
// of every city (western China is the farthest off). A longitude with the wrong sign, or a row
// shifted against the catalogue, lands far outside that. The old POSIX-style and renamed zone ids
// ("EST5EDT", "Asia/Rangoon", "America/Godthab") are kept as the table has them; ICU knows them.
TEST(CatalogueInvariant, RowsRunInIdOrderWithCleanKeysAKnownZoneAndAPointTheGmtTextAgreesWith)
{
	static_assert(ZON_CITY_COUNT == 331, "the catalogue has 331 cities");
	static_assert(ZON_CITY_POINT_COUNT == ZON_CITY_COUNT, "one coordinate pair per catalogue city");
	EXPECT_EQ((std::vector<int>{54, 91, 153, 154}),
		idsWhere([](const Cityinfo& c) { return std::regex_match(c.cityname_eng, std::regex(".* ")); }));
	// Not empty, no stray blanks (but those four), and string ids are translation keys.
	const std::regex trimmed("[^ ](.*[^ ])?"), name("[^ ].*"),
		stringId("(WDS_ZON_BODY_|WDS_ZON_MBODY_|WDS_CLOCK_BODY_|IDS_ZON_BODY_)[A-Z0-9_]+");
	// Sign, whole hours without a leading zero, optional ":30" or ":45".
	const std::regex gmt("GMT[+-]([0-9]|1[0-4])(:30|:45)?");
	const icu::UnicodeString unknown(UCAL_UNKNOWN_ZONE_ID, -1, US_INV);
	std::map<std::string, int> fractional, owner;
	std::vector<int> descents;
	for (const Cityinfo& c : allCityList) {
		const int id = static_cast<int>(&c - allCityList) + 1;
		SCOPED_TRACE("row of id " + std::to_string(id));
		EXPECT_EQ(id, c.id);
		if (id > 1 && strcasecmp(city(id - 1).cityname_eng, c.cityname_eng) > 0)
			descents.push_back(id);
		EXPECT_TRUE(std::fabs(latitude(id)) <= 90.0 && std::fabs(longitude(id)) <= 180.0);
		// A row dropped from the initialiser would silently become a zero pair.
		EXPECT_FALSE(latitude(id) == 0.0 && longitude(id) == 0.0);
		auto inserted = owner.emplace(latitudeKey(id), id);
		EXPECT_TRUE(inserted.second) << "ids " << id << " and " << inserted.first->second
									 << " both request weather as latitude " << inserted.first->first;
		// Run-time state starts empty.
		EXPECT_TRUE(!c.cityname_translated && !c.compare_name && !c.dbId && !c.checkIcon && !c.isChecked &&
			!c.currentTemperature && !c.isCentegrade && c.currentWeatherType == UNDEFINED_WEATHER);
		for (const char* text : {c.cityname_string, c.cityname_eng, c.country_string, c.country_name, c.timezone,
				 c.timezone_path})
			EXPECT_TRUE(std::regex_match(text, text == c.cityname_eng ? name : trimmed)) << '"' << text << '"';
		EXPECT_TRUE(std::regex_match(c.cityname_string, stringId)) << c.cityname_string;
		EXPECT_TRUE(std::regex_match(c.country_string, stringId)) << c.country_string;
		EXPECT_TRUE(std::regex_match(c.timezone, gmt)) << '"' << c.timezone << '"';
		if (std::strchr(c.timezone, ':'))
			++fractional[c.timezone];
		std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(c.timezone_path)));
		icu::UnicodeString zoneId;
		EXPECT_NE(unknown, zone->getID(zoneId)) << '"' << c.timezone_path << '"';
		double apart = std::remainder(gmtOffsetHours(c.timezone) - longitude(c.id) / 15.0, 24.0);
		EXPECT_LE(std::fabs(apart), 3.0) << c.cityname_eng << " at longitude " << longitude(c.id) << " is " << apart
										 << " h from " << c.timezone;
	}
	EXPECT_EQ(std::vector<int>{282}, descents);
	EXPECT_STREQ("St. Pierre and Miquelon", city(281).cityname_eng);
	// Stored rows match names byte for byte, so the capitals of "OSAKA" must survive.
	EXPECT_EQ(std::vector<int>{224}, idsWhere([](const Cityinfo& c) {
		return std::regex_match(c.cityname_eng, std::regex("[^a-z]+"));
	}));
	EXPECT_STREQ("OSAKA", city(224).cityname_eng);
	EXPECT_EQ((std::map<std::string, int>{{"GMT+5:30", 7}, {"GMT+9:30", 2}, {"GMT-3:30", 2}, {"GMT+4:30", 1},
				  {"GMT+5:45", 1}, {"GMT+3:30", 1}, {"GMT+6:30", 1}}),
		fractional);
}

// Recomputed by pairwise comparison rather than sort keys, so it does not share the generator's
// way of ranking. Agreement also makes the index a permutation of 1..331.
TEST(CatalogueInvariant, ChineseIndexAndPrincipalLocationsAgreeWithIcuAndTheSystemZoneTable)
{
	std::ifstream in(ZON_SOURCE_DIR "/tools/catalogue/cities.tsv");
	ASSERT_TRUE(in) << "cannot read cities.tsv";
	std::vector<std::string> names;
	for (std::string line; std::getline(in, line);) {
		if (!line.empty() && line[0] != '#')
			names.push_back(line.substr(line.rfind('\t') + 1));
	}
	ASSERT_EQ(static_cast<size_t>(ZON_CITY_COUNT), names.size());

	UErrorCode status = U_ZERO_ERROR;
	std::unique_ptr<icu::Collator> collator(icu::Collator::createInstance(icu::Locale("zh"), status));
	ASSERT_TRUE(U_SUCCESS(status) && status != U_USING_DEFAULT_WARNING) << u_errorName(status);
	for (int i = 0; i < ZON_CITY_COUNT; ++i) {
		int rank = 1;
		for (int j = 0; j < ZON_CITY_COUNT; ++j) {
			UCollationResult order = collator->compareUTF8(names[j], names[i], status);
			if (order == UCOL_LESS || (order == UCOL_EQUAL && j < i))
				++rank;
		}
		EXPECT_EQ(rank, allCityList[i].chinese_index) << "id " << i + 1 << " " << names[i];
	}
	ASSERT_TRUE(U_SUCCESS(status)) << u_errorName(status);

	// A city is taken as its zone's principal location when its English name is the zone's exemplar
	// city (the last part of the zone name; letters and digits compared, case ignored, a trailing
	// "City" allowed, as in "Mexico City") and the catalogue files it under that very zone or a link
	// to it. The second condition keeps out namesakes: San Juan of Puerto Rico is not
	// America/Argentina/San_Juan, and Antigua's St. John's is not America/St_Johns.
	std::ifstream zoneTable(kZoneDir + "zone1970.tab");
	ASSERT_TRUE(zoneTable) << "cannot read " << kZoneDir << "zone1970.tab (package tzdata)";

	struct ZoneLocation {
		std::string zone;
		double latitude, longitude;
	};
	std::map<std::string, ZoneLocation> byExemplar;
	for (std::string line; std::getline(zoneTable, line);) {
		if (line.empty() || line[0] == '#')
			continue;
		std::istringstream fields(line);
		std::string codes, coordinates, zone;
		ASSERT_TRUE(fields >> codes >> coordinates >> zone) << line;
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

TEST(CatalogueInvariant, TellingRowsCoordinatesAndIrregularKeysAreKeptExactly)
{
	const std::string rows[] = {
		"1|1|WDS_ZON_BODY_ABIDJAN_M_CITY|Abidjan|WDS_ZON_BODY_COTE_DIVOIRE_M_COUNTRY|COTE_DIVOIRE|GMT+0|Africa/Abidjan",
		"35|39|WDS_ZON_BODY_BEIJING_M_CITY|Beijing|WDS_ZON_BODY_CHINA_M_COUNTRY|CHINA|GMT+8|Asia/Shanghai",
		"39|36|WDS_ZON_BODY_BERLIN_M_CITY|Berlin|WDS_ZON_BODY_GERMANY_M_COUNTRY|GERMANY|GMT+1|Europe/Berlin",
		"45|48|WDS_ZON_BODY_BOSTON_M_COUNTRY|Boston|WDS_ZON_BODY_USA_M_COUNTRY|USA_M_COUNTRYNAME|GMT-5|EST5EDT",
		"140|320|WDS_ZON_BODY_JERUSALEM_M_CITY|Jerusalem|WDS_ZON_BODY_ISRAEL_M_COUNTRY|ISRAEL|GMT+2|Asia/Jerusalem",
		"148|136|WDS_ZON_BODY_KATHMANDU_M_CITY|Kathmandu|WDS_ZON_BODY_NEPAL_M_COUNTRY|NEPAL|GMT+5:45|Asia/Kathmandu",
		"213|305|WDS_ZON_BODY_NEW_DELHI_M_CITY|New Delhi|WDS_ZON_BODY_INDIA_M_COUNTRY|INDIA|GMT+5:30|Asia/Kolkata",
		"261|148|WDS_ZON_BODY_SAN_FRANCISCO_M_CITY|San Francisco|WDS_ZON_BODY_USA_M_COUNTRY|USA_M_COUNTRYNAME|GMT-8|"
		"America/Los_Angeles",
		"273|75|WDS_CLOCK_BODY_SEVERO_KURILSK_M_CITY_NAME|Severo-Kurilsk|WDS_ZON_BODY_RUSSIA_M_COUNTRY|RUSSIA|GMT+11|"
		"Asia/Srednekolymsk",
		"283|266|WDS_ZON_MBODY_ST_JOHNS_M_CITY|St. John's|WDS_ZON_BODY_CANADA_M_COUNTRY|CANADA|GMT-3:30|America/St_Johns",
		"331|271|WDS_ZON_BODY_ZURICH_M_CITY|Zurich|WDS_ZON_BODY_SWITZERLAND_M_COUNTRY|SWITZERLAND|GMT+1|Europe/Zurich",
	};
	for (const std::string& row : rows) {
		const Cityinfo& c = city(std::stoi(row));
		std::string actual = std::to_string(c.id) + "|" + std::to_string(c.chinese_index);
		for (const char* text : {c.cityname_string, c.cityname_eng, c.country_string, c.country_name, c.timezone,
				 c.timezone_path})
			actual += std::string("|") + text;
		EXPECT_EQ(row, actual);
	}
	// Weather answers for these cities are matched by these exact values; a rounding "tidy-up" of
	// the table would orphan them. 283 is the Canadian St. John's, not Antigua's namesake.
	const std::tuple<int, double, double> points[] = {{1, 5.3485419, -3.9798626}, {2, 24.3865481, 54.563506},
		{35, 39.9388838, 116.3974589}, {39, 52.5075419, 13.4261419}, {261, 37.7577, -122.4376},
		{283, 47.4824155, -52.8286382}, {331, 47.377455, 8.536715}};
	for (const auto& [id, lat, lon] : points)
		EXPECT_EQ(std::make_pair(lat, lon), std::make_pair(latitude(id), longitude(id))) << id;

	// St. John's is two cities under one string id.
	EXPECT_EQ((std::vector<int>{282, 283}),
		idsWhere([](const Cityinfo& c) { return std::strcmp(c.cityname_eng, "St. John's") == 0; }));
	EXPECT_STREQ(city(283).cityname_string, city(282).cityname_string);
	EXPECT_STREQ("GMT-4", city(282).timezone);
	EXPECT_STREQ("America/Antigua", city(282).timezone_path);

	// The pair (name id, GMT text) must name one city, or a lookup from display data finds the
	// wrong one.
	std::set<std::pair<std::string, std::string>> pairs;
	for (const Cityinfo& c : allCityList)
		EXPECT_TRUE(pairs.emplace(c.cityname_string, c.timezone).second) << c.id << " " << c.cityname_eng;

	enum Field { CITY, COUNTRY, COUNTRY_NAME };
	// One of each kind: swapped city/country families, MBODY and other prefixes, missing suffixes,
	// and country keys that are not plain upper-case keys.
	const struct { int id; Field field; const char* text; } expected[] = {
		{2, CITY, "WDS_ZON_BODY_ABU_DHABI_M_COUNTRY"}, {7, COUNTRY, "WDS_ZON_BODY_ALGERIA_M_CITY"},
		{64, CITY, "WDS_ZON_MBODY_CHANGCHUN_M_CITY"}, {232, CITY, "WDS_ZON_BODY_PARIS"},
		{280, CITY, "WDS_CLOCK_BODY_SREDNEKOLYMSK_M_CITY_NAME"}, {167, COUNTRY, "IDS_ZON_BODY_SLOVENIA_M_COUNTRYNAME"},
		{66, COUNTRY_NAME, "UNITED_STATES_VIRGIN_ISLANDS_M_COUNTRYNAME"}, {281, COUNTRY_NAME, "France"},
	};
	for (const auto& e : expected) {
		const Cityinfo& c = city(e.id);
		EXPECT_STREQ(e.text, e.field == CITY ? c.cityname_string : e.field == COUNTRY ? c.country_string : c.country_name)
			<< "id " << e.id;
	}

	// Every United States city shares one country key and one country id.
	std::vector<int> us = idsWhere([](const Cityinfo& c) { return !std::strcmp(c.country_name, "USA_M_COUNTRYNAME"); });
	EXPECT_EQ(36u, us.size());
	EXPECT_EQ(us, idsWhere([](const Cityinfo& c) { return !std::strcmp(c.country_string, "WDS_ZON_BODY_USA_M_COUNTRY"); }));
}

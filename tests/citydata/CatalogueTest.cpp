// Invariants of the city catalogue that the database, the map and the users' stored rows rely on.
// The table is data kept as the product has it, so these tests pin its irregularities as well as
// its rules: a "fix" to either is a fault.

#include <gtest/gtest.h>

#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>
#include <unicode/ucal.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <regex>
#include <set>
#include <string>
#include <strings.h>
#include <vector>

#include "ZonCityList.h"

namespace {

constexpr int kCityCount = 331;

const Cityinfo& city(int id) { return allCityList[id - 1]; }

std::vector<int> idsWhere(bool (*predicate)(const Cityinfo&))
{
	std::vector<int> ids;
	for (const Cityinfo& c : allCityList)
		ids.insert(ids.end(), predicate(c), c.id);
	return ids;
}

} // namespace

TEST(CatalogueInvariant, IdsRunInRowOrderAndNamesAscendExceptStPierreBeforeStJohns)
{
	static_assert(ZON_CITY_COUNT == kCityCount, "the catalogue has 331 cities");
	ASSERT_EQ(kCityCount, static_cast<int>(std::size(allCityList)));
	std::vector<int> descents;
	for (int i = 0; i < kCityCount; ++i) {
		EXPECT_EQ(i + 1, allCityList[i].id) << "row " << i;
		if (i > 0 && strcasecmp(allCityList[i - 1].cityname_eng, allCityList[i].cityname_eng) > 0)
			descents.push_back(allCityList[i].id);
	}
	EXPECT_EQ(std::vector<int>{282}, descents);
	EXPECT_STREQ("St. Pierre and Miquelon", city(281).cityname_eng);

	// Stored rows match names byte for byte, so the capitals of "OSAKA" must survive.
	EXPECT_EQ(std::vector<int>{224}, idsWhere([](const Cityinfo& c) {
		return std::regex_match(c.cityname_eng, std::regex("[^a-z]+"));
	}));
	EXPECT_STREQ("OSAKA", city(224).cityname_eng);
}

TEST(CatalogueInvariant, StJohnsIsTwoCitiesUnderOneStringId)
{
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
}

TEST(CatalogueInvariant, TextsAreCleanTerminatedKeysWithFourTrailingBlanksInNames)
{
	EXPECT_EQ((std::vector<int>{54, 91, 153, 154}),
		idsWhere([](const Cityinfo& c) { return std::regex_match(c.cityname_eng, std::regex(".* ")); }));
	// Not empty, no stray blanks (but those four), and string ids are translation keys.
	const std::regex trimmed("[^ ](.*[^ ])?"), name("[^ ].*"),
		stringId("(WDS_ZON_BODY_|WDS_ZON_MBODY_|WDS_CLOCK_BODY_|IDS_ZON_BODY_)[A-Z0-9_]+");
	for (const Cityinfo& c : allCityList) {
		SCOPED_TRACE("id " + std::to_string(c.id));
		for (const char* text : {c.cityname_string, c.cityname_eng, c.country_string, c.country_name, c.timezone,
				 c.timezone_path}) {
			ASSERT_NE(nullptr, std::memchr(text, '\0', CITYINFO_TEXT_SIZE));
			EXPECT_TRUE(std::regex_match(text, text == c.cityname_eng ? name : trimmed)) << '"' << text << '"';
		}
		EXPECT_TRUE(std::regex_match(c.cityname_string, stringId)) << c.cityname_string;
		EXPECT_TRUE(std::regex_match(c.country_string, stringId)) << c.country_string;
	}
}

// Recomputed by pairwise comparison rather than sort keys, so it does not share the generator's
// way of ranking. Agreement also makes the index a permutation of 1..331.
TEST(CatalogueInvariant, ChineseIndexIsTheZhCollationRankOfTheChineseNames)
{
	std::ifstream in(ZON_SOURCE_DIR "/tools/catalogue/cities.tsv");
	ASSERT_TRUE(in) << "cannot read cities.tsv";
	std::vector<std::string> names;
	for (std::string line; std::getline(in, line);) {
		if (!line.empty() && line[0] != '#')
			names.push_back(line.substr(line.rfind('\t') + 1));
	}
	ASSERT_EQ(static_cast<size_t>(kCityCount), names.size());

	UErrorCode status = U_ZERO_ERROR;
	std::unique_ptr<icu::Collator> collator(icu::Collator::createInstance(icu::Locale("zh"), status));
	ASSERT_TRUE(U_SUCCESS(status) && status != U_USING_DEFAULT_WARNING) << u_errorName(status);
	for (int i = 0; i < kCityCount; ++i) {
		int rank = 1;
		for (int j = 0; j < kCityCount; ++j) {
			UCollationResult order = collator->compareUTF8(names[j], names[i], status);
			if (order == UCOL_LESS || (order == UCOL_EQUAL && j < i))
				++rank;
		}
		EXPECT_EQ(rank, allCityList[i].chinese_index) << "id " << i + 1 << " " << names[i];
	}
	ASSERT_TRUE(U_SUCCESS(status)) << u_errorName(status);
}

TEST(CatalogueInvariant, GmtTextsAreWellFormedWithFifteenFractionalRows)
{
	// Sign, whole hours without a leading zero, optional ":30" or ":45".
	const std::regex gmt("GMT[+-]([0-9]|1[0-4])(:30|:45)?");
	std::map<std::string, int> fractional;
	for (const Cityinfo& c : allCityList) {
		EXPECT_TRUE(std::regex_match(c.timezone, gmt)) << "id " << c.id << " \"" << c.timezone << "\"";
		if (std::strchr(c.timezone, ':'))
			++fractional[c.timezone];
	}
	EXPECT_EQ((std::map<std::string, int>{{"GMT+5:30", 7}, {"GMT+9:30", 2}, {"GMT-3:30", 2}, {"GMT+4:30", 1},
				  {"GMT+5:45", 1}, {"GMT+3:30", 1}, {"GMT+6:30", 1}}),
		fractional);
}

TEST(CatalogueInvariant, EveryZonePathIsKnownToIcu)
{
	// The old POSIX-style and renamed ids ("EST5EDT", "Asia/Rangoon", "America/Godthab") are kept
	// as the table has them; ICU still knows them all.
	const icu::UnicodeString unknown(UCAL_UNKNOWN_ZONE_ID, -1, US_INV);
	for (const Cityinfo& c : allCityList) {
		std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(c.timezone_path)));
		icu::UnicodeString id;
		EXPECT_NE(unknown, zone->getID(id)) << "id " << c.id << " \"" << c.timezone_path << "\"";
	}
}

TEST(CatalogueInvariant, TellingRowsAreExact)
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
	// Run-time state starts empty in every record.
	for (const Cityinfo& c : allCityList) {
		EXPECT_TRUE(!c.cityname_translated && !c.compare_name && !c.dbId && !c.checkIcon && !c.isChecked &&
			!c.currentTemperature && !c.isCentegrade && c.currentWeatherType == UNDEFINED_WEATHER)
			<< "id " << c.id;
	}
}

TEST(CatalogueInvariant, IrregularStringIdsAndCountryKeysAreKept)
{
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

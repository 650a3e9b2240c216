// Invariants of the city catalogue that the database, the map and the users' stored rows rely on.
// The table is data kept as the product has it, so these tests pin its irregularities as well as
// its rules: a "fix" to either is a fault.

#include <gtest/gtest.h>

#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>
#include <unicode/ucal.h>

#include <cctype>
#include <cstring>
#include <strings.h>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "ZonCityList.h"

namespace {

constexpr int kCityCount = 331;

const Cityinfo& city(int id)
{
	return allCityList[id - 1];
}

std::vector<int> idsWhere(bool (*predicate)(const Cityinfo&))
{
	std::vector<int> ids;
	for (const Cityinfo& c : allCityList) {
		if (predicate(c))
			ids.push_back(c.id);
	}
	return ids;
}

bool startsWith(const char* text, const char* prefix)
{
	return std::strncmp(text, prefix, std::strlen(prefix)) == 0;
}

// True for a well-formed "GMT", sign, whole hours (no leading zero), optional ":MM" text.
bool isGmtText(const std::string& text)
{
	if (text.size() < 5 || text.compare(0, 3, "GMT") != 0 || (text[3] != '+' && text[3] != '-'))
		return false;
	size_t colon = text.find(':');
	std::string hours = text.substr(4, colon == std::string::npos ? std::string::npos : colon - 4);
	if (hours.empty() || hours.size() > 2 || hours.find_first_not_of("0123456789") != std::string::npos ||
		(hours.size() == 2 && hours[0] == '0') || std::stoi(hours) > 14)
		return false;
	if (colon == std::string::npos)
		return true;
	std::string minutes = text.substr(colon + 1);
	return minutes == "30" || minutes == "45";
}

} // namespace

TEST(CatalogueInvariant, IdsRunOneToCountInRowOrder)
{
	static_assert(ZON_CITY_COUNT == kCityCount, "the catalogue has 331 cities");
	ASSERT_EQ(kCityCount, static_cast<int>(std::size(allCityList)));
	for (int i = 0; i < kCityCount; ++i)
		EXPECT_EQ(i + 1, allCityList[i].id) << "row " << i;
}

TEST(CatalogueInvariant, EnglishNamesAscendExceptStPierreBeforeStJohns)
{
	std::vector<int> descents;
	for (int i = 1; i < kCityCount; ++i) {
		if (strcasecmp(allCityList[i - 1].cityname_eng, allCityList[i].cityname_eng) > 0)
			descents.push_back(allCityList[i].id);
	}
	EXPECT_EQ(std::vector<int>{282}, descents);
	EXPECT_STREQ("St. Pierre and Miquelon", city(281).cityname_eng);

	// Stored rows match names byte for byte, so the capitals of "OSAKA" must survive.
	std::vector<int> allCapitals = idsWhere([](const Cityinfo& c) {
		for (const char* p = c.cityname_eng; *p; ++p) {
			if (std::islower(static_cast<unsigned char>(*p)))
				return false;
		}
		return true;
	});
	EXPECT_EQ(std::vector<int>{224}, allCapitals);
	EXPECT_STREQ("OSAKA", city(224).cityname_eng);
	EXPECT_STREQ("Omsk", city(223).cityname_eng);
}

TEST(CatalogueInvariant, StJohnsIsTwoCitiesUnderOneStringId)
{
	std::vector<int> ids = idsWhere([](const Cityinfo& c) { return std::strcmp(c.cityname_eng, "St. John's") == 0; });
	ASSERT_EQ((std::vector<int>{282, 283}), ids);

	EXPECT_STREQ("WDS_ZON_MBODY_ST_JOHNS_M_CITY", city(282).cityname_string);
	EXPECT_STREQ(city(282).cityname_string, city(283).cityname_string);
	// What tells them apart when a city is looked up from display data.
	EXPECT_STREQ("GMT-4", city(282).timezone);
	EXPECT_STREQ("GMT-3:30", city(283).timezone);
	EXPECT_STREQ("America/Antigua", city(282).timezone_path);
	EXPECT_STREQ("America/St_Johns", city(283).timezone_path);
	EXPECT_STREQ("ANTIGUA_AND_BARBUDA", city(282).country_name);

	// The pair (name id, GMT text) must name one city, or a lookup from display data finds the
	// wrong one.
	std::set<std::pair<std::string, std::string>> pairs;
	for (const Cityinfo& c : allCityList)
		EXPECT_TRUE(pairs.emplace(c.cityname_string, c.timezone).second) << c.id << " " << c.cityname_eng;
}

TEST(CatalogueInvariant, OnlyTheFourKnownNamesCarryATrailingBlank)
{
	std::vector<int> ids = idsWhere([](const Cityinfo& c) {
		size_t n = std::strlen(c.cityname_eng);
		return n > 0 && c.cityname_eng[n - 1] == ' ';
	});
	ASSERT_EQ((std::vector<int>{54, 91, 153, 154}), ids);
	EXPECT_STREQ("Cairo ", city(54).cityname_eng);
	EXPECT_STREQ("Diego ", city(91).cityname_eng);
	EXPECT_STREQ("Kingston ", city(153).cityname_eng);
	EXPECT_STREQ("Kingston ", city(154).cityname_eng);

	// Everything else is free of stray blanks, which a careless edit of the table would add.
	for (const Cityinfo& c : allCityList) {
		for (const char* text : {c.cityname_string, c.cityname_eng, c.country_string, c.country_name, c.timezone,
				 c.timezone_path}) {
			size_t n = std::strlen(text);
			ASSERT_GT(n, 0u) << "id " << c.id;
			EXPECT_NE(' ', text[0]) << "id " << c.id << " \"" << text << "\"";
			if (text != c.cityname_eng) {
				EXPECT_NE(' ', text[n - 1]) << "id " << c.id << " \"" << text << "\"";
			}
		}
	}
}

TEST(CatalogueInvariant, ChineseIndexIsAPermutation)
{
	std::set<int> seen;
	for (const Cityinfo& c : allCityList) {
		EXPECT_GE(c.chinese_index, 1) << "id " << c.id;
		EXPECT_LE(c.chinese_index, kCityCount) << "id " << c.id;
		EXPECT_TRUE(seen.insert(c.chinese_index).second) << "id " << c.id << " repeats " << c.chinese_index;
	}
}

// Recomputed by pairwise comparison rather than sort keys, so it does not share the generator's
// way of ranking.
TEST(CatalogueInvariant, ChineseIndexIsTheZhCollationRankOfTheChineseNames)
{
	std::ifstream in(ZON_SOURCE_DIR "/tools/catalogue/cities.tsv");
	ASSERT_TRUE(in) << "cannot read cities.tsv";
	std::vector<std::string> names;
	std::string line;
	while (std::getline(in, line)) {
		if (line.empty() || line[0] == '#')
			continue;
		size_t tab = line.rfind('\t');
		ASSERT_NE(std::string::npos, tab);
		names.push_back(line.substr(tab + 1));
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
	std::map<std::string, int> fractional;
	for (const Cityinfo& c : allCityList) {
		EXPECT_TRUE(isGmtText(c.timezone)) << "id " << c.id << " \"" << c.timezone << "\"";
		if (std::strchr(c.timezone, ':'))
			++fractional[c.timezone];
	}
	std::map<std::string, int> expected = {
		{"GMT+5:30", 7}, {"GMT+9:30", 2}, {"GMT-3:30", 2}, {"GMT+4:30", 1},
		{"GMT+5:45", 1}, {"GMT+3:30", 1}, {"GMT+6:30", 1},
	};
	EXPECT_EQ(expected, fractional);

	EXPECT_FALSE(isGmtText("GMT+05"));
	EXPECT_FALSE(isGmtText("GMT5"));
	EXPECT_FALSE(isGmtText("GMT+5:15"));
	EXPECT_FALSE(isGmtText("UTC+5"));
}

TEST(CatalogueInvariant, EveryZonePathIsKnownToIcu)
{
	// The old POSIX-style and renamed ids ("EST5EDT", "Asia/Rangoon", "America/Godthab") are kept
	// as the table has them; ICU still knows them all.
	const icu::UnicodeString unknown(UCAL_UNKNOWN_ZONE_ID, -1, US_INV);
	for (const Cityinfo& c : allCityList) {
		std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(c.timezone_path)));
		icu::UnicodeString id;
		zone->getID(id);
		EXPECT_NE(unknown, id) << "id " << c.id << " \"" << c.timezone_path << "\"";
	}
}

TEST(CatalogueInvariant, TellingRowsAreExact)
{
	struct Row {
		int id;
		int chinese_index;
		const char* cityname_string;
		const char* cityname_eng;
		const char* country_string;
		const char* country_name;
		const char* timezone;
		const char* timezone_path;
	};
	const Row rows[] = {
		{1, 1, "WDS_ZON_BODY_ABIDJAN_M_CITY", "Abidjan", "WDS_ZON_BODY_COTE_DIVOIRE_M_COUNTRY", "COTE_DIVOIRE", "GMT+0",
			"Africa/Abidjan"},
		{35, 39, "WDS_ZON_BODY_BEIJING_M_CITY", "Beijing", "WDS_ZON_BODY_CHINA_M_COUNTRY", "CHINA", "GMT+8",
			"Asia/Shanghai"},
		{39, 36, "WDS_ZON_BODY_BERLIN_M_CITY", "Berlin", "WDS_ZON_BODY_GERMANY_M_COUNTRY", "GERMANY", "GMT+1",
			"Europe/Berlin"},
		{45, 48, "WDS_ZON_BODY_BOSTON_M_COUNTRY", "Boston", "WDS_ZON_BODY_USA_M_COUNTRY", "USA_M_COUNTRYNAME", "GMT-5",
			"EST5EDT"},
		{140, 320, "WDS_ZON_BODY_JERUSALEM_M_CITY", "Jerusalem", "WDS_ZON_BODY_ISRAEL_M_COUNTRY", "ISRAEL", "GMT+2",
			"Asia/Jerusalem"},
		{148, 136, "WDS_ZON_BODY_KATHMANDU_M_CITY", "Kathmandu", "WDS_ZON_BODY_NEPAL_M_COUNTRY", "NEPAL", "GMT+5:45",
			"Asia/Kathmandu"},
		{213, 305, "WDS_ZON_BODY_NEW_DELHI_M_CITY", "New Delhi", "WDS_ZON_BODY_INDIA_M_COUNTRY", "INDIA", "GMT+5:30",
			"Asia/Kolkata"},
		{261, 148, "WDS_ZON_BODY_SAN_FRANCISCO_M_CITY", "San Francisco", "WDS_ZON_BODY_USA_M_COUNTRY",
			"USA_M_COUNTRYNAME", "GMT-8", "America/Los_Angeles"},
		{273, 75, "WDS_CLOCK_BODY_SEVERO_KURILSK_M_CITY_NAME", "Severo-Kurilsk", "WDS_ZON_BODY_RUSSIA_M_COUNTRY",
			"RUSSIA", "GMT+11", "Asia/Srednekolymsk"},
		{283, 266, "WDS_ZON_MBODY_ST_JOHNS_M_CITY", "St. John's", "WDS_ZON_BODY_CANADA_M_COUNTRY", "CANADA", "GMT-3:30",
			"America/St_Johns"},
		{331, 271, "WDS_ZON_BODY_ZURICH_M_CITY", "Zurich", "WDS_ZON_BODY_SWITZERLAND_M_COUNTRY", "SWITZERLAND", "GMT+1",
			"Europe/Zurich"},
	};
	for (const Row& row : rows) {
		SCOPED_TRACE("id " + std::to_string(row.id));
		const Cityinfo& c = city(row.id);
		EXPECT_EQ(row.id, c.id);
		EXPECT_EQ(row.chinese_index, c.chinese_index);
		EXPECT_STREQ(row.cityname_string, c.cityname_string);
		EXPECT_STREQ(row.cityname_eng, c.cityname_eng);
		EXPECT_STREQ(row.country_string, c.country_string);
		EXPECT_STREQ(row.country_name, c.country_name);
		EXPECT_STREQ(row.timezone, c.timezone);
		EXPECT_STREQ(row.timezone_path, c.timezone_path);
	}
}

TEST(CatalogueInvariant, RecordsAreTerminatedAndCarryNoRunTimeState)
{
	for (const Cityinfo& c : allCityList) {
		SCOPED_TRACE("id " + std::to_string(c.id));
		for (const char* text : {c.cityname_string, c.cityname_eng, c.country_string, c.country_name, c.timezone,
				 c.timezone_path})
			EXPECT_NE(nullptr, std::memchr(text, '\0', CITYINFO_TEXT_SIZE));
		EXPECT_EQ(nullptr, c.cityname_translated);
		EXPECT_EQ(nullptr, c.compare_name);
		EXPECT_EQ(0, c.dbId);
		EXPECT_EQ(nullptr, c.checkIcon);
		EXPECT_EQ(0, c.isChecked);
		EXPECT_EQ(0, c.currentTemperature);
		EXPECT_FALSE(c.isCentegrade);
		EXPECT_EQ(UNDEFINED_WEATHER, c.currentWeatherType);
	}
}

TEST(CatalogueInvariant, IrregularStringIdsAndCountryKeysAreKept)
{
	enum Field { CITY, COUNTRY, COUNTRY_NAME };
	struct Expected {
		int id;
		Field field;
		const char* text;
	};
	const Expected expected[] = {
		// City names under country ids.
		{2, CITY, "WDS_ZON_BODY_ABU_DHABI_M_COUNTRY"},
		{43, CITY, "WDS_ZON_BODY_BOGOTA_M_COUNTRY"},
		{45, CITY, "WDS_ZON_BODY_BOSTON_M_COUNTRY"},
		{161, CITY, "WDS_ZON_BODY_KUWAIT_M_COUNTRY"},
		{277, CITY, "WDS_ZON_BODY_SINGAPORE_M_COUNTRYNAME"},
		// Countries under city ids.
		{7, COUNTRY, "WDS_ZON_BODY_ALGERIA_M_CITY"},
		{58, COUNTRY, "WDS_ZON_BODY_SOUTH_AFRICA_M_CITY"},
		{142, COUNTRY, "WDS_ZON_BODY_SOUTH_AFRICA_M_CITY"},
		{174, COUNTRY, "WDS_ZON_BODY_LUXEMBOURG_M_CITY"},
		{174, CITY, "WDS_ZON_BODY_LUXEMBOURG_M_CITY"},
		{180, COUNTRY, "WDS_ZON_BODY_EQUAORIAL_GUINEA_M_CITY"},
		// MBODY ids.
		{64, CITY, "WDS_ZON_MBODY_CHANGCHUN_M_CITY"},
		{73, CITY, "WDS_ZON_MBODY_CHONGJING_M_CITY"},
		{86, CITY, "WDS_ZON_MBODY_DABAW_M_CITY"},
		{195, CITY, "WDS_ZON_MBODY_MIDWAY_M_CITY"},
		{281, CITY, "WDS_ZON_MBODY_ST_PIERRE_M_CITY"},
		// Ids without the usual suffix.
		{232, CITY, "WDS_ZON_BODY_PARIS"},
		{146, CITY, "WDS_ZON_BODY_KAMPALA"},
		{201, CITY, "WDS_ZON_BODY_MONTEVIDEO"},
		{311, CITY, "WDS_ZON_BODY_VICTORIA"},
		{128, CITY, "WDS_ZON_BODY_HONG_KONG_CITY"},
		{306, CITY, "WDS_ZON_BODY_URUMQI_CITY"},
		// Other families.
		{273, CITY, "WDS_CLOCK_BODY_SEVERO_KURILSK_M_CITY_NAME"},
		{280, CITY, "WDS_CLOCK_BODY_SREDNEKOLYMSK_M_CITY_NAME"},
		{167, COUNTRY, "IDS_ZON_BODY_SLOVENIA_M_COUNTRYNAME"},
		{242, COUNTRY, "IDS_ZON_BODY_PAPUA_NEW_GUINEA"},
		// Country keys that are not plain upper-case keys.
		{60, COUNTRY_NAME, "WALES_M_COUNTRYNAME"},
		{66, COUNTRY_NAME, "UNITED_STATES_VIRGIN_ISLANDS_M_COUNTRYNAME"},
		{277, COUNTRY_NAME, "REPUBLIC_OF_SINGAPORE_M_COUNTRY"},
		{281, COUNTRY_NAME, "France"},
		{232, COUNTRY_NAME, "FRANCE"},
	};
	for (const Expected& e : expected) {
		const Cityinfo& c = city(e.id);
		const char* actual = e.field == CITY ? c.cityname_string : e.field == COUNTRY ? c.country_string : c.country_name;
		EXPECT_STREQ(e.text, actual) << "id " << e.id;
	}

	// Every United States city shares one country key and one country id.
	int usCities = 0;
	for (const Cityinfo& c : allCityList) {
		if (std::strcmp(c.country_name, "USA_M_COUNTRYNAME") == 0) {
			++usCities;
			EXPECT_STREQ("WDS_ZON_BODY_USA_M_COUNTRY", c.country_string) << "id " << c.id;
		}
	}
	EXPECT_EQ(36, usCities);

	// Whatever the family, an id is a translation key: upper case, digits and underscores only.
	for (const Cityinfo& c : allCityList) {
		for (const char* text : {c.cityname_string, c.country_string}) {
			EXPECT_TRUE(startsWith(text, "WDS_ZON_BODY_") || startsWith(text, "WDS_ZON_MBODY_") ||
						startsWith(text, "WDS_CLOCK_BODY_") || startsWith(text, "IDS_ZON_BODY_"))
				<< "id " << c.id << " " << text;
			EXPECT_EQ(std::strlen(text), std::strspn(text, "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_"))
				<< "id " << c.id << " " << text;
		}
	}
}

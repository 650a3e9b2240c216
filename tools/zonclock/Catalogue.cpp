#include "Catalogue.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include <glib.h>
#include <libintl.h>

// The only file of zonclock that includes the catalogue: each includer gets its own copy.
#include "ZonCityList.h"

#include "CitySearch.h"

namespace zonclock {

namespace {

bool allDigits(const std::string& text)
{
	if (text.empty())
		return false;
	for (unsigned char c : text) {
		if (!std::isdigit(c))
			return false;
	}
	return true;
}

bool endsWith(const std::string& text, const char* suffix)
{
	std::string s(suffix);
	return text.size() >= s.size() && text.compare(text.size() - s.size(), s.size(), s) == 0;
}

} // namespace

int catalogueSize()
{
	return static_cast<int>(std::size(allCityList));
}

const Cityinfo* catalogueCity(int id)
{
	if (id < 1 || id > catalogueSize())
		return nullptr;
	// Rows are stored in id order, so the row of id n is at n - 1.
	return &allCityList[id - 1];
}

std::string trim(const std::string& text)
{
	const char* blanks = " \t\r\n";
	size_t first = text.find_first_not_of(blanks);
	if (first == std::string::npos)
		return std::string();
	size_t last = text.find_last_not_of(blanks);
	return text.substr(first, last - first + 1);
}

CityLookup lookupCity(const std::string& text)
{
	CityLookup result;
	std::string wanted = trim(text);

	if (allDigits(wanted)) {
		// Long digit strings would overflow an int; anything past the catalogue is just a bad id.
		int id = wanted.size() > 6 ? 0 : std::atoi(wanted.c_str());
		result.city = catalogueCity(id);
		result.status = result.city ? CityLookup::Found : CityLookup::BadId;
		return result;
	}

	// The best tier decides: an exact name wins over any number of longer names that contain it,
	// and a part of a name is taken when it belongs to one city alone.
	std::vector<CityMatch> matches = findCities(wanted);
	for (const CityMatch& match : matches) {
		if (match.tier != matches.front().tier || match.tier == CityMatch::Country)
			break;
		result.candidates.push_back(match.city);
	}
	if (result.candidates.size() == 1) {
		result.status = CityLookup::Found;
		result.city = result.candidates.front();
		result.candidates.clear();
	} else {
		result.status = result.candidates.empty() ? CityLookup::UnknownName : CityLookup::Ambiguous;
	}
	return result;
}

bool hasDisplayTwin(const Cityinfo& city)
{
	for (const Cityinfo& other : allCityList) {
		if (other.id != city.id && strcmp(other.cityname_string, city.cityname_string) == 0
			&& strcmp(other.timezone, city.timezone) == 0)
			return true;
	}
	return false;
}

std::string displayName(const Cityinfo& city)
{
	return trim(city.cityname_eng);
}

std::string displayCountry(const Cityinfo& city)
{
	std::string key = city.country_name;
	// Some rows carry the translation catalogue's suffix in the key itself.
	for (const char* suffix : {"_M_COUNTRYNAME", "_M_COUNTRY"}) {
		if (endsWith(key, suffix)) {
			key.erase(key.size() - std::string(suffix).size());
			break;
		}
	}

	std::string out;
	size_t start = 0;
	bool firstWord = true;
	while (start <= key.size()) {
		size_t end = key.find('_', start);
		if (end == std::string::npos)
			end = key.size();
		std::string word = key.substr(start, end - start);
		start = end + 1;
		if (word.empty())
			continue;

		std::string lower = word;
		for (char& c : lower)
			c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
		if (word == "USA") {
			// An initialism: title case would turn it into a word.
		} else if (!firstWord && (lower == "of" || lower == "and" || lower == "the")) {
			word = lower;
		} else {
			word = lower;
			word[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(word[0])));
		}
		if (!firstWord)
			out += ' ';
		out += word;
		firstWord = false;
	}
	return out;
}

std::string describeCity(const Cityinfo& city)
{
	return displayName(city) + " (" + std::to_string(city.id) + ", " + displayCountry(city) + ")";
}

std::string listLimitNotice()
{
	const char* id = "PLURAL_ZERO_ZON_TPOP_CANT_ADD_MORE_THAN_PD_CITIES_ABB";
	// The catalogue's forms carry the number as one "%d", or leave it out ("no city at all").
	std::string text = dngettext("zonvista", id, id, kListLimit);
	size_t at = text.find("%d");
	if (at != std::string::npos)
		text.replace(at, 2, std::to_string(kListLimit));
	return text;
}

} // namespace zonclock

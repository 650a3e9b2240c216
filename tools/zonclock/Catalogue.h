/*
 * Catalogue.h - finding catalogue cities from what a user types.
 *
 * A user names a city by its catalogue id ("283") or by (part of) a name ("cairo", "york").
 * Names are not unique (two "St. John's", two "Kingston", two "San Jose"), so a lookup by name
 * can come back with several candidates; the caller decides how to report that.
 *
 * The records returned point into zonclock's own copy of the catalogue and live as long as the
 * program.
 */
#ifndef ZONCLOCK_CATALOGUE_H
#define ZONCLOCK_CATALOGUE_H

#include <string>
#include <vector>

#include "ZonCityinfo.h"

namespace zonclock {

int catalogueSize();
// nullptr when id is outside 1..catalogueSize().
const Cityinfo* catalogueCity(int id);

struct CityLookup {
	enum Status { Found, BadId, UnknownName, Ambiguous };
	Status status = UnknownName;
	const Cityinfo* city = nullptr;              // set when Found
	std::vector<const Cityinfo*> candidates;     // set when Ambiguous, in catalogue order
};

// Digits only: an id. Anything else: a name as findCities() (CitySearch.h) matches it, taken
// when the best tier that matches holds one city; an operand matching only by country names
// no city. Several cities in that tier (the two "Kingston", or "san") come back as candidates,
// best first.
CityLookup lookupCity(const std::string& text);

// Whether another catalogue city has the same name string id and GMT text: the pair by which
// the library looks a city up from display data (the two "Kingston" rows, for one).
bool hasDisplayTwin(const Cityinfo& city);

// The English name without the trailing blanks a few catalogue rows carry ("Cairo ").
std::string displayName(const Cityinfo& city);
// "USA_M_COUNTRYNAME" -> "USA", "ANTIGUA_AND_BARBUDA" -> "Antigua and Barbuda".
std::string displayCountry(const Cityinfo& city);
// "St. John's (283, Canada)": enough to tell a city from its namesakes.
std::string describeCity(const Cityinfo& city);

std::string trim(const std::string& text);

// The most cities the watch application keeps in one list; it refuses the next with its notice.
const int kListLimit = 20;
// That notice, the library's own text in the language gettext follows ("You can't add more than
// 20 cities.").
std::string listLimitNotice();

} // namespace zonclock

#endif /* ZONCLOCK_CATALOGUE_H */

/*
 * Catalogue.h - finding catalogue cities from what a user types.
 *
 * A user names a city by its catalogue id ("283") or its English name in any case ("cairo").
 * English names are not unique (two "St. John's", two "Kingston", two "San Jose"), so a lookup
 * by name can come back with several candidates; the caller decides how to report that.
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

// Digits only: an id. Anything else: an English name, matched without regard to ASCII case or
// to blanks around either side.
CityLookup lookupCity(const std::string& text);

// Cities whose English name starts with prefix (ASCII case and leading blanks ignored), in
// catalogue order. An empty prefix matches every city.
std::vector<const Cityinfo*> searchCities(const std::string& prefix);

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

} // namespace zonclock

#endif /* ZONCLOCK_CATALOGUE_H */

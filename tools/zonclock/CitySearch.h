/*
 * CitySearch.h - finding catalogue cities from any part of a name, as people type them.
 *
 * Every city is known by its English name, by its name in each language the "zonvista"
 * catalogues translate (the languages ICU knows among the compiled catalogues, so a Korean or
 * Arabic name works whatever the device language), and by its country, in English and
 * translated. Text is compared folded: accents and other nonspacing marks removed after
 * canonical decomposition, then Unicode case folding, so "sao paulo" finds "São Paulo" and
 * "ZURICH" finds "Zürich".
 *
 * Matches come best first, in these tiers, and in catalogue order within a tier:
 *   1. a name equal to the text;
 *   2. a name starting with the text;
 *   3. a word of a name starting with the text ("york" -> New York, "delhi" -> New Delhi);
 *   4. a name containing the text anywhere;
 *   5. a word of the country's name starting with the text ("korea" -> Seoul, Pyongyang).
 * A city is listed once, in the best tier any of its names reaches.
 *
 * The index is built on first use and lives as long as the program; building it reads the
 * catalogues through dgettext() with LANGUAGE switched per language and put back afterwards, so
 * it must not run concurrently with other gettext use. Not thread-safe.
 */
#ifndef ZONCLOCK_CITY_SEARCH_H
#define ZONCLOCK_CITY_SEARCH_H

#include <string>
#include <vector>

#include "ZonCityinfo.h"

namespace zonclock {

// Accents removed and case folded, UTF-8 in and out. Invalid UTF-8 folds to U+FFFD per bad byte.
std::string foldText(const std::string& text);

struct CityMatch {
	enum Tier { Exact = 1, Prefix, WordPrefix, Substring, Country };
	const Cityinfo* city;
	Tier tier;
};

// Best first; an empty (or all-blank) text matches every city as Prefix, in catalogue order.
std::vector<CityMatch> findCities(const std::string& text);

// Names close to a text that matched nothing: at most `count` cities, nearest first, whose
// folded name (or one of its words) is within a third of the text's length in edit distance
// (at least 1).
std::vector<const Cityinfo*> suggestCities(const std::string& text, size_t count = 3);

// Levenshtein distance in Unicode code points.
size_t editDistance(const std::string& a, const std::string& b);

} // namespace zonclock

#endif /* ZONCLOCK_CITY_SEARCH_H */

#include "CityOperand.h"

#include "Catalogue.h"
#include "CitySearch.h"
#include "Command.h"
#include "Texts.h"

namespace zonclock {

namespace {

// Beyond this many, an ambiguous operand's message only counts the rest.
const size_t kNamedCandidates = 8;

std::string joined(const std::vector<const Cityinfo*>& cities, size_t most)
{
	std::string text;
	for (size_t i = 0; i < cities.size() && i < most; ++i)
		text += (i ? "; " : "") + describeCity(*cities[i]);
	if (cities.size() > most)
		text += "; " + std::to_string(cities.size() - most) + " " + tr("more");
	return text;
}

} // namespace

const char* const kCityHelp =
	"A city is given by its catalogue id (1..331) or by its name, or a part of it, in English or\n"
	"Korean or Arabic, in any case and with or without accents, quoted when it has blanks. Some\n"
	"names belong to several cities (\"St. John's\", \"Kingston\", \"San Jose\"): give the id of the\n"
	"one you mean; 'zonclock search NAME' shows them.";

std::string didYouMean(const std::string& text)
{
	std::vector<const Cityinfo*> near = suggestCities(text);
	return near.empty() ? std::string() : std::string("; ") + tr("did you mean") + " " + joined(near, near.size()) + "?";
}

const Cityinfo* resolveCity(const std::string& operand, int& exitCode)
{
	CityLookup lookup = lookupCity(operand);
	std::string text = trim(operand);
	switch (lookup.status) {
	case CityLookup::Found:
		return lookup.city;
	case CityLookup::BadId:
		exitCode = notFound(tr("no catalogue city has id %s (ids run 1..%d)"), text.c_str(), catalogueSize());
		return nullptr;
	case CityLookup::UnknownName:
		exitCode = notFound(tr("no catalogue city is named '%s'%s"), text.c_str(), didYouMean(text).c_str());
		return nullptr;
	case CityLookup::Ambiguous:
		exitCode = notFound(tr("'%s' names %zu cities: %s; give the id instead"), text.c_str(),
			lookup.candidates.size(), joined(lookup.candidates, kNamedCandidates).c_str());
		return nullptr;
	}
	return nullptr;
}

} // namespace zonclock

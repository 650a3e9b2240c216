#include "CityOperand.h"

#include "Catalogue.h"
#include "Command.h"

namespace zonclock {

const char* const kCityHelp =
	"A city is given by its catalogue id (1..331) or by its English name in any case, quoted\n"
	"when it has blanks. Some names belong to several cities (\"St. John's\", \"Kingston\",\n"
	"\"San Jose\"): give the id of the one you mean; 'zonclock search NAME' shows them.";

const Cityinfo* resolveCity(const std::string& operand, int& exitCode)
{
	CityLookup lookup = lookupCity(operand);
	std::string text = trim(operand);
	switch (lookup.status) {
	case CityLookup::Found:
		return lookup.city;
	case CityLookup::BadId:
		exitCode = usageError("no catalogue city has id %s (ids run 1..%d)", text.c_str(),
			catalogueSize());
		return nullptr;
	case CityLookup::UnknownName:
		exitCode = usageError("no catalogue city is named '%s' (see 'zonclock search PREFIX')",
			text.c_str());
		return nullptr;
	case CityLookup::Ambiguous: {
		std::string candidates;
		for (const Cityinfo* city : lookup.candidates) {
			if (!candidates.empty())
				candidates += ", ";
			candidates += std::to_string(city->id) + " (" + displayCountry(*city) + ")";
		}
		exitCode = usageError("'%s' names %zu cities: %s; give the id instead", text.c_str(),
			lookup.candidates.size(), candidates.c_str());
		return nullptr;
	}
	}
	return nullptr;
}

} // namespace zonclock

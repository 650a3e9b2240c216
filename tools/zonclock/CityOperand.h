/*
 * CityOperand.h - turning a CITY operand into a catalogue city, or into the failure that says
 * why it names none (with the names it comes close to) or several (with which).
 */
#ifndef ZONCLOCK_CITY_OPERAND_H
#define ZONCLOCK_CITY_OPERAND_H

#include <string>

#include "ZonCityinfo.h"

namespace zonclock {

// What "help COMMAND" says about naming a city.
extern const char* const kCityHelp;

// The city the operand names. nullptr after printing the reason, exitCode then set to
// kNotFound: a name that is not there (or names several cities) is no usage error.
const Cityinfo* resolveCity(const std::string& operand, int& exitCode);

// "; did you mean Tokyo (299, Japan)?" for a text that matched no city, "" when nothing is near.
std::string didYouMean(const std::string& text);

} // namespace zonclock

#endif /* ZONCLOCK_CITY_OPERAND_H */

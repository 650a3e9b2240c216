/*
 * CityOperand.h - turning a CITY operand into a catalogue city, or into the usage error that
 * says why it names none (or several).
 */
#ifndef ZONCLOCK_CITY_OPERAND_H
#define ZONCLOCK_CITY_OPERAND_H

#include <string>

#include "ZonCityinfo.h"

namespace zonclock {

// What "help COMMAND" says about naming a city.
extern const char* const kCityHelp;

// The city the operand names. nullptr after printing the reason, exitCode then set to kExitUsage.
const Cityinfo* resolveCity(const std::string& operand, int& exitCode);

} // namespace zonclock

#endif /* ZONCLOCK_CITY_OPERAND_H */

/*
 * Command.h - how zonclock's commands are described, parsed and dispatched.
 *
 * A command is a row of data: its name, its operands, its own options, its help texts and the
 * function that runs it. Each Commands*.cpp file registers its group of commands into the
 * CommandSet from one register*Commands() function, so a new command touches its own file and
 * one line of main.cpp; parsing, "--help" and usage errors come for free.
 *
 * The command line is parsed by CLI11 from the same rows that "--help" prints, so the two cannot
 * drift apart; zonclock's own messages replace CLI11's where a test or a script relies on them.
 *
 * Exit codes: 0 done, 1 the command could not do what was asked (the city is already in the
 * list, no city matches, ...), 2 the command line was wrong. A command that found nothing
 * returns kNotFound, which the dispatcher turns into 1: a name that matches no city is not a
 * usage error, whoever reports it. The command line is checked in full (operands resolved
 * against the catalogue included) before a command opens the database, so a usage error never
 * touches the device. Errors go to standard error, data to standard output.
 */
#ifndef ZONCLOCK_COMMAND_H
#define ZONCLOCK_COMMAND_H

#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "Settings.h"

namespace zonclock {

enum ExitCode { kExitOk = 0, kExitFailed = 1, kExitUsage = 2, kNotFound = 3 };

// What the process exits with for a command's result: kNotFound becomes 1.
int processExitCode(int result);

struct Option {
	const char* name;        // "--second", or "-h, --help" for a short name beside the long one
	const char* valueName;   // "DIR" when the option takes a value, nullptr for a flag
	const char* help;
};

// How a data command prints its rows: see Output.h.
enum class Format { Text, Json, Tsv };

class CommandSet;
class Session;
struct Invocation;

struct Command {
	const char* name;
	const char* operands;    // as the usage line shows them: "CITY", "OLD NEW", "[COMMAND]"
	int minOperands;
	int maxOperands;
	std::vector<Option> options;
	const char* summary;     // one line for the command list
	const char* description; // what "help COMMAND" prints below the usage line
	int (*run)(const Invocation& invocation, Session& session);
};

struct Invocation {
	const Command* command = nullptr;
	const CommandSet* commands = nullptr;
	std::vector<std::string> operands;
	std::map<std::string, std::string> options; // a flag maps to ""; keyed by the long name
	Format format = Format::Text;               // from --format, checked while parsing

	bool has(const char* option) const { return options.count(option) != 0; }
	std::string value(const char* option) const;
};

class CommandSet {
public:
	void add(const Command& command) { _commands.push_back(command); }
	const Command* find(const std::string& name) const;
	const std::vector<Command>& all() const { return _commands; }

	// The command that runs when the command line names none.
	void setDefault(const char* name) { _default = name; }
	const char* defaultName() const { return _default; }

private:
	std::vector<Command> _commands;
	const char* _default = "";
};

// Global options, understood before or after the command.
struct GlobalOptions {
	std::string root; // empty: the host's default device root
	bool help = false;
	bool version = false;
	// Device settings for this run only. The locales are as typed; main() checks them.
	SettingOverrides settings;
};

// Splits argv into the global options and an invocation of one command (the default command when
// none is named). Returns kExitOk, or kExitUsage after printing the one-line reason. With
// global.help set the operand count is not checked.
int parseCommandLine(int argc, char** argv, const CommandSet& commands, GlobalOptions& global,
	Invocation& invocation);

void printProgramHelp(const CommandSet& commands, FILE* out);
void printCommandHelp(const Command& command, FILE* out);
// The help as a man page (roff), for the build to install.
void printManPage(const CommandSet& commands, FILE* out);
// "zonclock 0.1.0": the project's version, from the build.
void printVersion(FILE* out);
// The options every command understands, as the help shows them.
const std::vector<Option>& globalOptions();

// Print "zonclock: <message>" on standard error and return the exit code to give.
int usageError(const char* format, ...) __attribute__((format(printf, 1, 2)));
int failure(const char* format, ...) __attribute__((format(printf, 1, 2)));
int notFound(const char* format, ...) __attribute__((format(printf, 1, 2)));

// The groups of commands.
void registerHelpCommand(CommandSet& commands);
void registerCityCommands(CommandSet& commands);
void registerBackupCommands(CommandSet& commands);
void registerDeviceCommands(CommandSet& commands);
void registerClockCommands(CommandSet& commands);
void registerWeatherCommands(CommandSet& commands);
void registerPlanningCommands(CommandSet& commands);

} // namespace zonclock

#endif /* ZONCLOCK_COMMAND_H */

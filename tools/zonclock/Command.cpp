#include "Command.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <string>

#include "Printable.h"

namespace zonclock {

namespace {

// Messages name operands, paths and file contents: escaped and bounded whole, as one line.
int report(int code, const char* format, va_list args)
{
	va_list copy;
	va_copy(copy, args);
	int length = vsnprintf(nullptr, 0, format, copy);
	va_end(copy);
	std::string message(length > 0 ? static_cast<size_t>(length) : 0, '\0');
	if (length > 0)
		vsnprintf(&message[0], message.size() + 1, format, args);
	fprintf(stderr, "zonclock: %s\n", printable(message, 4 * kPrintableLimit).c_str());
	return code;
}

std::string usageLine(const Command& command)
{
	std::string line = std::string("zonclock ") + command.name;
	if (*command.operands)
		line += std::string(" ") + command.operands;
	for (const Option& option : command.options) {
		line += std::string(" [") + option.name;
		if (option.valueName)
			line += std::string(" ") + option.valueName;
		line += "]";
	}
	return line;
}

void printOptions(const std::vector<Option>& options, FILE* out)
{
	size_t width = 0;
	std::vector<std::string> labels;
	for (const Option& option : options) {
		std::string label = option.name;
		if (option.valueName)
			label += std::string(" ") + option.valueName;
		width = std::max(width, label.size());
		labels.push_back(label);
	}
	for (size_t i = 0; i < options.size(); ++i) {
		// Continuation lines of a help text line up under its first line.
		std::string help = options[i].help;
		std::string indent = "\n" + std::string(width + 4, ' ');
		for (size_t at = help.find('\n'); at != std::string::npos; at = help.find('\n', at + indent.size()))
			help.replace(at, 1, indent);
		fprintf(out, "  %-*s  %s\n", static_cast<int>(width), labels[i].c_str(), help.c_str());
	}
}

const std::vector<Option>& globalOptions()
{
	static const std::vector<Option> options = {
		{"--root", "DIR", "use DIR as the simulated device\n"
			"(default: $ZON_HOST_ROOT, else $XDG_DATA_HOME/zon-host)"},
		{"--region", "LOCALE", "region format of this run: dates, clocks, digits (e.g. ko_KR)"},
		{"--language", "LOCALE", "display language of this run: the catalogue's texts"},
		{"--24h, --12h", nullptr, "24- or 12-hour clock for this run"},
		{"-h, --help", nullptr, "show help; 'zonclock help COMMAND' for one command"},
	};
	return options;
}

} // namespace

std::string Invocation::value(const char* option) const
{
	auto it = options.find(option);
	return it == options.end() ? std::string() : it->second;
}

const Command* CommandSet::find(const std::string& name) const
{
	for (const Command& command : _commands) {
		if (name == command.name)
			return &command;
	}
	return nullptr;
}

int usageError(const char* format, ...)
{
	va_list args;
	va_start(args, format);
	int code = report(kExitUsage, format, args);
	va_end(args);
	return code;
}

int failure(const char* format, ...)
{
	va_list args;
	va_start(args, format);
	int code = report(kExitFailed, format, args);
	va_end(args);
	return code;
}

int parseCommandLine(int argc, char** argv, const CommandSet& commands, GlobalOptions& global,
	Invocation& invocation)
{
	invocation.commands = &commands;
	bool optionsEnded = false;

	for (int i = 1; i < argc; ++i) {
		std::string arg = argv[i];
		if (optionsEnded || arg.size() < 2 || arg[0] != '-') {
			if (invocation.command) {
				invocation.operands.push_back(arg);
				continue;
			}
			invocation.command = commands.find(arg);
			if (!invocation.command)
				return usageError("unknown command '%s' (see 'zonclock --help')", arg.c_str());
			continue;
		}
		if (arg == "--") {
			optionsEnded = true;
			continue;
		}

		std::string name = arg;
		std::string value;
		bool inlineValue = false;
		size_t equals = arg.find('=');
		if (arg.compare(0, 2, "--") == 0 && equals != std::string::npos) {
			name = arg.substr(0, equals);
			value = arg.substr(equals + 1);
			inlineValue = true;
		}

		// A command's own option of the same name would never be reached.
		static const std::vector<Option> globals = {
			{"--help", nullptr, ""}, {"-h", nullptr, ""}, {"--root", "DIR", ""},
			{"--region", "LOCALE", ""}, {"--language", "LOCALE", ""},
			{"--24h", nullptr, ""}, {"--12h", nullptr, ""},
		};
		const Option* option = nullptr;
		bool isGlobal = true;
		for (const Option& candidate : globals) {
			if (name == candidate.name)
				option = &candidate;
		}
		if (!option && invocation.command) {
			isGlobal = false;
			for (const Option& candidate : invocation.command->options) {
				if (name == candidate.name)
					option = &candidate;
			}
		}
		if (!option) {
			if (invocation.command)
				return usageError("unknown option '%s' for '%s' (see 'zonclock %s --help')",
					name.c_str(), invocation.command->name, invocation.command->name);
			return usageError("unknown option '%s' (see 'zonclock --help')", name.c_str());
		}

		if (!option->valueName && inlineValue)
			return usageError("option '%s' takes no value", name.c_str());
		if (option->valueName && !inlineValue) {
			if (i + 1 >= argc)
				return usageError("option '%s' needs %s", name.c_str(), option->valueName);
			value = argv[++i];
		}
		if (option->valueName && value.empty())
			return usageError("option '%s' needs %s", name.c_str(), option->valueName);

		if (!isGlobal) {
			invocation.options[name] = value;
		} else if (name == "--root") {
			global.root = value;
		} else if (name == "--region") {
			global.settings.region = value;
		} else if (name == "--language") {
			global.settings.language = value;
		} else if (name == "--24h" || name == "--12h") {
			SettingOverrides::Clock clock = name == "--24h" ? SettingOverrides::Clock24 : SettingOverrides::Clock12;
			if (global.settings.clock != SettingOverrides::ClockAsSet && global.settings.clock != clock)
				return usageError("--24h and --12h contradict each other; give one of them");
			global.settings.clock = clock;
		} else {
			global.help = true;
		}
	}

	// Asking for help is never wrong, whatever the operands.
	if (global.help)
		return kExitOk;

	if (!invocation.command)
		invocation.command = commands.find(commands.defaultName());
	const Command& command = *invocation.command;
	int count = static_cast<int>(invocation.operands.size());
	if (count < command.minOperands)
		return usageError("'%s' needs %s (see 'zonclock %s --help')", command.name, command.operands,
			command.name);
	if (count > command.maxOperands) {
		const std::string& extra = invocation.operands[command.maxOperands];
		if (command.maxOperands == 0)
			return usageError("'%s' takes no operand, got '%s'", command.name, extra.c_str());
		return usageError("too many operands for '%s' from '%s' on (quote a city name that has "
			"blanks)", command.name, extra.c_str());
	}
	return kExitOk;
}

void printProgramHelp(const CommandSet& commands, FILE* out)
{
	fprintf(out,
		"Usage: zonclock [GLOBAL OPTIONS] [COMMAND] [OPERANDS] [OPTIONS]\n"
		"\n"
		"A world clock on the zon-common city lists of a simulated watch.\n"
		"\n"
		"Commands:\n");
	size_t width = 0;
	for (const Command& command : commands.all())
		width = std::max(width, strlen(command.name));
	for (const Command& command : commands.all())
		fprintf(out, "  %-*s  %s\n", static_cast<int>(width), command.name, command.summary);
	fprintf(out, "\nGlobal options:\n");
	printOptions(globalOptions(), out);
	fprintf(out,
		"\nWithout a command, zonclock runs '%s'. --region, --language, --24h and --12h\n"
		"change the device's settings for one run: they are put back when zonclock ends.\n"
		"The platform log of the last run is in DIR/zonclock.log, unless ZON_HOST_LOG\n"
		"names another file.\n", commands.defaultName());
}

void printCommandHelp(const Command& command, FILE* out)
{
	fprintf(out, "Usage: %s\n\n%s\n", usageLine(command).c_str(), command.description);
	if (!command.options.empty()) {
		fprintf(out, "\nOptions:\n");
		printOptions(command.options, out);
	}
	fprintf(out, "\nGlobal options:\n");
	printOptions(globalOptions(), out);
}

} // namespace zonclock

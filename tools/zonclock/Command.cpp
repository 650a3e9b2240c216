#include "Command.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <set>
#include <string>

#include <CLI/CLI.hpp>

#include "Catalogue.h"
#include "Output.h"
#include "Printable.h"
#include "Texts.h"

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

const char* const kFormatsHelp = N_(
	"--format json or tsv prints a command's data for scripts: JSON with stable keys, or\n"
	"tab-separated values under a line of the same keys, with ASCII digits and spaces and\n"
	"an empty field where the table shows a dash. Instants are ISO 8601 with their offset,\n"
	"offsets are given in seconds and as +09:00. Tables are cut to the terminal's width;\n"
	"written to a pipe or a file they are whole.");
const char* const kExitHelp = N_("Exit status: 0 done, 1 failed or nothing found, 2 the command line was wrong.");

// Commands for the shell and the build ("__complete", "__man"), kept out of the help.
bool isHidden(const Command& command)
{
	return command.name[0] == '_';
}

// Text for a man page: backslashes escaped, no line taken for a request.
std::string roff(const std::string& text)
{
	std::string result;
	bool lineStart = true;
	for (char c : text) {
		if (lineStart && (c == '.' || c == '\''))
			result += "\\&";
		if (c == '\\')
			result += "\\e";
		else if (c == '-')
			result += "\\-";
		else
			result += c;
		lineStart = c == '\n';
	}
	return result;
}

void printManOptions(const std::vector<Option>& options, FILE* out)
{
	for (const Option& option : options) {
		if (option.valueName)
			fprintf(out, ".TP\n.BI \"%s \" %s\n", roff(option.name).c_str(), option.valueName);
		else
			fprintf(out, ".TP\n.B %s\n", roff(option.name).c_str());
		fprintf(out, "%s\n", roff(tr(option.help)).c_str());
	}
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
		std::string help = tr(options[i].help);
		std::string indent = "\n" + std::string(width + 4, ' ');
		for (size_t at = help.find('\n'); at != std::string::npos; at = help.find('\n', at + indent.size()))
			help.replace(at, 1, indent);
		fprintf(out, "  %-*s  %s\n", static_cast<int>(width), labels[i].c_str(), help.c_str());
	}
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

const std::vector<Option>& globalOptions()
{
	static const std::vector<Option> options = {
		{"--root", "DIR", "use DIR as the simulated device\n"
			"(default: $ZON_HOST_ROOT, else $XDG_DATA_HOME/zon-host)"},
		{"--region", "LOCALE", "region format of this run: dates, clocks, digits (e.g. ko_KR)"},
		{"--language", "LOCALE", "display language of this run: the catalogue's texts"},
		{"--24h", nullptr, "24-hour clock for this run"},
		{"--12h", nullptr, "12-hour clock for this run"},
		{"-h, --help", nullptr, "show help; 'zonclock help COMMAND' for one command"},
		{"--version", nullptr, "show zonclock's version"},
	};
	return options;
}

void printVersion(FILE* out)
{
	fprintf(out, "zonclock %s\n", ZONCLOCK_VERSION);
}

int processExitCode(int result)
{
	return result == kNotFound ? kExitFailed : result;
}

int usageError(const char* format, ...)
{
	va_list args;
	va_start(args, format);
	int code = report(kExitUsage, format, args);
	va_end(args);
	return code;
}

int notFound(const char* format, ...)
{
	va_list args;
	va_start(args, format);
	int code = report(kNotFound, format, args);
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

namespace {

// "-h, --help" -> "--help": the name an invocation knows an option by.
std::string longName(const char* names)
{
	std::string text = names;
	size_t comma = text.rfind(',');
	return comma == std::string::npos ? text : trim(text.substr(comma + 1));
}

// One row of the tables turned into CLI11's option; values are read back from it after parsing.
CLI::Option* addOption(CLI::App& app, const Option& row)
{
	if (!row.valueName)
		return app.add_flag(row.name)->disable_flag_override();
	return app.add_option(row.name)->type_name(row.valueName)->expected(1)
		->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
}

struct Given {
	const Option* row;
	CLI::Option* option;
};

// The value of each option given, keyed by its long name; an option that takes a value must not
// get an empty one.
int collect(const std::vector<Given>& given, std::map<std::string, std::string>& values)
{
	for (const Given& one : given) {
		if (one.option->count() == 0)
			continue;
		std::string name = longName(one.row->name);
		std::string value = one.row->valueName ? one.option->as<std::string>() : std::string();
		if (one.row->valueName && value.empty())
			return usageError(tr("option '%s' needs %s"), name.c_str(), one.row->valueName);
		values[name] = value;
	}
	return kExitOk;
}

int applyGlobals(const std::map<std::string, std::string>& values, GlobalOptions& global)
{
	for (const auto& [name, value] : values) {
		if (name == "--root")
			global.root = value;
		else if (name == "--region")
			global.settings.region = value;
		else if (name == "--language")
			global.settings.language = value;
		else if (name == "--help")
			global.help = true;
		else if (name == "--version")
			global.version = true;
	}
	bool clock24 = values.count("--24h") != 0, clock12 = values.count("--12h") != 0;
	if (clock24 && clock12)
		return usageError("%s", tr("--24h and --12h contradict each other; give one of them"));
	if (clock24 || clock12)
		global.settings.clock = clock24 ? SettingOverrides::Clock24 : SettingOverrides::Clock12;
	return kExitOk;
}

} // namespace

int parseCommandLine(int argc, char** argv, const CommandSet& commands, GlobalOptions& global,
	Invocation& invocation)
{
	invocation.commands = &commands;
	CLI::App app("zonclock", "zonclock");
	// Help comes from zonclock's own tables; an unknown word is reported in zonclock's words.
	app.set_help_flag();
	app.allow_extras();
	app.require_subcommand(0, 1);
	std::vector<Given> globals;
	for (const Option& row : globalOptions())
		globals.push_back({&row, addOption(app, row)});

	// Without a command the default one runs: its options may stand alone ("zonclock --second").
	const Command* fallback = commands.find(commands.defaultName());
	std::vector<Given> fallbackOptions;
	for (size_t i = 0; fallback && i < fallback->options.size(); ++i)
		fallbackOptions.push_back({&fallback->options[i], addOption(app, fallback->options[i])});

	std::vector<std::vector<Given>> ownOptions(commands.all().size());
	std::vector<std::vector<std::string>> operands(commands.all().size());
	// A command can only be parsed when its name is one of the words: the others are left out of
	// CLI11's tables (null here), whose making was most of the parsing of a short run.
	const std::set<std::string> words(argv + std::min(argc, 1), argv + argc);
	std::vector<CLI::App*> subcommands;
	for (size_t i = 0; i < commands.all().size(); ++i) {
		const Command& command = commands.all()[i];
		if (words.count(command.name) == 0) {
			subcommands.push_back(nullptr);
			continue;
		}
		CLI::App* sub = app.add_subcommand(command.name);
		sub->set_help_flag();
		sub->allow_extras();
		// Global options may follow the command.
		sub->fallthrough();
		sub->add_option("operands", operands[i]);
		for (const Option& row : command.options)
			ownOptions[i].push_back({&row, addOption(*sub, row)});
		subcommands.push_back(sub);
	}

	// CLI11 would take the next word as the value of "--root=".
	for (int i = 1; i < argc && strcmp(argv[i], "--") != 0; ++i) {
		size_t length = strlen(argv[i]);
		if (length > 3 && strncmp(argv[i], "--", 2) == 0 && argv[i][length - 1] == '=')
			return usageError(tr("option '%.*s' needs a value"), static_cast<int>(length - 1), argv[i]);
	}
	try {
		app.parse(argc, argv);
	} catch (const CLI::ParseError& error) {
		return usageError("%s", error.what());
	}

	size_t chosen = subcommands.size();
	for (size_t i = 0; i < subcommands.size(); ++i) {
		if (subcommands[i] && subcommands[i]->parsed())
			chosen = i;
	}
	for (const std::string& extra : app.remaining()) {
		if (extra == "--")
			continue;
		if (extra[0] == '-' && extra.size() > 1)
			return usageError(tr("unknown option '%s' (see 'zonclock --help')"), extra.c_str());
		if (chosen == subcommands.size())
			return usageError(tr("unknown command '%s' (see 'zonclock --help')"), extra.c_str());
	}
	int code = kExitOk;
	std::map<std::string, std::string> globalValues;
	if ((code = collect(globals, globalValues)) != kExitOk || (code = applyGlobals(globalValues, global)) != kExitOk)
		return code;
	for (const Given& one : fallbackOptions) {
		if (one.option->count() != 0 && chosen < subcommands.size() && &commands.all()[chosen] != fallback) {
			// "zonclock --format json now Seoul" reads as a global choice of output, and every
			// command that prints data has --format; other options stay with their command.
			const Command& named = commands.all()[chosen];
			bool shared = std::any_of(named.options.begin(), named.options.end(),
				[&](const Option& own) { return strcmp(own.name, one.row->name) == 0; });
			if (shared && strcmp(one.row->name, kFormatOption.name) == 0)
				continue;
			const char* name = named.name;
			return usageError(tr("unknown option '%s' for '%s' (see 'zonclock %s --help')"),
				longName(one.row->name).c_str(), name, name);
		}
	}
	if ((code = collect(fallbackOptions, invocation.options)) != kExitOk)
		return code;
	if (chosen < subcommands.size()) {
		invocation.command = &commands.all()[chosen];
		for (const std::string& extra : subcommands[chosen]->remaining()) {
			if (extra == "--")
				continue;
			const char* name = invocation.command->name;
			return usageError(tr("unknown option '%s' for '%s' (see 'zonclock %s --help')"),
				extra.substr(0, extra.find('=')).c_str(), name, name);
		}
		invocation.operands = operands[chosen];
		if ((code = collect(ownOptions[chosen], invocation.options)) != kExitOk)
			return code;
	}

	auto format = invocation.options.find(kFormatOption.name);
	if (format != invocation.options.end() && !formatNamed(format->second, invocation.format))
		return usageError(tr("--format: '%s' is not text, json or tsv"), format->second.c_str());

	// Asking for help (or the version) is never wrong, whatever the operands.
	if (global.help || global.version)
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
	for (const Command& command : commands.all()) {
		if (!isHidden(command))
			fprintf(out, "  %-*s  %s\n", static_cast<int>(width), command.name, tr(command.summary));
	}
	fprintf(out, "\nGlobal options:\n");
	printOptions(globalOptions(), out);
	fprintf(out,
		"\nWithout a command, zonclock runs '%s'. --region, --language, --24h and --12h\n"
		"change the device's settings for one run: they are put back when zonclock ends.\n"
		"The platform log of the last run is in DIR/zonclock.log, unless ZON_HOST_LOG\n"
		"names another file.\n", commands.defaultName());
	fprintf(out, "\n%s\n\n%s\n", tr(kFormatsHelp), tr(kExitHelp));
}

void printCommandHelp(const Command& command, FILE* out)
{
	fprintf(out, "Usage: %s\n\n%s\n", usageLine(command).c_str(), tr(command.description));
	if (!command.options.empty()) {
		fprintf(out, "\nOptions:\n");
		printOptions(command.options, out);
	}
	fprintf(out, "\nGlobal options:\n");
	printOptions(globalOptions(), out);
}

void printManPage(const CommandSet& commands, FILE* out)
{
	fprintf(out, ".TH ZONCLOCK 1 \"\" \"zonclock %s\" \"User Commands\"\n", ZONCLOCK_VERSION);
	fprintf(out, ".SH NAME\nzonclock \\- a world clock on the city lists of a simulated watch\n");
	fprintf(out, ".SH SYNOPSIS\n.B zonclock\n[\\fIGLOBAL OPTIONS\\fR] [\\fICOMMAND\\fR] [\\fIOPERANDS\\fR] "
		"[\\fIOPTIONS\\fR]\n");
	fprintf(out, ".SH DESCRIPTION\nWithout a command, zonclock runs \\fB%s\\fR.\n", commands.defaultName());
	fprintf(out, ".SH COMMANDS\n");
	for (const Command& command : commands.all()) {
		if (isHidden(command))
			continue;
		fprintf(out, ".SS %s\n%s\n.PP\n%s\n", roff(usageLine(command)).c_str(), roff(tr(command.summary)).c_str(),
			roff(tr(command.description)).c_str());
		if (!command.options.empty()) {
			fprintf(out, ".RS\n");
			printManOptions(command.options, out);
			fprintf(out, ".RE\n");
		}
	}
	fprintf(out, ".SH GLOBAL OPTIONS\n");
	printManOptions(globalOptions(), out);
	fprintf(out, ".SH OUTPUT FORMATS\n%s\n.SH EXIT STATUS\n%s\n", roff(tr(kFormatsHelp)).c_str(),
		roff(tr(kExitHelp)).c_str());
	fprintf(out, ".SH ENVIRONMENT\n.TP\n.B ZON_HOST_ROOT\n%s\n.TP\n.B ZON_HOST_LOG\n%s\n.TP\n.B COLUMNS\n%s\n",
		roff(tr("the simulated device when --root is not given")).c_str(),
		roff(tr("the file that takes the platform log")).c_str(),
		roff(tr("the width tables are cut to when standard output is no terminal")).c_str());
}

} // namespace zonclock

/*
 * The help command, and the two commands the shell and the build call: "__complete" answers
 * the bash completion script (completion/zonclock.bash), "__man" writes the man page.
 */
#include <set>

#include <glib.h>

#include "Catalogue.h"
#include "Command.h"
#include "Texts.h"

namespace zonclock {

namespace {

int runHelp(const Invocation& invocation, Session&)
{
	if (invocation.operands.empty()) {
		printProgramHelp(*invocation.commands, stdout);
		return kExitOk;
	}
	const std::string& name = invocation.operands.front();
	const Command* command = invocation.commands->find(name);
	if (!command)
		return usageError(tr("unknown command '%s' (see 'zonclock --help')"), name.c_str());
	printCommandHelp(*command, stdout);
	return kExitOk;
}

int runMan(const Invocation& invocation, Session&)
{
	printManPage(*invocation.commands, stdout);
	return kExitOk;
}

bool startsWith(const std::string& text, const std::string& prefix, bool anyCase = false)
{
	return text.size() >= prefix.size() &&
		(anyCase ? g_ascii_strncasecmp(text.c_str(), prefix.c_str(), prefix.size()) == 0
				 : text.compare(0, prefix.size(), prefix) == 0);
}

// "-h, --help" -> "-h", "--help".
std::vector<std::string> optionNames(const Option& option)
{
	std::vector<std::string> names;
	gchar** parts = g_strsplit(option.name, ",", -1);
	for (gchar** part = parts; *part; ++part)
		names.push_back(trim(*part));
	g_strfreev(parts);
	return names;
}

const Option* findOption(const std::vector<Option>& options, const std::string& name)
{
	for (const Option& option : options) {
		for (const std::string& each : optionNames(option)) {
			if (each == name)
				return &option;
		}
	}
	return nullptr;
}

// The operands: the words typed after "zonclock", the last one the word being completed.
// Prints the words it may become, one a line; nothing where the shell should offer files.
int runComplete(const Invocation& invocation, Session&)
{
	const CommandSet& commands = *invocation.commands;
	std::vector<std::string> words = invocation.operands;
	std::string current = words.empty() ? std::string() : words.back();
	if (!words.empty())
		words.pop_back();

	const Command* command = nullptr;
	const Option* pending = nullptr;  // the option whose value is being typed
	for (const std::string& word : words) {
		if (pending) {
			pending = nullptr;
		} else if (word[0] == '-') {
			const Option* option = findOption(globalOptions(), word);
			if (!option && command)
				option = findOption(command->options, word);
			pending = option && option->valueName && word.find('=') == std::string::npos ? option : nullptr;
		} else if (!command) {
			command = commands.find(word);
		}
	}

	std::vector<std::string> candidates;
	if (pending) {
		if (std::string(pending->name) == "--format")
			candidates = {"text", "json", "tsv"};
	} else if (startsWith(current, "-")) {
		for (const std::vector<Option>* options : {&globalOptions(), command ? &command->options : nullptr}) {
			for (size_t i = 0; options && i < options->size(); ++i) {
				for (const std::string& name : optionNames((*options)[i]))
					candidates.push_back(name);
			}
		}
	} else if (!command || std::string(command->name) == "help") {
		for (const Command& each : commands.all()) {
			if (each.name[0] != '_')
				candidates.push_back(each.name);
		}
	} else if (std::string(command->operands).find("CITY") != std::string::npos ||
		std::string(command->operands).find("OLD") != std::string::npos) {
		for (int id = 1; id <= catalogueSize(); ++id)
			candidates.push_back(displayName(*catalogueCity(id)));
	}
	// Namesakes ("San Jose" twice) are one word to the shell.
	std::set<std::string> printed;
	for (const std::string& candidate : candidates) {
		if (startsWith(candidate, current, true) && printed.insert(candidate).second)
			printf("%s\n", candidate.c_str());
	}
	return kExitOk;
}

} // namespace

void registerHelpCommand(CommandSet& commands)
{
	commands.add({"help", "[COMMAND]", 0, 1, {},
		"Show the commands, or the help of one command",
		"Shows the list of commands, or with COMMAND how to use that command.\n"
		"'zonclock COMMAND --help' does the same.",
		runHelp});
	commands.add({"__complete", "[WORD...]", 0, 1000, {}, "", "", runComplete});
	commands.add({"__man", "", 0, 0, {}, "", "", runMan});
}

} // namespace zonclock

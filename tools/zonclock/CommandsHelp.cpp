#include "Command.h"

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
		return usageError("unknown command '%s' (see 'zonclock --help')", name.c_str());
	printCommandHelp(*command, stdout);
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
}

} // namespace zonclock

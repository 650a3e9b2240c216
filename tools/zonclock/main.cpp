/*
 * zonclock - a command-line world clock on zon-common, run on the host port.
 *
 * main() only assembles the command set, parses the command line and dispatches; each group of
 * commands lives in its Commands*.cpp file.
 */
#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

#include "Command.h"
#include "Session.h"
#include "Settings.h"

using namespace zonclock;

namespace {

// The host keeps the root as given; an absolute one stays right if anything changes directory.
std::string absolutePath(const std::string& path)
{
	if (path.empty() || path[0] == '/')
		return path;
	char cwd[4096];
	if (!getcwd(cwd, sizeof cwd))
		return path;
	return std::string(cwd) + "/" + path;
}

} // namespace

int main(int argc, char** argv)
{
	bindMessageCatalogue();

	CommandSet commands;
	registerClockCommands(commands);
	registerCityCommands(commands);
	registerWeatherCommands(commands);
	registerBackupCommands(commands);
	registerDeviceCommands(commands);
	registerPlanningCommands(commands);
	registerHelpCommand(commands);
	commands.setDefault("clock");

	GlobalOptions global;
	Invocation invocation;
	int code = parseCommandLine(argc, argv, commands, global, invocation);
	if (code != kExitOk)
		return code;

	if (global.version) {
		printVersion(stdout);
		return kExitOk;
	}
	if (global.help) {
		if (invocation.command)
			printCommandHelp(*invocation.command, stdout);
		else
			printProgramHelp(commands, stdout);
		return kExitOk;
	}

	struct stat info;
	if (!global.root.empty() && stat(global.root.c_str(), &info) == 0 && !S_ISDIR(info.st_mode))
		return usageError("--root: '%s' is not a directory", global.root.c_str());

	// Checked before anything touches the device, like every other usage error.
	SettingOverrides& settings = global.settings;
	for (auto [option, locale] : {std::make_pair("--region", &settings.region),
			 std::make_pair("--language", &settings.language)}) {
		if (locale->empty())
			continue;
		std::string typed = *locale;
		*locale = availableLocale(typed);
		if (locale->empty())
			return usageError("%s: '%s' is no locale ICU knows (e.g. ko_KR, en_US, ar_AE)", option, typed.c_str());
	}
	if (!settings.language.empty() && !hasCatalogues(settings.language))
		fprintf(stderr, "zonclock: --language %s: no catalogue of texts in that language; they stay in English\n",
			settings.language.c_str());

	int result;
	{
		Session session(absolutePath(global.root), settings);
		result = invocation.command->run(invocation, session);
	}
	if (fflush(stdout) != 0)
		return failure("cannot write the output: %s", strerror(errno));
	return processExitCode(result);
}

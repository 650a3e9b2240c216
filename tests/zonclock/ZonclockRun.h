// Runs the built zonclock on a fresh device root of its own, with TZ=UTC so that a new device is
// in UTC (its local-time link follows the desktop's zone when it is made).
#pragma once

#include <fcntl.h>
#include <glob.h>
#include <unistd.h>
#include <spawn.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <zon-host/zon_host.h>

extern char** environ;

struct Outcome {
	int exitCode = -1;
	std::string out, err;
};

inline std::string readFile(const std::string& path) { return (std::stringstream() << std::ifstream(path).rdbuf()).str(); }

inline std::vector<std::string> lines(const std::string& text)
{
	std::vector<std::string> result;
	std::istringstream in(text);
	for (std::string line; std::getline(in, line);)
		result.push_back(line);
	return result;
}

inline bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// The value after "Label:" on its own line.
inline std::string field(const std::string& text, const std::string& label)
{
	std::smatch match;
	return std::regex_search(text, match, std::regex("(^|\n)" + label + ": *([^\n]*)")) ? match[2].str()
		: "(no " + label + " line)";
}

// A table line's cells: columns are set apart by at least two blanks, cells hold single ones.
inline std::vector<std::string> cells(const std::string& line)
{
	static const std::regex gap("  +");
	return {std::sregex_token_iterator(line.begin(), line.end(), gap, -1), {}};
}

// The table rows after the header's dashes.
inline std::vector<std::vector<std::string>> tableRows(const std::string& text)
{
	std::vector<std::vector<std::string>> rows;
	bool inTable = false;
	for (const std::string& line : lines(text)) {
		if (line.rfind("-", 0) == 0 && line.find_first_not_of("- ") == std::string::npos)
			inTable = true;
		else if (inTable && line.empty())
			break;
		else if (inTable)
			rows.push_back(cells(line));
	}
	return rows;
}

// The numbers of a table's column `column`, top to bottom.
inline std::vector<int> idsIn(const std::string& table, size_t column)
{
	std::vector<int> ids;
	for (const auto& row : tableRows(table))
		ids.push_back(row.size() > column ? atoi(row[column].c_str()) : -1);
	return ids;
}

inline std::vector<std::string> rowOf(const std::string& table, const std::string& first)
{
	for (const std::string& line : lines(table)) {
		if (std::vector<std::string> row = cells(line); !row.empty() && row[0] == first)
			return row;
	}
	return {};
}

// ICU puts a narrow no-break space before the marker.
inline const std::regex kClock12("\\d{1,2}:\\d{2}( |\xE2\x80\xAF)(AM|PM)");
inline const std::regex kClock24("\\d{2}:\\d{2}");

#define EXPECT_SUCCESS(run) EXPECT_EQ((run).exitCode, 0) << (run).err

// Usage errors are one "zonclock: " line on stderr, nothing on stdout, and exit code 2.
inline void expectUsageError(const Outcome& result, const std::string& what)
{
	EXPECT_EQ(result.exitCode, 2) << what;
	EXPECT_EQ(result.out, "") << what;
	EXPECT_EQ(lines(result.err).size(), 1u) << what << ": " << result.err;
	EXPECT_EQ(result.err.rfind("zonclock: ", 0), 0u) << what << ": " << result.err;
}

// A refusal: exit code 1, nothing on standard output, and each of `said` on standard error.
inline void expectRefusal(const Outcome& result, const std::vector<std::string>& said)
{
	EXPECT_EQ(result.exitCode, 1) << result.err;
	EXPECT_EQ(result.out, "");
	for (const std::string& part : said)
		EXPECT_TRUE(contains(result.err, part)) << result.err;
}

class ZonclockFixture : public ::testing::Test {
protected:
	void SetUp() override
	{
		char dir[] = "/tmp/zonclock-test-XXXXXX";
		ASSERT_NE(mkdtemp(dir), nullptr);
		_tmp = dir;
		_root = _tmp + "/device";
		// Where the program would go without --root: it must stay untouched.
		_envRoot = _tmp + "/env-device";
	}

	void TearDown() override { std::filesystem::remove_all(_tmp); }

	Outcome zonclock(std::vector<std::string> args, const std::vector<std::string>& env = {})
	{
		args.insert(args.begin(), {"--root", _root});
		return run(args, env);
	}

	Outcome run(std::vector<std::string> args, std::vector<std::string> env = {})
	{
		std::string outPath = _tmp + "/out", errPath = _tmp + "/err";
		posix_spawn_file_actions_t actions;
		posix_spawn_file_actions_init(&actions);
		posix_spawn_file_actions_addopen(&actions, 1, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
		posix_spawn_file_actions_addopen(&actions, 2, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
		if (!_stdin.empty())
			posix_spawn_file_actions_addopen(&actions, 0, _stdin.c_str(), O_RDONLY, 0);
		args.insert(args.begin(), ZONCLOCK_PATH);
		env.insert(env.end(), {"TZ=UTC", "ZON_HOST_ROOT=" + _envRoot});
		for (char** e = environ; *e; ++e) {
			// A terminal's COLUMNS would cut the tables the tests read.
			if (strncmp(*e, "TZ=", 3) != 0 && strncmp(*e, "ZON_HOST_ROOT=", 14) != 0 && strncmp(*e, "COLUMNS=", 8) != 0)
				env.push_back(*e);
		}
		std::vector<char*> argv, envp;
		for (auto [from, to] : {std::pair{&args, &argv}, {&env, &envp}}) {
			for (std::string& text : *from)
				to->push_back(text.data());
			to->push_back(nullptr);
		}

		Outcome result;
		pid_t pid;
		int status = 0;
		if (posix_spawn(&pid, ZONCLOCK_PATH, &actions, nullptr, argv.data(), envp.data()) == 0
			&& waitpid(pid, &status, 0) == pid && WIFEXITED(status))
			result.exitCode = WEXITSTATUS(status);
		posix_spawn_file_actions_destroy(&actions);
		result.out = readFile(outPath);
		result.err = readFile(errPath);
		return result;
	}

	// The device as the library in this process sees it, between runs of zonclock.
	void openDevice()
	{
		setenv("ZON_HOST_ROOT", _root.c_str(), 1);
		zon_host_reset();
	}

	// Variables that start zonclock with its clock at `epoch` (libfaketime); empty when the
	// library is not installed.
	static std::vector<std::string> frozenAt(time_t epoch)
	{
		glob_t found;
		if (glob("/usr/lib/{*/,}faketime/libfaketime.so.1", GLOB_BRACE, nullptr, &found) != 0)
			return {};
		std::string library = found.gl_pathv[0];
		globfree(&found);
		const char* asan = getenv("ASAN_OPTIONS");
		// ASan wants to be the first preloaded library; here libfaketime is.
		return {std::string("LD_PRELOAD=") + library, "FAKETIME_FMT=%s", "FAKETIME=@" + std::to_string(epoch),
			"DONT_FAKE_MONOTONIC=1", std::string("ASAN_OPTIONS=") + (asan ? asan : "") + ":verify_asan_link_order=0"};
	}

	std::string _stdin;  // the file standard input reads, when set
	std::string _tmp;
	std::string _root;
	std::string _envRoot;
};

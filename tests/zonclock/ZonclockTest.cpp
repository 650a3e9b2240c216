// End-to-end tests of zonclock: the built program is run on a fresh device root, and what it
// prints, its exit code and what it leaves on the device are checked, as a user or a script
// would see them.
#include <fcntl.h>
#include <spawn.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <app_preference.h>
#include <zon-host/zon_host.h>

extern char** environ;

namespace {

struct Outcome {
	int exitCode = -1;
	std::string out;
	std::string err;
};

std::string readFile(const std::string& path)
{
	std::ifstream in(path);
	std::stringstream text;
	text << in.rdbuf();
	return text.str();
}

std::vector<std::string> lines(const std::string& text)
{
	std::vector<std::string> result;
	std::istringstream in(text);
	for (std::string line; std::getline(in, line);)
		result.push_back(line);
	return result;
}

class ZonclockTest : public ::testing::Test {
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

	// Runs zonclock with --root pointing at this test's device.
	Outcome zonclock(std::vector<std::string> args) { return run(withRoot(std::move(args))); }

	std::vector<std::string> withRoot(std::vector<std::string> args)
	{
		args.insert(args.begin(), {"--root", _root});
		return args;
	}

	Outcome run(const std::vector<std::string>& args)
	{
		Outcome result;
		std::string outPath = _tmp + "/out";
		std::string errPath = _tmp + "/err";
		posix_spawn_file_actions_t actions;
		posix_spawn_file_actions_init(&actions);
		posix_spawn_file_actions_addopen(&actions, 1, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
		posix_spawn_file_actions_addopen(&actions, 2, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);

		std::vector<char*> argv = {const_cast<char*>(ZONCLOCK_PATH)};
		for (const std::string& arg : args)
			argv.push_back(const_cast<char*>(arg.c_str()));
		argv.push_back(nullptr);

		std::vector<std::string> env = {"ZON_HOST_ROOT=" + _envRoot};
		for (char** e = environ; *e; ++e) {
			if (strncmp(*e, "ZON_HOST_ROOT=", 14) != 0)
				env.push_back(*e);
		}
		std::vector<char*> envp;
		for (std::string& e : env)
			envp.push_back(e.data());
		envp.push_back(nullptr);

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

	// Catalogue ids of a printed list, top to bottom (the table's third column).
	std::vector<int> listedIds(const std::vector<std::string>& args = {"list"})
	{
		Outcome list = zonclock(args);
		EXPECT_EQ(list.exitCode, 0) << list.err;
		std::vector<int> ids;
		std::vector<std::string> rows = lines(list.out);
		for (size_t i = 2; i < rows.size(); ++i) {
			std::istringstream row(rows[i]);
			int position, rowId, id;
			if (row >> position >> rowId >> id)
				ids.push_back(id);
		}
		return ids;
	}

	int dbChangedPreference()
	{
		setenv("ZON_HOST_ROOT", _root.c_str(), 1);
		zon_host_reset();
		int value = -1;
		EXPECT_EQ(preference_get_int("ZonDBChanged", &value), PREFERENCE_ERROR_NONE);
		return value;
	}

	bool deviceExists(const std::string& root) { return std::filesystem::exists(root); }

	std::string _tmp;
	std::string _root;
	std::string _envRoot;
};

#define EXPECT_SUCCESS(run) EXPECT_EQ((run).exitCode, 0) << (run).err

TEST_F(ZonclockTest, AddedCitiesAreListedInOrderInTheirOwnList)
{
	EXPECT_SUCCESS(zonclock({"add", "tokyo"}));
	// The catalogue spells it "Cairo " with a blank; the stored name must still match it.
	EXPECT_SUCCESS(zonclock({"add", "  CAIRO"}));
	EXPECT_SUCCESS(zonclock({"add", "283"}));
	EXPECT_SUCCESS(zonclock({"add", "Tokyo", "--second"}));

	Outcome again = zonclock({"add", "TOKYO"});
	EXPECT_EQ(again.exitCode, 1);
	EXPECT_NE(again.err.find("already in the main list"), std::string::npos) << again.err;

	EXPECT_EQ(listedIds(), (std::vector<int>{299, 54, 283}));
	EXPECT_EQ(listedIds({"list", "--second"}), (std::vector<int>{299}));
	// No command shows the world clock of the main list.
	Outcome clock = zonclock({});
	EXPECT_EQ(clock.out.rfind("Device: ", 0), 0u) << clock.out;
	EXPECT_LT(clock.out.find("Tokyo"), clock.out.find("St. John's")) << clock.out;

	Outcome list = zonclock({"list"});
	EXPECT_NE(list.out.find("St. John's"), std::string::npos);
	EXPECT_NE(list.out.find("America/St_Johns"), std::string::npos);
	EXPECT_FALSE(deviceExists(_envRoot));
}

TEST_F(ZonclockTest, RemoveAndReplaceChangeOnlyTheirCityAndAnnounceIt)
{
	// The two Kingstons share their name string and GMT text; both can still be added, once.
	EXPECT_SUCCESS(zonclock({"add", "153"}));
	EXPECT_SUCCESS(zonclock({"add", "154"}));
	EXPECT_EQ(zonclock({"add", "154"}).exitCode, 1);
	EXPECT_SUCCESS(zonclock({"add", "Zurich", "--second"}));

	EXPECT_SUCCESS(zonclock({"replace", "153", "berlin"}));
	EXPECT_EQ(listedIds(), (std::vector<int>{39, 154}));

	Outcome absent = zonclock({"replace", "tokyo", "seoul"});
	EXPECT_EQ(absent.exitCode, 1);
	EXPECT_NE(absent.err.find("not in the main list"), std::string::npos) << absent.err;
	EXPECT_EQ(zonclock({"replace", "154", "Berlin"}).exitCode, 1);

	int before = dbChangedPreference();
	EXPECT_SUCCESS(zonclock({"remove", "154"}));
	EXPECT_EQ(dbChangedPreference(), before ? 0 : 1) << "a removal must reach the other processes";
	EXPECT_EQ(listedIds(), (std::vector<int>{39}));

	Outcome gone = zonclock({"remove", "154"});
	EXPECT_EQ(gone.exitCode, 1);
	EXPECT_NE(gone.err.find("not in the main list"), std::string::npos) << gone.err;
	EXPECT_EQ(zonclock({"remove", "berlin", "--second"}).exitCode, 1);
	EXPECT_EQ(listedIds(), (std::vector<int>{39}));
	EXPECT_EQ(listedIds({"list", "--second"}), (std::vector<int>{331}));
}

TEST_F(ZonclockTest, CityOperandsThatNameNoSingleCityAreRefusedBeforeTheDevice)
{
	Outcome saint = zonclock({"add", "st. john's"});
	EXPECT_EQ(saint.exitCode, 2);
	EXPECT_NE(saint.err.find("282"), std::string::npos) << saint.err;
	EXPECT_NE(saint.err.find("283"), std::string::npos) << saint.err;
	EXPECT_NE(saint.err.find("Canada"), std::string::npos) << saint.err;

	Outcome kingston = zonclock({"remove", "Kingston"});
	EXPECT_EQ(kingston.exitCode, 2);
	EXPECT_NE(kingston.err.find("153"), std::string::npos) << kingston.err;
	EXPECT_NE(kingston.err.find("154"), std::string::npos) << kingston.err;

	Outcome unknown = zonclock({"add", "Atlantis"});
	EXPECT_EQ(unknown.exitCode, 2);
	EXPECT_NE(unknown.err.find("Atlantis"), std::string::npos) << unknown.err;

	for (const char* id : {"0", "332", "99999999999999999999"})
		EXPECT_EQ(zonclock({"add", id}).exitCode, 2) << id;
	EXPECT_EQ(zonclock({"replace", "Tokyo", "San Jose"}).exitCode, 2);

	EXPECT_FALSE(deviceExists(_root));
}

TEST_F(ZonclockTest, BadCommandLinesGiveOneLineAndExitTwo)
{
	const std::vector<std::vector<std::string>> bad = {
		{"frobnicate"}, {"add"}, {"add", "Tokyo", "Seoul"}, {"replace", "Tokyo"},
		{"list", "--bogus"}, {"--second", "list"}, {"list", "--second=yes"}, {"list", "extra"},
		{"help", "frobnicate"}, {"search", "a", "b"},
	};
	for (const auto& args : bad) {
		Outcome result = zonclock(args);
		EXPECT_EQ(result.exitCode, 2) << args[0];
		EXPECT_EQ(result.out, "") << args[0];
		EXPECT_EQ(lines(result.err).size(), 1u) << result.err;
		EXPECT_EQ(result.err.rfind("zonclock: ", 0), 0u) << result.err;
	}
	EXPECT_EQ(run({"list", "--root"}).exitCode, 2);
	EXPECT_EQ(run({"--root=", "list"}).exitCode, 2);
	EXPECT_FALSE(deviceExists(_root));
	EXPECT_FALSE(deviceExists(_envRoot));

	for (const auto& args : std::vector<std::vector<std::string>>{
			 {"--help"}, {"help"}, {"-h", "list"}, {"help", "add"}, {"add", "--help"},
			 {"replace", "--help", "too", "many", "operands"}}) {
		Outcome help = zonclock(args);
		EXPECT_EQ(help.exitCode, 0) << args[0];
		EXPECT_EQ(help.out.rfind("Usage: zonclock", 0), 0u) << help.out;
	}
	EXPECT_NE(zonclock({"add", "--help"}).out.find("zonclock add CITY [--second]"), std::string::npos);
	EXPECT_NE(zonclock({"--help"}).out.find("search"), std::string::npos);
	EXPECT_FALSE(deviceExists(_root));
}

TEST_F(ZonclockTest, SearchListsCataloguePrefixMatchesWithoutTheDevice)
{
	Outcome sanJose = zonclock({"search", "SAN J"});
	EXPECT_SUCCESS(sanJose);
	std::vector<std::string> rows = lines(sanJose.out);
	ASSERT_EQ(rows.size(), 5u) << sanJose.out;    // header, rule, San Jose twice, San Juan
	EXPECT_EQ(rows[2].substr(0, 3), "262");
	EXPECT_EQ(rows[3].substr(0, 3), "263");
	EXPECT_NE(rows[3].find("Costa Rica"), std::string::npos);

	Outcome cairo = zonclock({"search", "cairo"});
	EXPECT_SUCCESS(cairo);
	EXPECT_EQ(lines(cairo.out).size(), 3u);
	// A blank ends a word: "New " leaves out Newfoundland.
	EXPECT_EQ(lines(zonclock({"search", "new"}).out).size(), 2u + 3u);
	EXPECT_EQ(lines(zonclock({"search", "new "}).out).size(), 2u + 2u);

	EXPECT_EQ(lines(zonclock({"search"}).out).size(), 2u + 331u);
	Outcome none = zonclock({"search", "xyz"});
	EXPECT_EQ(none.exitCode, 1);
	EXPECT_EQ(none.out, "");
	EXPECT_FALSE(deviceExists(_root));
}

} // namespace

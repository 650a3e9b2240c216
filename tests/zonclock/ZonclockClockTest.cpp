// zonclock's world clock, difference and sun texts, weather, and the settings of one run, end to
// end: the built program runs on a fresh device root with TZ=UTC, so that a new device is in UTC
// (its local-time link follows the desktop's zone when it is made).
#include <fcntl.h>
#include <spawn.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <app_preference.h>
#include <vconf.h>
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

bool contains(const std::string& text, const std::string& part)
{
	return text.find(part) != std::string::npos;
}

// Cells of a table row: columns are set apart by at least two blanks, cells hold single ones.
std::vector<std::string> cells(const std::string& row)
{
	static const std::regex gap("  +");
	return {std::sregex_token_iterator(row.begin(), row.end(), gap, -1), std::sregex_token_iterator()};
}

// The cells of the row whose first cell is `first`; empty when there is none.
std::vector<std::string> rowOf(const std::string& table, const std::string& first)
{
	for (const std::string& line : lines(table)) {
		std::vector<std::string> row = cells(line);
		if (!row.empty() && row[0] == first)
			return row;
	}
	return {};
}

// The value after "Label:" on its own line.
std::string field(const std::string& text, const std::string& label)
{
	for (const std::string& line : lines(text)) {
		if (line.rfind(label + ":", 0) == 0) {
			size_t start = line.find_first_not_of(' ', label.size() + 1);
			return start == std::string::npos ? std::string() : line.substr(start);
		}
	}
	return "(no " + label + " line)";
}

// ICU puts a narrow no-break space before the marker.
const std::regex kClock12("\\d{1,2}:\\d{2}( |\xE2\x80\xAF)(AM|PM)");
const std::regex kClock24("\\d{2}:\\d{2}");

enum Column { City, Time, Date, Difference, Gmt, Sunrise, Sunset, Now, Weather, ColumnCount };

class ZonclockClockTest : public ::testing::Test {
protected:
	void SetUp() override
	{
		char dir[] = "/tmp/zonclock-clock-test-XXXXXX";
		ASSERT_NE(mkdtemp(dir), nullptr);
		_tmp = dir;
		_root = _tmp + "/device";
	}

	void TearDown() override { std::filesystem::remove_all(_tmp); }

	Outcome zonclock(std::vector<std::string> args, const std::vector<std::string>& extraEnv = {})
	{
		args.insert(args.begin(), {"--root", _root});
		Outcome result;
		std::string outPath = _tmp + "/out";
		std::string errPath = _tmp + "/err";
		posix_spawn_file_actions_t actions;
		posix_spawn_file_actions_init(&actions);
		posix_spawn_file_actions_addopen(&actions, 1, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
		posix_spawn_file_actions_addopen(&actions, 2, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);

		std::vector<char*> argv = {const_cast<char*>(ZONCLOCK_PATH)};
		for (std::string& arg : args)
			argv.push_back(arg.data());
		argv.push_back(nullptr);

		std::vector<std::string> env = {"TZ=UTC"};
		env.insert(env.end(), extraEnv.begin(), extraEnv.end());
		for (char** e = environ; *e; ++e) {
			if (strncmp(*e, "TZ=", 3) != 0 && strncmp(*e, "ZON_HOST_ROOT=", 14) != 0)
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

	// The device as the library in this process sees it, between runs of zonclock.
	void openDevice()
	{
		setenv("ZON_HOST_ROOT", _root.c_str(), 1);
		zon_host_reset();
	}

	std::string vconfString(const char* key)
	{
		openDevice();
		char* value = vconf_get_str(key);
		std::string text = value ? value : "(unset)";
		free(value);
		return text;
	}

	std::string _tmp;
	std::string _root;
};

#define EXPECT_SUCCESS(run) EXPECT_EQ((run).exitCode, 0) << (run).err

void expectUsageError(const Outcome& result, const std::string& what)
{
	EXPECT_EQ(result.exitCode, 2) << what;
	EXPECT_EQ(result.out, "") << what;
	EXPECT_EQ(lines(result.err).size(), 1u) << what << ": " << result.err;
	EXPECT_EQ(result.err.rfind("zonclock: ", 0), 0u) << what << ": " << result.err;
}

TEST_F(ZonclockClockTest, WorldClockShowsEveryCityInTheDevicesClockFormat)
{
	Outcome empty = zonclock({});
	EXPECT_SUCCESS(empty);
	EXPECT_TRUE(contains(empty.out, "Device: ")) << empty.out;
	EXPECT_TRUE(contains(empty.out, "zonclock add CITY")) << empty.out;

	for (const char* city : {"Tokyo", "Reykjavik", "Kolkata"})
		ASSERT_EQ(zonclock({"add", city}).exitCode, 0);

	for (const char* clock : {"--12h", "--24h"}) {
		const std::regex& pattern = std::string(clock) == "--12h" ? kClock12 : kClock24;
		Outcome view = zonclock({"--region", "en_US", clock});
		EXPECT_SUCCESS(view);
		EXPECT_TRUE(contains(view.out, "in UTC (GMT+0)")) << view.out;
		for (const char* city : {"Tokyo", "Reykjavik", "Kolkata"}) {
			std::vector<std::string> row = rowOf(view.out, city);
			ASSERT_EQ(row.size(), static_cast<size_t>(ColumnCount)) << city << " in\n" << view.out;
			for (Column column : {Time, Sunrise, Sunset})
				EXPECT_TRUE(std::regex_match(row[column], pattern)) << clock << " " << city << ": " << row[column];
			EXPECT_TRUE(row[Now] == "day" || row[Now] == "night") << row[Now];
			EXPECT_EQ(row[Weather], "\u2014") << "nothing was asked yet";
		}
		// Zones without daylight time: the texts hold all year.
		EXPECT_EQ(rowOf(view.out, "Tokyo")[Difference], "9 hrs ahead");
		EXPECT_EQ(rowOf(view.out, "Kolkata")[Difference], "5 hrs 30 mins ahead");
		EXPECT_EQ(rowOf(view.out, "Kolkata")[Gmt], "GMT+5:30");
		EXPECT_EQ(rowOf(view.out, "Reykjavik")[Difference], "\u2014") << "same time as the device";
		EXPECT_EQ(rowOf(view.out, "Reykjavik")[Gmt], "GMT+0");
	}

	Outcome second = zonclock({"clock", "--second"});
	EXPECT_SUCCESS(second);
	EXPECT_TRUE(contains(second.out, "zonclock add --second CITY")) << second.out;
}

TEST_F(ZonclockClockTest, RegionAndLanguageOptionsChangeTheTextsForOneRunOnly)
{
	ASSERT_EQ(zonclock({"add", "Tokyo"}).exitCode, 0);
	openDevice();
	ASSERT_EQ(vconf_set_str(VCONFKEY_REGIONFORMAT, "de_DE.UTF-8"), VCONF_OK);

	Outcome korean = zonclock({"--region", "ko_KR", "--language", "ko-KR.UTF-8", "--24h"});
	EXPECT_SUCCESS(korean);
	std::vector<std::string> row = rowOf(korean.out, "Tokyo");
	ASSERT_EQ(row.size(), static_cast<size_t>(ColumnCount)) << korean.out;
	EXPECT_TRUE(contains(row[Date], "\uC6D4")) << "Korean month: " << row[Date];
	EXPECT_TRUE(std::regex_match(row[Time], kClock24)) << row[Time];
	EXPECT_EQ(row[Difference], "9\uC2DC\uAC04 \uBE60\uB984");

	// Put back as they were: the set region format, and the never-set language and clock.
	EXPECT_EQ(vconfString(VCONFKEY_REGIONFORMAT), "de_DE.UTF-8");
	EXPECT_EQ(vconfString(VCONFKEY_LANGSET).rfind("ko", 0), std::string::npos);
	int clock = 0;
	EXPECT_NE(vconf_get_int(VCONFKEY_REGIONFORMAT_TIME1224, &clock), VCONF_OK) << "left at " << clock;

	// Without a locale of its own the process would show message ids or question marks.
	Outcome plainC = zonclock({"--language", "ko_KR", "diff", "Tokyo"}, {"LC_ALL=C"});
	EXPECT_SUCCESS(plainC);
	EXPECT_EQ(field(plainC.out, "List row"), "\"9\uC2DC\uAC04 \uBE60\uB984\"") << plainC.out;

	// A language without a catalogue falls back to English.
	Outcome french = zonclock({"--language", "fr_FR", "diff", "Tokyo"});
	EXPECT_EQ(field(french.out, "List row"), "\"9 hrs ahead\"") << french.out;

	for (const auto& args : std::vector<std::vector<std::string>>{{"--region", "xx_YY"},
			 {"--language", "klingon", "diff", "Tokyo"}, {"--region", "C"}, {"--24h", "--12h"},
			 {"--region"}})
		expectUsageError(zonclock(args), args[0] + " " + (args.size() > 1 ? args[1] : ""));
	EXPECT_EQ(vconfString(VCONFKEY_REGIONFORMAT), "de_DE.UTF-8");
}

TEST_F(ZonclockClockTest, DiffPrintsTheFourTextsAndEmptyOnesInTheDevicesZone)
{
	Outcome tokyo = zonclock({"--region", "en_US", "--language", "en_US", "diff", "tokyo"});
	EXPECT_SUCCESS(tokyo);
	EXPECT_EQ(field(tokyo.out, "Offset"), "+9 h");
	EXPECT_EQ(field(tokyo.out, "List row"), "\"9 hrs ahead\"");
	EXPECT_EQ(field(tokyo.out, "Screen reader"), "\"9 hours ahead\"");
	EXPECT_EQ(field(tokyo.out, "Font markup"), "\"<font_size=32>9 hrs ahead</font_size>\"");
	EXPECT_EQ(field(tokyo.out, "Widget arc"), "\"\u200E+9 h\"");
	EXPECT_FALSE(contains(tokyo.out, "Same time"));

	Outcome same = zonclock({"diff", "Reykjavik"});
	EXPECT_SUCCESS(same);
	for (const char* label : {"List row", "Screen reader", "Font markup", "Widget arc"})
		EXPECT_EQ(field(same.out, label), "\"\"") << label;
	EXPECT_TRUE(contains(same.out, "Same time as the device")) << same.out;

	// A device set to Tokyo's zone while the desktop is in UTC: each of the four texts must be
	// measured from the device, although the library drops TZ after every call.
	std::filesystem::remove_all(_root);
	std::filesystem::create_directories(_root + "/fs/opt/etc");
	std::filesystem::create_symlink("/usr/share/zoneinfo/Asia/Tokyo", _root + "/fs/opt/etc/localtime");
	Outcome tokyoDevice = zonclock({"diff", "Tokyo"});
	EXPECT_TRUE(contains(tokyoDevice.out, "Same time as the device")) << tokyoDevice.out;
	EXPECT_EQ(field(zonclock({"diff", "Reykjavik"}).out, "Widget arc"), "\"\u200E\u22129 h\"");

	expectUsageError(zonclock({"diff", "Atlantis"}), "unknown city");
	expectUsageError(zonclock({"diff", "Kingston"}), "ambiguous city");
	expectUsageError(zonclock({"diff"}), "no city");
	expectUsageError(zonclock({"sun", "0"}), "bad id");
	expectUsageError(zonclock({"sun", "Tokyo", "Seoul"}), "two cities");
}

TEST_F(ZonclockClockTest, SunGivesRiseBeforeSetAndTellsDayFromNight)
{
	// Cairo: far from the poles, so both times fall on the same local day.
	Outcome cairo = zonclock({"--24h", "sun", "Cairo"});
	EXPECT_SUCCESS(cairo);
	std::string rise = field(cairo.out, "Sunrise");
	std::string set = field(cairo.out, "Sunset");
	ASSERT_TRUE(std::regex_match(rise, kClock24)) << cairo.out;
	ASSERT_TRUE(std::regex_match(set, kClock24)) << cairo.out;
	EXPECT_LT(rise, set);

	// The flag against Cairo's present clock, unless that sits on one of the two minutes.
	setenv("TZ", "Africa/Cairo", 1);
	tzset();
	time_t now = time(nullptr);
	tm local;
	localtime_r(&now, &local);
	unsetenv("TZ");
	tzset();
	char clock[8];
	snprintf(clock, sizeof clock, "%02d:%02d", local.tm_hour, local.tm_min);
	if (clock != rise && clock != set) {
		EXPECT_EQ(field(cairo.out, "Now"), rise <= clock && clock < set ? "day" : "night") << clock;
	}

	Outcome twelve = zonclock({"--12h", "--region", "en_US", "sun", "283"});
	EXPECT_SUCCESS(twelve);
	EXPECT_TRUE(contains(twelve.out, "St. John's (283, Canada)")) << twelve.out;
	EXPECT_TRUE(std::regex_match(field(twelve.out, "Sunrise"), kClock12)) << twelve.out;
	EXPECT_TRUE(std::regex_match(field(twelve.out, "Sunset"), kClock12)) << twelve.out;
}

TEST_F(ZonclockClockTest, WeatherComesFromTheAgentThenTheCacheAndReachesTheClock)
{
	ASSERT_EQ(zonclock({"add", "Tokyo"}).exitCode, 0);
	ASSERT_EQ(zonclock({"add", "Kolkata"}).exitCode, 0);

	Outcome first = zonclock({"weather"});
	EXPECT_SUCCESS(first);
	for (const char* city : {"Tokyo", "Kolkata"}) {
		std::vector<std::string> row = rowOf(first.out, city);
		ASSERT_EQ(row.size(), 4u) << first.out;
		EXPECT_NE(row[1], "\u2014") << city;
		EXPECT_TRUE(std::regex_match(row[2], std::regex("-?\\d+ \u00B0C"))) << row[2];
		EXPECT_EQ(row[3], "agent") << city;
	}

	Outcome again = zonclock({"weather", "tokyo"});
	EXPECT_SUCCESS(again);
	EXPECT_EQ(rowOf(again.out, "Tokyo"), (std::vector<std::string>{"Tokyo", rowOf(first.out, "Tokyo")[1],
		rowOf(first.out, "Tokyo")[2], "cache, just now"}));
	EXPECT_EQ(rowOf(zonclock({"weather", "Tokyo", "--refresh"}).out, "Tokyo")[3], "agent");

	std::vector<std::string> clockRow = rowOf(zonclock({}).out, "Kolkata");
	ASSERT_EQ(clockRow.size(), static_cast<size_t>(ColumnCount));
	EXPECT_EQ(clockRow[Weather], rowOf(first.out, "Kolkata")[1] + " " + rowOf(first.out, "Kolkata")[2] + ", just now");

	// A city in no list has nowhere to keep its weather.
	for (int run = 0; run < 2; ++run) {
		Outcome berlin = zonclock({"weather", "Berlin"});
		EXPECT_SUCCESS(berlin);
		EXPECT_EQ(rowOf(berlin.out, "Berlin")[3], "agent");
		EXPECT_TRUE(contains(berlin.out, "not cached: Berlin")) << berlin.out;
	}

	Outcome delayed = zonclock({"weather", "Tokyo", "--refresh", "--agent", "delay=200"});
	EXPECT_SUCCESS(delayed);
	EXPECT_EQ(rowOf(delayed.out, "Tokyo")[3], "agent");

	// Per-request widget instance ids must not pile up in the application's preferences.
	openDevice();
	bool existing = true;
	EXPECT_EQ(preference_is_existing("zonclock.weather.299", &existing), PREFERENCE_ERROR_NONE);
	EXPECT_FALSE(existing);
}

TEST_F(ZonclockClockTest, AgentErrorsAndSilenceAreReportedAndKeepTheCache)
{
	ASSERT_EQ(zonclock({"add", "Tokyo"}).exitCode, 0);
	ASSERT_EQ(zonclock({"weather"}).exitCode, 0);

	Outcome error = zonclock({"weather", "--refresh", "--agent", "error"});
	EXPECT_EQ(error.exitCode, 1);
	EXPECT_EQ(rowOf(error.out, "Tokyo"), (std::vector<std::string>{"Tokyo", "\u2014", "\u2014", "agent error"}));
	EXPECT_EQ(lines(error.err).size(), 1u) << error.err;
	EXPECT_TRUE(contains(error.err, "Tokyo")) << error.err;

	auto start = std::chrono::steady_clock::now();
	Outcome silent = zonclock({"weather", "Tokyo", "Kolkata", "--refresh", "--agent", "silent", "--fire-alarm"});
	EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(8)) << "the alarm was not fired";
	EXPECT_EQ(silent.exitCode, 1);
	EXPECT_EQ(rowOf(silent.out, "Tokyo")[3], "timed out") << silent.out;
	EXPECT_EQ(rowOf(silent.out, "Kolkata")[3], "timed out") << silent.out;

	// zonclock's own limit, below the library's ten seconds.
	Outcome limited = zonclock({"weather", "Tokyo", "--refresh", "--agent", "silent", "--timeout", "1"});
	EXPECT_EQ(limited.exitCode, 1);
	EXPECT_EQ(rowOf(limited.out, "Tokyo")[3], "no answer") << limited.out;

	// Neither an error nor silence replaced the stored answer.
	EXPECT_EQ(rowOf(zonclock({"weather"}).out, "Tokyo")[3].rfind("cache", 0), 0u);

	for (const auto& args : std::vector<std::vector<std::string>>{{"weather", "--agent", "loud"},
			 {"weather", "--agent", "delay=soon"}, {"weather", "--timeout", "0"}, {"weather", "--timeout", "1.5"},
			 {"weather", "Atlantis"}, {"weather", "Tokyo", "Kingston"}})
		expectUsageError(zonclock(args), args[1] + " " + args[2 % args.size()]);

	for (const char* command : {"clock", "diff", "sun", "weather"}) {
		Outcome help = zonclock({command, "--help"});
		EXPECT_EQ(help.exitCode, 0) << command;
		EXPECT_EQ(help.out.rfind(std::string("Usage: zonclock ") + command, 0), 0u) << help.out;
	}
}

} // namespace

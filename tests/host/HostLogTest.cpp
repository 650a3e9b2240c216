#include <fstream>
#include <regex>

#include <dlog.h>
#include <vconf.h>

#include "HostFixture.h"

namespace {

class HostLog : public HostFixture {
protected:
	// The lines of a log file; `messageOnly` cuts each down to what follows "): ".
	static std::vector<std::string> readLines(const std::string &file, bool messageOnly = false)
	{
		std::ifstream in(file);
		std::vector<std::string> found;
		for (std::string line; std::getline(in, line);)
			found.push_back(messageOnly ? line.substr(line.find("): ") + 3) : line);
		return found;
	}
};

TEST_F(HostLog, FileLinesFollowTheVariableAndStandardErrorGetsErrorsButNotFirstRunReads)
{
	const std::string file = rootPath("device.log");
	setEnv("ZON_HOST_LOG", file.c_str());
	__dlog_print(LOG_ID_MAIN, DLOG_ERROR, "zonvista", "ZonDBManager.cpp: initialize(12) > \033[0;31m* Critical * failed\033[0;m");
	dlog_print(DLOG_DEBUG, "WAPP", "two\nlines");
	dlog_print(DLOG_SILENT, "WAPP", "silent");

	std::vector<std::string> lines = readLines(file);
	ASSERT_EQ(3u, lines.size());
	const std::string stamp = R"(\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}[+-]\d{4} )", pid = R"(\( *)" + std::to_string(getpid()) + R"(\): )";
	const std::string expected[] = {
		stamp + "E/zonvista" + pid + R"(ZonDBManager\.cpp: initialize\(12\) > \x1b\[0;31m\* Critical \* failed\x1b\[0;m)",
		stamp + "D/WAPP    " + pid + "two", stamp + "D/WAPP    " + pid + "lines"};
	for (size_t i = 0; i < lines.size(); ++i)
		EXPECT_TRUE(std::regex_match(lines[i], std::regex(expected[i]))) << lines[i];
	int priority = 0;
	const char *tag = nullptr;
	EXPECT_EQ(2u, zon_host_log_count()) << "silent lines are dropped";
	EXPECT_STREQ("two\nlines", zon_host_log_line(1, &priority, &tag)) << "captured as logged";
	EXPECT_EQ(DLOG_DEBUG, priority);
	EXPECT_STREQ("WAPP", tag);

	// The file stays open between lines, yet follows the variable, and a reset lets go of a file
	// that was removed meanwhile.
	const std::string first = rootPath("first.log"), second = rootPath("second.log");
	setEnv("ZON_HOST_LOG", first.c_str());
	dlog_print(DLOG_INFO, "zonvista", "one");
	setEnv("ZON_HOST_LOG", second.c_str());
	dlog_print(DLOG_INFO, "zonvista", "two");
	setEnv("ZON_HOST_LOG", first.c_str());
	dlog_print(DLOG_INFO, "zonvista", "three");
	// A line longer than the formatting buffer, and one that a NUL cuts short, as a C string.
	const std::string longLine(3000, 'x');
	EXPECT_EQ(3000, dlog_print(DLOG_INFO, "zonvista", "%s", longLine.c_str()));
	EXPECT_EQ(4, dlog_print(DLOG_INFO, "zonvista", "four%cgone", 0));
	EXPECT_EQ((std::vector<std::string>{"one", "three", longLine, "four"}), readLines(first, true));
	EXPECT_EQ(std::vector<std::string>{"two"}, readLines(second, true));

	ASSERT_EQ(0, unlink(first.c_str()));
	zon_host_reset();
	dlog_print(DLOG_INFO, "zonvista", "four");
	EXPECT_EQ(std::vector<std::string>{"four"}, readLines(first, true));

	// Standard error gets errors only, and of them not a fresh device's unset settings, which are
	// logged, not shown; a read that fails for another reason is shown.
	setEnv("ZON_HOST_LOG", nullptr);
	zon_host_log_capture(true);   // the reset above ended it
	const char *unread = "\033[0;31m* Critical * vconf_get_int is faled.(-1)\033[0;m";
	int value = 0;
	testing::internal::CaptureStderr();
	dlog_print(DLOG_WARN, "zonvista", "warning");
	dlog_print(DLOG_FATAL, "zonvista", "fatal");
	ASSERT_EQ(VCONF_ERROR, vconf_get_int("db/zon/never_set", &value));
	dlog_print(DLOG_ERROR, "zonvista", "%s", unread);
	dlog_print(DLOG_ERROR, "zonvista", "disk full");
	ASSERT_EQ(VCONF_OK, vconf_set_str("db/zon/text", "x"));
	ASSERT_EQ(VCONF_ERROR, vconf_get_int("db/zon/text", &value));
	dlog_print(DLOG_ERROR, "zonvista", "vconf_get_int wrong type");
	std::string err = testing::internal::GetCapturedStderr();
	for (const auto &line : std::vector<std::pair<const char *, bool>>{{"warning", false}, {"E/zonvista(", true},
				{"F/zonvista(", true}, {"is faled", false}, {"disk full", true}, {"wrong type", true}})
		EXPECT_EQ(line.second, err.find(line.first) != std::string::npos) << line.first << " in\n" << err;
	EXPECT_TRUE(zon_host_log_contains(unread)) << "still logged";

	setEnv("ZON_HOST_LOG", rootPath("kept.log").c_str());
	ASSERT_EQ(VCONF_ERROR, vconf_get_int("db/zon/never_set", &value));
	dlog_print(DLOG_ERROR, "zonvista", "%s", unread);
	EXPECT_EQ((std::vector<std::string>{unread}), readLines(rootPath("kept.log"), true)) << "the log file keeps it";
}

} // namespace

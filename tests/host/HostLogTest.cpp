#include <fstream>
#include <regex>
#include <string>
#include <vector>

#include <unistd.h>

#include <dlog.h>
#include <zon-host/zon_host.h>

#include "HostFixture.h"

namespace {

class HostLog : public HostFixture {};

std::vector<std::string> readLines(const std::string &path)
{
	std::vector<std::string> lines;
	std::ifstream in(path);
	for (std::string line; std::getline(in, line);)
		lines.push_back(line);
	return lines;
}

TEST_F(HostLog, CaptureKeepsMessagePriorityAndTag)
{
	EXPECT_EQ(13, __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "zonvista", "%s(%d) > x", "open", 120));
	dlog_print(DLOG_DEBUG, "WAPP", "debug %s", "line");

	ASSERT_EQ(2u, zon_host_log_count());
	int prio = 0;
	const char *tag = nullptr;
	EXPECT_STREQ("open(120) > x", zon_host_log_line(0, &prio, &tag));
	EXPECT_EQ(DLOG_ERROR, prio);
	EXPECT_STREQ("zonvista", tag);
	EXPECT_STREQ("debug line", zon_host_log_line(1, nullptr, nullptr));
	EXPECT_EQ(nullptr, zon_host_log_line(2, &prio, &tag));
	EXPECT_TRUE(zon_host_log_contains("(120)"));
	EXPECT_EQ(2u, zon_host_log_count_matching("e"));
	EXPECT_FALSE(zon_host_log_contains("absent"));

	// Invalid calls log nothing.
	EXPECT_EQ(DLOG_ERROR_INVALID_PARAMETER, dlog_print(DLOG_DEFAULT, "t", "x"));
	EXPECT_EQ(DLOG_ERROR_INVALID_PARAMETER, __dlog_print(LOG_ID_MAX, DLOG_INFO, "t", "x"));
	EXPECT_EQ(2u, zon_host_log_count());

	zon_host_log_capture(true);
	EXPECT_EQ(0u, zon_host_log_count()) << "a new capture starts empty";
	zon_host_log_capture(false);
	dlog_print(DLOG_INFO, "t", "not kept");
	EXPECT_EQ(0u, zon_host_log_count());
}

TEST_F(HostLog, FileLinesLookLikeTheDeviceReader)
{
	const std::string file = rootPath("device.log");
	setEnv("ZON_HOST_LOG", file.c_str());
	__dlog_print(LOG_ID_MAIN, DLOG_ERROR, "zonvista", "ZonDBManager.cpp: initialize(12) > \033[0;31m* Critical * failed\033[0;m");
	dlog_print(DLOG_DEBUG, "WAPP", "two\nlines");
	dlog_print(DLOG_SILENT, "WAPP", "silent");

	std::vector<std::string> lines = readLines(file);
	ASSERT_EQ(3u, lines.size());
	const std::string pid = std::to_string(getpid());
	const std::string stamp = R"(\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}[+-]\d{4} )";
	EXPECT_TRUE(std::regex_match(lines[0], std::regex(stamp + R"(E/zonvista\( *)" + pid +
			R"(\): ZonDBManager\.cpp: initialize\(12\) > \x1b\[0;31m\* Critical \* failed\x1b\[0;m)")))
			<< lines[0];
	EXPECT_TRUE(std::regex_match(lines[1], std::regex(stamp + R"(D/WAPP    \( *)" + pid + R"(\): two)"))) << lines[1];
	EXPECT_TRUE(std::regex_match(lines[2], std::regex(stamp + R"(D/WAPP    \( *)" + pid + R"(\): lines)"))) << lines[2];
	EXPECT_EQ(2u, zon_host_log_count()) << "silent lines are dropped";
	EXPECT_STREQ("two\nlines", zon_host_log_line(1, nullptr, nullptr));
}

TEST_F(HostLog, StandardErrorGetsOnlyErrors)
{
	setEnv("ZON_HOST_LOG", nullptr);
	testing::internal::CaptureStderr();
	dlog_print(DLOG_WARN, "zonvista", "warning");
	dlog_print(DLOG_ERROR, "zonvista", "error");
	dlog_print(DLOG_FATAL, "zonvista", "fatal");
	std::string err = testing::internal::GetCapturedStderr();
	EXPECT_EQ(std::string::npos, err.find("warning"));
	EXPECT_NE(std::string::npos, err.find("E/zonvista("));
	EXPECT_NE(std::string::npos, err.find("F/zonvista("));
}

TEST_F(HostLog, ResetDropsLinesAndStopsCapture)
{
	dlog_print(DLOG_INFO, "t", "before");
	zon_host_reset();
	dlog_print(DLOG_INFO, "t", "after");
	EXPECT_EQ(0u, zon_host_log_count());
}

} // namespace

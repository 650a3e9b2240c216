// Usage-survey reports: what KorvathLogManager leaves in the service's log file.
#include <fstream>
#include <string>
#include <vector>

#include <dlog.h>
#include <korvath_log_manager.h>

#include "HostFixture.h"
#include "KorvathLogManager.h"

namespace {

// The records of the log file, one line each (id, sender, uri, key=value... separated by tabs).
std::vector<std::string> readRecords()
{
	std::vector<std::string> records;
	std::ifstream in(zon_host_survey_log_path());
	for (std::string line; std::getline(in, line);) {
		if (!line.empty() && line[0] != '#')
			records.push_back(line);
	}
	return records;
}

// The singleton outlives the test: it is left finalised for the next one of the process.
class LogManagerTest : public HostFixture {
protected:
	void TearDown() override
	{
		manager->finalize();
		HostFixture::TearDown();
	}

	KorvathLogManager* manager = KorvathLogManager::getInstance();
};

TEST_F(LogManagerTest, RecordsCarryTheirSurveyAndOnlyTheGivenKeysOrAreLoggedAndDropped)
{
	manager->initialize();
	manager->insertLog("korvath.zonvista", "ZV01", nullptr, nullptr, false);
	manager->insertLog("korvath.zonvista", "ZV50", "list", "3", true);
	manager->insertLog("korvath.zonvista", "ZV03", "", nullptr, true);
	const std::string from = "\t" ZON_HOST_DEFAULT_APP_ID "\t", feature = "\tapp_id=korvath.zonvista\tfeature=";
	EXPECT_EQ((std::vector<std::string>{"1" + from + KORVATH_LOG_MANAGER_URI_USE_APP_FEATURE_SURVEY + feature + "ZV01",
				  "2" + from + KORVATH_LOG_MANAGER_URI_REPORT_APP_STATUS_SURVEY + feature + "ZV50\textra=list\tvalue=3",
				  "3" + from + KORVATH_LOG_MANAGER_URI_REPORT_APP_STATUS_SURVEY + feature + "ZV03\textra="}),
		readRecords());

	// Reports without a working service are logged and dropped.
	manager->finalize();
	zon_host_log_clear();
	manager->insertLog("korvath.zonvista", "ZV01", nullptr, nullptr, false);
	manager->initialize();
	manager->finalize();
	manager->finalize();
	manager->insertLog("korvath.zonvista", "ZV01", nullptr, nullptr, false);
	EXPECT_EQ(3u, readRecords().size());
	ASSERT_EQ(2u, zon_host_log_count_matching("logmanager is not created"));
	const char* tag = nullptr;
	int priority = 0;
	zon_host_log_line(0, &priority, &tag);
	EXPECT_STREQ("zonvista-log-manager", tag);
	EXPECT_EQ(DLOG_ERROR, priority);

	zon_host_fault_inject("korvath_log_manager_create", 1, KORVATH_LOG_MANAGER_ERROR_PERMISSION_DENIED);
	manager->initialize();
	EXPECT_TRUE(zon_host_log_contains(
		("create logmanager failed(" + std::to_string(KORVATH_LOG_MANAGER_ERROR_PERMISSION_DENIED) + ")").c_str()));
	// A failed create leaves the manager uninitialised, so initialising again is allowed.
	manager->initialize();
	zon_host_fault_inject("korvath_log_manager_insert", 1, KORVATH_LOG_MANAGER_ERROR_IO_ERROR);
	manager->insertLog("korvath.zonvista", "ZV01", nullptr, nullptr, false);
	EXPECT_TRUE(zon_host_log_contains(
		("korvath_log_manager_insert() returns " + std::to_string(KORVATH_LOG_MANAGER_ERROR_IO_ERROR)).c_str()));
	EXPECT_EQ(3u, readRecords().size());
	manager->insertLog("korvath.zonvista", "ZV01", nullptr, nullptr, false);
	EXPECT_EQ(4u, readRecords().size());
}

using LogManagerDeathTest = LogManagerTest;

TEST_F(LogManagerDeathTest, ProgrammingErrorsAbort)
{
	GTEST_FLAG_SET(death_test_style, "threadsafe");
	// The assertion's log line goes to standard error, where the expectation reads it.
	setEnv("ZON_HOST_LOG", nullptr);
	manager->initialize();
	EXPECT_DEATH(manager->initialize(), "WASSERT! _logMgr == nullptr(.|\n)*Assertion `\\(_logMgr == nullptr\\)' failed");
	EXPECT_DEATH(manager->insertLog(nullptr, "ZV01", nullptr, nullptr, false),
		"WASSERT! appId != nullptr(.|\n)*`\\(appId != nullptr\\)'");
	EXPECT_DEATH(manager->insertLog("korvath.zonvista", nullptr, "x", "y", true),
		"WASSERT! feature != nullptr(.|\n)*`\\(feature != nullptr\\)'");
	EXPECT_TRUE(readRecords().empty());
}

} // namespace

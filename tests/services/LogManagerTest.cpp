// Usage-survey reports: what KorvathLogManager leaves in the service's log file.
#include <stdio.h>

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <korvath_log_manager.h>
#include <zon-host/zon_host.h>

#include "HostFixture.h"
#include "KorvathLogManager.h"

namespace {

// One record of the log file: its fields split at tabs (id, sender, uri, key=value...).
std::vector<std::vector<std::string>> readRecords()
{
	std::vector<std::vector<std::string>> records;
	FILE* file = fopen(zon_host_survey_log_path(), "r");
	if (!file)
		return records;
	std::string text;
	char buffer[512];
	while (fgets(buffer, sizeof buffer, file))
		text += buffer;
	fclose(file);

	std::istringstream lines(text);
	for (std::string line; std::getline(lines, line);) {
		if (line.empty() || line[0] == '#')
			continue;
		std::vector<std::string> fields;
		std::istringstream parts(line);
		for (std::string field; std::getline(parts, field, '\t');)
			fields.push_back(field);
		records.push_back(fields);
	}
	return records;
}

class LogManagerTest : public HostFixture {
protected:
	void SetUp() override
	{
		HostFixture::SetUp();
		manager = KorvathLogManager::getInstance();
		// The singleton outlives the tests of this process.
		manager->finalize();
	}

	void TearDown() override
	{
		manager->finalize();
		HostFixture::TearDown();
	}

	KorvathLogManager* manager = nullptr;
};

using Fields = std::vector<std::string>;

TEST_F(LogManagerTest, ReportsBeforeInitialiseOrAfterFinaliseAreDropped)
{
	manager->insertLog("korvath.zonvista", "ZV01", nullptr, nullptr, false);
	EXPECT_TRUE(zon_host_log_contains("logmanager is not created"));

	manager->initialize();
	manager->finalize();
	manager->finalize();
	zon_host_log_clear();
	manager->insertLog("korvath.zonvista", "ZV01", nullptr, nullptr, false);
	EXPECT_TRUE(zon_host_log_contains("logmanager is not created"));
	EXPECT_TRUE(readRecords().empty());

	const char* tag = nullptr;
	ASSERT_EQ(1u, zon_host_log_count());
	zon_host_log_line(0, nullptr, &tag);
	EXPECT_STREQ("zonvista-log-manager", tag);
}

TEST_F(LogManagerTest, RecordsCarryTheirSurveyAndOnlyTheGivenKeys)
{
	manager->initialize();
	manager->insertLog("korvath.zonvista", "ZV01", nullptr, nullptr, false);
	manager->insertLog("korvath.zonvista", "ZV50", "list", "3", true);
	manager->insertLog("korvath.zonvista", "ZV02", nullptr, "a\tb\nc=d\\", false);
	manager->insertLog("korvath.zonvista", "ZV03", "", nullptr, true);

	std::vector<Fields> records = readRecords();
	ASSERT_EQ(4u, records.size());
	EXPECT_EQ((Fields{"1", ZON_HOST_DEFAULT_APP_ID, KORVATH_LOG_MANAGER_URI_USE_APP_FEATURE_SURVEY,
				  "app_id=korvath.zonvista", "feature=ZV01"}),
		records[0]);
	EXPECT_EQ((Fields{"2", ZON_HOST_DEFAULT_APP_ID, KORVATH_LOG_MANAGER_URI_REPORT_APP_STATUS_SURVEY,
				  "app_id=korvath.zonvista", "feature=ZV50", "extra=list", "value=3"}),
		records[1]);
	EXPECT_EQ((Fields{"3", ZON_HOST_DEFAULT_APP_ID, KORVATH_LOG_MANAGER_URI_USE_APP_FEATURE_SURVEY,
				  "app_id=korvath.zonvista", "feature=ZV02", "value=a\\tb\\nc=d\\\\"}),
		records[2]);
	EXPECT_EQ((Fields{"4", ZON_HOST_DEFAULT_APP_ID, KORVATH_LOG_MANAGER_URI_REPORT_APP_STATUS_SURVEY,
				  "app_id=korvath.zonvista", "feature=ZV03", "extra="}),
		records[3]);

	// The widget reports under its own id through the same service; ids go on counting.
	manager->finalize();
	zon_host_reset();
	zon_host_set_app_id("korvath.zonvista-widget");
	manager->initialize();
	manager->insertLog("korvath.zonvista-widget", "ZW01", nullptr, nullptr, false);
	records = readRecords();
	ASSERT_EQ(5u, records.size());
	EXPECT_EQ("5", records[4][0]);
	EXPECT_EQ("korvath.zonvista-widget", records[4][1]);
}

TEST_F(LogManagerTest, ServiceFailuresAreLoggedAndDropped)
{
	zon_host_fault_inject("korvath_log_manager_create", 1, KORVATH_LOG_MANAGER_ERROR_PERMISSION_DENIED);
	manager->initialize();
	std::string code = std::to_string(KORVATH_LOG_MANAGER_ERROR_PERMISSION_DENIED);
	EXPECT_TRUE(zon_host_log_contains(("create logmanager failed(" + code + ")").c_str()));
	EXPECT_TRUE(zon_host_log_contains("logmanager is nullptr"));
	manager->insertLog("korvath.zonvista", "ZV01", nullptr, nullptr, false);
	EXPECT_TRUE(zon_host_log_contains("logmanager is not created"));

	// A failed create leaves the manager uninitialised, so initialising again is allowed.
	manager->initialize();
	zon_host_fault_inject("korvath_log_manager_insert", 1, KORVATH_LOG_MANAGER_ERROR_IO_ERROR);
	manager->insertLog("korvath.zonvista", "ZV01", nullptr, nullptr, false);
	EXPECT_TRUE(zon_host_log_contains(
		("korvath_log_manager_insert() returns " + std::to_string(KORVATH_LOG_MANAGER_ERROR_IO_ERROR)).c_str()));
	EXPECT_TRUE(readRecords().empty());
	manager->insertLog("korvath.zonvista", "ZV01", nullptr, nullptr, false);
	EXPECT_EQ(1u, readRecords().size());
}

class LogManagerDeathTest : public LogManagerTest {
protected:
	void SetUp() override
	{
		GTEST_FLAG_SET(death_test_style, "threadsafe");
		LogManagerTest::SetUp();
		// The assertion's log line goes to standard error, where the expectation reads it.
		setEnv("ZON_HOST_LOG", nullptr);
	}
};

TEST_F(LogManagerDeathTest, ProgrammingErrorsAbort)
{
	manager->initialize();
	EXPECT_DEATH(manager->initialize(), "WASSERT! _logMgr == nullptr(.|\n)*Assertion `\\(_logMgr == nullptr\\)' failed");
	EXPECT_DEATH(manager->insertLog(nullptr, "ZV01", nullptr, nullptr, false),
		"WASSERT! appId != nullptr(.|\n)*`\\(appId != nullptr\\)'");
	EXPECT_DEATH(manager->insertLog("korvath.zonvista", nullptr, "x", "y", true),
		"WASSERT! feature != nullptr(.|\n)*`\\(feature != nullptr\\)'");
	EXPECT_TRUE(readRecords().empty());
}

} // namespace

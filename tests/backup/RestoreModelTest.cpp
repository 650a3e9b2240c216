// Restore sessions driven end to end by the host's cloud service, and the round trip of a
// backup into a restore.
#include <time.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include <dlog.h>

#include "CloudFixture.h"

namespace {

std::string readAll(const std::string& path)
{
	std::ifstream in(path);
	std::stringstream text;
	text << in.rdbuf();
	return text.str();
}

using Seen = std::vector<std::pair<int, std::optional<std::string>>>;

class RestoreModelTest : public CloudFixture {
protected:
	void SetUp() override
	{
		CloudFixture::SetUp();
		source = root() + "/source.dat";
		writeRecordFile(source, {{"old.0", "{\"n\":0}"}, {"old.1", "{\"n\":1}"}, {"old.2", "{\"n\":2}"}});
		answerRestore();
	}

	std::string source;
};

TEST_F(RestoreModelTest, WholeSessionHandsEveryValueOverAndReKeysInSeconds)
{
	time_t before = time(nullptr);
	ASSERT_EQ(ZON_HOST_CLOUD_SUCCEEDED, runSession(ZON_HOST_CLOUD_RESTORE, source.c_str()));
	time_t after = time(nullptr);

	std::string path = trustedPath("restore.dat");
	EXPECT_EQ((std::vector<std::string>{
				  std::string("launch ") + KORVATH_CLOUD_OPERATION_RESTORE + " " + ZON_HOST_DEFAULT_APP_ID,
				  "reply succeeded",
				  "preparation",
				  "preparation_completed_response true",
				  "sending_restoration_path",
				  "restoration_path " + path + " true",
				  "restoration " + path,
				  "record_list 3 true",
				  "completed true",
			  }),
		events());
	EXPECT_TRUE(ranOk);
	EXPECT_EQ(APP_CONTROL_RESULT_SUCCEEDED, onlyReply());
	EXPECT_EQ(1, completion.calls);
	EXPECT_TRUE(completion.result);
	EXPECT_EQ(static_cast<RestoreModel*>(restore.get()), completion.model);

	EXPECT_EQ((Seen{{0, "{\"n\":0}"}, {1, "{\"n\":1}"}, {2, "{\"n\":2}"}}), restore->seen);
	ASSERT_EQ(3u, zon_host_cloud_record_count());
	for (size_t i = 0; i < 3; ++i) {
		const char* key = nullptr;
		const char* date = nullptr;
		const char* value = nullptr;
		ASSERT_TRUE(zon_host_cloud_record(i, &key, &date, &value));
		EXPECT_EQ("restored." + std::to_string(i), key);
		EXPECT_EQ("{\"n\":" + std::to_string(i) + "}", value);
		// Whole seconds, not the backup's milliseconds.
		char* end = nullptr;
		long long seconds = strtoll(date, &end, 10);
		EXPECT_EQ('\0', *end);
		EXPECT_GE(seconds, (long long)before);
		EXPECT_LE(seconds, (long long)after);
	}
	// The service placed the file where the model asked, and the model left it there.
	EXPECT_EQ(readAll(source), readAll(path));
	EXPECT_TRUE(zon_host_log_contains("value : {\"n\":1}"));
	EXPECT_EQ(0u, zon_host_cloud_live_handles());
}

TEST_F(RestoreModelTest, FileWithoutRecordsAnswersNoListAndNeverCallsTheSubclass)
{
	struct Case {
		const char* name;
		zon_host_cloud_list_e mode;
		std::string contents;     // of the source, when not the three-record file
		const char* readError;    // the logged failure of reading the file, if any
	};
	char invalidFormat[96];
	snprintf(invalidFormat, sizeof invalidFormat, "korvath_cloud_file_create_record_list() failed, errCode = [%d]",
		KORVATH_CLOUD_ERROR_INVALID_FORMAT);
	char invalidParameter[96];
	snprintf(invalidParameter, sizeof invalidParameter,
		"korvath_cloud_file_create_record_list() failed, errCode = [%d]", KORVATH_CLOUD_ERROR_INVALID_PARAMETER);
	const Case cases[] = {
		{"empty record file", ZON_HOST_CLOUD_LIST_EMPTY, "", nullptr},
		{"not a record file", ZON_HOST_CLOUD_LIST_AS_SENT, "this is no key file\n", invalidFormat},
		{"count that lies", ZON_HOST_CLOUD_LIST_AS_SENT, "[records]\nformat=1\ncount=2\n[record 0]\nkey=k\n",
			invalidFormat},
		{"no path", ZON_HOST_CLOUD_LIST_NULL, "", invalidParameter},
	};
	for (const Case& c : cases) {
		SCOPED_TRACE(c.name);
		freshHost();
		answerRestore();
		zon_host_cloud_set_record_list(c.mode);
		if (!c.contents.empty())
			std::ofstream(source, std::ios::trunc) << c.contents;
		EXPECT_EQ(ZON_HOST_CLOUD_FAILED, runSession(ZON_HOST_CLOUD_RESTORE, source.c_str()));
		std::vector<std::string> trail = events();
		ASSERT_EQ(9u, trail.size());
		EXPECT_EQ("record_list none false", trail[7]);
		EXPECT_EQ("the application restored nothing", failure());
		EXPECT_TRUE(restore->seen.empty());
		EXPECT_EQ(1, completion.calls);
		EXPECT_FALSE(completion.result);
		if (c.readError) {
			EXPECT_EQ(1u, zon_host_log_count_matching(c.readError));
			char countError[96];
			snprintf(countError, sizeof countError, "korvath_cloud_list_get_record_count() failed, errCode = [%d]",
				KORVATH_CLOUD_ERROR_INVALID_PARAMETER);
			EXPECT_EQ(1u, zon_host_log_count_matching(countError));
		}
		writeRecordFile(source, {{"old.0", "{\"n\":0}"}, {"old.1", "{\"n\":1}"}, {"old.2", "{\"n\":2}"}});
	}
}

TEST_F(RestoreModelTest, RegistrationFailureRepliesFailedAndStopsRegistering)
{
	const char* functions[] = {
		"korvath_cloud_restore_record_set_preparation_cb",
		"korvath_cloud_restore_record_set_sending_restoration_path_cb",
		"korvath_cloud_restore_record_set_restoration_cb",
		"korvath_cloud_restore_record_set_completed_cb",
	};
	int registeredBefore = 0;
	for (const char* function : functions) {
		SCOPED_TRACE(function);
		freshHost();
		answerRestore();
		zon_host_fault_inject(function, 1, KORVATH_CLOUD_ERROR_IO_ERROR);
		EXPECT_EQ(ZON_HOST_CLOUD_FAILED, runSession(ZON_HOST_CLOUD_RESTORE, source.c_str()));
		EXPECT_FALSE(ranOk);
		EXPECT_EQ(APP_CONTROL_RESULT_FAILED, onlyReply());
		EXPECT_EQ("the application refused the request", failure());
		// Unlike the backup's, these messages have "()" after the function name.
		EXPECT_EQ(1u, zon_host_log_count_matching((std::string(function) + "() failed.(-5)").c_str()));
		EXPECT_EQ(registeredBefore++, zon_host_reset());
	}
}

TEST_F(RestoreModelTest, WithoutTheCloudInterfaceRunNeitherRegistersNorReplies)
{
	zon_host_fault_inject("korvath_cloud_initialize", 1, KORVATH_CLOUD_ERROR_IO_ERROR);
	EXPECT_EQ(ZON_HOST_CLOUD_RUNNING, runSession(ZON_HOST_CLOUD_RESTORE, source.c_str()));
	EXPECT_FALSE(ranOk);
	EXPECT_TRUE(zon_host_log_contains("korvath_cloud_initialize failed.(-5)"));
	EXPECT_TRUE(zon_host_log_contains("korvath_cloud is not initialized."));
	EXPECT_EQ(0u, zon_host_reply_count());
}

TEST_F(RestoreModelTest, RecordLoopGoesOnAfterEachFailure)
{
	auto withCode = [](const char* text, int code) {
		char line[128];
		snprintf(line, sizeof line, "%s failed, errCode = [%d]", text, code);
		return std::string(line);
	};
	const std::string currentFailed = withCode("korvath_cloud_list_get_current_record()", -5);
	struct Case {
		const char* function;
		int nth;
		std::vector<std::string> messages;
		Seen seen;
		std::vector<std::string> keys; // of the records sent back
	};
	const Case cases[] = {
		// A value that can't be read reaches the subclass as null; its failure is logged under
		// the current-record message.
		{"korvath_cloud_record_get_value", 2, {currentFailed}, {{0, "{\"n\":0}"}, {1, std::nullopt}, {2, "{\"n\":2}"}},
			{"restored.0", "restored.1", "restored.2"}},
		// No record: its value, key and date can't be read or set; it keeps what the file had.
		{"korvath_cloud_list_get_current_record", 1,
			{currentFailed, withCode("korvath_cloud_list_get_current_record()", KORVATH_CLOUD_ERROR_INVALID_PARAMETER),
				withCode("korvath_cloud_record_set_key()", KORVATH_CLOUD_ERROR_INVALID_PARAMETER),
				withCode("korvath_cloud_record_set_date()", KORVATH_CLOUD_ERROR_INVALID_PARAMETER)},
			{{0, std::nullopt}, {1, "{\"n\":1}"}, {2, "{\"n\":2}"}}, {"old.0", "restored.1", "restored.2"}},
		// The cursor stays: record 0 is handed over twice and keyed by index 1.
		{"korvath_cloud_list_move_to_next", 1, {withCode("korvath_cloud_list_move_to_next()", -5)},
			{{0, "{\"n\":0}"}, {1, "{\"n\":0}"}, {2, "{\"n\":1}"}}, {"restored.1", "restored.2", "old.2"}},
		{"korvath_cloud_list_move_to_first", 1, {withCode("korvath_cloud_list_move_to_first()", -5)},
			{{0, "{\"n\":0}"}, {1, "{\"n\":1}"}, {2, "{\"n\":2}"}}, {"restored.0", "restored.1", "restored.2"}},
		{"korvath_cloud_record_set_key", 3, {withCode("korvath_cloud_record_set_key()", -5)},
			{{0, "{\"n\":0}"}, {1, "{\"n\":1}"}, {2, "{\"n\":2}"}}, {"restored.0", "restored.1", "old.2"}},
		{"korvath_cloud_record_set_date", 1, {withCode("korvath_cloud_record_set_date()", -5)},
			{{0, "{\"n\":0}"}, {1, "{\"n\":1}"}, {2, "{\"n\":2}"}}, {"restored.0", "restored.1", "restored.2"}},
	};
	for (const Case& c : cases) {
		SCOPED_TRACE(c.function);
		freshHost();
		answerRestore();
		zon_host_fault_inject(c.function, c.nth, KORVATH_CLOUD_ERROR_IO_ERROR);
		EXPECT_EQ(ZON_HOST_CLOUD_SUCCEEDED, runSession(ZON_HOST_CLOUD_RESTORE, source.c_str()));
		for (const std::string& message : c.messages)
			EXPECT_EQ(1u, zon_host_log_count_matching(message.c_str())) << message;
		EXPECT_EQ(c.seen, restore->seen);
		std::vector<std::string> keys;
		for (size_t i = 0; i < zon_host_cloud_record_count(); ++i) {
			const char* key = nullptr;
			zon_host_cloud_record(i, &key, nullptr, nullptr);
			keys.push_back(key ? key : "<none>");
		}
		EXPECT_EQ(c.keys, keys);
	}
}

TEST_F(RestoreModelTest, UnansweredStepsLeaveTheServiceWaiting)
{
	struct Case {
		const char* function;
		const char* message;
		const char* lastEvent;
	};
	const Case cases[] = {
		{"korvath_cloud_restore_record_send_preparation_completed_response",
			"korvath_cloud_restore_record_send_preparation_completed_response failed.(-5)", "preparation"},
		{"korvath_cloud_restore_record_send_restoration_path",
			"korvath_cloud_restore_record_send_restoration_path() failed.(-5)", "sending_restoration_path"},
		{"korvath_cloud_restore_record_send_record_list",
			"korvath_cloud_restore_record_send_record_list() failed, errCode = [-5]", nullptr},
	};
	for (const Case& c : cases) {
		SCOPED_TRACE(c.function);
		freshHost();
		answerRestore();
		zon_host_fault_inject(c.function, 1, KORVATH_CLOUD_ERROR_IO_ERROR);
		EXPECT_EQ(ZON_HOST_CLOUD_RUNNING, runSession(ZON_HOST_CLOUD_RESTORE, source.c_str()));
		EXPECT_EQ(1u, zon_host_log_count_matching(c.message));
		EXPECT_EQ(c.lastEvent ? c.lastEvent : ("restoration " + trustedPath("restore.dat")).c_str(), lastEvent());
		ASSERT_EQ(0, zon_host_cloud_time_out());
		EXPECT_EQ(ZON_HOST_CLOUD_FAILED, zon_host_cloud_wait(100));
		EXPECT_EQ(1, completion.calls);
		EXPECT_FALSE(completion.result);
	}
}

TEST_F(RestoreModelTest, LogLinesCarryTheRestoreModelTag)
{
	runSession(ZON_HOST_CLOUD_RESTORE, source.c_str());
	size_t tagged = 0;
	for (size_t i = 0; i < zon_host_log_count(); ++i) {
		int priority = 0;
		const char* tag = nullptr;
		std::string line = zon_host_log_line(i, &priority, &tag);
		if (line.find("value : ") != std::string::npos) {
			EXPECT_STREQ("RestoreModel", tag);
			EXPECT_EQ(DLOG_INFO, priority);
			EXPECT_EQ(0u, line.find("RestoreModel.cpp: _restoreRecordCb(")) << line;
			++tagged;
		}
	}
	EXPECT_EQ(3u, tagged);
}

TEST_F(RestoreModelTest, BackupRestoresItselfThroughTheCloudCopy)
{
	const std::vector<std::string> values = {
		"{\"city\":\"Tokyo\",\"order\":0}",
		"",
		"{\"text\":\"line\\nbreak\\ttab \\\\ [group] #hash =eq\"}",
		"  leading and trailing  ",
		"\xed\x95\x9c\xea\xb5\xad\xec\x96\xb4 \xe2\x82\xac",
	};
	answerBackupWith(values);
	ASSERT_EQ(ZON_HOST_CLOUD_SUCCEEDED, runSession(ZON_HOST_CLOUD_BACKUP));
	const char* backupDate = nullptr;
	zon_host_cloud_record(0, nullptr, &backupDate, nullptr);
	std::string millis = backupDate;

	answerRestore();
	ASSERT_EQ(ZON_HOST_CLOUD_SUCCEEDED, runSession(ZON_HOST_CLOUD_RESTORE, nullptr));
	ASSERT_EQ(values.size(), restore->seen.size());
	for (size_t i = 0; i < values.size(); ++i) {
		EXPECT_EQ((int)i, restore->seen[i].first);
		EXPECT_EQ(values[i], restore->seen[i].second);
	}
	const char* restoreDate = nullptr;
	zon_host_cloud_record(0, nullptr, &restoreDate, nullptr);
	// Same moment, a thousand times smaller: seconds against milliseconds.
	EXPECT_LE(std::llabs(std::stoll(millis) / 1000 - std::stoll(restoreDate)), 2);
	EXPECT_EQ(millis.size() - 3, strlen(restoreDate));
}

} // namespace

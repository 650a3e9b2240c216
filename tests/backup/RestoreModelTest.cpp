// Restore sessions driven end to end by the host's cloud service, and the round trip of a
// backup into a restore.
#include <time.h>

#include <dlog.h>

#include "CloudFixture.h"

namespace {

const auto RESTORE = ZON_HOST_CLOUD_RESTORE;

std::string failedWithCode(const char* call, int code)
{
	return std::string(call) + "() failed, errCode = [" + std::to_string(code) + "]";
}

class RestoreModelTest : public CloudFixture {};

TEST_F(RestoreModelTest, WholeSessionHandsEveryValueOverAndReKeysInSeconds)
{
	time_t before = time(nullptr);
	ASSERT_EQ(ZON_HOST_CLOUD_SUCCEEDED, runWith(RESTORE));
	time_t after = time(nullptr);

	std::string path = trustedPath("restore.dat");
	EXPECT_EQ((Texts{std::string("launch ") + KORVATH_CLOUD_OPERATION_RESTORE + " " + ZON_HOST_DEFAULT_APP_ID,
				  "reply succeeded", "preparation", "preparation_completed_response true", "sending_restoration_path",
				  "restoration_path " + path + " true", "restoration " + path, "record_list 3 true", "completed true"}),
		events());
	EXPECT_TRUE(ranOk && result);
	EXPECT_EQ(APP_CONTROL_RESULT_SUCCEEDED, onlyReply());
	EXPECT_EQ(1, calls);
	EXPECT_EQ(static_cast<RestoreModel*>(restore.get()), model);

	EXPECT_EQ((Texts{"restored.0", "restored.1", "restored.2"}), serviceRecords(0));
	EXPECT_EQ((Texts{"{\"n\":0}", "{\"n\":1}", "{\"n\":2}"}), serviceRecords(2));
	for (const std::string& date : serviceRecords(1)) {
		// Whole seconds, not the backup's milliseconds.
		char* end = nullptr;
		long long seconds = strtoll(date.c_str(), &end, 10);
		EXPECT_TRUE(!*end && seconds >= before && seconds <= after) << date;
	}
	// The service placed the file where the model asked, and the model left it there.
	EXPECT_EQ(readAll(source), readAll(path));
	EXPECT_EQ(1u, countTagged("value : {\"n\":1}", "RestoreModel", DLOG_INFO, "RestoreModel.cpp: _restoreRecordCb("));
	EXPECT_EQ(0u, zon_host_cloud_live_handles());
}

TEST_F(RestoreModelTest, FileWithoutRecordsAnswersNoListAndNeverCallsTheSubclass)
{
	const std::string invalidFormat =
		failedWithCode("korvath_cloud_file_create_record_list", KORVATH_CLOUD_ERROR_INVALID_FORMAT);
	// A file that can't be read leaves no list, whose count can't be read either.
	const std::string countFailed =
		failedWithCode("korvath_cloud_list_get_record_count", KORVATH_CLOUD_ERROR_INVALID_PARAMETER);
	// contents: of the source, when not the three-record file; readError: the logged failure of
	// reading the file, if any.
	const struct { const char* name; zon_host_cloud_list_e mode; std::string contents, readError; } cases[] = {
		{"empty record file", ZON_HOST_CLOUD_LIST_EMPTY, "", ""},
		{"not a record file", ZON_HOST_CLOUD_LIST_AS_SENT, "this is no key file\n", invalidFormat},
		{"count that lies", ZON_HOST_CLOUD_LIST_AS_SENT, "[records]\nformat=1\ncount=2\n[record 0]\nkey=k\n",
			invalidFormat},
		{"no path", ZON_HOST_CLOUD_LIST_NULL, "",
			failedWithCode("korvath_cloud_file_create_record_list", KORVATH_CLOUD_ERROR_INVALID_PARAMETER)},
	};
	for (const auto& c : cases) {
		SCOPED_TRACE(c.name);
		freshHost();
		zon_host_cloud_set_record_list(c.mode);
		if (!c.contents.empty())
			std::ofstream(source, std::ios::trunc) << c.contents;
		EXPECT_EQ(ZON_HOST_CLOUD_FAILED, runWith(RESTORE));
		ASSERT_EQ(9u, events().size());
		EXPECT_EQ("record_list none false", events()[7]);
		EXPECT_EQ("the application restored nothing", failure());
		EXPECT_TRUE(restore->seen.empty());
		EXPECT_TRUE(calls == 1 && !result) << calls << " completions, the last " << result;
		if (!c.readError.empty()) {
			EXPECT_EQ(1u, zon_host_log_count_matching(c.readError.c_str()));
			EXPECT_EQ(1u, zon_host_log_count_matching(countFailed.c_str()));
		}
		writeSource();
	}
}

TEST_F(RestoreModelTest, RecordLoopGoesOnAfterEachFailure)
{
	const std::string currentFailed = failedWithCode("korvath_cloud_list_get_current_record", -5);
	const int invalid = KORVATH_CLOUD_ERROR_INVALID_PARAMETER;
	const std::string n0 = "{\"n\":0}", n1 = "{\"n\":1}", n2 = "{\"n\":2}";
	const Seen all = {{0, n0}, {1, n1}, {2, n2}};
	const Texts restored = {"restored.0", "restored.1", "restored.2"};
	// keys: of the records sent back.
	const struct { const char* function; int nth; Texts messages; Seen seen; Texts keys; } cases[] = {
		// A value that can't be read reaches the subclass as null; its failure is logged under
		// the current-record message.
		{"korvath_cloud_record_get_value", 2, {currentFailed}, {{0, n0}, {1, std::nullopt}, {2, n2}}, restored},
		// No record: its value, key and date can't be read or set; it keeps what the file had.
		{"korvath_cloud_list_get_current_record", 1,
			{currentFailed, failedWithCode("korvath_cloud_list_get_current_record", invalid),
				failedWithCode("korvath_cloud_record_set_key", invalid), failedWithCode("korvath_cloud_record_set_date", invalid)},
			{{0, std::nullopt}, {1, n1}, {2, n2}}, {"old.0", "restored.1", "restored.2"}},
		// The cursor stays: record 0 is handed over twice and keyed by index 1.
		{"korvath_cloud_list_move_to_next", 1, {failedWithCode("korvath_cloud_list_move_to_next", -5)},
			{{0, n0}, {1, n0}, {2, n1}}, {"restored.1", "restored.2", "old.2"}},
		{"korvath_cloud_list_move_to_first", 1, {failedWithCode("korvath_cloud_list_move_to_first", -5)}, all, restored},
		{"korvath_cloud_record_set_key", 3, {failedWithCode("korvath_cloud_record_set_key", -5)}, all,
			{"restored.0", "restored.1", "old.2"}},
		{"korvath_cloud_record_set_date", 1, {failedWithCode("korvath_cloud_record_set_date", -5)}, all, restored},
	};
	for (const auto& c : cases) {
		SCOPED_TRACE(c.function);
		freshHost(c.function, c.nth);
		EXPECT_EQ(ZON_HOST_CLOUD_SUCCEEDED, runWith(RESTORE));
		for (const std::string& message : c.messages)
			EXPECT_EQ(1u, zon_host_log_count_matching(message.c_str())) << message;
		EXPECT_EQ(c.seen, restore->seen);
		EXPECT_EQ(c.keys, serviceRecords(0));
	}
}

TEST_F(RestoreModelTest, BackupRestoresItselfThroughTheCloudCopy)
{
	const Texts values = {
		"{\"city\":\"Tokyo\",\"order\":0}",
		"",
		"{\"text\":\"line\\nbreak\\ttab \\\\ [group] #hash =eq\"}",
		"  leading and trailing  ",
		"\xed\x95\x9c\xea\xb5\xad\xec\x96\xb4 \xe2\x82\xac",
	};
	ASSERT_EQ(ZON_HOST_CLOUD_SUCCEEDED, runWith(ZON_HOST_CLOUD_BACKUP, values));
	answer(RESTORE);
	ASSERT_EQ(ZON_HOST_CLOUD_SUCCEEDED, runSession(RESTORE, nullptr));
	Seen expected;
	for (size_t i = 0; i < values.size(); ++i)
		expected.emplace_back(static_cast<int>(i), values[i]);
	EXPECT_EQ(expected, restore->seen);
}

TEST_F(RestoreModelTest, ServiceGivingUpOrTimingOutCompletesBothModelsOnceWithFailure)
{
	// The service gives up at `step`, or (STEP_NONE) times out after the model failed to answer
	// through `function`. last: the model's last answer before the service gave up, or what
	// the service heard last before it timed out.
	const struct { zon_host_cloud_session_e kind; zon_host_cloud_step_e step; std::string last;
		const char *function = nullptr, *message = nullptr; } cases[] = {
		{ZON_HOST_CLOUD_BACKUP, ZON_HOST_CLOUD_STEP_PREPARATION, "reply succeeded"},
		{ZON_HOST_CLOUD_BACKUP, ZON_HOST_CLOUD_STEP_KEYS_AND_DATES, "preparation_completed_response true"},
		{ZON_HOST_CLOUD_BACKUP, ZON_HOST_CLOUD_STEP_RECORDS, "keys_and_dates 1 true"},
		{RESTORE, ZON_HOST_CLOUD_STEP_RESTORATION_PATH, "preparation_completed_response true"},
		{RESTORE, ZON_HOST_CLOUD_STEP_RESTORATION, "restoration_path " + trustedPath("restore.dat") + " true"},
		{RESTORE, ZON_HOST_CLOUD_STEP_COMPLETION, "record_list 3 true"},
		{RESTORE, ZON_HOST_CLOUD_STEP_NONE, "preparation", "korvath_cloud_restore_record_send_preparation_completed_response",
			"korvath_cloud_restore_record_send_preparation_completed_response failed.(-5)"},
		{RESTORE, ZON_HOST_CLOUD_STEP_NONE, "sending_restoration_path", "korvath_cloud_restore_record_send_restoration_path",
			"korvath_cloud_restore_record_send_restoration_path() failed.(-5)"},
		{RESTORE, ZON_HOST_CLOUD_STEP_NONE, "restoration " + trustedPath("restore.dat"),
			"korvath_cloud_restore_record_send_record_list", "korvath_cloud_restore_record_send_record_list() failed, errCode = [-5]"},
	};
	for (const auto& c : cases) {
		SCOPED_TRACE(c.function ? c.function : std::to_string(c.step));
		freshHost(c.function);
		if (c.function) {
			EXPECT_EQ(ZON_HOST_CLOUD_RUNNING, runWith(RESTORE));
			EXPECT_EQ(1u, zon_host_log_count_matching(c.message));
			EXPECT_EQ(c.last, lastEvent());
			ASSERT_EQ(0, zon_host_cloud_time_out());
			EXPECT_EQ(ZON_HOST_CLOUD_FAILED, zon_host_cloud_wait(100));
		} else {
			zon_host_cloud_fail_at(c.step);
			EXPECT_EQ(ZON_HOST_CLOUD_FAILED, runWith(c.kind));
			Texts trail = events();
			ASSERT_GE(trail.size(), 3u);
			EXPECT_EQ(c.last, trail[trail.size() - 3]);
			EXPECT_EQ(0u, trail[trail.size() - 2].find("gave up at "));
			EXPECT_EQ("completed false", trail.back());
		}
		EXPECT_TRUE(calls == 1 && !result) << calls << " completions, the last " << result;
	}
}

} // namespace

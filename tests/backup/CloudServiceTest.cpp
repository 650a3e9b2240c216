// The host's cloud service on its own: record files, the list cursor and handle ownership, the
// protocol checks and the faults the service can be told to make.
#include <fstream>

#include <gtest/gtest.h>

#include "CloudFixture.h"

namespace {

class CloudServiceTest : public CloudFixture {};

TEST_F(CloudServiceTest, RecordFileKeepsAwkwardTextsAndUnsetFields)
{
	const std::vector<std::string> texts = {
		"", " leading", "trailing ", "line\nbreak\r\nand\ttab", "back\\slash \\n not an escape",
		"[record 7]", "# not a comment", "key=value", "\xce\xb1\xce\xb2\xce\xb3 \xe2\x82\xac",
	};
	std::string path = root() + "/records.dat";
	korvath_cloud_list_h list = nullptr;
	ASSERT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_list_create(&list));
	for (size_t i = 0; i < texts.size(); ++i) {
		korvath_cloud_record_h record = nullptr;
		ASSERT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_record_create(&record));
		ASSERT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_record_set_key(record, ("k " + texts[i] + "!").c_str()));
		ASSERT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_record_set_value(record, texts[i].c_str()));
		ASSERT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_list_add(list, record));
	}
	// A record with nothing set keeps its place.
	korvath_cloud_record_h bare = nullptr;
	ASSERT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_record_create(&bare));
	ASSERT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_list_add(list, bare));
	ASSERT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_file_create_file(list, path.c_str()));
	ASSERT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_list_destroy(list));

	ASSERT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_file_create_record_list(path.c_str(), &list));
	int count = 0;
	ASSERT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_list_get_record_count(list, &count));
	ASSERT_EQ((int)texts.size() + 1, count);
	ASSERT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_list_move_to_first(list));
	for (int i = 0; i < count; ++i) {
		korvath_cloud_record_h record = nullptr;
		ASSERT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_list_get_current_record(list, &record));
		const char* key = nullptr;
		const char* date = nullptr;
		const char* value = nullptr;
		EXPECT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_record_get_key(record, &key));
		EXPECT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_record_get_date(record, &date));
		EXPECT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_record_get_value(record, &value));
		EXPECT_EQ(nullptr, date);
		if (i < (int)texts.size()) {
			EXPECT_EQ("k " + texts[i] + "!", key);
			ASSERT_NE(nullptr, value);
			EXPECT_EQ(texts[i], value);
		} else {
			EXPECT_EQ(nullptr, key);
			EXPECT_EQ(nullptr, value);
		}
		EXPECT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_list_move_to_next(list));
	}
	EXPECT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_list_destroy(list));
	EXPECT_EQ(0u, zon_host_cloud_live_handles());
}

TEST_F(CloudServiceTest, MalformedRecordFilesAreRefusedWhole)
{
	const std::string good = "[records]\nformat=1\ncount=1\n\n[record 0]\nkey=k\ndate=12\nvalue=v\n";
	struct Case {
		const char* name;
		std::string text;
	};
	const Case cases[] = {
		{"not a key file", "{\"a\":1}"},
		{"no records group", "[record 0]\nkey=k\n"},
		{"unknown format", "[records]\nformat=2\ncount=0\n"},
		{"count not a number", "[records]\nformat=1\ncount=many\n"},
		{"negative count", "[records]\nformat=1\ncount=-1\n"},
		{"too few groups", "[records]\nformat=1\ncount=2\n[record 0]\n"},
		{"a stranger group", "[records]\nformat=1\ncount=1\n[record 1]\nkey=k\n"},
		{"an extra group", good + "[extra]\nx=1\n"},
		{"a group twice", "[records]\nformat=1\ncount=2\n[record 0]\nkey=a\n[record 0]\nkey=b\n"},
		{"empty key", "[records]\nformat=1\ncount=1\n[record 0]\nkey=\n"},
		{"date not digits", "[records]\nformat=1\ncount=1\n[record 0]\ndate=12:00\n"},
		{"value not UTF-8", "[records]\nformat=1\ncount=1\n[record 0]\nvalue=\xff\xfe\n"},
	};
	std::string path = root() + "/bad.dat";
	std::ofstream(path, std::ios::trunc) << good;
	korvath_cloud_list_h list = nullptr;
	ASSERT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_file_create_record_list(path.c_str(), &list));
	korvath_cloud_list_destroy(list);

	for (const Case& c : cases) {
		SCOPED_TRACE(c.name);
		std::ofstream(path, std::ios::trunc) << c.text;
		list = nullptr;
		EXPECT_EQ(KORVATH_CLOUD_ERROR_INVALID_FORMAT, korvath_cloud_file_create_record_list(path.c_str(), &list));
		EXPECT_EQ(nullptr, list);
	}
	EXPECT_EQ(KORVATH_CLOUD_ERROR_IO_ERROR,
		korvath_cloud_file_create_record_list((root() + "/missing.dat").c_str(), &list));
	EXPECT_EQ(0u, zon_host_cloud_live_handles());
}

TEST_F(CloudServiceTest, CursorStopsAtTheEndAndListsOwnTheirRecords)
{
	korvath_cloud_list_h list = nullptr;
	korvath_cloud_record_h record = nullptr;
	int count = -1;
	ASSERT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_list_create(&list));
	EXPECT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_list_get_record_count(list, &count));
	EXPECT_EQ(0, count);
	EXPECT_EQ(KORVATH_CLOUD_ERROR_NO_DATA, korvath_cloud_list_move_to_first(list));
	EXPECT_EQ(KORVATH_CLOUD_ERROR_NO_DATA, korvath_cloud_list_get_current_record(list, &record));

	korvath_cloud_record_h first = nullptr;
	korvath_cloud_record_h second = nullptr;
	ASSERT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_record_create(&first));
	ASSERT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_record_create(&second));
	EXPECT_EQ(KORVATH_CLOUD_ERROR_INVALID_PARAMETER, korvath_cloud_record_set_key(first, ""));
	EXPECT_EQ(KORVATH_CLOUD_ERROR_INVALID_PARAMETER, korvath_cloud_record_set_key(first, nullptr));
	EXPECT_EQ(KORVATH_CLOUD_ERROR_INVALID_PARAMETER, korvath_cloud_record_set_date(first, "-1"));
	EXPECT_EQ(KORVATH_CLOUD_ERROR_INVALID_PARAMETER, korvath_cloud_record_set_value(first, "\xc3("));
	EXPECT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_list_add(list, first));
	EXPECT_EQ(KORVATH_CLOUD_ERROR_INVALID_PARAMETER, korvath_cloud_list_add(list, first));
	EXPECT_EQ(KORVATH_CLOUD_ERROR_INVALID_PARAMETER, korvath_cloud_record_destroy(first));
	EXPECT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_list_add(list, second));

	EXPECT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_list_move_to_first(list));
	EXPECT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_list_get_current_record(list, &record));
	EXPECT_EQ(first, record);
	EXPECT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_list_move_to_next(list));
	EXPECT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_list_get_current_record(list, &record));
	EXPECT_EQ(second, record);
	// Past the last record: nothing current, and no further.
	EXPECT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_list_move_to_next(list));
	EXPECT_EQ(KORVATH_CLOUD_ERROR_NO_DATA, korvath_cloud_list_get_current_record(list, &record));
	EXPECT_EQ(KORVATH_CLOUD_ERROR_NO_DATA, korvath_cloud_list_move_to_next(list));

	EXPECT_EQ(3u, zon_host_cloud_live_handles());
	EXPECT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_list_destroy(list));
	EXPECT_EQ(0u, zon_host_cloud_live_handles());
	// Stale handles are refused, not followed.
	EXPECT_EQ(KORVATH_CLOUD_ERROR_INVALID_PARAMETER, korvath_cloud_list_destroy(list));
	EXPECT_EQ(KORVATH_CLOUD_ERROR_INVALID_PARAMETER, korvath_cloud_record_set_key(first, "k"));
}

TEST_F(CloudServiceTest, AnswersAndRegistrationsNeedTheirMoment)
{
	EXPECT_EQ(KORVATH_CLOUD_ERROR_NOT_INITIALIZED, korvath_cloud_deinitialize());
	EXPECT_EQ(KORVATH_CLOUD_ERROR_NOT_INITIALIZED,
		korvath_cloud_backup_record_set_completed_cb([](bool, void*) {}, nullptr));
	EXPECT_EQ(KORVATH_CLOUD_ERROR_INVALID_STATE, korvath_cloud_backup_record_send_preparation_completed_response(true));
	EXPECT_EQ(KORVATH_CLOUD_ERROR_INVALID_STATE, korvath_cloud_restore_record_send_record_list(nullptr, false));

	// No cloud copy yet, and no such file: nothing to restore from.
	EXPECT_EQ(nullptr, zon_host_cloud_stored_backup());
	EXPECT_EQ(-1, zon_host_cloud_start(ZON_HOST_CLOUD_RESTORE, nullptr));
	EXPECT_EQ(-1, zon_host_cloud_start(ZON_HOST_CLOUD_RESTORE, (root() + "/none.dat").c_str()));
	EXPECT_EQ(ZON_HOST_CLOUD_IDLE, zon_host_cloud_state());
	EXPECT_EQ(-1, zon_host_cloud_time_out());

	// One session at a time; a restore answer does not fit a backup session.
	answerBackupWith({"{}"});
	ASSERT_EQ(0, zon_host_cloud_start(ZON_HOST_CLOUD_BACKUP, nullptr));
	EXPECT_EQ(-1, zon_host_cloud_start(ZON_HOST_CLOUD_BACKUP, nullptr));
	EXPECT_EQ(ZON_HOST_CLOUD_SUCCEEDED, zon_host_cloud_wait(1000));
	EXPECT_EQ(nullptr, zon_host_cloud_failure());
	EXPECT_EQ(KORVATH_CLOUD_ERROR_INVALID_STATE, korvath_cloud_restore_record_send_preparation_completed_response(true));

	// An application that is not installed can't be launched.
	zon_host_unregister_app(zon_host_app_id());
	EXPECT_EQ(-1, zon_host_cloud_start(ZON_HOST_CLOUD_BACKUP, nullptr));
	EXPECT_EQ(ZON_HOST_CLOUD_FAILED, zon_host_cloud_state());
	EXPECT_NE(std::string::npos, failure().find("cannot launch")) << failure();
}

TEST_F(CloudServiceTest, ServiceGivesUpAtTheStepItIsToldTo)
{
	struct Case {
		zon_host_cloud_session_e kind;
		zon_host_cloud_step_e step;
		const char* lastAnswer; // the last event before the service gave up
	};
	const Case cases[] = {
		{ZON_HOST_CLOUD_BACKUP, ZON_HOST_CLOUD_STEP_PREPARATION, "reply succeeded"},
		{ZON_HOST_CLOUD_BACKUP, ZON_HOST_CLOUD_STEP_KEYS_AND_DATES, "preparation_completed_response true"},
		{ZON_HOST_CLOUD_BACKUP, ZON_HOST_CLOUD_STEP_RECORDS, "keys_and_dates 1 true"},
		{ZON_HOST_CLOUD_RESTORE, ZON_HOST_CLOUD_STEP_RESTORATION_PATH, "preparation_completed_response true"},
		{ZON_HOST_CLOUD_RESTORE, ZON_HOST_CLOUD_STEP_RESTORATION, nullptr},
		{ZON_HOST_CLOUD_RESTORE, ZON_HOST_CLOUD_STEP_COMPLETION, "record_list 1 true"},
	};
	std::string source = root() + "/source.dat";
	for (const Case& c : cases) {
		SCOPED_TRACE(c.step);
		freshHost();
		zon_host_cloud_fail_at(c.step);
		writeRecordFile(source, {{"k", "{}"}});
		if (c.kind == ZON_HOST_CLOUD_BACKUP)
			answerBackupWith({"{}"});
		else
			answerRestore();
		EXPECT_EQ(ZON_HOST_CLOUD_FAILED, runSession(c.kind, source.c_str()));
		std::vector<std::string> trail = events();
		ASSERT_GE(trail.size(), 3u);
		std::string lastAnswer = c.lastAnswer ? c.lastAnswer : "restoration_path " + trustedPath("restore.dat") + " true";
		EXPECT_EQ(lastAnswer, trail[trail.size() - 3]);
		EXPECT_EQ(0u, trail.back().find("completed false"));
		EXPECT_EQ(0u, trail[trail.size() - 2].find("gave up at "));
		EXPECT_EQ(1, completion.calls);
		EXPECT_FALSE(completion.result);
	}

	// At the launch the service gives up before anybody hears of it.
	freshHost();
	zon_host_cloud_fail_at(ZON_HOST_CLOUD_STEP_LAUNCH);
	answerBackupWith({"{}"});
	EXPECT_EQ(0, zon_host_cloud_start(ZON_HOST_CLOUD_BACKUP, nullptr));
	EXPECT_EQ(ZON_HOST_CLOUD_FAILED, zon_host_cloud_wait(100));
	EXPECT_EQ(0u, zon_host_launch_count());
	EXPECT_FALSE(backup);
}

} // namespace

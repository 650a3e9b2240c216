// The host's cloud service on its own: record files, the list cursor and handle ownership, and
// the faults the service can be told to make. Awkward texts go through the record file in the
// backup-to-restore round trip of RestoreModelTest.
#include <gtest/gtest.h>

#include "CloudFixture.h"

namespace {

class CloudServiceTest : public CloudFixture {};

TEST_F(CloudServiceTest, MalformedRecordFilesAreRefusedWhole)
{
	const std::string good = "[records]\nformat=1\ncount=1\n\n[record 0]\nkey=k\ndate=12\nvalue=v\n";
	const std::string one = "[records]\nformat=1\ncount=1\n";
	const std::string cases[] = {
		"{\"a\":1}",                                         // not a key file
		"[record 0]\nkey=k\n",                               // no records group
		"[records]\nformat=2\ncount=0\n",                    // unknown format
		"[records]\nformat=1\ncount=many\n",                 // count not a number
		"[records]\nformat=1\ncount=-1\n",                   // negative count
		"[records]\nformat=1\ncount=2\n[record 0]\n",        // too few groups
		one + "[record 1]\nkey=k\n",                         // a stranger group
		good + "[extra]\nx=1\n",                             // an extra group
		"[records]\nformat=1\ncount=2\n[record 0]\nkey=a\n[record 0]\nkey=b\n", // a group twice
		one + "[record 0]\nkey=\n",                          // empty key
		one + "[record 0]\ndate=12:00\n",                    // date not digits
		one + "[record 0]\nvalue=\xff\xfe\n",                // value not UTF-8
	};
	std::string path = root() + "/bad.dat";
	std::ofstream(path, std::ios::trunc) << good;
	EXPECT_EQ(Texts{"v"}, fileValues(path));

	korvath_cloud_list_h list = nullptr;
	for (const std::string& text : cases) {
		std::ofstream(path, std::ios::trunc) << text;
		EXPECT_EQ(KORVATH_CLOUD_ERROR_INVALID_FORMAT, korvath_cloud_file_create_record_list(path.c_str(), &list)) << text;
		EXPECT_EQ(nullptr, list);
	}
	EXPECT_EQ(KORVATH_CLOUD_ERROR_IO_ERROR, korvath_cloud_file_create_record_list((root() + "/none").c_str(), &list));
	EXPECT_EQ(0u, zon_host_cloud_live_handles());
}

TEST_F(CloudServiceTest, CursorStopsAtTheEndAndListsOwnTheirRecords)
{
	korvath_cloud_list_h list = nullptr;
	korvath_cloud_record_h record = nullptr, first = nullptr, second = nullptr;
	ASSERT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_list_create(&list));
	EXPECT_EQ(KORVATH_CLOUD_ERROR_NO_DATA, korvath_cloud_list_move_to_first(list));
	ASSERT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_record_create(&first));
	ASSERT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_record_create(&second));
	// What the file could not hold is refused at once.
	EXPECT_EQ(KORVATH_CLOUD_ERROR_INVALID_PARAMETER, korvath_cloud_record_set_value(first, "\xc3("));
	EXPECT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_list_add(list, first));
	EXPECT_EQ(KORVATH_CLOUD_ERROR_INVALID_PARAMETER, korvath_cloud_list_add(list, first));
	EXPECT_EQ(KORVATH_CLOUD_ERROR_INVALID_PARAMETER, korvath_cloud_record_destroy(first));
	EXPECT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_list_add(list, second));

	EXPECT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_list_move_to_first(list));
	for (korvath_cloud_record_h expected : {first, second}) {
		EXPECT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_list_get_current_record(list, &record));
		EXPECT_EQ(expected, record);
		EXPECT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_list_move_to_next(list));
	}
	// Past the last record: nothing current, and no further.
	EXPECT_EQ(KORVATH_CLOUD_ERROR_NO_DATA, korvath_cloud_list_get_current_record(list, &record));
	EXPECT_EQ(KORVATH_CLOUD_ERROR_NO_DATA, korvath_cloud_list_move_to_next(list));

	EXPECT_EQ(3u, zon_host_cloud_live_handles());
	EXPECT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_list_destroy(list));
	EXPECT_EQ(0u, zon_host_cloud_live_handles());
	// Stale handles are refused, not followed.
	EXPECT_EQ(KORVATH_CLOUD_ERROR_INVALID_PARAMETER, korvath_cloud_list_destroy(list));
	EXPECT_EQ(KORVATH_CLOUD_ERROR_INVALID_PARAMETER, korvath_cloud_record_set_key(first, "k"));
}

TEST_F(CloudServiceTest, ServiceGivesUpAtTheStepItIsToldTo)
{
	// lastAnswer: the last event before the service gave up.
	const struct { zon_host_cloud_session_e kind; zon_host_cloud_step_e step; std::string lastAnswer; } cases[] = {
		{ZON_HOST_CLOUD_BACKUP, ZON_HOST_CLOUD_STEP_PREPARATION, "reply succeeded"},
		{ZON_HOST_CLOUD_BACKUP, ZON_HOST_CLOUD_STEP_KEYS_AND_DATES, "preparation_completed_response true"},
		{ZON_HOST_CLOUD_BACKUP, ZON_HOST_CLOUD_STEP_RECORDS, "keys_and_dates 1 true"},
		{ZON_HOST_CLOUD_RESTORE, ZON_HOST_CLOUD_STEP_RESTORATION_PATH, "preparation_completed_response true"},
		{ZON_HOST_CLOUD_RESTORE, ZON_HOST_CLOUD_STEP_RESTORATION, "restoration_path " + trustedPath("restore.dat") + " true"},
		{ZON_HOST_CLOUD_RESTORE, ZON_HOST_CLOUD_STEP_COMPLETION, "record_list 3 true"},
	};
	for (const auto& c : cases) {
		SCOPED_TRACE(c.step);
		freshHost();
		zon_host_cloud_fail_at(c.step);
		EXPECT_EQ(ZON_HOST_CLOUD_FAILED, runWith(c.kind));
		Texts trail = events();
		ASSERT_GE(trail.size(), 3u);
		EXPECT_EQ(c.lastAnswer, trail[trail.size() - 3]);
		EXPECT_EQ(0u, trail[trail.size() - 2].find("gave up at "));
		EXPECT_EQ("completed false", trail.back());
		EXPECT_EQ(1, calls);
		EXPECT_FALSE(result);
	}

	// At the launch the service gives up before anybody hears of it.
	freshHost();
	zon_host_cloud_fail_at(ZON_HOST_CLOUD_STEP_LAUNCH);
	answer(ZON_HOST_CLOUD_BACKUP);
	EXPECT_EQ(0, zon_host_cloud_start(ZON_HOST_CLOUD_BACKUP, nullptr));
	EXPECT_EQ(ZON_HOST_CLOUD_FAILED, zon_host_cloud_wait(100));
	EXPECT_EQ(0u, zon_host_launch_count());
	EXPECT_FALSE(backup);
}

} // namespace

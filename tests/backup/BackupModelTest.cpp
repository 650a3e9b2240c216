// Backup sessions driven end to end by the host's cloud service: the order of the service's
// steps, what reaches the service and the file, and the failure paths with their effect on the
// session. Registration checks cover the restore model too, since the two differ only in wording.
#include <sys/stat.h>

#include <chrono>

#include <app_common.h>
#include <dlog.h>

#include "CloudFixture.h"

namespace {

const auto BACKUP = ZON_HOST_CLOUD_BACKUP;
const auto RESTORE = ZON_HOST_CLOUD_RESTORE;
const auto RUNNING = ZON_HOST_CLOUD_RUNNING;
const auto SUCCEEDED = ZON_HOST_CLOUD_SUCCEEDED;
const auto FAILED = ZON_HOST_CLOUD_FAILED;

unsigned long long nowMs()
{
	return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch()).count();
}

size_t logged(const std::string& text) { return zon_host_log_count_matching(text.c_str()); }

class BackupModelTest : public CloudFixture {};

TEST_F(BackupModelTest, WholeSessionSendsKeysMillisecondDatesAndValuesInOrder)
{
	answer(BACKUP, {"{\"a\":1}", "{\"b\":\"two\"}", "{}"});
	unsigned long long before = nowMs();
	ASSERT_EQ(SUCCEEDED, runSession(BACKUP));
	unsigned long long after = nowMs();

	std::string path = trustedPath("backup.dat");
	EXPECT_EQ((Texts{std::string("launch ") + KORVATH_CLOUD_OPERATION_BACKUP + " " + ZON_HOST_DEFAULT_APP_ID,
				  "reply succeeded", "preparation", "preparation_completed_response true", "sending_keys_and_dates",
				  "keys_and_dates 3 true", "backup 3", "backup_path " + path + " true", "completed true"}),
		events());
	EXPECT_TRUE(ranOk && result);
	EXPECT_EQ(APP_CONTROL_RESULT_SUCCEEDED, onlyReply());
	EXPECT_EQ(1, calls);
	EXPECT_EQ(static_cast<BackupModel*>(backup.get()), model);

	EXPECT_EQ((Texts{"key.0", "key.1", "key.2"}), serviceRecords(0));
	EXPECT_EQ(backup->values, serviceRecords(2));
	for (const std::string& date : serviceRecords(1)) {
		// Milliseconds since the epoch, read from the clock during the session.
		ASSERT_TRUE(!date.empty() && date.find_first_not_of("0123456789") == std::string::npos) << date;
		EXPECT_TRUE(std::stoull(date) >= before && std::stoull(date) <= after) << date;
	}
	// The file the model wrote is what the service kept, and nobody removed it.
	EXPECT_EQ(backup->values, fileValues(path));
	ASSERT_NE(nullptr, zon_host_cloud_stored_backup());
	EXPECT_EQ(readAll(path), readAll(zon_host_cloud_stored_backup()));
	EXPECT_EQ(1u, countTagged("backup jsonStr : {\"b\":\"two\"}", "BackupModel", DLOG_INFO,
					  "BackupModel.cpp: _backupRecordCb("));
	EXPECT_EQ(0u, zon_host_cloud_live_handles());
	// Removing it on demand removes only what exists.
	backup->_removeFile();
	EXPECT_FALSE(std::ifstream(path).is_open());
	EXPECT_FALSE(zon_host_log_contains("file is not exist!"));
	backup->_removeFile();
	EXPECT_EQ(1u, logged("file is not exist!"));

	// An empty model announces no records, which completes the session.
	freshHost();
	EXPECT_EQ(SUCCEEDED, runWith(BACKUP, {}));
	EXPECT_EQ("keys_and_dates 0 true", events().at(5));
	EXPECT_EQ(1, calls);
}

TEST_F(BackupModelTest, InfoModelRegistersNoRecordCallback)
{
	// Were the record callback registered, this fault would make run() fail.
	zon_host_fault_inject("korvath_cloud_backup_record_set_backup_cb", 1, KORVATH_CLOUD_ERROR_IO_ERROR);
	answer(ZON_HOST_CLOUD_BACKUP_INFO, {"{\"x\":1}", "{\"y\":2}"});
	EXPECT_EQ(SUCCEEDED, runSession(ZON_HOST_CLOUD_BACKUP_INFO));
	EXPECT_TRUE(ranOk && result);
	EXPECT_EQ("keys_and_dates 2 true", events().at(5));

	// The three registrations are all an info model has: a full backup can't get its values.
	zon_host_fault_inject("korvath_cloud_backup_record_set_backup_cb", 0, 0);
	EXPECT_EQ(FAILED, runSession(BACKUP));
	EXPECT_EQ("the application has no backup callback registered", failure());
	EXPECT_FALSE(result);
	EXPECT_EQ(3, zon_host_reset());
}

TEST_F(BackupModelTest, WithoutTheInterfaceOrARegistrationNeitherModelRuns)
{
	// registered: callbacks in place after the failure, in order (-1: the interface failed, and
	// the model neither registers nor replies). The restore model's messages have "()" after the
	// function name; the backup's do not.
	const struct { zon_host_cloud_session_e kind; const char* function; const char* message; int registered; } cases[] = {
		{BACKUP, "korvath_cloud_initialize", " failed.(-5)", -1},
		{RESTORE, "korvath_cloud_initialize", " failed.(-5)", -1},
		{BACKUP, "korvath_cloud_backup_record_set_preparation_cb", " failed.(-5)", 0},
		{BACKUP, "korvath_cloud_backup_record_set_sending_keys_and_dates_cb", " failed.(-5)", 1},
		{BACKUP, "korvath_cloud_backup_record_set_backup_cb", " failed.(-5)", 2},
		{BACKUP, "korvath_cloud_backup_record_set_completed_cb", " failed.(-5)", 3},
		{RESTORE, "korvath_cloud_restore_record_set_preparation_cb", "() failed.(-5)", 0},
		{RESTORE, "korvath_cloud_restore_record_set_sending_restoration_path_cb", "() failed.(-5)", 1},
		{RESTORE, "korvath_cloud_restore_record_set_restoration_cb", "() failed.(-5)", 2},
		{RESTORE, "korvath_cloud_restore_record_set_completed_cb", "() failed.(-5)", 3},
	};
	for (const auto& c : cases) {
		SCOPED_TRACE(std::string(c.function) + (c.kind == BACKUP ? " backup" : " restore"));
		freshHost(c.function);
		EXPECT_EQ(c.registered < 0 ? RUNNING : FAILED, runWith(c.kind));
		EXPECT_FALSE(ranOk);
		EXPECT_EQ(1u, logged(std::string(c.function) + c.message));
		if (c.registered >= 0) {
			EXPECT_EQ(APP_CONTROL_RESULT_FAILED, onlyReply());
			EXPECT_EQ("the application refused the request", failure());
			EXPECT_EQ(0, calls);
			EXPECT_EQ(c.registered, zon_host_reset());
			continue;
		}
		EXPECT_EQ(1u, logged("korvath_cloud is not initialized."));
		EXPECT_EQ(0u, zon_host_reply_count());
		// The service waits for a reply that never comes until its time-out.
		ASSERT_EQ(0, zon_host_cloud_time_out());
		EXPECT_EQ(FAILED, zon_host_cloud_wait(100));
		EXPECT_EQ(0, calls);
		dropModels();
		EXPECT_EQ(1u, logged("korvath_cloud_deinitialize failed.(" + std::to_string(KORVATH_CLOUD_ERROR_NOT_INITIALIZED)));
	}
}

TEST_F(BackupModelTest, EachFailingCallIsLoggedAndTheSessionEndsAsItCan)
{
	const Texts values = {"{\"i\":0}", "{\"i\":1}", "{\"i\":2}"};
	const std::string none = "<none>";
	// lastEvent: what the service heard last (RUNNING: then the service times out); announced:
	// records sent with keys and dates, flagged as not ok (-1: all went out as ok); file: what
	// the backup file holds (empty: not looked at); live: handles left behind.
	const struct { const char* function; int nth; zon_host_cloud_state_e state; const char* lastEvent; int announced;
		Texts file; size_t live; } cases[] = {
		// Nothing is sent: the service waits for an answer.
		{"korvath_cloud_list_create", 1, RUNNING, "sending_keys_and_dates", -1, {}, 0},
		{"korvath_cloud_backup_record_send_keys_and_dates", 1, RUNNING, "sending_keys_and_dates", -1, {}, 0},
		{"korvath_cloud_backup_record_send_preparation_completed_response", 1, RUNNING, "preparation", -1, {}, 0},
		// The records added before the failure go out, flagged; the one being filled in is not
		// destroyed.
		{"korvath_cloud_record_create", 3, FAILED, "completed false", 2, {}, 0},
		{"korvath_cloud_record_set_key", 2, FAILED, "completed false", 1, {}, 1},
		{"korvath_cloud_record_set_date", 1, FAILED, "completed false", 0, {}, 1},
		{"korvath_cloud_list_add", 3, FAILED, "completed false", 2, {}, 1},
		// Not fatal: the list (and its three records) is left over.
		{"korvath_cloud_list_destroy", 1, SUCCEEDED, "completed true", -1, {}, 4},
		// The value loop goes on; the path still goes out as good and the service finds the hole.
		// A cursor that stays on record 0 gives it index 1's value; the last record gets none.
		{"korvath_cloud_list_move_to_next", 1, FAILED, "completed false", -1, {values[1], values[2], none}, 0},
		{"korvath_cloud_list_get_current_record", 2, FAILED, "completed false", -1, {values[0], none, values[2]}, 0},
		{"korvath_cloud_record_set_value", 3, FAILED, "completed false", -1, {values[0], values[1], none}, 0},
		// Read for the log only.
		{"korvath_cloud_record_get_key", 1, SUCCEEDED, "completed true", -1, values, 0},
		{"korvath_cloud_record_get_date", 2, SUCCEEDED, "completed true", -1, values, 0},
		// The path goes out regardless; the service can't read what was never written.
		{"korvath_cloud_file_create_file", 1, FAILED, "completed false", -1, {none}, 0},
		// No answer: the service waits.
		{"korvath_cloud_list_move_to_first", 1, RUNNING, "backup 3", -1, {}, 0},
		{"korvath_cloud_backup_record_send_backup_path", 1, RUNNING, "backup 3", -1, {}, 0},
		// The second destroy is the one of the handed-over list; the service frees it.
		{"korvath_cloud_list_destroy", 2, SUCCEEDED, "completed true", -1, values, 0},
	};
	for (const auto& c : cases) {
		SCOPED_TRACE(std::string(c.function) + " #" + std::to_string(c.nth));
		// A file left by the case before would be sent in place of the one not written.
		remove(trustedPath("backup.dat").c_str());
		freshHost(c.function, c.nth);
		EXPECT_EQ(c.state, runWith(BACKUP, values));
		EXPECT_EQ(1u, countTagged(std::string(c.function) + " failed.(-5)", "BackupModel", DLOG_ERROR, "BackupModel.cpp: "));
		EXPECT_EQ(c.lastEvent, lastEvent());
		if (c.announced >= 0) {
			EXPECT_EQ("keys_and_dates " + std::to_string(c.announced) + " false", events().at(5));
			EXPECT_EQ(size_t(c.announced), zon_host_cloud_record_count());
		}
		if (!c.file.empty())
			EXPECT_EQ(c.file == Texts{none} ? Texts{} : c.file, fileValues(trustedPath("backup.dat")));
		if (c.file.size() == 3 && c.state == FAILED) {
			EXPECT_EQ("backup_path " + trustedPath("backup.dat") + " true", events().at(7));
			EXPECT_NE(std::string::npos, failure().find("has no value")) << failure();
		}
		if (c.state == RUNNING) {
			ASSERT_EQ(0, zon_host_cloud_time_out());
			EXPECT_EQ(FAILED, zon_host_cloud_wait(100));
			EXPECT_TRUE(calls == 1 && !result) << calls << " completions, the last " << result;
		}
		EXPECT_EQ(c.live, zon_host_cloud_live_handles());
	}
}

TEST_F(BackupModelTest, NoRecordsToFillAnswersWithoutPath)
{
	// No list, an empty list, and a list whose count can't be read all get (no path, false).
	const struct { zon_host_cloud_list_e mode; const char* fault; const char* handedOver; } cases[] = {
		{ZON_HOST_CLOUD_LIST_NULL, nullptr, "backup none"},
		{ZON_HOST_CLOUD_LIST_EMPTY, nullptr, "backup 0"},
		{ZON_HOST_CLOUD_LIST_AS_SENT, "korvath_cloud_list_get_record_count", "backup 2"},
	};
	for (const auto& c : cases) {
		SCOPED_TRACE(c.handedOver);
		freshHost(c.fault);
		zon_host_cloud_set_record_list(c.mode);
		EXPECT_EQ(FAILED, runWith(BACKUP, {"{}", "{}"}));
		Texts trail = events();
		ASSERT_EQ(9u, trail.size());
		EXPECT_EQ((Texts{c.handedOver, "backup_path none false", "completed false"}), Texts(trail.begin() + 6, trail.end()));
		EXPECT_EQ("the application sent no backup file", failure());
		EXPECT_EQ(1, calls);
		EXPECT_EQ(c.fault ? 1u : 0u, logged("korvath_cloud_list_get_record_count failed.(-5)"));
		// The service frees the list the model left alone.
		EXPECT_EQ(0u, zon_host_cloud_live_handles());
	}
}

TEST_F(BackupModelTest, CompletionMayDeleteTheModel)
{
	onLaunch = [this](app_control_h request) {
		auto* deletable = new TestBackup(request, {"{}"});
		deletable->setOnBackupCompleted([this](bool, void* m) {
			++calls;
			delete static_cast<BackupModel*>(m);
		});
		ranOk = deletable->run();
	};
	EXPECT_EQ(SUCCEEDED, runSession(BACKUP));
	EXPECT_EQ(1, calls);
	// Deleting the model deinitialised the interface: nothing is left registered.
	EXPECT_EQ(0, zon_host_reset());

	// Without a completion callback the notice is simply dropped.
	freshHost();
	onLaunch = [this](app_control_h request) {
		backup.reset(new TestBackup(request, {"{}"}));
		ranOk = backup->run();
	};
	EXPECT_EQ(SUCCEEDED, runSession(BACKUP));
}

TEST_F(BackupModelTest, BackupPathIsCutAt127BytesOrLeftEmptyTheRestorePathIsNot)
{
	// No trusted path: silent for a backup, which sends an empty one; logged for a restore.
	zon_host_fault_inject("app_get_shared_trusted_path", 1, APP_ERROR_IO_ERROR);
	EXPECT_EQ(FAILED, runWith(BACKUP));
	EXPECT_FALSE(zon_host_log_contains("get path failed"));
	EXPECT_EQ("backup_path  true", events().at(7));
	zon_host_fault_inject("app_get_shared_trusted_path", 1, APP_ERROR_IO_ERROR);
	EXPECT_EQ(FAILED, runWith(RESTORE));
	EXPECT_TRUE(zon_host_log_contains("get path failed"));
	EXPECT_EQ("the application gave no restoration path", failure());

	// A root deep enough that "<trusted dir>backup.dat" needs more than 127 bytes.
	std::string deep = root() + "/" + std::string(70, 'd');
	ASSERT_EQ(0, mkdir(deep.c_str(), 0700));
	setEnv("ZON_HOST_ROOT", deep.c_str());
	freshHost();
	std::string dir = takeText(app_get_shared_trusted_path());
	ASSERT_GT(dir.size() + strlen("backup.dat"), 127u);

	// The model writes and sends the cut path, wherever that leads (here a file "t" in the
	// shared directory, which the service is content with).
	runWith(BACKUP);
	std::string cut = (dir + "backup.dat").substr(0, 127);
	EXPECT_EQ(cut, zon_host_cloud_path());
	EXPECT_EQ(Texts{"{}"}, fileValues(cut));
	EXPECT_EQ(SUCCEEDED, runWith(RESTORE));
	EXPECT_EQ(dir + "restore.dat", zon_host_cloud_path());
}

} // namespace

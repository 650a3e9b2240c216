// Backup sessions driven end to end by the host's cloud service: the launch, the reply, the
// order of the service's steps, what reaches the service and the file, and every failure path
// with its log line and its effect on the session.
#include <sys/stat.h>

#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include <app_common.h>
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

bool allDigits(const char* text)
{
	if (!text || !*text)
		return false;
	for (const char* p = text; *p; ++p) {
		if (*p < '0' || *p > '9')
			return false;
	}
	return true;
}

class BackupModelTest : public CloudFixture {};

TEST_F(BackupModelTest, WholeSessionSendsKeysMillisecondDatesAndValuesInOrder)
{
	answerBackupWith({"{\"a\":1}", "{\"b\":\"two\"}", "{}"});
	unsigned long long before = nowMs();
	ASSERT_EQ(ZON_HOST_CLOUD_SUCCEEDED, runSession(ZON_HOST_CLOUD_BACKUP));
	unsigned long long after = nowMs();

	std::string path = trustedPath("backup.dat");
	EXPECT_EQ((std::vector<std::string>{
				  std::string("launch ") + KORVATH_CLOUD_OPERATION_BACKUP + " " + ZON_HOST_DEFAULT_APP_ID,
				  "reply succeeded",
				  "preparation",
				  "preparation_completed_response true",
				  "sending_keys_and_dates",
				  "keys_and_dates 3 true",
				  "backup 3",
				  "backup_path " + path + " true",
				  "completed true",
			  }),
		events());
	EXPECT_TRUE(ranOk);
	EXPECT_EQ(APP_CONTROL_RESULT_SUCCEEDED, onlyReply());
	EXPECT_EQ(1, completion.calls);
	EXPECT_TRUE(completion.result);
	EXPECT_EQ(static_cast<BackupModel*>(backup.get()), completion.model);

	ASSERT_EQ(3u, zon_host_cloud_record_count());
	for (size_t i = 0; i < 3; ++i) {
		const char* key = nullptr;
		const char* date = nullptr;
		const char* value = nullptr;
		ASSERT_TRUE(zon_host_cloud_record(i, &key, &date, &value));
		EXPECT_EQ("key." + std::to_string(i), key);
		EXPECT_EQ(backup->values[i], value);
		// Milliseconds since the epoch, read from the clock during the session.
		ASSERT_TRUE(allDigits(date)) << date;
		unsigned long long ms = strtoull(date, nullptr, 10);
		EXPECT_GE(ms, before);
		EXPECT_LE(ms, after);
	}

	// The file the model wrote is what the service kept, and nobody removed it.
	EXPECT_EQ(backup->values, fileValues(path));
	ASSERT_NE(nullptr, zon_host_cloud_stored_backup());
	EXPECT_EQ(readAll(path), readAll(zon_host_cloud_stored_backup()));
	EXPECT_TRUE(zon_host_log_contains("backup jsonStr : {\"b\":\"two\"}"));
	EXPECT_EQ(0u, zon_host_cloud_live_handles());
}

TEST_F(BackupModelTest, EmptyModelAnnouncesNoRecordsAsComplete)
{
	answerBackupWith({});
	EXPECT_EQ(ZON_HOST_CLOUD_SUCCEEDED, runSession(ZON_HOST_CLOUD_BACKUP));
	EXPECT_EQ("keys_and_dates 0 true", events().at(5));
	EXPECT_EQ("completed true", lastEvent());
	EXPECT_EQ(1, completion.calls);
	EXPECT_EQ(0u, zon_host_cloud_live_handles());
}

TEST_F(BackupModelTest, InfoModelRegistersNoRecordCallback)
{
	// Were the record callback registered, this fault would make run() fail.
	zon_host_fault_inject("korvath_cloud_backup_record_set_backup_cb", 1, KORVATH_CLOUD_ERROR_IO_ERROR);
	answerBackupWith({"{\"x\":1}", "{\"y\":2}"}, true);
	EXPECT_EQ(ZON_HOST_CLOUD_SUCCEEDED, runSession(ZON_HOST_CLOUD_BACKUP_INFO));
	EXPECT_TRUE(ranOk);
	EXPECT_EQ("keys_and_dates 2 true", events().at(5));
	EXPECT_EQ("completed true", lastEvent());
	EXPECT_TRUE(completion.result);

	// The three registrations are all an info model has: a full backup can't get its values.
	zon_host_fault_inject("korvath_cloud_backup_record_set_backup_cb", 0, 0);
	zon_host_reply_clear();
	EXPECT_EQ(ZON_HOST_CLOUD_FAILED, runSession(ZON_HOST_CLOUD_BACKUP));
	EXPECT_EQ("the application has no backup callback registered", failure());
	EXPECT_FALSE(completion.result);
	EXPECT_EQ(3, zon_host_reset());
}

TEST_F(BackupModelTest, RegistrationFailureRepliesFailedAndStopsRegistering)
{
	struct Case {
		const char* function;
		const char* message;
	};
	const Case cases[] = {
		{"korvath_cloud_backup_record_set_preparation_cb", "korvath_cloud_backup_record_set_preparation_cb failed.(-5)"},
		{"korvath_cloud_backup_record_set_sending_keys_and_dates_cb",
			"korvath_cloud_backup_record_set_sending_keys_and_dates_cb failed.(-5)"},
		{"korvath_cloud_backup_record_set_backup_cb", "korvath_cloud_backup_record_set_backup_cb failed.(-5)"},
		{"korvath_cloud_backup_record_set_completed_cb", "korvath_cloud_backup_record_set_completed_cb failed.(-5)"},
	};
	int registeredBefore = 0;
	for (const Case& c : cases) {
		SCOPED_TRACE(c.function);
		freshHost();
		zon_host_fault_inject(c.function, 1, KORVATH_CLOUD_ERROR_IO_ERROR);
		answerBackupWith({"{}"});
		EXPECT_EQ(ZON_HOST_CLOUD_FAILED, runSession(ZON_HOST_CLOUD_BACKUP));
		EXPECT_FALSE(ranOk);
		EXPECT_EQ(APP_CONTROL_RESULT_FAILED, onlyReply());
		EXPECT_EQ("reply failed", lastEvent());
		EXPECT_EQ("the application refused the request", failure());
		EXPECT_EQ(0, completion.calls);
		EXPECT_EQ(1u, zon_host_log_count_matching(c.message));
		// Registered in order, none after the one that failed.
		EXPECT_EQ(registeredBefore++, zon_host_reset());
	}
}

TEST_F(BackupModelTest, WithoutTheCloudInterfaceRunNeitherRegistersNorReplies)
{
	zon_host_fault_inject("korvath_cloud_initialize", 1, KORVATH_CLOUD_ERROR_PERMISSION_DENIED);
	answerBackupWith({"{}"});
	EXPECT_EQ(ZON_HOST_CLOUD_RUNNING, runSession(ZON_HOST_CLOUD_BACKUP));
	EXPECT_FALSE(ranOk);
	EXPECT_TRUE(zon_host_log_contains("korvath_cloud_initialize failed.(-13)"));
	EXPECT_TRUE(zon_host_log_contains("korvath_cloud is not initialized."));
	EXPECT_EQ(0u, zon_host_reply_count());

	// The service waits for a reply that never comes until its time-out.
	ASSERT_EQ(0, zon_host_cloud_time_out());
	EXPECT_EQ(ZON_HOST_CLOUD_FAILED, zon_host_cloud_wait(100));
	EXPECT_EQ(0, completion.calls);

	backup.reset();
	char expected[64];
	snprintf(expected, sizeof expected, "korvath_cloud_deinitialize failed.(%d)", KORVATH_CLOUD_ERROR_NOT_INITIALIZED);
	EXPECT_TRUE(zon_host_log_contains(expected));
}

TEST_F(BackupModelTest, KeysAndDatesFailuresAreLoggedAndFlagged)
{
	struct Case {
		const char* function;
		int nth;
		const char* message;
		const char* lastEvent;        // what the service heard last
		zon_host_cloud_state_e state; // where the session ends up
		size_t liveHandles;           // handles left behind by the model
	};
	const Case cases[] = {
		// Nothing is sent: the service waits for an answer.
		{"korvath_cloud_list_create", 1, "korvath_cloud_list_create failed.(-12)", "sending_keys_and_dates",
			ZON_HOST_CLOUD_RUNNING, 0},
		// The records added before the failure go out, flagged.
		{"korvath_cloud_record_create", 3, "korvath_cloud_record_create failed.(-12)", "completed false",
			ZON_HOST_CLOUD_FAILED, 0},
		// The record being filled in is not destroyed.
		{"korvath_cloud_record_set_key", 2, "korvath_cloud_record_set_key failed.(-12)", "completed false",
			ZON_HOST_CLOUD_FAILED, 1},
		{"korvath_cloud_record_set_date", 1, "korvath_cloud_record_set_date failed.(-12)", "completed false",
			ZON_HOST_CLOUD_FAILED, 1},
		{"korvath_cloud_list_add", 3, "korvath_cloud_list_add failed.(-12)", "completed false",
			ZON_HOST_CLOUD_FAILED, 1},
		{"korvath_cloud_backup_record_send_keys_and_dates", 1,
			"korvath_cloud_backup_record_send_keys_and_dates failed.(-12)", "sending_keys_and_dates",
			ZON_HOST_CLOUD_RUNNING, 0},
		// Not fatal: the list (and its three records) is left over.
		{"korvath_cloud_list_destroy", 1, "korvath_cloud_list_destroy failed.(-12)", "completed true",
			ZON_HOST_CLOUD_SUCCEEDED, 4},
		{"korvath_cloud_backup_record_send_preparation_completed_response", 1,
			"korvath_cloud_backup_record_send_preparation_completed_response failed.(-12)", "preparation",
			ZON_HOST_CLOUD_RUNNING, 0},
	};
	const size_t announced[] = {0, 2, 1, 0, 2, 0, 3, 0};
	for (size_t n = 0; n < sizeof cases / sizeof cases[0]; ++n) {
		const Case& c = cases[n];
		SCOPED_TRACE(c.function);
		freshHost();
		zon_host_fault_inject(c.function, c.nth, KORVATH_CLOUD_ERROR_OUT_OF_MEMORY);
		answerBackupWith({"{\"i\":0}", "{\"i\":1}", "{\"i\":2}"});
		EXPECT_EQ(c.state, runSession(ZON_HOST_CLOUD_BACKUP));
		EXPECT_EQ(1u, zon_host_log_count_matching(c.message));
		EXPECT_EQ(c.lastEvent, lastEvent());
		if (c.state == ZON_HOST_CLOUD_FAILED) {
			EXPECT_EQ("keys_and_dates " + std::to_string(announced[n]) + " false", events().at(5));
			EXPECT_EQ(announced[n], zon_host_cloud_record_count());
			EXPECT_FALSE(completion.result);
		}
		EXPECT_EQ(c.liveHandles, zon_host_cloud_live_handles());
	}
}

TEST_F(BackupModelTest, NoRecordsToFillAnswersWithoutPath)
{
	// No list, an empty list, and a list whose count can't be read all get (no path, false).
	struct Case {
		zon_host_cloud_list_e mode;
		const char* faultFunction;
		const char* handedOver;
	};
	const Case cases[] = {
		{ZON_HOST_CLOUD_LIST_NULL, nullptr, "backup none"},
		{ZON_HOST_CLOUD_LIST_EMPTY, nullptr, "backup 0"},
		{ZON_HOST_CLOUD_LIST_AS_SENT, "korvath_cloud_list_get_record_count", "backup 2"},
	};
	for (const Case& c : cases) {
		SCOPED_TRACE(c.handedOver);
		freshHost();
		zon_host_cloud_set_record_list(c.mode);
		if (c.faultFunction)
			zon_host_fault_inject(c.faultFunction, 1, KORVATH_CLOUD_ERROR_IO_ERROR);
		answerBackupWith({"{}", "{}"});
		EXPECT_EQ(ZON_HOST_CLOUD_FAILED, runSession(ZON_HOST_CLOUD_BACKUP));
		std::vector<std::string> trail = events();
		ASSERT_EQ(9u, trail.size());
		EXPECT_EQ(c.handedOver, trail[6]);
		EXPECT_EQ("backup_path none false", trail[7]);
		EXPECT_EQ("completed false", trail[8]);
		EXPECT_EQ("the application sent no backup file", failure());
		EXPECT_EQ(1, completion.calls);
		EXPECT_FALSE(completion.result);
		EXPECT_EQ(c.faultFunction ? 1u : 0u,
			zon_host_log_count_matching("korvath_cloud_list_get_record_count failed.(-5)"));
		// The service frees the list the model left alone.
		EXPECT_EQ(0u, zon_host_cloud_live_handles());
	}
}

TEST_F(BackupModelTest, MoveToFirstFailureLeavesTheServiceWaiting)
{
	zon_host_fault_inject("korvath_cloud_list_move_to_first", 1, KORVATH_CLOUD_ERROR_IO_ERROR);
	answerBackupWith({"{}"});
	EXPECT_EQ(ZON_HOST_CLOUD_RUNNING, runSession(ZON_HOST_CLOUD_BACKUP));
	EXPECT_TRUE(zon_host_log_contains("korvath_cloud_list_move_to_first failed.(-5)"));
	EXPECT_EQ("backup 1", lastEvent());

	ASSERT_EQ(0, zon_host_cloud_time_out());
	EXPECT_EQ(ZON_HOST_CLOUD_FAILED, zon_host_cloud_wait(100));
	EXPECT_EQ(1, completion.calls);
	EXPECT_FALSE(completion.result);
	EXPECT_EQ(0u, zon_host_cloud_live_handles());
}

TEST_F(BackupModelTest, ValueLoopGoesOnAfterEachFailure)
{
	const std::vector<std::string> values = {"{\"i\":0}", "{\"i\":1}", "{\"i\":2}"};
	struct Case {
		const char* function;
		int nth;
		const char* message;
		std::vector<std::string> file; // values in the backup file, "<none>" for a missing one
	};
	const Case cases[] = {
		// The cursor stays on record 0, which takes index 1's value; the last record gets none.
		{"korvath_cloud_list_move_to_next", 1, "korvath_cloud_list_move_to_next failed.(-5)",
			{values[1], values[2], "<none>"}},
		{"korvath_cloud_list_get_current_record", 2, "korvath_cloud_list_get_current_record failed.(-5)",
			{values[0], "<none>", values[2]}},
		{"korvath_cloud_record_set_value", 3, "korvath_cloud_record_set_value failed.(-5)",
			{values[0], values[1], "<none>"}},
	};
	for (const Case& c : cases) {
		SCOPED_TRACE(c.function);
		freshHost();
		zon_host_fault_inject(c.function, c.nth, KORVATH_CLOUD_ERROR_IO_ERROR);
		answerBackupWith(values);
		// The path still goes out as good; the service finds the hole.
		EXPECT_EQ(ZON_HOST_CLOUD_FAILED, runSession(ZON_HOST_CLOUD_BACKUP));
		EXPECT_EQ(1u, zon_host_log_count_matching(c.message));
		EXPECT_EQ("backup_path " + trustedPath("backup.dat") + " true", events().at(7));
		EXPECT_NE(std::string::npos, failure().find("has no value")) << failure();
		EXPECT_EQ(c.file, fileValues(trustedPath("backup.dat")));
		EXPECT_EQ(0u, zon_host_cloud_live_handles());
	}
}

TEST_F(BackupModelTest, LateFailuresAreLoggedWithoutStoppingTheModel)
{
	struct Case {
		const char* function;
		int nth;
		const char* message;
		zon_host_cloud_state_e state;
	};
	const Case cases[] = {
		// Read for the log only.
		{"korvath_cloud_record_get_key", 1, "korvath_cloud_record_get_key failed.(-5)", ZON_HOST_CLOUD_SUCCEEDED},
		{"korvath_cloud_record_get_date", 2, "korvath_cloud_record_get_date failed.(-5)", ZON_HOST_CLOUD_SUCCEEDED},
		// The path goes out regardless; the service can't read what was never written.
		{"korvath_cloud_file_create_file", 1, "korvath_cloud_file_create_file failed.(-5)", ZON_HOST_CLOUD_FAILED},
		{"korvath_cloud_backup_record_send_backup_path", 1, "korvath_cloud_backup_record_send_backup_path failed.(-5)",
			ZON_HOST_CLOUD_RUNNING},
		// The second destroy is the one of the handed-over list; the service frees it.
		{"korvath_cloud_list_destroy", 2, "korvath_cloud_list_destroy failed.(-5)", ZON_HOST_CLOUD_SUCCEEDED},
	};
	for (const Case& c : cases) {
		SCOPED_TRACE(c.function);
		freshHost();
		// A file left by the case before would be sent in place of the one not written.
		remove(trustedPath("backup.dat").c_str());
		zon_host_fault_inject(c.function, c.nth, KORVATH_CLOUD_ERROR_IO_ERROR);
		answerBackupWith({"{\"i\":0}", "{\"i\":1}"});
		EXPECT_EQ(c.state, runSession(ZON_HOST_CLOUD_BACKUP));
		EXPECT_EQ(1u, zon_host_log_count_matching(c.message));
		if (c.state == ZON_HOST_CLOUD_FAILED) {
			EXPECT_EQ(0u, fileValues(trustedPath("backup.dat")).size());
		}
		if (c.state != ZON_HOST_CLOUD_RUNNING) {
			EXPECT_EQ(0u, zon_host_cloud_live_handles());
		}
	}
}

TEST_F(BackupModelTest, CompletionMayDeleteTheModel)
{
	onLaunch = [this](app_control_h request) {
		auto* model = new TestBackup(request, {"{}"});
		model->setOnBackupCompleted([this](bool result, void* m) {
			++completion.calls;
			completion.result = result;
			delete static_cast<BackupModel*>(m);
		});
		ranOk = model->run();
	};
	EXPECT_EQ(ZON_HOST_CLOUD_SUCCEEDED, runSession(ZON_HOST_CLOUD_BACKUP));
	EXPECT_EQ(1, completion.calls);
	// Deleting the model deinitialised the interface: nothing is left registered.
	EXPECT_EQ(0, zon_host_reset());

	// Without a completion callback the notice is simply dropped.
	freshHost();
	onLaunch = [this](app_control_h request) {
		backup.reset(new TestBackup(request, {"{}"}));
		ranOk = backup->run();
	};
	EXPECT_EQ(ZON_HOST_CLOUD_SUCCEEDED, runSession(ZON_HOST_CLOUD_BACKUP));
}

TEST_F(BackupModelTest, BackupPathIsCutAt127BytesRestorePathIsNot)
{
	// A root deep enough that "<trusted dir>backup.dat" needs more than 127 bytes.
	std::string deep = root() + "/" + std::string(70, 'd');
	ASSERT_EQ(0, mkdir(deep.c_str(), 0700));
	setEnv("ZON_HOST_ROOT", deep.c_str());
	freshHost();
	char* trusted = app_get_shared_trusted_path();
	ASSERT_NE(nullptr, trusted);
	std::string full = std::string(trusted) + "backup.dat";
	std::string restoreFull = std::string(trusted) + "restore.dat";
	free(trusted);
	ASSERT_GT(full.size(), 127u);

	// The model writes and sends the cut path, wherever that leads (here a file "t" in the
	// shared directory, which the service is content with).
	answerBackupWith({"{}"});
	runSession(ZON_HOST_CLOUD_BACKUP);
	std::string cut = full.substr(0, 127);
	EXPECT_EQ(cut, zon_host_cloud_path());
	EXPECT_EQ(std::vector<std::string>{"{}"}, fileValues(cut));

	std::string source = root() + "/source.dat";
	writeRecordFile(source, {{"k", "v"}});
	answerRestore();
	EXPECT_EQ(ZON_HOST_CLOUD_SUCCEEDED, runSession(ZON_HOST_CLOUD_RESTORE, source.c_str()));
	EXPECT_EQ(restoreFull, zon_host_cloud_path());
}

TEST_F(BackupModelTest, MissingTrustedPathIsSilentForBackupLoggedForRestore)
{
	zon_host_fault_inject("app_get_shared_trusted_path", 1, APP_ERROR_IO_ERROR);
	answerBackupWith({"{}"});
	EXPECT_EQ(ZON_HOST_CLOUD_FAILED, runSession(ZON_HOST_CLOUD_BACKUP));
	EXPECT_FALSE(zon_host_log_contains("get path failed"));
	EXPECT_EQ("backup_path  true", events().at(7));

	zon_host_fault_inject("app_get_shared_trusted_path", 1, APP_ERROR_IO_ERROR);
	answerRestore();
	std::string source = root() + "/source.dat";
	writeRecordFile(source, {{"k", "v"}});
	EXPECT_EQ(ZON_HOST_CLOUD_FAILED, runSession(ZON_HOST_CLOUD_RESTORE, source.c_str()));
	EXPECT_TRUE(zon_host_log_contains("get path failed"));
	EXPECT_EQ("the application gave no restoration path", failure());
}

TEST_F(BackupModelTest, RemoveFileRemovesOnlyWhatExists)
{
	answerBackupWith({"{}"});
	ASSERT_EQ(ZON_HOST_CLOUD_SUCCEEDED, runSession(ZON_HOST_CLOUD_BACKUP));
	struct stat info;
	ASSERT_EQ(0, stat(trustedPath("backup.dat").c_str(), &info));

	backup->_removeFile();
	EXPECT_NE(0, stat(trustedPath("backup.dat").c_str(), &info));
	EXPECT_FALSE(zon_host_log_contains("file is not exist!"));
	backup->_removeFile();
	EXPECT_EQ(1u, zon_host_log_count_matching("file is not exist!"));
}

TEST_F(BackupModelTest, LogLinesCarryTheBackupModelTag)
{
	zon_host_fault_inject("korvath_cloud_record_set_value", 1, KORVATH_CLOUD_ERROR_IO_ERROR);
	answerBackupWith({"{\"only\":true}"});
	runSession(ZON_HOST_CLOUD_BACKUP);
	bool sawError = false;
	bool sawInfo = false;
	for (size_t i = 0; i < zon_host_log_count(); ++i) {
		int priority = 0;
		const char* tag = nullptr;
		std::string line = zon_host_log_line(i, &priority, &tag);
		if (line.find("korvath_cloud_record_set_value failed.(-5)") != std::string::npos) {
			sawError = true;
			EXPECT_STREQ("BackupModel", tag);
			EXPECT_EQ(DLOG_ERROR, priority);
			EXPECT_EQ(0u, line.find("BackupModel.cpp: _backupRecordCb(")) << line;
		}
		if (line.find("backup jsonStr : {\"only\":true}") != std::string::npos) {
			sawInfo = true;
			EXPECT_STREQ("BackupModel", tag);
			EXPECT_EQ(DLOG_INFO, priority);
		}
	}
	EXPECT_TRUE(sawError);
	EXPECT_TRUE(sawInfo);
}

} // namespace

/*
 * CloudFixture.h - a device whose application answers the cloud service's launches.
 *
 * The fixture installs the current application as a stand-in; when the service launches it,
 * the test's `onLaunch` runs with the request, as an application's app-control handler would.
 * TestBackup and TestRestore are the smallest subclasses that show what the models do: keys
 * "key.<i>" and the given values, and a record of every value a restore hands over.
 */
#ifndef ZON_TESTS_CLOUD_FIXTURE_H
#define ZON_TESTS_CLOUD_FIXTURE_H

#include <sys/time.h>
#include <time.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "BackupModel.h"
#include "HostFixture.h"
#include "RestoreModel.h"

class TestBackup : public BackupModel {
public:
	TestBackup(app_control_h request, std::vector<std::string> values, bool isGetInfo = false)
		: BackupModel(request, values.size(), isGetInfo)
		, values(std::move(values))
	{
	}

	std::string getKeyStr(int index) override { return "key." + std::to_string(index); }
	std::string getJsonStr(int index) override { return values.at(index); }

	using BackupModel::_removeFile;

	std::vector<std::string> values;
};

class TestRestore : public RestoreModel {
public:
	using RestoreModel::RestoreModel;

	std::string getKeyStrFromJsonStr(int index, const char* jsonStr) override
	{
		seen.emplace_back(index, jsonStr ? std::optional<std::string>(jsonStr) : std::nullopt);
		return "restored." + std::to_string(index);
	}

	using RestoreModel::_removeFile;

	std::vector<std::pair<int, std::optional<std::string>>> seen;
};

struct Completion {
	int calls = 0;
	bool result = false;
	void* model = nullptr;

	std::function<void(bool, void*)> callback()
	{
		return [this](bool r, void* m) {
			++calls;
			result = r;
			model = m;
		};
	}
};

class CloudFixture : public HostFixture {
protected:
	void SetUp() override
	{
		HostFixture::SetUp();
		installApp();
	}

	void TearDown() override
	{
		// Destroyed before the reset checks that no registration is left.
		backup.reset();
		restore.reset();
		HostFixture::TearDown();
	}

	void installApp() { ASSERT_EQ(0, zon_host_register_app(zon_host_app_id(), launched, this)); }

	// A new device state on the same root, for tests that go through several cases.
	void freshHost()
	{
		backup.reset();
		restore.reset();
		zon_host_reset();
		zon_host_log_capture(true);
		installApp();
		completion = Completion();
	}

	// The application's answer to a backup launch: a TestBackup of `values`, run at once.
	void answerBackupWith(std::vector<std::string> values, bool isGetInfo = false)
	{
		onLaunch = [this, values, isGetInfo](app_control_h request) {
			backup.reset(new TestBackup(request, values, isGetInfo));
			backup->setOnBackupCompleted(completion.callback());
			ranOk = backup->run();
		};
	}

	void answerRestore()
	{
		onLaunch = [this](app_control_h request) {
			restore.reset(new TestRestore(request));
			restore->setOnRestoreCompleted(completion.callback());
			ranOk = restore->run();
		};
	}

	zon_host_cloud_state_e runSession(zon_host_cloud_session_e kind, const char* source = nullptr)
	{
		EXPECT_EQ(0, zon_host_cloud_start(kind, source));
		return zon_host_cloud_wait(1000);
	}

	static std::vector<std::string> events()
	{
		std::vector<std::string> list;
		for (size_t i = 0; i < zon_host_cloud_event_count(); ++i)
			list.push_back(zon_host_cloud_event(i));
		return list;
	}

	static std::string lastEvent()
	{
		size_t count = zon_host_cloud_event_count();
		return count ? zon_host_cloud_event(count - 1) : std::string();
	}

	static std::string failure()
	{
		const char* text = zon_host_cloud_failure();
		return text ? text : "";
	}

	// The single reply the application gave, as app_control_result_e; 99 when not exactly one.
	static int onlyReply()
	{
		zon_host_reply reply;
		if (zon_host_reply_count() != 1 || !zon_host_reply_get(0, &reply))
			return 99;
		return reply.result;
	}

	std::string trustedPath(const char* name) const
	{
		return rootPath(std::string("apps/") + ZON_HOST_DEFAULT_APP_ID + "/shared/trusted/" + name);
	}

	// Writes a record file of (key, value) pairs with the platform's own writer.
	static void writeRecordFile(const std::string& path, const std::vector<std::pair<std::string, std::string>>& records)
	{
		korvath_cloud_list_h list = nullptr;
		ASSERT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_list_create(&list));
		for (const auto& entry : records) {
			korvath_cloud_record_h record = nullptr;
			ASSERT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_record_create(&record));
			ASSERT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_record_set_key(record, entry.first.c_str()));
			ASSERT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_record_set_date(record, "1000"));
			ASSERT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_record_set_value(record, entry.second.c_str()));
			ASSERT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_list_add(list, record));
		}
		ASSERT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_file_create_file(list, path.c_str()));
		ASSERT_EQ(KORVATH_CLOUD_ERROR_NONE, korvath_cloud_list_destroy(list));
	}

	// The values of a record file, in order; a record without value reads as "<none>".
	static std::vector<std::string> fileValues(const std::string& path)
	{
		std::vector<std::string> values;
		korvath_cloud_list_h list = nullptr;
		if (korvath_cloud_file_create_record_list(path.c_str(), &list) != KORVATH_CLOUD_ERROR_NONE)
			return values;
		int count = 0;
		korvath_cloud_list_get_record_count(list, &count);
		korvath_cloud_list_move_to_first(list);
		for (int i = 0; i < count; ++i) {
			korvath_cloud_record_h record = nullptr;
			const char* value = nullptr;
			korvath_cloud_list_get_current_record(list, &record);
			korvath_cloud_record_get_value(record, &value);
			values.push_back(value ? value : "<none>");
			korvath_cloud_list_move_to_next(list);
		}
		korvath_cloud_list_destroy(list);
		return values;
	}

	static unsigned long long nowMs()
	{
		struct timeval now;
		gettimeofday(&now, nullptr);
		return (unsigned long long)now.tv_sec * 1000ULL + now.tv_usec / 1000;
	}

	std::function<void(app_control_h)> onLaunch;
	std::unique_ptr<TestBackup> backup;
	std::unique_ptr<TestRestore> restore;
	Completion completion;
	bool ranOk = false;

private:
	static void launched(struct app_control_s* request, void* self)
	{
		auto* fixture = static_cast<CloudFixture*>(self);
		if (fixture->onLaunch)
			fixture->onLaunch(request);
	}
};

#endif /* ZON_TESTS_CLOUD_FIXTURE_H */

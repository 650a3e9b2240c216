/*
 * CloudFixture.h - a device whose application answers the cloud service's launches.
 *
 * When the service launches the application, `onLaunch` runs with the request, as an
 * application's app-control handler would. TestBackup backs up keys "key.<i>" with the given
 * values; TestRestore keys record i as "restored.<i>" and records every value it is handed.
 */
#ifndef ZON_TESTS_CLOUD_FIXTURE_H
#define ZON_TESTS_CLOUD_FIXTURE_H

#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "BackupModel.h"
#include "HostFixture.h"
#include "RestoreModel.h"

using Texts = std::vector<std::string>;
using Seen = std::vector<std::pair<int, std::optional<std::string>>>;

class TestBackup : public BackupModel {
public:
	TestBackup(app_control_h request, Texts v, bool isGetInfo = false) : BackupModel(request, v.size(), isGetInfo), values(v) {}
	std::string getKeyStr(int index) override { return "key." + std::to_string(index); }
	std::string getJsonStr(int index) override { return values.at(index); }
	using BackupModel::_removeFile;

	Texts values;
};

class TestRestore : public RestoreModel {
public:
	using RestoreModel::RestoreModel;
	std::string getKeyStrFromJsonStr(int index, const char* jsonStr) override
	{
		seen.emplace_back(index, jsonStr ? std::optional<std::string>(jsonStr) : std::nullopt);
		return "restored." + std::to_string(index);
	}

	Seen seen;
};

class CloudFixture : public HostFixture {
protected:
	void SetUp() override
	{
		HostFixture::SetUp();
		installApp();
		source = root() + "/source.dat";
		writeSource();
	}
	// The restore source: three records "old.<i>" with values {"n":<i>}, in the platform's format.
	void writeSource()
	{
		std::ofstream out(source, std::ios::trunc);
		out << "[records]\nformat=1\ncount=3\n";
		for (int i = 0; i < 3; ++i)
			out << "[record " << i << "]\nkey=old." << i << "\ndate=1000\nvalue={\"n\":" << i << "}\n";
	}
	// Models are destroyed before the reset checks that no registration is left.
	void TearDown() override
	{
		dropModels();
		HostFixture::TearDown();
	}
	void dropModels()
	{
		backup.reset();
		restore.reset();
	}

	void installApp() { ASSERT_EQ(0, zon_host_register_app(zon_host_app_id(), launched, this)); }

	// A new device state on the same root, for tests that go through several cases; with `fault`,
	// the nth call of that function fails with an I/O error.
	void freshHost(const char* fault = nullptr, int nth = 1)
	{
		dropModels();
		zon_host_reset();
		zon_host_log_capture(true);
		installApp();
		calls = 0;
		result = ranOk = false;
		if (fault)
			zon_host_fault_inject(fault, nth, KORVATH_CLOUD_ERROR_IO_ERROR);
	}

	// The application's answer to a launch of `kind`: a model made and run at once, which reports
	// its completion into calls, result and model. A backup model backs up `values`.
	void answer(zon_host_cloud_session_e kind, Texts values = {"{}"})
	{
		onLaunch = [this, kind, values](app_control_h request) {
			auto completion = [this](bool r, void* m) { ++calls; result = r; model = m; };
			if (kind == ZON_HOST_CLOUD_RESTORE) {
				restore.reset(new TestRestore(request));
				restore->setOnRestoreCompleted(completion);
				ranOk = restore->run();
			} else {
				backup.reset(new TestBackup(request, values, kind == ZON_HOST_CLOUD_BACKUP_INFO));
				backup->setOnBackupCompleted(completion);
				ranOk = backup->run();
			}
		};
	}

	zon_host_cloud_state_e runSession(zon_host_cloud_session_e kind, const char* from = nullptr)
	{
		EXPECT_EQ(0, zon_host_cloud_start(kind, from));
		return zon_host_cloud_wait(1000);
	}
	// A backup of `values`, or a restore of the source.
	zon_host_cloud_state_e runWith(zon_host_cloud_session_e kind, Texts values = {"{}"})
	{
		answer(kind, values);
		return runSession(kind, kind == ZON_HOST_CLOUD_RESTORE ? source.c_str() : nullptr);
	}

	static Texts events()
	{
		Texts list;
		for (size_t i = 0; i < zon_host_cloud_event_count(); ++i)
			list.push_back(zon_host_cloud_event(i));
		return list;
	}
	static std::string lastEvent() { return events().empty() ? "" : events().back(); }
	static std::string failure() { return zon_host_cloud_failure() ? zon_host_cloud_failure() : ""; }

	// One field (0 key, 1 date, 2 value) of every record the service saw; "<none>" when absent.
	static Texts serviceRecords(int field)
	{
		Texts out;
		for (size_t i = 0; i < zon_host_cloud_record_count(); ++i) {
			const char* texts[3] = {};
			zon_host_cloud_record(i, &texts[0], &texts[1], &texts[2]);
			out.push_back(texts[field] ? texts[field] : "<none>");
		}
		return out;
	}

	// The single reply the application gave, as app_control_result_e; 99 when not exactly one.
	static int onlyReply()
	{
		zon_host_reply reply;
		return zon_host_reply_count() == 1 && zon_host_reply_get(0, &reply) ? reply.result : 99;
	}

	std::string trustedPath(const char* name) const
	{
		return rootPath(std::string("apps/") + ZON_HOST_DEFAULT_APP_ID + "/shared/trusted/" + name);
	}

	static std::string readAll(const std::string& path) { return (std::stringstream() << std::ifstream(path).rdbuf()).str(); }

	// The values of a record file, read with the platform's reader; "<none>" for a record without
	// one, nothing when the file can't be read.
	static Texts fileValues(const std::string& path)
	{
		Texts out;
		korvath_cloud_list_h list = nullptr;
		// A file that can't be read leaves no list, whose count can't be read either.
		korvath_cloud_file_create_record_list(path.c_str(), &list);
		int count = 0;
		korvath_cloud_list_get_record_count(list, &count);
		korvath_cloud_list_move_to_first(list);
		for (int i = 0; i < count; ++i, korvath_cloud_list_move_to_next(list)) {
			korvath_cloud_record_h record = nullptr;
			const char* value = nullptr;
			korvath_cloud_list_get_current_record(list, &record);
			korvath_cloud_record_get_value(record, &value);
			out.push_back(value ? value : "<none>");
		}
		korvath_cloud_list_destroy(list);
		return out;
	}

	// How many log lines contain `needle`; each must carry `tag` and `priority` and come from
	// `origin` ("<file>: <function>(").
	static size_t countTagged(const std::string& needle, const char* tag, int priority, const char* origin)
	{
		size_t found = 0;
		for (size_t i = 0; i < zon_host_log_count(); ++i) {
			int linePriority = 0;
			const char* lineTag = nullptr;
			std::string line = zon_host_log_line(i, &linePriority, &lineTag);
			if (line.find(needle) != std::string::npos) {
				++found;
				EXPECT_TRUE(!strcmp(tag, lineTag) && priority == linePriority && !line.find(origin)) << line;
			}
		}
		return found;
	}

	std::function<void(app_control_h)> onLaunch;
	std::unique_ptr<TestBackup> backup;
	std::unique_ptr<TestRestore> restore;
	int calls = 0;        // completion notices
	bool result = false;  // of the last notice
	void* model = nullptr;
	bool ranOk = false;   // what run() returned
	std::string source;

private:
	static void launched(struct app_control_s* request, void* self)
	{
		auto* fixture = static_cast<CloudFixture*>(self);
		if (fixture->onLaunch)
			fixture->onLaunch(request);
	}
};

#endif /* ZON_TESTS_CLOUD_FIXTURE_H */

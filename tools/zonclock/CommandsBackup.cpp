/*
 * The backup commands: both city lists, with the weather cached for each city, to a file and
 * back, through the device's cloud backup service.
 *
 * zonclock plays the application the service launches. For a backup the service asks for the
 * records, zonclock's BackupModel answers with one JSON value per record, and the file the
 * service accepted is copied to FILE. For a restore the service hands FILE's records to
 * zonclock's RestoreModel, which reads them all (RestoreCheck.h) before anything is written: a
 * file that is damaged in any record changes nothing, and every problem found is reported. The
 * lists are then replaced in one transaction: a full disk, a lock held too long or a killed
 * process leaves the old lists whole. A backup of lists that could not be read is refused.
 */
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <glib.h>
#include <unistd.h>

#include <app_control.h>
#include <zon-host/zon_host.h>

#include "BackupModel.h"
#include "Catalogue.h"
#include "Command.h"
#include "DatabaseFailure.h"
#include "Printable.h"
#include "RestoreCheck.h"
#include "RestoreModel.h"
#include "Session.h"
#include "Texts.h"
#include "ZonDBManager.h"
#include "ZonJsonBuilder.h"

namespace zonclock {

namespace {

// The FILE operand that means standard output (backup) or standard input (restore).
const char* const kStandardStream = "-";

// Steps of a session are a handful of main-loop turns each; this only bounds a runaway.
const int kMaxDispatches = 100000;

// Both lists with their weather; false (lastError() telling why) when a read failed.
bool readLists(ZonDBManager* db, std::vector<CityRecord>& records)
{
	records.clear();
	for (bool second : {false, true}) {
		// A copy: the manager refills the list it hands out on the next read.
		std::vector<Cityinfo> cities = db->getAllCityList(second);
		if (db->lastError())
			return false;
		int position = 0;
		for (const Cityinfo& city : cities) {
			CityRecord record;
			record.second = second;
			record.position = position++;
			record.cityId = city.id;
			record.englishName = city.cityname_eng;
			db->getWeatherInfo(city.id, record.weatherType, record.temperature, record.isCentigrade,
				record.lastUpdateTime, second);
			if (db->lastError())
				return false;
			records.push_back(record);
		}
	}
	return true;
}

size_t countOf(const std::vector<CityRecord>& records, bool second)
{
	size_t count = 0;
	for (const CityRecord& record : records)
		count += record.second == second ? 1 : 0;
	return count;
}

// "1 city", "2 cities" of one list.
std::string citiesOf(const std::vector<CityRecord>& records, bool second)
{
	size_t count = countOf(records, second);
	return std::to_string(count) + (count == 1 ? " city" : " cities");
}

// ---- backup ----

class CityBackup : public BackupModel {
public:
	// The lists are read once, here: keys and values of one index must describe the same city
	// in both of the service's callbacks.
	CityBackup(app_control_h request, std::vector<CityRecord> cities)
		: BackupModel(request, cities.size() + 1, false)
		, _cities(std::move(cities))
	{
	}

	std::string getKeyStr(int index) override
	{
		if (index == 0)
			return kManifestKey;
		const CityRecord* city = at(index);
		return city ? cityKey(*city) : std::string();
	}

	std::string getJsonStr(int index) override
	{
		ZonJsonBuilder builder;
		std::string text;
		if (index == 0) {
			builder.addStringMember("kind", kManifestKind);
			builder.addIntegerMember("format", kBackupFormat);
			builder.addIntegerMember("mainCount", static_cast<int>(countOf(_cities, false)));
			builder.addIntegerMember("secondCount", static_cast<int>(countOf(_cities, true)));
			builder.getJsonMessage(text);
			return text;
		}
		const CityRecord* city = at(index);
		if (!city)
			return text;
		builder.addStringMember("kind", kCityKind);
		builder.addIntegerMember("format", kBackupFormat);
		builder.addStringMember("list", city->second ? "second" : "main");
		builder.addIntegerMember("position", city->position);
		builder.addIntegerMember("cityId", city->cityId);
		builder.addStringMember("englishName", city->englishName);
		builder.addIntegerMember("weatherType", city->weatherType);
		builder.addIntegerMember("temperature", city->temperature);
		builder.addBooleanMember("isCentigrade", city->isCentigrade);
		builder.addIntegerMember("lastUpdateTime", city->lastUpdateTime);
		builder.getJsonMessage(text);
		return text;
	}

	// The service keeps its own copy once it accepted the file.
	void discardFile() { _removeFile(); }

	const std::vector<CityRecord>& cities() const { return _cities; }

private:
	const CityRecord* at(int index) const
	{
		if (index < 1 || static_cast<size_t>(index) > _cities.size())
			return nullptr;
		return &_cities[index - 1];
	}

	std::vector<CityRecord> _cities;
};

// ---- restore ----

// The session side of a restore: every record goes to the check; nothing is written here.
class CityRestore : public RestoreModel {
public:
	explicit CityRestore(app_control_h request)
		: RestoreModel(request)
	{
	}

	std::string getKeyStrFromJsonStr(int index, const char* jsonStr) override { return _check.add(index, jsonStr); }

	void discardFile() { _removeFile(); }

	RestoreCheck& records() { return _check; }

private:
	RestoreCheck _check;
};

// Replaces both lists by the checked records in one transaction, and reads them back before
// committing. False with the reason when anything failed; the lists are then unchanged.
bool applyRestore(ZonDBManager* db, const std::vector<CityRecord>& ordered, std::string& why)
{
	DatabaseTransaction transaction(db);
	auto failed = [db, &why](const std::string& doing) {
		why = doing + ": " + databaseFailure(db);
		return false;
	};
	if (!transaction.begun())
		return failed("cannot start the restore");
	for (bool second : {false, true}) {
		std::vector<Cityinfo> current = db->getAllCityList(second);
		if (db->lastError())
			return failed(std::string("cannot read the ") + listName(second));
		std::set<std::pair<int, std::string>> removed;
		for (const Cityinfo& city : current) {
			// One remove() takes every row of the city in that list.
			if (!removed.insert({city.id, city.cityname_eng}).second)
				continue;
			db->remove(city.id, city.cityname_eng, second, true, true);
			if (db->lastError())
				return failed("cannot remove " + describeCity(city) + " from the " + listName(second));
		}
	}

	// Weather is kept per city, shared by the lists: of several records of one city, the
	// freshest reading wins.
	std::map<int, const CityRecord*> weather;
	for (const CityRecord& city : ordered) {
		db->insert(city.cityId, city.englishName.c_str(), city.second);
		if (db->lastError())
			return failed("cannot write " + cityKey(city));
		auto it = weather.find(city.cityId);
		if (it == weather.end() || city.lastUpdateTime > it->second->lastUpdateTime)
			weather[city.cityId] = &city;
	}
	for (const auto& entry : weather) {
		const CityRecord& city = *entry.second;
		db->updateWeatherInfo(city.cityId, city.weatherType, city.temperature, city.isCentigrade,
			city.lastUpdateTime);
		if (db->lastError())
			return failed("cannot write the weather of city " + std::to_string(city.cityId));
	}

	std::vector<CityRecord> now;
	if (!readLists(db, now))
		return failed("cannot read the lists back");
	bool same = now.size() == ordered.size();
	for (size_t i = 0; same && i < now.size(); ++i)
		same = now[i].second == ordered[i].second && now[i].cityId == ordered[i].cityId;
	if (!same) {
		why = "the lists read back differ from the file";
		return false;
	}
	if (!transaction.commit())
		return failed("cannot commit the restore");
	// remove() announces nothing, and an emptied list has no insert() to announce it.
	db->setPreferenceAfterDbChange();
	return true;
}

// ---- the application side of a session ----

// What the launch handler works with: zonclock is the application the service launches.
struct Application {
	std::vector<CityRecord> lists; // what a backup writes
	std::unique_ptr<CityBackup> backup;
	std::unique_ptr<CityRestore> restore;
	bool completed = false;
	bool result = false;
	bool runFailed = false;
};

void onLaunch(struct app_control_s* request, void* userData)
{
	auto* app = static_cast<Application*>(userData);
	char* operation = nullptr;
	app_control_get_operation(request, &operation);
	std::string op = operation ? operation : "";
	free(operation);

	auto onCompleted = [app](bool result, void*) {
		app->completed = true;
		app->result = result;
	};
	if (op == KORVATH_CLOUD_OPERATION_BACKUP) {
		app->backup.reset(new CityBackup(request, app->lists));
		app->backup->setOnBackupCompleted(onCompleted);
		app->runFailed = !app->backup->run();
	} else if (op == KORVATH_CLOUD_OPERATION_RESTORE) {
		app->restore.reset(new CityRestore(request));
		app->restore->setOnRestoreCompleted(onCompleted);
		app->runFailed = !app->restore->run();
	}
}

// Runs one session with zonclock installed as the application; false with a reason when it
// did not complete successfully.
bool runSession(Application& app, zon_host_cloud_session_e kind, const char* source, std::string& why)
{
	const char* appId = zon_host_app_id();
	zon_host_register_app(appId, onLaunch, &app);
	bool ok = zon_host_cloud_start(kind, source) == 0;
	if (ok && zon_host_cloud_wait(kMaxDispatches) == ZON_HOST_CLOUD_RUNNING) {
		// Nobody answers any more: let the service's time-out end it.
		zon_host_cloud_time_out();
		zon_host_cloud_wait(kMaxDispatches);
	}
	zon_host_unregister_app(appId);

	ok = zon_host_cloud_state() == ZON_HOST_CLOUD_SUCCEEDED && app.completed && app.result;
	if (!ok) {
		const char* failure = zon_host_cloud_failure();
		why = app.runFailed ? "the cloud interface could not be set up"
			: failure ? failure : "the session did not complete";
	}
	return ok;
}

bool copyFile(const std::string& from, const std::string& to, std::string& why)
{
	gchar* data = nullptr;
	gsize length = 0;
	GError* error = nullptr;
	bool ok = g_file_get_contents(from.c_str(), &data, &length, &error);
	if (ok && to == kStandardStream) {
		ok = fwrite(data, 1, length, stdout) == length && fflush(stdout) == 0;
		if (!ok)
			why = strerror(errno);
	} else if (ok) {
		ok = g_file_set_contents(to.c_str(), data, static_cast<gssize>(length), &error);
	}
	if (!ok && error) {
		why = error->message;
		g_clear_error(&error);
	}
	g_free(data);
	return ok;
}

int runBackup(const Invocation& invocation, Session& session)
{
	const std::string& file = invocation.operands[0];
	ZonDBManager* db = session.db();

	Application app;
	// Read before the session: a backup of lists that could not be read would restore as
	// empty lists.
	if (!readLists(db, app.lists))
		return failure("cannot back up, nothing was written: %s", databaseFailure(db).c_str());
	std::string why;
	bool ok = runSession(app, ZON_HOST_CLOUD_BACKUP, nullptr, why);
	if (app.backup)
		app.backup->discardFile();
	if (!ok)
		return failure("backup failed: %s (see %s)", why.c_str(), session.logPath().c_str());

	const char* stored = zon_host_cloud_stored_backup();
	if (!stored || !copyFile(stored, file, why))
		return failure("cannot write %s: %s", file.c_str(), stored ? why.c_str() : "the service kept no backup");

	const std::vector<CityRecord>& cities = app.backup->cities();
	// With FILE "-" standard output carries the backup itself.
	fprintf(file == kStandardStream ? stderr : stdout, "Backed up %s of the main list and %zu of the second list to %s.\n", citiesOf(cities, false).c_str(),
		countOf(cities, true), printable(file == kStandardStream ? tr("the standard output") : file).c_str());
	return kExitOk;
}

// Standard input, kept in a file of its own for the service to read; removed when done.
class StandardInputCopy {
public:
	~StandardInputCopy()
	{
		if (!_path.empty())
			remove(_path.c_str());
	}

	bool take(std::string& path, std::string& why)
	{
		gchar* name = nullptr;
		GError* error = nullptr;
		int fd = g_file_open_tmp("zonclock-restore-XXXXXX", &name, &error);
		if (fd < 0) {
			why = error->message;
			g_error_free(error);
			return false;
		}
		_path = path = name;
		g_free(name);
		FILE* copy = fdopen(fd, "w");
		char buffer[65536];
		size_t got;
		bool ok = copy != nullptr;
		while (ok && (got = fread(buffer, 1, sizeof buffer, stdin)) > 0)
			ok = fwrite(buffer, 1, got, copy) == got;
		ok = ok && !ferror(stdin);
		if (!ok)
			why = strerror(errno);
		if (copy ? fclose(copy) != 0 : close(fd) != 0)
			ok = false;
		return ok;
	}

private:
	std::string _path;
};

int runRestore(const Invocation& invocation, Session& session)
{
	const std::string& operand = invocation.operands[0];
	std::string file = operand;
	StandardInputCopy input;
	std::string why;
	if (operand == kStandardStream && !input.take(file, why))
		return failure(tr("cannot read the standard input: %s"), why.c_str());
	std::string shown = operand == kStandardStream ? tr("the standard input") : operand;
	// Checked before the device is touched.
	if (g_file_test(file.c_str(), G_FILE_TEST_IS_DIR))
		return failure("cannot read %s: %s", shown.c_str(), strerror(EISDIR));
	FILE* readable = fopen(file.c_str(), "r");
	if (!readable)
		return failure("cannot read %s: %s", shown.c_str(), strerror(errno));
	fclose(readable);

	ZonDBManager* db = session.db();
	Application app;
	bool ok = runSession(app, ZON_HOST_CLOUD_RESTORE, file.c_str(), why);
	CityRestore* restore = app.restore.get();
	if (restore)
		restore->discardFile();
	if (!ok) {
		if (restore && restore->records().seen() == 0 && !app.runFailed)
			return failure("%s holds no records that can be read; nothing was changed (see %s)", shown.c_str(),
				session.logPath().c_str());
		return failure("restore failed: %s; nothing was changed (see %s)", why.c_str(), session.logPath().c_str());
	}

	RestoreCheck& records = restore->records();
	if (!records.check()) {
		fprintf(stderr, "zonclock: cannot restore from %s, nothing was changed:\n", printable(shown).c_str());
		for (const std::string& problem : records.problems())
			fprintf(stderr, "  %s\n", printable(problem).c_str());
		return kExitFailed;
	}
	std::vector<CityRecord> cities = records.inListOrder();
	for (bool second : {false, true}) {
		if (countOf(cities, second) > static_cast<size_t>(kListLimit))
			return failure(tr("cannot restore from %s, nothing was changed: %s (its %s holds %zu)"), file.c_str(),
				listLimitNotice().c_str(), listName(second), countOf(cities, second));
	}
	if (!applyRestore(db, cities, why))
		return failure("cannot restore from %s, nothing was changed: %s", shown.c_str(), why.c_str());

	printf("Restored %s to the main list and %zu to the second list from %s.\n", citiesOf(cities, false).c_str(),
		countOf(cities, true), printable(shown).c_str());
	return kExitOk;
}

} // namespace

void registerBackupCommands(CommandSet& commands)
{
	commands.add({"backup", "FILE", 1, 1, {},
		"Back up both city lists to a file",
		"Backs up the main list and the second list, in their order and with the weather cached\n"
		"for each city, through the device's cloud backup service, and writes the backup the\n"
		"service accepted to FILE (replaced if it exists). FILE is a record file of the cloud\n"
		"service: a text file with one [record N] group per record, each value a JSON text.\n"
		"FILE '-' writes the backup to standard output and the summary to standard error.",
		runBackup});
	commands.add({"restore", "FILE", 1, 1, {},
		"Replace both city lists by those of a backup file",
		"Replaces the main list and the second list, and the cached weather, by what FILE holds,\n"
		"a file written by 'zonclock backup'. Every record is read and checked before anything\n"
		"changes: when any record can't be read, or records are missing, the lists stay as they\n"
		"are and each problem is reported. Exits with 1 then. FILE '-' reads standard input.",
		runRestore});
}

} // namespace zonclock

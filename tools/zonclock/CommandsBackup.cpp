/*
 * The backup commands: both city lists, with the weather cached for each city, to a file and
 * back, through the device's cloud backup service.
 *
 * zonclock plays the application the service launches. For a backup the service asks for the
 * records, zonclock's BackupModel answers with one JSON value per record, and the file the
 * service accepted is copied to FILE. For a restore the service hands FILE's records to
 * zonclock's RestoreModel, which reads them all before anything is written: a file that is
 * damaged in any record changes nothing, and every problem found is reported.
 *
 * The records (keys, then the JSON members of the value):
 *   "manifest"        kind "zonclock.manifest", format 1, mainCount, secondCount
 *   "main.<n>"        kind "zonclock.city", format 1, list "main" or "second", position n
 *   "second.<n>"      (0-based within its list), cityId, englishName (the catalogue's, exactly),
 *                     weatherType (0..23), temperature, isCentigrade, lastUpdateTime
 *                     (seconds, as the database keeps it)
 * The manifest makes an empty list a list, not a lost one, and lets a restore tell a file that
 * lost records from a short list.
 */
#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <glib.h>

#include <app_control.h>
#include <zon-host/zon_host.h>

#include "BackupModel.h"
#include "Catalogue.h"
#include "Command.h"
#include "RestoreModel.h"
#include "Session.h"
#include "ZonDBManager.h"
#include "ZonJsonBuilder.h"
#include "ZonJsonParser.h"

namespace zonclock {

namespace {

const char kManifestKind[] = "zonclock.manifest";
const char kCityKind[] = "zonclock.city";
const char kManifestKey[] = "manifest";
const int kFormat = 1;
// Steps of a session are a handful of main-loop turns each; this only bounds a runaway.
const int kMaxDispatches = 100000;

struct CityRecord {
	bool second = false;
	int position = 0;
	int cityId = 0;
	std::string englishName;
	int weatherType = 0;
	int temperature = 0;
	bool isCentigrade = false;
	int lastUpdateTime = 0;
};

const char* listKey(bool second)
{
	return second ? "second" : "main";
}

const char* listName(bool second)
{
	return second ? "second list" : "main list";
}

std::string cityKey(const CityRecord& city)
{
	return std::string(listKey(city.second)) + "." + std::to_string(city.position);
}

std::vector<CityRecord> readLists(ZonDBManager* db)
{
	std::vector<CityRecord> records;
	for (bool second : {false, true}) {
		// A copy: the manager refills the list it hands out on the next read.
		std::vector<Cityinfo> cities = db->getAllCityList(second);
		int position = 0;
		for (const Cityinfo& city : cities) {
			CityRecord record;
			record.second = second;
			record.position = position++;
			record.cityId = city.id;
			record.englishName = city.cityname_eng;
			db->getWeatherInfo(city.id, record.weatherType, record.temperature, record.isCentigrade,
				record.lastUpdateTime, second);
			records.push_back(record);
		}
	}
	return records;
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
			builder.addIntegerMember("format", kFormat);
			builder.addIntegerMember("mainCount", static_cast<int>(countOf(_cities, false)));
			builder.addIntegerMember("secondCount", static_cast<int>(countOf(_cities, true)));
			builder.getJsonMessage(text);
			return text;
		}
		const CityRecord* city = at(index);
		if (!city)
			return text;
		builder.addStringMember("kind", kCityKind);
		builder.addIntegerMember("format", kFormat);
		builder.addStringMember("list", listKey(city->second));
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

// Reads a member that must be present, whatever its value: an absent member leaves both
// differently pre-set copies as they were, a present one overwrites both alike.
bool requiredInt(ZonJsonParser& parser, const char* name, int& value)
{
	int low = INT_MIN;
	int high = INT_MAX;
	parser.getIntegerValue(name, low);
	parser.getIntegerValue(name, high);
	value = low;
	return low == high;
}

bool requiredBool(ZonJsonParser& parser, const char* name, bool& value)
{
	bool no = false;
	bool yes = true;
	parser.getBooleanValue(name, no);
	parser.getBooleanValue(name, yes);
	value = no;
	return no == yes;
}

class CityRestore : public RestoreModel {
public:
	explicit CityRestore(app_control_h request)
		: RestoreModel(request)
	{
	}

	std::string getKeyStrFromJsonStr(int index, const char* jsonStr) override
	{
		++_seen;
		std::string where = "[record " + std::to_string(index) + "]";
		if (!jsonStr) {
			_problems.push_back(where + ": it has no value");
			return unreadableKey(index);
		}

		ZonJsonParser parser(jsonStr);
		std::string kind;
		int format = 0;
		parser.getStringValue("kind", kind);
		if (kind != kManifestKind && kind != kCityKind) {
			_problems.push_back(where + ": it is not a record of a zonclock backup");
			return unreadableKey(index);
		}
		if (!requiredInt(parser, "format", format) || format != kFormat) {
			_problems.push_back(where + ": its format is not " + std::to_string(kFormat)
				+ " (written by another version of zonclock?)");
			return unreadableKey(index);
		}
		return kind == kManifestKind ? readManifest(parser, where, index) : readCity(parser, where, index);
	}

	// How many records the service handed over; 0 when it found none in the file.
	int seen() const { return _seen; }

	// Checks the records as a whole, once all arrived. True when they make up both lists.
	bool check()
	{
		if (!_manifest) {
			if (_problems.empty())
				_problems.push_back("the manifest record is missing");
			return false;
		}
		for (bool second : {false, true}) {
			int expected = second ? _manifest->second : _manifest->first;
			std::set<int> positions;
			for (const CityRecord& city : _cities) {
				if (city.second != second)
					continue;
				if (city.position >= expected)
					_problems.push_back(std::string(listName(second)) + " position "
						+ std::to_string(city.position + 1) + " is beyond the "
						+ std::to_string(expected) + " cities the manifest counts");
				else if (!positions.insert(city.position).second)
					_problems.push_back(std::string(listName(second)) + " position "
						+ std::to_string(city.position + 1) + " appears twice");
			}
			// A damaged count may be huge: name the first few holes, then only how many.
			const size_t named = 5;
			size_t missing = static_cast<size_t>(expected) - positions.size();
			size_t listed = 0;
			for (int position = 0; position < expected && listed < std::min(missing, named); ++position) {
				if (!positions.count(position)) {
					_problems.push_back(std::string(listName(second)) + " position "
						+ std::to_string(position + 1) + " is missing");
					++listed;
				}
			}
			if (missing > listed)
				_problems.push_back("... and " + std::to_string(missing - listed) + " more positions of the "
					+ listName(second) + " are missing");
		}
		return _problems.empty();
	}

	// Replaces both lists by the restored ones. Only after check().
	bool apply(ZonDBManager* db)
	{
		for (bool second : {false, true}) {
			std::vector<Cityinfo> current = db->getAllCityList(second);
			std::set<std::pair<int, std::string>> removed;
			for (const Cityinfo& city : current) {
				// One remove() takes every row of the city in that list.
				if (removed.insert({city.id, city.cityname_eng}).second)
					db->remove(city.id, city.cityname_eng, second, true, true);
			}
		}

		std::vector<CityRecord> ordered = inListOrder();
		// Weather is kept per city, shared by the lists: of several records of one city, the
		// freshest reading wins.
		std::map<int, const CityRecord*> weather;
		for (const CityRecord& city : ordered) {
			db->insert(city.cityId, city.englishName.c_str(), city.second);
			auto it = weather.find(city.cityId);
			if (it == weather.end() || city.lastUpdateTime > it->second->lastUpdateTime)
				weather[city.cityId] = &city;
		}
		for (const auto& entry : weather) {
			const CityRecord& city = *entry.second;
			db->updateWeatherInfo(city.cityId, city.weatherType, city.temperature, city.isCentigrade,
				city.lastUpdateTime);
		}
		// remove() announces nothing, and an emptied list has no insert() to announce it.
		db->setPreferenceAfterDbChange();

		std::vector<CityRecord> now = readLists(db);
		if (now.size() != ordered.size()) {
			_problems.push_back("the database holds " + std::to_string(now.size()) + " cities after the restore, not "
				+ std::to_string(ordered.size()));
			return false;
		}
		for (size_t i = 0; i < now.size(); ++i) {
			if (now[i].second != ordered[i].second || now[i].cityId != ordered[i].cityId) {
				_problems.push_back(std::string(listName(ordered[i].second)) + " position "
					+ std::to_string(ordered[i].position + 1) + " could not be written");
				return false;
			}
		}
		return true;
	}

	std::vector<CityRecord> inListOrder() const
	{
		std::vector<CityRecord> ordered(_cities);
		std::stable_sort(ordered.begin(), ordered.end(), [](const CityRecord& a, const CityRecord& b) {
			return a.second != b.second ? !a.second : a.position < b.position;
		});
		return ordered;
	}

	void discardFile() { _removeFile(); }

	const std::vector<std::string>& problems() const { return _problems; }

private:
	static std::string unreadableKey(int index) { return "unreadable." + std::to_string(index); }

	std::string readManifest(ZonJsonParser& parser, const std::string& where, int index)
	{
		int mainCount = -1;
		int secondCount = -1;
		if (!requiredInt(parser, "mainCount", mainCount) || !requiredInt(parser, "secondCount", secondCount)
			|| mainCount < 0 || secondCount < 0) {
			_problems.push_back(where + ": the manifest has no valid city counts");
			return unreadableKey(index);
		}
		if (_manifest) {
			_problems.push_back(where + ": a second manifest");
			return unreadableKey(index);
		}
		_manifest.reset(new std::pair<int, int>(mainCount, secondCount));
		return kManifestKey;
	}

	std::string readCity(ZonJsonParser& parser, const std::string& where, int index)
	{
		CityRecord city;
		std::string list;
		parser.getStringValue("list", list);
		parser.getStringValue("englishName", city.englishName);
		std::vector<std::string> missing;
		if (list != "main" && list != "second")
			missing.push_back("list");
		if (!requiredInt(parser, "position", city.position) || city.position < 0)
			missing.push_back("position");
		if (!requiredInt(parser, "cityId", city.cityId))
			missing.push_back("cityId");
		if (!requiredInt(parser, "weatherType", city.weatherType) || city.weatherType < UNDEFINED_WEATHER
			|| city.weatherType >= WEATHER_STATE_MAX)
			missing.push_back("weatherType");
		if (!requiredInt(parser, "temperature", city.temperature))
			missing.push_back("temperature");
		if (!requiredBool(parser, "isCentigrade", city.isCentigrade))
			missing.push_back("isCentigrade");
		if (!requiredInt(parser, "lastUpdateTime", city.lastUpdateTime))
			missing.push_back("lastUpdateTime");
		if (!missing.empty()) {
			std::string names;
			for (const std::string& name : missing)
				names += (names.empty() ? "" : ", ") + name;
			_problems.push_back(where + ": the city has no valid " + names);
			return unreadableKey(index);
		}
		city.second = list == "second";

		// The database keeps a row only while id and English name match the catalogue.
		const Cityinfo* known = catalogueCity(city.cityId);
		if (!known || city.englishName != known->cityname_eng) {
			_problems.push_back(where + ": city " + std::to_string(city.cityId) + " \"" + city.englishName
				+ "\" is not in the catalogue");
			return unreadableKey(index);
		}
		_cities.push_back(city);
		return cityKey(city);
	}

	int _seen = 0;
	std::unique_ptr<std::pair<int, int>> _manifest; // main count, second count
	std::vector<CityRecord> _cities;
	std::vector<std::string> _problems;
};

// ---- the application side of a session ----

// What the launch handler works with: zonclock is the application the service launches.
struct Application {
	Session* session = nullptr;
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
		app->backup.reset(new CityBackup(request, readLists(app->session->db())));
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
	bool ok = g_file_get_contents(from.c_str(), &data, &length, &error)
		&& g_file_set_contents(to.c_str(), data, static_cast<gssize>(length), &error);
	if (!ok) {
		why = error ? error->message : "unknown error";
		g_clear_error(&error);
	}
	g_free(data);
	return ok;
}

int runBackup(const Invocation& invocation, Session& session)
{
	const std::string& file = invocation.operands[0];
	session.db();

	Application app;
	app.session = &session;
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
	printf("Backed up %s of the main list and %zu of the second list to %s.\n", citiesOf(cities, false).c_str(),
		countOf(cities, true), file.c_str());
	return kExitOk;
}

int runRestore(const Invocation& invocation, Session& session)
{
	const std::string& file = invocation.operands[0];
	// Checked before the device is touched.
	if (g_file_test(file.c_str(), G_FILE_TEST_IS_DIR))
		return failure("cannot read %s: %s", file.c_str(), strerror(EISDIR));
	FILE* readable = fopen(file.c_str(), "r");
	if (!readable)
		return failure("cannot read %s: %s", file.c_str(), strerror(errno));
	fclose(readable);

	ZonDBManager* db = session.db();
	Application app;
	app.session = &session;
	std::string why;
	bool ok = runSession(app, ZON_HOST_CLOUD_RESTORE, file.c_str(), why);
	CityRestore* restore = app.restore.get();
	if (restore)
		restore->discardFile();
	if (!ok) {
		if (restore && restore->seen() == 0 && !app.runFailed)
			return failure("%s holds no records that can be read; nothing was changed (see %s)", file.c_str(),
				session.logPath().c_str());
		return failure("restore failed: %s; nothing was changed (see %s)", why.c_str(), session.logPath().c_str());
	}

	if (!restore->check()) {
		fprintf(stderr, "zonclock: cannot restore from %s, nothing was changed:\n", file.c_str());
		for (const std::string& problem : restore->problems())
			fprintf(stderr, "  %s\n", problem.c_str());
		return kExitFailed;
	}
	if (!restore->apply(db)) {
		fprintf(stderr, "zonclock: the restore from %s is incomplete:\n", file.c_str());
		for (const std::string& problem : restore->problems())
			fprintf(stderr, "  %s\n", problem.c_str());
		return kExitFailed;
	}

	std::vector<CityRecord> cities = restore->inListOrder();
	printf("Restored %s to the main list and %zu to the second list from %s.\n", citiesOf(cities, false).c_str(),
		countOf(cities, true), file.c_str());
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
		"service: a text file with one [record N] group per record, each value a JSON text.",
		runBackup});
	commands.add({"restore", "FILE", 1, 1, {},
		"Replace both city lists by those of a backup file",
		"Replaces the main list and the second list, and the cached weather, by what FILE holds,\n"
		"a file written by 'zonclock backup'. Every record is read and checked before anything\n"
		"changes: when any record can't be read, or records are missing, the lists stay as they\n"
		"are and each problem is reported. Exits with 1 then.",
		runRestore});
}

} // namespace zonclock

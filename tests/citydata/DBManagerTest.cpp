// Tests of the city database: the stored format, migration, the retail reset, the list
// operations, the change notification and the weather cache, observed through the SQLite file
// and the preferences the other processes watch.
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include <sqlite3.h>

#include <app_common.h>
#include <app_preference.h>
#include <vconf.h>
#include <zon_platform.h>

#include "HostFixture.h"
#include "ZonCityList.h"
#include "ZonDBManager.h"

namespace {

using Rows = std::vector<std::vector<std::string>>;
using Names = std::vector<std::string>;

std::string dbPath() { return takeText(app_get_data_path()) + "zonvista.db"; }
std::string markerPath() { return takeText(zon_platform_path("/tmp/.zonvista_ldu")); }

// Runs SQL with a connection of its own, as another process would; returns the result rows.
Rows sql(const std::string& statements)
{
	Rows rows;
	sqlite3* db = nullptr;
	EXPECT_EQ(SQLITE_OK, sqlite3_open(dbPath().c_str(), &db));
	char* error = nullptr;
	EXPECT_EQ(SQLITE_OK, sqlite3_exec(db, statements.c_str(), [](void* out, int n, char** values, char**) {
		static_cast<Rows*>(out)->emplace_back();
		for (int i = 0; i < n; ++i)
			static_cast<Rows*>(out)->back().push_back(values[i] ? values[i] : "NULL");
		return 0;
	}, &rows, &error)) << (error ? error : "");
	sqlite3_free(error);
	sqlite3_close(db);
	return rows;
}

int changedFlag() { int value = -1; preference_get_int("ZonDBChanged", &value); return value; }
std::string status() { char* value = nullptr; preference_get_string("ZonDBStatus", &value); return takeText(value); }
std::string fileBytes(const std::string& path) { return (std::stringstream() << std::ifstream(path).rdbuf()).str(); }

const Cityinfo& catalogue(int id) { return allCityList[id - 1]; }

const Names kRetailCities = {"Beijing", "San Francisco", "Berlin"};

class CityDatabase : public HostFixture {
protected:
	void SetUp() override { HostFixture::SetUp(); db = ZonDBManager::getInstance(); }
	void TearDown() override { db->finalize(); HostFixture::TearDown(); }
	void open() { db->initialize(); zon_host_log_clear(); }
	// Each listed city by its English name or, in detail, as "<catalogue id> <row id> <zone>".
	Names list(bool external = false, bool detail = false)
	{
		Names result;
		for (const Cityinfo& c : db->getAllCityList(external)) {
			result.push_back(detail ? std::to_string(c.id) + " " + std::to_string(c.dbId) + " " + c.timezone_path
									: c.cityname_eng);
		}
		return result;
	}
	// (result, type, temperature, centigrade, updated); untouched out-values read -1 and true.
	std::tuple<bool, int, int, bool, int> weather(int cityId, bool external = false)
	{
		int type = -1, temperature = -1, updated = -1;
		bool centigrade = true;
		bool ok = db->getWeatherInfo(cityId, type, temperature, centigrade, updated, external);
		return {ok, type, temperature, centigrade, updated};
	}

	ZonDBManager* db = nullptr;
};

// Must not touch the singleton in the parent process.
class CityDatabaseDeathTest : public HostFixture {};

} // namespace

// The singleton seeds its preferences when it is created, which happens once per process: each
// check runs in a child process of its own.
TEST_F(CityDatabaseDeathTest, ConstructionSeedsPreferencesOnlyWhenAbsent)
{
	GTEST_FLAG_SET(death_test_style, "threadsafe");
	EXPECT_EXIT({
		preference_set_string("ZonDBStatus", "kept");
		ZonDBManager::getInstance();
		exit(changedFlag() == 0 && status() == "kept" ? 0 : 1);
	}, ::testing::ExitedWithCode(0), "");

	EXPECT_EXIT({
		zon_host_fault_inject("preference_set_int", 1, PREFERENCE_ERROR_IO_ERROR);
		zon_host_log_capture(true);
		ZonDBManager::getInstance();
		bool existing = true;
		preference_is_existing("ZonDBChanged", &existing);
		exit(!existing && zon_host_log_contains("preference_set_int failed(") && status() == "ZON_DB_STATUS_NONE" ? 0 : 1);
	}, ::testing::ExitedWithCode(0), "");
}

TEST_F(CityDatabase, StoredFormatIsTheCreationStatementOldTablesGainFiveColumnsChangesAreAnnounced)
{
	// A first-release table keeps its rows.
	sql("CREATE TABLE added_city2(id INTEGER PRIMARY KEY AUTOINCREMENT, city_id INTEGER NOT NULL, "
		"english_name TEXT NOT NULL); INSERT INTO added_city2 VALUES(null, 299, 'Tokyo');");
	open();
	EXPECT_EQ((Rows{{"id", "NULL"}, {"city_id", "NULL"}, {"english_name", "NULL"}, {"weather_type", "0"},
				  {"temparature", "0"}, {"is_centigrade", "0"}, {"last_update_time", "0"}, {"is_external", "0"}}),
		sql("SELECT name, dflt_value FROM pragma_table_info('added_city2');"));
	EXPECT_EQ((Rows{{"1", "299", "Tokyo", "0", "0", "0", "0", "0"}}), sql("SELECT * FROM added_city2;"));

	// A new file holds the creation statement as written, from the table name on (SQLite keeps
	// the text); running it again on a complete table changes nothing.
	db->finalize();
	unlink(dbPath().c_str());
	open();
	const std::string schema = "SELECT sql FROM sqlite_master WHERE name = 'added_city2';";
	const Rows created = {{"CREATE TABLE added_city2(id INTEGER PRIMARY KEY AUTOINCREMENT, city_id INTEGER NOT NULL, "
		"english_name TEXT NOT NULL, weather_type INTEGER DEFAULT 0, temparature INTEGER DEFAULT 0, "
		"is_centigrade INTEGER DEFAULT 0, last_update_time INTEGER DEFAULT 0, is_external INTEGER DEFAULT 0 )"}};
	EXPECT_EQ(created, sql(schema));
	db->initialize();
	EXPECT_EQ(created, sql(schema));

	// Every insert and update toggles the notification.
	// The singleton seeds the key once per process, so another test's device may have had it.
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_int("ZonDBChanged", 0));
	int flag = 0, calls = 0;
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_changed_cb("ZonDBChanged", [](const char* key, void* data) {
		if (!strcmp(key, "ZonDBChanged"))
			++*static_cast<int*>(data);
	}, &calls));

	db->insert(299, "Tokyo", false);
	EXPECT_EQ(0, calls) << "change callbacks belong on the main loop";
	zon_host_pump(100);
	EXPECT_EQ(1, calls);

	db->update(299, 39, "Berlin", false);
	db->setPreferenceAfterDbChange();
	zon_host_pump(100);
	EXPECT_EQ(3, calls);
	EXPECT_EQ(flag, changedFlag() ^ 1) << "three toggles end opposite to the start";
	EXPECT_EQ("ZON_DB_STATUS_CHANGE", status());
	preference_unset_changed_cb("ZonDBChanged");

	// A failed status write is logged and the toggle still happens; a failed toggle is logged.
	for (const auto& [function, toggles] : {std::pair{"preference_set_string", true}, {"preference_set_int", false}}) {
		flag = changedFlag();
		zon_host_fault_inject(function, 1, PREFERENCE_ERROR_IO_ERROR);
		db->insert(39, "Berlin", true);
		EXPECT_TRUE(zon_host_log_contains((std::string(function) + " failed.(").c_str())) << function;
		EXPECT_EQ(toggles, flag != changedFlag()) << function;
	}
}

TEST_F(CityDatabase, RetailResetRunsOncePerBootIfTheMarkerCanBeWrittenButSetLDUModeForcesIt)
{
	open();
	db->insert(299, "Tokyo", false);
	db->insert(299, "Tokyo", true);
	db->finalize();
	// Neither flag: nothing happens; the failed read keeps its misspelt message.
	db->initialize();
	EXPECT_TRUE(zon_host_log_contains("vconf_get_int is faled.("));
	EXPECT_EQ(Names{"Tokyo"}, list());

	ASSERT_EQ(0, vconf_set_int("db/retailmode/enabled", 1));
	int before = changedFlag();
	db->initialize();
	EXPECT_EQ((Rows{{"35", "Beijing", "0"}, {"261", "San Francisco", "0"}, {"39", "Berlin", "0"}}),
		sql("SELECT city_id, english_name, is_external FROM added_city2;"));
	EXPECT_NE(before, changedFlag());
	EXPECT_EQ("/tmp/.zonvista_ldu\n", fileBytes(markerPath()));

	// Same boot: the marker is there and the user's changes stay.
	db->insert(299, "Tokyo", false);
	db->initialize();
	EXPECT_EQ(4u, list().size());

	// A reboot empties /tmp.
	unlink(markerPath().c_str());
	db->initialize();
	EXPECT_EQ(kRetailCities, list());

	// A showcase build resets without reading the retail mode.
	ASSERT_EQ(0, zon_host_set_feature_bool("http://korvath.com/feature/showcase_binary", true));
	ASSERT_EQ(0, vconf_set_int("db/retailmode/enabled", 0));
	db->insert(299, "Tokyo", false);
	unlink(markerPath().c_str());
	zon_host_log_clear();
	db->initialize();
	EXPECT_TRUE(zon_host_log_contains("this is IFA binary!"));
	EXPECT_FALSE(zon_host_log_contains("vconf_get_int"));
	EXPECT_EQ(kRetailCities, list());

	// Retail mode, but /tmp cannot hold the marker.
	sql("DELETE FROM added_city2;");
	db->insert(299, "Tokyo", false);
	ASSERT_EQ(0, vconf_set_int("db/retailmode/enabled", 1));
	std::string fs = std::string(zon_host_root()) + "/fs";
	ASSERT_EQ(0, system(("rm -rf '" + fs + "/tmp' && mkdir -p '" + fs + "' && touch '" + fs + "/tmp'").c_str()));
	db->initialize();
	EXPECT_TRUE(zon_host_log_contains(".zonvista_ldu file writing is failed."));
	EXPECT_EQ(Names{"Tokyo"}, list());

	// Any other value than 1 is not retail mode, for setLDUMode too.
	ASSERT_EQ(0, vconf_set_int("db/retailmode/enabled", 2));
	db->setLDUMode();
	EXPECT_EQ(Names{"Tokyo"}, list());

	// A reset cut short (the second predefined city cannot be stored, as on a full disk) leaves
	// the user's list whole.
	ASSERT_EQ(0, vconf_set_int("db/retailmode/enabled", 1));
	sql("CREATE TRIGGER fail_sf BEFORE INSERT ON added_city2 WHEN NEW.city_id = 261 "
		"BEGIN SELECT RAISE(FAIL, 'disk full'); END;");
	int flag = changedFlag();
	db->setLDUMode();
	EXPECT_EQ(SQLITE_CONSTRAINT, db->lastError());
	EXPECT_EQ(Names{"Tokyo"}, list());
	EXPECT_NE(flag, changedFlag());
	sql("DROP TRIGGER fail_sf;");

	// In retail mode setLDUMode forces the retail list every time, with or without a marker.
	db->insert(299, "Tokyo", true);
	db->setLDUMode();
	db->insert(299, "Tokyo", false);
	db->setLDUMode();
	EXPECT_EQ(SQLITE_OK, db->lastError());
	EXPECT_EQ(kRetailCities, list());
	EXPECT_TRUE(list(true).empty());
}

TEST_F(CityDatabase, ListsKeepInsertionOrderStaySeparateAndMatchTheCatalogueByIdAndExactName)
{
	open();
	db->insert(299, "Tokyo", false);
	db->insert(39, std::string("Berlin"), false);
	db->insert(299, "Tokyo", false);
	db->insert(331, "Zurich", true);
	db->insert(283, "St. John's", false);
	sql("INSERT INTO added_city2 VALUES(null, 299, 'Tokio', 0, 0, 0, 0, 0);"
		"INSERT INTO added_city2 VALUES(null, 999, 'Tokyo', 0, 0, 0, 0, 0);");
	db->insert(154, "Kingston ", false);
	db->insert(153, "Kingston", false); // without the catalogue's trailing blank

	EXPECT_EQ((Names{"299 1 Asia/Tokyo", "39 2 Europe/Berlin", "299 3 Asia/Tokyo", "283 5 America/St_Johns",
				  "154 8 America/Jamaica"}),
		list(false, true));
	const std::vector<Cityinfo>& main = db->getAllCityList(false);
	// A listed city is the whole catalogue record, weather fields zero.
	EXPECT_EQ(std::make_tuple(39, catalogue(39).chinese_index, std::string("Berlin"),
				  std::string(catalogue(39).cityname_string), std::string("Europe/Berlin"), 0),
		std::make_tuple(main[1].id, main[1].chinese_index, std::string(main[1].cityname_eng),
			std::string(main[1].cityname_string), std::string(main[1].timezone_path), main[1].currentTemperature));

	EXPECT_EQ(Names{"Zurich"}, list(true));
	EXPECT_TRUE(zon_host_log_contains("qery INSERT INTO added_city2 VALUES(null, 331, 'Zurich', 0, 0, 0, 0, 1);"));
}

TEST_F(CityDatabase, WeatherIsSharedByBothListsUpdateReplacesInPlaceRemoveMatchesExactly)
{
	open();
	db->insert(299, "Tokyo", false);
	db->insert(39, "Berlin", false);
	db->insert(299, "Tokyo", true);
	db->updateWeatherInfo(299, SNOW, -3, true, 1700000000);
	for (bool external : {false, true})
		EXPECT_EQ(std::make_tuple(true, int(SNOW), -3, true, 1700000000), weather(299, external));
	EXPECT_EQ(std::make_tuple(true, 0, 0, false, 0), weather(39));

	db->update(299, 331, std::string("Zurich"));
	EXPECT_EQ((Names{"331 1 Europe/Zurich", "39 2 Europe/Berlin"}), list(false, true));
	EXPECT_EQ((Rows{{"331", "0", "0", "0", "0"}, {"299", "12", "-3", "1", "1700000000"}}),
		sql("SELECT city_id, weather_type, temparature, is_centigrade, last_update_time FROM added_city2 "
			"WHERE city_id != 39;"));

	// A city that is not in the list: nothing changes, but the change is still announced.
	preference_set_string("ZonDBStatus", "ZON_DB_STATUS_NONE");
	int flag = changedFlag();
	db->update(140, 39, "Berlin", true);
	EXPECT_EQ(Names{"Tokyo"}, list(true));
	EXPECT_EQ("ZON_DB_STATUS_CHANGE", status());
	EXPECT_NE(flag, changedFlag());

	// Removal matches id, name and list all at once, and announces nothing.
	db->insert(299, "Tokyo", false);
	flag = changedFlag();
	db->remove(299, "tokyo", false, true, true);
	db->remove(39, "Tokyo", false, true, true);
	EXPECT_EQ(4u, sql("SELECT * FROM added_city2;").size());
	db->remove(299, std::string("Tokyo"));
	EXPECT_EQ((Names{"Zurich", "Berlin"}), list());
	EXPECT_EQ(Names{"Tokyo"}, list(true));
	EXPECT_EQ(flag, changedFlag());
	EXPECT_TRUE(zon_host_log_contains(
		"query DELETE FROM 'added_city2' where city_id = 299 and is_external = 0 and english_name = 'Tokyo';"));
}

TEST_F(CityDatabase, HostileAndOversizedNamesAreStoredAsTextAndIsExistMatchesCityStringAndGmtText)
{
	open();
	db->insert(299, "Tokyo", false);
	const char* hostile = "x'); DROP TABLE added_city2;--";
	db->insert(1, hostile, false);
	db->remove(1, hostile, true, true, true);
	db->update(7, 8, hostile, false);
	EXPECT_FALSE(db->isExist(hostile, hostile, hostile, hostile, false));

	std::string huge(5000, 'A');
	db->insert(299, huge, false);
	// A catalogue name followed by blanks past the 64 bytes that are read back: never listed.
	db->insert(299, std::string("Tokyo") + std::string(100, ' '), false);
	EXPECT_EQ((Rows{{"Tokyo"}, {hostile}, {huge}, {"Tokyo" + std::string(100, ' ')}}),
		sql("SELECT english_name FROM added_city2 ORDER BY id;"));
	EXPECT_EQ(Names{"Tokyo"}, list());

	// A null name violates NOT NULL: nothing is stored.
	db->insert(299, static_cast<const char*>(nullptr), false);
	EXPECT_EQ(4u, sql("SELECT * FROM added_city2;").size());

	// isExist() matches the city string and the GMT text.
	EXPECT_FALSE(db->isExist(&catalogue(283), false));
	db->insert(283, "St. John's", false);

	EXPECT_TRUE(db->isExist(&catalogue(283), false));
	EXPECT_FALSE(db->isExist(&catalogue(283), true));
	// Same city id string, other GMT text: the Antigua row, which is not in the list.
	EXPECT_FALSE(db->isExist(&catalogue(282), false));
	EXPECT_TRUE(db->isExist("WDS_ZON_MBODY_ST_JOHNS_M_CITY", "whatever", "GMT-3:30", nullptr, false));
	EXPECT_FALSE(db->isExist("NOT_A_CITY", "", "GMT-3:30", "", false));
	std::string longText(300, 'x');
	EXPECT_FALSE(db->isExist(longText.c_str(), longText.c_str(), longText.c_str(), longText.c_str(), false));

	EXPECT_FALSE(db->isExist(nullptr, false));
	EXPECT_TRUE(zon_host_log_contains("invalid argument!"));
}

TEST_F(CityDatabase, ClosedDatabaseIsHarmlessAndForeignOrUnopenableFilesAreLeftAlone)
{
	// Before initialize() and after finalize() alike.
	for (int round = 0; round < 2; ++round) {
		if (round == 1) {
			open();
			db->insert(299, "Tokyo", false);
			db->finalize();
		}
		zon_host_log_clear();
		EXPECT_TRUE(list().empty());
		EXPECT_EQ(std::make_tuple(false, -1, -1, true, -1), weather(299));
		db->updateWeatherInfo(299, 1, 1, true, 1);

		int flag = changedFlag();
		db->update(299, 39, "Berlin", false);
		EXPECT_TRUE(zon_host_log_contains("_dbHandler is nullptr!"));
		EXPECT_EQ(flag, changedFlag());
		db->insert(39, "Berlin", false);
		EXPECT_TRUE(zon_host_log_contains("insert query is failed."));
		EXPECT_NE(flag, changedFlag());
		db->remove(39, "Berlin", false, true, true);
		EXPECT_TRUE(zon_host_log_contains("remove query is failed."));
		db->finalize();
	}
	open();
	EXPECT_EQ(Names{"Tokyo"}, list());
	db->finalize();

	// A foreign file is logged and left alone.
	std::string garbage = "this is not a database, just text that happens to sit there\n" + std::string(5000, '\x7f');
	std::ofstream(dbPath(), std::ios::binary) << garbage;
	db->initialize();
	EXPECT_TRUE(zon_host_log_contains("sqlite3_exec is failed."));
	db->insert(299, "Tokyo", false);
	db->updateWeatherInfo(299, 1, 1, true, 1);
	EXPECT_TRUE(list().empty());
	EXPECT_TRUE(std::get<0>(weather(299)));
	db->finalize();
	EXPECT_EQ(garbage, fileBytes(dbPath()));

	// No data path, then a data directory that is gone: nothing opens, nothing is listed.
	zon_host_fault_inject("app_get_data_path", 1, APP_ERROR_INVALID_CONTEXT);
	db->initialize();
	db->insert(299, "Tokyo", false);
	EXPECT_TRUE(list().empty());
	db->finalize();
	std::string dir = takeText(app_get_data_path());
	ASSERT_EQ(0, system(("rm -rf '" + dir + "' && touch '" + dir.substr(0, dir.size() - 1) + "'").c_str()));
	db->initialize();
	EXPECT_EQ(2u, zon_host_log_count_matching("open database is failed."));
	EXPECT_TRUE(list().empty());
}

TEST_F(CityDatabase, AnUnopenableLogOrALockedFileFailsWithTheReasonWhileReadersGoOn)
{
	open();
	db->insert(299, "Tokyo", false);
	EXPECT_EQ(SQLITE_OK, db->lastError());
	db->finalize();
	// The write-ahead log stays beside the closed database, empty: the next program to open it
	// creates nothing, and no page of the log outlives the close to stand in for the file's.
	struct stat log;
	ASSERT_EQ(0, stat((dbPath() + "-wal").c_str(), &log));
	EXPECT_EQ(0, log.st_size);
	// An unopenable write-ahead log reads as a failure, not as an empty list. Root ignores file
	// modes: send the log into a directory that does not exist.
	ASSERT_EQ(0, unlink((dbPath() + "-wal").c_str()));
	ASSERT_EQ(0, symlink("/nonexistent-zon-host-dir/wal", (dbPath() + "-wal").c_str()));

	db->initialize();
	EXPECT_TRUE(list().empty());
	EXPECT_EQ(SQLITE_CANTOPEN, db->lastError());
	EXPECT_FALSE(db->lastErrorMessage().empty());
	db->insert(39, "Berlin", false);
	EXPECT_NE(SQLITE_OK, db->lastError());
	EXPECT_TRUE(zon_host_log_contains("insert query is failed."));
	db->finalize();
	unlink((dbPath() + "-wal").c_str());
	EXPECT_EQ((Rows{{"1", "299", "Tokyo", "0", "0", "0", "0", "0"}}), sql("SELECT * FROM added_city2;"));

	open();
	sqlite3* other = nullptr;
	ASSERT_EQ(SQLITE_OK, sqlite3_open(dbPath().c_str(), &other));
	ASSERT_EQ(SQLITE_OK, sqlite3_exec(other, "BEGIN EXCLUSIVE; INSERT INTO added_city2 VALUES(null, 39, 'Berlin', 0, 0, 0, 0, 0);",
		nullptr, nullptr, nullptr));

	// A reader sees the last committed list; a writer waits, then reports the lock.
	EXPECT_EQ(Names{"Tokyo"}, list());
	EXPECT_EQ(SQLITE_OK, db->lastError());
	db->insert(331, "Zurich", false);
	EXPECT_EQ(SQLITE_BUSY, db->lastError());
	EXPECT_EQ("database is locked", db->lastErrorMessage());
	EXPECT_TRUE(zon_host_log_contains("database is locked"));

	ASSERT_EQ(SQLITE_OK, sqlite3_exec(other, "COMMIT;", nullptr, nullptr, nullptr));
	sqlite3_close(other);
	EXPECT_EQ((Names{"Tokyo", "Berlin"}), list());

	// A transaction of the caller's own is all or nothing.
	ASSERT_TRUE(db->beginTransaction());
	db->insert(331, "Zurich", false);
	EXPECT_EQ((Names{"Tokyo", "Berlin", "Zurich"}), list());
	db->rollbackTransaction();
	EXPECT_EQ((Names{"Tokyo", "Berlin"}), list());
	ASSERT_TRUE(db->beginTransaction());
	db->remove(299, "Tokyo", false, true, true);
	EXPECT_TRUE(db->commitTransaction());
	EXPECT_EQ(Names{"Berlin"}, list());
	EXPECT_EQ((Rows{{"wal"}}), sql("PRAGMA journal_mode;"));
}

// Tests of the city database: the stored format, migration, the retail reset, the list
// operations, the change notification and the weather cache, observed through the SQLite file
// and the preferences the other processes watch.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <app_common.h>
#include <app_preference.h>
#include <system_info.h>
#include <vconf.h>
#include <zon-host/zon_host.h>
#include <zon_platform.h>

#include "HostFixture.h"
#include "ZonCityList.h"
#include "ZonDBManager.h"

namespace {

const char kCreateStatement[] =
	"CREATE TABLE IF NOT EXISTS added_city2(id INTEGER PRIMARY KEY AUTOINCREMENT, city_id INTEGER NOT NULL, "
	"english_name TEXT NOT NULL, weather_type INTEGER DEFAULT 0, temparature INTEGER DEFAULT 0, "
	"is_centigrade INTEGER DEFAULT 0, last_update_time INTEGER DEFAULT 0, is_external INTEGER DEFAULT 0 );";

std::string dataDir()
{
	char* path = app_get_data_path();
	std::string dir = path ? path : "";
	free(path);
	return dir;
}

std::string dbPath() { return dataDir() + "zonvista.db"; }

std::string runShell(const std::string& command)
{
	std::string output;
	FILE* pipe = popen(command.c_str(), "r");
	if (!pipe)
		return output;
	char buffer[512];
	while (fgets(buffer, sizeof(buffer), pipe))
		output += buffer;
	pclose(pipe);
	return output;
}

// Reads the file with its own connection, as another process would.
std::vector<std::vector<std::string>> query(const std::string& sql)
{
	std::vector<std::vector<std::string>> rows;
	sqlite3* db = nullptr;
	if (sqlite3_open_v2(dbPath().c_str(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
		sqlite3_stmt* stmt = nullptr;
		if (sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr) == SQLITE_OK) {
			while (sqlite3_step(stmt) == SQLITE_ROW) {
				std::vector<std::string> row;
				for (int i = 0; i < sqlite3_column_count(stmt); ++i) {
					const unsigned char* text = sqlite3_column_text(stmt, i);
					row.push_back(text ? reinterpret_cast<const char*>(text) : "NULL");
				}
				rows.push_back(row);
			}
		}
		sqlite3_finalize(stmt);
	}
	sqlite3_close(db);
	return rows;
}

void execute(const std::string& sql)
{
	sqlite3* db = nullptr;
	ASSERT_EQ(SQLITE_OK, sqlite3_open(dbPath().c_str(), &db));
	char* error = nullptr;
	EXPECT_EQ(SQLITE_OK, sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &error)) << (error ? error : "");
	sqlite3_free(error);
	sqlite3_close(db);
}

std::vector<std::string> names(const std::vector<Cityinfo>& list)
{
	std::vector<std::string> result;
	for (const Cityinfo& city : list)
		result.push_back(city.cityname_eng);
	return result;
}

int changedFlag()
{
	int value = -1;
	preference_get_int("ZonDBChanged", &value);
	return value;
}

std::string status()
{
	char* value = nullptr;
	preference_get_string("ZonDBStatus", &value);
	std::string result = value ? value : "";
	free(value);
	return result;
}

std::string fileBytes(const std::string& path)
{
	std::ifstream in(path, std::ios::binary);
	std::stringstream buffer;
	buffer << in.rdbuf();
	return buffer.str();
}

const Cityinfo& catalogue(int id) { return allCityList[id - 1]; }

class CityDatabase : public HostFixture {
protected:
	void SetUp() override
	{
		HostFixture::SetUp();
		db = ZonDBManager::getInstance();
	}
	void TearDown() override
	{
		db->finalize();
		HostFixture::TearDown();
	}
	void open()
	{
		db->initialize();
		zon_host_log_clear();
	}

	ZonDBManager* db = nullptr;
};

// Must not touch the singleton in the parent process.
class CityDatabaseDeathTest : public HostFixture {};

}

// The singleton seeds its preferences when it is created, which happens once per process: the
// check runs in a child process of its own.
TEST_F(CityDatabaseDeathTest, ConstructionSeedsPreferencesOnlyWhenAbsent)
{
	GTEST_FLAG_SET(death_test_style, "threadsafe");
	EXPECT_EXIT({
		preference_set_string("ZonDBStatus", "kept");
		ZonDBManager::getInstance();
		int changed = -1;
		char* value = nullptr;
		bool ok = preference_get_int("ZonDBChanged", &changed) == PREFERENCE_ERROR_NONE && changed == 0
			&& preference_get_string("ZonDBStatus", &value) == PREFERENCE_ERROR_NONE && !strcmp(value, "kept");
		exit(ok ? 0 : 1);
	}, ::testing::ExitedWithCode(0), "");

	EXPECT_EXIT({
		zon_host_fault_inject("preference_set_int", 1, PREFERENCE_ERROR_IO_ERROR);
		zon_host_log_capture(true);
		ZonDBManager::getInstance();
		bool existing = true;
		preference_is_existing("ZonDBChanged", &existing);
		char* value = nullptr;
		preference_get_string("ZonDBStatus", &value);
		bool ok = !existing && zon_host_log_contains("preference_set_int failed(")
			&& value && !strcmp(value, "ZON_DB_STATUS_NONE");
		exit(ok ? 0 : 1);
	}, ::testing::ExitedWithCode(0), "");
}

TEST_F(CityDatabase, StoredFormatIsTheCreationStatement)
{
	open();
	ASSERT_EQ(0, access(dbPath().c_str(), F_OK)) << dbPath();
	std::string schema = runShell(std::string(SQLITE3_SHELL) + " '" + dbPath() + "' .schema");
	// SQLite keeps the statement's text from the table name on.
	std::string expected = std::string("CREATE TABLE added_city2") + strstr(kCreateStatement, "(");
	EXPECT_NE(std::string::npos, schema.find(expected)) << schema;
	EXPECT_TRUE(zon_host_log_count() == 0);

	// Running it again on a complete table changes nothing.
	db->initialize();
	EXPECT_EQ(schema, runShell(std::string(SQLITE3_SHELL) + " '" + dbPath() + "' .schema"));
}

TEST_F(CityDatabase, FirstReleaseTableGainsFiveColumnsAndKeepsRows)
{
	execute("CREATE TABLE added_city2(id INTEGER PRIMARY KEY AUTOINCREMENT, city_id INTEGER NOT NULL, "
		"english_name TEXT NOT NULL);"
		"INSERT INTO added_city2 VALUES(null, 299, 'Tokyo');"
		"INSERT INTO added_city2 VALUES(null, 39, 'Berlin');");
	open();

	auto columns = query("SELECT name, dflt_value FROM pragma_table_info('added_city2');");
	std::vector<std::string> columnNames;
	for (auto& row : columns)
		columnNames.push_back(row[0]);
	EXPECT_EQ((std::vector<std::string>{"id", "city_id", "english_name", "weather_type", "temparature",
		"is_centigrade", "last_update_time", "is_external"}), columnNames);
	for (size_t i = 3; i < columns.size(); ++i)
		EXPECT_EQ("0", columns[i][1]) << columns[i][0];

	EXPECT_EQ((std::vector<std::vector<std::string>>{{"1", "299", "Tokyo", "0", "0", "0", "0", "0"},
		{"2", "39", "Berlin", "0", "0", "0", "0", "0"}}), query("SELECT * FROM added_city2;"));
	EXPECT_EQ((std::vector<std::string>{"Tokyo", "Berlin"}), names(db->getAllCityList(false)));
}

TEST_F(CityDatabase, RetailResetRunsOncePerBoot)
{
	open();
	db->insert(299, "Tokyo", false);
	db->insert(299, "Tokyo", true);
	db->finalize();

	ASSERT_EQ(0, vconf_set_int("db/retailmode/enabled", 1));
	int before = changedFlag();
	db->initialize();
	EXPECT_EQ((std::vector<std::vector<std::string>>{{"35", "Beijing", "0"}, {"261", "San Francisco", "0"},
		{"39", "Berlin", "0"}}), query("SELECT city_id, english_name, is_external FROM added_city2;"));
	EXPECT_NE(before, changedFlag());
	EXPECT_TRUE(zon_host_log_contains(".zonvista_ldu file is not exist!"));
	EXPECT_TRUE(zon_host_log_contains(".zonvista_ldu file is written."));

	char* marker = zon_platform_path("/tmp/.zonvista_ldu");
	EXPECT_EQ("/tmp/.zonvista_ldu\n", fileBytes(marker));

	// Same boot: the marker is there and the user's changes stay.
	db->insert(299, "Tokyo", false);
	db->initialize();
	EXPECT_EQ(4u, db->getAllCityList(false).size());
	EXPECT_TRUE(zon_host_log_contains(".zonvista_ldu file is exist!"));

	// A reboot empties /tmp.
	unlink(marker);
	free(marker);
	db->initialize();
	EXPECT_EQ((std::vector<std::string>{"Beijing", "San Francisco", "Berlin"}), names(db->getAllCityList(false)));
}

TEST_F(CityDatabase, ShowcaseBuildResetsWithoutReadingRetailMode)
{
	ASSERT_EQ(0, zon_host_set_feature_bool("http://korvath.com/feature/showcase_binary", true));
	open();
	db->insert(299, "Tokyo", false);
	db->finalize();
	char* marker = zon_platform_path("/tmp/.zonvista_ldu");
	unlink(marker);
	free(marker);

	db->initialize();
	EXPECT_TRUE(zon_host_log_contains("this is IFA binary!"));
	EXPECT_FALSE(zon_host_log_contains("vconf_get_int is faled."));
	EXPECT_EQ((std::vector<std::string>{"Beijing", "San Francisco", "Berlin"}), names(db->getAllCityList(false)));
}

TEST_F(CityDatabase, NoResetWhenMarkerCannotBeWrittenOrModeIsOff)
{
	open();
	db->insert(299, "Tokyo", false);
	db->finalize();

	// Neither flag: nothing happens, and the failed reads are logged.
	db->initialize();
	EXPECT_TRUE(zon_host_log_contains("system_info_get_custom_bool is failed."));
	EXPECT_TRUE(zon_host_log_contains("vconf_get_int is faled.("));
	EXPECT_EQ(1u, db->getAllCityList(false).size());

	// Retail mode, but /tmp cannot hold the marker.
	ASSERT_EQ(0, vconf_set_int("db/retailmode/enabled", 1));
	std::string tmpDir = std::string(zon_host_root()) + "/fs/tmp";
	ASSERT_EQ(0, system(("rm -rf '" + tmpDir + "' && mkdir -p '" + std::string(zon_host_root()) + "/fs' && touch '" + tmpDir + "'").c_str()));
	zon_host_log_clear();
	db->initialize();
	EXPECT_TRUE(zon_host_log_contains(".zonvista_ldu file writing is failed."));
	EXPECT_EQ((std::vector<std::string>{"Tokyo"}), names(db->getAllCityList(false)));

	// Any other value than 1 is not retail mode.
	ASSERT_EQ(0, vconf_set_int("db/retailmode/enabled", 2));
	db->setLDUMode();
	EXPECT_EQ((std::vector<std::string>{"Tokyo"}), names(db->getAllCityList(false)));
}

TEST_F(CityDatabase, SetLDUModeForcesTheRetailListEveryTime)
{
	open();
	ASSERT_EQ(0, vconf_set_int("db/retailmode/enabled", 1));
	db->insert(299, "Tokyo", true);
	db->setLDUMode();
	db->insert(299, "Tokyo", false);
	db->setLDUMode();
	EXPECT_EQ((std::vector<std::string>{"Beijing", "San Francisco", "Berlin"}), names(db->getAllCityList(false)));
	EXPECT_TRUE(db->getAllCityList(true).empty());
}

TEST_F(CityDatabase, ListsKeepInsertionOrderAndStaySeparate)
{
	open();
	db->insert(299, "Tokyo", false);
	db->insert(39, std::string("Berlin"), false);
	db->insert(299, "Tokyo", false);
	db->insert(331, "Zurich", true);

	const std::vector<Cityinfo>& main = db->getAllCityList(false);
	ASSERT_EQ(3u, main.size());
	EXPECT_EQ((std::vector<std::string>{"Tokyo", "Berlin", "Tokyo"}), names(main));
	EXPECT_EQ(1, main[0].dbId);
	EXPECT_EQ(3, main[2].dbId);
	// A listed city is the whole catalogue record, weather fields zero.
	EXPECT_STREQ("Asia/Tokyo", main[0].timezone_path);
	EXPECT_STREQ("Europe/Berlin", main[1].timezone_path);
	EXPECT_STREQ(catalogue(39).cityname_string, main[1].cityname_string);
	EXPECT_EQ(catalogue(39).chinese_index, main[1].chinese_index);
	EXPECT_EQ(0, main[1].currentTemperature);

	EXPECT_EQ((std::vector<std::string>{"Zurich"}), names(db->getAllCityList(true)));
	EXPECT_TRUE(zon_host_log_contains("rowID[4] cityname[Zurich]"));
	EXPECT_TRUE(zon_host_log_contains("qery INSERT INTO added_city2 VALUES(null, 331, 'Zurich', 0, 0, 0, 0, 1);"));
}

TEST_F(CityDatabase, DuplicateEnglishNamesAreToldApartById)
{
	open();
	db->insert(283, "St. John's", false);
	db->insert(154, "Kingston ", false);
	db->insert(153, "Kingston", false); // without the catalogue's trailing blank: never listed

	const std::vector<Cityinfo>& list = db->getAllCityList(false);
	ASSERT_EQ(2u, list.size());
	EXPECT_EQ(283, list[0].id);
	EXPECT_STREQ("America/St_Johns", list[0].timezone_path);
	EXPECT_EQ(154, list[1].id);
	EXPECT_STREQ("America/Jamaica", list[1].timezone_path);

	EXPECT_EQ(1, list[0].dbId);
	EXPECT_EQ(2, list[1].dbId);
}

TEST_F(CityDatabase, RowsThatNoLongerMatchTheCatalogueAreSkipped)
{
	open();
	execute("INSERT INTO added_city2 VALUES(null, 299, 'Tokio', 0, 0, 0, 0, 0);"
		"INSERT INTO added_city2 VALUES(null, 999, 'Tokyo', 0, 0, 0, 0, 0);"
		"INSERT INTO added_city2 VALUES(null, 299, 'Tokyo', 0, 0, 0, 0, 0);");
	EXPECT_EQ((std::vector<std::string>{"Tokyo"}), names(db->getAllCityList(false)));
	EXPECT_EQ(3, db->getAllCityList(false)[0].dbId);
}

TEST_F(CityDatabase, RemoveMatchesAllOfIdNameAndListAndAnnouncesNothing)
{
	open();
	db->insert(299, "Tokyo", false);
	db->insert(299, "Tokyo", true);
	db->insert(39, "Berlin", false);
	int flag = changedFlag();

	db->remove(299, "tokyo", false, true, true);
	db->remove(39, "Tokyo", false, true, true);
	EXPECT_EQ(3u, query("SELECT * FROM added_city2;").size());

	db->remove(299, std::string("Tokyo"));
	EXPECT_EQ((std::vector<std::string>{"Berlin"}), names(db->getAllCityList(false)));
	EXPECT_EQ((std::vector<std::string>{"Tokyo"}), names(db->getAllCityList(true)));
	EXPECT_EQ(flag, changedFlag());
	EXPECT_TRUE(zon_host_log_contains(
		"query DELETE FROM 'added_city2' where city_id = 299 and is_external = 0 and english_name = 'Tokyo';"));
}

TEST_F(CityDatabase, UpdateReplacesInPlaceAndClearsWeather)
{
	open();
	db->insert(299, "Tokyo", false);
	db->insert(39, "Berlin", false);
	db->insert(299, "Tokyo", true);
	db->updateWeatherInfo(299, SNOW, -3, true, 1700000000);

	db->update(299, 331, std::string("Zurich"));
	EXPECT_EQ((std::vector<std::string>{"Zurich", "Berlin"}), names(db->getAllCityList(false)));
	EXPECT_EQ(1, db->getAllCityList(false)[0].dbId);
	EXPECT_EQ((std::vector<std::vector<std::string>>{{"331", "0", "0", "0", "0"}, {"299", "12", "-3", "1", "1700000000"}}),
		query("SELECT city_id, weather_type, temparature, is_centigrade, last_update_time FROM added_city2 "
			"WHERE city_id != 39;"));

	// A city that is not in the list: nothing changes, but the change is still announced.
	preference_set_string("ZonDBStatus", "ZON_DB_STATUS_NONE");
	int flag = changedFlag();
	db->update(140, 39, "Berlin", true);
	EXPECT_EQ((std::vector<std::string>{"Tokyo"}), names(db->getAllCityList(true)));
	EXPECT_EQ("ZON_DB_STATUS_CHANGE", status());
	EXPECT_NE(flag, changedFlag());
}

TEST_F(CityDatabase, EveryInsertAndUpdateToggleTheNotification)
{
	open();
	int flag = changedFlag();
	ASSERT_TRUE(flag == 0 || flag == 1);

	int calls = 0;
	auto cb = [](const char* key, void* data) {
		if (!strcmp(key, "ZonDBChanged"))
			++*static_cast<int*>(data);
	};
	ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_changed_cb("ZonDBChanged", cb, &calls));

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

	// A failed status write is logged and the toggle still happens.
	zon_host_fault_inject("preference_set_string", 1, PREFERENCE_ERROR_IO_ERROR);
	flag = changedFlag();
	db->insert(39, "Berlin", true);
	EXPECT_TRUE(zon_host_log_contains("preference_set_string failed.("));
	EXPECT_NE(flag, changedFlag());

	flag = changedFlag();
	zon_host_fault_inject("preference_set_int", 1, PREFERENCE_ERROR_IO_ERROR);
	db->insert(39, "Berlin", true);
	EXPECT_TRUE(zon_host_log_contains("preference_set_int failed.("));
	EXPECT_EQ(flag, changedFlag());
}

TEST_F(CityDatabase, IsExistMatchesCityStringAndGmtText)
{
	open();
	EXPECT_FALSE(db->isExist(&catalogue(283), false));
	db->insert(283, "St. John's", false);

	EXPECT_TRUE(db->isExist(&catalogue(283), false));
	EXPECT_FALSE(db->isExist(&catalogue(283), true));
	// Same city id string, other GMT text: the Antigua row, which is not in the list.
	EXPECT_FALSE(db->isExist(&catalogue(282), false));
	EXPECT_TRUE(db->isExist("WDS_ZON_MBODY_ST_JOHNS_M_CITY", "whatever", "GMT-3:30", nullptr, false));
	EXPECT_FALSE(db->isExist("WDS_ZON_MBODY_ST_JOHNS_M_CITY", nullptr, "GMT-4", "America/St_Johns", false));
	EXPECT_FALSE(db->isExist("NOT_A_CITY", "", "GMT-3:30", "", false));
	std::string longText(300, 'x');
	EXPECT_FALSE(db->isExist(longText.c_str(), longText.c_str(), longText.c_str(), longText.c_str(), false));

	EXPECT_FALSE(db->isExist(nullptr, false));
	EXPECT_TRUE(zon_host_log_contains("invalid argument!"));
}

TEST_F(CityDatabase, WeatherIsSharedByBothListsAndDefaultsToZero)
{
	open();
	db->insert(299, "Tokyo", false);
	db->insert(299, "Tokyo", true);
	db->updateWeatherInfo(299, HEAVY_RAIN, 24, true, 1763800000);

	for (bool external : {false, true}) {
		int type = -1, temperature = -1, updated = -1;
		bool centigrade = false;
		EXPECT_TRUE(db->getWeatherInfo(299, type, temperature, centigrade, updated, external));
		EXPECT_EQ(HEAVY_RAIN, type);
		EXPECT_EQ(24, temperature);
		EXPECT_TRUE(centigrade);
		EXPECT_EQ(1763800000, updated);
	}

	int type = -1, temperature = -1, updated = -1;
	bool centigrade = true;
	EXPECT_TRUE(db->getWeatherInfo(39, type, temperature, centigrade, updated, false));
	EXPECT_EQ(0, type);
	EXPECT_EQ(0, temperature);
	EXPECT_FALSE(centigrade);
	EXPECT_EQ(0, updated);
}

TEST_F(CityDatabase, HostileAndOversizedNamesAreStoredAsText)
{
	open();
	db->insert(299, "Tokyo", false);
	const char* hostile = "x'); DROP TABLE added_city2;--";
	db->insert(1, hostile, false);
	db->remove(1, hostile, true, true, true);
	db->update(7, 8, hostile, false);
	EXPECT_TRUE(db->isExist(hostile, hostile, hostile, hostile, false) == false);

	std::string huge(5000, 'A');
	db->insert(299, huge, false);
	// A catalogue name followed by blanks past the 64 bytes that are read back: never listed.
	db->insert(299, std::string("Tokyo") + std::string(100, ' '), false);

	auto rows = query("SELECT english_name FROM added_city2 ORDER BY id;");
	ASSERT_EQ(4u, rows.size());
	EXPECT_EQ(hostile, rows[1][0]);
	EXPECT_EQ(huge, rows[2][0]);
	EXPECT_EQ((std::vector<std::string>{"Tokyo"}), names(db->getAllCityList(false)));

	// A null name violates NOT NULL: nothing is stored, the notification still goes out.
	int flag = changedFlag();
	db->insert(299, static_cast<const char*>(nullptr), false);
	EXPECT_EQ(4u, query("SELECT * FROM added_city2;").size());
	EXPECT_NE(flag, changedFlag());
}

TEST_F(CityDatabase, ClosedDatabaseIsHarmless)
{
	// Before initialize() and after finalize() alike.
	for (int round = 0; round < 2; ++round) {
		if (round == 1) {
			open();
			db->insert(299, "Tokyo", false);
			db->finalize();
		}
		zon_host_log_clear();
		EXPECT_TRUE(db->getAllCityList(false).empty());

		int type = 7, temperature = 7, updated = 7;
		bool centigrade = true;
		EXPECT_FALSE(db->getWeatherInfo(299, type, temperature, centigrade, updated, false));
		EXPECT_EQ(7, type);
		EXPECT_TRUE(centigrade);
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
	EXPECT_EQ((std::vector<std::string>{"Tokyo"}), names(db->getAllCityList(false)));
}

TEST_F(CityDatabase, FileThatIsNotADatabaseIsLeftAlone)
{
	std::string garbage = "this is not a database, just text that happens to sit there\n";
	garbage += std::string(5000, '\x7f');
	{
		std::ofstream out(dbPath(), std::ios::binary);
		out << garbage;
	}
	db->initialize();
	EXPECT_TRUE(zon_host_log_contains("sqlite3_exec is failed."));
	db->insert(299, "Tokyo", false);
	db->updateWeatherInfo(299, 1, 1, true, 1);
	EXPECT_TRUE(db->getAllCityList(false).empty());
	int type = 0, temperature = 0, updated = 0;
	bool centigrade = false;
	EXPECT_TRUE(db->getWeatherInfo(299, type, temperature, centigrade, updated, false));
	db->finalize();
	EXPECT_EQ(garbage, fileBytes(dbPath()));
}

TEST_F(CityDatabase, UnwritableFileKeepsItsRows)
{
	open();
	db->insert(299, "Tokyo", false);
	db->finalize();
	// Root ignores file modes, so besides making the file read-only, send SQLite's journal into a
	// directory that does not exist: the file can be read but never written.
	chmod(dbPath().c_str(), 0444);
	ASSERT_EQ(0, symlink("/nonexistent-zon-host-dir/journal", (dbPath() + "-journal").c_str()));

	db->initialize();
	db->insert(39, "Berlin", false);
	db->update(299, 331, "Zurich", false);
	db->remove(299, "Tokyo", false, true, true);
	db->updateWeatherInfo(299, 1, 30, true, 5);
	EXPECT_EQ((std::vector<std::string>{"Tokyo"}), names(db->getAllCityList(false)));
	int type = -1, temperature = -1, updated = -1;
	bool centigrade = true;
	EXPECT_TRUE(db->getWeatherInfo(299, type, temperature, centigrade, updated, false));
	EXPECT_EQ(0, temperature);
	db->finalize();
	unlink((dbPath() + "-journal").c_str());
	EXPECT_EQ((std::vector<std::vector<std::string>>{{"1", "299", "Tokyo", "0", "0", "0", "0", "0"}}),
		query("SELECT * FROM added_city2;"));
}

TEST_F(CityDatabase, MissingDataDirectoryIsLoggedNotFatal)
{
	zon_host_fault_inject("app_get_data_path", 1, APP_ERROR_INVALID_CONTEXT);
	db->initialize();
	EXPECT_TRUE(zon_host_log_contains("open database is failed."));
	db->insert(299, "Tokyo", false);
	EXPECT_TRUE(db->getAllCityList(false).empty());
	db->finalize();

	// A data path whose directory is gone: SQLite refuses to open it.
	std::string dir = dataDir();
	ASSERT_EQ(0, system(("rm -rf '" + dir + "' && touch '" + dir.substr(0, dir.size() - 1) + "'").c_str()));
	zon_host_log_clear();
	db->initialize();
	EXPECT_TRUE(zon_host_log_contains("open database is failed."));
	EXPECT_TRUE(db->getAllCityList(false).empty());
}

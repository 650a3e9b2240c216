#define LOG_TAG "zonvista"

#include "ZonDBManager.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <sqlite3.h>

#include <app_common.h>
#include <app_preference.h>
#include <system_info.h>
#include <vconf.h>
#include <zon_platform.h>

#include "ZonCityList.h"
#include "ZonCommonDefine.h"

#define ZON_DB_FILE_NAME "zonvista.db"
#define ZON_DB_TABLE_NAME "added_city2"
#define ZON_DB_PATH_SIZE 4096

#define ZON_DB_CHANGED_KEY "ZonDBChanged"
#define ZON_DB_STATUS_KEY "ZonDBStatus"
#define ZON_DB_STATUS_NONE "ZON_DB_STATUS_NONE"
#define ZON_DB_STATUS_CHANGE "ZON_DB_STATUS_CHANGE"

#define ZON_LDU_MARKER_FILE "/tmp/.zonvista_ldu"
#define ZON_RETAIL_MODE_KEY "db/retailmode/enabled"
// The showcase (trade-fair) build is marked by a custom feature of the device maker. Any custom
// key works here; this one is what the host port and our tests configure.
#define ZON_SHOWCASE_FEATURE_KEY "http://korvath.com/feature/showcase_binary"

// Names longer than this are cut when a row is read back, so they can never match the catalogue.
#define ZON_DB_NAME_READ_MAX 64

namespace {

struct PredefinedCity {
	int cityId;
	const char* englishName;
};

const PredefinedCity predefinedCities[] = {
	{35, "Beijing"},
	{261, "San Francisco"},
	{39, "Berlin"},
};

const char kNotOpenMessage[] = "the database is not open";

// Positions of the "id", "city_id" and "english_name" result columns, -1 for an absent one. The
// last column of a name wins, as a by-name read of every column would have it.
void findRowColumns(sqlite3_stmt* stmt, int columns[3])
{
	static const char* const wanted[3] = {"id", "city_id", "english_name"};
	columns[0] = columns[1] = columns[2] = -1;
	int columnCount = sqlite3_column_count(stmt);
	for (int i = 0; i < columnCount; ++i) {
		const char* name = sqlite3_column_name(stmt, i);
		for (int k = 0; k < 3 && name; ++k) {
			if (!strcmp(name, wanted[k]))
				columns[k] = i;
		}
	}
}

}

ZonDBManager* ZonDBManager::_instance = nullptr;

ZonDBManager* ZonDBManager::getInstance()
{
	if (!_instance)
		_instance = new ZonDBManager();
	return _instance;
}

ZonDBManager::ZonDBManager()
	: _dbHandler(nullptr)
	, _lastError(SQLITE_OK)
	, _lastSystemError(0)
	, _openError(SQLITE_OK)
	, _openSystemError(0)
{
	bool existing = false;
	preference_is_existing(ZON_DB_CHANGED_KEY, &existing);
	if (!existing) {
		int ret = preference_set_int(ZON_DB_CHANGED_KEY, 0);
		if (ret != PREFERENCE_ERROR_NONE)
			WERROR("preference_set_int failed(%d)", ret);
	}

	existing = false;
	preference_is_existing(ZON_DB_STATUS_KEY, &existing);
	if (!existing) {
		int ret = preference_set_string(ZON_DB_STATUS_KEY, ZON_DB_STATUS_NONE);
		if (ret != PREFERENCE_ERROR_NONE)
			WERROR("preference_set_string failed(%d)", ret);
	}
}

ZonDBManager::ZonDBManager(const ZonDBManager&)
	: _dbHandler(nullptr)
	, _lastError(SQLITE_OK)
	, _lastSystemError(0)
	, _openError(SQLITE_OK)
	, _openSystemError(0)
{
}

ZonDBManager::~ZonDBManager()
{
	finalize();
	_citylist.clear();
	_citylist.shrink_to_fit();
}

void ZonDBManager::_clearError()
{
	_lastError = SQLITE_OK;
	_lastErrorMessage.clear();
	_lastSystemError = 0;
}

void ZonDBManager::_recordError(int rc, const char* what)
{
	// Without a connection the reason is the open that did not happen, when there was one.
	bool notOpen = !_dbHandler && _openError == SQLITE_OK;
	const char* message = _dbHandler ? sqlite3_errmsg(_dbHandler) : notOpen ? kNotOpenMessage : _openErrorMessage.c_str();
	int systemError = _dbHandler ? sqlite3_system_errno(_dbHandler) : notOpen ? 0 : _openSystemError;
	WERROR("%s: %s (%d)", what, message, rc);
	if (_lastError != SQLITE_OK)
		return;
	_lastError = _dbHandler || notOpen ? rc & 0xff : _openError;
	_lastErrorMessage = message;
	_lastSystemError = systemError;
}

bool ZonDBManager::_runStatement(const char* query)
{
	// Without a connection there is nothing to prepare; SQLite itself would not survive a null
	// handle, so this counts as a failed prepare and the caller logs it as such.
	if (!_dbHandler || !query) {
		_recordError(_dbHandler ? SQLITE_NOMEM : SQLITE_MISUSE, "sqlite3_prepare_v2");
		return false;
	}

	sqlite3_stmt* stmt = nullptr;
	int ret = sqlite3_prepare_v2(_dbHandler, query, -1, &stmt, nullptr);
	if (ret == SQLITE_OK) {
		int step = sqlite3_step(stmt);
		if (step != SQLITE_ROW && step != SQLITE_DONE)
			_recordError(step, "sqlite3_step");
	} else {
		_recordError(ret, "sqlite3_prepare_v2");
	}
	sqlite3_finalize(stmt);
	return ret == SQLITE_OK;
}

bool ZonDBManager::beginTransaction()
{
	_clearError();
	return _runStatement("BEGIN IMMEDIATE;") && _lastError == SQLITE_OK;
}

bool ZonDBManager::commitTransaction()
{
	_clearError();
	if (_runStatement("COMMIT;") && _lastError == SQLITE_OK)
		return true;
	// A failed COMMIT may leave the transaction open (SQLITE_BUSY): never keep half of it.
	if (_dbHandler && !sqlite3_get_autocommit(_dbHandler))
		sqlite3_exec(_dbHandler, "ROLLBACK;", nullptr, nullptr, nullptr);
	return false;
}

void ZonDBManager::rollbackTransaction()
{
	_clearError();
	if (_dbHandler && !sqlite3_get_autocommit(_dbHandler))
		_runStatement("ROLLBACK;");
}

void ZonDBManager::initialize()
{
	// Every user of the library calls initialize(), some while the file is already open; reopen
	// rather than leak the earlier connection.
	finalize();

	_clearError();
	_openError = SQLITE_OK;

	char dbPath[ZON_DB_PATH_SIZE] = {0};
	errno = 0;
	char* dataPath = app_get_data_path();
	int pathErrno = errno;
	if (dataPath) {
		snprintf(dbPath, sizeof(dbPath), "%s%s", dataPath, ZON_DB_FILE_NAME);
		free(dataPath);
		int rc = sqlite3_open(dbPath, &_dbHandler);
		if (rc != SQLITE_OK) {
			WERROR("open database is failed.");
			_recordError(rc, "sqlite3_open");
		} else {
			sqlite3_busy_timeout(_dbHandler, kBusyTimeoutMs);
			// One fsync per transaction instead of four, and readers that never wait for a
			// writer. Both fail harmlessly on a file that is not a database; the creation
			// statement below then logs it.
			sqlite3_exec(_dbHandler, "PRAGMA journal_mode=WAL;", nullptr, nullptr, nullptr);
			sqlite3_exec(_dbHandler, "PRAGMA synchronous=NORMAL;", nullptr, nullptr, nullptr);
			// The log and its index stay beside the database when the last connection closes
			// (every program that shows a list would otherwise create and delete both files),
			// the log emptied once checkpointed: nothing of it outlives a close to stand in for
			// pages of the database file. Both are read when the connection closes.
			int keepLog = 1;
			sqlite3_file_control(_dbHandler, "main", SQLITE_FCNTL_PERSIST_WAL, &keepLog);
			sqlite3_exec(_dbHandler, "PRAGMA journal_size_limit=0;", nullptr, nullptr, nullptr);
		}
	} else {
		// Opening a bare "zonvista.db" would put the list in whatever the working directory is.
		WERROR("app_get_data_path is failed.");
		WERROR("open database is failed.");
		_openError = SQLITE_CANTOPEN;
		_openSystemError = pathErrno;
		_openErrorMessage = "the application data directory is not available";
		_recordError(SQLITE_CANTOPEN, "app_get_data_path");
	}

	std::string cQuery = std::string("CREATE TABLE IF NOT EXISTS ") + ZON_DB_TABLE_NAME + "("
		+ "id INTEGER PRIMARY KEY AUTOINCREMENT, "
		+ "city_id INTEGER NOT NULL, "
		+ "english_name TEXT NOT NULL, "
		+ "weather_type INTEGER DEFAULT 0, "
		+ "temparature INTEGER DEFAULT 0, "
		+ "is_centigrade INTEGER DEFAULT 0, "
		+ "last_update_time INTEGER DEFAULT 0, "
		+ "is_external INTEGER DEFAULT 0 "
		+ ");";
	WINFO("cQuery[%s]", cQuery.c_str());
	if (_runStatement(cQuery.c_str()))
		WINFO("table created");
	else
		WERROR("sqlite3_exec is failed.");

	// Files from the first release hold only id, city_id and english_name.
	int columnCount = 0;
	if (_dbHandler) {
		std::string selectQuery = std::string("SELECT * FROM ") + ZON_DB_TABLE_NAME + ";";
		sqlite3_stmt* stmt = nullptr;
		if (sqlite3_prepare_v2(_dbHandler, selectQuery.c_str(), -1, &stmt, nullptr) == SQLITE_OK)
			sqlite3_step(stmt);
		columnCount = sqlite3_column_count(stmt);
		sqlite3_finalize(stmt);
	}
	if (columnCount < 4) {
		_addColumn("weather_type", "INTEGER", 0);
		_addColumn("temparature", "INTEGER", 0);
		_addColumn("is_centigrade", "INTEGER", 0);
		_addColumn("last_update_time", "INTEGER", 0);
		_addColumn("is_external", "INTEGER", 0);
	}

	if (_isIFABinary() || _isLDUBinary()) {
		// The marker lives in a temporary directory: it survives until the next boot, so the
		// demonstration list is reset once per boot and not on every start.
		char* markerPath = zon_platform_path(ZON_LDU_MARKER_FILE);
		FILE* file = markerPath ? fopen(markerPath, "r") : nullptr;
		if (file) {
			WINFO(".zonvista_ldu file is exist!");
		} else {
			WINFO(".zonvista_ldu file is not exist!");
			file = markerPath ? fopen(markerPath, "w") : nullptr;
			if (file) {
				WINFO(".zonvista_ldu file is written.");
				fprintf(file, "%s\n", ZON_LDU_MARKER_FILE);
				fflush(file);
				_resetToPredefinedCities(nullptr);
			} else {
				WERROR(".zonvista_ldu file writing is failed.");
			}
		}
		if (file)
			fclose(file);
		free(markerPath);
	}
}

void ZonDBManager::finalize()
{
	_openError = SQLITE_OK;
	if (_dbHandler) {
		sqlite3_close(_dbHandler);
		_dbHandler = nullptr;
	}
}

void ZonDBManager::_addColumn(const char* column, const char* type)
{
	std::string query = std::string("ALTER TABLE ") + ZON_DB_TABLE_NAME + " ADD COLUMN " + column + " " + type;
	if (!_runStatement(query.c_str()))
		WERROR("column add failed.");
}

void ZonDBManager::_addColumn(const char* column, const char* type, int defaultValue)
{
	std::string query = std::string("ALTER TABLE ") + ZON_DB_TABLE_NAME + " ADD COLUMN " + column + " " + type
		+ " DEFAULT " + std::to_string(defaultValue);
	if (!_runStatement(query.c_str()))
		WERROR("column add failed.");
}

bool ZonDBManager::_isIFABinary()
{
	bool value = false;
	int ret = system_info_get_custom_bool(ZON_SHOWCASE_FEATURE_KEY, &value);
	if (ret != SYSTEM_INFO_ERROR_NONE) {
		WERROR("system_info_get_custom_bool is failed.");
		return false;
	}
	if (value)
		WINFO("this is IFA binary!");
	else
		WINFO("this is not IFA binary!");
	return value;
}

bool ZonDBManager::_isLDUBinary()
{
	int value = 0;
	int ret = vconf_get_int(ZON_RETAIL_MODE_KEY, &value);
	if (ret != 0) {
		WERROR("vconf_get_int is faled.(%d)", ret);
		return false;
	}
	return value == 1;
}

void ZonDBManager::insert(int cityId, const char* englishName, bool isExternal)
{
	_clearError();
	char* query = sqlite3_mprintf("INSERT INTO %s VALUES(null, %d, %Q, 0, 0, 0, 0, %d);",
		ZON_DB_TABLE_NAME, cityId, englishName, isExternal ? 1 : 0);
	WINFO("qery %s", query ? query : "");
	if (!_runStatement(query))
		WERROR("insert query is failed.");
	sqlite3_free(query);
	setPreferenceAfterDbChange();
}

void ZonDBManager::insert(int cityId, std::string englishName, bool isExternal)
{
	insert(cityId, englishName.c_str(), isExternal);
}

void ZonDBManager::remove(int cityId, const char* englishName, bool isExternal, bool, bool)
{
	_clearError();
	char* query = sqlite3_mprintf("DELETE FROM %Q where city_id = %d and is_external = %d and english_name = %Q;",
		ZON_DB_TABLE_NAME, cityId, isExternal ? 1 : 0, englishName);
	WINFO("query %s", query ? query : "");
	if (!_runStatement(query))
		WERROR("remove query is failed.");
	sqlite3_free(query);
}

void ZonDBManager::remove(int cityId, std::string englishName)
{
	remove(cityId, englishName.c_str(), false, true, true);
}

void ZonDBManager::update(int cityId, int newCityId, const char* newEnglishName, bool isExternal)
{
	_clearError();
	if (!_dbHandler) {
		WERROR("_dbHandler is nullptr!");
		_recordError(SQLITE_MISUSE, "update");
		return;
	}
	char* query = sqlite3_mprintf("UPDATE %Q set city_id=%d, english_name=%Q, weather_type = 0, temparature = 0, "
		"is_centigrade = 0, last_update_time = 0 where city_id=%d and is_external = %d;",
		ZON_DB_TABLE_NAME, newCityId, newEnglishName, cityId, isExternal ? 1 : 0);
	WINFO("query %s", query ? query : "");
	if (!_runStatement(query))
		WERROR("update query is failed.");
	sqlite3_free(query);
	setPreferenceAfterDbChange();
}

void ZonDBManager::update(int cityId, int newCityId, std::string newEnglishName)
{
	update(cityId, newCityId, newEnglishName.c_str(), false);
}

const std::vector<Cityinfo>& ZonDBManager::getAllCityList(bool isExternal)
{
	_clearError();
	_citylist.clear();

	std::string query = std::string("SELECT * FROM ") + ZON_DB_TABLE_NAME + " WHERE is_external = "
		+ (isExternal ? "1" : "0") + ";";
	sqlite3_stmt* stmt = nullptr;
	int ret = _dbHandler ? sqlite3_prepare_v2(_dbHandler, query.c_str(), -1, &stmt, nullptr) : SQLITE_MISUSE;
	if (ret == SQLITE_OK) {
		int columns[3];
		findRowColumns(stmt, columns);
		// The busy handler has already waited; any failure ends the read, as SQLite would
		// restart the statement on the next step and hand out the same rows again.
		while ((ret = sqlite3_step(stmt)) == SQLITE_ROW) {
			// Copied once, straight from the catalogue: a record is 800 bytes and lists are read
			// on every refresh.
			if (const Cityinfo* row = _catalogueRowOf(stmt, columns))
				_citylist.push_back(*row);
		}
		if (ret != SQLITE_DONE) {
			WERROR("reading the city list is failed.(%d)", ret);
			_recordError(ret, "sqlite3_step");
			// Half a list is no list: a caller that checks lastError() must not see some rows.
			_citylist.clear();
		}
	} else {
		WERROR("select query is failed.");
		_recordError(ret, "sqlite3_prepare_v2");
	}
	sqlite3_finalize(stmt);

	for (const Cityinfo& entry : _citylist)
		WINFO("rowID[%d] cityname[%s]", entry.dbId, entry.cityname_eng);

	return _citylist;
}

bool ZonDBManager::_extractDataFromStms(sqlite3_stmt* stmt, Cityinfo& city)
{
	int columns[3];
	findRowColumns(stmt, columns);
	const Cityinfo* row = _catalogueRowOf(stmt, columns);
	if (!row) {
		memset(&city, 0, sizeof(city));
		return false;
	}
	city = *row;
	return true;
}

Cityinfo* ZonDBManager::_catalogueRowOf(sqlite3_stmt* stmt, const int columns[3])
{
	int dbId = columns[0] >= 0 ? sqlite3_column_int(stmt, columns[0]) : 0;
	int id = columns[1] >= 0 ? sqlite3_column_int(stmt, columns[1]) : 0;
	const char* text = columns[2] >= 0 ? reinterpret_cast<const char*>(sqlite3_column_text(stmt, columns[2])) : nullptr;
	if (!text)
		text = "";
	// The stored name as it would be read back into a record: its first 64 bytes.
	size_t length = strnlen(text, ZON_DB_NAME_READ_MAX);

	// Row i holds id i + 1, so the row to find is normally the one at id - 1; the scan keeps the
	// answer right for any table.
	int first = (id >= 1 && id <= ZON_CITY_COUNT) ? id - 1 : 0;
	for (int n = 0; n < ZON_CITY_COUNT; ++n) {
		Cityinfo& row = allCityList[n == 0 ? first : (n <= first ? n - 1 : n)];
		if (row.id == id && !strncmp(row.cityname_eng, text, length) && row.cityname_eng[length] == '\0') {
			row.dbId = dbId;
			return &row;
		}
	}
	return nullptr;
}

bool ZonDBManager::isExist(const Cityinfo* city, bool isExternal)
{
	_clearError();
	if (!city) {
		WERROR("invalid argument!");
		return false;
	}

	int cityId = 0;
	for (int i = 0; i < ZON_CITY_COUNT; ++i) {
		if (!strncmp(allCityList[i].cityname_string, city->cityname_string, CITYINFO_TEXT_SIZE)
			&& !strncmp(allCityList[i].timezone, city->timezone, CITYINFO_TEXT_SIZE)) {
			cityId = allCityList[i].id;
			break;
		}
	}
	// A record that matches no catalogue row has no id to look for.
	if (cityId == 0)
		return false;

	const std::vector<Cityinfo>& list = getInstance()->getAllCityList(isExternal);
	for (const Cityinfo& entry : list) {
		if (entry.id == cityId)
			return true;
	}
	return false;
}

bool ZonDBManager::isExist(const char* cityString, const char* countryString, const char* timezone,
	const char* timezonePath, bool isExternal)
{
	Cityinfo city;
	memset(&city, 0, sizeof(city));
	auto copyCut = [](char* field, const char* text) {
		if (text)
			strncpy(field, text, CITYINFO_TEXT_SIZE - 1);
	};
	copyCut(city.cityname_string, cityString);
	copyCut(city.country_string, countryString);
	copyCut(city.timezone, timezone);
	copyCut(city.timezone_path, timezonePath);
	return isExist(&city, isExternal);
}

bool ZonDBManager::getWeatherInfo(int cityId, int& weatherType, int& temperature, bool& isCentigrade,
	int& lastUpdateTime, bool isExternal)
{
	_clearError();
	if (!_dbHandler) {
		_recordError(SQLITE_MISUSE, "getWeatherInfo");
		return false;
	}

	std::string query = std::string("SELECT * FROM ") + ZON_DB_TABLE_NAME + " WHERE city_id="
		+ std::to_string(cityId) + " and is_external=" + (isExternal ? "1" : "0") + ";";
	sqlite3_stmt* stmt = nullptr;
	int ret = sqlite3_prepare_v2(_dbHandler, query.c_str(), -1, &stmt, nullptr);
	if (ret == SQLITE_OK) {
		ret = sqlite3_step(stmt);
		if (ret != SQLITE_ROW && ret != SQLITE_DONE)
			_recordError(ret, "sqlite3_step");
	} else {
		WERROR("weather query is failed.");
		_recordError(ret, "sqlite3_prepare_v2");
	}

	// A statement that found no row still names its columns and reads as 0, so a city that was
	// never stored comes back as "never updated".
	int columnCount = sqlite3_column_count(stmt);
	for (int i = 0; i < columnCount; ++i) {
		const char* name = sqlite3_column_name(stmt, i);
		if (!name)
			continue;
		if (!strcmp(name, "weather_type"))
			weatherType = sqlite3_column_int(stmt, i);
		else if (!strcmp(name, "temparature"))
			temperature = sqlite3_column_int(stmt, i);
		else if (!strcmp(name, "is_centigrade"))
			isCentigrade = sqlite3_column_int(stmt, i) != 0;
		else if (!strcmp(name, "last_update_time"))
			lastUpdateTime = sqlite3_column_int(stmt, i);
	}
	sqlite3_finalize(stmt);
	return true;
}

void ZonDBManager::updateWeatherInfo(int cityId, int weatherType, int temperature, bool isCentigrade,
	int lastUpdateTime)
{
	_clearError();
	if (!_dbHandler) {
		_recordError(SQLITE_MISUSE, "updateWeatherInfo");
		return;
	}

	// No is_external condition: a city's weather is the same in both lists.
	char* query = sqlite3_mprintf("UPDATE %s SET weather_type=%d, temparature=%d, is_centigrade=%d, "
		"last_update_time=%d where city_id=%d;",
		ZON_DB_TABLE_NAME, weatherType, temperature, isCentigrade ? 1 : 0, lastUpdateTime, cityId);
	if (!_runStatement(query))
		WERROR("update query is failed.");
	sqlite3_free(query);
}

void ZonDBManager::setLDUMode()
{
	_clearError();
	if (!_isLDUBinary())
		return;
	_resetToPredefinedCities("LDU mode set failed.");
}

void ZonDBManager::_resetToPredefinedCities(const char* failureMessage)
{
	// Either the user's list stays or the predefined one is complete: a reset cut short by a full
	// disk or a killed process must not leave an empty or partial list.
	bool own = _dbHandler && sqlite3_get_autocommit(_dbHandler)
		&& sqlite3_exec(_dbHandler, "BEGIN IMMEDIATE;", nullptr, nullptr, nullptr) == SQLITE_OK;
	if (_dbHandler && sqlite3_get_autocommit(_dbHandler) && !own)
		_recordError(sqlite3_errcode(_dbHandler), "BEGIN IMMEDIATE");

	std::string query = std::string("DELETE FROM ") + ZON_DB_TABLE_NAME;
	if (!_runStatement(query.c_str()) && failureMessage)
		WERROR("%s", failureMessage);
	_insertPredefinedCities();

	if (own) {
		if (_lastError != SQLITE_OK || sqlite3_exec(_dbHandler, "COMMIT;", nullptr, nullptr, nullptr) != SQLITE_OK) {
			if (_lastError == SQLITE_OK)
				_recordError(sqlite3_errcode(_dbHandler), "COMMIT");
			sqlite3_exec(_dbHandler, "ROLLBACK;", nullptr, nullptr, nullptr);
		}
	}
	// After the commit, so that a process that wakes up on it reads the new list.
	_notifyDBChanged();
}

void ZonDBManager::setPreferenceAfterDbChange()
{
	int ret = preference_set_string(ZON_DB_STATUS_KEY, ZON_DB_STATUS_CHANGE);
	if (ret != PREFERENCE_ERROR_NONE)
		WERROR("preference_set_string failed.(%d)", ret);
	_notifyDBChanged();
}

void ZonDBManager::_notifyDBChanged()
{
	// A toggle, so that every notification is a change of value and wakes every watcher.
	int changed = 0;
	if (preference_get_int(ZON_DB_CHANGED_KEY, &changed) != PREFERENCE_ERROR_NONE)
		changed = 0;
	int ret = preference_set_int(ZON_DB_CHANGED_KEY, changed ? 0 : 1);
	if (ret != PREFERENCE_ERROR_NONE)
		WERROR("preference_set_int failed.(%d)", ret);
}

void ZonDBManager::_insertPredefinedCities()
{
	for (const PredefinedCity& city : predefinedCities) {
		char* query = sqlite3_mprintf("INSERT INTO %Q VALUES(null, %d, %Q, 0, 0, 0, 0, 0);",
			ZON_DB_TABLE_NAME, city.cityId, city.englishName);
		if (!_runStatement(query))
			WERROR("insert query is failed.");
		sqlite3_free(query);
	}
}

/**
 * @class ZonDBManager
 * ZonDBManager.h - the user's city lists and their cached weather.
 *
 * One SQLite file, "zonvista.db" in the application's data directory, table "added_city2".
 * Two independent lists live in it, told apart by `is_external` (false: the main list, true: the
 * second list). A stored row carries the catalogue id and the English name of its city; reading
 * a list turns each row back into the catalogue's full record (see ZonCityList.h).
 *
 * Every change made through insert() or update() (and the retail-mode reset) is announced to the
 * other processes of the application through two preferences: "ZonDBStatus" becomes
 * "ZON_DB_STATUS_CHANGE" and "ZonDBChanged" toggles between 0 and 1. remove() announces nothing;
 * call setPreferenceAfterDbChange() after it if other processes must learn of a removal.
 *
 * Failures are never thrown. The operations themselves report none (but for getWeatherInfo()):
 * each failure is logged, with SQLite's own message beside the line of the operation, and the
 * table is left as it was. A caller that must tell an empty list from an unreadable one asks
 * lastError() right after the call.
 *
 * The file is kept in write-ahead-log mode (the "-wal" and "-shm" files beside it belong to it),
 * so readers in other processes are never blocked by a writer, and a connection waits up to
 * kBusyTimeoutMs for another process's write to end before a statement fails as busy.
 * Multi-row changes made here (the retail reset, the predefined cities) are one transaction
 * each; callers group their own with beginTransaction()/commitTransaction().
 *
 * Ownership and threading: a process-wide singleton that lives until the process ends;
 * finalize() closes the file without deleting the object. Main-loop thread only, no locking.
 *
 * Example:
 * @code
 *   ZonDBManager* db = ZonDBManager::getInstance();
 *   db->initialize();
 *   db->insert(299, "Tokyo", false);
 *   for (const Cityinfo& city : db->getAllCityList(false))
 *       printf("%d %s %s\n", city.dbId, city.cityname_eng, city.timezone_path);
 *   db->finalize();
 * @endcode
 */
#ifndef ZON_DB_MANAGER_H
#define ZON_DB_MANAGER_H

#include <string>
#include <vector>

#include "ZonCityinfo.h"

struct sqlite3;
struct sqlite3_stmt;

class ZonDBManager {
public:
	/// The manager, created on the first call; never null. The database opens with initialize().
	static ZonDBManager* getInstance();

	/// Opens (creating or migrating) the database and applies the once-per-boot retail reset.
	void initialize();
	/// Closes the database; the object stays usable and initialize() may be called again.
	void finalize();

	/// Adds the catalogue city `cityId` (with its English name) at the end of a list and announces
	/// the change; the std::string form adds to the main list.
	///@{
	void insert(int cityId, const char* englishName, bool isExternal);
	void insert(int cityId, std::string englishName, bool isExternal);
	///@}
	/// Removes the city's row from a list (the std::string form: from the main list), without
	/// announcing it. The last two flags are accepted for compatibility and not used.
	///@{
	void remove(int cityId, const char* englishName, bool isExternal, bool, bool);
	void remove(int cityId, std::string englishName);
	///@}
	/// Replaces a city by another in place (the row keeps its position), clears its weather and
	/// announces the change; the std::string form acts on the main list.
	///@{
	void update(int cityId, int newCityId, const char* newEnglishName, bool isExternal);
	void update(int cityId, int newCityId, std::string newEnglishName);
	///@}

	/// The list in the order cities were added. The reference is to an internal buffer that the
	/// next getAllCityList() or isExist() call refills.
	const std::vector<Cityinfo>& getAllCityList(bool isExternal);

	/// Whether the catalogue city with the same cityname_string and timezone is in the list.
	///@{
	bool isExist(const Cityinfo* city, bool isExternal);
	bool isExist(const char* cityString, const char* countryString, const char* timezone,
		const char* timezonePath, bool isExternal);
	///@}

	/// The weather cache. getWeatherInfo() returns false only when the database is closed, and
	/// then leaves the out-values untouched; a city with no row reads as all zeros.
	bool getWeatherInfo(int cityId, int& weatherType, int& temperature, bool& isCentigrade,
		int& lastUpdateTime, bool isExternal);
	/// Updates the city's rows in both lists: weather is shared by the lists.
	void updateWeatherInfo(int cityId, int weatherType, int temperature, bool isCentigrade,
		int lastUpdateTime);

	/// On a retail (demonstration) device, empties the table and inserts the predefined cities.
	void setLDUMode();
	/// Announces a change to the other processes.
	void setPreferenceAfterDbChange();

	/// @name Beyond the calls above: failures and transactions
	/// @{

	/// How long a statement waits for another connection's lock (the widget, the service and the
	/// application share the file).
	static const int kBusyTimeoutMs = 2500;

	/// The first SQLite failure of the last operation above (a primary result code such as
	/// SQLITE_BUSY, SQLITE_NOTADB, SQLITE_FULL), or SQLITE_OK (0) when all of it succeeded.
	/// Without a connection: the failure of the open when initialize() could not open the file,
	/// else SQLITE_MISUSE. Every operation starts afresh, isExist() and the transaction calls
	/// included.
	int lastError() const { return _lastError; }
	/// SQLite's text for it ("database is locked"), empty after a success.
	const std::string& lastErrorMessage() const { return _lastErrorMessage; }
	/// The errno of the failed system call behind lastError(), 0 when there was none.
	int lastSystemError() const { return _lastSystemError; }

	/// BEGIN IMMEDIATE: takes the write lock now (waiting as above), so that a read-check-write
	/// sequence cannot interleave with another process's. No nesting. False when it failed.
	bool beginTransaction();
	/// COMMIT; false (and the transaction rolled back) when it could not be committed.
	bool commitTransaction();
	/// ROLLBACK of an open transaction; nothing when none is open.
	void rollbackTransaction();
	/// @}

	/// Never called by the library: the singleton lives until the process ends.
	virtual ~ZonDBManager();

private:
	ZonDBManager();
	ZonDBManager(const ZonDBManager&);

	void _addColumn(const char* column, const char* type);
	void _addColumn(const char* column, const char* type, int defaultValue);
	bool _isIFABinary();
	bool _isLDUBinary();
	void _notifyDBChanged();
	// The predefined rows only; _resetToPredefinedCities() announces them once committed.
	void _insertPredefinedCities();
	bool _extractDataFromStms(sqlite3_stmt* stmt, Cityinfo& city);
	// The catalogue row of the statement's current row, its dbId set from the row (the catalogue
	// keeps it), or null. columns: the positions of "id", "city_id" and "english_name" (-1:
	// absent), found once per statement.
	Cityinfo* _catalogueRowOf(sqlite3_stmt* stmt, const int columns[3]);
	// Prepares, steps once when the prepare succeeded, finalizes; false when the prepare failed.
	// A failed prepare or step is recorded for lastError() and logged with SQLite's message.
	bool _runStatement(const char* query);
	// Starts an operation: lastError() reads SQLITE_OK until _recordError().
	void _clearError();
	// Keeps the first failure of the operation; rc is a SQLite result code.
	void _recordError(int rc, const char* what);
	// Runs the retail reset's statements as one transaction (or inside the caller's).
	void _resetToPredefinedCities(const char* failureMessage);

	std::vector<Cityinfo> _citylist;
	sqlite3* _dbHandler;
	// What lastError() and its companions answer.
	int _lastError;
	std::string _lastErrorMessage;
	int _lastSystemError;
	// Why initialize() could not open the file; what an operation without a connection reports.
	int _openError;
	std::string _openErrorMessage;
	int _openSystemError;

	static ZonDBManager* _instance;
};

#endif /* ZON_DB_MANAGER_H */

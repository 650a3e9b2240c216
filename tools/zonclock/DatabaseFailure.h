/*
 * DatabaseFailure.h - why the city database could not do what a command asked.
 *
 * The library answers a failed read with an empty list; zonclock asks ZonDBManager::lastError()
 * after each call so that a locked, damaged or unreadable file is reported as such and never
 * shown as an empty list.
 */
#ifndef ZONCLOCK_DATABASE_FAILURE_H
#define ZONCLOCK_DATABASE_FAILURE_H

#include <string>

class ZonDBManager;

namespace zonclock {

// Empty when the last operation of db succeeded. Otherwise the cause in words, the database
// file and SQLite's own text: "the city database is locked by another process (.../zonvista.db:
// database is locked)".
std::string databaseFailure(const ZonDBManager* db);

// A write transaction of one command: rolled back when it goes out of scope uncommitted, so an
// early return changes nothing.
class DatabaseTransaction {
public:
	explicit DatabaseTransaction(ZonDBManager* db);
	~DatabaseTransaction();
	DatabaseTransaction(const DatabaseTransaction&) = delete;
	DatabaseTransaction& operator=(const DatabaseTransaction&) = delete;

	// Whether BEGIN succeeded; when not, databaseFailure() says why.
	bool begun() const { return _begun; }
	bool commit();

private:
	ZonDBManager* _db;
	bool _begun;
	bool _committed = false;
};

} // namespace zonclock

#endif /* ZONCLOCK_DATABASE_FAILURE_H */

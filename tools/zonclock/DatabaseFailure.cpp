#include "DatabaseFailure.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <sqlite3.h>

#include <app_common.h>

#include "Printable.h"
#include "ZonDBManager.h"

namespace zonclock {

namespace {

const char* cause(int code, int systemError)
{
	if (systemError == EACCES || systemError == EPERM || systemError == EROFS)
		return "no permission to use the city database";
	if (systemError == ENOSPC || systemError == EDQUOT || systemError == EFBIG || code == SQLITE_FULL)
		return "the disk is full";
	if (systemError == EISDIR)
		return "the city database is a directory, not a database";
	switch (code) {
	case SQLITE_BUSY:
	case SQLITE_LOCKED:
		return "the city database is locked by another process";
	case SQLITE_NOTADB:
	case SQLITE_CORRUPT:
		return "the city database file is not a database, or it is damaged";
	case SQLITE_PERM:
	case SQLITE_READONLY:
	case SQLITE_AUTH:
		return "no permission to use the city database";
	case SQLITE_CANTOPEN:
		return "the city database cannot be opened";
	case SQLITE_IOERR:
		return "the city database cannot be read or written (input/output error)";
	case SQLITE_MISUSE:
		return "the city database is not open";
	default:
		return "the city database failed";
	}
}

} // namespace

std::string databaseFailure(const ZonDBManager* db)
{
	if (db->lastError() == SQLITE_OK)
		return std::string();
	char* dataPath = app_get_data_path();
	std::string file = std::string(dataPath ? dataPath : "") + "zonvista.db";
	free(dataPath);
	std::string detail = db->lastErrorMessage();
	if (db->lastSystemError() != 0)
		detail += std::string(", ") + strerror(db->lastSystemError());
	return std::string(cause(db->lastError(), db->lastSystemError())) + " (" + printable(file) + ": " + detail + ")";
}

DatabaseTransaction::DatabaseTransaction(ZonDBManager* db)
	: _db(db)
	, _begun(db->beginTransaction())
{
}

DatabaseTransaction::~DatabaseTransaction()
{
	if (_begun && !_committed)
		_db->rollbackTransaction();
}

bool DatabaseTransaction::commit()
{
	_committed = _begun && _db->commitTransaction();
	return _committed;
}

} // namespace zonclock

#include "perlayer/drivers/sqlite/SqliteErrors.h"

#include <sqlite3.h>

namespace perlayer {

TDatabaseErrorKind SqliteErrorKind(int code) {
  switch (code & 0xff) {
    case SQLITE_CONSTRAINT:
    case SQLITE_MISMATCH:  // a text where a whole-number key stands
      return TDatabaseErrorKind::constraint;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return TDatabaseErrorKind::busy;
    case SQLITE_IOERR:
    case SQLITE_CANTOPEN:
      return TDatabaseErrorKind::connectionLost;
    case SQLITE_READONLY:
      return code == SQLITE_READONLY_DBMOVED ? TDatabaseErrorKind::connectionLost
                                             : TDatabaseErrorKind::other;
    default:
      return TDatabaseErrorKind::other;
  }
}

EDatabaseError SqliteError(sqlite3* database, int code, const std::string& statement,
                           const std::string& where) {
  return SqliteError(SqliteErrorKind(code), database, code, statement, where);
}

EDatabaseError SqliteError(TDatabaseErrorKind kind, sqlite3* database, int code,
                           const std::string& statement, const std::string& where) {
  // The connection's words belong to its last failure; for another one, the words of the code.
  const bool isLast = database != nullptr && sqlite3_extended_errcode(database) == code;
  std::string message = isLast ? sqlite3_errmsg(database) : sqlite3_errstr(code);
  if (!where.empty()) message.insert(0, where + ": ");
  return EDatabaseError(kind, code, message, statement);
}

}  // namespace perlayer

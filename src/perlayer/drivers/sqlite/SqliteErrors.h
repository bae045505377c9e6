#pragma once
// The database's result codes as EDatabaseError.

#include <string>

#include "perlayer/corekit/EDatabaseError.h"

struct sqlite3;

namespace perlayer {

// `code` is an extended result code.
TDatabaseErrorKind SqliteErrorKind(int code);

// The database's words for its last failure, with `where` (a place or a file, may be empty) in
// front of them. `database` may be nullptr: then the words are those of the code.
EDatabaseError SqliteError(sqlite3* database, int code, const std::string& statement,
                           const std::string& where = {});
// The same, of another kind than the code tells.
EDatabaseError SqliteError(TDatabaseErrorKind kind, sqlite3* database, int code,
                           const std::string& statement, const std::string& where = {});

}  // namespace perlayer

#include "perlayer/drivers/sqlite/SqliteRaw.h"

#include <sqlite3.h>

namespace perlayer {

void TFinalizeSqlite::operator()(sqlite3_stmt* statement) const noexcept {
  sqlite3_finalize(statement);  // its answer is that of the last step, told already
}

TRawStatement PrepareRaw(sqlite3* database, std::string_view sql, int& code, bool kept) {
  sqlite3_stmt* statement = nullptr;
  code = sqlite3_prepare_v3(database, sql.data(), static_cast<int>(sql.size()),
                            kept ? SQLITE_PREPARE_PERSISTENT : 0, &statement, nullptr);
  return TRawStatement(statement);
}

}  // namespace perlayer

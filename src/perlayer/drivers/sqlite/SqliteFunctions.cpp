#include "perlayer/drivers/sqlite/SqliteFunctions.h"

#include "perlayer/drivers/sqlite/SqliteErrors.h"
#include "perlayer/drivers/sqlite/TSqliteCall.h"

namespace perlayer {

void RegisterSqliteFunctions(sqlite3* database, TSqliteClock* clock) {
  // "Deterministic" makes the database call a function of constants once per run; sysdate too is
  // constant for as long, and the format settings are.
  static constexpr int kFlags = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS;
  for (const auto functions :
       {SqliteTextFunctions(), SqliteNumberFunctions(), SqliteDateFunctions()}) {
    for (const TSqliteFunction& function : functions) {
      const int code =
          sqlite3_create_function_v2(database, function.name, function.arguments, kFlags, clock,
                                     function.body, nullptr, nullptr, nullptr);
      if (code != SQLITE_OK) throw SqliteError(database, code, "");
    }
  }
  RegisterSqliteListAgg(database);
}

}  // namespace perlayer

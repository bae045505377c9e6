#pragma once
// A prepared statement of the database's own, finalized with its holder.

#include <memory>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace perlayer {

struct TFinalizeSqlite {
  void operator()(sqlite3_stmt* statement) const noexcept;
};
using TRawStatement = std::unique_ptr<sqlite3_stmt, TFinalizeSqlite>;

// nullptr, with the database's answer in `code`, when it cannot be prepared; also for a text
// without a statement. `kept`: for a statement that is run again and again.
TRawStatement PrepareRaw(sqlite3* database, std::string_view sql, int& code, bool kept = false);

}  // namespace perlayer

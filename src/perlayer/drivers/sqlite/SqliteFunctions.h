#pragma once
// The functions that the translated statements call: sysdate, to_date, to_char, date_to_char,
// date_only, to_number, concat, and upper and lower for the whole of Unicode.

struct sqlite3;

namespace perlayer {

// Raises EDatabaseError.
void RegisterSqliteFunctions(sqlite3* database);

}  // namespace perlayer

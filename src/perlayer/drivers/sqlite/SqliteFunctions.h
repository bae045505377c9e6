#pragma once
// The functions that the translated statements call, with the answers of the statements' language:
// those of dates (to_date, date_plus, add_months, ...), of texts (substr, lpad, ...) and of numbers
// (divide, round, ...), and the aggregate listagg. Some have the name of one of the database's own
// and replace it on this connection. docs/sql.md tells them all.

#include "perlayer/platform/TDateTime.h"

struct sqlite3;

namespace perlayer {

// The time that sysdate tells: read when a run first asks for it, and the same to the run's end.
// Whoever begins a run clears `isRead`.
struct TSqliteClock {
  bool isRead = false;
  TDateTime time = 0;
};

// `clock` is not owned. Raises EDatabaseError.
void RegisterSqliteFunctions(sqlite3* database, TSqliteClock* clock);

}  // namespace perlayer

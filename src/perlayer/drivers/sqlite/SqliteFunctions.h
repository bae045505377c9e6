#pragma once
// The functions that the translated statements call: sysdate, to_date, to_char, date_to_char,
// date_only, to_number, concat, and upper and lower for the whole of Unicode.

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

#pragma once
// The ward's database: opening it and asking what it holds.

#include <string>
#include <vector>

#include "perlayer/drivers/sqlite/TSqliteDatabase.h"
#include "perlayer/provider/TcmpClassMap.h"

namespace ward {

using namespace perlayer;

// The session on which the statements of the class maps run.
inline constexpr std::string_view kDatabase = TcmpClassMap::kDatabaseName;

// Raises, with the way to mend it, when the file is not there or no ward has been loaded into it.
TSqliteDatabase OpenWard(const std::string& file);

// Whether the tables of the ward are there.
bool HoldsWard(TSqliteDatabase& database);

// A table for people: each of the ward's tables and its rows.
std::vector<std::string> RowCounts(TSqliteDatabase& database);

// The single number that a SELECT gives.
double SelectNumber(TSqliteDatabase& database, const std::string& select);

}  // namespace ward

#pragma once
// `ward check`: class maps against the layer's rules and the database, and what the database holds.

#include <string>
#include <vector>

#include "Database.h"

namespace ward {

struct TMapReport {
  bool isSound = true;             // no faults; remarks are none
  std::vector<std::string> lines;  // for people
};

TMapReport CheckMap(const std::string& path, TSqliteDatabase& database);

// Checks the maps, the ward's own when none is given, and counts the rows of the ward's tables, on
// the standard output. False when a map has a fault.
bool Check(const std::string& databaseFile, std::vector<std::string> maps);

}  // namespace ward

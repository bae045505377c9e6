#pragma once
// The hospital of the CSV files, checked, with numeric keys in the place of UUIDs.

#include <string>
#include <vector>

#include "Schema.h"
#include "perlayer/platform/Variant.h"

namespace ward {

using namespace perlayer;

struct TTableData {
  const TWardTable* table;
  // The key of a row is its position from 1. Values stand as the table's columns do: a text, a
  // float, a date, or Null.
  std::vector<std::vector<Variant>> rows;
};

// Reads all six files; a table without one has no rows. Raises ECsvError, naming file and line, for
// the first thing that is wrong, and EStreamError for a file that cannot be read.
std::vector<TTableData> ReadHospital(const std::string& directory);

}  // namespace ward

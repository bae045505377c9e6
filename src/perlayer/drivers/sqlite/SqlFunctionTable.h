#pragma once
// What the translator knows of the functions of the statements' language: how many arguments each
// takes, what it answers and what the database calls it.

#include <cstdint>
#include <string_view>

#include "perlayer/drivers/sqlite/TSqlScope.h"

namespace perlayer {

enum class TSqlCallKind : std::uint8_t {
  plain,      // the arguments stay where they are
  text,       // the same; dates among them are written as texts
  aggregate,  // of the arguments' type; DISTINCT may stand before them
  sum,        // an aggregate of numbers
  alike,      // the arguments take the type of the first whose type is known
  nvl2,
  decode,
  trim,
  extract,
  cast,
  toChar,
  rounding,  // of a number or a date
  listAgg,
  refused
};

struct TSqlFunction {
  std::string_view name;
  TSqlCallKind kind = TSqlCallKind::refused;
  int minArguments = 0;
  int maxArguments = 0;
  TSqlType type = TSqlType::unknown;  // of the answer; unknown: that of the arguments
  std::string_view translation = {};  // empty: as it is
};

// `name` in upper case; nullptr for a function that is left to the database to judge.
const TSqlFunction* FindSqlFunction(std::string_view name);

}  // namespace perlayer

#pragma once
// Reads CSV files: a header with the names of the columns, fields between commas, in double quotes
// where they hold commas, quotes (doubled) or line ends; lines end in LF or CR LF.

#include <string>
#include <string_view>
#include <vector>

#include "perlayer/platform/Exception.h"

namespace ward {

using namespace perlayer;

// "patients.csv:17: expected ..., found ..."
PERLAYER_EXCEPTION(ECsvError, Exception);

struct TCsvRow {
  int line = 0;  // where it begins, from 1
  std::vector<std::string> fields;
};

struct TCsvFile {
  std::string path;
  std::vector<std::string> header;
  std::vector<TCsvRow> rows;  // each with as many fields as the header
};

// Raise ECsvError for the first thing that is wrong, EStreamError for a file that cannot be read.
TCsvFile ReadCsvFile(const std::string& path);
TCsvFile ParseCsv(std::string_view text, const std::string& path);

[[noreturn]] void RaiseCsv(const std::string& path, int line, const std::string& message);

}  // namespace ward

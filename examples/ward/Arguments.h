#pragma once
// The command line of the ward.

#include <string>
#include <vector>

#include "Edit.h"
#include "Sql.h"
#include "perlayer/platform/Exception.h"

namespace ward {

using namespace perlayer;

PERLAYER_EXCEPTION(EUsage, Exception);

enum class TCommand { help, tour, load, show, edit, create, erase, check, sql };

struct TArguments {
  TCommand command = TCommand::help;
  std::string database;  // empty: the command's own default
  std::string data;      // directory of the CSV files
  // show, edit, new, delete
  TObjectChange change;
  // check: paths of class maps, the ward's own when none are given
  std::vector<std::string> maps;
  TSqlRequest sql;
};

// Raises EUsage for words that are no command line of this program.
TArguments ReadArguments(const std::vector<std::string>& words);
std::string Usage();

}  // namespace ward

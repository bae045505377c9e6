#pragma once
// The command line of the ward.

#include <string>
#include <vector>

#include "Edit.h"
#include "Listing.h"
#include "Sql.h"
#include "perlayer/platform/Exception.h"

namespace ward {

using namespace perlayer;

PERLAYER_EXCEPTION(EUsage, Exception);

enum class TCommand { help, tour, load, show, list, who, edit, create, erase, check, sql };

struct TArguments {
  TCommand command = TCommand::help;
  std::string database;  // empty: the command's own default
  std::string data;      // directory of the CSV files
  // show, list, edit, new, delete; of list and show kind and ID alone
  TObjectChange change;
  std::string patient;  // who
  TListRequest list;
  // check: paths of class maps, the ward's own when none are given
  std::vector<std::string> maps;
  TSqlRequest sql;
};

// Raises EUsage for words that are no command line of this program.
TArguments ReadArguments(const std::vector<std::string>& words);
std::string Usage();

}  // namespace ward

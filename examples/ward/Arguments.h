#pragma once
// The command line of the ward.

#include <string>
#include <vector>

#include "perlayer/platform/Exception.h"

namespace ward {

using namespace perlayer;

PERLAYER_EXCEPTION(EUsage, Exception);

enum class TCommand { help, tour, load, showPatient, showEncounter };

struct TArguments {
  TCommand command = TCommand::help;
  std::string id;
  std::string database;  // empty: the command's own default
  std::string data;      // directory of the CSV files
};

// Raises EUsage for words that are no command line of this program.
TArguments ReadArguments(const std::vector<std::string>& words);
std::string Usage();

}  // namespace ward

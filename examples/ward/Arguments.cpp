#include "Arguments.h"

#include "perlayer/platform/Format.h"

namespace ward {

namespace {

[[noreturn]] void Refuse(const std::string& what) {
  throw EUsage(what + "; `ward --help` tells what there is");
}

// Takes "--option VALUE" out of the words.
std::string TakeOption(std::vector<std::string>& words, const std::string& option) {
  std::string value;
  for (std::size_t i = 0; i < words.size();) {
    if (words[i] != option) {
      ++i;
      continue;
    }
    if (i + 1 == words.size() || words[i + 1].empty()) Refuse(option + " needs a value behind it");
    if (!value.empty()) Refuse(option + " is given twice");
    value = words[i + 1];
    const auto at = words.begin() + static_cast<std::ptrdiff_t>(i);
    words.erase(at, at + 2);
  }
  return value;
}

void ReadShow(const std::vector<std::string>& words, TArguments& arguments) {
  if (words.size() != 3) Refuse("expected `show patient ID` or `show encounter ID`");
  if (words[1] == "patient") {
    arguments.command = TCommand::showPatient;
  } else if (words[1] == "encounter") {
    arguments.command = TCommand::showEncounter;
  } else {
    Refuse(Format("expected `patient` or `encounter` behind `show`, found \"%s\"", words[1]));
  }
  if (words[2].empty()) Refuse("the ID is empty");
  arguments.id = words[2];
}

}  // namespace

TArguments ReadArguments(const std::vector<std::string>& allWords) {
  std::vector<std::string> words = allWords;
  for (const std::string& word : words) {
    if (word == "--help" || word == "-h") return {};
  }
  TArguments arguments;
  arguments.database = TakeOption(words, "--db");
  const std::string data = TakeOption(words, "--data");
  arguments.data = data.empty() ? PERLAYER_WARD_DIR "/data" : data;
  for (const std::string& word : words) {
    if (word.starts_with("--")) Refuse(Format("unknown option \"%s\"", word));
  }
  if (words.empty()) Refuse("expected a command: tour, load or show");
  if (words[0] == "show") {
    ReadShow(words, arguments);
    if (!data.empty()) Refuse("`show` reads no CSV files and takes no --data");
    return arguments;
  }
  if (words[0] == "tour") {
    arguments.command = TCommand::tour;
  } else if (words[0] == "load") {
    arguments.command = TCommand::load;
  } else {
    Refuse(Format("unknown command \"%s\"", words[0]));
  }
  if (words.size() > 1) Refuse(Format("`%s` takes no argument \"%s\"", words[0], words[1]));
  return arguments;
}

std::string Usage() {
  return "ward: a small hospital, and the layer between its database and its program\n"
         "\n"
         "  ward tour [--db FILE] [--data DIR]   a guided tour of what the layer does\n"
         "  ward load [--db FILE] [--data DIR]   loads the sample hospital into a new database\n"
         "  ward show patient ID [--db FILE]     one patient, attribute by attribute\n"
         "  ward show encounter ID [--db FILE]   one visit or hospital stay\n"
         "  ward --help                          this text\n"
         "\n"
         "  --db FILE    the database. Default: ward.db; the tour makes one of its own and takes\n"
         "               it away at the end. The log stands beside it, in FILE.log.\n"
         "  --data DIR   where the six CSV files of the hospital are. Default:\n"
         "               " PERLAYER_WARD_DIR
         "/data\n"
         "\n"
         "The status is 1, with a message on the standard error stream, when something is wrong.\n";
}

}  // namespace ward

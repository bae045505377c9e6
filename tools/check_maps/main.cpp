// perlayer-check-maps: tells what in class maps breaks the rules that the layer relies on.

#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "perlayer/drivers/sqlite/TSqliteSession.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TLayer.h"
#include "perlayer/provider/ClassMapCheck.h"

namespace {

using namespace perlayer;

constexpr int kSound = 0, kFaults = 1, kUsage = 2;

constexpr const char* kUsageText =
    "perlayer-check-maps: checks class maps against what the layer relies on\n"
    "\n"
    "  perlayer-check-maps [--db FILE] NAME.classmap...\n"
    "\n"
    "  --db FILE   also asks this SQLite database whether it has the tables and columns and takes\n"
    "              the statements; none is run\n"
    "  --help      this text\n"
    "\n"
    "Each finding is one line, FILE:LINE: fault: TEXT or FILE:LINE: remark: TEXT. A fault breaks "
    "a\n"
    "rule; a remark is good to know. The status is 0 without faults, 1 with faults, and 2 when "
    "the\n"
    "command line is wrong or the database cannot be opened.\n";

PERLAYER_EXCEPTION(EUsage, Exception);

struct TArguments {
  bool help = false;
  std::string database;
  std::vector<std::string> files;
};

TArguments ReadArguments(const std::vector<std::string>& words) {
  TArguments arguments;
  bool options = true;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const std::string& word = words[i];
    if (!options || !word.starts_with('-')) {
      arguments.files.push_back(word);
    } else if (word == "--") {
      options = false;
    } else if (word == "--help" || word == "-h") {
      arguments.help = true;
      return arguments;
    } else if (word == "--db") {
      if (i + 1 == words.size() || words[i + 1].empty())
        throw EUsage("--db needs a file behind it");
      if (!arguments.database.empty()) throw EUsage("--db is given twice");
      arguments.database = words[++i];
    } else {
      throw EUsage("unknown option \"" + word + "\"");
    }
  }
  if (arguments.files.empty()) throw EUsage("expected the files of class maps");
  return arguments;
}

std::string Counted(std::size_t count, const std::string& what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

int Check(const TArguments& arguments) {
  const TLayer layer;
  std::unique_ptr<TSqliteSession> session;
  if (!arguments.database.empty()) {
    // A session would make the file.
    std::error_code error;
    if (!std::filesystem::is_regular_file(arguments.database, error)) {
      throw EUsage("there is no database " + arguments.database);
    }
    session = std::make_unique<TSqliteSession>(arguments.database);
  }
  std::size_t faults = 0, remarks = 0;
  for (const std::string& file : arguments.files) {
    for (const TClassMapFinding& finding : CheckClassMapFile(file, session.get())) {
      ++(finding.kind == TClassMapFinding::TKind::fault ? faults : remarks);
      std::cout << ClassMapFindingLine(finding) << '\n';
    }
  }
  std::cout << Counted(faults, "fault") << " and " << Counted(remarks, "remark") << " in "
            << Counted(arguments.files.size(), "class map") << '\n';
  if (!std::cout.flush()) throw Exception("the output cannot be written");
  return faults == 0 ? kSound : kFaults;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const TArguments arguments = ReadArguments({argv + 1, argv + argc});
    if (!arguments.help) return Check(arguments);
    std::cout << kUsageText;
    return std::cout.flush() ? kSound : kUsage;
  } catch (const std::exception& e) {
    std::cout.flush();
    std::cerr << "perlayer-check-maps: " << e.what() << "; --help tells how to use it\n";
    return kUsage;
  }
}

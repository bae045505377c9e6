#include "Arguments.h"

#include <algorithm>
#include <span>
#include <string_view>

#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"

namespace ward {

namespace {

using TWords = std::vector<std::string>;

[[noreturn]] void Refuse(const std::string& what) {
  throw EUsage(what + "; `ward --help` tells what there is");
}

// Takes "--option VALUE" out of the words.
std::string TakeOption(TWords& words, const std::string& option) {
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

bool TakeFlag(TWords& words, const std::string& flag) { return std::erase(words, flag) > 0; }

// "organization, clinician, ... or medication".
std::string KindNames() {
  std::string names;
  for (const TWardTable& table : WardTables()) {
    const bool isLast = &table == &WardTables().back();
    if (!names.empty()) names += isLast ? " or " : ", ";
    names += KindName(table);
  }
  return names;
}

using TRest = std::span<const std::string>;  // the words behind the command

void ReadNothing(TRest rest, TArguments&) {
  if (!rest.empty()) Refuse(Format("the command takes no argument \"%s\"", rest[0]));
}

void ReadShow(TRest rest, TArguments& arguments) {
  if (rest.empty()) Refuse("expected `show KIND ID`, found no kind");
  for (const TWardTable& table : WardTables()) {
    if (KindName(table) == rest[0]) arguments.table = &table;
  }
  if (arguments.table == nullptr) {
    Refuse(Format("expected %s behind `show`, found \"%s\"", KindNames(), rest[0]));
  }
  if (rest.size() != 2) Refuse(Format("expected one ID, as in `show %s 17`", rest[0]));
  if (rest[1].empty()) Refuse("the ID is empty");
  arguments.id = rest[1];
}

void ReadCheck(TRest rest, TArguments& arguments) {
  arguments.maps.assign(rest.begin(), rest.end());
}

void ReadSql(TRest rest, TArguments& arguments) {
  if (rest.empty() || Empty(rest[0])) Refuse("expected a statement behind `sql`");
  arguments.sql.statement = rest[0];
  for (const std::string& word : rest.subspan(1)) {
    const std::size_t equals = word.find('=');
    if (equals == std::string::npos || equals == 0) {
      Refuse(Format("expected NAME=VALUE behind the statement, found \"%s\"", word));
    }
    arguments.sql.parameters.emplace_back(word.substr(0, equals), word.substr(equals + 1));
  }
}

struct TCommandWord {
  std::string_view word;
  TCommand command;
  void (*read)(TRest rest, TArguments& arguments);
};
constexpr TCommandWord kCommands[] = {{"tour", TCommand::tour, ReadNothing},
                                      {"load", TCommand::load, ReadNothing},
                                      {"show", TCommand::show, ReadShow},
                                      {"check", TCommand::check, ReadCheck},
                                      {"sql", TCommand::sql, ReadSql}};

const TCommandWord& CommandOf(const TWords& words) {
  if (words.empty()) Refuse("expected a command: tour, load, show, check or sql");
  for (const TCommandWord& command : kCommands) {
    if (command.word == words[0]) return command;
  }
  Refuse(Format("unknown command \"%s\"", words[0]));
}

}  // namespace

TArguments ReadArguments(const std::vector<std::string>& allWords) {
  TWords words = allWords;
  for (const std::string& word : words) {
    if (word == "--help" || word == "-h") return {};
  }
  TArguments arguments;
  arguments.database = TakeOption(words, "--db");
  const std::string data = TakeOption(words, "--data");
  arguments.data = data.empty() ? PERLAYER_WARD_DIR "/data" : data;
  arguments.sql.commit = TakeFlag(words, "--commit");
  arguments.sql.wide = TakeFlag(words, "--wide");
  for (const std::string& word : words) {
    if (word.starts_with("--")) Refuse(Format("unknown option \"%s\"", word));
  }
  const TCommandWord& command = CommandOf(words);
  arguments.command = command.command;
  command.read(TRest(words).subspan(1), arguments);

  const bool isSql = command.command == TCommand::sql;
  const bool readsData = command.command == TCommand::tour || command.command == TCommand::load;
  if (!data.empty() && !readsData) {
    Refuse(Format("`%s` reads no CSV files and takes no --data", command.word));
  }
  if (arguments.sql.commit && !isSql) Refuse(Format("`%s` takes no --commit", command.word));
  if (arguments.sql.wide && !isSql) Refuse(Format("`%s` takes no --wide", command.word));
  return arguments;
}

std::string Usage() {
  return "ward: a small hospital, and the layer between its database and its program\n"
         "\n"
         "  ward tour                   a guided tour of what the layer does\n"
         "  ward load                   loads the sample hospital into a new database\n"
         "  ward show KIND ID           one object, attribute by attribute. KIND is\n"
         "                              " +
         KindNames() +
         "\n"
         "  ward check [MAP...]         checks class maps, the ward's own unless others are "
         "named,\n"
         "                              by the layer's rules and against the database, and counts\n"
         "                              the rows of its tables; status 1 for a map with a fault\n"
         "  ward sql \"STATEMENT\" [NAME=VALUE...]\n"
         "                              a statement in the words of class maps: what the database\n"
         "                              is really told, and what it answers. A value is that of\n"
         "                              the parameter :NAME; without any text it is NULL\n"
         "  ward --help                 this text\n"
         "\n"
         "  --db FILE    the database. Default: ward.db; the tour makes one of its own and takes\n"
         "               it away at the end. The log stands beside it, in FILE.log.\n"
         "  --data DIR   tour and load: where the six CSV files of the hospital are. Default:\n"
         "               " PERLAYER_WARD_DIR
         "/data\n"
         "  --commit     sql: keeps what the statement changes; otherwise it is rolled back\n"
         "  --wide       sql: shows long texts whole\n"
         "\n"
         "  ward load\n"
         "  ward show patient 8\n"
         "  ward sql \"select ID, LAST, CITY from OMRA.PATIENT where BIRTHDATE < :DAY\" "
         "DAY=1.1.1960\n"
         "  ward sql \"update OMRA.PATIENT set CITY = 'Bled' where ID = :ID\" ID=8 --commit\n"
         "\n"
         "The status is 1, with a message on the standard error stream, when something is wrong.\n";
}

}  // namespace ward

#include "Arguments.h"

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

using TLine = std::span<const std::string>;  // the command and the words behind it

void ReadNothing(TLine line, TArguments&) {
  if (line.size() > 1) Refuse(Format("`%s` takes no argument \"%s\"", line[0], line[1]));
}

void ReadShow(TLine line, TArguments& arguments) {
  if (line.size() < 2) Refuse("expected `show KIND ID`, found no kind");
  for (const TWardTable& table : WardTables()) {
    if (KindName(table) == line[1]) arguments.table = &table;
  }
  if (arguments.table == nullptr) {
    Refuse(Format("expected %s behind `show`, found \"%s\"", KindNames(), line[1]));
  }
  if (line.size() != 3) Refuse(Format("expected one ID, as in `show %s 17`", line[1]));
  if (line[2].empty()) Refuse("the ID is empty");
  arguments.id = line[2];
}

void ReadCheck(TLine line, TArguments& arguments) {
  arguments.maps.assign(line.begin() + 1, line.end());
}

void ReadSql(TLine line, TArguments& arguments) {
  if (line.size() < 2 || Empty(line[1])) Refuse("expected a statement behind `sql`");
  arguments.sql.statement = line[1];
  for (const std::string& word : line.subspan(2)) {
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
  void (*read)(TLine line, TArguments& arguments);
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
  command.read(words, arguments);

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
  return Format(R"(ward: a small hospital, and the layer between its database and its program

  ward tour                 a guided tour of what the layer does
  ward load                 loads the sample hospital into a new database
  ward show KIND ID         one object, attribute by attribute. KIND is
                            %s
  ward check [MAP...]       checks class maps, the ward's own unless others are named, by the
                            layer's rules and against the database, and counts the rows of
                            its tables. Status 1 when a map has a fault
  ward sql "STATEMENT" [NAME=VALUE...]
                            a statement in the words of class maps: what the database is
                            really told, and what it answers. The values are those of the
                            parameters :NAME; one without any text is NULL
  ward --help               this text

  --db FILE    the database. Default: ward.db; the tour makes one of its own and takes it away
               at the end. The log stands beside it, in FILE.log.
  --data DIR   tour and load: where the six CSV files of the hospital are. Default:
               %s
  --commit     sql: keeps what the statement changes; otherwise it is rolled back
  --wide       sql: long texts are not cut

For example:

  ward load
  ward show patient 8
  ward sql "select ID, LAST, CITY from OMRA.PATIENT where BIRTHDATE < :DAY" DAY=1.1.1960
  ward sql "update OMRA.PATIENT set CITY = 'Bled' where ID = :ID" ID=8 --commit

The status is 1, with a message on the standard error stream, when something is wrong.
)",
                KindNames(), PERLAYER_WARD_DIR "/data");
}

}  // namespace ward

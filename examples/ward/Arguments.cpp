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

// "KIND", and with `hasId` "KIND ID", behind the command; answers what stands behind that.
TLine ReadObject(TLine line, bool hasId, TObjectChange& change) {
  const std::string expected = Format(hasId ? "`%s KIND ID`" : "`%s KIND`", line[0]);
  if (line.size() < 2) Refuse(Format("expected %s, found no kind", expected));
  for (const TWardTable& table : WardTables()) {
    if (KindName(table) == line[1]) change.table = &table;
  }
  if (change.table == nullptr) {
    Refuse(Format("expected %s behind `%s`, found \"%s\"", KindNames(), line[0], line[1]));
  }
  if (!hasId) return line.subspan(2);
  if (line.size() < 3) Refuse(Format("expected one ID, as in `%s %s 17`", line[0], line[1]));
  if (line[2].empty()) Refuse("the ID is empty");
  change.id = line[2];
  return line.subspan(3);
}

using TPairs = std::vector<std::pair<std::string, std::string>>;
TPairs ReadPairs(TLine line, const std::string& where) {
  TPairs pairs;
  for (const std::string& word : line) {
    const std::size_t equals = word.find('=');
    if (equals == std::string::npos || equals == 0) {
      Refuse(Format("expected NAME=VALUE behind the %s, found \"%s\"", where, word));
    }
    pairs.emplace_back(word.substr(0, equals), word.substr(equals + 1));
  }
  return pairs;
}

void ReadShow(TLine line, TArguments& arguments) {
  const TLine rest = ReadObject(line, true, arguments.change);
  if (!rest.empty()) Refuse(Format("expected one ID, as in `%s %s 17`", line[0], line[1]));
}

// "patients" is the kind of "patient".
void ReadList(TLine line, TArguments& arguments) {
  std::vector<std::string> words(line.begin(), line.end());
  if (words.size() > 1 && words[1].ends_with('s')) words[1].pop_back();
  const TLine rest = ReadObject(words, false, arguments.change);
  if (!rest.empty()) Refuse(Format("`list` takes no argument \"%s\"", rest[0]));
}

void ReadWho(TLine line, TArguments& arguments) {
  if (line.size() != 3 || line[1] != "patient" || line[2].empty()) {
    Refuse("expected `who patient ID`");
  }
  arguments.patient = line[2];
}

void ReadEdit(TLine line, TArguments& arguments) {
  arguments.change.values = ReadPairs(ReadObject(line, true, arguments.change), "ID");
  if (arguments.change.values.empty()) Refuse("expected NAME=VALUE behind the ID, found nothing");
}

void ReadNew(TLine line, TArguments& arguments) {
  arguments.change.values = ReadPairs(ReadObject(line, false, arguments.change), "kind");
}

void ReadCheck(TLine line, TArguments& arguments) {
  arguments.maps.assign(line.begin() + 1, line.end());
}

void ReadSql(TLine line, TArguments& arguments) {
  if (line.size() < 2 || Empty(line[1])) Refuse("expected a statement behind `sql`");
  arguments.sql.statement = line[1];
  arguments.sql.parameters = ReadPairs(line.subspan(2), "statement");
}

// Which commands take which options.
enum TOption : unsigned { kData = 1, kCommit = 2, kWide = 4, kUser = 8, kAsk = 16, kList = 32 };

struct TCommandWord {
  std::string_view word;
  TCommand command;
  void (*read)(TLine line, TArguments& arguments);
  unsigned options = 0;
};
constexpr TCommandWord kCommands[] = {{"tour", TCommand::tour, ReadNothing, kData},
                                      {"load", TCommand::load, ReadNothing, kData},
                                      {"show", TCommand::show, ReadShow},
                                      {"list", TCommand::list, ReadList, kList},
                                      {"who", TCommand::who, ReadWho},
                                      {"edit", TCommand::edit, ReadEdit, kUser | kAsk},
                                      {"new", TCommand::create, ReadNew, kUser | kAsk},
                                      {"delete", TCommand::erase, ReadShow, kUser | kAsk},
                                      {"check", TCommand::check, ReadCheck},
                                      {"sql", TCommand::sql, ReadSql, kCommit | kWide}};

const TCommandWord& CommandOf(const TWords& words) {
  if (words.empty()) {
    Refuse("expected a command: tour, load, show, list, who, edit, new, delete, check or sql");
  }
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
  const std::string user = TakeOption(words, "--user");
  if (!user.empty()) arguments.change.user = user;
  arguments.change.asks = TakeFlag(words, "--ask");
  arguments.list.filter = TakeOption(words, "--filter");
  arguments.list.order = TakeOption(words, "--order");
  const std::string columns = TakeOption(words, "--columns");
  arguments.list.columns = SplitText(columns, ",");
  for (const std::string& word : words) {
    if (word.starts_with("--")) Refuse(Format("unknown option \"%s\"", word));
  }
  const TCommandWord& command = CommandOf(words);
  arguments.command = command.command;
  command.read(words, arguments);

  const auto check = [&](bool given, const char* option, unsigned bit) {
    if (given && (command.options & bit) == 0) {
      Refuse(Format("`%s` takes no %s", command.word, option));
    }
  };
  check(!data.empty(), "--data", kData);
  check(arguments.sql.commit, "--commit", kCommit);
  check(arguments.sql.wide, "--wide", kWide);
  check(!user.empty(), "--user", kUser);
  check(arguments.change.asks, "--ask", kAsk);
  check(!arguments.list.filter.empty(), "--filter", kList);
  check(!arguments.list.order.empty(), "--order", kList);
  check(!columns.empty(), "--columns", kList);
  return arguments;
}

std::string Usage() {
  return Format(R"usage(ward: a small hospital, and the layer between its database and its program

  ward tour                 a guided tour of what the layer does
  ward load                 loads the sample hospital into a new database
  ward show KIND ID         one object, attribute by attribute. KIND is
                            %s
  ward list KIND            all objects of a kind (`ward list patients`), in a table
  ward who patient ID       loads a patient, its encounters and conditions, and tells who holds
                            the patient then
  ward edit KIND ID NAME=VALUE...
                            writes attributes of one object, and tells what has changed
  ward new KIND NAME=VALUE...
                            makes an object and saves it
  ward delete KIND ID       deletes one. A patient's row is deactivated and stays; that of an
                            encounter or a discharge letter goes
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
  --filter T   list: those that meet a condition: "(CITY = 'Boston') AND (DEATHDATE IS NULL)"
  --order T    list: in that order: "-CITY,LAST"; "-" turns round, "@SEX" goes by the code's text
  --columns T  list: these attributes: "LAST,FIRST,@SEX"
  --user NAME  edit, new and delete: who does it, WARD unless told otherwise. DESK may not
               delete, and GUEST may do nothing but read
  --ask        edit, new and delete: questions are put to you; otherwise the answer is no
  --commit     sql: keeps what the statement changes; otherwise it is rolled back
  --wide       sql: long texts are not cut

For example:

  ward load
  ward show patient 8
  ward list patients --filter "CITY LIKE 'on'" --order "@SEX,-BIRTHDATE"
  ward edit patient 8 CITY=Bled PHONE=041-123-456
  ward new patient LAST=Novak FIRST=Ana BIRTHDATE=12.3.1951 SEX=F
  ward delete patient 8 --user GUEST
  ward sql "select ID, LAST, CITY from OMRA.PATIENT where BIRTHDATE < :DAY" DAY=1.1.1960
  ward sql "update OMRA.PATIENT set CITY = 'Bled' where ID = :ID" ID=8 --commit

The status is 1, with a message on the standard error stream, when something is wrong.
)usage",
                KindNames(), PERLAYER_WARD_DIR "/data");
}

}  // namespace ward

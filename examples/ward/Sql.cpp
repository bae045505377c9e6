#include "Sql.h"

#include <cstdio>
#include <iostream>

#include "Lines.h"
#include "TextTable.h"
#include "perlayer/corekit/TDriver.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"

namespace ward {

namespace {

constexpr std::size_t kTableWidth = 120;
constexpr std::size_t kLongestLine = 96;    // of a statement that was refused
constexpr std::size_t kLongestBefore = 60;  // in it, ahead of the place

// The database's words, without the statement that the message repeats.
std::string WordsOf(const EDatabaseError& error) {
  std::string words = error.Message();
  const std::string tail = Format(" (code %d)\nSQL: %s", error.Code(), error.Statement());
  if (words.ends_with(tail)) words.resize(words.size() - tail.size());
  return words;
}

// The line of the statement, and below it a caret under the column; of a long line the piece around
// the column.
std::string Pointer(const std::string& line, std::size_t column) {
  std::size_t at = 0;
  for (std::size_t i = 1; i < column && at < line.size(); ++i) DecodeUtf8(line, at);
  std::string before = OneLine(std::string_view(line).substr(0, at));
  if (DisplayWidth(before) > kLongestBefore) {
    std::size_t begin = 0;
    while (DisplayWidth(std::string_view(before).substr(begin)) > kLongestBefore / 2) {
      DecodeUtf8(before, begin);
    }
    before = "\u2026" + before.substr(begin);
  }
  const std::string shown = before + OneLine(std::string_view(line).substr(at));
  return "  " + CutToWidth(shown, kLongestLine) + "\n  " + std::string(DisplayWidth(before), ' ') +
         "^";
}

// Drivers put "line L, column C: " in front of their words where they know the place.
[[noreturn]] void Refuse(const EDatabaseError& error) {
  std::string message = WordsOf(error);
  std::size_t line = 0;
  std::size_t column = 0;
  if (std::sscanf(message.c_str(), "line %zu, column %zu:", &line, &column) == 2) {
    const std::vector<std::string> lines = SplitText(error.Statement(), "\n");
    if (line >= 1 && line <= lines.size())
      message += "\n" + Pointer(std::string(TrimRight(lines[line - 1])), column);
  }
  throw Exception(message);
}

std::string CellText(const TCell& cell, const TColumnInfo& column) {
  if (cell.kind == TCellKind::blob) return Format("(%d bytes)", cell.text.size());
  const bool isNumber = cell.kind == TCellKind::integer || cell.kind == TCellKind::number;
  if (column.type == TColumnType::dateTime && isNumber) {
    const double days =
        cell.kind == TCellKind::integer ? static_cast<double>(cell.integer) : cell.number;
    // What is beyond the calendar is shown as the number that it is.
    if (days >= MinDateTime && days <= MaxDateTime) return DateTimeToStr(days);
  }
  return cell.AsText();
}

TTextTable::TContent ContentOf(TColumnType type) {
  using TContent = TTextTable::TContent;
  return type == TColumnType::number     ? TContent::number
         : type == TColumnType::dateTime ? TContent::date
                                         : TContent::text;
}

void PrintIndented(const char* title, const std::string& text) {
  std::cout << title << '\n';
  for (const std::string& line : Lines(text)) {
    std::cout << "  " << OneLine(TrimRight(line)) << '\n';
  }
  std::cout << '\n';
}

}  // namespace

TSqlStatement::TSqlStatement(TSqliteDatabase& database, const std::string& text,
                             const TSqlParameters& parameters)
    : FText(TStatementText::Of(text)) {
  TDriverSession& session = database->Session();
  try {
    FRan = session.Translated(FText);
    FStatement = {session.Take(FText), TGiveBack{&session}};
  } catch (const EDatabaseError& error) {
    Refuse(error);
  }
  Bind(parameters);
}

void TSqlStatement::Bind(const TSqlParameters& parameters) {
  const std::vector<std::string>& names = FText->Parameters();
  FValues.resize(names.size());
  std::vector<bool> given(names.size());
  for (const auto& [name, value] : parameters) {
    const int index = FText->IndexOfParameter(name);
    if (index < 0) throw Exception(Format("the statement has no parameter :%s", name));
    const auto i = static_cast<std::size_t>(index);
    if (given[i]) throw Exception(Format("parameter :%s has two values", name));
    given[i] = true;
    FValues[i] = value;
  }
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (!given[i]) {
      throw Exception(Format("parameter :%s has no value; write %s=VALUE behind the statement",
                             names[i], names[i]));
    }
    // As a text: the database reads it as what it is compared with.
    FStatement->BindText(static_cast<int>(i), FValues[i]);
  }
}

std::vector<std::string> TSqlStatement::Run(std::size_t width) {
  try {
    bool isRow = FStatement->Step();
    const std::shared_ptr<const TColumnLayout> layout = FStatement->Layout();
    std::vector<TTextTable::TColumn> columns;
    for (const TColumnInfo& column : layout->columns) {
      columns.push_back({column.name, ContentOf(column.type)});
    }
    TTextTable table(columns);
    for (; isRow; isRow = FStatement->Step()) {
      std::vector<std::string> cells;
      for (std::size_t i = 0; i < columns.size(); ++i) {
        TCell cell;
        FStatement->Cell(static_cast<int>(i), cell);
        cells.push_back(CellText(cell, layout->columns[i]));
      }
      table.Add(std::move(cells));
    }
    std::vector<std::string> lines;
    if (!columns.empty()) {
      lines = table.Lines(width);
      lines.push_back("");
      lines.push_back(Counted(table.RowCount(), "row"));
    }
    if (MayChange()) {
      const auto changed = static_cast<std::size_t>(FStatement->RowsAffected());
      lines.push_back(Counted(changed, "row") + " changed");
    }
    return lines;
  } catch (const EDatabaseError& error) {
    Refuse(error);
  }
}

void Sql(const std::string& databaseFile, const TSqlRequest& request) {
  TSqliteDatabase database = OpenWard(databaseFile);
  TSqlStatement statement(database, request.statement, request.parameters);
  PrintIndented("written:", statement.Written());
  PrintIndented("ran:", statement.Ran());
  PrintLines(statement.Run(request.wide ? 0 : kTableWidth));
  if (!statement.MayChange()) return;
  if (request.commit) {
    database->Commit("ward: sql");
    std::cout << "committed\n";
  } else {
    database->Rollback("ward: sql");
    std::cout << "rolled back: nothing stays changed; --commit keeps it\n";
  }
}

}  // namespace ward

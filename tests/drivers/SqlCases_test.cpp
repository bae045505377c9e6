// The text cases *.cases of this folder, run on a database through a session. A new case or file
// needs no compiler:
//
//   # a comment
//   create table omra.ward (id number, name varchar2(20), opened date)
//
//   <= omra.ward
//   1 | Surgery | 01.02.1990
//   2 | null    | 01.02.1990 12:30:00
//
//   == what is shown
//   : id = 1
//   select name, opened from omra.ward where id = :id
//   ->
//   select NAME, OPENED from "OMRA.WARD" where ID = ?1
//   => text, date
//   Surgery | 01.02.1990
//
// Statements and rows ("<= TABLE") end at an empty line or the next mark. What stands before the
// first "==" prepares the file's database. In a case the last statement is the one that is looked
// at; what stands before it is run first, and everything is rolled back behind the case. ": NAME =
// VALUE" binds a text 'x', a number or null to a parameter of the statement below.
//   ->   the translation (of a statement that needs not run)
//   -!   a part of the message that it ends with
//   =>   its rows, in their order, with the columns' types beside the mark if they matter; for a
//        statement without columns the line "N changed", with what it returns into parameters
// Cells are text; blanks around them do not count unless it is 'in quotes', and null is NULL. Dates
// stand in the short date format. The clock stands at 22.11.2026 10:30:15.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "perlayer/drivers/sqlite/TSqliteSession.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TClock.h"
#include "perlayer/platform/TDateTime.h"
#include "perlayer/platform/Text.h"
#include "support/TempDir.h"

namespace perlayer {
namespace {

using TValue = std::optional<std::string>;
using TRow = std::vector<TValue>;

// The cells of a line, separated by "|".
TRow ReadCells(std::string_view line) {
  TRow row;
  for (std::size_t at = 0; at <= line.size();) {
    at = std::min(line.find_first_not_of(' ', at), line.size());
    if (at < line.size() && line[at] == '\'') {
      std::string text;
      for (++at; at < line.size(); ++at) {
        if (line[at] == '\'' && line.substr(at + 1, 1) != "'") break;
        if (line[at] == '\'') ++at;
        text += line[at];
      }
      row.emplace_back(text);
    } else {
      const std::string_view text = TrimRight(line.substr(at, line.find('|', at) - at));
      row.push_back(text == "null" ? TValue() : TValue(text));
    }
    at = std::min(line.find('|', at), line.size()) + 1;
  }
  return row;
}

std::string WriteCells(const TRow& row) {
  std::string line;
  for (const TValue& value : row) {
    if (!line.empty()) line += " | ";
    const bool quoted = value && (Trim(*value) != *value || value->empty() || *value == "null" ||
                                  (*value)[0] == '\'' || value->find('|') != std::string::npos);
    const std::string text = value.value_or("null");
    line += quoted ? '\'' + StringReplaceAll(text, "'", "''") + '\'' : text;
  }
  return line;
}

std::string Lines(const std::vector<std::string>& lines) { return JoinText(lines, "\n"); }

struct TStep {
  std::string table;  // rows are inserted into it; empty for a statement
  std::vector<std::string> lines;
  std::vector<std::pair<std::string, std::string>> binds;
};

struct TCase {
  int line = 0;
  std::string title;
  std::vector<TStep> steps;
  std::optional<std::vector<std::string>> translation, message, rows;
  std::string types;
};

// The first case is what stands before the first title.
std::vector<TCase> ReadCases(const std::string& path) {
  std::ifstream in(path);
  std::vector<TCase> cases(1);
  std::vector<std::string>* target = nullptr;  // lines of an answer
  bool begins = true;                          // the next line begins a step
  std::string line;
  for (int number = 1; std::getline(in, line); ++number) {
    TCase& last = cases.back();
    const auto answer = [&](auto& part) { target = &part.emplace(); };
    if (line.rfind("#", 0) == 0) continue;
    if (line.rfind("== ", 0) == 0) {
      cases.push_back({});
      cases.back().line = number;
      cases.back().title = line.substr(3);
      target = nullptr;
      begins = true;
    } else if (line == "->") {
      answer(last.translation);
    } else if (line == "-!") {
      answer(last.message);
    } else if (line.rfind("=>", 0) == 0) {
      answer(last.rows);
      last.types = Trim(line.substr(2));
    } else if (line.empty()) {
      begins = true;
    } else if (target != nullptr) {
      target->push_back(line);
    } else {
      if (begins) last.steps.emplace_back();
      begins = false;
      TStep& step = last.steps.back();
      const std::size_t sign = line.find('=');
      if (line.rfind("<= ", 0) == 0) {
        step.table = line.substr(3);
      } else if (line.rfind(": ", 0) == 0 && sign != std::string::npos) {
        step.binds.emplace_back(Trim(line.substr(2, sign - 2)), Trim(line.substr(sign + 1)));
      } else {
        step.lines.push_back(line);
      }
    }
  }
  return cases;
}

class TSqlCases : public testing::TestWithParam<std::string> {
 protected:
  TSqlCases() {
    TClock::Install(std::make_unique<TManualClock>(EncodeDateTime({2026, 11, 22}, {10, 30, 15})));
  }

  struct TResult {
    std::vector<TRow> rows;
    std::string types;
  };

  TValue ValueOf(TDriverStatement& statement, int column, TColumnType type) {
    TCell cell;
    statement.Cell(column, cell);
    if (cell.kind == TCellKind::null) return std::nullopt;
    const bool isNumber = cell.kind == TCellKind::integer || cell.kind == TCellKind::number;
    if (type == TColumnType::dateTime && isNumber) {
      return DateTimeToStr(cell.kind == TCellKind::integer ? static_cast<double>(cell.integer)
                                                           : cell.number);
    }
    return cell.AsText();
  }

  TResult Rows(TDriverStatement& statement) {
    static constexpr const char* kTypes[] = {"text", "number", "date", "memo", "blob"};
    TResult result;
    for (bool more = statement.Step(), first = true; first || more; first = false) {
      const auto& columns = statement.Layout()->columns;
      for (std::size_t i = 0; first && i < columns.size(); ++i) {
        if (i > 0) result.types += ", ";
        result.types += kTypes[static_cast<int>(columns[i].type)];
      }
      if (first && columns.empty()) {
        TRow& row = result.rows.emplace_back();
        row.push_back(IntToStr(statement.RowsAffected()) + " changed");
        for (const int parameter : statement.Returns()) {
          TCell cell;
          statement.Returned(parameter, cell);
          row.push_back(cell.kind == TCellKind::null ? TValue() : cell.AsText());
        }
      }
      if (!more) break;
      TRow& row = result.rows.emplace_back();
      for (std::size_t i = 0; i < columns.size(); ++i) {
        row.push_back(ValueOf(statement, static_cast<int>(i), columns[i].type));
      }
      more = statement.Step();
    }
    return result;
  }

  TResult RunStatement(const std::string& sql,
                       const std::vector<std::pair<std::string, std::string>>& binds) {
    const TStatementTextPtr text = TStatementText::Of(sql);
    TDriverStatement* const statement = FSession.Take(text);
    return TryFinally(
        [&] {
          for (const auto& [name, value] : binds) {
            const int parameter = text->IndexOfParameter(name);
            if (parameter < 0) ADD_FAILURE() << "no parameter is called " << name;
            double number = 0;
            if (parameter < 0 || value == "null") continue;
            if (value[0] != '\'' && TryStrToFloat(value, number)) {
              statement->BindNumber(parameter, number);
            } else if (value.size() > 2) {
              statement->BindText(parameter, std::string_view(value).substr(1, value.size() - 2));
            }
          }
          return Rows(*statement);
        },
        [&] { FSession.GiveBack(statement); });
  }

  void Prepare(const TStep& step) {
    if (step.table.empty()) {
      RunStatement(Lines(step.lines), step.binds);
      return;
    }
    for (const std::string& line : step.lines) {
      const TRow row = ReadCells(line);
      std::vector<std::string> places;
      std::vector<std::pair<std::string, std::string>> binds;
      for (const TValue& value : row) {
        places.push_back(":" + IntToStr(static_cast<std::int64_t>(places.size()) + 1));
        binds.emplace_back(places.back().substr(1), value ? '\'' + *value + '\'' : "null");
      }
      RunStatement("insert into " + step.table + " values (" + JoinText(places, ", ") + ")", binds);
    }
  }

  void Check(const TCase& c) {
    ASSERT_FALSE(c.steps.empty()) << "no statement";
    ASSERT_TRUE(c.translation || c.message || c.rows) << "nothing is expected";
    for (std::size_t i = 0; i + 1 < c.steps.size(); ++i) Prepare(c.steps[i]);
    const TStep& step = c.steps.back();
    const std::string sql = Lines(step.lines);
    if (c.translation) {
      EXPECT_EQ(FSession.Translated(TStatementText::Of(sql)), Lines(*c.translation));
    }
    if (!c.rows && !c.message) return;
    try {
      const TResult result = RunStatement(sql, step.binds);
      std::vector<std::string> actual, expected;
      for (const TRow& row : result.rows) actual.push_back(WriteCells(row));
      EXPECT_FALSE(c.message) << "no failure but\n" << Lines(actual);
      if (!c.rows) return;
      for (const std::string& line : *c.rows) expected.push_back(WriteCells(ReadCells(line)));
      EXPECT_EQ(Lines(actual), Lines(expected));
      EXPECT_EQ(c.types.empty() ? c.types : result.types, c.types);
    } catch (const EDatabaseError& e) {
      ASSERT_TRUE(c.message) << e.what();
      EXPECT_NE(e.Message().find(Lines(*c.message)), std::string::npos) << e.what();
      EXPECT_EQ(e.Statement(), sql);
    }
  }

  TTempDir FDir;
  TSqliteSession FSession{FDir.File("cases.db")};
};

TEST_P(TSqlCases, Hold) {
  const std::vector<TCase> cases = ReadCases(GetParam());
  const std::string name = std::filesystem::path(GetParam()).filename();
  for (const TCase& c : cases) {
    SCOPED_TRACE(name + ":" + IntToStr(c.line) + " " + c.title);
    try {
      if (&c == &cases.front()) {
        for (const TStep& step : c.steps) Prepare(step);
        FSession.Commit();
      } else {
        Check(c);
      }
    } catch (const std::exception& e) {
      ADD_FAILURE() << e.what();
    }
    FSession.Rollback();
  }
  EXPECT_GT(cases.size(), 1u) << "no cases";
}

std::vector<std::string> Files() {
  std::vector<std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator(PERLAYER_TESTS_DIR "/drivers")) {
    if (entry.path().extension() == ".cases") files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

INSTANTIATE_TEST_SUITE_P(Of, TSqlCases, testing::ValuesIn(Files()), [](const auto& file) {
  return std::filesystem::path(file.param).stem().string();
});

}  // namespace
}  // namespace perlayer

// Whether a database has the tables and columns of a class map, and takes its statements.

#include <algorithm>

#include "perlayer/corekit/TDriver.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/ClassMapChecks.h"

namespace perlayer {

namespace {

using TColumns = std::vector<TColumnInfo>;

// Every query knows these without a table.
bool IsPseudoColumn(std::string_view name) {
  for (const std::string_view known :
       {"SYSDATE", "SYSTIMESTAMP", "CURRENT_DATE", "CURRENT_TIMESTAMP", "USER", "ROWNUM", "ROWID",
        "LEVEL", "NULL"}) {
    if (SameText(name, known)) return true;
  }
  return false;
}

bool Has(const TColumns& columns, std::string_view name) {
  return std::any_of(columns.begin(), columns.end(),
                     [&](const TColumnInfo& c) { return SameText(c.name, name); });
}

class TDatabaseCheck {
 public:
  TDatabaseCheck(TDriverSession& session, TClassMapFindings& findings)
      : FSession(session), FFindings(findings) {}

  void CheckQuery(const TMapStatement& sql) {
    Check(sql, [&] { CheckSelect(sql); });
  }

  void CheckUpdate(const TMapStatement& sql) {
    Check(sql, [&] { CheckWrite(sql); });
  }

 private:
  // Runs the step, and lets the database prepare the statement when that has found nothing.
  template <class TStep>
  void Check(const TMapStatement& sql, TStep step) {
    if (sql.Empty() || !sql.OpenEnd().empty()) return;
    const std::size_t before = FFindings.Faults();
    try {
      step();
      if (FFindings.Faults() == before) {
        FSession.GiveBack(FSession.Take(std::make_shared<const TStatementText>(sql.Text())));
      }
    } catch (const EDatabaseError& e) {
      TellRefusal(sql, e.Message());
    }
  }

  // "line 2, column 5: no such function" goes to that line of the file.
  void TellRefusal(const TMapStatement& sql, std::string_view message) {
    constexpr std::string_view kLine = "line ";
    message = message.substr(0, message.find('\n'));
    std::int64_t line = 1;
    if (const std::size_t comma = message.find(", ");
        message.starts_with(kLine) && comma != message.npos &&
        TryStrToInt(message.substr(kLine.size(), comma - kLine.size()), line)) {
      message.remove_prefix(comma + 2);
    }
    FFindings.Fault(sql.FirstLine() + static_cast<int>(line) - 1,
                    Format("%s: the database refuses it: %s", sql.Title(), message));
  }

  // The table's columns; tells when there are none.
  TColumns ColumnsOf(const TMapStatement& sql, const TMapTable& table) {
    TColumns columns = FSession.TableColumns(table.owner, table.name);
    const bool dual = table.owner.empty() && SameText(table.name, "DUAL");  // has a row, no columns
    if (columns.empty() && !dual) {
      FFindings.Fault(sql, table.offset, Format("the database has no table %s", table.FullName()));
    }
    return columns;
  }

  void TellMissing(const TMapStatement& sql, std::size_t offset, std::string_view column,
                   std::string_view table) {
    FFindings.Fault(sql, offset, Format("the database has no column %s in %s", column, table));
  }

  void CheckSelect(const TMapStatement& sql) {
    const std::size_t from = sql.Find("FROM");
    if (!sql.Is(0, "SELECT") || from == sql.Count()) return;
    bool known = true;
    const auto tables = sql.TablesOfFrom(from, known);
    std::vector<TColumns> columns;
    for (const TMapTable& table : tables) {
      columns.push_back(ColumnsOf(sql, table));
      known = known && !columns.back().empty();
    }
    for (const TMapColumn& column : sql.SelectedColumns(from)) {
      if (column.column.empty()) continue;
      if (!column.qualifier.empty()) {
        CheckQualified(sql, column, tables, columns);
      } else if (known && !IsPseudoColumn(column.column) &&
                 std::none_of(columns.begin(), columns.end(),
                              [&](const TColumns& c) { return Has(c, column.column); })) {
        TellMissing(sql, column.offset, column.column,
                    tables.size() == 1 ? tables[0].FullName() : "any table of FROM");
      }
    }
    if (tables.size() > 1) TellShared(sql, from, columns);
  }

  // A qualifier that names no table is left to the database.
  void CheckQualified(const TMapStatement& sql, const TMapColumn& column,
                      const std::vector<TMapTable>& tables, const std::vector<TColumns>& columns) {
    for (std::size_t i = 0; i < tables.size(); ++i) {
      const TMapTable& table = tables[i];
      const bool meant = table.alias.empty() ? SameText(column.qualifier, table.name) ||
                                                   SameText(column.qualifier, table.FullName())
                                             : SameText(column.qualifier, table.alias);
      if (!meant) continue;
      if (!columns[i].empty() && !Has(columns[i], column.column))
        TellMissing(sql, column.offset, column.column, table.FullName());
      return;
    }
  }

  // The active field stands in conditions without a prefix.
  void TellShared(const TMapStatement& sql, std::size_t from,
                  const std::vector<TColumns>& columns) {
    std::vector<std::string> shared;
    for (std::size_t i = 0; i < columns.size(); ++i) {
      for (const TColumnInfo& column : columns[i]) {
        const bool again =
            std::any_of(columns.begin() + static_cast<std::ptrdiff_t>(i) + 1, columns.end(),
                        [&](const TColumns& other) { return Has(other, column.name); });
        if (again && std::find(shared.begin(), shared.end(), column.name) == shared.end())
          shared.push_back(column.name);
      }
    }
    if (shared.empty()) return;
    FFindings.Remark(sql, sql[from].begin,
                     Format("several tables have %s: conditions must name them with a prefix, and "
                            "none of them can be the active field",
                            JoinText(shared, ", ")));
  }

  void CheckWrite(const TMapStatement& sql) {
    const bool insert = sql.Is(0, "INSERT");
    const auto table = sql.TableAt(sql.Is(1, "INTO") || sql.Is(1, "FROM") ? 2 : 1);
    if (!table) return;
    const TColumns columns = ColumnsOf(sql, *table);
    if (columns.empty()) return;
    const auto check = [&](std::size_t token) {
      if (!sql.IsKind(token, TMapToken::TKind::word) || Has(columns, sql.Source(token))) return;
      TellMissing(sql, sql[token].begin, sql.Source(token), table->FullName());
    };
    if (insert) {
      const std::size_t open = sql.Find("("), close = sql.Find(")");
      if (close == sql.Count()) return;
      for (const auto& [first, behind] : sql.Pieces(open + 1, close)) {
        if (behind == first + 1) check(first);
      }
    } else if (const std::size_t set = sql.Find("SET"); sql.Is(0, "UPDATE") && set < sql.Count()) {
      for (const auto& [first, behind] : sql.Pieces(set + 1, sql.Find("WHERE", set))) {
        if (sql.Is(first + 1, "=")) check(first);
      }
    }
  }

  TDriverSession& FSession;
  TClassMapFindings& FFindings;
};

}  // namespace

void CheckAgainstDatabase(const TClassMapDefinition& definition, TDriverSession& session,
                          TClassMapFindings& findings) {
  TDatabaseCheck check(session, findings);
  for (const TClassMapQuery& query : definition.queries) check.CheckQuery(SelectOf(query));
  for (const TClassMapUpdateSql& update : definition.updateSqls) {
    check.CheckUpdate(InsertOf(update));
    check.CheckUpdate(ModifyOf(update));
    check.CheckUpdate(DeleteOf(update));
  }
}

}  // namespace perlayer

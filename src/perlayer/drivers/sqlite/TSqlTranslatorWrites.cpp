// INSERT, UPDATE and DELETE, and what they return.

#include <utility>

#include "perlayer/drivers/sqlite/TSqlRownum.h"
#include "perlayer/drivers/sqlite/TSqlTranslator.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

void TSqlTranslator::Insert(std::size_t at) {
  if (!FTokens.Is(at, "INTO")) FTokens.Refuse(at, "INTO is expected here");
  ++at;
  const TSqlRange returning = TakeReturning(at);
  TSqlScope scope(FSchema, nullptr);
  TSqlScope::TTable table = TableWithAlias(at, FEnd, "AS ");
  std::vector<TSqlType> types;
  if (FTokens.Is(at, "(") && !FTokens.IsSubquery(at)) {
    const std::size_t close = FTokens[at].partner;
    for (++at; at < close; ++at) {
      TSqlToken& token = FTokens[at];
      if (!token.IsName()) continue;
      token.out = SqlName(token);
      TSqlType type = TSqlType::unknown;
      for (const TSqlColumn& column : scope.ColumnsOf(table)) {
        if (SameText(column.name, token.name)) type = column.type;
      }
      types.push_back(type);
    }
    at = close + 1;
  } else {
    for (const TSqlColumn& column : scope.ColumnsOf(table)) types.push_back(column.type);
  }
  if (!FTokens.Is(at, "VALUES")) {
    FTargets = &types;
    Query({at, FEnd}, nullptr, TColumns::unnamed);
    at = FEnd;
  }
  for (++at; at < FEnd; ++at) {
    if (!FTokens.Is(at, "(")) continue;
    TSqlCursor cursor{at + 1, FTokens[at].partner, scope};
    for (std::size_t i = 0; cursor.at < cursor.end;) {
      const TSqlOperand value = FExpressions.Parse(cursor);
      if (value.IsEmpty()) {
        ++cursor.at;
      } else if (i < types.size()) {
        FExpressions.Assign(types[i++], value);
      }
    }
    at = cursor.end;
  }
  Returning(returning, table);
}

void TSqlTranslator::Update(std::size_t at) {
  TSqlScope scope(FSchema, nullptr);
  const TSqlRange returning = TakeReturning(at);
  const TSqlScope::TTable table = TableWithAlias(at, FEnd, "AS ");
  const std::string& qualifier = table.alias.empty() ? table.name : table.alias;
  scope.Add(table);
  if (!FTokens.Is(at, "SET")) FTokens.Refuse(at, "SET is expected here");
  const std::size_t where = Find(at, FEnd, {"WHERE"});
  if (const std::size_t rownum = FTokens.FindOwn("ROWNUM", at, where); rownum < where) {
    FTokens.Refuse(rownum, "ROWNUM has no place behind SET");
  }
  TSqlCursor cursor{at + 1, where, scope};
  while (cursor.at < where) {
    TSqlType type = TSqlType::unknown;
    TTargets types;  // of several columns that a query sets
    if (FTokens[cursor.at].IsName()) {
      if (cursor.at + 2 < where && FTokens.Is(cursor.at + 1, ".") &&
          FTokens[cursor.at].name == qualifier) {
        FTokens.Hide(cursor.at, cursor.at + 2);  // the column to be set is named by itself
        cursor.at += 2;
      }
      TSqlToken& column = FTokens[cursor.at++];
      column.out = SqlName(column);
      type = scope.ColumnType(qualifier, column.name);
    } else if (FTokens.Is(cursor.at, "(")) {
      TSqlCursor columns{cursor.at + 1, FTokens[cursor.at].partner, scope};
      for (std::size_t i = columns.at; i < columns.end; ++i) {
        if (!FTokens[i].IsName()) continue;
        if (FTokens.Is(i + 1, ".") && FTokens[i].name == qualifier) {
          FTokens.Hide(i, i + 2);
          i += 2;
        }
        types.push_back(scope.ColumnType(qualifier, FTokens[i].name));
      }
      FExpressions.Walk(columns);
      cursor.at = columns.end + 1;
    }
    if (!FTokens.Is(cursor.at, "=")) FTokens.Refuse(cursor.at, "\"=\" is expected here");
    ++cursor.at;
    if (!types.empty() && FTokens.IsSubquery(cursor.at)) FTargets = &types;
    FExpressions.Assign(type, FExpressions.Parse(cursor));
    if (cursor.at < where && !FTokens.Is(cursor.at, ",")) {
      FTokens.Refuse(cursor.at, "a comma or WHERE is expected here");
    }
    ++cursor.at;
  }
  Where(where, scope, table);
  Returning(returning, table);
}

void TSqlTranslator::Delete(std::size_t at) {
  TSqlScope scope(FSchema, nullptr);
  const TSqlRange returning = TakeReturning(at);
  if (FTokens.Is(at, "FROM")) {
    ++at;
  } else {
    FTokens[at - 1].out += " FROM";
  }
  const TSqlScope::TTable table = TableWithAlias(at, FEnd, "AS ");
  scope.Add(table);
  Where(at, scope, table);
  Returning(returning, table);
}

// What stands behind the table or its columns; `at` is WHERE when there are conditions.
void TSqlTranslator::Where(std::size_t at, TSqlScope& scope, const TSqlScope::TTable& table) {
  if (FTokens.HasRownum() && at < FEnd && FTokens.Is(at, "WHERE")) {
    const std::string name = QuotedName(FileName(table.owner, table.name));
    const std::string alias = QuotedName(table.alias);
    const bool aliased = !table.alias.empty();
    TSqlRownum(FTokens).Write({at, at, at, FEnd, FEnd}, aliased ? name + " AS " + alias : name,
                              aliased ? alias : name);
  }
  TSqlCursor condition{at, FEnd, scope};
  FExpressions.Walk(condition);
}

// Until it is said, the statement ends where RETURNING begins.
TSqlRange TSqlTranslator::TakeReturning(std::size_t at) {
  const TSqlRange returning{Find(at, FEnd, {"RETURNING", "RETURN"}), FEnd};
  if (returning.first == FEnd) return returning;
  if (Find(returning.first, FEnd, {"INTO"}) == FEnd) {
    FTokens.Refuse(returning.first, "INTO is expected behind the columns that are returned");
  }
  FEnd = returning.first;
  return returning;
}

// RETURNING columns INTO parameters: the database gives a row, and the driver puts its columns into
// the parameters.
void TSqlTranslator::Returning(TSqlRange returning, const TSqlScope::TTable& table) {
  if (returning.first == returning.behind) return;
  const std::size_t first = returning.first + 1;
  const std::size_t into = Find(first, returning.behind, {"INTO"});
  FTokens[first - 1].out = "RETURNING";
  // The table's alias is not known there; a column stands by itself.
  for (std::size_t i = first; i + 1 < into; ++i) {
    const bool isTable = FTokens[i].IsName() && FTokens.Is(i + 1, ".") &&
                         FTokens[i].name == (table.alias.empty() ? table.name : table.alias);
    if (isTable) FTokens.Hide(i, i + 2);
  }
  TSqlScope scope(FSchema, nullptr);
  scope.Add(table);
  TSqlCursor columns{first, into, scope};
  FExpressions.Walk(columns);
  for (const TSqlRange target : SplitAtCommas(FTokens, {into + 1, returning.behind})) {
    const bool isParameter =
        target.behind == target.first + 1 && FTokens[target.first].kind == TSqlTokenKind::parameter;
    if (!isParameter) FTokens.Refuse(target.first, "a parameter is expected here");
    FStep.returns.push_back(FTokens[target.first].parameter);
  }
  const std::vector<TSqlRange> returned = SplitAtCommas(FTokens, {first, into});
  if (returned.size() != FStep.returns.size()) {
    FTokens.Refuse(into, "as many parameters as columns are expected");
  }
  if (FLargeObjects == TLargeObjects::places) {
    TakePlaces(returned, scope, table);
    if (FStep.returns.empty()) FTokens.Hide(first - 1, into);
  }
  FTokens.Hide(into, returning.behind);
}

// Takes the columns of large objects off those that are returned: whoever asks for places is told
// the row. The database would read the values from before the statement to return the new ones.
void TSqlTranslator::TakePlaces(const std::vector<TSqlRange>& returned, TSqlScope& scope,
                                const TSqlScope::TTable& table) {
  const std::vector<int> parameters = std::exchange(FStep.returns, {});
  for (std::size_t i = 0; i < returned.size(); ++i) {
    const auto [first, behind] = returned[i];
    std::size_t at = first;
    while (at + 1 < behind && FTokens[at].hidden) ++at;
    const bool isName = at + 1 == behind && FTokens[at].IsName();
    const TSqlColumn* column = isName ? scope.Column("", FTokens[at].name) : nullptr;
    if (i > 0) FTokens.Hide(first - 1, first);  // the comma
    if (column != nullptr && column->IsLarge()) {
      FTokens.Hide(first, behind);
      FStep.largeObjects.push_back(
          {parameters[i], {FileName(table.owner, table.name), column->name, column->memo}});
    } else {
      if (!FStep.returns.empty()) FTokens[first].before = "," + FTokens[first].before;
      FStep.returns.push_back(parameters[i]);
    }
  }
}

}  // namespace perlayer

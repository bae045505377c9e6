// CREATE, ALTER and DROP.

#include <algorithm>
#include <iterator>
#include <unordered_map>

#include "perlayer/drivers/sqlite/TSqlTranslator.h"

namespace perlayer {

void TSqlTranslator::Definition(std::size_t at) {
  FResult.changesSchema = true;
  const std::size_t count = FEnd;
  const bool create = FTokens.Is(at, "CREATE");
  if (FTokens.Is(at + 1, "SEQUENCE")) {
    FResult.sequence = FSequences.Definition(at, count);
    return;
  }
  const std::size_t what = Find(at, count, {"TABLE", "INDEX", "VIEW"});
  if (what == count || what > at + 3) {
    FTokens.Refuse(at,
                   "only tables, indexes, views and sequences can be created, altered or dropped");
  }
  if (create && FTokens.Is(at + 1, "OR")) {
    FTokens.Refuse(at + 1, "OR REPLACE is not supported by this database");
  }
  at = what + 1;
  TSqlScope::TTable table = TableName(at);
  TSqlScope scope(FSchema, nullptr);
  if (create && FTokens.Is(what, "INDEX")) {
    if (!FTokens.Is(at, "ON")) FTokens.Refuse(at, "ON is expected here");
    ++at;
    TableName(at);
    TSqlCursor columns{at, count, scope};
    FExpressions.Walk(columns);
    return;
  }
  const std::size_t query = Find(at, count, {"SELECT", "WITH"});
  if (create && query < count) {
    // The database would forget that dates are dates.
    if (FTokens.Is(what, "TABLE")) {
      FTokens.Refuse(query, "a table is created with its columns, and filled by INSERT ... SELECT");
    }
    TSqlCursor names{at, query, scope};
    FExpressions.Walk(names);
    Query({query, count}, nullptr, TColumns::named);
  } else if (create && FTokens.Is(at, "(")) {
    CreateTable(at + 1, FTokens[at].partner, table);
  } else {
    std::size_t name = count;
    if (FTokens.Is(at, "ADD")) name = FTokens.Is(at + 1, "COLUMN") ? at + 2 : at + 1;
    TSqlScope::TTable added{"", table.name, "", std::vector<TSqlColumn>()};
    if (name < count) added.columns->push_back(NewColumn(name));
    scope.Add(std::move(table));
    scope.Add(std::move(added));
    TSqlCursor cursor{at, count, scope};
    ColumnDefinition(cursor, name);
  }
}

// The definitions of columns and constraints, each up to a comma.
void TSqlTranslator::CreateTable(std::size_t at, std::size_t end, const TSqlScope::TTable& table) {
  TSqlScope::TTable made = table;
  made.columns.emplace();
  std::vector<TSqlRange> definitions;
  while (at < end) {
    std::size_t behind = at;
    while (behind < end && !FTokens.Is(behind, ",")) {
      behind = FTokens.Is(behind, "(") ? FTokens[behind].partner + 1 : behind + 1;
    }
    if (behind > at) definitions.push_back({at, behind});
    if (behind > at && FTokens[at].IsName()) made.columns->push_back(NewColumn(at));
    at = behind + 1;
  }
  TSqlScope scope(FSchema, nullptr);
  scope.Add(std::move(made));
  for (const TSqlRange definition : definitions) {
    TSqlCursor cursor{definition.first, definition.behind, scope};
    ColumnDefinition(cursor, definition.first);
  }
  NotNullKeys(definitions);
}

// The columns of a key that is declared for the table are never NULL either.
void TSqlTranslator::NotNullKeys(const std::vector<TSqlRange>& definitions) {
  std::unordered_map<std::string_view, std::size_t> lastTokens;  // of a column's definition
  for (const TSqlRange definition : definitions) {
    const TSqlToken& name = FTokens[definition.first];
    if (name.IsName()) lastTokens.emplace(name.name, definition.behind - 1);
  }
  for (const auto& [first, behind] : definitions) {
    std::size_t key = FTokens.Is(first, "CONSTRAINT") ? first + 2 : first;
    if (!FTokens.Is(key, "PRIMARY") || !FTokens.Is(key + 2, "(")) continue;
    const std::size_t close = FTokens[key + 2].partner;
    for (key += 3; key < close; ++key) {
      const auto column = lastTokens.find(FTokens[key].name);
      if (FTokens[key].IsName() && column != lastTokens.end()) {
        FTokens[column->second].after += " NOT NULL";
      }
    }
  }
}

// The column whose name stands there and whose type stands behind it.
TSqlColumn TSqlTranslator::NewColumn(std::size_t name) const {
  TSqlColumn column{FTokens[name].name};
  if (name + 1 >= FEnd) return column;
  int size = 0;
  const bool isLongRaw = FTokens.Is(name + 1, "LONG") && FTokens.Is(name + 2, "RAW");
  const auto type = DeclaredType(isLongRaw ? "RAW" : FTokens[name + 1].name, size);
  if (type) column.type = SqlTypeOf(*type);
  return column;
}

// `name` is the column's, for a definition of one.
void TSqlTranslator::ColumnDefinition(TSqlCursor& cursor, std::size_t name) {
  if (cursor.at >= cursor.end) return;
  const std::size_t first = cursor.at;
  static constexpr std::string_view kConstraints[] = {"CONSTRAINT", "PRIMARY", "UNIQUE", "CHECK",
                                                      "FOREIGN"};
  const bool isColumn = std::find(std::begin(kConstraints), std::end(kConstraints),
                                  FTokens[first].name) == std::end(kConstraints);
  if (isColumn && FTokens[first].IsName()) {
    FTokens[first].out = SqlName(FTokens[first]);
    ++cursor.at;
  }
  const TSqlType type = isColumn && name < cursor.end ? NewColumn(name).type : TSqlType::unknown;
  std::size_t listEnd = 0;  // words in parentheses are columns' names, others the language's
  while (cursor.at < cursor.end) {
    TSqlToken& token = FTokens[cursor.at++];
    if (token.settled) continue;
    if (token.Is("(")) {
      listEnd = token.partner;
    } else if (token.Is("DEFAULT")) {
      const TSqlOperand value = FExpressions.Parse(cursor);
      FExpressions.Assign(type, value);
      if (!value.IsEmpty()) FTokens.Wrap(value.first, value.behind - 1, "(", ")");
    } else if (token.Is("CHECK")) {
      const std::size_t close = FTokens.Is(cursor.at, "(") ? FTokens[cursor.at].partner : cursor.at;
      TSqlCursor condition{cursor.at, close, cursor.scope};
      FExpressions.Walk(condition);
      cursor.at = condition.at;
    } else if (token.Is("REFERENCES")) {
      TableName(cursor.at);
    } else if (token.Is("PRIMARY") && isColumn && FTokens.Is(cursor.at, "KEY")) {
      // A key column is never NULL.
      FTokens[cursor.at++].after += " NOT NULL";
    } else if ((token.Is("CHAR") || token.Is("BYTE")) && FTokens.Is(cursor.at, ")")) {
      FTokens.Hide(cursor.at - 1, cursor.at);  // VARCHAR2(50 CHAR)
    } else if (isColumn && cursor.at == name + 2 && (token.Is("LONG") || token.Is("RAW"))) {
      // By their own names the database would take them for numbers' types.
      const bool isLongRaw = token.Is("LONG") && FTokens.Is(cursor.at, "RAW");
      token.out = token.name;
      FTokens[isLongRaw ? cursor.at : cursor.at - 1].after +=
          token.Is("RAW") || isLongRaw ? " BLOB" : " CLOB";
    } else if (token.kind == TSqlTokenKind::word) {
      token.out = cursor.at <= listEnd ? SqlName(token) : token.name;
    }
  }
}

}  // namespace perlayer

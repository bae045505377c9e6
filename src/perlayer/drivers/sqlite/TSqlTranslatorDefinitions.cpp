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
  at = what + 1;
  TableName(at);
  TSqlScope scope(nullptr, nullptr);
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
    TSqlCursor names{at, query, scope};
    FExpressions.Walk(names);
    Query({query, count}, nullptr, TColumns::named);
  } else if (create && FTokens.Is(at, "(")) {
    CreateTable(at + 1, FTokens[at].partner);
  } else {
    TSqlCursor cursor{at, count, scope};
    ColumnDefinition(cursor);
  }
}

// The definitions of columns and constraints, each up to a comma.
void TSqlTranslator::CreateTable(std::size_t at, std::size_t end) {
  TSqlScope nothing(nullptr, nullptr);
  std::vector<TSqlRange> definitions;
  while (at < end) {
    std::size_t behind = at;
    while (behind < end && !FTokens.Is(behind, ",")) {
      behind = FTokens.Is(behind, "(") ? FTokens[behind].partner + 1 : behind + 1;
    }
    if (behind > at) definitions.push_back({at, behind});
    TSqlCursor cursor{at, behind, nothing};
    ColumnDefinition(cursor);
    at = behind + 1;
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

void TSqlTranslator::ColumnDefinition(TSqlCursor& cursor) {
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
  std::size_t listEnd = 0;  // words in parentheses are columns' names, others the language's
  while (cursor.at < cursor.end) {
    TSqlToken& token = FTokens[cursor.at++];
    if (token.settled) continue;
    if (token.Is("(")) {
      listEnd = token.partner;
    } else if (token.Is("DEFAULT")) {
      const TSqlOperand value = FExpressions.Parse(cursor);
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
    } else if (token.kind == TSqlTokenKind::word) {
      token.out = cursor.at <= listEnd ? SqlName(token) : token.name;
    }
  }
}

}  // namespace perlayer

#include "perlayer/drivers/sqlite/TSqlTranslator.h"

#include <algorithm>

#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

constexpr int kMaxDepth = 30;  // of queries in queries

// A word by itself that cannot be said, or one with what must follow it.
struct TRefusal {
  std::string_view word;
  std::string_view next;  // empty: whatever follows
  const char* name;
};
constexpr TRefusal kRefusals[] = {
    {"CONNECT", "BY", "CONNECT BY"},  {"START", "WITH", "START WITH"},
    {"RETURNING", "", "RETURNING"},   {"ROWNUM", "", "ROWNUM"},
    {"EMPTY_CLOB", "", "EMPTY_CLOB"}, {"EMPTY_BLOB", "", "EMPTY_BLOB"},
    {"FOR", "UPDATE", "FOR UPDATE"},
};

constexpr const char* kNotHere = " is not supported by this database";

}  // namespace

std::size_t TSqlTranslation::SourceOffset(std::size_t offset) const {
  std::size_t source = 0;
  for (const auto& [out, from] : origins) {
    if (out > offset) break;
    source = from;
  }
  return source;
}

TSqlTranslator::TSqlTranslator(const TStatementText& text, TSqlSchema* schema,
                               TSqlNumberBinds numberBinds)
    : FSchema(schema), FTokens(text), FExpressions(FTokens, *this, numberBinds) {}

TSqlTranslation TSqlTranslator::Translate() {
  while (FTokens.Count() > 0 && FTokens.Is(FTokens.Count() - 1, ";")) FTokens.Pop();
  if (FTokens.Count() == 0) FTokens.Refuse(0, "the statement is empty");
  RefuseUnknown();
  Statement(0);
  FResult.sql = FTokens.Render(FResult.origins);
  FResult.bindsThatMatter = FExpressions.BindsThatMatter();
  return std::move(FResult);
}

void TSqlTranslator::RefuseUnknown() {
  for (std::size_t i = 0; i < FTokens.Count(); ++i) {
    const TSqlToken& token = FTokens[i];
    if (token.Is(";")) FTokens.Refuse(i, "one statement is expected, and here begins another");
    if (token.Is("(") && FTokens.Is(i + 1, "+") && FTokens.Is(i + 2, ")")) {
      FTokens.Refuse(i, std::string("the outer join (+)") + kNotHere);
    }
    if (token.kind != TSqlTokenKind::word) continue;
    if (i > 0 && FTokens.Is(i - 1, ".")) {
      if (token.name == "NEXTVAL" || token.name == "CURRVAL") {
        FTokens.Refuse(i, "the sequence's " + token.name + kNotHere);
      }
      continue;
    }
    for (const TRefusal& refusal : kRefusals) {
      if (token.name != refusal.word) continue;
      if (!refusal.next.empty() && !FTokens.Is(i + 1, refusal.next)) continue;
      if (token.name == "FOR" && i > 0 && FTokens.Is(i - 1, "PLAN")) continue;
      FTokens.Refuse(i, std::string(refusal.name) + kNotHere);
    }
  }
}

void TSqlTranslator::Statement(std::size_t at) {
  const TSqlToken& token = FTokens[at];
  if (token.Is("SELECT") || token.Is("WITH")) {
    Query(at, FTokens.Count(), nullptr, true);
  } else if (token.Is("INSERT")) {
    Insert(at + 1);
  } else if (token.Is("UPDATE")) {
    Update(at + 1);
  } else if (token.Is("DELETE")) {
    Delete(at + 1);
  } else if (token.Is("CREATE") || token.Is("DROP") || token.Is("ALTER")) {
    Definition(at);
  } else if (at == 0 && token.Is("EXPLAIN") && FTokens.Is(1, "PLAN") && FTokens.Is(2, "FOR") &&
             FTokens.Count() > 3) {
    FTokens[1].out = "QUERY PLAN";
    FTokens.Hide(2, 3);
    Statement(3);
  } else if (token.Is("BEGIN") || token.Is("DECLARE")) {
    FTokens.Refuse(at, std::string("the block ") + token.name + " ... END" + kNotHere);
  } else {
    FTokens.Refuse(at, std::string(FTokens.Source(at)) + " begins no statement" +
                           " that is supported by this database");
  }
}

std::size_t TSqlTranslator::Find(std::size_t at, std::size_t end,
                                 std::initializer_list<std::string_view> words) {
  for (; at < end; ++at) {
    const TSqlToken& token = FTokens[at];
    if (token.Is("(")) {
      at = token.partner;
    } else if (token.kind == TSqlTokenKind::word &&
               std::find(words.begin(), words.end(), token.name) != words.end()) {
      return at;
    }
  }
  return end;
}

TSqlScope::TTable TSqlTranslator::TableName(std::size_t& at) {
  if (at >= FTokens.Count() || !FTokens[at].IsName() || IsSqlKeyword(FTokens[at])) {
    FTokens.Refuse(at, "the name of a table is expected here");
  }
  TSqlToken& first = FTokens[at];
  TSqlScope::TTable table;
  if (FTokens.Is(at + 1, ".")) {
    if (at + 2 >= FTokens.Count() || !FTokens[at + 2].IsName()) {
      FTokens.Refuse(at + 2, "the name of a table is expected here");
    }
    table.owner = first.name;
    table.name = FTokens[at + 2].name;
    first.out = QuotedName(FileName(table.owner, table.name));
    FTokens.Hide(at + 1, at + 3);
    at += 3;
  } else {
    table.name = first.name;
    first.out = SqlName(first);
    ++at;
  }
  first.settled = true;
  return table;
}

TSqlScope::TTable TSqlTranslator::TableWithAlias(std::size_t& at, std::size_t end, const char* as) {
  TSqlScope::TTable table = TableName(at);
  if (at < end && FTokens.Is(at, "AS")) {
    ++at;
    as = "";
  }
  if (at < end && FTokens[at].IsName() && !IsSqlKeyword(FTokens[at])) {
    table.alias = FTokens[at].name;
    FTokens[at].out = as + SqlName(FTokens[at]);
    FTokens[at].settled = true;
    ++at;
  }
  return table;
}

TSqlType TSqlTranslator::Subquery(std::size_t open, TSqlScope& scope) {
  return Query(open + 1, FTokens[open].partner, &scope, false);
}

TSqlType TSqlTranslator::Query(std::size_t at, std::size_t end, TSqlScope* outer, bool outermost) {
  if (++FDepth > kMaxDepth) FTokens.Refuse(at, "the queries are nested too deeply");
  if (FTokens.Is(at, "WITH")) {
    const std::size_t select = Find(at, end, {"SELECT"});
    TSqlScope nothing(FSchema, outer);
    for (++at; at < select; ++at) {
      TSqlToken& token = FTokens[at];
      if (token.Is("(")) {
        TSqlCursor inside{at, token.partner + 1, nothing};
        FExpressions.Walk(inside);
        at = token.partner;
      } else if (token.IsName() && !IsSqlKeyword(token)) {
        token.out = SqlName(token);
      }
    }
  }
  TSqlType type = TSqlType::unknown;
  for (bool first = true; at < end; first = false) {
    const std::size_t partEnd = Find(at, end, {"UNION", "INTERSECT", "MINUS", "EXCEPT"});
    const TSqlType partType = SelectPart(at, partEnd, outer, outermost && first);
    if (first) type = partType;
    at = partEnd;
    if (at < end && FTokens.Is(at, "MINUS")) FTokens[at].out = "EXCEPT";
    if (at < end) ++at;
    if (at < end && FTokens.Is(at, "ALL")) ++at;
  }
  --FDepth;
  return type;
}

TSqlType TSqlTranslator::SelectPart(std::size_t at, std::size_t end, TSqlScope* outer,
                                    bool outermost) {
  TSqlScope scope(FSchema, outer);
  TSqlCursor cursor{at, end, scope};
  if (!FTokens.Is(at, "SELECT")) {
    FExpressions.Walk(cursor);
    return TSqlType::unknown;
  }
  const std::size_t from = Find(at, end, {"FROM"});
  const std::size_t behind =
      Find(from < end ? from : at, end, {"WHERE", "GROUP", "HAVING", "ORDER"});
  if (from < end) From(from, behind, scope);
  ++cursor.at;
  if (cursor.at < from && FTokens.Is(cursor.at, "UNIQUE")) FTokens[cursor.at].out = "DISTINCT";
  cursor.end = from < end ? from : behind;
  const TSqlType type = SelectList(cursor, outermost);
  cursor.end = end;
  FExpressions.Walk(cursor);
  return type;
}

TSqlType TSqlTranslator::SelectList(TSqlCursor& cursor, bool outermost) {
  TSqlType type = TSqlType::unknown;
  bool first = true;
  while (cursor.at < cursor.end) {
    const TSqlOperand item = FExpressions.Parse(cursor);
    if (item.IsEmpty()) {
      ++cursor.at;
      continue;
    }
    if (first) type = item.type;
    first = false;
    if (outermost) NameItem(item, cursor);
    // An alias, or something that the database is going to complain of.
    while (cursor.at < cursor.end && !FTokens.Is(cursor.at, ",")) {
      if (FExpressions.Parse(cursor).IsEmpty()) ++cursor.at;
    }
  }
  return type;
}

// A result column has a name: its alias, the column's own, or the text of the expression in upper
// case and without blanks.
void TSqlTranslator::NameItem(const TSqlOperand& item, TSqlCursor& cursor) {
  std::size_t alias = cursor.at;
  if (alias < cursor.end && FTokens.Is(alias, "AS")) ++alias;
  std::string name;
  if (alias < cursor.end && FTokens[alias].IsName() && !IsSqlKeyword(FTokens[alias])) {
    name = FTokens[alias].name;
  } else {
    if (item.column || FTokens.Is(item.behind - 1, "*")) return;
    if (cursor.at < cursor.end && !FTokens.Is(cursor.at, ",")) return;
    for (std::size_t i = item.first; i < item.behind; ++i) {
      const std::string_view source = FTokens.Source(i);
      name += FTokens[i].kind == TSqlTokenKind::quoted ? std::string(source) : UpperCase(source);
      const bool wordsMeet = i + 1 < item.behind && FTokens[i].kind != TSqlTokenKind::symbol &&
                             FTokens[i + 1].kind != TSqlTokenKind::symbol;
      if (wordsMeet) name += ' ';
    }
    FTokens[item.behind - 1].after += " AS " + QuotedName(name);
  }
  if (!item.column && item.type != TSqlType::unknown && item.type != TSqlType::null) {
    FResult.expressions.emplace_back(name, item.type);
  }
}

// Reads the tables; conditions of joins and queries in parentheses are left to the walk that
// follows. A table stands behind FROM, JOIN and each comma.
void TSqlTranslator::From(std::size_t at, std::size_t end, TSqlScope& scope) {
  if (FTokens.Is(at, "FROM") && at + 1 < end && FTokens.Is(at + 1, "DUAL")) {
    const bool aliased = at + 2 < end && FTokens[at + 2].IsName() && !IsSqlKeyword(FTokens[at + 2]);
    const std::size_t behind = at + (aliased ? 3 : 2);
    if (behind == end) {
      FTokens.Hide(at, behind);
      return;
    }
  }
  bool expected = true;
  for (++at; at < end;) {
    TSqlToken& token = FTokens[at];
    if (expected && token.IsName() && !IsSqlKeyword(token)) {
      TSqlScope::TTable table = TableWithAlias(at, end, "");
      if (table.name == "DUAL" && table.owner.empty()) {
        token.out = "(SELECT 'X' AS DUMMY)";
        token.after = table.alias.empty() ? " DUAL" : "";
      }
      scope.Add(std::move(table));
      expected = false;
    } else if (token.Is("(")) {
      if (expected && !FTokens.Is(at + 1, "SELECT") && !FTokens.Is(at + 1, "WITH")) {
        From(at, token.partner, scope);  // tables joined in parentheses
      }
      at = token.partner + 1;
      expected = false;
      if (at < end && FTokens[at].IsName() && !IsSqlKeyword(FTokens[at])) {
        scope.Add({"", "", FTokens[at].name, std::vector<TSqlColumn>()});
      }
    } else {
      if (token.Is(",") || token.Is("JOIN")) expected = true;
      ++at;
    }
  }
}

void TSqlTranslator::Insert(std::size_t at) {
  if (!FTokens.Is(at, "INTO")) FTokens.Refuse(at, "INTO is expected here");
  ++at;
  const std::size_t count = FTokens.Count();
  TSqlScope scope(FSchema, nullptr);
  TSqlScope::TTable table = TableWithAlias(at, count, "AS ");
  std::vector<TSqlType> types;
  if (FTokens.Is(at, "(") && !FTokens.Is(at + 1, "SELECT")) {
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
    Query(at, count, nullptr, false);
    return;
  }
  for (++at; at < count; ++at) {
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
}

void TSqlTranslator::Update(std::size_t at) {
  TSqlScope scope(FSchema, nullptr);
  const std::size_t count = FTokens.Count();
  TSqlScope::TTable table = TableWithAlias(at, count, "AS ");
  const std::string qualifier = table.alias.empty() ? table.name : table.alias;
  scope.Add(std::move(table));
  if (!FTokens.Is(at, "SET")) FTokens.Refuse(at, "SET is expected here");
  const std::size_t where = Find(at, count, {"WHERE"});
  TSqlCursor cursor{at + 1, where, scope};
  while (cursor.at < where) {
    TSqlType type = TSqlType::unknown;
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
      FExpressions.Walk(columns);
      cursor.at = columns.end + 1;
    }
    if (!FTokens.Is(cursor.at, "=")) FTokens.Refuse(cursor.at, "\"=\" is expected here");
    ++cursor.at;
    FExpressions.Assign(type, FExpressions.Parse(cursor));
    if (cursor.at < where && !FTokens.Is(cursor.at, ",")) {
      FTokens.Refuse(cursor.at, "a comma or WHERE is expected here");
    }
    ++cursor.at;
  }
  TSqlCursor condition{where, count, scope};
  FExpressions.Walk(condition);
}

void TSqlTranslator::Delete(std::size_t at) {
  TSqlScope scope(FSchema, nullptr);
  const std::size_t count = FTokens.Count();
  if (FTokens.Is(at, "FROM")) {
    ++at;
  } else {
    FTokens[at - 1].out += " FROM";
  }
  scope.Add(TableWithAlias(at, count, "AS "));
  TSqlCursor condition{at, count, scope};
  FExpressions.Walk(condition);
}

void TSqlTranslator::Definition(std::size_t at) {
  FResult.changesSchema = true;
  const std::size_t count = FTokens.Count();
  const bool create = FTokens.Is(at, "CREATE");
  const std::size_t what = Find(at, count, {"TABLE", "INDEX", "VIEW"});
  if (what == count || what > at + 3) {
    FTokens.Refuse(at, "only tables, indexes and views can be created, altered or dropped");
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
    Query(query, count, nullptr, FTokens.Is(what, "VIEW"));
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
  std::vector<std::pair<std::size_t, std::size_t>> definitions;  // first and last token
  while (at < end) {
    std::size_t behind = at;
    while (behind < end && !FTokens.Is(behind, ",")) {
      behind = FTokens.Is(behind, "(") ? FTokens[behind].partner + 1 : behind + 1;
    }
    if (behind > at) definitions.emplace_back(at, behind - 1);
    TSqlCursor cursor{at, behind, nothing};
    ColumnDefinition(cursor);
    at = behind + 1;
  }
  // The columns of a key that is declared for the table are never NULL either.
  for (const auto& [first, last] : definitions) {
    std::size_t key = FTokens.Is(first, "CONSTRAINT") ? first + 2 : first;
    if (!FTokens.Is(key, "PRIMARY") || !FTokens.Is(key + 2, "(")) continue;
    const std::size_t close = FTokens[key + 2].partner;
    for (key += 3; key < close; ++key) {
      for (const auto& [column, columnEnd] : definitions) {
        const bool same = column != first && FTokens[column].IsName() && FTokens[key].IsName() &&
                          FTokens[column].name == FTokens[key].name;
        if (same) FTokens[columnEnd].after += " NOT NULL";
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

std::string TranslateSql(std::string_view statement) {
  const TStatementText text(statement);
  return TSqlTranslator(text, nullptr).Translate().sql;
}

}  // namespace perlayer

// SELECT.

#include <algorithm>
#include <charconv>
#include <utility>

#include "perlayer/drivers/sqlite/TSqlOuterJoins.h"
#include "perlayer/drivers/sqlite/TSqlRownum.h"
#include "perlayer/drivers/sqlite/TSqlTranslator.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

constexpr int kMaxDepth = 30;           // of queries in queries
constexpr std::size_t kMaxTables = 64;  // of one block; the database's own limit

}  // namespace

TSqlType TSqlTranslator::Subquery(std::size_t open, TSqlScope& scope) {
  const TQueryColumns columns = Query({open + 1, FTokens[open].partner}, &scope, TColumns::unnamed);
  return columns.empty() ? TSqlType::unknown : columns.front().type;
}

TSqlTranslator::TQueryColumns TSqlTranslator::Query(TSqlRange query, TSqlScope* outer,
                                                    TColumns wanted) {
  auto [at, end] = query;
  const TTargets* targets = std::exchange(FTargets, nullptr);  // not the queries' inside
  if (++FDepth > kMaxDepth) FTokens.Refuse(at, "the queries are nested too deeply");
  TSqlScope named(FSchema, outer);
  if (FTokens.Is(at, "WITH")) {
    at = With(query, named);
    outer = &named;
  }
  TQueryColumns columns;
  for (bool first = true; at < end; first = false) {
    const std::size_t partEnd = Find(at, end, {"UNION", "INTERSECT", "MINUS", "EXCEPT"});
    const bool single = first && partEnd == end;
    const TColumns later = wanted == TColumns::unnamed ? wanted : TColumns::typed;
    TQueryColumns partColumns =
        SelectPart({at, partEnd}, outer, first ? wanted : later, single, targets);
    if (first) {
      columns = std::move(partColumns);
    } else {
      FillTypes(columns, partColumns, wanted);
    }
    at = partEnd;
    if (at < end && FTokens.Is(at, "MINUS")) FTokens[at].out = "EXCEPT";
    if (at < end) ++at;
    if (at < end && FTokens.Is(at, "ALL")) ++at;
  }
  --FDepth;
  return columns;
}

// Reads the queries that WITH names, each of which those behind it and the query itself may use;
// returns where the query begins.
std::size_t TSqlTranslator::With(TSqlRange query, TSqlScope& scope) {
  auto [at, end] = query;
  end = Find(at, end, {"SELECT"});
  std::string name;
  TQueryColumns names;  // of the list behind the name
  for (++at; at < end; ++at) {
    TSqlToken& token = FTokens[at];
    if (FTokens.IsSubquery(at)) {
      // While it is read, it stands for itself: its columns are not yet known.
      scope.AddNamedQuery({"", name, "", names});
      TQueryColumns columns = Query({at + 1, token.partner}, &scope, TColumns::named);
      if (!names.empty()) {
        for (std::size_t i = 0; i < names.size() && names.size() == columns.size(); ++i) {
          columns[i].name = names[i].name;
        }
        if (names.size() != columns.size()) columns = names;
      }
      // Of a query that names itself the database tells no types.
      const bool recursive = FTokens.FindOwn(name, at + 1, token.partner) < token.partner;
      for (TSqlColumn& column : columns) column.derived |= recursive;
      scope.AddNamedQuery({"", name, "", std::move(columns)});
      at = token.partner;
    } else if (token.Is("(")) {
      TSqlCursor inside{at, token.partner + 1, scope};
      for (std::size_t i = at + 1; i < token.partner; ++i) {
        if (FTokens[i].IsName()) names.push_back({FTokens[i].name, TSqlType::unknown, true});
      }
      FExpressions.Walk(inside);
      at = token.partner;
    } else if (token.IsName() && !IsSqlKeyword(token)) {
      token.out = SqlName(token);
      name = token.name;
      names.clear();
    }
  }
  return end;
}

// What the first of the queries that UNION joins leaves open about its columns, those behind it
// tell.
void TSqlTranslator::FillTypes(TQueryColumns& columns, const TQueryColumns& later,
                               TColumns wanted) {
  const auto isOpen = [](TSqlType type) {
    return type == TSqlType::unknown || type == TSqlType::null;
  };
  for (std::size_t i = 0; i < columns.size() && columns.size() == later.size(); ++i) {
    if (!isOpen(columns[i].type) || isOpen(later[i].type)) continue;
    columns[i].type = later[i].type;
    if (wanted == TColumns::shown) FResult.expressions.emplace_back(columns[i].name, later[i].type);
  }
}

TSqlClauses TSqlTranslator::Clauses(std::size_t at, std::size_t end) const {
  TSqlClauses clauses;
  clauses.select = at;
  clauses.end = end;
  clauses.from = Find(at, end, {"FROM"});
  if (clauses.from == end) clauses.from = Find(at, end, {"WHERE", "GROUP", "HAVING", "ORDER"});
  clauses.where = Find(clauses.from, end, {"WHERE", "GROUP", "HAVING", "ORDER"});
  clauses.whereEnd = Find(clauses.where, end, {"GROUP", "HAVING", "ORDER"});
  return clauses;
}

// One block of a query; `single` when UNION or the like joins it with no other.
TSqlTranslator::TQueryColumns TSqlTranslator::SelectPart(TSqlRange part, TSqlScope* outer,
                                                         TColumns wanted, bool single,
                                                         const TTargets* targets) {
  TSqlScope scope(FSchema, outer);
  TSqlCursor cursor{part.first, part.behind, scope};
  if (!FTokens.Is(part.first, "SELECT")) {
    FExpressions.Walk(cursor);
    return {};
  }
  TSqlClauses clauses = Clauses(part.first, part.behind);
  if (FTokens.HasOuterMarks()) {
    TSqlOuterJoins(FTokens, FSchema).Rewrite(clauses);
    clauses = Clauses(part.first, part.behind);
  }
  if (FTokens.HasRownum()) {
    TSqlRownum(FTokens).Query(clauses, !single, wanted != TColumns::shown);
    clauses = Clauses(part.first, part.behind);
  }
  if (FTokens.Is(clauses.from, "FROM")) {
    const std::size_t dual = clauses.from + 1;
    const bool aliased =
        dual + 1 < clauses.where && FTokens[dual + 1].IsName() && !IsSqlKeyword(FTokens[dual + 1]);
    const bool alone = FTokens.Is(dual, "DUAL") && dual + (aliased ? 2 : 1) == clauses.where;
    if (alone && !ShowsDual(clauses)) {
      FTokens.Hide(clauses.from, clauses.where);
    } else {
      From(clauses.from, clauses.where, scope);
    }
  }
  ++cursor.at;
  if (cursor.at < clauses.from && FTokens.Is(cursor.at, "UNIQUE")) {
    FTokens[cursor.at].out = "DISTINCT";
  }
  cursor.end = clauses.from;
  FShowsPlaces =
      FLargeObjects == TLargeObjects::places && single && wanted == TColumns::shown && FDepth == 1;
  TQueryColumns columns = SelectList(cursor, wanted, targets);
  cursor.end = part.behind;
  FExpressions.Walk(cursor);
  return columns;
}

// DUAL's own column is asked for, by its name or a star among the columns.
bool TSqlTranslator::ShowsDual(const TSqlClauses& clauses) const {
  if (FTokens.FindOwn("DUMMY", clauses.select, clauses.end) < clauses.end) return true;
  for (std::size_t i = clauses.select + 1; i < clauses.from; ++i) {
    if (FTokens.Is(i, "(")) {
      i = FTokens[i].partner;
    } else if (FTokens.Is(i, "*")) {
      for (const char* word : {"SELECT", "DISTINCT", "UNIQUE", "ALL", ",", "."}) {
        if (FTokens.Is(i - 1, word)) return true;
      }
    }
  }
  return false;
}

// A query that locks its rows takes the write permission, which is for the whole file.
void TSqlTranslator::ForUpdate(std::size_t at) {
  at = Find(at, FEnd, {"FOR"});
  if (at == FEnd) return;
  const std::size_t first = at++;
  if (!FTokens.Is(at, "UPDATE")) FTokens.Refuse(at, "UPDATE is expected here");
  FResult.locks = true;
  if (FTokens.Is(++at, "OF")) {
    at = Find(at, FEnd, {"NOWAIT", "WAIT", "SKIP"});
  }
  if (FTokens.Is(at, "NOWAIT")) {
    FResult.waitMilliseconds = 0;
    ++at;
  } else if (FTokens.Is(at, "WAIT") && at + 1 < FEnd) {
    constexpr int kMost = 1000000;
    const std::string_view text = FTokens.Source(at + 1);
    int seconds = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (read.ec != std::errc() || read.ptr != text.data() + text.size() || seconds > kMost) {
      FTokens.Refuse(at + 1, "a number of seconds is expected here");
    }
    FResult.waitMilliseconds = seconds * 1000;
    at += 2;
  }
  if (at < FEnd) {
    FTokens.Refuse(at, std::string(FTokens.Source(at)) + " has no place behind FOR UPDATE");
  }
  FTokens.Hide(first, FEnd);
  FEnd = first;
}

TSqlTranslator::TQueryColumns TSqlTranslator::SelectList(TSqlCursor& cursor, TColumns wanted,
                                                         const TTargets* targets) {
  TQueryColumns columns;
  const bool showsPlaces = std::exchange(FShowsPlaces, false);  // not the queries' inside
  std::size_t target = 0;
  while (cursor.at < cursor.end) {
    const TSqlOperand item = FExpressions.Parse(cursor);
    const bool isStar = FTokens.Is(item.IsEmpty() ? cursor.at : item.behind - 1, "*");
    if (isStar) targets = nullptr;  // how many columns it stands for is not always known
    if (item.IsEmpty()) {
      if (wanted != TColumns::unnamed && FTokens.Is(cursor.at, "*")) {
        AppendStar(cursor.at, cursor.scope, columns);
        if (showsPlaces) PlacesOfStar(item, cursor.at, cursor.scope);
      }
      ++cursor.at;
      continue;
    }
    if (targets != nullptr && target < targets->size()) {
      FExpressions.Assign((*targets)[target++], item);
    }
    if (wanted == TColumns::unnamed) {
      if (columns.empty()) columns.push_back({"", item.type, true});
    } else if (isStar) {
      AppendStar(item.behind - 1, cursor.scope, columns);
      if (showsPlaces) PlacesOfStar(item, item.behind - 1, cursor.scope);
    } else if (wanted == TColumns::typed) {
      columns.push_back({"", item.type, true});
    } else if (const std::string name = NameItem(item, cursor); !name.empty()) {
      columns.push_back({name, item.type, item.derived || !item.column, item.memo});
      if (showsPlaces && item.column) PlaceOfColumn(item, cursor, name);
      const bool isKnown = item.type != TSqlType::unknown && item.type != TSqlType::null;
      if (wanted == TColumns::shown && isKnown && columns.back().derived) {
        FResult.expressions.emplace_back(name, item.type);
      }
    }
    // An alias, or something that the database is going to complain of.
    while (cursor.at < cursor.end && !FTokens.Is(cursor.at, ",")) {
      if (FExpressions.Parse(cursor).IsEmpty()) ++cursor.at;
    }
  }
  return columns;
}

// The columns that "*" or TABLE.* stands for, as far as they are known.
void TSqlTranslator::AppendStar(std::size_t star, TSqlScope& scope, TQueryColumns& columns) const {
  const bool qualified = star > 1 && FTokens.Is(star - 1, ".");
  for (TSqlScope::TTable& table : scope.Tables()) {
    const std::string& name = table.alias.empty() ? table.name : table.alias;
    if (qualified && name != FTokens[star - 2].name) continue;
    const std::vector<TSqlColumn>& known = scope.ColumnsOf(table);
    columns.insert(columns.end(), known.begin(), known.end());
  }
}

// What the number of the row is said by where a large object stands. The value is not read for it.
std::string TSqlTranslator::Place(const TSqlScope::TTable& table, const TSqlColumn& column,
                                  const std::string& shown) {
  const std::string file = FileName(table.owner, table.name);
  const std::string row = QuotedName(table.alias.empty() ? file : table.alias) + ".";
  FResult.largeColumns.push_back({shown, {file, column.name, column.memo}});
  return "CASE WHEN typeof(" + row + QuotedName(column.name) + ") = 'null' THEN NULL ELSE " + row +
         "_rowid_ END";
}

// "*" or TABLE.* spelt out, when all its columns are those of tables.
void TSqlTranslator::PlacesOfStar(const TSqlOperand& item, std::size_t star, TSqlScope& scope) {
  const bool qualified = star > 1 && FTokens.Is(star - 1, ".");
  std::string list;
  for (TSqlScope::TTable& table : scope.Tables()) {
    const std::string& name = table.alias.empty() ? table.name : table.alias;
    if (qualified && name != FTokens[star - 2].name) continue;
    const std::vector<TSqlColumn>& columns = scope.ColumnsOf(table);
    const bool isTable =
        !table.name.empty() && (!table.owner.empty() || scope.NamedQuery(table.name) == nullptr);
    if (columns.empty() || !isTable) return;
    const std::string row =
        QuotedName(table.alias.empty() ? FileName(table.owner, table.name) : name) + ".";
    for (const TSqlColumn& column : columns) {
      list += list.empty() ? "" : ", ";
      list += column.IsLarge() ? Place(table, column, column.name) + " AS "
                               : row + QuotedName(column.name) + " AS ";
      list += QuotedName(column.name);
    }
  }
  if (list.empty()) return;
  if (!item.IsEmpty()) FTokens.Hide(item.first, star);
  FTokens[star].out = list;
}

// The item is a plain column, of whichever of the tables.
void TSqlTranslator::PlaceOfColumn(const TSqlOperand& item, const TSqlCursor& cursor,
                                   const std::string& shown) {
  const std::size_t last = item.behind - 1;
  const bool qualified = last > item.first + 1 && FTokens.Is(last - 1, ".");
  for (TSqlScope::TTable& table : cursor.scope.Tables()) {
    const std::string& name = table.alias.empty() ? table.name : table.alias;
    if (qualified && FTokens[last - 2].name != name) continue;
    if (table.owner.empty() && cursor.scope.NamedQuery(table.name) != nullptr) continue;
    for (const TSqlColumn& column : cursor.scope.ColumnsOf(table)) {
      if (table.name.empty() || !column.IsLarge() || !SameText(column.name, FTokens[last].name)) {
        continue;
      }
      const std::string place = Place(table, column, shown);
      FTokens.Hide(item.first, last);
      FTokens[last].out = place;
      if (cursor.at >= cursor.end || FTokens.Is(cursor.at, ",")) {
        FTokens[last].after += " AS " + QuotedName(shown);
      }
      return;
    }
  }
}

// A result column has a name: its alias, the column's own, or the text of the expression in upper
// case and without blanks, which is put where it has none. Empty when it cannot be told.
std::string TSqlTranslator::NameItem(const TSqlOperand& item, const TSqlCursor& cursor) {
  std::size_t alias = cursor.at;
  if (alias < cursor.end && FTokens.Is(alias, "AS")) ++alias;
  if (alias < cursor.end && FTokens[alias].IsName() && !IsSqlKeyword(FTokens[alias])) {
    return FTokens[alias].name;
  }
  if (cursor.at < cursor.end && !FTokens.Is(cursor.at, ",")) return {};
  const std::size_t last = item.behind - 1;
  if (item.column && FTokens[last].IsName()) return FTokens[last].name;
  if (item.column) return {};  // in parentheses
  std::string name;
  const bool isPath = FTokens[item.first].IsName() && FTokens.Is(item.first + 1, ".") &&
                      (last == item.first + 2 || last == item.first + 4);
  const bool isValue = isPath && (FTokens.Is(last, "NEXTVAL") || FTokens.Is(last, "CURRVAL"));
  if (isValue) name = FTokens[last].name;
  for (std::size_t i = item.first; i < item.behind && (name.empty() || !isValue); ++i) {
    const std::string_view source = FTokens.Source(i);
    name += FTokens[i].kind == TSqlTokenKind::quoted ? std::string(source) : UpperCase(source);
    const bool wordsMeet = i + 1 < item.behind && FTokens[i].kind != TSqlTokenKind::symbol &&
                           FTokens[i + 1].kind != TSqlTokenKind::symbol;
    if (wordsMeet) name += ' ';
  }
  FTokens[last].after += " AS " + QuotedName(name);
  return name;
}

// Reads the tables; conditions of joins and queries in parentheses are left to the walk that
// follows. A table stands behind FROM, JOIN and each comma.
void TSqlTranslator::From(std::size_t at, std::size_t end, TSqlScope& scope) {
  if (++FDepth > kMaxDepth) FTokens.Refuse(at, "the tables are nested too deeply");
  std::size_t tables = 0;
  bool expected = true;
  for (++at; at < end;) {
    TSqlToken& token = FTokens[at];
    if (expected && token.IsName() && !IsSqlKeyword(token)) {
      TSqlScope::TTable table = TableWithAlias(at, end, "");
      if (table.name == "DUAL" && table.owner.empty()) {
        token.out = "(SELECT 'X' AS DUMMY)";
        token.after = table.alias.empty() ? " DUAL" : "";
        table.columns = {{"DUMMY", TSqlType::text, true}};
      } else if (table.owner.empty()) {
        const TSqlScope::TTable* const query = scope.NamedQuery(table.name);
        if (query != nullptr) table.columns = query->columns;
      }
      scope.Add(std::move(table));
      if (++tables > kMaxTables) FTokens.Refuse(at, "too many tables are joined");
      expected = false;
    } else if (token.Is("(")) {
      if (expected && FTokens.IsSubquery(at)) {
        DerivedTable(at, end, scope);
      } else {
        if (expected) From(at, token.partner, scope);  // tables joined in parentheses
        at = token.partner + 1;
      }
      expected = false;
    } else {
      if (token.Is(",") || token.Is("JOIN")) expected = true;
      ++at;
    }
  }
  --FDepth;
}

// A query in FROM and its alias.
void TSqlTranslator::DerivedTable(std::size_t& at, std::size_t end, TSqlScope& scope) {
  const std::size_t open = at;
  at = FTokens[open].partner + 1;
  TQueryColumns columns = Query({open + 1, at - 1}, &scope, TColumns::named);
  FTokens[open].settled = true;
  TSqlScope::TTable table{"", "", "", std::move(columns)};
  if (at < end && FTokens.Is(at, "AS")) ++at;
  if (at < end && FTokens[at].IsName() && !IsSqlKeyword(FTokens[at])) {
    FTokens[at].out = SqlName(FTokens[at]);
    FTokens[at].settled = true;
    table.alias = FTokens[at++].name;
  }
  scope.Add(std::move(table));
}

}  // namespace perlayer

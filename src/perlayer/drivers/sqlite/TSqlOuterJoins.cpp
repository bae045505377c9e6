#include "perlayer/drivers/sqlite/TSqlOuterJoins.h"

#include <algorithm>

#include "perlayer/drivers/sqlite/TSqlExpressions.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

constexpr std::size_t kMaxTables = 64;  // the database's own limit for a join
constexpr std::uint64_t kBit = 1;

// A column begins there, and no word of the language, function or literal.
bool IsColumn(const TSqlTokens& tokens, std::size_t at) {
  const TSqlToken& token = tokens[at];
  if (!token.IsName() || IsSqlKeyword(token) || IsSqlClock(token)) return false;
  if (at + 1 == tokens.Count()) return true;
  return tokens.IsOuterMark(at + 1) ||
         (!tokens.Is(at + 1, "(") && tokens[at + 1].kind != TSqlTokenKind::text);
}

}  // namespace

std::size_t TSqlOuterJoins::FindMark(std::size_t at, std::size_t end) const {
  for (; at < end; ++at) {
    if (FTokens.IsSubquery(at)) {
      at = FTokens[at].partner;
    } else if (FTokens.IsOuterMark(at)) {
      return at;
    }
  }
  return end;
}

void TSqlOuterJoins::RefuseMarks(std::size_t at, std::size_t end) const {
  for (; at < end; ++at) {
    if (FTokens.IsOuterMark(at)) {
      FTokens.Refuse(at, "(+) stands behind a column in a condition of a query's WHERE clause");
    }
  }
}

void TSqlOuterJoins::Rewrite(const TSqlClauses& clauses) {
  const std::size_t mark = FindMark(clauses.where, clauses.whereEnd);
  if (mark == clauses.whereEnd || clauses.from >= clauses.where) return;
  ReadTables({clauses.from + 1, clauses.where});
  for (const TSqlRange condition :
       SplitConditions(FTokens, {clauses.where + 1, clauses.whereEnd})) {
    ReadCondition(condition);
  }
  for (TTable& table : FTables) {
    if (table.needs != 0) continue;
    FRest.insert(FRest.end(), table.conditions.begin(), table.conditions.end());
    table.conditions.clear();
  }
  const std::vector<std::size_t> order = Order();
  if (!std::is_sorted(order.begin(), order.end())) SpellStars(clauses);
  TSqlNewOrder tokens(FTokens, {clauses.from + 1, clauses.whereEnd});
  for (const std::size_t place : order) {
    const TTable& table = FTables[place];
    if (place != order.front()) {
      if (table.conditions.empty()) {
        tokens.PutWord(",", ",");
      } else {
        tokens.PutWord("JOIN", "LEFT JOIN");
      }
    }
    tokens.Put(table.range);
    for (const TCondition& condition : table.conditions) {
      const std::string_view word = &condition == &table.conditions.front() ? "ON" : "AND";
      tokens.PutWord(word, word);
      Put(condition, tokens);
    }
  }
  std::sort(FRest.begin(), FRest.end(),
            [](const TCondition& a, const TCondition& b) { return a.range.first < b.range.first; });
  for (const TCondition& condition : FRest) {
    if (&condition == &FRest.front()) {
      tokens.Put(clauses.where);
    } else {
      tokens.PutWord("AND", "AND");
    }
    Put(condition, tokens);
  }
  tokens.Apply();
}

// A condition without its marks.
void TSqlOuterJoins::Put(const TCondition& condition, TSqlNewOrder& tokens) const {
  std::size_t first = condition.range.first;
  for (std::size_t i = first; condition.marked && i < condition.range.behind; ++i) {
    if (!FTokens.IsOuterMark(i)) continue;
    tokens.Put(TSqlRange{first, i});
    first = i + 3;
  }
  tokens.Put(TSqlRange{first, condition.range.behind});
}

void TSqlOuterJoins::ReadTables(TSqlRange from) {
  for (std::size_t i = from.first; i < from.behind; ++i) {
    if (FTokens.Is(i, "(")) {
      i = FTokens[i].partner;
    } else if (FTokens.Is(i, "JOIN")) {
      FTokens.Refuse(i, "JOIN and (+) do not go together in one query");
    }
  }
  for (const TSqlRange range : SplitAtCommas(FTokens, from)) {
    TTable table;
    table.range = range;
    std::size_t at = range.first;
    if (FTokens.Is(at, "(")) {
      at = FTokens[at].partner + 1;
    } else if (at < range.behind && FTokens[at].IsName()) {
      table.name = FTokens[at++].name;
      if (at + 1 < range.behind && FTokens.Is(at, ".")) {
        table.owner = std::exchange(table.name, FTokens[at + 1].name);
        at += 2;
      }
    }
    if (at < range.behind && FTokens.Is(at, "AS")) ++at;
    if (at < range.behind && FTokens[at].IsName()) table.alias = FTokens[at++].name;
    if (at != range.behind || range.first == range.behind) {
      FTokens.Refuse(at, "a comma or WHERE is expected here");
    }
    FTables.push_back(std::move(table));
    if (FTables.size() > kMaxTables) FTokens.Refuse(range.first, "too many tables are joined");
  }
}

// Which table the column or TABLE.* of these tokens is of; -1 for another query's or no column.
int TSqlOuterJoins::TableOf(std::size_t first, std::size_t behind) {
  const std::string& name = FTokens[first].name;
  int found = -1;
  int unknown = -1;  // one of unknown columns, when there is one such only
  for (std::size_t i = 0; i < FTables.size(); ++i) {
    TTable& table = FTables[i];
    if (behind > first + 3) {
      if (table.alias.empty() && table.owner == name && table.name == FTokens[first + 2].name) {
        return static_cast<int>(i);
      }
    } else if (behind > first + 1) {
      if ((table.alias.empty() ? table.name : table.alias) == name) return static_cast<int>(i);
    } else {
      const std::vector<TSqlColumn>& columns = ColumnsOf(table);
      if (columns.empty()) unknown = unknown == -1 ? static_cast<int>(i) : -2;
      for (const TSqlColumn& column : columns) {
        if (SameText(column.name, name)) found = static_cast<int>(i);
      }
    }
  }
  return found < 0 && unknown >= 0 ? unknown : found;
}

const std::vector<TSqlColumn>& TSqlOuterJoins::ColumnsOf(TTable& table) {
  if (!table.columns) {
    table.columns.emplace();
    if (FSchema != nullptr && !table.name.empty()) {
      table.columns = FSchema->Columns(FileName(table.owner, table.name));
    }
  }
  return *table.columns;
}

void TSqlOuterJoins::ReadCondition(TSqlRange condition) {
  const std::size_t mark = FindMark(condition.first, condition.behind);
  if (mark == condition.behind) {
    FRest.push_back({condition, false});
    return;
  }
  CheckCondition(condition, mark);
  int outer = -1;
  std::uint64_t named = 0;
  for (std::size_t i = condition.first; i < condition.behind;) {
    if (!IsColumn(FTokens, i)) {
      ++i;
      continue;
    }
    const std::size_t first = i;
    for (++i; i + 1 < condition.behind && FTokens.Is(i, ".") && FTokens[i + 1].IsName(); i += 2) {
    }
    const int table = TableOf(first, i);
    if (i < condition.behind && FTokens.IsOuterMark(i)) {
      if (table < 0) {
        FTokens.Refuse(first, "a column with (+) is one of the query's tables, named before it");
      }
      if (outer >= 0 && outer != table) {
        FTokens.Refuse(i, "(+) stands with columns of two tables in one condition");
      }
      outer = table;
      i += 3;
    } else if (table >= 0) {
      named |= kBit << table;
    }
  }
  if (outer < 0) RefuseMarks(mark, mark + 1);
  TTable& table = FTables[static_cast<std::size_t>(outer)];
  table.needs |= named & ~(kBit << outer);
  table.conditions.push_back({condition, true});
}

// What the statements' language itself refuses, save what ReadCondition finds.
void TSqlOuterJoins::CheckCondition(TSqlRange condition, std::size_t mark) const {
  for (std::size_t i = condition.first; i < condition.behind; ++i) {
    if (FTokens.IsSubquery(i)) {
      FTokens.Refuse(mark, "a column with (+) is compared with no query");
    } else if (FTokens.Is(i, "OR")) {
      FTokens.Refuse(mark, "(+) does not go together with OR");
    } else if (FTokens.Is(i, "IN") && FTokens.Is(i + 1, "(")) {
      const std::size_t open = i + 1;
      if (SplitAtCommas(FTokens, {open + 1, FTokens[open].partner}).size() > 1) {
        FTokens.Refuse(mark, "(+) does not go together with a list behind IN");
      }
    }
  }
}

// Tables in FROM's order, but each with marks behind those that it needs.
std::vector<std::size_t> TSqlOuterJoins::Order() const {
  std::vector<std::size_t> order;
  std::uint64_t placed = 0;
  for (std::size_t i = 0; i < FTables.size(); ++i) {
    if (!FTables[i].conditions.empty()) continue;
    order.push_back(i);
    placed |= kBit << i;
  }
  while (order.size() < FTables.size()) {
    std::size_t next = 0;
    while (next < FTables.size() &&
           ((placed & kBit << next) != 0 || (FTables[next].needs & ~placed) != 0)) {
      ++next;
    }
    if (next == FTables.size()) {
      for (const TTable& table : FTables) {
        if (table.conditions.empty()) continue;
        FTokens.Refuse(table.conditions.front().range.first,
                       "tables are outer-joined by (+) to each other");
      }
    }
    order.push_back(next);
    placed |= kBit << next;
  }
  return order;
}

void TSqlOuterJoins::SpellStars(const TSqlClauses& clauses) {
  std::string columns;
  for (std::size_t at = clauses.select + 1; at < clauses.from; ++at) {
    if (FTokens.Is(at, "(")) {
      at = FTokens[at].partner;
      continue;
    }
    const bool isItem = FTokens[at - 1].kind == TSqlTokenKind::word || FTokens.Is(at - 1, ",");
    const bool isLast = at + 1 == clauses.from || FTokens.Is(at + 1, ",");
    if (!FTokens.Is(at, "*") || !isItem || !isLast) continue;
    if (columns.empty()) {
      for (const TTable& table : FTables) {
        if (table.alias.empty() && table.name.empty()) {
          FTokens.Refuse(table.range.first, "a query in FROM has a name beside (+) and \"*\"");
        }
        columns += columns.empty() ? "" : ", ";
        columns +=
            QuotedName(table.alias.empty() ? FileName(table.owner, table.name) : table.alias) +
            ".*";
      }
    }
    FTokens[at].out = columns;
  }
}

}  // namespace perlayer

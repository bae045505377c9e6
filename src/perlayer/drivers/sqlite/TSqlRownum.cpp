#include "perlayer/drivers/sqlite/TSqlRownum.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>

#include "perlayer/drivers/sqlite/TSqlExpressions.h"
#include "perlayer/drivers/sqlite/TSqlScope.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

constexpr const char* kOwnCondition =
    "ROWNUM in a WHERE clause is compared with a value, as a condition of its own";

// The operation as seen from the other side; empty for a token that is none.
std::string Turned(const TSqlToken& token) {
  static constexpr std::pair<std::string_view, std::string_view> kTurned[] = {
      {"=", "="},   {"<", ">"},   {"<=", ">="}, {">", "<"},
      {">=", "<="}, {"<>", "<>"}, {"!=", "<>"}, {"^=", "<>"}};
  for (const auto& [operation, turned] : kTurned) {
    if (token.Is(operation)) return std::string(turned);
  }
  return {};
}

std::string Operation(const TSqlToken& token) {
  const std::string turned = Turned(token);
  if (turned.empty() || turned == "<>") return turned;
  return token.name;
}

bool IsNumber(std::string_view text, double& number) {
  const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
  return read.ec == std::errc() && read.ptr == text.data() + text.size();
}

// A value and nothing that binds less tightly than a comparison.
bool IsValue(const TSqlTokens& tokens, TSqlRange range) {
  static constexpr std::string_view kWords[] = {"OR", "AND",  "NOT",     "IS",
                                                "IN", "LIKE", "BETWEEN", "ROWNUM"};
  if (range.first >= range.behind) return false;
  for (std::size_t i = range.first; i < range.behind; ++i) {
    if (tokens.Is(i, "(")) {
      if (tokens.FindOwn("ROWNUM", i, tokens[i].partner) != tokens[i].partner) return false;
      i = tokens[i].partner;
    } else if (!Turned(tokens[i]).empty() || (tokens[i].kind == TSqlTokenKind::word &&
                                              std::find(std::begin(kWords), std::end(kWords),
                                                        tokens[i].name) != std::end(kWords))) {
      return false;
    }
  }
  return true;
}

bool IsPlainName(const TSqlTokens& tokens, TSqlRange range) {
  for (std::size_t i = range.first; i < range.behind; ++i) {
    const bool isPart = (i - range.first) % 2 == 0;
    if (isPart ? !tokens[i].IsName() || IsSqlKeyword(tokens[i]) : !tokens.Is(i, ".")) return false;
  }
  return (range.behind - range.first) % 2 == 1;
}

bool SameTokens(const TSqlTokens& tokens, TSqlRange a, TSqlRange b) {
  if (a.behind - a.first != b.behind - b.first) return false;
  for (; a.first < a.behind; ++a.first, ++b.first) {
    const TSqlToken& x = tokens[a.first];
    const TSqlToken& y = tokens[b.first];
    const bool isNamed = x.IsName() || x.kind == TSqlTokenKind::symbol;
    if (x.kind != y.kind ||
        (isNamed ? x.name != y.name : tokens.Source(a.first) != tokens.Source(b.first))) {
      return false;
    }
  }
  return true;
}

}  // namespace

std::int64_t RowLimit(std::string_view operation, double value) {
  static constexpr std::int64_t kAll = std::numeric_limits<std::int64_t>::max();
  const auto count = [](double number) -> std::int64_t {
    return number < 1 ? 0 : number < 9e18 ? static_cast<std::int64_t>(number) : kAll;
  };
  if (std::isnan(value)) return 0;
  if (operation == "=") return value == 1 ? 1 : 0;
  if (operation == "<=") return count(std::floor(value));
  if (operation == "<") return count(std::ceil(value) - 1);
  if (operation == ">") return value < 1 ? kAll : 0;
  if (operation == ">=") return value <= 1 ? kAll : 0;
  return value >= 1 && std::floor(value) == value ? count(value - 1) : kAll;
}

void TSqlRownum::Query(const TSqlClauses& clauses, bool part, bool inner) {
  const auto refuseIn = [&](std::size_t at, std::size_t end, const char* message) {
    const std::size_t found = FTokens.FindOwn("ROWNUM", at, end);
    if (found < end) FTokens.Refuse(found, message);
  };
  const bool groups =
      FTokens.Is(clauses.whereEnd, "GROUP") || FTokens.Is(clauses.whereEnd, "HAVING");
  refuseIn(clauses.from, clauses.where, "ROWNUM has no place in FROM");
  if (groups) refuseIn(clauses.whereEnd, clauses.end, "ROWNUM has no place beside groups");
  const bool aggregates = HasAggregates(clauses);
  if (groups || aggregates) {
    refuseIn(clauses.select, clauses.from, "ROWNUM has no place beside groups");
  }
  if (!ReadConditions(clauses)) return;
  const std::size_t list = clauses.select + 1;
  const bool distinct = FTokens.Is(list, "DISTINCT") || FTokens.Is(list, "UNIQUE");
  const bool sorts = !part && !groups && clauses.whereEnd < clauses.end;
  // With an offset the database does not merge the block into the one around it, and then sort
  // before it counts.
  const std::string kept = " OFFSET 0";
  // Windows too are over the rows that the conditions leave.
  const bool windows = FTokens.FindOwn("OVER", clauses.select, clauses.from) < clauses.from ||
                       FTokens.FindOwn("OVER", clauses.whereEnd, clauses.end) < clauses.end;
  const bool counted = !groups && !aggregates && !windows;
  if (counted && !distinct && !sorts && !part) {
    PutLimit(clauses, "", inner ? kept : "");
    return;
  }
  if (counted && (!sorts || SortByResult(clauses))) {
    if (distinct) FTokens.Hide(list, list + 1);
    FTokens[clauses.select].before = distinct ? "SELECT DISTINCT * FROM (" : "SELECT * FROM (";
    PutLimit(clauses, "", kept + ")");
    return;
  }
  const bool countsRows = !groups && !sorts && clauses.from == list + 4 &&
                          FTokens.Is(list, "COUNT") && FTokens.Is(list + 2, "*");
  if (countsRows && clauses.from < clauses.where) {
    FTokens[clauses.from].before = "from (SELECT 1 ";
    PutLimit(clauses, "", ")");
    return;
  }
  std::string qualifier;
  const std::string table = SingleTable(clauses, qualifier);
  if (table.empty()) {
    FTokens.Refuse(
        clauses.where,
        "beside groups, OVER or another order the rows of a join are counted by ROWNUM in "
        "a query inside: select ... from (select ... where ROWNUM ...) ...");
  }
  Write(clauses, table, qualifier);
}

void TSqlRownum::Write(const TSqlClauses& clauses, const std::string& table,
                       const std::string& qualifier) {
  if (FLimits.empty() && !ReadConditions(clauses)) return;
  PutLimit(clauses,
           "WHERE " + qualifier + "._rowid_ IN (SELECT " + qualifier + "._rowid_ FROM " + table,
           ")");
}

bool TSqlRownum::ReadConditions(const TSqlClauses& clauses) {
  const std::size_t rownum = FTokens.FindOwn("ROWNUM", clauses.where, clauses.whereEnd);
  if (rownum == clauses.whereEnd) return false;
  for (TSqlRange condition : SplitConditions(FTokens, {clauses.where + 1, clauses.whereEnd})) {
    while (condition.behind > condition.first && FTokens[condition.behind - 1].hidden) {
      --condition.behind;  // left over by outer joins
    }
    const std::size_t found = FTokens.FindOwn("ROWNUM", condition.first, condition.behind);
    if (found == condition.behind) {
      FRest.push_back(condition);
    } else if (!ReadLimit(WithoutParentheses(FTokens, condition))) {
      FTokens.Refuse(found, kOwnCondition);
    }
  }
  return true;
}

bool TSqlRownum::ReadLimit(TSqlRange condition) {
  const std::size_t first = condition.first;
  const std::size_t last = condition.behind - 1;
  if (condition.behind < first + 3) return false;
  if (FTokens.Is(first, "ROWNUM") && FTokens.Is(first + 1, "BETWEEN")) {
    std::size_t middle = first + 2;
    while (middle < condition.behind && !FTokens.Is(middle, "AND")) {
      middle = FTokens.Is(middle, "(") ? FTokens[middle].partner + 1 : middle + 1;
    }
    FLimits.push_back({{first + 2, middle}, ">="});
    FLimits.push_back({{middle + 1, condition.behind}, "<="});
    return IsValue(FTokens, FLimits.back().value) && IsValue(FTokens, {first + 2, middle});
  }
  if (FTokens.Is(first, "ROWNUM")) {
    FLimits.push_back({{first + 2, condition.behind}, Operation(FTokens[first + 1])});
  } else if (FTokens.Is(last, "ROWNUM")) {
    FLimits.push_back({{first, last - 1}, Turned(FTokens[last - 1])});
  } else {
    return false;
  }
  return !FLimits.back().operation.empty() && IsValue(FTokens, FLimits.back().value);
}

void TSqlRownum::PutLimit(const TSqlClauses& clauses, const std::string& before,
                          const std::string& after) {
  TSqlNewOrder order(FTokens, {clauses.where, clauses.whereEnd});
  if (!before.empty()) order.PutText(before);
  for (std::size_t i = 0; i < FRest.size(); ++i) {
    if (i == 0) {
      order.Put(clauses.where);
    } else {
      order.PutWord("AND", "and");
    }
    order.Put(FRest[i]);
  }
  const bool several = FLimits.size() > 1;
  std::string open = several ? "LIMIT min(" : "LIMIT ";
  for (std::size_t i = 0; i < FLimits.size(); ++i) {
    const TLimit& limit = FLimits[i];
    TSqlToken& first = FTokens[limit.value.first];
    double number = 0;
    const bool known = limit.value.behind == limit.value.first + 1 &&
                       first.kind == TSqlTokenKind::number &&
                       IsNumber(FTokens.Source(limit.value.first), number);
    if (known) {
      first.out = IntToStr(RowLimit(limit.operation, number));
      first.settled = true;
    } else {
      open += "row_limit(";
    }
    order.PutText(open, i == 0 ? " " : "");
    first.gap.clear();
    order.Put(limit.value, false);
    open = known ? "" : ", '" + limit.operation + "')";
    if (i + 1 < FLimits.size()) open += ", ";
  }
  order.PutText(open + (several ? ")" : "") + after, "");
  order.Apply();
}

// Lets ORDER BY name columns of the result instead of the tables'; false when it cannot.
bool TSqlRownum::SortByResult(const TSqlClauses& clauses) {
  static constexpr std::size_t kMaxTerms = 100;
  const std::vector<TSqlRange> terms = SplitAtCommas(FTokens, {clauses.whereEnd + 2, clauses.end});
  if (terms.size() > kMaxTerms) return false;
  std::vector<std::pair<TSqlRange, std::string>> places;
  for (const TSqlRange term : terms) {
    TSqlRange key{term.first, term.first};
    while (key.behind < term.behind && !FTokens.Is(key.behind, "ASC") &&
           !FTokens.Is(key.behind, "DESC") && !FTokens.Is(key.behind, "NULLS")) {
      ++key.behind;
    }
    const std::string place = key.first < key.behind ? PlaceInResult(key, clauses) : "";
    if (place.empty()) return false;
    places.emplace_back(key, place);
  }
  for (const auto& [key, place] : places) {
    FTokens.Hide(key.first, key.behind);
    FTokens[key.first].hidden = false;
    FTokens[key.first].out = place;
  }
  return true;
}

// The position or name under which the result has what an ORDER BY term sorts by; empty when it has
// it not.
std::string TSqlRownum::PlaceInResult(TSqlRange term, const TSqlClauses& clauses) const {
  const bool isName = IsPlainName(FTokens, term);
  const bool isUnqualified = isName && term.behind == term.first + 1;
  const std::string& name = FTokens[term.behind - 1].name;
  if (FTokens[term.first].kind == TSqlTokenKind::number && term.behind == term.first + 1) {
    return std::string(FTokens.Source(term.first));
  }
  std::size_t list = clauses.select + 1;
  if (FTokens.Is(list, "DISTINCT") || FTokens.Is(list, "UNIQUE") || FTokens.Is(list, "ALL")) ++list;
  bool star = false;  // positions behind it are not known
  std::size_t position = 0;
  for (TSqlRange item : SplitAtCommas(FTokens, {list, clauses.from})) {
    ++position;
    if (item.first >= item.behind) return {};
    const std::size_t last = item.behind - 1;
    if (FTokens.Is(last, "*")) {
      star = true;
      continue;
    }
    std::string alias;
    const bool hasAlias =
        last > item.first && FTokens[last].IsName() && !IsSqlKeyword(FTokens[last]) &&
        (FTokens[last - 1].kind != TSqlTokenKind::symbol || FTokens.Is(last - 1, ")"));
    if (hasAlias) {
      alias = FTokens[last].name;
      item.behind = FTokens.Is(last - 1, "AS") ? last - 1 : last;
    } else if (IsPlainName(FTokens, item)) {
      alias = FTokens[last].name;
    }
    if (!(isUnqualified && alias == name) && !SameTokens(FTokens, item, term)) continue;
    if (!star) return IntToStr(static_cast<std::int64_t>(position));
    return alias.empty() ? std::string() : QuotedName(alias);
  }
  std::string qualifier;
  const bool oneTable = SplitAtCommas(FTokens, {clauses.from + 1, clauses.where}).size() == 1 &&
                        FTokens.FindOwn("JOIN", clauses.from, clauses.where) == clauses.where;
  return star && (isUnqualified || (isName && oneTable)) ? QuotedName(name) : std::string();
}

// The only table of FROM as it is written into the translation; empty when there are several, or a
// query.
std::string TSqlRownum::SingleTable(const TSqlClauses& clauses, std::string& qualifier) const {
  std::size_t at = clauses.from + 1;
  if (at >= clauses.where || !FTokens[at].IsName()) return {};
  std::string table = SqlName(FTokens[at++]);
  if (FTokens.Is(at, ".") && at + 1 < clauses.where && FTokens[at + 1].IsName()) {
    table = QuotedName(FileName(FTokens[at - 1].name, FTokens[at + 1].name));
    at += 2;
  }
  qualifier = table;
  if (at < clauses.where && FTokens.Is(at, "AS")) ++at;
  if (at < clauses.where && FTokens[at].IsName() && !IsSqlKeyword(FTokens[at])) {
    qualifier = SqlName(FTokens[at++]);
    table += " AS " + qualifier;
  }
  return at == clauses.where ? table : std::string();
}

bool TSqlRownum::HasAggregates(const TSqlClauses& clauses) const {
  static constexpr std::string_view kAggregates[] = {"AVG", "COUNT", "LISTAGG",
                                                     "MAX", "MIN",   "SUM"};
  for (std::size_t i = clauses.select; i < clauses.from; ++i) {
    if (FTokens.IsSubquery(i)) {
      i = FTokens[i].partner;
    } else if (FTokens.Is(i + 1, "(") &&
               std::find(std::begin(kAggregates), std::end(kAggregates), FTokens[i].name) !=
                   std::end(kAggregates) &&
               !FTokens.Is(FTokens[i + 1].partner + 1, "OVER")) {
      return true;
    }
  }
  return false;
}

}  // namespace perlayer

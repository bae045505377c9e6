#include "perlayer/drivers/sqlite/TSqlExpressions.h"

#include <algorithm>
#include <iterator>

#include "perlayer/drivers/sqlite/SqlDates.h"
#include "perlayer/drivers/sqlite/TSqlFunctionCall.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TDateTime.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

constexpr int kMaxDepth = 90;        // the database's own parser ends at a hundred
constexpr int kMaxOperators = 1000;  // of one level, where the database ends too

enum TLevel { kOr = 1, kAnd, kNot, kCompare, kAdd, kMultiply, kUnary };

// Sorted.
constexpr std::string_view kKeywords[] = {
    "ALL",     "AND",    "ANY",       "AS",     "ASC",   "BETWEEN",  "BY",     "CASE",   "CHECK",
    "CREATE",  "CROSS",  "DEFAULT",   "DELETE", "DESC",  "DISTINCT", "DROP",   "ELSE",   "END",
    "ESCAPE",  "EXCEPT", "EXISTS",    "FOR",    "FROM",  "FULL",     "GROUP",  "HAVING", "IN",
    "INNER",   "INSERT", "INTERSECT", "INTO",   "IS",    "JOIN",     "LEFT",   "LIKE",   "MINUS",
    "NATURAL", "NOT",    "NULL",      "ON",     "OR",    "ORDER",    "OUTER",  "RIGHT",  "SELECT",
    "SET",     "SOME",   "TABLE",     "THEN",   "UNION", "UNIQUE",   "UPDATE", "USING",  "VALUES",
    "WHEN",    "WHERE",  "WITH"};

// Names that the database would read as its own words. Sorted.
constexpr std::string_view kTheirs[] = {
    "AUTOINCREMENT", "COLLATE", "COMMIT",  "CURRENT_TIME", "DEFERRABLE", "FILTER",      "INDEXED",
    "ISNULL",        "LIMIT",   "NOTHING", "NOTNULL",      "RETURNING",  "TRANSACTION", "WINDOW"};

template <std::size_t N>
bool StandsIn(const std::string_view (&sorted)[N], std::string_view word) {
  return std::binary_search(std::begin(sorted), std::end(sorted), word);
}

bool IsComparison(const TSqlToken& token) {
  if (token.kind != TSqlTokenKind::symbol) return false;
  static constexpr std::string_view kSymbols[] = {"!=", "<", "<=", "<>", "=", ">", ">=", "^="};
  return StandsIn(kSymbols, token.name);
}

// In parentheses when it is negative: two minus signs begin a comment.
std::string NumberLiteral(double value) {
  std::string text;
  AppendFloat(text, value);
  return value < 0 ? '(' + text + ')' : text;
}

}  // namespace

bool IsSqlKeyword(const TSqlToken& token) {
  return token.kind == TSqlTokenKind::word && StandsIn(kKeywords, token.name);
}

bool IsSqlClock(const TSqlToken& token) {
  return token.kind == TSqlTokenKind::word &&
         (token.name == "SYSDATE" || token.name == "SYSTIMESTAMP" || token.name == "CURRENT_DATE" ||
          token.name == "CURRENT_TIMESTAMP");
}

std::string SqlName(const TSqlToken& token) {
  if (token.kind == TSqlTokenKind::quoted) return token.out;
  const bool quoted = StandsIn(kTheirs, token.name) || token.name.find('#') != std::string::npos;
  return quoted ? QuotedName(token.name) : token.name;
}

TSqlOperand TSqlExpressions::Parse(TSqlCursor& cursor, int level) {
  if (++FDepth > kMaxDepth) FTokens.Refuse(cursor.at, "the expression is nested too deeply");
  TSqlOperand left = Prefix(cursor);
  int operators = 0;
  while (!left.IsEmpty() && cursor.at < cursor.end) {
    const TSqlToken& token = FTokens[cursor.at];
    const std::size_t before = cursor.at;
    if (token.settled) {
      break;
    } else if (level < kOr && token.Is("OR")) {
      ++cursor.at;
      left = {left.first, Parse(cursor, kOr).behind};
    } else if (level < kAnd && token.Is("AND")) {
      ++cursor.at;
      left = {left.first, Parse(cursor, kAnd).behind};
    } else if (level < kCompare && IsComparison(token)) {
      left = Comparison(cursor, left, kCompare);
    } else if (level < kCompare && token.kind == TSqlTokenKind::word) {
      left = Predicate(cursor, left, kCompare);
    } else if (level < kAdd && token.Is("||")) {
      left = Concatenation(cursor, left);
    } else if (level < kAdd && (token.Is("+") || token.Is("-"))) {
      left = Arithmetic(cursor, left, kAdd);
    } else if (level < kMultiply && (token.Is("*") || token.Is("/"))) {
      left = Arithmetic(cursor, left, kMultiply);
    }
    if (cursor.at == before) break;
    left.behind = cursor.at;
    if (++operators > kMaxOperators) FTokens.Refuse(before, "the expression is too long");
  }
  --FDepth;
  return left;
}

void TSqlExpressions::Walk(TSqlCursor& cursor) {
  while (cursor.at < cursor.end) {
    const std::size_t before = cursor.at;
    if (FTokens.Is(before, "ORDER") && FTokens.Is(before + 1, "BY")) {
      Order(cursor);
    } else if (!FTokens[before].settled) {
      Parse(cursor);
    } else if (FTokens.Is(before, "(")) {  // all that stands in it is settled
      cursor.at = FTokens[before].partner + 1;
    }
    if (cursor.at == before) ++cursor.at;
  }
}

// NULL is greater than everything, so it comes last, and first in the order from the greatest.
void TSqlExpressions::Order(TSqlCursor& cursor) {
  cursor.at += 2;
  const auto stands = [&](std::string_view word) {
    return cursor.at < cursor.end && FTokens.Is(cursor.at, word);
  };
  while (cursor.at < cursor.end) {
    const std::size_t first = cursor.at;
    if (Parse(cursor).IsEmpty()) {  // the term may be settled
      while (cursor.at < cursor.end && FTokens[cursor.at].settled) ++cursor.at;
    }
    if (cursor.at == first) return;
    const bool descending = stands("DESC");
    if (descending || stands("ASC")) ++cursor.at;
    if (stands("NULLS")) {
      cursor.at = std::min(cursor.at + 2, cursor.end);
    } else {
      FTokens[cursor.at - 1].after += descending ? " NULLS FIRST" : " NULLS LAST";
    }
    if (!stands(",")) return;
    ++cursor.at;
  }
}

TSqlOperand TSqlExpressions::Prefix(TSqlCursor& cursor) {
  const std::size_t first = cursor.at;
  TSqlOperand result{first, first};
  if (first >= cursor.end || FTokens[first].settled) return result;
  TSqlToken& token = FTokens[first];
  switch (token.kind) {
    case TSqlTokenKind::number:
      result.type = TSqlType::number;
      ++cursor.at;
      break;
    case TSqlTokenKind::text:
      // An empty text is NULL.
      result.type = token.length == 2 ? TSqlType::null : TSqlType::text;
      if (token.length == 2) token.out = "NULL";
      ++cursor.at;
      break;
    case TSqlTokenKind::parameter:
      token.out = '?' + std::to_string(token.parameter + 1);
      result.parameter = token.parameter;
      ++cursor.at;
      break;
    case TSqlTokenKind::quoted:
      return Name(cursor);
    case TSqlTokenKind::symbol:
      if (token.Is("(")) return Parentheses(cursor);
      if (token.Is("+") || token.Is("-")) {
        ++cursor.at;
        const TSqlOperand operand = Parse(cursor, kUnary);
        if (IsText(operand)) Wrap(operand, "to_number");
        result.type = TSqlType::number;
      }
      break;
    case TSqlTokenKind::word:
      if (token.name == "NULL") {
        result.type = TSqlType::null;
        ++cursor.at;
      } else if (token.name == "NOT") {
        ++cursor.at;
        Parse(cursor, kNot);
      } else if (token.name == "EXISTS") {
        ++cursor.at;
        if (cursor.at < cursor.end && FTokens.Is(cursor.at, "(")) Parentheses(cursor);
      } else if (token.name == "CASE") {
        return Case(cursor);
      } else if (!IsSqlKeyword(token)) {
        return Name(cursor);
      }
      break;
  }
  result.behind = cursor.at;
  return result;
}

// Column, [OWNER.]TABLE.COLUMN, TABLE.*, the clock, a function or a literal that begins with a
// word.
TSqlOperand TSqlExpressions::Name(TSqlCursor& cursor) {
  const std::size_t first = cursor.at;
  TSqlToken& token = FTokens[first];
  if (first + 1 < cursor.end && token.kind == TSqlTokenKind::word) {
    if (FTokens.Is(first + 1, "(") && !FTokens[first + 1].settled) return Function(cursor);
    if (FTokens[first + 1].kind == TSqlTokenKind::text &&
        (token.name == "DATE" || token.name == "TIMESTAMP")) {
      return DateLiteral(cursor);
    }
    if (FTokens[first + 1].kind == TSqlTokenKind::text && token.name == "INTERVAL") {
      return IntervalLiteral(cursor);
    }
  }
  std::vector<std::size_t> parts = {first};
  bool star = false;
  ++cursor.at;
  while (!star && cursor.at + 1 < cursor.end && FTokens.Is(cursor.at, ".")) {
    star = FTokens.Is(cursor.at + 1, "*");
    if (!star && !FTokens[cursor.at + 1].IsName()) break;
    parts.push_back(cursor.at + 1);
    cursor.at += 2;
  }
  TSqlOperand result{first, cursor.at};
  if (parts.size() == 1 && IsSqlClock(token)) {
    token.out = "sysdate()";
    result.type = TSqlType::date;
    return result;
  }
  if (parts.size() == 1 && token.Is("ROWNUM")) {
    token.out = "row_number() OVER ()";
    result.type = TSqlType::number;
    return result;
  }
  if (const TSqlToken& last = FTokens[parts.back()];
      parts.size() > 1 && (last.Is("NEXTVAL") || last.Is("CURRVAL"))) {
    const std::string owner = parts.size() > 2 ? token.name : "";
    token.out = FSequences.Value(FileName(owner, FTokens[parts[parts.size() - 2]].name),
                                 last.name == "NEXTVAL");
    FTokens.Hide(first + 1, cursor.at);
    result.type = TSqlType::number;
    return result;
  }
  if (parts.size() == 1 && token.kind == TSqlTokenKind::word &&
      (token.name == "USER" || token.name == "UID")) {
    FTokens.Refuse(first, token.name + " is not supported by this database");
  }
  if (cursor.at < cursor.end && FTokens.Is(cursor.at, "(") && !FTokens[cursor.at].settled &&
      !FTokens.IsOuterMark(cursor.at)) {
    FTokens.Refuse(first, "stored functions are not supported by this database");
  }
  for (const std::size_t part : parts) {
    if (FTokens[part].IsName()) FTokens[part].out = SqlName(FTokens[part]);
  }
  const std::string& column = FTokens[parts.back()].name;
  const TSqlColumn* known = nullptr;
  result.column = !star;
  if (parts.size() == 1) {
    known = cursor.scope.Column("", column);
  } else if (parts.size() == 2) {
    const std::string& qualifier = token.name;
    known = star ? nullptr : cursor.scope.Column(qualifier, column);
    const TSqlScope::TTable* table = cursor.scope.Find(qualifier);
    if (table != nullptr && table->alias.empty() && !table->owner.empty()) {
      token.out = QuotedName(FileName(table->owner, table->name));
    }
  } else if (parts.size() == 3) {
    const TSqlToken& name = FTokens[parts[1]];
    known = star ? nullptr : cursor.scope.Column(name.name, column);
    token.out = QuotedName(FileName(token.name, name.name));
    FTokens.Hide(first + 1, parts[1] + 1);
  } else {
    FTokens.Refuse(first, "a name has at most three parts");
  }
  if (known != nullptr) {
    result.type = known->type;
    result.derived = known->derived;
    result.memo = known->memo;
  }
  return result;
}

TSqlOperand TSqlExpressions::DateLiteral(TSqlCursor& cursor) {
  const std::size_t first = cursor.at;
  std::string text(FTokens.Source(first + 1));
  text = text.substr(1, text.size() - 2);
  const std::size_t blank = text.find(' ');
  if (blank != std::string::npos) text[blank] = 'T';
  try {
    const TDateTime value = ISO8601ToDateTime(text);
    FTokens[first].out = NumberLiteral(value);
  } catch (const EConvertError&) {
    FTokens.Refuse(first, "a date is written DATE '2023-01-27' or TIMESTAMP '2023-01-27 16:17:47'");
  }
  cursor.at += 2;
  FTokens.Hide(first + 1, cursor.at);
  return {first, cursor.at, TSqlType::date};
}

// INTERVAL '3' DAY, or HOUR, MINUTE or SECOND: a number of days.
TSqlOperand TSqlExpressions::IntervalLiteral(TSqlCursor& cursor) {
  const std::size_t first = cursor.at;
  const std::string_view text = FTokens.Source(first + 1);
  try {
    const double count = StrToFloat(text.substr(1, text.size() - 2));
    if (first + 2 >= cursor.end) throw EConvertError("no unit");
    const double days = SqlInterval(count, FTokens[first + 2].name);
    FTokens[first].out = NumberLiteral(days);
  } catch (const EConvertError&) {
    FTokens.Refuse(first,
                   "an interval is written INTERVAL '3' DAY, HOUR, MINUTE or SECOND; for "
                   "months there is ADD_MONTHS");
  }
  cursor.at += 3;
  FTokens.Hide(first + 1, cursor.at);
  return {first, cursor.at, TSqlType::number};
}

TSqlOperand TSqlExpressions::Parentheses(TSqlCursor& cursor) {
  const std::size_t open = cursor.at;
  const std::size_t close = FTokens[open].partner;
  TSqlOperand result{open, close + 1};
  TSqlCursor inside{open + 1, close, cursor.scope};
  cursor.at = close + 1;
  if (FTokens.Is(open + 1, "SELECT") || FTokens.Is(open + 1, "WITH")) {
    result.type = FSubqueries.Subquery(open, inside.scope);
    return result;
  }
  const std::vector<TSqlOperand> operands = List(inside);
  if (operands.size() == 1) {
    result.type = operands[0].type;
    result.column = operands[0].column;
    result.derived = operands[0].derived;
    result.memo = operands[0].memo;
    result.parameter = operands[0].parameter;
  }
  return result;
}

// Expressions and whatever stands between them, up to the cursor's end.
std::vector<TSqlOperand> TSqlExpressions::List(TSqlCursor& cursor) {
  std::vector<TSqlOperand> operands;
  while (cursor.at < cursor.end) {
    const TSqlOperand operand = Parse(cursor);
    if (!operand.IsEmpty()) {
      operands.push_back(operand);
    } else if (FTokens[cursor.at].settled && FTokens.Is(cursor.at, "(")) {
      cursor.at = FTokens[cursor.at].partner + 1;  // a query in FROM, translated already
    } else {
      if (FTokens.Is(cursor.at, "UNIQUE")) FTokens[cursor.at].out = "DISTINCT";
      ++cursor.at;
    }
  }
  return operands;
}

TSqlOperand TSqlExpressions::Case(TSqlCursor& cursor) {
  TSqlOperand result{cursor.at, cursor.at};
  std::vector<TSqlOperand> results;
  std::vector<TSqlOperand> compared;  // CASE x WHEN y: x and every y
  bool searched = true;
  ++cursor.at;
  while (cursor.at < cursor.end && !FTokens.Is(cursor.at, "END")) {
    const bool isWhen = FTokens.Is(cursor.at, "WHEN");
    const bool isResult = FTokens.Is(cursor.at, "THEN") || FTokens.Is(cursor.at, "ELSE");
    if (isWhen || isResult) {
      ++cursor.at;
    } else if (cursor.at != result.first + 1) {
      FTokens.Refuse(cursor.at, "WHEN, THEN, ELSE or END is expected here");
    } else {
      searched = false;
    }
    const TSqlOperand operand = Parse(cursor);
    if (operand.IsEmpty()) FTokens.Refuse(cursor.at, "an expression is expected here");
    if (isResult) {
      results.push_back(operand);
    } else if (!searched) {
      compared.push_back(operand);
    }
  }
  if (cursor.at >= cursor.end) FTokens.Refuse(result.first, "CASE has no END");
  ++cursor.at;
  if (compared.size() > 1) Coerce(compared);
  result.behind = cursor.at;
  result.type = FirstKnownType(results);
  for (const TSqlOperand& operand : results) Convert(result.type, operand);
  return result;
}

TSqlOperand TSqlExpressions::Function(TSqlCursor& cursor) {
  const std::size_t name = cursor.at;
  if (FTokens.Is(name + 2, ")") &&
      (FTokens.Is(name, "EMPTY_BLOB") || FTokens.Is(name, "EMPTY_CLOB"))) {
    // A value of no length, and no NULL.
    const bool isBlob = FTokens.Is(name, "EMPTY_BLOB");
    FTokens[name].out = isBlob ? "x''" : "''";
    FTokens.Hide(name + 1, name + 3);
    cursor.at = name + 3;
    return {name, cursor.at, isBlob ? TSqlType::blob : TSqlType::text};
  }
  TSqlFunctionCall call(FTokens, *this, cursor.scope, name);
  const TSqlType type = call.Translate();
  cursor.at = call.Behind();
  if (cursor.at + 1 < cursor.end && FTokens.Is(cursor.at, "OVER") &&
      FTokens.Is(cursor.at + 1, "(")) {
    const std::size_t windowEnd = FTokens[cursor.at + 1].partner;
    TSqlCursor window{cursor.at + 2, windowEnd, cursor.scope};
    Walk(window);
    cursor.at = windowEnd + 1;
  }
  return {name, cursor.at, type};
}

// NULL in "||" is an empty text, and an empty result is NULL: a function of its own.
TSqlOperand TSqlExpressions::Concatenation(TSqlCursor& cursor, const TSqlOperand& first) {
  constexpr int kMost = 100;  // arguments of one call; the database takes a few more
  WriteDate(first);
  int parts = 1;
  while (cursor.at < cursor.end && FTokens.Is(cursor.at, "||")) {
    const std::size_t sign = cursor.at++;
    const TSqlOperand part = Parse(cursor, kAdd);
    if (part.IsEmpty()) FTokens.Refuse(sign, "an operand is missing behind \"||\"");
    FTokens[sign].out = ",";
    WriteDate(part);
    if (++parts % kMost == 0) FTokens.Wrap(first.first, cursor.at - 1, "concat(", ")");
  }
  FTokens.Wrap(first.first, cursor.at - 1, "concat(", ")");
  return {first.first, cursor.at, TSqlType::text};
}

// Dates take a function of their own, as their numbers do not run evenly before 1900 and hold whole
// seconds; so does division, which knows no whole numbers and refuses 0.
TSqlOperand TSqlExpressions::Arithmetic(TSqlCursor& cursor, const TSqlOperand& left, int level) {
  const std::size_t sign = cursor.at++;
  const TSqlOperand right = Parse(cursor, level);
  if (right.IsEmpty()) return {left.first, cursor.at};
  TSqlOperand result{left.first, right.behind, TSqlType::number};
  const auto call = [&](std::string_view function) {
    FTokens[sign].out = ",";
    Wrap(result, function);
  };
  const bool leftIsDate = left.type == TSqlType::date;
  const bool rightIsDate = right.type == TSqlType::date;
  const bool isSum = FTokens[sign].Is("+");
  if (level == kAdd && (leftIsDate || rightIsDate)) {
    if (leftIsDate && rightIsDate) {
      if (isSum) FTokens.Refuse(sign, "two dates cannot be added");
      call("days_between");
    } else if (leftIsDate && (isSum || right.type != TSqlType::unknown || right.parameter >= 0)) {
      call(isSum ? "date_plus" : "date_minus");
      result.type = TSqlType::date;
    } else if (rightIsDate && isSum) {
      call("days_plus");
      result.type = TSqlType::date;
    } else if (rightIsDate) {
      call("days_between");
    } else {
      result.type = TSqlType::unknown;  // a date or the days between, as it turns out
    }
    return result;
  }
  if (FTokens[sign].Is("/")) {
    call("divide");
    return result;
  }
  for (const TSqlOperand& operand : {left, right}) {
    if (IsText(operand)) Wrap(operand, "to_number");
  }
  return result;
}

TSqlOperand TSqlExpressions::Comparison(TSqlCursor& cursor, const TSqlOperand& left, int level) {
  if (FTokens[cursor.at].Is("^=")) FTokens[cursor.at].out = "<>";
  ++cursor.at;
  for (const char* word : {"ALL", "ANY", "SOME"}) {
    if (FTokens.Is(cursor.at, word) && FTokens.Is(cursor.at + 1, "(")) {
      FTokens.Refuse(cursor.at,
                     std::string(word) + " behind a comparison is not supported by this database");
    }
  }
  const TSqlOperand right = Parse(cursor, level);
  if (!right.IsEmpty()) Coerce({left, right});
  return {left.first, cursor.at};
}

// [NOT] LIKE, IN and BETWEEN, IS [NOT] NULL. Leaves the cursor when none of them stands here.
TSqlOperand TSqlExpressions::Predicate(TSqlCursor& cursor, const TSqlOperand& left, int level) {
  std::size_t at = cursor.at;
  if (FTokens.Is(at, "IS")) {
    cursor.at = at + (FTokens.Is(at + 1, "NOT") ? 2 : 1);
    cursor.at = std::min(cursor.at, cursor.end);
    Prefix(cursor);
    return {left.first, cursor.at};
  }
  if (FTokens.Is(at, "NOT")) ++at;
  if (at + 1 >= cursor.end) return left;
  if (FTokens.Is(at, "LIKE")) {
    cursor.at = at + 1;
    const TSqlOperand pattern = Parse(cursor, level);
    WriteDate(left);
    for (const TSqlOperand& operand : {left, pattern}) {
      WriteMemo(operand);
      if (operand.type == TSqlType::number) Wrap(operand, "to_char");
    }
    if (cursor.at < cursor.end && FTokens.Is(cursor.at, "ESCAPE")) {
      ++cursor.at;
      Parse(cursor, level);
    }
  } else if (FTokens.Is(at, "BETWEEN")) {
    cursor.at = at + 1;
    const TSqlOperand low = Parse(cursor, level);
    if (low.IsEmpty() || cursor.at >= cursor.end || !FTokens.Is(cursor.at, "AND")) {
      FTokens.Refuse(at, "BETWEEN takes two bounds with AND between them");
    }
    ++cursor.at;
    const TSqlOperand high = Parse(cursor, level);
    if (high.IsEmpty()) FTokens.Refuse(at, "BETWEEN takes two bounds with AND between them");
    Coerce({left, low, high});
  } else if (FTokens.Is(at, "IN") && FTokens.Is(at + 1, "(")) {
    const std::size_t open = at + 1;
    cursor.at = open;
    if (FTokens.Is(open + 1, "SELECT") || FTokens.Is(open + 1, "WITH")) {
      const TSqlOperand found = Parentheses(cursor);
      if (left.type == TSqlType::date && found.type == TSqlType::text) {
        FTokens.Refuse(open, "a date is looked for among texts: TO_DATE belongs into the query");
      }
    } else {
      TSqlCursor inside{open + 1, FTokens[open].partner, cursor.scope};
      std::vector<TSqlOperand> operands = List(inside);
      operands.insert(operands.begin(), left);
      cursor.at = FTokens[open].partner + 1;
      Coerce(operands);
    }
  } else {
    return left;
  }
  return {left.first, cursor.at};
}

bool TSqlExpressions::IsBoundAsNumber(const TSqlOperand& operand) const {
  return operand.parameter >= 0 && operand.parameter < 64 &&
         (FNumberBinds >> operand.parameter & 1) != 0;
}

// A text, or a parameter that may be one.
bool TSqlExpressions::IsText(const TSqlOperand& operand) const {
  return operand.type == TSqlType::text || operand.parameter >= 0;
}

void TSqlExpressions::Wrap(const TSqlOperand& operand, std::string_view function) {
  FTokens.Wrap(operand.first, operand.behind - 1, std::string(function) + "(", ")");
}

void TSqlExpressions::WriteDate(const TSqlOperand& value) {
  if (value.type == TSqlType::date) Wrap(value, "date_to_char");
}

void TSqlExpressions::WriteMemo(const TSqlOperand& value) {
  if (value.memo) FTokens.Wrap(value.first, value.behind - 1, "CAST(", " AS TEXT)");
}

void TSqlExpressions::Convert(TSqlType type, const TSqlOperand& value) {
  if (type == TSqlType::date && IsText(value)) Wrap(value, "to_date");
  if (type == TSqlType::text) {
    WriteDate(value);
    WriteMemo(value);
    if (value.type == TSqlType::number || value.parameter >= 0) Wrap(value, "to_char");
  }
  if (type == TSqlType::number && IsText(value)) {
    // A text that is no number must not get in; a bound number needs no test.
    NoteBind(value);
    if (!IsBoundAsNumber(value)) Wrap(value, "to_number");
  }
}

void TSqlExpressions::Assign(TSqlType column, const TSqlOperand& value) {
  if (value.IsEmpty()) return;
  const bool isStored =
      column == TSqlType::text && (value.parameter >= 0 || value.type != TSqlType::number);
  if (isStored) {
    WriteDate(value);  // the column's affinity makes texts of bound numbers
  } else {
    Convert(column, value);
  }
}

void TSqlExpressions::NoteBind(const TSqlOperand& operand) {
  if (operand.parameter < 0 || operand.parameter >= 64) return;
  FBindsThatMatter |= TSqlNumberBinds{1} << operand.parameter;
}

void TSqlExpressions::Coerce(const std::vector<TSqlOperand>& operands) {
  for (const TSqlOperand& operand : operands) WriteMemo(operand);
  const auto any = [&](auto condition) {
    return std::any_of(operands.begin(), operands.end(), condition);
  };
  const auto wrapTexts = [&](std::string_view function) {
    for (const TSqlOperand& operand : operands) {
      const bool isNumber = function == "to_number" && IsBoundAsNumber(operand);
      if (IsText(operand) && !isNumber) Wrap(operand, function);
    }
  };
  if (any([](const TSqlOperand& o) { return o.type == TSqlType::date; })) {
    wrapTexts("to_date");
    return;
  }
  // The affinity of a number column converts what it is compared with, and its index stays usable.
  const auto isNumberColumn = [](const TSqlOperand& o) {
    return o.column && !o.derived && o.type == TSqlType::number;
  };
  if (isNumberColumn(operands[0]) || (operands.size() == 2 && isNumberColumn(operands[1]))) return;
  if (any([](const TSqlOperand& o) { return o.type == TSqlType::number; })) {
    wrapTexts("to_number");
    return;
  }
  const auto texts = std::count_if(operands.begin(), operands.end(),
                                   [&](const TSqlOperand& o) { return IsText(o); });
  if (texts < 2) return;
  bool number = false;
  for (const TSqlOperand& operand : operands) {
    NoteBind(operand);
    number |= IsBoundAsNumber(operand);
  }
  if (number) wrapTexts("to_number");
}

}  // namespace perlayer

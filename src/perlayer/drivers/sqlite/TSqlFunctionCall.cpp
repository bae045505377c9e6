#include "perlayer/drivers/sqlite/TSqlFunctionCall.h"

#include <algorithm>
#include <iterator>
#include <string>

namespace perlayer {

namespace {

bool StandsFor(const std::string& name, std::initializer_list<std::string_view> words) {
  return std::find(words.begin(), words.end(), name) != words.end();
}

}  // namespace

TSqlType FirstKnownType(const std::vector<TSqlOperand>& operands) {
  for (const TSqlOperand& operand : operands) {
    if (operand.type != TSqlType::unknown && operand.type != TSqlType::null) return operand.type;
  }
  return TSqlType::unknown;
}

TSqlFunctionCall::TSqlFunctionCall(TSqlTokens& tokens, TSqlExpressions& expressions,
                                   TSqlScope& scope, std::size_t name)
    : FTokens(tokens),
      FExpressions(expressions),
      FScope(scope),
      FName(name),
      FOpen(name + 1),
      FClose(tokens[name + 1].partner),
      FBehind(FClose + 1),
      FFunction(FindSqlFunction(tokens[name].name)) {}

TSqlType TSqlFunctionCall::Translate() {
  if (FFunction == nullptr) {
    ReadArguments(FOpen + 1, FClose);
    return TSqlType::unknown;
  }
  switch (FFunction->kind) {
    case TSqlCallKind::refused:
      FTokens.Refuse(FName, FTokens[FName].name + " is not supported by this database");
    case TSqlCallKind::cast:
      return Cast();
    case TSqlCallKind::extract:
      return Extract();
    case TSqlCallKind::trim:
      return Trim();
    default:
      ReadArguments(FOpen + 1, FClose);
      CheckCount();
      return Known();
  }
}

// A function that the table knows is given expressions between commas; any other is passed on with
// whatever stands in it.
void TSqlFunctionCall::ReadArguments(std::size_t at, std::size_t end) {
  if (at < end && StandsFor(FTokens[at].name, {"DISTINCT", "UNIQUE", "ALL"})) {
    const bool takesIt = FFunction == nullptr || FFunction->kind == TSqlCallKind::aggregate ||
                         FFunction->kind == TSqlCallKind::sum ||
                         FFunction->kind == TSqlCallKind::listAgg;
    if (!takesIt) FTokens.Refuse(at, FTokens[FName].name + " takes no " + FTokens[at].name);
    if (FTokens.Is(at, "UNIQUE")) FTokens[at].out = "DISTINCT";
    ++at;
  }
  TSqlCursor cursor{at, end, FScope};
  while (cursor.at < end) {
    TSqlOperand argument = FExpressions.Parse(cursor);
    if (argument.IsEmpty() && cursor.at < end && FTokens.Is(cursor.at, "*")) {
      argument.behind = ++cursor.at;  // count(*)
    }
    if (FFunction != nullptr && argument.IsEmpty()) {
      FTokens.Refuse(cursor.at, "an expression is expected here");
    }
    while (cursor.at < end && !FTokens.Is(cursor.at, ",")) {
      if (FFunction != nullptr) {
        FTokens.Refuse(cursor.at,
                       "a comma or the end of " + FTokens[FName].name + " is expected here");
      }
      if (FExpressions.Parse(cursor).IsEmpty()) ++cursor.at;
      argument.type = TSqlType::unknown;
    }
    FArguments.push_back(argument);
    if (cursor.at < end) FCommas.push_back(cursor.at++);
  }
  if (FFunction != nullptr && FCommas.size() == FArguments.size() && !FCommas.empty()) {
    FTokens.Refuse(end, "an expression is expected here");
  }
}

void TSqlFunctionCall::CheckCount() const {
  const auto least = static_cast<std::size_t>(FFunction->minArguments);
  const auto most = static_cast<std::size_t>(FFunction->maxArguments);
  if (FArguments.size() >= least && FArguments.size() <= most) return;
  std::string count = std::to_string(least);
  if (most > least) count += (most == least + 1 ? " or " : " to ") + std::to_string(most);
  FTokens.Refuse(FName, FTokens[FName].name + " takes " + count +
                            (most == 1 ? " argument" : " arguments") + ", here it is given " +
                            std::to_string(FArguments.size()));
}

TSqlType TSqlFunctionCall::Known() {
  const TSqlType first = FArguments.empty() ? TSqlType::unknown : FArguments[0].type;
  switch (FFunction->kind) {
    case TSqlCallKind::alike:
      return Alike();
    case TSqlCallKind::decode:
      return Decode();
    case TSqlCallKind::rounding:
      return Rounding();
    case TSqlCallKind::nvl2: {
      const TSqlType type = FirstKnownType({FArguments[1], FArguments[2]});
      FExpressions.Convert(type, FArguments[1]);
      FExpressions.Convert(type, FArguments[2]);
      FTokens[FArguments[0].behind - 1].after += " IS NOT NULL";
      FTokens[FName].out = FFunction->translation;
      return type;
    }
    case TSqlCallKind::sum:
      FExpressions.Convert(TSqlType::number, FArguments[0]);
      break;
    case TSqlCallKind::toChar:
      if (first == TSqlType::date) FTokens[FName].out = "date_to_char";
      break;
    case TSqlCallKind::text:
    case TSqlCallKind::listAgg:
      for (const TSqlOperand& argument : FArguments) FExpressions.WriteDate(argument);
      if (FFunction->kind == TSqlCallKind::listAgg) WithinGroup();
      break;
    default:
      break;
  }
  const bool readsNumberAsDate = StandsFor(FTokens[FName].name, {"TO_DATE", "TO_TIMESTAMP"}) &&
                                 FArguments.size() == 2 && first == TSqlType::number;
  if (readsNumberAsDate)
    FExpressions.Convert(TSqlType::text, FArguments[0]);  // TO_DATE(2024, 'YYYY')
  if (!FFunction->translation.empty()) FTokens[FName].out = FFunction->translation;
  return FFunction->type == TSqlType::unknown ? first : FFunction->type;
}

TSqlType TSqlFunctionCall::Alike() {
  const TSqlType type = FirstKnownType(FArguments);
  for (const TSqlOperand& argument : FArguments) FExpressions.Convert(type, argument);
  const bool isCall = FArguments.size() > 1;  // of one argument, the greatest is itself
  if (!FFunction->translation.empty()) FTokens[FName].out = isCall ? FFunction->translation : "";
  return type;
}

// DECODE(e, s1, r1, ..., d) becomes CASE e WHEN s1 THEN r1 ... ELSE d END. NULL finds NULL there:
// an empty blob, which equals nothing else, stands for it wherever it may turn up.
TSqlType TSqlFunctionCall::Decode() {
  const std::size_t count = FArguments.size();
  std::vector<TSqlOperand> searches, results;
  for (std::size_t i = 1; i < count; ++i) {
    const bool isSearch = i % 2 == 1 && i + 1 < count;
    (isSearch ? searches : results).push_back(FArguments[i]);
  }
  const auto isConstant = [&](const TSqlOperand& operand) {
    for (std::size_t i = operand.first; i < operand.behind; ++i) {
      const TSqlToken& token = FTokens[i];
      const bool isSign = token.Is("-") || token.Is("+");
      if (!isSign && token.kind != TSqlTokenKind::number && token.kind != TSqlTokenKind::text) {
        return false;
      }
    }
    return operand.type != TSqlType::null;
  };
  const bool nullsMatter = !std::all_of(searches.begin(), searches.end(), isConstant);
  searches.push_back(FArguments[0]);
  const TSqlType compared = FirstKnownType(searches);
  for (const TSqlOperand& operand : searches) {
    const bool isPlain = isConstant(operand);
    FExpressions.Convert(compared, operand);
    if (!nullsMatter || isPlain) continue;
    FTokens.Wrap(operand.first, operand.behind - 1, "ifnull(", ", x'')");
  }
  const bool isText = results[0].type == TSqlType::null;
  const TSqlType type = isText ? TSqlType::text : FirstKnownType(results);
  for (const TSqlOperand& result : results) FExpressions.Convert(type, result);

  FTokens[FName].out = "CASE";
  FTokens[FOpen].out.clear();
  if (FTokens[FOpen + 1].gap.empty()) FTokens[FOpen].out = " ";
  for (std::size_t i = 0; i < FCommas.size(); ++i) {
    const bool isDefault = i + 1 == FCommas.size() && i % 2 == 0;
    Say(FCommas[i], isDefault ? "ELSE" : i % 2 == 0 ? "WHEN" : "THEN");
  }
  FTokens[FClose].out = " END";
  return type;
}

// TRIM(x) or TRIM([LEADING|TRAILING|BOTH] [character] FROM x).
TSqlType TSqlFunctionCall::Trim() {
  const std::size_t from = FindWord("FROM");
  if (from == FClose) {
    ReadArguments(FOpen + 1, FClose);
    CheckCount();
    FExpressions.WriteDate(FArguments[0]);
    return TSqlType::text;
  }
  std::size_t at = FOpen + 1;
  std::string function = "trim_both";
  const bool hasSide = StandsFor(FTokens[at].name, {"LEADING", "TRAILING", "BOTH"});
  if (hasSide) {
    if (FTokens.Is(at, "LEADING")) function = "trim_leading";
    if (FTokens.Is(at, "TRAILING")) function = "trim_trailing";
    FTokens[at].out = at + 1 == from ? "' '" : "";
    ++at;
  }
  if (at < from) FExpressions.WriteDate(Operand(at, from));
  if (at == from && !hasSide) FTokens.Refuse(at, "an expression is expected here");
  FTokens[from].out = ",";
  FExpressions.WriteDate(Operand(from + 1, FClose));
  FTokens[FName].out = function;
  return TSqlType::text;
}

// EXTRACT(YEAR FROM date).
TSqlType TSqlFunctionCall::Extract() {
  TSqlToken& part = FTokens[FOpen + 1];
  const bool isPart = StandsFor(part.name, {"YEAR", "MONTH", "DAY", "HOUR", "MINUTE", "SECOND"});
  if (!isPart || !FTokens.Is(FOpen + 2, "FROM")) {
    FTokens.Refuse(FOpen + 1,
                   "EXTRACT takes YEAR, MONTH, DAY, HOUR, MINUTE or SECOND, FROM and a date");
  }
  part.out = '\'' + part.name + '\'';
  FTokens[FOpen + 2].out = ",";
  Operand(FOpen + 3, FClose);
  FTokens[FName].out = "date_part";
  return TSqlType::number;
}

// CAST(x AS type): the conversion to that type, cut or rounded to its size.
TSqlType TSqlFunctionCall::Cast() {
  const std::size_t as = FindWord("AS");
  if (as + 1 >= FClose || !FTokens[as + 1].IsName()) {
    FTokens.Refuse(FName, "CAST takes an expression, AS and a type");
  }
  const TSqlOperand operand = Operand(FOpen + 1, as);
  const std::string& name = FTokens[as + 1].name;
  std::string size, scale;  // as they are written in NUMBER(size, scale)
  for (std::size_t i = as + 3; i < FClose && FTokens.Is(as + 2, "("); ++i) {
    const bool isDigits = FTokens[i].kind == TSqlTokenKind::number || FTokens.Is(i, "-");
    if (isDigits) (FTokens.Is(as + 4, ",") && i > as + 4 ? scale : size) += FTokens.Source(i);
  }
  int ignored = 0;
  const auto declared = DeclaredType(name, ignored);
  const TSqlType type = declared && name != "INTERVAL" ? SqlTypeOf(*declared) : TSqlType::unknown;
  if (type == TSqlType::date) {
    CastTo("to_date", "", as);
  } else if (type == TSqlType::number) {
    const bool isRounded = StandsFor(name, {"INTEGER", "INT", "SMALLINT"}) || !scale.empty() ||
                           (!size.empty() && name != "FLOAT");
    if (isRounded) {
      CastTo("round", ", " + (scale.empty() ? "0" : scale), as);
    } else {
      CastTo("to_number", "", as);
    }
  } else if (type == TSqlType::text) {
    FExpressions.WriteDate(operand);
    if (size.empty()) {
      CastTo("to_char", "", as);
    } else if (StandsFor(name, {"CHAR", "NCHAR"})) {
      CastTo("rpad", ", " + size, as);
    } else {
      CastTo("substr", ", 1, " + size, as);
    }
  } else {
    FTokens.Refuse(as + 1, "CAST to " + name + " is not supported by this database");
  }
  return type;
}

void TSqlFunctionCall::CastTo(std::string_view function, const std::string& arguments,
                              std::size_t as) {
  FTokens[FName].out = function;
  FTokens[as - 1].after += arguments;
  FTokens.Hide(as, FClose);
}

// ROUND and TRUNC: of a date when the first argument is one, or the second a format.
TSqlType TSqlFunctionCall::Rounding() {
  const bool hasFormat = FArguments.size() == 2 && FArguments[1].type == TSqlType::text;
  if (FArguments[0].type != TSqlType::date && !hasFormat) {
    const bool mayBeDate = FArguments[0].type == TSqlType::unknown && FArguments.size() == 1;
    return mayBeDate ? TSqlType::unknown : TSqlType::number;
  }
  const bool isDay = FTokens.Is(FName, "TRUNC") && FArguments.size() == 1;
  FTokens[FName].out = isDay ? "date_only" : FFunction->translation;
  return TSqlType::date;
}

// WITHIN GROUP (ORDER BY ...) behind LISTAGG(...): its keys become arguments, each behind a number
// that tells its direction.
void TSqlFunctionCall::WithinGroup() {
  static constexpr std::string_view kWords[] = {"WITHIN", "GROUP", "(", "ORDER", "BY"};
  for (std::size_t i = 0; i < std::size(kWords); ++i) {
    if (!FTokens.Is(FBehind + i, kWords[i])) return;
  }
  const std::size_t close = FTokens[FBehind + 2].partner;
  if (FArguments.size() == 1) FTokens[FArguments[0].behind - 1].after += ", NULL";
  TSqlCursor cursor{FBehind + 5, close, FScope};
  FTokens.Hide(FClose, cursor.at);
  while (cursor.at < close) {
    const TSqlOperand key = FExpressions.Parse(cursor);
    if (key.IsEmpty()) FTokens.Refuse(cursor.at, "an expression is expected here");
    const bool descending = cursor.at < close && FTokens.Is(cursor.at, "DESC");
    bool nullsFirst = descending;
    const std::size_t behind = cursor.at;
    if (descending || FTokens.Is(cursor.at, "ASC")) ++cursor.at;
    if (FTokens.Is(cursor.at, "NULLS") && cursor.at + 1 < close) {
      nullsFirst = FTokens.Is(cursor.at + 1, "FIRST");
      cursor.at += 2;
    }
    if (cursor.at < close && !FTokens.Is(cursor.at, ",")) {
      FTokens.Refuse(cursor.at, "a comma or the end of the order is expected here");
    }
    cursor.at = std::min(cursor.at + 1, close);
    FTokens.Hide(behind, cursor.at);
    const int direction = (descending ? 1 : 0) + (nullsFirst ? 2 : 0);
    FTokens.Wrap(key.first, key.behind - 1, ", " + std::to_string(direction) + ", ", "");
  }
  FBehind = close + 1;
}

// The one expression between these tokens.
TSqlOperand TSqlFunctionCall::Operand(std::size_t at, std::size_t end) {
  TSqlCursor cursor{at, end, FScope};
  const TSqlOperand operand = FExpressions.Parse(cursor);
  if (operand.IsEmpty()) FTokens.Refuse(at, "an expression is expected here");
  if (cursor.at != end) {
    FTokens.Refuse(cursor.at, "this is not expected in " + FTokens[FName].name);
  }
  return operand;
}

// Where the word stands in the call, outside further parentheses; or its end.
std::size_t TSqlFunctionCall::FindWord(std::string_view word) const {
  for (std::size_t i = FOpen + 1; i < FClose; ++i) {
    if (FTokens.Is(i, "(")) {
      i = FTokens[i].partner;
    } else if (FTokens.Is(i, word)) {
      return i;
    }
  }
  return FClose;
}

// Writes a word where a comma stands.
void TSqlFunctionCall::Say(std::size_t token, std::string_view word) {
  std::string& out = FTokens[token].out;
  out = ' ';
  out += word;
  if (FTokens[token + 1].gap.empty()) out += ' ';
}

}  // namespace perlayer

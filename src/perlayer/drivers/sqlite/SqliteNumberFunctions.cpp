#include <cmath>

#include "perlayer/drivers/sqlite/SqlFormats.h"
#include "perlayer/drivers/sqlite/SqlNumbers.h"
#include "perlayer/drivers/sqlite/TSqlRownum.h"
#include "perlayer/drivers/sqlite/TSqliteCall.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

template <bool nearest>
void Rounded(TSqliteCall& call) {
  const std::int64_t decimals = call.Count() > 1 ? call.Whole(1) : 0;
  if (call.IsWhole(0) && decimals >= 0) {
    call.AnswerArgument(0);
  } else {
    call.Answer(RoundSqlNumber(call.Number(0), decimals, nearest));
  }
}

void ToNumber(TSqliteCall& call) {
  if (call.Count() > 1) {
    call.Answer(ParseSqlNumber(call.Text(1), call.Text(0)));
  } else if (call.IsNumber(0)) {
    call.AnswerArgument(0);
  } else if (std::int64_t whole = 0; TryStrToInt(call.Text(0), whole)) {
    call.AnswerWhole(whole);  // a key of many digits is more than a double holds
  } else {
    call.Answer(call.Number(0));
  }
}

void Divide(TSqliteCall& call) {
  const double divisor = call.Number(1);
  if (divisor == 0) throw EConvertError("division by zero");
  call.Answer(call.Number(0) / divisor);
}

void Mod(TSqliteCall& call) { call.Answer(SqlMod(call.Number(0), call.Number(1))); }
void Abs(TSqliteCall& call) { call.Answer(std::abs(call.Number(0))); }
void Ceil(TSqliteCall& call) { call.Answer(std::ceil(call.Number(0))); }
void Floor(TSqliteCall& call) { call.Answer(std::floor(call.Number(0))); }
void Power(TSqliteCall& call) { call.Answer(std::pow(call.Number(0), call.Number(1))); }
void Sqrt(TSqliteCall& call) { call.Answer(std::sqrt(call.Number(0))); }
void Exp(TSqliteCall& call) { call.Answer(std::exp(call.Number(0))); }
void Ln(TSqliteCall& call) { call.Answer(std::log(call.Number(0))); }
void Log(TSqliteCall& call) { call.Answer(std::log(call.Number(1)) / std::log(call.Number(0))); }

void Sign(TSqliteCall& call) {
  const double number = call.Number(0);
  call.Answer(number > 0 ? 1.0 : number < 0 ? -1.0 : 0.0);
}

// How many rows a condition on ROWNUM lets pass: row_limit(value, operation).
void RowLimitOf(TSqliteCall& call) {
  call.AnswerWhole(call.IsNull(0) ? 0 : RowLimit(call.Text(1), call.Number(0)));
}

}  // namespace

std::span<const TSqliteFunction> SqliteNumberFunctions() {
  static constexpr TSqliteFunction kFunctions[] = {
      {"to_number", 1, WithoutNulls<ToNumber>},
      {"to_number", 2, WithoutNulls<ToNumber>},
      {"divide", 2, WithoutNulls<Divide>},
      {"mod", 2, WithoutNulls<Mod>},
      {"round", 1, WithoutNulls<Rounded<true>>},
      {"round", 2, WithoutNulls<Rounded<true>>},
      {"trunc", 1, WithoutNulls<Rounded<false>>},
      {"trunc", 2, WithoutNulls<Rounded<false>>},
      {"abs", 1, WithoutNulls<Abs>},
      {"sign", 1, WithoutNulls<Sign>},
      {"ceil", 1, WithoutNulls<Ceil>},
      {"floor", 1, WithoutNulls<Floor>},
      {"power", 2, WithoutNulls<Power>},
      {"sqrt", 1, WithoutNulls<Sqrt>},
      {"exp", 1, WithoutNulls<Exp>},
      {"ln", 1, WithoutNulls<Ln>},
      {"log", 2, WithoutNulls<Log>},
      {"row_limit", 2, WithNulls<RowLimitOf>},
  };
  return kFunctions;
}

}  // namespace perlayer

#pragma once
// TSqliteCall: one call of a function by the database, with the arguments read as the statements'
// language reads them. A number is a text where a text is asked for, a text a number or a date
// where it can be read as one; an empty text is NULL.
//
// The readers raise EConvertError for what does not fit, without telling the value, which may be a
// patient's. REQUIRES for all of them: the argument is not NULL.

#include <sqlite3.h>

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "perlayer/platform/TDateTime.h"

namespace perlayer {

class TSqliteCall {
 public:
  TSqliteCall(sqlite3_context* context, int count, sqlite3_value** values)
      : FContext(context), FCount(count), FValues(values) {}

  int Count() const { return FCount; }
  bool IsNull(int i) const { return sqlite3_value_type(FValues[i]) == SQLITE_NULL; }
  bool IsNumber(int i) const;  // also a date
  bool IsWhole(int i) const { return sqlite3_value_type(FValues[i]) == SQLITE_INTEGER; }
  bool IsBytes(int i) const { return sqlite3_value_type(FValues[i]) == SQLITE_BLOB; }

  // Lives as long as the call. REQUIRES: i < 4
  std::string_view Text(int i);
  void AppendText(int i, std::string& text) const;
  double Number(int i) const;
  // Without its fraction, and at most 2^53 from 0.
  std::int64_t Whole(int i) const;
  TDateTime Date(int i) const;
  // The database's limit for the bytes of a text.
  std::size_t MaxBytes() const;
  void* UserData() const { return sqlite3_user_data(FContext); }

  // The answers; a call without one answers NULL.
  void Answer(std::string_view text);
  void Answer(double number);  // raises EConvertError when it is none
  void AnswerWhole(std::int64_t number) { sqlite3_result_int64(FContext, number); }
  void AnswerArgument(int i) { sqlite3_result_value(FContext, FValues[i]); }

 private:
  sqlite3_context* FContext;
  int FCount;
  sqlite3_value** FValues;
  std::array<std::string, 4> FTexts;  // of numbers
};

struct TSqliteFunction {
  const char* name;
  int arguments;  // -1: any number
  void (*body)(sqlite3_context*, int, sqlite3_value**);
};

// The tables that RegisterSqliteFunctions registers, and an aggregate.
std::span<const TSqliteFunction> SqliteTextFunctions();
std::span<const TSqliteFunction> SqliteNumberFunctions();
std::span<const TSqliteFunction> SqliteDateFunctions();
void RegisterSqliteListAgg(sqlite3* database);  // raises EDatabaseError

// What a text says as a number. Raises EConvertError.
double SqlNumberOf(std::string_view text);

// Runs a body for the database, through whose code no exception passes.
void RunSqliteCall(void (*body)(TSqliteCall&), sqlite3_context* context, int count,
                   sqlite3_value** values) noexcept;

// Ready to be registered: `Body` is called with any arguments.
template <void (*Body)(TSqliteCall&)>
void WithNulls(sqlite3_context* context, int count, sqlite3_value** values) noexcept {
  RunSqliteCall(Body, context, count, values);
}

// NULL is answered when an argument is NULL, and `Body` sees none.
template <void (*Body)(TSqliteCall&)>
void WithoutNulls(sqlite3_context* context, int count, sqlite3_value** values) noexcept {
  for (int i = 0; i < count; ++i) {
    if (sqlite3_value_type(values[i]) == SQLITE_NULL) return;
  }
  RunSqliteCall(Body, context, count, values);
}

}  // namespace perlayer

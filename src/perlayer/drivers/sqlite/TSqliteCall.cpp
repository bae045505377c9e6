#include "perlayer/drivers/sqlite/TSqliteCall.h"

#include <charconv>
#include <cmath>
#include <exception>
#include <new>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

constexpr double kExact = 9007199254740992.0;  // whole numbers up to here are exact

std::string_view BytesOf(sqlite3_value* value) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
  const int size = sqlite3_value_bytes(value);
  if (text == nullptr) {
    if (size == 0 && sqlite3_value_type(value) == SQLITE_BLOB) return {};
    throw std::bad_alloc();
  }
  return {text, static_cast<std::size_t>(size)};
}

}  // namespace

double SqlNumberOf(std::string_view text) {
  text = Trim(text);
  if (text.substr(0, 1) == "+" && text.substr(1, 1) != "-") text.remove_prefix(1);
  const char* const end = text.data() + text.size();
  double number = 0;
  const auto read = std::from_chars(text.data(), end, number);
  const bool isName = text.find_first_of("nN") != std::string_view::npos;  // "nan", "inf"
  if (read.ec != std::errc() || read.ptr != end || isName) {
    throw EConvertError("a text is no number");
  }
  return number;
}

bool TSqliteCall::IsNumber(int i) const {
  const int type = sqlite3_value_type(FValues[i]);
  return type == SQLITE_INTEGER || type == SQLITE_FLOAT;
}

std::string_view TSqliteCall::Text(int i) {
  if (sqlite3_value_type(FValues[i]) != SQLITE_FLOAT) return BytesOf(FValues[i]);
  std::string& text = FTexts[static_cast<std::size_t>(i)];
  if (text.empty()) AppendText(i, text);
  return text;
}

void TSqliteCall::AppendText(int i, std::string& text) const {
  if (IsNull(i)) return;
  if (sqlite3_value_type(FValues[i]) == SQLITE_FLOAT) {
    AppendFloat(text, sqlite3_value_double(FValues[i]));
  } else {
    text += BytesOf(FValues[i]);
  }
}

double TSqliteCall::Number(int i) const {
  return IsNumber(i) ? sqlite3_value_double(FValues[i]) : SqlNumberOf(BytesOf(FValues[i]));
}

std::int64_t TSqliteCall::Whole(int i) const {
  const double number = std::trunc(Number(i));
  if (!(std::abs(number) < kExact)) return static_cast<std::int64_t>(number > 0 ? kExact : -kExact);
  return static_cast<std::int64_t>(number);
}

TDateTime TSqliteCall::Date(int i) const {
  if (IsNumber(i)) return sqlite3_value_double(FValues[i]);
  TDateTime value = 0;
  if (!TryStrToDateTime(BytesOf(FValues[i]), value)) {
    throw EConvertError("a text is no date of the short date format");
  }
  return value;
}

std::size_t TSqliteCall::MaxBytes() const {
  sqlite3* const database = sqlite3_context_db_handle(FContext);
  return static_cast<std::size_t>(sqlite3_limit(database, SQLITE_LIMIT_LENGTH, -1));
}

void TSqliteCall::Answer(std::string_view text) {
  if (text.empty()) return;
  sqlite3_result_text64(FContext, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

// Whole numbers go as such: an index of whole numbers takes them, and "5" is not written "5.0".
void TSqliteCall::Answer(double number) {
  if (!std::isfinite(number)) throw EConvertError("the result is no number");
  if (number == std::trunc(number) && std::abs(number) < kExact) {
    AnswerWhole(static_cast<std::int64_t>(number));
  } else {
    sqlite3_result_double(FContext, number);
  }
}

void RunSqliteCall(void (*body)(TSqliteCall&), sqlite3_context* context, int count,
                   sqlite3_value** values) noexcept {
  try {
    TSqliteCall call(context, count, values);
    body(call);
  } catch (const std::bad_alloc&) {
    sqlite3_result_error_nomem(context);
  } catch (const std::exception& e) {
    sqlite3_result_error(context, e.what(), -1);
  }
}

}  // namespace perlayer

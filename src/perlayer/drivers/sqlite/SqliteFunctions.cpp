#include "perlayer/drivers/sqlite/SqliteFunctions.h"

#include <sqlite3.h>

#include <charconv>
#include <exception>
#include <new>
#include <string>
#include <string_view>

#include "perlayer/drivers/sqlite/SqlFormats.h"
#include "perlayer/drivers/sqlite/SqliteErrors.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TClock.h"
#include "perlayer/platform/TDateTime.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

using TFunction = void (*)(sqlite3_context*, int, sqlite3_value**);

std::string_view TextOf(sqlite3_value* value) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
  if (text == nullptr) return {};
  return {text, static_cast<std::size_t>(sqlite3_value_bytes(value))};
}

bool IsNumber(sqlite3_value* value) {
  const int type = sqlite3_value_type(value);
  return type == SQLITE_INTEGER || type == SQLITE_FLOAT;
}

bool IsNull(sqlite3_value* value) { return sqlite3_value_type(value) == SQLITE_NULL; }

// An empty text is NULL.
void ResultText(sqlite3_context* context, std::string_view text) {
  if (text.empty()) return;
  sqlite3_result_text64(context, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

// A whole second, as the statements' language has it.
void SysDate(sqlite3_context* context, int, sqlite3_value**) {
  auto& clock = *static_cast<TSqliteClock*>(sqlite3_user_data(context));
  if (!clock.isRead) {
    TDateParts date;
    TTimeParts time;
    DecodeDateTime(Now(), date, time);
    time.millisecond = 0;
    clock.time = EncodeDateTime(date, time);
    clock.isRead = true;
  }
  sqlite3_result_double(context, clock.time);
}

// A text by the format, or by the short date format; a number is a date already.
void ToDate(sqlite3_context* context, int count, sqlite3_value** values) {
  if (IsNull(values[0]) || (count > 1 && IsNull(values[1]))) return;
  if (IsNumber(values[0])) {
    sqlite3_result_value(context, values[0]);
  } else if (count > 1) {
    sqlite3_result_double(context, ParseSqlDate(TextOf(values[1]), TextOf(values[0])));
  } else {
    TDateTime value = 0;
    if (!TryStrToDateTime(TextOf(values[0]), value)) {
      throw EConvertError("a text is no date of the short date format");
    }
    sqlite3_result_double(context, value);
  }
}

void DateToChar(sqlite3_context* context, int count, sqlite3_value** values) {
  if (IsNull(values[0]) || (count > 1 && IsNull(values[1]))) return;
  const double value = sqlite3_value_double(values[0]);
  ResultText(context, count > 1 ? FormatSqlDate(TextOf(values[1]), value) : DateTimeToStr(value));
}

void AppendValue(std::string& text, sqlite3_value* value) {
  if (sqlite3_value_type(value) == SQLITE_FLOAT) {
    AppendFloat(text, sqlite3_value_double(value));
  } else {
    text += TextOf(value);
  }
}

void ToChar(sqlite3_context* context, int count, sqlite3_value** values) {
  if (IsNull(values[0]) || (count > 1 && IsNull(values[1]))) return;
  if (count == 1) {
    std::string text;
    AppendValue(text, values[0]);
    ResultText(context, text);
  } else if (IsSqlNumberModel(TextOf(values[1]))) {
    ResultText(context, FormatSqlNumber(TextOf(values[1]), sqlite3_value_double(values[0])));
  } else {
    DateToChar(context, count, values);
  }
}

void ToNumber(sqlite3_context* context, int, sqlite3_value** values) {
  if (IsNull(values[0])) return;
  if (IsNumber(values[0])) {
    sqlite3_result_value(context, values[0]);
    return;
  }
  std::string_view text = Trim(TextOf(values[0]));
  if (text.substr(0, 1) == "+" && text.substr(1, 1) != "-") text.remove_prefix(1);
  const char* const end = text.data() + text.size();
  std::int64_t whole = 0;
  if (const auto read = std::from_chars(text.data(), end, whole);
      read.ec == std::errc() && read.ptr == end) {
    sqlite3_result_int64(context, whole);
    return;
  }
  double number = 0;
  const auto read = std::from_chars(text.data(), end, number);
  const bool isName = text.find_first_of("nN") != std::string_view::npos;  // "nan", "inf"
  if (read.ec != std::errc() || read.ptr != end || isName) {
    throw EConvertError("a text is no number");
  }
  sqlite3_result_double(context, number);
}

void DateOnly(sqlite3_context* context, int, sqlite3_value** values) {
  if (!IsNull(values[0])) sqlite3_result_double(context, DatePart(sqlite3_value_double(values[0])));
}

void Concat(sqlite3_context* context, int count, sqlite3_value** values) {
  std::string text;
  for (int i = 0; i < count; ++i) AppendValue(text, values[i]);
  ResultText(context, text);
}

void Upper(sqlite3_context* context, int, sqlite3_value** values) {
  ResultText(context, UpperCase(TextOf(values[0])));
}

void Lower(sqlite3_context* context, int, sqlite3_value** values) {
  ResultText(context, LowerCase(TextOf(values[0])));
}

// No exception passes through the database's own code.
template <TFunction Body>
void Guarded(sqlite3_context* context, int count, sqlite3_value** values) noexcept {
  try {
    Body(context, count, values);
  } catch (const std::bad_alloc&) {
    sqlite3_result_error_nomem(context);
  } catch (const std::exception& e) {
    sqlite3_result_error(context, e.what(), -1);
  }
}

}  // namespace

void RegisterSqliteFunctions(sqlite3* database, TSqliteClock* clock) {
  struct TEntry {
    const char* name;
    int arguments;
    TFunction body;
  };
  static constexpr TEntry kEntries[] = {
      {"sysdate", 0, Guarded<SysDate>},
      {"to_date", 1, Guarded<ToDate>},
      {"to_date", 2, Guarded<ToDate>},
      {"to_char", 1, Guarded<ToChar>},
      {"to_char", 2, Guarded<ToChar>},
      {"date_to_char", 1, Guarded<DateToChar>},
      {"date_to_char", 2, Guarded<DateToChar>},
      {"date_only", 1, Guarded<DateOnly>},
      {"to_number", 1, Guarded<ToNumber>},
      {"concat", -1, Guarded<Concat>},
      {"upper", 1, Guarded<Upper>},
      {"lower", 1, Guarded<Lower>},
  };
  // "Deterministic" makes the database call a function of constants once per run; sysdate too is
  // constant for as long.
  static constexpr int kFlags = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS;
  for (const TEntry& entry : kEntries) {
    const int code = sqlite3_create_function_v2(database, entry.name, entry.arguments, kFlags,
                                                clock, entry.body, nullptr, nullptr, nullptr);
    if (code != SQLITE_OK) throw SqliteError(database, code, "");
  }
}

}  // namespace perlayer

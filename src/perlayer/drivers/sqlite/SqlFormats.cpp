#include "perlayer/drivers/sqlite/SqlFormats.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "perlayer/drivers/sqlite/SqlNumbers.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TClock.h"
#include "perlayer/platform/TFormatSettings.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

enum class TPart {
  literal,
  year,
  shortYear,
  month,
  monthName,
  longMonthName,
  day,
  dayOfYear,
  dayOfWeek,
  dayName,
  longDayName,
  hour24,
  hour12,
  minute,
  second,
  quarter,
  noon,
  fill
};

struct TElement {
  std::string_view name;
  TPart part;
  int width;  // digits
};
// An element that begins another stands behind it.
constexpr TElement kElements[] = {
    {"YYYY", TPart::year, 4},
    {"RRRR", TPart::year, 4},
    {"YY", TPart::shortYear, 2},
    {"RR", TPart::shortYear, 2},
    {"MONTH", TPart::longMonthName, 0},
    {"MON", TPart::monthName, 0},
    {"MM", TPart::month, 2},
    {"MI", TPart::minute, 2},
    {"DDD", TPart::dayOfYear, 3},
    {"DD", TPart::day, 2},
    {"DAY", TPart::longDayName, 0},
    {"DY", TPart::dayName, 0},
    {"D", TPart::dayOfWeek, 1},
    {"HH24", TPart::hour24, 2},
    {"HH12", TPart::hour12, 2},
    {"HH", TPart::hour12, 2},
    {"SS", TPart::second, 2},
    {"Q", TPart::quarter, 1},
    {"AM", TPart::noon, 0},
    {"PM", TPart::noon, 0},
    {"FM", TPart::fill, 0},
};

bool IsLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

struct TModelPart {
  TPart part;
  int width;
  std::string_view text;  // of a literal
};

// The next part of the model; moves `at` behind it. REQUIRES: at < model.size()
TModelPart NextPart(std::string_view model, std::size_t& at) {
  const std::string_view rest = model.substr(at);
  for (const TElement& element : kElements) {
    if (!StartsText(element.name, rest)) continue;
    at += element.name.size();
    return {element.part, element.width, {}};
  }
  if (rest[0] == '"') {
    const std::size_t end = rest.find('"', 1);
    if (end == std::string_view::npos) {
      throw EConvertError("the quote in the date format has no end");
    }
    at += end + 1;
    return {TPart::literal, 0, rest.substr(1, end - 1)};
  }
  if (IsLetter(rest[0])) {
    throw EConvertError("the date format means nothing from \"" + std::string(rest) + "\" on");
  }
  ++at;
  return {TPart::literal, 0, rest.substr(0, 1)};
}

int DayOfYear(const TDateParts& date) {
  int day = date.day;
  for (int month = 1; month < date.month; ++month) day += DaysInMonth(date.year, month);
  return day;
}

int Hour12(int hour) { return hour % 12 == 0 ? 12 : hour % 12; }

[[noreturn]] void RaiseMisfit(std::string_view model) {
  throw EConvertError("a text does not fit the date format " + std::string(model));
}

std::size_t SkipBlanks(std::string_view text, std::size_t at) {
  while (at < text.size() && text[at] == ' ') ++at;
  return at;
}

// Reads up to `width` digits.
int ReadNumber(std::string_view model, std::string_view text, std::size_t& at, int width) {
  const std::size_t first = at;
  while (at < text.size() && IsDigit(text[at]) && at - first < static_cast<std::size_t>(width)) {
    ++at;
  }
  if (at == first) RaiseMisfit(model);
  int value = 0;
  std::from_chars(text.data() + first, text.data() + at, value);
  return value;
}

int CenturyOf(int shortYear) {
  const int now = DecodeDate(Now()).year;
  const int first = now - FormatSettings().TwoDigitYearCenturyWindow;
  const int year = first / 100 * 100 + shortYear;
  return year < first ? year + 100 : year;
}

}  // namespace

std::string FormatSqlDate(std::string_view model, TDateTime value) {
  TDateParts date;
  TTimeParts time;
  DecodeDateTime(value, date, time);
  const TFormatSettings& settings = FormatSettings();
  std::string result;
  bool padded = true;
  for (std::size_t at = 0; at < model.size();) {
    const TModelPart part = NextPart(model, at);
    int number = -1;
    switch (part.part) {
      case TPart::literal:
        result += part.text;
        break;
      case TPart::fill:
        padded = !padded;
        break;
      case TPart::noon:
        result += time.hour < 12 ? "AM" : "PM";
        break;
      case TPart::monthName:
        result += settings.ShortMonthNames[static_cast<std::size_t>(date.month - 1)];
        break;
      case TPart::longMonthName:
        result += settings.LongMonthNames[static_cast<std::size_t>(date.month - 1)];
        break;
      case TPart::dayName:
        result += settings.ShortDayNames[static_cast<std::size_t>(DayOfWeek(value) - 1)];
        break;
      case TPart::longDayName:
        result += settings.LongDayNames[static_cast<std::size_t>(DayOfWeek(value) - 1)];
        break;
      case TPart::year:
        number = date.year;
        break;
      case TPart::shortYear:
        number = date.year % 100;
        break;
      case TPart::month:
        number = date.month;
        break;
      case TPart::day:
        number = date.day;
        break;
      case TPart::dayOfYear:
        number = DayOfYear(date);
        break;
      case TPart::dayOfWeek:
        number = DayOfWeek(value);
        break;
      case TPart::hour24:
        number = time.hour;
        break;
      case TPart::hour12:
        number = Hour12(time.hour);
        break;
      case TPart::minute:
        number = time.minute;
        break;
      case TPart::second:
        number = time.second;
        break;
      case TPart::quarter:
        number = (date.month + 2) / 3;
        break;
    }
    if (number >= 0) {
      char digits[16];
      std::snprintf(digits, sizeof digits, "%0*d", padded ? part.width : 1, number);
      result += digits;
    }
  }
  return result;
}

TDateTime ParseSqlDate(std::string_view model, std::string_view text) {
  TDateParts date = DecodeDate(Now());
  date.day = 1;
  TTimeParts time;
  int afternoon = -1;
  text = Trim(text);
  std::size_t in = 0;
  for (std::size_t at = 0; at < model.size();) {
    const TModelPart part = NextPart(model, at);
    if (in >= text.size()) {
      const bool isDate = part.part >= TPart::year && part.part <= TPart::day;
      if (isDate) RaiseMisfit(model);
      continue;
    }
    if (part.part != TPart::literal) in = SkipBlanks(text, in);
    const auto number = [&] { return ReadNumber(model, text, in, part.width); };
    const auto name = [&](const auto& names) {
      for (std::size_t i = 0; i < names.size(); ++i) {
        if (!StartsText(names[i], text.substr(in))) continue;
        in += names[i].size();
        return static_cast<int>(i) + 1;
      }
      RaiseMisfit(model);
    };
    switch (part.part) {
      case TPart::literal:
        if (part.text == " ") {
          in = SkipBlanks(text, in);
        } else if (StartsText(part.text, text.substr(in))) {
          in += part.text.size();
        } else {
          RaiseMisfit(model);
        }
        break;
      case TPart::year:
        date.year = number();
        break;
      case TPart::shortYear:
        date.year = CenturyOf(number());
        break;
      case TPart::month:
        date.month = number();
        break;
      case TPart::monthName:
        date.month = name(FormatSettings().ShortMonthNames);
        break;
      case TPart::longMonthName:
        date.month = name(FormatSettings().LongMonthNames);
        break;
      case TPart::day:
        date.day = number();
        break;
      case TPart::hour24:
        time.hour = number();
        break;
      case TPart::hour12: {
        const int hour = number();
        if (hour < 1 || hour > 12) RaiseMisfit(model);
        time.hour = hour;
        if (afternoon < 0) afternoon = 0;
        break;
      }
      case TPart::minute:
        time.minute = number();
        break;
      case TPart::second:
        time.second = number();
        break;
      case TPart::noon: {
        static constexpr std::array<std::string_view, 2> kNoons = {"AM", "PM"};
        afternoon = name(kNoons) - 1;
        break;
      }
      case TPart::fill:
        break;
      case TPart::dayOfYear:
      case TPart::dayOfWeek:
      case TPart::dayName:
      case TPart::longDayName:
      case TPart::quarter:
        throw EConvertError("a date cannot be read by the format " + std::string(model));
    }
  }
  if (in != text.size()) RaiseMisfit(model);
  if (afternoon >= 0) time.hour = time.hour % 12 + 12 * afternoon;
  TDateTime value = 0;
  TDateTime timeValue = 0;
  if (!TryEncodeDate(date.year, date.month, date.day, value) ||
      !TryEncodeTime(time.hour, time.minute, time.second, 0, timeValue)) {
    RaiseMisfit(model);
  }
  return EncodeDateTime(date, time);
}

bool IsSqlNumberModel(std::string_view model) {
  return model.find_first_of("90") != std::string_view::npos;
}

namespace {

struct TNumberModel {
  std::string_view places;  // without FM
  bool filled;              // with blanks
  std::size_t point;        // its place, or behind the end
  int decimals;
};

TNumberModel ReadNumberModel(std::string_view model) {
  TNumberModel result{model, !StartsText("FM", model), 0, 0};
  if (!result.filled) result.places.remove_prefix(2);
  const std::string_view places = result.places;
  result.point = std::min(places.find_first_of(".Dd"), places.size());
  for (std::size_t i = 0; i < places.size(); ++i) {
    const bool isGroup = std::string_view(",Gg").find(places[i]) != std::string_view::npos;
    const bool isDigit = places[i] == '9' || places[i] == '0';
    if (!isDigit && i != result.point && (i > result.point || !isGroup)) {
      throw EConvertError("the number format means nothing from \"" +
                          std::string(places.substr(i)) + "\" on");
    }
    result.decimals += i > result.point;
  }
  return result;
}

}  // namespace

double ParseSqlNumber(std::string_view model, std::string_view text) {
  const TNumberModel known = ReadNumberModel(model);
  const std::string_view whole = known.places.substr(0, known.point);
  const bool grouped = whole.find_first_of(",Gg") != std::string_view::npos;
  auto places = std::count_if(whole.begin(), whole.end(), IsDigit);
  std::string digits;
  bool fits = true;
  bool behind = false;  // the point
  for (const char c : Trim(text)) {
    if (IsDigit(c)) {
      fits = fits && places-- > 0;
    } else if (c == '.' && !behind && known.point < known.places.size()) {
      behind = true;
      places = known.decimals;
    } else if (c == ',' && grouped && !behind) {
      continue;
    } else if ((c != '-' && c != '+') || !digits.empty()) {
      fits = false;
    }
    digits += c;
  }
  double value = 0;
  if (!fits || !TryStrToFloat(digits, value)) {
    throw EConvertError("a text does not fit the number format " + std::string(model));
  }
  return value;
}

std::string FormatSqlNumber(std::string_view model, double value) {
  const auto [places, filled, point, decimals] = ReadNumberModel(model);
  if (!std::isfinite(value) || std::abs(value) >= 1e17 || decimals > 30) {
    return std::string(model.size(), '#');
  }
  char digits[80];
  const int length = std::snprintf(digits, sizeof digits, "%.*f", decimals,
                                   std::abs(RoundSqlNumber(value, decimals)));
  const std::string_view number(digits, static_cast<std::size_t>(length));
  const std::string_view whole = number.substr(0, number.find_first_not_of("0123456789"));
  std::string fraction(decimals == 0 ? std::string_view() : number.substr(whole.size() + 1));
  const bool negative = value < 0 && number.find_first_of("123456789") != std::string_view::npos;
  // The whole part from its end, place by place. From the leftmost 0 of the model on, zeros show.
  const std::size_t zeroFrom = std::min(places.find('0'), point);
  std::string result;
  std::size_t left = whole == "0" ? 0 : whole.size();
  for (std::size_t i = point; i-- > 0;) {
    const bool isDigit = places[i] == '9' || places[i] == '0';
    const bool shown = left > 0 || i >= zeroFrom;
    if (!isDigit) {
      result += shown ? ',' : ' ';
    } else if (left > 0) {
      result += whole[--left];
    } else {
      result += shown ? '0' : ' ';
    }
  }
  if (left > 0) return std::string(places.size() + 1, '#');
  std::reverse(result.begin(), result.end());
  result.erase(0, std::min(result.find_first_not_of(' '), result.size()));
  if (result.empty() && decimals == 0) result = "0";
  if (negative) result.insert(0, 1, '-');
  if (!filled) {  // zeros at the end show as far as the model has a 0
    std::size_t keep = places.rfind('0');
    keep = keep == std::string_view::npos || keep < point ? 0 : keep - point;
    while (fraction.size() > keep && fraction.back() == '0') fraction.pop_back();
  }
  if (point < places.size()) result += '.' + fraction;
  if (filled && result.size() < places.size() + 1) {
    result.insert(0, places.size() + 1 - result.size(), ' ');
  }
  return result;
}

}  // namespace perlayer

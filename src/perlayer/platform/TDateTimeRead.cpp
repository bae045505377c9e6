// TDateTime.h: texts as dates and times.

#include <algorithm>
#include <span>

#include "perlayer/platform/DatePattern.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TClock.h"
#include "perlayer/platform/TDateTime.h"
#include "perlayer/platform/TFormatSettings.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// The time of day counts forward, also on days below 0.
TDateTime Together(TDateTime day, TDateTime timeOfDay) {
  return day < 0 ? day - timeOfDay : day + timeOfDay;
}

// Each Read... answers false where the text does not fit; the position is then anywhere.
class TDateTimeReader {
 public:
  TDateTimeReader(std::string_view text, const TFormatSettings& settings)
      : FText(Trim(text)), FSettings(settings) {}

  bool AtEnd() const { return FPosition == FText.size(); }

  bool ReadDate(TDateTime& value) {
    TDateParts date{-1, -1, -1};
    std::string_view pattern = FSettings.ShortDateFormat;
    while (!pattern.empty()) {
      const TPatternToken token = NextToken(pattern);
      const bool complete = date.year >= 0 && date.month >= 0 && date.day >= 0;
      if (!ReadDatePart(token, date)) {
        // What follows the last part ("27.1.2023." in some countries) need not be there.
        if (complete && AtEnd()) break;
        return false;
      }
    }
    return TryEncodeDate(date.year, date.month, date.day, value);
  }

  bool ReadTime(TDateTime& value) {
    TTimeParts time;
    if (!ReadNumber(2, time.hour)) return false;
    if (SkipChar(FSettings.TimeSeparator)) {
      if (!ReadNumber(2, time.minute)) return false;
      if (SkipChar(FSettings.TimeSeparator)) {
        if (!ReadNumber(2, time.second)) return false;
        if ((SkipChar(FSettings.DecimalSeparator) || SkipChar('.')) && !ReadFraction(time)) {
          return false;
        }
      }
    }
    if (!ApplyHalfDay(time.hour)) return false;
    return TryEncodeTime(time.hour, time.minute, time.second, time.millisecond, value);
  }

  bool ReadDateTime(TDateTime& value) {
    TDateTime day = 0, timeOfDay = 0;
    if (!ReadDate(day)) return false;
    if (!AtEnd() && !(SkipBlanks() && ReadTime(timeOfDay))) return false;
    value = Together(day, timeOfDay);
    return true;
  }

 private:
  bool ReadDatePart(const TPatternToken& token, TDateParts& date) {
    const bool named = token.text.size() >= 3;
    switch (token.letter) {
      case 'd': {
        int dayOfWeek = 0;  // read over: the date alone decides
        return named ? ReadName(FSettings.LongDayNames, dayOfWeek) ||
                           ReadName(FSettings.ShortDayNames, dayOfWeek)
                     : ReadNumber(2, date.day);
      }
      case 'm':
        return named ? ReadName(FSettings.LongMonthNames, date.month) ||
                           ReadName(FSettings.ShortMonthNames, date.month)
                     : ReadNumber(2, date.month);
      case 'y':
        return ReadYear(date.year);
      case '/':
        return SkipChar(FSettings.DateSeparator);
      case ':':
        return SkipChar(FSettings.TimeSeparator);
      case ' ':
        SkipBlanks();
        return true;
      default:
        SkipBlanks();
        if (FText.substr(FPosition, token.text.size()) != token.text) return false;
        FPosition += token.text.size();
        return true;
    }
  }

  bool SkipBlanks() {
    const std::size_t start = FPosition;
    while (!AtEnd() && FText[FPosition] == ' ') ++FPosition;
    return FPosition > start;
  }

  bool SkipChar(char c) {
    const std::size_t start = FPosition;
    SkipBlanks();
    if (!AtEnd() && FText[FPosition] == c) {
      ++FPosition;
      return true;
    }
    FPosition = start;
    return false;
  }

  bool ReadNumber(int maxDigits, int& number) {
    SkipBlanks();
    const std::size_t start = FPosition;
    int result = 0;
    for (; !AtEnd() && IsDigit(FText[FPosition]) && maxDigits > 0; ++FPosition, --maxDigits) {
      result = result * 10 + (FText[FPosition] - '0');
    }
    if (FPosition == start) return false;
    number = result;
    return true;
  }

  bool ReadYear(int& year) {
    SkipBlanks();
    const std::size_t start = FPosition;
    if (!ReadNumber(4, year)) return false;
    if (FPosition - start > 2) return true;
    const int thisYear = DecodeDate(Now()).year;
    const int window = FSettings.TwoDigitYearCenturyWindow;
    const int first = window > 0 ? thisYear - window : thisYear / 100 * 100;
    year += first / 100 * 100;
    if (year < first) year += 100;
    return true;
  }

  // Counts from 1.
  bool ReadName(std::span<const std::string> names, int& number) {
    SkipBlanks();
    for (std::size_t i = 0; i < names.size(); ++i) {
      const std::string_view rest = FText.substr(FPosition);
      if (names[i].empty() || !StartsText(names[i], rest)) continue;
      std::size_t length = 0;  // in bytes, which case may change
      for (std::size_t left = Utf8Length(names[i]); left > 0; --left) DecodeUtf8(rest, length);
      FPosition += length;
      number = static_cast<int>(i) + 1;
      return true;
    }
    return false;
  }

  bool ReadFraction(TTimeParts& time) {
    int digits = 0;
    for (; !AtEnd() && IsDigit(FText[FPosition]); ++FPosition, ++digits) {
      if (digits < 3) time.millisecond = time.millisecond * 10 + (FText[FPosition] - '0');
    }
    for (int missing = digits; missing < 3; ++missing) time.millisecond *= 10;
    return digits > 0;
  }

  bool ApplyHalfDay(int& hour) {
    SkipBlanks();
    const std::string_view rest = FText.substr(FPosition);
    const bool am = SameText(rest, "am") || SameText(rest, "a");
    const bool pm = SameText(rest, "pm") || SameText(rest, "p");
    if (!am && !pm) return true;
    FPosition = FText.size();
    if (hour < 1 || hour > 12) return false;
    hour = hour % 12 + (pm ? 12 : 0);
    return true;
  }

  const std::string_view FText;
  const TFormatSettings& FSettings;
  std::size_t FPosition = 0;
};

// Reads what most dates are, "d.m.yyyy" and "d.m.yyyy hh:nn:ss", faster; false for anything else
// and where the settings say something else. `timeOfDay` is left alone when there is none.
bool ReadPlain(std::string_view text, const TFormatSettings& settings, TDateTime& day,
               TDateTime& timeOfDay) {
  if (settings.ShortDateFormat != "dd.mm.yyyy") return false;
  std::size_t at = 0;
  const auto digit = [&] { return at < text.size() && IsDigit(text[at]) ? text[at++] - '0' : -1; };
  const auto twoDigits = [&] {
    const int first = digit();
    const int second = first < 0 ? -1 : digit();
    return second < 0 ? -1 : first * 10 + second;
  };
  const auto oneOrTwo = [&] {
    const int first = digit();
    const int second = first < 0 ? -1 : digit();
    return second < 0 ? first : first * 10 + second;
  };
  const auto skip = [&](char c) { return at < text.size() && text[at] == c && ++at > 0; };
  const int dayOfMonth = oneOrTwo();
  if (dayOfMonth < 0 || !skip('.')) return false;
  const int month = oneOrTwo();
  if (month < 0 || !skip('.')) return false;
  const int century = twoDigits();
  const int yearOfCentury = century < 0 ? -1 : twoDigits();
  if (yearOfCentury < 0 || !TryEncodeDate(century * 100 + yearOfCentury, month, dayOfMonth, day)) {
    return false;
  }
  if (at == text.size()) return true;
  const auto next = [&](char before) { return skip(before) ? twoDigits() : -1; };
  const int hour = next(' ');
  const int minute = hour < 0 ? -1 : next(settings.TimeSeparator);
  const int second = minute < 0 ? -1 : next(settings.TimeSeparator);
  return second >= 0 && at == text.size() && TryEncodeTime(hour, minute, second, 0, timeOfDay);
}

using TReadPart = bool (TDateTimeReader::*)(TDateTime&);

bool TryRead(std::string_view text, TDateTime& value, const TFormatSettings& settings,
             TReadPart read) {
  TDateTimeReader reader(text, settings);
  TDateTime result = 0;
  if (!(reader.*read)(result) || !reader.AtEnd()) return false;
  value = result;
  return true;
}

TDateTime Read(std::string_view text, const TFormatSettings& settings, TReadPart read,
               const char* what) {
  TDateTime value = 0;
  if (TryRead(text, value, settings, read)) return value;
  throw EConvertError("'" + std::string(text) + "' is not a valid " + what);
}

// True when the text has that shape, "0" in the shape standing for any digit.
bool HasShape(std::string_view text, std::string_view shape) {
  return std::equal(text.begin(), text.end(), shape.begin(), shape.end(),
                    [](char c, char s) { return s == '0' ? IsDigit(c) : c == s; });
}

// REQUIRES: there are digits
int NumberAt(std::string_view text, std::size_t position, std::size_t digits) {
  int number = 0;
  for (const char c : text.substr(position, digits)) number = number * 10 + (c - '0');
  return number;
}

bool ReadIso8601(std::string_view text, TDateTime& day, TDateTime& timeOfDay) {
  constexpr std::size_t kDateSize = 10, kTimeEnd = 19;
  if (!HasShape(text.substr(0, kDateSize), "0000-00-00") ||
      !TryEncodeDate(NumberAt(text, 0, 4), NumberAt(text, 5, 2), NumberAt(text, 8, 2), day)) {
    return false;
  }
  if (text.size() == kDateSize) return true;
  if (text.back() == 'Z') text.remove_suffix(1);
  if (!HasShape(text.substr(kDateSize, kTimeEnd - kDateSize), "T00:00:00")) return false;
  int millisecond = 0;
  if (text.size() > kTimeEnd) {
    const std::string_view fraction = text.substr(kTimeEnd + 1);
    if (text[kTimeEnd] != '.' || fraction.empty() ||
        !std::all_of(fraction.begin(), fraction.end(), IsDigit)) {
      return false;
    }
    millisecond = NumberAt(IPadR(fraction, 3, '0'), 0, 3);
  }
  return TryEncodeTime(NumberAt(text, 11, 2), NumberAt(text, 14, 2), NumberAt(text, 17, 2),
                       millisecond, timeOfDay);
}

}  // namespace

TDateTime StrToDate(std::string_view text, const TFormatSettings& settings) {
  constexpr std::size_t kLongest = 10;
  TDateTime day, timeOfDay;
  if (text.size() <= kLongest && ReadPlain(text, settings, day, timeOfDay)) return day;
  return Read(text, settings, &TDateTimeReader::ReadDate, "date");
}

TDateTime StrToTime(std::string_view text, const TFormatSettings& settings) {
  return Read(text, settings, &TDateTimeReader::ReadTime, "time");
}

TDateTime StrToDateTime(std::string_view text, const TFormatSettings& settings) {
  return Read(text, settings, &TDateTimeReader::ReadDateTime, "date and time");
}

bool TryStrToDateTime(std::string_view text, TDateTime& value, const TFormatSettings& settings) {
  TDateTime day, timeOfDay = 0;
  if (ReadPlain(text, settings, day, timeOfDay)) {
    value = Together(day, timeOfDay);
    return true;
  }
  return TryRead(text, value, settings, &TDateTimeReader::ReadDateTime);
}

TDateTime StrToDate(std::string_view text) { return StrToDate(text, FormatSettings()); }
TDateTime StrToTime(std::string_view text) { return StrToTime(text, FormatSettings()); }
TDateTime StrToDateTime(std::string_view text) { return StrToDateTime(text, FormatSettings()); }
bool TryStrToDateTime(std::string_view text, TDateTime& value) {
  return TryStrToDateTime(text, value, FormatSettings());
}

TDateTime ISO8601ToDateTime(std::string_view text) {
  TDateTime day = 0, timeOfDay = 0;
  if (!ReadIso8601(text, day, timeOfDay)) {
    throw EConvertError("'" + std::string(text) + "' is not a valid ISO 8601 date");
  }
  return Together(day, timeOfDay);
}

}  // namespace perlayer

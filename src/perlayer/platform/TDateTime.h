#pragma once
// Dates and times. A TDateTime is a double: days since 30 December 1899, the fraction being the
// time of day. For a negative value the time part still counts forward from the start of the day:
// -1.25 is 29 December 1899, 06:00.
//
// Everything here counts in whole milliseconds: a value is rounded to the nearest one, carrying
// into the day, before it is taken apart or written.
//
// Functions that take the format settings are pure; those that do not use FormatSettings(), which
// belongs to the main thread.

#include <string>
#include <string_view>

namespace perlayer {

struct TFormatSettings;

using TDateTime = double;

inline constexpr TDateTime MinDateTime = -657434.0;         // 1 January 100
inline constexpr TDateTime MaxDateTime = 2958465.99999999;  // end of 31 December 9999
inline constexpr double kMillisecondsPerDay = 86400000.0;

struct TDateParts {
  int year = 0, month = 0, day = 0;
  friend bool operator==(const TDateParts&, const TDateParts&) = default;
};
struct TTimeParts {
  int hour = 0, minute = 0, second = 0, millisecond = 0;
  friend bool operator==(const TTimeParts&, const TTimeParts&) = default;
};

// Proleptic Gregorian calendar. Raises EConvertError for a date that does not exist or does not lie
// in the years 100 to 9999; TryEncodeDate answers false and leaves `value` alone.
bool TryEncodeDate(int year, int month, int day, TDateTime& value);
TDateTime EncodeDate(int year, int month, int day);
// 00:00:00.000 to 23:59:59.999, as a fraction of a day; any other time as above.
bool TryEncodeTime(int hour, int minute, int second, int millisecond, TDateTime& value);
TDateTime EncodeTime(int hour, int minute, int second, int millisecond);
// A day and a time of day put together, with the rule for negative days.
TDateTime EncodeDateTime(const TDateParts& date, const TTimeParts& time);
// These, DatePart, TimePart and all that write a date raise EConvertError for a value whose day
// does not lie in the years 100 to 9999. (A time on 1 January 100 is a number below MinDateTime,
// and allowed.)
TDateParts DecodeDate(TDateTime value);
TTimeParts DecodeTime(TDateTime value);
void DecodeDateTime(TDateTime value, TDateParts& date, TTimeParts& time);
// 1 = Sunday to 7 = Saturday.
int DayOfWeek(TDateTime value);
bool IsLeapYear(int year);
int DaysInMonth(int year, int month);  // REQUIRES: 1 <= month <= 12

// The day alone, at 00:00; and the time of day alone, from 0 to below 1, counted forward.
TDateTime DatePart(TDateTime value);
TDateTime TimePart(TDateTime value);

// Patterns. Letters in either case:
//   d dd ddd dddd   day, two digits, short and long name of the day    ddddd  short date format
//   m mm mmm mmmm   month, the same; m and mm behind an hour are minutes
//   y yy, yyyy      year with two digits, with four
//   h hh            hour, of 12 when the pattern has an am/pm          c      date, and time unless
//   0 n nn s ss       minute, second                                     t, tt  short, long time
//   format z zzz           milliseconds                                       am/pm, a/p
// "/" and ":" are the separators of the settings. Text in single or double quotes and every other
// character stand for themselves.
std::string FormatDateTime(std::string_view pattern, TDateTime value);
std::string FormatDateTime(std::string_view pattern, TDateTime value,
                           const TFormatSettings& settings);
// Writes FormatDateTime(...) behind `text`, without a temporary.
void AppendDateTime(std::string& text, std::string_view pattern, TDateTime value,
                    const TFormatSettings& settings);
std::string DateToStr(TDateTime value);  // short date format
std::string DateToStr(TDateTime value, const TFormatSettings& settings);
std::string TimeToStr(TDateTime value);  // long time format
std::string TimeToStr(TDateTime value, const TFormatSettings& settings);
std::string DateTimeToStr(TDateTime value);  // the date, and behind it the time unless it is 0
std::string DateTimeToStr(TDateTime value, const TFormatSettings& settings);

// Each reads the whole text and raises EConvertError with the text when it is none; the Try forms
// answer false and leave `value` alone. Blanks around it and between its parts are allowed ("27. 1.
// 2023").
//   Date: the parts and separators of the short date format. A year of two digits falls into the
//   century window of the settings.
//   Time: hour[:minute[:second[.fraction]]] with the time separator, and am or pm behind it for an
//   hour from 1 to 12; a fraction is read to the millisecond. Date and time: a date, alone or with
//   blanks and a time behind it.
TDateTime StrToDate(std::string_view text);
TDateTime StrToDate(std::string_view text, const TFormatSettings& settings);
TDateTime StrToTime(std::string_view text);
TDateTime StrToTime(std::string_view text, const TFormatSettings& settings);
TDateTime StrToDateTime(std::string_view text);
TDateTime StrToDateTime(std::string_view text, const TFormatSettings& settings);
bool TryStrToDateTime(std::string_view text, TDateTime& value);
bool TryStrToDateTime(std::string_view text, TDateTime& value, const TFormatSettings& settings);

// ISO 8601 "2023-01-27" or "2023-01-27T16:17:47" with an optional fraction and an optional Z, which
// is dropped; nothing else. The fraction is read to the millisecond. Raises EConvertError with the
// text.
TDateTime ISO8601ToDateTime(std::string_view text);

}  // namespace perlayer

// TDateTime.h: the calendar and the number. TDateTimeWrite.cpp and TDateTimeRead.cpp have the
// texts.

#include "perlayer/platform/TDateTime.h"

#include <cmath>
#include <cstdint>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

constexpr int kFirstDay = -657434;  // 1 January 100
constexpr int kLastDay = 2958465;   // 31 December 9999
constexpr int kMillisecondsOfDay = 86400000;

// Calendar days are counted in years that begin in March, so that the leap day ends the year, and
// in eras of 400 years, which all have the same length. After H. Hinnant, "chrono-Compatible
// Low-Level Date Algorithms".
constexpr int kDaysOfEra = 146097;
constexpr int kDayOfEpoch = 693899;  // 30 December 1899, counted from 1 March 0

struct TSplit {
  int day;
  int millisecond;
};

TSplit Split(TDateTime value) {
  // The comparison also stops what is not a number.
  if (value > kFirstDay - 1.0 && value < kLastDay + 1.0) {
    const double whole = std::trunc(value);
    TSplit split{static_cast<int>(whole),
                 static_cast<int>(std::fabs(value - whole) * kMillisecondsPerDay + 0.5)};
    if (split.millisecond >= kMillisecondsOfDay) {
      split.millisecond = 0;
      ++split.day;
    }
    if (split.day <= kLastDay) return split;
  }
  std::string text;
  AppendFloat(text, value);
  throw EConvertError("Date-time " + text + " lies outside the years 100 to 9999");
}

// Both counts start above 0, so that plain division will do.
TDateParts DateOf(int dayNumber) {
  const int day = dayNumber + kDayOfEpoch;
  const int era = day / kDaysOfEra;
  const int dayOfEra = day % kDaysOfEra;
  const int yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const int dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const int marchMonth = (5 * dayOfYear + 2) / 153;
  const int month = marchMonth < 10 ? marchMonth + 3 : marchMonth - 9;
  return {era * 400 + yearOfEra + (month <= 2 ? 1 : 0), month,
          dayOfYear - (153 * marchMonth + 2) / 5 + 1};
}

TTimeParts TimeOf(int millisecond) {
  return {millisecond / 3600000, millisecond / 60000 % 60, millisecond / 1000 % 60,
          millisecond % 1000};
}

bool InRange(int value, int first, int last) { return value >= first && value <= last; }

}  // namespace

bool IsLeapYear(int year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

int DaysInMonth(int year, int month) {
  constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

bool TryEncodeDate(int year, int month, int day, TDateTime& value) {
  if (!InRange(year, 100, 9999) || !InRange(month, 1, 12) ||
      !InRange(day, 1, DaysInMonth(year, month))) {
    return false;
  }
  const int marchYear = year - (month <= 2 ? 1 : 0);
  const int yearOfEra = marchYear % 400;
  const int dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
  const int dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  value = marchYear / 400 * kDaysOfEra + dayOfEra - kDayOfEpoch;
  return true;
}

TDateTime EncodeDate(int year, int month, int day) {
  TDateTime value = 0;
  if (TryEncodeDate(year, month, day, value)) return value;
  throw EConvertError(Format("There is no date with year %d, month %d, day %d", year, month, day));
}

bool TryEncodeTime(int hour, int minute, int second, int millisecond, TDateTime& value) {
  if (!InRange(hour, 0, 23) || !InRange(minute, 0, 59) || !InRange(second, 0, 59) ||
      !InRange(millisecond, 0, 999)) {
    return false;
  }
  value = (((hour * 60 + minute) * 60 + second) * 1000 + millisecond) / kMillisecondsPerDay;
  return true;
}

TDateTime EncodeTime(int hour, int minute, int second, int millisecond) {
  TDateTime value = 0;
  if (TryEncodeTime(hour, minute, second, millisecond, value)) return value;
  throw EConvertError(Format("There is no time with hour %d, minute %d, second %d, millisecond %d",
                             hour, minute, second, millisecond));
}

TDateTime EncodeDateTime(const TDateParts& date, const TTimeParts& time) {
  const TDateTime day = EncodeDate(date.year, date.month, date.day);
  const TDateTime timeOfDay = EncodeTime(time.hour, time.minute, time.second, time.millisecond);
  return day < 0 ? day - timeOfDay : day + timeOfDay;
}

TDateParts DecodeDate(TDateTime value) { return DateOf(Split(value).day); }
TTimeParts DecodeTime(TDateTime value) { return TimeOf(Split(value).millisecond); }

void DecodeDateTime(TDateTime value, TDateParts& date, TTimeParts& time) {
  const TSplit split = Split(value);
  date = DateOf(split.day);
  time = TimeOf(split.millisecond);
}

int DayOfWeek(TDateTime value) {
  // Day 1 was a Sunday; the sum is above 0 for every date.
  return (Split(value).day - 1 + 7 * 100000) % 7 + 1;
}

TDateTime DatePart(TDateTime value) { return Split(value).day; }
TDateTime TimePart(TDateTime value) { return Split(value).millisecond / kMillisecondsPerDay; }

}  // namespace perlayer

#include "perlayer/drivers/sqlite/SqlDates.h"

#include <cmath>
#include <string>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TFormatSettings.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

constexpr std::int64_t kDay = 86400000;  // milliseconds

// Milliseconds since 30 December 1899, which unlike the date itself run evenly.
std::int64_t Milliseconds(TDateTime date) {
  return static_cast<std::int64_t>(DatePart(date)) * kDay + std::llround(TimePart(date) * kDay);
}

TDateTime DateOf(std::int64_t milliseconds) {
  std::int64_t day = milliseconds / kDay;
  if (milliseconds % kDay < 0) --day;
  const double time = static_cast<double>(milliseconds - day * kDay) / kMillisecondsPerDay;
  const auto date = static_cast<double>(day);
  if (date < MinDateTime || date > MaxDateTime) {
    throw EConvertError("the date does not lie in the years 100 to 9999");
  }
  return date < 0 ? date - time : date + time;
}

// The same time of another day.
TDateTime WithTimeOf(TDateTime date, TDateTime day) {
  return DateOf(static_cast<std::int64_t>(day) * kDay + std::llround(TimePart(date) * kDay));
}

bool IsLastDay(const TDateParts& date) { return date.day == DaysInMonth(date.year, date.month); }

enum class TUnit {
  century,
  year,
  isoYear,
  quarter,
  month,
  yearWeek,
  isoWeek,
  monthWeek,
  week,
  day,
  hour,
  minute
};

TUnit UnitOf(std::string_view model) {
  struct TModel {
    std::string_view name;
    TUnit unit;
  };
  static constexpr TModel kModels[] = {
      {"CC", TUnit::century},   {"SCC", TUnit::century}, {"YYYY", TUnit::year},
      {"YYY", TUnit::year},     {"YY", TUnit::year},     {"Y", TUnit::year},
      {"SYYYY", TUnit::year},   {"YEAR", TUnit::year},   {"SYEAR", TUnit::year},
      {"IYYY", TUnit::isoYear}, {"IYY", TUnit::isoYear}, {"IY", TUnit::isoYear},
      {"I", TUnit::isoYear},    {"Q", TUnit::quarter},   {"MONTH", TUnit::month},
      {"MON", TUnit::month},    {"MM", TUnit::month},    {"RM", TUnit::month},
      {"WW", TUnit::yearWeek},  {"IW", TUnit::isoWeek},  {"W", TUnit::monthWeek},
      {"DAY", TUnit::week},     {"DY", TUnit::week},     {"D", TUnit::week},
      {"DD", TUnit::day},       {"DDD", TUnit::day},     {"J", TUnit::day},
      {"HH", TUnit::hour},      {"HH12", TUnit::hour},   {"HH24", TUnit::hour},
      {"MI", TUnit::minute},
  };
  const std::string upper = AsciiUpperCase(model);
  for (const TModel& known : kModels) {
    if (known.name == upper) return known.unit;
  }
  throw EConvertError("a date cannot be cut or rounded to \"" + std::string(model) + '"');
}

TDateTime Monday(TDateTime day) { return day - (DayOfWeek(day) + 5) % 7; }

// The first Monday's week of a year is the one with 4 January in it.
TDateTime IsoYear(TDateTime day) {
  const int year = DecodeDate(Monday(day) + 3).year;  // that of the week's Thursday
  return Monday(EncodeDate(year, 1, 4));
}

// The unit's beginning, for units of a day and more.
TDateTime Beginning(TUnit unit, TDateTime day, const TDateParts& date) {
  switch (unit) {
    case TUnit::century:
      return EncodeDate((date.year - 1) / 100 * 100 + 1, 1, 1);
    case TUnit::year:
      return EncodeDate(date.year, 1, 1);
    case TUnit::isoYear:
      return IsoYear(day);
    case TUnit::quarter:
      return EncodeDate(date.year, (date.month - 1) / 3 * 3 + 1, 1);
    case TUnit::month:
      return EncodeDate(date.year, date.month, 1);
    case TUnit::yearWeek:
      return day - std::fmod(day - EncodeDate(date.year, 1, 1), 7);
    case TUnit::isoWeek:
      return Monday(day);
    case TUnit::monthWeek:
      return day - (date.day - 1) % 7;
    case TUnit::week:
      return day - (DayOfWeek(day) - 1);
    default:
      return day;
  }
}

}  // namespace

TDateTime AddSqlDays(TDateTime date, double days) {
  if (!(std::abs(days) < 1e7)) {
    throw EConvertError("the date does not lie in the years 100 to 9999");
  }
  return DateOf(Milliseconds(date) + std::llround(days * 86400) * 1000);
}

double SqlDaysBetween(TDateTime later, TDateTime earlier) {
  return static_cast<double>(Milliseconds(later) - Milliseconds(earlier)) / kMillisecondsPerDay;
}

TDateTime AddSqlMonths(TDateTime date, std::int64_t months) {
  if (std::abs(months) > 200000) months = months < 0 ? -200000 : 200000;
  const TDateParts from = DecodeDate(date);
  const int month = from.year * 12 + from.month - 1 + static_cast<int>(months);
  TDateParts to{month / 12, month % 12 + 1, from.day};
  if (month < 0 || to.year > 9999) {
    throw EConvertError("the date does not lie in the years 100 to 9999");
  }
  const int last = DaysInMonth(to.year, to.month);
  if (IsLastDay(from) || to.day > last) to.day = last;
  return WithTimeOf(date, EncodeDate(to.year, to.month, to.day));
}

double SqlMonthsBetween(TDateTime later, TDateTime earlier) {
  const TDateParts to = DecodeDate(later);
  const TDateParts from = DecodeDate(earlier);
  const int months = (to.year - from.year) * 12 + to.month - from.month;
  if (to.day == from.day || (IsLastDay(to) && IsLastDay(from))) return months;
  return months + (to.day - from.day + TimePart(later) - TimePart(earlier)) / 31;
}

TDateTime SqlLastDay(TDateTime date) {
  const TDateParts parts = DecodeDate(date);
  const int last = DaysInMonth(parts.year, parts.month);
  return WithTimeOf(date, EncodeDate(parts.year, parts.month, last));
}

TDateTime SqlNextDay(TDateTime date, std::string_view day) {
  const auto& names = FormatSettings().ShortDayNames;
  day = Trim(day);
  int wanted = day.size() == 1 && day[0] >= '1' && day[0] <= '7' ? day[0] - '0' : 0;
  for (std::size_t i = 0; wanted == 0 && i < names.size(); ++i) {
    if (StartsText(names[i], day)) wanted = static_cast<int>(i) + 1;
  }
  if (wanted == 0) throw EConvertError("a text is no name of a day");
  const int ahead = (wanted - DayOfWeek(date) + 7) % 7;
  return AddSqlDays(date, ahead == 0 ? 7 : ahead);
}

TDateTime TruncSqlDate(std::string_view model, TDateTime date) {
  const TUnit unit = UnitOf(model);
  const std::int64_t time = Milliseconds(date);
  if (unit == TUnit::hour || unit == TUnit::minute) {
    const std::int64_t length = unit == TUnit::hour ? 3600000 : 60000;
    return DateOf(time - (time % length + length) % length);
  }
  return Beginning(unit, DatePart(date), DecodeDate(date));
}

TDateTime RoundSqlDate(std::string_view model, TDateTime date) {
  const TUnit unit = UnitOf(model);
  const TDateTime begin = TruncSqlDate(model, date);
  const TDateParts parts = DecodeDate(date);
  const auto either = [&](bool up, TDateTime next) { return up ? next : begin; };
  switch (unit) {
    case TUnit::century: {
      const int first = (parts.year - 1) / 100 * 100 + 1;
      return parts.year < first + 50 ? begin : EncodeDate(first + 100, 1, 1);
    }
    case TUnit::year:
      return either(parts.month > 6, AddSqlMonths(begin, 12));
    case TUnit::isoYear:
      throw EConvertError("a date cannot be rounded to \"" + std::string(model) + '"');
    case TUnit::quarter: {
      const int month = (parts.month - 1) % 3;
      return either(month == 2 || (month == 1 && parts.day > 15), AddSqlMonths(begin, 3));
    }
    case TUnit::month:
      return either(parts.day > 15, AddSqlMonths(begin, 1));
    case TUnit::yearWeek:
    case TUnit::isoWeek:
    case TUnit::monthWeek:
    case TUnit::week:
      return either(SqlDaysBetween(date, begin) >= 3.5, AddSqlDays(begin, 7));
    case TUnit::day:
      return either(DecodeTime(date).hour >= 12, AddSqlDays(begin, 1));
    case TUnit::hour:
      return either(DecodeTime(date).minute >= 30, AddSqlDays(begin, 1.0 / 24));
    case TUnit::minute:
      return either(DecodeTime(date).second >= 30, AddSqlDays(begin, 1.0 / 1440));
  }
  return begin;
}

double SqlDatePart(std::string_view part, TDateTime date) {
  TDateParts day;
  TTimeParts time;
  DecodeDateTime(date, day, time);
  if (part == "YEAR") return day.year;
  if (part == "MONTH") return day.month;
  if (part == "DAY") return day.day;
  if (part == "HOUR") return time.hour;
  if (part == "MINUTE") return time.minute;
  if (part == "SECOND") return time.second + time.millisecond / 1000.0;
  throw EConvertError("a date has no part \"" + std::string(part) + '"');
}

double SqlInterval(double count, std::string_view unit) {
  const std::string upper = AsciiUpperCase(Trim(unit));
  if (upper == "DAY") return count;
  if (upper == "HOUR") return count / 24;
  if (upper == "MINUTE") return count / 1440;
  if (upper == "SECOND") return count / 86400;
  throw EConvertError("an interval is counted in DAY, HOUR, MINUTE or SECOND");
}

}  // namespace perlayer

#pragma once
// Reckoning with dates as the statements' language has it. A date is a number of days; whole
// seconds stay whole seconds through every step, also before 30 December 1899.
//
// All raise EConvertError for a date that does not lie in the years 100 to 9999.

#include <cstdint>
#include <string_view>

#include "perlayer/platform/TDateTime.h"

namespace perlayer {

// `days`, to the nearest second, later (or earlier, when negative).
TDateTime AddSqlDays(TDateTime date, double days);
double SqlDaysBetween(TDateTime later, TDateTime earlier);

// From a month's last day to a month's last day; else the day stays, as far as the month has it.
TDateTime AddSqlMonths(TDateTime date, std::int64_t months);
// Whole between equal days and between last days; else with the rest in parts of 31 days.
double SqlMonthsBetween(TDateTime later, TDateTime earlier);
TDateTime SqlLastDay(TDateTime date);
// The first day of that name (of the format settings, or its first three letters) behind the date.
TDateTime SqlNextDay(TDateTime date, std::string_view day);

// The beginning of the unit that the model names, and the nearest such beginning:
//   CC SCC, YYYY YYY YY Y SYYYY YEAR SYEAR, IYYY IYY IY I, Q, MONTH MON MM RM, IW (from Monday),
//   D DY DAY (weeks from Sunday), WW (weeks from 1 January), W (from the first of the month),
//   DD DDD J, HH HH12 HH24, MI
TDateTime TruncSqlDate(std::string_view model, TDateTime date);
TDateTime RoundSqlDate(std::string_view model, TDateTime date);

// YEAR, MONTH, DAY, HOUR, MINUTE or SECOND (with its fraction).
double SqlDatePart(std::string_view part, TDateTime date);
// So many units DAY, HOUR, MINUTE or SECOND in days.
double SqlInterval(double count, std::string_view unit);

}  // namespace perlayer

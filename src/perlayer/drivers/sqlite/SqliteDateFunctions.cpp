#include <string>

#include "perlayer/drivers/sqlite/SqlDates.h"
#include "perlayer/drivers/sqlite/SqlFormats.h"
#include "perlayer/drivers/sqlite/SqliteFunctions.h"
#include "perlayer/drivers/sqlite/TSqliteCall.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TClock.h"
#include "perlayer/platform/TDateTime.h"

namespace perlayer {

namespace {

// A whole second, as the statements' language has it.
void SysDate(TSqliteCall& call) {
  auto& clock = *static_cast<TSqliteClock*>(call.UserData());
  if (!clock.isRead) {
    TDateParts date;
    TTimeParts time;
    DecodeDateTime(Now(), date, time);
    time.millisecond = 0;
    clock.time = EncodeDateTime(date, time);
    clock.isRead = true;
  }
  call.Answer(clock.time);
}

// A text by the format, or by the short date format; a number is a date already.
void ToDate(TSqliteCall& call) {
  const bool byModel = call.Count() > 1 && !call.IsNumber(0);
  const TDateTime date = byModel ? ParseSqlDate(call.Text(1), call.Text(0)) : call.Date(0);
  // The times of the first day are numbers below it.
  if (date <= MinDateTime - 1 || date > MaxDateTime) {
    throw EConvertError("TO_DATE: a date lies in the years 100 to 9999");
  }
  call.Answer(date);
}

void DateToChar(TSqliteCall& call) {
  const TDateTime value = call.Date(0);
  call.Answer(call.Count() > 1 ? FormatSqlDate(call.Text(1), value) : DateTimeToStr(value));
}

void ToChar(TSqliteCall& call) {
  if (call.Count() == 1) {
    call.Answer(call.Text(0));
  } else if (IsSqlNumberModel(call.Text(1))) {
    call.Answer(FormatSqlNumber(call.Text(1), call.Number(0)));
  } else {
    DateToChar(call);
  }
}

void DateOnly(TSqliteCall& call) { call.Answer(DatePart(call.Date(0))); }
void DateTrunc(TSqliteCall& call) { call.Answer(TruncSqlDate(call.Text(1), call.Date(0))); }
void DateRound(TSqliteCall& call) {
  call.Answer(RoundSqlDate(call.Count() > 1 ? call.Text(1) : "DD", call.Date(0)));
}
void DatePlus(TSqliteCall& call) { call.Answer(AddSqlDays(call.Date(0), call.Number(1))); }
void DaysPlus(TSqliteCall& call) { call.Answer(AddSqlDays(call.Date(1), call.Number(0))); }
void DateMinus(TSqliteCall& call) { call.Answer(AddSqlDays(call.Date(0), -call.Number(1))); }
void DaysBetween(TSqliteCall& call) { call.Answer(SqlDaysBetween(call.Date(0), call.Date(1))); }
void AddMonths(TSqliteCall& call) { call.Answer(AddSqlMonths(call.Date(0), call.Whole(1))); }
void MonthsBetween(TSqliteCall& call) { call.Answer(SqlMonthsBetween(call.Date(0), call.Date(1))); }
void LastDay(TSqliteCall& call) { call.Answer(SqlLastDay(call.Date(0))); }
void NextDay(TSqliteCall& call) { call.Answer(SqlNextDay(call.Date(0), call.Text(1))); }
void PartOfDate(TSqliteCall& call) { call.Answer(SqlDatePart(call.Text(0), call.Date(1))); }
void Interval(TSqliteCall& call) { call.Answer(SqlInterval(call.Number(0), call.Text(1))); }

}  // namespace

std::span<const TSqliteFunction> SqliteDateFunctions() {
  static constexpr TSqliteFunction kFunctions[] = {
      {"sysdate", 0, WithoutNulls<SysDate>},
      {"to_date", 1, WithoutNulls<ToDate>},
      {"to_date", 2, WithoutNulls<ToDate>},
      {"to_char", 1, WithoutNulls<ToChar>},
      {"to_char", 2, WithoutNulls<ToChar>},
      {"date_to_char", 1, WithoutNulls<DateToChar>},
      {"date_to_char", 2, WithoutNulls<DateToChar>},
      {"date_only", 1, WithoutNulls<DateOnly>},
      {"date_trunc", 2, WithoutNulls<DateTrunc>},
      {"date_round", 1, WithoutNulls<DateRound>},
      {"date_round", 2, WithoutNulls<DateRound>},
      {"date_plus", 2, WithoutNulls<DatePlus>},
      {"days_plus", 2, WithoutNulls<DaysPlus>},
      {"date_minus", 2, WithoutNulls<DateMinus>},
      {"days_between", 2, WithoutNulls<DaysBetween>},
      {"add_months", 2, WithoutNulls<AddMonths>},
      {"months_between", 2, WithoutNulls<MonthsBetween>},
      {"last_day", 1, WithoutNulls<LastDay>},
      {"next_day", 2, WithoutNulls<NextDay>},
      {"date_part", 2, WithoutNulls<PartOfDate>},
      {"numtodsinterval", 2, WithoutNulls<Interval>},
  };
  return kFunctions;
}

}  // namespace perlayer

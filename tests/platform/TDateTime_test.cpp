#include "perlayer/platform/TDateTime.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <random>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TClock.h"
#include "perlayer/platform/TFormatSettings.h"
#include "perlayer/platform/Text.h"
#include "support/Raised.h"

namespace perlayer {
namespace {

constexpr double kHour = 1.0 / 24;

TEST(TDateTime, EveryDayOfTheCalendarEncodesAndDecodes) {
  double expected = MinDateTime;
  int dayOfWeek = DayOfWeek(MinDateTime);
  for (int year = 100; year <= 9999; ++year) {
    for (int month = 1; month <= 12; ++month) {
      for (int day = 1; day <= DaysInMonth(year, month); ++day) {
        const TDateTime value = EncodeDate(year, month, day);
        ASSERT_EQ(value, expected) << year << '-' << month << '-' << day;
        ASSERT_EQ(DecodeDate(value), (TDateParts{year, month, day}));
        ASSERT_EQ(DayOfWeek(value), dayOfWeek);
        dayOfWeek = dayOfWeek % 7 + 1;
        expected += 1;
      }
    }
  }
  EXPECT_EQ(expected - 1, std::floor(MaxDateTime));
  EXPECT_EQ(EncodeDate(1899, 12, 30), 0);
  EXPECT_EQ(DayOfWeek(EncodeDate(2000, 2, 29)), 3);
}

TEST(TDateTime, RandomMomentsGoThroughNumberAndText) {
  TFormatSettings dashes;
  dashes.TimeSeparator = '-';
  std::mt19937 random(5);
  for (int round = 0; round < 100000; ++round) {
    const TDateParts date = DecodeDate(MinDateTime + random() % 3615900);
    TTimeParts time{static_cast<int>(random() % 24), static_cast<int>(random() % 60),
                    static_cast<int>(random() % 60), static_cast<int>(random() % 1000)};
    const TDateTime value = EncodeDateTime(date, time);
    ASSERT_EQ(DecodeDate(value), date);
    ASSERT_EQ(DecodeTime(value), time);
    ASSERT_EQ(EncodeDateTime(DecodeDate(DatePart(value)), DecodeTime(TimePart(value))), value);
    ASSERT_EQ(ISO8601ToDateTime(FormatDateTime("yyyy-mm-dd\"T\"hh:nn:ss.zzz\"Z\"", value)), value);
    ASSERT_EQ(StrToDateTime(FormatDateTime("d. m. yyyy h:m:s.zzz", value)), value);
    ASSERT_EQ(FormatDateTime("dd.mm.yyyy hh:nn:ss", value, dashes),  // has a short way of its own
              FormatDateTime("dd.mm.yyyy' 'hh:nn:ss", value, dashes));
    time.millisecond = 0;
    const TDateTime second = EncodeDateTime(date, time);
    ASSERT_EQ(StrToDateTime(DateTimeToStr(second)), second);
    ASSERT_EQ(StrToDateTime(FormatDateTime("DD.MM.YYYY HH:MM:SS", second)), second);
  }
}

TEST(TDateTime, TimeOfANegativeDayCountsForward) {
  EXPECT_EQ(DecodeDate(-1.25), (TDateParts{1899, 12, 29}));
  EXPECT_EQ(DecodeTime(-1.25), (TTimeParts{6, 0, 0, 0}));
  EXPECT_EQ(DatePart(-1.25), -1);
  EXPECT_EQ(TimePart(-1.25), 0.25);
  EXPECT_EQ(FormatDateTime("dd.mm.yyyy hh:nn", -657434.5), "01.01.0100 12:00");
}

TEST(TDateTime, RoundsToTheMillisecondIntoTheNextDay) {
  const double almost = 1 - 1e-10;
  for (const double day : {36525.0, -40000.0}) {
    const TDateTime value = day < 0 ? day - almost : day + almost;
    EXPECT_EQ(DecodeDate(value), DecodeDate(day + 1));
    EXPECT_EQ(DecodeTime(value), TTimeParts{});
    EXPECT_EQ(DatePart(value), day + 1);
    EXPECT_EQ(TimePart(value), 0);
  }
  EXPECT_EQ(DateTimeToStr(36525 + almost), "01.01.2000");
}

TEST(TDateTime, RefusesWhatDoesNotExist) {
  for (const TDateParts& bad :
       {TDateParts{2023, 2, 29}, TDateParts{1900, 2, 29}, TDateParts{2023, 13, 1},
        TDateParts{2023, 0, 1}, TDateParts{2023, 4, 31}, TDateParts{2023, 4, 0},
        TDateParts{99, 1, 1}, TDateParts{10000, 1, 1}}) {
    EXPECT_THROW(EncodeDate(bad.year, bad.month, bad.day), EConvertError);
  }
  EXPECT_THROW(EncodeTime(24, 0, 0, 0), EConvertError);
  EXPECT_THROW(EncodeTime(0, 60, 0, 0), EConvertError);
  EXPECT_THROW(EncodeTime(0, 0, -1, 0), EConvertError);
  EXPECT_THROW(EncodeTime(0, 0, 0, 1000), EConvertError);
  EXPECT_EQ(DecodeDate(MaxDateTime), (TDateParts{9999, 12, 31}));
  for (const double bad :
       {MinDateTime - 1, MaxDateTime + 1, 2958466 - 1e-10, 1e300, -1e300, std::nan("")}) {
    EXPECT_THROW(DecodeDate(bad), EConvertError) << bad;
    EXPECT_THROW(DateToStr(bad), EConvertError) << bad;
  }
}

TEST(TDateTime, WritesByPattern) {
  const TDateTime value = EncodeDateTime({2023, 1, 7}, {16, 5, 9, 42});  // a Saturday
  const std::pair<const char*, const char*> cases[] = {
      {"d dd ddd dddd", "7 07 sob sobota"},
      {"m mm mmm mmmm", "1 01 jan januar"},
      {"y yy yyyy", "23 23 2023"},
      {"h hh n nn s ss z zzz", "16 16 5 05 9 09 42 042"},
      {"DD.MM.YYYY HH:MM:SS", "07.01.2023 16:05:09"},
      {"hh:mm mm", "16:05 01"},  // only the first m behind an hour is minutes
      {"hh 'h' mm", "16 h 05"},  // text between does not count
      {"hh:ss:mm", "16:09:01"},  // another part does
      {"h:nn am/pm", "4:05 pm"},
      {"ha/p", "4p"},
      {"'am/pm' hh", "am/pm 16"},  // quoted, so that the hour is of 24
      {"\"d'd\" 'open", "d'd open"},
      {"dd/mm", "07.01"},
      {"c", "07.01.2023 16:05:09"},
      {"ddddd t tt", "07.01.2023 16:05 16:05:09"},
      {"č [x]", "č [x]"},
  };
  for (const auto& [pattern, text] : cases)
    EXPECT_EQ(FormatDateTime(pattern, value), text) << pattern;
  EXPECT_EQ(FormatDateTime("h am/pm", 0), "12 am");
  EXPECT_EQ(FormatDateTime("h am/pm", 0.5), "12 pm");
  EXPECT_EQ(TimeToStr(value), "16:05:09");
  EXPECT_EQ(DateTimeToStr(std::floor(value)), "07.01.2023");
}

TEST(TDateTime, ReadsByTheSettings) {
  const TDateTime day = EncodeDate(2023, 1, 27);
  const std::pair<const char*, double> good[] = {
      {"27.01.2023", 0},
      {" 27. 1. 2023\n", 0},
      {"27.01.2023  07:30", 7.5 * kHour},
      {"27.1.2023 23:59:59.5", 86399.5 / 86400},
      {"27.1.2023 12:00 AM", 0},
      {"27.1.2023 1:00pm", 13 * kHour},
  };
  for (const auto& [text, time] : good) {
    EXPECT_NEAR(StrToDateTime(text), day + time, 1e-9) << text;
  }
  const std::string bads =
      "| |27|27.1|27.1.|27.01.20233|27.01.2023x|27-01-2023|32.1.2023|29.2.2023|1.1.0099|a.b.c|"
      "-1.1.2023|27.1.2023 24:00|27.1.2023 1:60|27.1.2023 1:2:60|27.1.2023 1:|27.1.2023 13:00 pm|"
      "27.1.2023 0 am|27.1.2023T07:30|27.1.202307:30|27.1.2023 1:2:3.|27.1.2023 1:2:3,5";
  for (const std::string& bad : SplitText(bads, "|")) {
    TDateTime value = 42;
    EXPECT_FALSE(TryStrToDateTime(bad, value)) << bad;
    EXPECT_EQ(value, 42);
    EXPECT_THROW(StrToDate(bad), EConvertError) << bad;
  }
  EXPECT_THROW(StrToDate("27.01.2023 00:00"), EConvertError);
  EXPECT_THROW(StrToTime("27.01.2023"), EConvertError);
  EXPECT_DOUBLE_EQ(StrToTime("6:00"), 0.25);
  EXPECT_EQ(StrToDateTime("29.12.1899 06:00"), -1.25);
  EXPECT_EQ(Raised([] { StrToDate("jutri"); }), "'jutri' is not a valid date");
}

TEST(TDateTime, ReadsBackWhatEveryDateFormatWrites) {
  TFormatSettings settings;
  settings.DateSeparator = '/';
  const TDateTime value = EncodeDateTime({2023, 3, 7}, {16, 5, 9, 0});
  for (const char* format : {"yyyy-mm-dd", "m/d/yyyy", "dd.mm.yyyy.", "d. mmmm yyyy", "ddmmyyyy",
                             "dddd, d.mmm yyyy", "yy/mm/dd", "'dne' d.m.yyyy"}) {
    settings.ShortDateFormat = format;
    EXPECT_EQ(StrToDateTime(DateTimeToStr(value, settings), settings), value) << format;
  }
  settings.ShortDateFormat = "d. mmmm yyyy";
  EXPECT_EQ(StrToDate("7. MAREC 2023", settings), std::floor(value));
}

TEST(TDateTime, YearsOfTwoDigitsFallIntoTheWindow) {
  TClock::Install(std::make_unique<TManualClock>(EncodeDate(2024, 6, 1)));
  EXPECT_EQ(StrToDate("1.1.73"), EncodeDate(2073, 1, 1));
  EXPECT_EQ(StrToDate("1.1.74"), EncodeDate(1974, 1, 1));
  EXPECT_EQ(StrToDate("1.1.5"), EncodeDate(2005, 1, 1));
  FormatSettings().TwoDigitYearCenturyWindow = 0;
  EXPECT_EQ(StrToDate("1.1.99"), EncodeDate(2099, 1, 1));
}

TEST(TDateTime, ReadsIso8601) {
  EXPECT_EQ(ISO8601ToDateTime("2023-01-27T16:17:47.1239Z"),
            EncodeDateTime({2023, 1, 27}, {16, 17, 47, 123}));
  for (const char* bad : {"", "2023-1-27", "2023-01-32", "2023-01-27Z", "2023-01-27T",
                          "2023-01-27T16:17", "2023-01-27T16:17:60", "2023-01-27T16:17:47.",
                          "2023-01-27 16:17:47", "2023-01-27T16:17:47+01:00", " 2023-01-27"}) {
    EXPECT_THROW(ISO8601ToDateTime(bad), EConvertError) << bad;
  }
}

TEST(TDateTime, EveryPatternAndTextEndsInAnAnswer) {
  std::mt19937 random(3);
  const std::string letters = "dDmMyYhHnsztcaA/p'\":. 0123456789x\xC4\x8D";
  const auto text = [&] {
    std::string result;
    for (auto count = random() % 12; count > 0; --count)
      result += letters[random() % letters.size()];
    return result;
  };
  for (int round = 0; round < 50000; ++round) {
    TFormatSettings settings;
    settings.ShortDateFormat = text();
    settings.LongTimeFormat = text();
    TDateTime value = 0;
    TryStrToDateTime(text(), value, settings);
    const std::string written = FormatDateTime(text(), 45000.7, settings);
    TryStrToDateTime(written, value, settings);
    EXPECT_THROW(ISO8601ToDateTime(written), EConvertError);
  }
}

TEST(TClock, TheSystemClockTellsLocalTime) {
  TSystemClock clock;
  // Far from UTC and off the full hour, so that a forgotten or misread offset shows.
  setenv("TZ", "TST-05:45", 1);
  tzset();
  const auto expected = [] {
    return 25569 + (static_cast<double>(std::time(nullptr)) + 5.75 * 3600) / 86400;
  };
  const double before = expected();
  const TDateTime now = clock.Now(), coarse = clock.CoarseNow();
  unsetenv("TZ");
  tzset();
  EXPECT_NEAR(now, before, 5.0 / 86400);
  EXPECT_NEAR(coarse, now, 1.0 / 86400);
  const std::int64_t ticks = clock.Ticks();
  clock.Sleep(2);
  EXPECT_GE(clock.Ticks(), ticks + 1);
}

}  // namespace
}  // namespace perlayer

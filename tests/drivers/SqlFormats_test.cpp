#include "perlayer/drivers/sqlite/SqlFormats.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TClock.h"

namespace perlayer {
namespace {

TEST(SqlFormats, DatesAreWrittenByTheModel) {
  const TDateTime value = EncodeDateTime({2023, 1, 27}, {16, 7, 5, 0});
  EXPECT_EQ(FormatSqlDate("DD.MM.YYYY HH24:MI:SS", value), "27.01.2023 16:07:05");
  EXPECT_EQ(FormatSqlDate("FMdd.mm.yy hh:mi PM", value), "27.1.23 4:7 PM");
  EXPECT_EQ(FormatSqlDate("\"dan\" DDD, Q. \"četrtletje\" D DAY MON", value),
            "dan 027, 1. četrtletje 6 petek jan");
  EXPECT_THROW(FormatSqlDate("\"YYYY", value), EConvertError);
}

TEST(SqlFormats, WhatIsWrittenReadsBack) {
  std::mt19937 random(20231127);
  for (const char* model :
       {"DD.MM.YYYY HH24:MI:SS", "YYYYMMDDHH24MISS", "MON DD, YYYY HH12:MI:SS AM",
        "\"T\"YYYY/MM/DD\"T\"HH24-MI-SS", "SS MI HH24 DD MONTH RRRR"}) {
    for (int i = 0; i < 300; ++i) {
      const int day = static_cast<int>(random() % 3615000) - 657434;
      const int second = static_cast<int>(random() % 86400);
      const TDateTime value =
          EncodeDateTime(DecodeDate(day), {second / 3600, second / 60 % 60, second % 60, 0});
      const std::string text = FormatSqlDate(model, value);
      EXPECT_EQ(ParseSqlDate(model, text), value) << model << " " << text;
    }
  }
}

TEST(SqlFormats, DatesAreReadAsFarAsTheTextGoes) {
  TClock::Install(std::make_unique<TManualClock>(EncodeDateTime({2026, 11, 22}, {10, 0, 0, 0})));
  EXPECT_EQ(ParseSqlDate("DD.MM.YYYY HH24:MI:SS", " 1.2.2020"), EncodeDate(2020, 2, 1));
  EXPECT_EQ(ParseSqlDate("HH24:MI", "12:00"), EncodeDate(2026, 11, 1) + 0.5);
  EXPECT_EQ(ParseSqlDate("DD.MM.YY", "01.02.75"), EncodeDate(2075, 2, 1));
  EXPECT_EQ(ParseSqlDate("DD.MM.YY", "01.02.77"), EncodeDate(1977, 2, 1));
  for (const char* text : {"30.02.2020", "x", "01.02.2020 10", "01-02-2020", "1.", "0.0.0"}) {
    EXPECT_THROW(ParseSqlDate("DD.MM.YYYY", text), EConvertError) << text;
  }
}

TEST(SqlFormats, NumbersAreWrittenByTheModel) {
  const struct {
    const char* model;
    double value;
    const char* expected;
  } kCases[] = {
      {"990.00", 70.5, "  70.50"}, {"FM990.00", -0.5, "-0.50"}, {"FM9G999D99", 1234.5, "1,234.5"},
      {"9,999", 12, "    12"},     {"99", 123, "###"},          {"FM99.90", 3.25, "3.25"},
      {"FM99.90", 3, "3.00"},      {"999", -12, " -12"},        {"FM0.0", -0.01, "0.0"},
  };
  for (const auto& c : kCases) EXPECT_EQ(FormatSqlNumber(c.model, c.value), c.expected) << c.model;
  EXPECT_THROW(FormatSqlNumber("9X9", 1), EConvertError);
}

}  // namespace
}  // namespace perlayer

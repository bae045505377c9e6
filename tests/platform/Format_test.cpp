#include "perlayer/platform/Format.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

#include "perlayer/platform/Exception.h"
#include "support/Raised.h"

namespace perlayer {
namespace {

TEST(Format, WritesTexts) {
  EXPECT_EQ(Format("100%%"), "100%");
  EXPECT_EQ(Format("<%5s|%-5s|%.2s|%4.1S>", "čš", "čš", "čšž", "čš"), "<   čš|čš   |čš|   č>");
  EXPECT_EQ(Format("%s %s", 17, 0.5), "17 0.5");
  EXPECT_EQ(Format("%1:s %0:s %s", "a", "b"), "b a b");
  EXPECT_EQ(Format("a%0:-3sb", "x"), "ax  b");
  EXPECT_EQ(Format("%s", static_cast<const char*>(nullptr)), "");
}

TEST(Format, WritesNumbers) {
  EXPECT_EQ(Format("%d|%5d|%-5d|%.3d|%D", -7, -7, -7, -7, 0), "-7|   -7|-7   |-007|0");
  EXPECT_EQ(Format("%d", std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
  EXPECT_EQ(Format("%u", std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
  EXPECT_EQ(Format("%x %.4x", 255, 255), "FF 00FF");
  EXPECT_EQ(Format("%f %.0f %8.3f|%f", 2.345678, 2.5, -1.0, 3), "2.35 2   -1.000|3.00");
  EXPECT_EQ(Format("%g %.3g %g", 0.1, 1234.5, 1e300), "0.1 1.23e+03 1e+300");
  EXPECT_EQ(Format("%.4096f", std::numeric_limits<double>::max()).size(), 309u + 1 + 4096);
}

TEST(Format, RefusesWhatDoesNotFit) {
  for (const char* pattern : {"%", "%5", "%-", "%.s", "%5.", "%q", "%1:", "%9:s", "%d", "%f", "%č",
                              "%99999999999s", "%.99999f", "%:s", "%--5s"}) {
    EXPECT_THROW(Format(pattern, "text"), EConvertError) << pattern;
  }
  EXPECT_THROW(Format("%s %s", 1), EConvertError);
  EXPECT_EQ(Raised([] { Format("x=%d", 1.0); }),
            "Format 'x=%d', position 3: argument is no integer");
}

TEST(Format, EveryPatternEndsInATextOrAMessage) {
  std::mt19937 random(11);
  const std::string letters = "%%%%sduxfeg0123456789:-.č ";
  for (int round = 0; round < 50000; ++round) {
    std::string pattern;
    for (auto count = random() % 10; count > 0; --count) {
      pattern += letters[random() % letters.size()];
    }
    try {
      Format(pattern, "čšž", -5, 2.5);
    } catch (const EConvertError& e) {
      ASSERT_NE(e.Message().find("'" + pattern + "'"), std::string::npos);
    }
  }
}

}  // namespace
}  // namespace perlayer

#include "perlayer/corekit/TIValidInfo.h"

#include <gtest/gtest.h>

#include <random>

#include "perlayer/platform/Exception.h"

namespace perlayer {
namespace {

TEST(TIValidInfo, TheEightPositionsHold) {
  const TIValInfoRec info = {"S", "Kraj bivanja", 40, true, "KRAJI"};
  EXPECT_EQ(ValidInfo2ValidString(info), "S\tKraj bivanja\t40\t*\tKRAJI\t\t \t");
  EXPECT_EQ(ValidInfo2ValidString({}), "\t\t0\t \t\t\t \t");
  EXPECT_EQ(ValidString2ValidInfo("MS\tSpol\t 1 \t \tSPO \t\t \t"),
            (TIValInfoRec{"MS", "Spol", 1, false, "SPO"}));
  EXPECT_EQ(ValidString2ValidInfo(""), TIValInfoRec());
  EXPECT_EQ(ValidString2ValidInfo("\tIme"), (TIValInfoRec{"", "Ime", 0, false, ""}));
  EXPECT_EQ(ValidString2ValidInfo("\tIme\t5\t*\tX\ta\tb\tc\td\te").codeList, "X");
}

TEST(TIValidInfo, ASizeThatIsNoNumberRaisesAndTheComponentKeepsWhatItHad) {
  const auto component = Make<TIValidInfo>();
  component->ValidString("\tIme\t5");
  for (const char* size : {"x", "5x", "-1", "99999999999", "1.5"}) {
    EXPECT_THROW(component->ValidString(std::string("\tPriimek\t") + size), EConvertError) << size;
  }
  EXPECT_EQ(component->Info().displayLabel, "Ime");
}

TEST(TIValidInfo, TheKindFollowsFromTheCodeList) {
  EXPECT_EQ(ValidKindOfCodeList("  "), "");
  EXPECT_EQ(ValidKindOfCodeList("SPO"), "MS");
  EXPECT_EQ(ValidKindOfCodeList(" ŠČŽ "), "MS") << "characters count, not bytes";
  EXPECT_EQ(ValidKindOfCodeList("KRAJI"), "S");
  EXPECT_EQ(ValidKindOfCodeList("AB"), "S");
}

TEST(TIValidInfo, AnyRecordReadsBackAsItself) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  const auto text = [&](bool inside) {
    static const char* const kPieces[] = {"a", "Č", "*", "\t", "\n", " ", "%s", "7"};
    std::string result;
    for (auto n = random() % 6; n > 0; --n) result += kPieces[random() % 8];
    return inside ? "x" + result + "x" : result;
  };
  for (int i = 0; i < 2000; ++i) {
    const TIValInfoRec info = {random() % 2 ? "S" : "", text(false),
                               static_cast<int>(random() % 5000), random() % 2 == 0, text(true)};
    const TIValInfoRec back = ValidString2ValidInfo(ValidInfo2ValidString(info));
    // Nothing of a text is lost but its control characters, which would move positions.
    const auto blanked = [](std::string s) {
      for (char& c : s) c = c == '\t' || c == '\n' ? ' ' : c;
      return s;
    };
    EXPECT_EQ(back, (TIValInfoRec{info.kind, blanked(info.displayLabel), info.size, info.required,
                                  blanked(info.codeList)}));
    EXPECT_EQ(ValidString2ValidInfo(ValidInfo2ValidString(back)), back);
  }
}

}  // namespace
}  // namespace perlayer

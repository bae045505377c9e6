#include "perlayer/corekit/TIValidInfo.h"

#include <gtest/gtest.h>

#include "perlayer/platform/Exception.h"

namespace perlayer {
namespace {

TEST(TIValidInfo, TheEightPositionsHold) {
  const TIValInfoRec info = {"S", "Kraj bivanja", 40, true, "KRAJI"};
  EXPECT_EQ(ValidInfo2ValidString(info), "S\tKraj bivanja\t40\t*\tKRAJI\t\t \t");
  EXPECT_EQ(ValidString2ValidInfo("MS\tSpol\t 1 \t \tSPO \t\t \t"),
            (TIValInfoRec{"MS", "Spol", 1, false, "SPO"}));
  EXPECT_EQ(ValidInfo2ValidString({"", "a\tb\nč", 0, false, "X\tY"}), "\ta b č\t0\t \tX Y\t\t \t")
      << "a control character would move the positions";
  EXPECT_EQ(ValidString2ValidInfo(""), TIValInfoRec());
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
}

}  // namespace
}  // namespace perlayer

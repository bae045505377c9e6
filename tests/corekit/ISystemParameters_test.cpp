#include "perlayer/corekit/ISystemParameters.h"

#include <gtest/gtest.h>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TClock.h"
#include "support/TempDir.h"

namespace perlayer {
namespace {

std::string LoadFailure(const std::string& text) {
  try {
    ISystemParameters().LoadFromText(text, "app.par");
  } catch (const EConvertError& e) {
    return e.Message();
  }
  return "loaded";
}

TEST(ISystemParameters, NamesAreEqualInAnyCase) {
  ISystemParameters().SetParamValue("Čas", "True");
  EXPECT_EQ(ParamValue("ČAS"), "True");
  EXPECT_EQ(ParamValue("cas"), "");
  ISystemParameters().SetParamValue("čas", "");
  EXPECT_EQ(ParamValue("Čas"), "");
}

TEST(ISystemParameters, AFileSetsAndUnsetsParameters) {
  const TTempDir dir;
  ISystemParameters().SetParamValue("OLD", "stays");
  ISystemParameters().SetParamValue("GONE", "x");
  ISystemParameters().LoadFromFile(
      dir.Write("app.par", "\xEF\xBB\xBF Fixzombie = FALSE \r\n# note\r\n\r\ngone=\nURL=a=b#c"));
  EXPECT_EQ(ParamValue("FIXZOMBIE"), "FALSE");
  EXPECT_EQ(ParamValue("OLD"), "stays");
  EXPECT_EQ(ParamValue("GONE"), "");
  EXPECT_EQ(ParamValue("URL"), "a=b#c");
  EXPECT_THROW(ISystemParameters().LoadFromFile(dir.File("missing")), EStreamError);
  EXPECT_THROW(ISystemParameters().LoadFromFile(dir.Path()), EStreamError);
}

TEST(ISystemParameters, AFaultyTextNamesItsLineAndChangesNothing) {
  EXPECT_EQ(LoadFailure("A=1\n\n# x\nwrong\n"), "app.par:4: expected NAME=VALUE, found \"wrong\"");
  EXPECT_EQ(LoadFailure("A=1\n = 5"), "app.par:2: expected NAME=VALUE, found \"= 5\"");
  EXPECT_EQ(LoadFailure("A=1\nB=2\na=3\n"),
            "app.par:3: expected each name once, found \"a\" again after line 1");
  EXPECT_EQ(ParamValue("A"), "");
}

TEST(ISystemParameters, TheWorkingDateIsTodayUntilItIsSet) {
  auto owned = std::make_unique<TManualClock>(EncodeDate(2023, 1, 27) + 0.99);
  TManualClock* clock = owned.get();
  TClock::Install(std::move(owned));
  EXPECT_EQ(ISystemParameters().GetWorkingDate(), EncodeDate(2023, 1, 27));
  clock->Advance(3600 * 1000);
  EXPECT_EQ(ISystemParameters().GetWorkingDate(), EncodeDate(2023, 1, 28));
  ISystemParameters().SetWorkingDate(EncodeDate(2020, 2, 29) + 0.5);
  EXPECT_EQ(ISystemParameters().GetWorkingDate(), EncodeDate(2020, 2, 29) + 0.5);
  ISystemParameters().ResetWorkingDate();
  EXPECT_EQ(ISystemParameters().GetWorkingDate(), EncodeDate(2023, 1, 28));
}

}  // namespace
}  // namespace perlayer

#include "perlayer/corekit/ISystemParameters.h"

#include <gtest/gtest.h>

#include "perlayer/platform/Exception.h"
#include "support/ManualClock.h"
#include "support/Raised.h"
#include "support/TempDir.h"

namespace perlayer {
namespace {

std::string LoadFailure(const std::string& text) {
  return Raised([&] { ISystemParameters().LoadFromText(text, "app.par"); });
}

TEST(ISystemParameters, AFileSetsAndUnsetsParameters) {
  const TTempDir dir;
  ISystemParameters().SetParamValue("Čas", "stays");
  ISystemParameters().SetParamValue("GONE", "x");
  ISystemParameters().LoadFromFile(
      dir.Write("app.par", "\xEF\xBB\xBF Fixzombie = FALSE \r\n# note\r\n\r\ngone=\nURL=a=b#c"));
  EXPECT_EQ(ParamValue("FIXZOMBIE"), "FALSE");
  EXPECT_EQ(ParamValue("ČAS"), "stays");
  ISystemParameters().SetParamValue("čas", "");
  EXPECT_EQ(ParamValue("Čas"), "");
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
  TManualClock* clock = InstallManualClock(EncodeDate(2023, 1, 27) + 0.99);
  EXPECT_EQ(ISystemParameters().GetWorkingDate(), EncodeDate(2023, 1, 27));
  clock->Advance(3600 * 1000);
  EXPECT_EQ(ISystemParameters().GetWorkingDate(), EncodeDate(2023, 1, 28));
  ISystemParameters().SetWorkingDate(45000.5);
  EXPECT_EQ(ISystemParameters().GetWorkingDate(), 45000.5);
  ISystemParameters().ResetWorkingDate();
  EXPECT_EQ(ISystemParameters().GetWorkingDate(), EncodeDate(2023, 1, 28));
}

}  // namespace
}  // namespace perlayer

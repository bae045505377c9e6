#include "perlayer/foundation/BoMessageDlg.h"

#include <gtest/gtest.h>

#include <sstream>

#include "perlayer/corekit/TConsoleDialogs.h"
#include "perlayer/foundation/FoundationState.h"
#include "perlayer/platform/TApplication.h"
#include "perlayer/reclaim/TIPerLayerSettings.h"
#include "support/TestLog.h"

namespace perlayer {
namespace {

using enum TMsgDlgBtn;
using enum TMsgDlgType;

TEST(BoMessageDlg, WithoutAUserTheAnswerComesAtOnceAndTheTextIsKept) {
  EXPECT_EQ(BoMessageDlg("Brišem 100 % zapisov?", mtConfirmation, {mbYes, mbNo}, mbYes, mbNo),
            mrNo);
  EXPECT_EQ(aiLastBoMessageText(), "Brišem 100 % zapisov?");
  EXPECT_EQ(TestLog().Lines().back(), "BoMessageDlg: Brišem 100 % zapisov? returned 7");
  EXPECT_EQ(BoMessageDlg("Pomoč?", mtWarning, {mbOK}, mbOK, mbHelp), 0)
      << "the help button has no result";
  EXPECT_EQ(BoCustomMessageDlg("Kam?", mtCustom, {"Levo", "Desno"}, 0, 1, 17), 17);
  EXPECT_EQ(TestLog().Lines().back(), "BoMessageDlg: Kam? returned 17");
}

TEST(BoMessageDlg, WithAUserTheDialogIsShownAndNothingElseHappens) {
  std::istringstream in("\n\n");
  std::ostringstream out;
  InstallDialogs(std::make_unique<TConsoleDialogs>(in, out));
  const auto form = Make<TIPerLayerSettings>();  // any object does for a form
  Application()->MainForm(form.Get());
  EXPECT_EQ(BoMessageDlg("Shranim?", mtError, {mbYes, mbNo}, mbNo, mbYes), mrNo);
  EXPECT_EQ(BoCustomMessageDlg("Kam?", mtCustom, {"Levo", "Desno"}, 1, 0, 17), 1);
  EXPECT_EQ(BoCustomMessageDlg("Kam?", mtCustom, {"Levo", "Desno"}, 1, 0, 17), 0)
      << "the end of the input gives no consent";
  EXPECT_NE(out.str().find("Shranim?"), std::string::npos);
  EXPECT_EQ(aiLastBoMessageText(), "");
  EXPECT_TRUE(TestLog().Lines().empty());
  PerLayerSettings()->SetUIExists(false);
  EXPECT_EQ(BoMessageDlg("Shranim?", mtError, {mbYes, mbNo}, mbNo, mbYes), mrYes)
      << "the setting goes before the form";
}

}  // namespace
}  // namespace perlayer

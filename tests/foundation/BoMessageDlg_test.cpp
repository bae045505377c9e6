#include "perlayer/foundation/BoMessageDlg.h"

#include <gtest/gtest.h>

#include "perlayer/corekit/ISystemParameters.h"
#include "perlayer/foundation/FoundationState.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TApplication.h"
#include "perlayer/platform/TClock.h"
#include "perlayer/reclaim/TIPerLayerSettings.h"
#include "support/TestLog.h"

namespace perlayer {
namespace {

using enum TMsgDlgBtn;
using enum TMsgDlgType;

// Answers 40 for a message and 50 for a custom one, and keeps what it was asked.
class TRecorder : public TDialogFrontEnd {
 public:
  int Show(const std::string& text, TMsgDlgType type, TMsgDlgButtons buttons,
           TMsgDlgBtn defaultButton) override {
    Asked = text + "|" + std::to_string(static_cast<int>(type)) + "|" +
            std::to_string(buttons.mask()) + "|" + std::to_string(static_cast<int>(defaultButton));
    return 40;
  }
  int ShowCustom(const std::string& text, TMsgDlgType type,
                 const std::vector<std::string>& captions, int defaultPosition,
                 int cancelPosition) override {
    Asked = text + "|" + std::to_string(static_cast<int>(type)) + "|" + captions.at(0) +
            captions.at(1) + "|" + std::to_string(defaultPosition) + "|" +
            std::to_string(cancelPosition);
    return 50;
  }
  static inline std::string Asked;
};

TEST(BoMessageDlg, WithoutAUserTheAnswerComesAtOnceAndTheTextIsKept) {
  EXPECT_EQ(aiLastBoMessageText(), "");
  EXPECT_EQ(BoMessageDlg("Brišem 100 % zapisov?", mtConfirmation, {mbYes, mbNo}, mbYes, mbNo),
            mrNo);
  EXPECT_EQ(aiLastBoMessageText(), "Brišem 100 % zapisov?");
  EXPECT_EQ(TestLog().Lines().back(), "BoMessageDlg: Brišem 100 % zapisov? returned 7");
  EXPECT_EQ(BoMessageDlg("Pomoč?", mtWarning, {mbOK}, mbOK, mbHelp), 0)
      << "the help button has no result";
  EXPECT_EQ(BoCustomMessageDlg("Kam?", mtCustom, {"Levo", "Desno"}, 0, 1, 17), 17);
  EXPECT_EQ(aiLastBoMessageText(), "Kam?");
  EXPECT_EQ(TestLog().Lines().back(), "BoMessageDlg: Kam? returned 17");
}

TEST(BoMessageDlg, WithAUserTheDialogIsShownAndNothingElseHappens) {
  InstallDialogs(std::make_unique<TRecorder>());
  const auto form = Make<TIPerLayerSettings>();  // any object does for a form
  Application()->MainForm(form.Get());
  EXPECT_EQ(BoMessageDlg("Shranim?", mtError, {mbYes, mbNo}, mbNo, mbYes), 40);
  EXPECT_EQ(TRecorder::Asked, "Shranim?|1|3|1");
  EXPECT_EQ(BoCustomMessageDlg("Kam?", mtCustom, {"Levo", "Desno"}, 1, 0, 17), 50);
  EXPECT_EQ(TRecorder::Asked, "Kam?|4|LevoDesno|1|0");
  EXPECT_EQ(aiLastBoMessageText(), "");
  EXPECT_TRUE(TestLog().Lines().empty());
  PerLayerSettings()->SetUIExists(false);
  EXPECT_EQ(BoMessageDlg("Shranim?", mtError, {mbYes, mbNo}, mbNo, mbYes), mrYes)
      << "the setting goes before the form";
}

class TNoted : public TObject {
  TCLASS(TNoted, TObject)
 public:
  void Create(std::string& trace, char mark) {
    FTrace = &trace;
    FMark = mark;
  }
  void Destroy() override {
    *FTrace += FMark;
    TObject::Destroy();
  }

 private:
  std::string* FTrace = nullptr;
  char FMark = ' ';
};

TEST(BoMessageDlg, HelpersDoWhatTheySay) {
  std::string trace;
  FreeObjects({New<TNoted>(trace, 'a'), nullptr, New<TNoted>(trace, 'b')});
  EXPECT_EQ(trace, "ab");
  try {
    NotImplemented("TplX.Do");
  } catch (const Exception& e) {
    EXPECT_STREQ(e.what(), "Not implemented yet: TplX.Do");
  }
  TClock::Install(std::make_unique<TManualClock>(45000.75));
  EXPECT_EQ(IWorkingDate(), 45000.0);
  ISystemParameters().SetWorkingDate(44000.0);
  EXPECT_EQ(IWorkingDate(), 44000.0);
}

}  // namespace
}  // namespace perlayer

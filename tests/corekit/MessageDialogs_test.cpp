#include "perlayer/corekit/MessageDialogs.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "perlayer/corekit/TConsoleDialogs.h"
#include "perlayer/platform/Exception.h"

namespace perlayer {
namespace {

using enum TMsgDlgBtn;
using enum TMsgDlgType;

class MessageDialogs : public testing::Test {
 protected:
  void Type(const std::string& input) {
    FIn = std::istringstream(input);
    FOut = std::ostringstream();
    InstallDialogs(std::make_unique<TConsoleDialogs>(FIn, FOut));
  }
  int Ask(const std::string& input, TMsgDlgButtons buttons, TMsgDlgBtn defaultButton) {
    Type(input);
    return IMessageDlgDefault("Shranim?", mtConfirmation, buttons, defaultButton);
  }
  int AskCustom(const std::string& input, int defaultPosition, int cancelPosition) {
    Type(input);
    return IcustomMessageDlg("Kam?", mtCustom, {"Levo", "Čisto desno"}, defaultPosition,
                             cancelPosition);
  }

  std::istringstream FIn;
  std::ostringstream FOut;
};

TEST_F(MessageDialogs, TheConsoleTakesNumbersCaptionsAndTheDefault) {
  EXPECT_EQ(ModalResultName(ModalResultOf(mbYesToAll)), "mrYesToAll");
  const TMsgDlgButtons buttons = {mbYes, mbNo, mbCancel, mbHelp};
  EXPECT_EQ(Ask("1\n", buttons, mbNo), mrYes);
  EXPECT_EQ(FOut.str(), "Potrditev: Shranim?\n1) Da  2) Ne  3) Prekliči [2]: ");
  EXPECT_EQ(Ask(" NE \r\n", buttons, mbYes), mrNo);
  EXPECT_EQ(Ask("\n", buttons, mbNo), mrNo);
  EXPECT_EQ(Ask("\n", buttons, mbRetry), mrYes) << "a default that is not shown is the first";
  EXPECT_EQ(Ask("4\n0\nmogoče\nda\n", buttons, mbNo), mrYes);
  EXPECT_NE(FOut.str().find("Neveljaven odgovor: mogoče\n"), std::string::npos);
  EXPECT_EQ(AskCustom("ČISTO desno\n", 0, -1), 1);
  EXPECT_EQ(FOut.str(), "Kam?\n1) Levo  2) Čisto desno [1]: ");
}

TEST_F(MessageDialogs, TheEndOfInputLeavesTheDialogWithoutConsent) {
  EXPECT_EQ(Ask("", {mbYes, mbNo, mbCancel}, mbYes), mrCancel);
  EXPECT_EQ(Ask("perhaps", {mbYes, mbNo}, mbYes), mrNo);
  EXPECT_EQ(Ask("", {mbAbort, mbRetry, mbIgnore}, mbRetry), mrAbort);
  EXPECT_EQ(AskCustom("", 0, 1), 1);
  EXPECT_EQ(AskCustom("", 0, -1), -1);
}

TEST_F(MessageDialogs, ADialogThatCannotBeAnsweredRaises) {
  EXPECT_THROW(IMessageDlgDefault("?", mtError, {mbOK}, mbOK), Exception);
  EXPECT_THROW(Ask("", {mbHelp}, mbHelp), Exception);
  EXPECT_THROW(AskCustom("1\n", 2, 0), Exception);
  EXPECT_THROW(IcustomMessageDlg("?", mtError, {}, 0, 0), Exception);
}

}  // namespace
}  // namespace perlayer

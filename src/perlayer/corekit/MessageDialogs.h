#pragma once
// Message dialogs: kinds, buttons, answers, and the front end that shows them. Main thread only.

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "perlayer/platform/TEnumSet.h"

namespace perlayer {

enum class TMsgDlgType { mtWarning, mtError, mtInformation, mtConfirmation, mtCustom };

enum class TMsgDlgBtn {
  mbYes,
  mbNo,
  mbOK,
  mbCancel,
  mbAbort,
  mbRetry,
  mbIgnore,
  mbAll,
  mbNoToAll,
  mbYesToAll,
  mbHelp,
  mbClose
};
using TMsgDlgButtons = TEnumSet<TMsgDlgBtn>;

// What a dialog answers. The numbers are fixed: they stand in logs.
enum TModalResult : int {
  mrNone = 0,  // no answer
  mrOk = 1,
  mrCancel = 2,
  mrAbort = 3,
  mrRetry = 4,
  mrIgnore = 5,
  mrYes = 6,
  mrNo = 7,
  mrClose = 8,
  mrHelp = 9,
  mrAll = 10,
  mrNoToAll = 11,
  mrYesToAll = 12
};

// The answer that the button gives. 0 for the help button, which leaves the dialog open.
int ModalResultOf(TMsgDlgBtn button);
// "mrYes"; empty for a number that is no modal result.
std::string_view ModalResultName(int result);

// Shows dialogs and waits for the answer. Positions of captions count from 0.
class TDialogFrontEnd {
 public:
  virtual ~TDialogFrontEnd() = default;
  // Answers the modal result of the chosen button.
  virtual int Show(const std::string& text, TMsgDlgType type, TMsgDlgButtons buttons,
                   TMsgDlgBtn defaultButton) = 0;
  // Answers the position of the chosen caption; `cancelPosition` when the dialog was left without
  // choosing. `cancelPosition` is -1 where no caption means that.
  virtual int ShowCustom(const std::string& text, TMsgDlgType type,
                         const std::vector<std::string>& captions, int defaultPosition,
                         int cancelPosition) = 0;
};

// The layer keeps the front end; nullptr takes it away. Returns the one that was installed before.
std::unique_ptr<TDialogFrontEnd> InstallDialogs(std::unique_ptr<TDialogFrontEnd> frontEnd);

// Show a dialog in the installed front end. Raise Exception when there is none, when there is
// nothing to choose from, or when a position lies outside the captions.
int IMessageDlgDefault(const std::string& text, TMsgDlgType type, TMsgDlgButtons buttons,
                       TMsgDlgBtn defaultButton);
int IcustomMessageDlg(const std::string& text, TMsgDlgType type,
                      const std::vector<std::string>& captions, int defaultPosition,
                      int cancelPosition);

}  // namespace perlayer

#include "perlayer/corekit/MessageDialogs.h"

#include <array>
#include <cstddef>
#include <utility>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TLayer.h"

namespace perlayer {

namespace {

// In the order of TMsgDlgBtn.
constexpr std::array<int, 12> kResults = {mrYes,    mrNo,  mrOk,      mrCancel,   mrAbort, mrRetry,
                                          mrIgnore, mrAll, mrNoToAll, mrYesToAll, mrNone,  mrClose};

// In the order of TModalResult.
constexpr std::array<std::string_view, 13> kNames = {
    "mrNone", "mrOk",    "mrCancel", "mrAbort", "mrRetry",   "mrIgnore",  "mrYes",
    "mrNo",   "mrClose", "mrHelp",   "mrAll",   "mrNoToAll", "mrYesToAll"};

struct TDialogsPart {
  std::unique_ptr<TDialogFrontEnd> frontEnd;
};

TDialogsPart& Dialogs() { return TLayer::Part<TDialogsPart>(TLayerPart::dialogs); }

TDialogFrontEnd& FrontEnd(const char* caller) {
  TDialogsPart& dialogs = Dialogs();
  if (dialogs.frontEnd == nullptr) {
    throw Exception(std::string(caller) + ": no front end for message dialogs is installed");
  }
  return *dialogs.frontEnd;
}

}  // namespace

int ModalResultOf(TMsgDlgBtn button) { return kResults.at(static_cast<std::size_t>(button)); }

std::string_view ModalResultName(int result) {
  return result >= 0 && static_cast<std::size_t>(result) < kNames.size()
             ? kNames[static_cast<std::size_t>(result)]
             : std::string_view();
}

std::unique_ptr<TDialogFrontEnd> InstallDialogs(std::unique_ptr<TDialogFrontEnd> frontEnd) {
  return std::exchange(Dialogs().frontEnd, std::move(frontEnd));
}

int IMessageDlgDefault(const std::string& text, TMsgDlgType type, TMsgDlgButtons buttons,
                       TMsgDlgBtn defaultButton) {
  TDialogFrontEnd& frontEnd = FrontEnd("IMessageDlgDefault");
  if ((buttons - TMsgDlgBtn::mbHelp).empty()) {
    throw Exception("IMessageDlgDefault: the dialog has no button to answer with");
  }
  return frontEnd.Show(text, type, buttons, defaultButton);
}

int IcustomMessageDlg(const std::string& text, TMsgDlgType type,
                      const std::vector<std::string>& captions, int defaultPosition,
                      int cancelPosition) {
  TDialogFrontEnd& frontEnd = FrontEnd("IcustomMessageDlg");
  const int count = static_cast<int>(captions.size());
  if (count == 0) throw Exception("IcustomMessageDlg: the dialog has no button to answer with");
  if (defaultPosition < 0 || defaultPosition >= count || cancelPosition < -1 ||
      cancelPosition >= count) {
    throw Exception("IcustomMessageDlg: position " +
                    std::to_string(defaultPosition < 0 || defaultPosition >= count
                                       ? defaultPosition
                                       : cancelPosition) +
                    " is outside the " + std::to_string(count) + " captions");
  }
  return frontEnd.ShowCustom(text, type, captions, defaultPosition, cancelPosition);
}

}  // namespace perlayer

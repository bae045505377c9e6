#pragma once
// TConsoleDialogs: message dialogs on a pair of text streams. Choices are numbered from 1; the
// answer is a number or a caption in any case, an empty line means the default. Where the input
// ends the dialog counts as left: cancel, else no, close or abort, else the default.

#include <iosfwd>
#include <string>
#include <vector>

#include "perlayer/corekit/MessageDialogs.h"

namespace perlayer {

class TConsoleDialogs : public TDialogFrontEnd {
 public:
  // The streams are the caller's and outlive the front end.
  TConsoleDialogs(std::istream& in, std::ostream& out) : FIn(in), FOut(out) {}

  int Show(const std::string& text, TMsgDlgType type, TMsgDlgButtons buttons,
           TMsgDlgBtn defaultButton) override;
  int ShowCustom(const std::string& text, TMsgDlgType type,
                 const std::vector<std::string>& captions, int defaultPosition,
                 int cancelPosition) override;

 private:
  std::istream& FIn;
  std::ostream& FOut;
};

}  // namespace perlayer

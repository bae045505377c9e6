#pragma once
// The only way the layer talks to a user, with or without a user interface, and small helpers that
// everybody in the layer uses. Main thread only.

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "perlayer/corekit/MessageDialogs.h"
#include "perlayer/platform/TDateTime.h"

namespace perlayer {

class TObject;

// Shows the message and returns the modal result. Without a user interface it returns at once, with
// the modal result of AButtonWithoutUI (0 if that has none); the text is then in
// aiLastBoMessageText() and in the log.
int BoMessageDlg(const std::string& AText, TMsgDlgType AType, TMsgDlgButtons AButtons,
                 TMsgDlgBtn ADefault, TMsgDlgBtn AButtonWithoutUI);
// The same with captions of one's own; AResultWithoutUI is the answer without a user interface.
int BoCustomMessageDlg(const std::string& AText, TMsgDlgType AType,
                       const std::vector<std::string>& ACaptions, int ADefault, int ACancel,
                       int AResultWithoutUI);

// Frees each that is not nullptr, in order.
void FreeObjects(std::initializer_list<TObject*> AObjects);
// Raises "Not implemented yet: %s".
[[noreturn]] void NotImplemented(std::string_view AWhat);
// The working date of the system parameters.
TDateTime IWorkingDate();

}  // namespace perlayer

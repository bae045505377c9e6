#include "perlayer/foundation/BoMessageDlg.h"

#include "perlayer/corekit/ILog.h"
#include "perlayer/corekit/ISystemParameters.h"
#include "perlayer/foundation/FoundationState.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TObject.h"
#include "perlayer/reclaim/TIPerLayerSettings.h"

namespace perlayer {

namespace {
int AnswerWithoutUI(const std::string& text, int result) {
  FoundationState().lastBoMessageText = text;
  ILog(Format("BoMessageDlg: %s returned %d", text, result));
  return result;
}
}  // namespace

int BoMessageDlg(const std::string& AText, TMsgDlgType AType, TMsgDlgButtons AButtons,
                 TMsgDlgBtn ADefault, TMsgDlgBtn AButtonWithoutUI) {
  if (PerLayerSettings()->aiUIExists()) return IMessageDlgDefault(AText, AType, AButtons, ADefault);
  return AnswerWithoutUI(AText, ModalResultOf(AButtonWithoutUI));
}

int BoCustomMessageDlg(const std::string& AText, TMsgDlgType AType,
                       const std::vector<std::string>& ACaptions, int ADefault, int ACancel,
                       int AResultWithoutUI) {
  if (PerLayerSettings()->aiUIExists()) {
    return IcustomMessageDlg(AText, AType, ACaptions, ADefault, ACancel);
  }
  return AnswerWithoutUI(AText, AResultWithoutUI);
}

void FreeObjects(std::initializer_list<TObject*> AObjects) {
  for (TObject* object : AObjects) {
    if (object != nullptr) object->Free();
  }
}

void NotImplemented(std::string_view AWhat) {
  throw Exception(Format("Not implemented yet: %s", AWhat));
}

TDateTime IWorkingDate() { return ISystemParameters().GetWorkingDate(); }

}  // namespace perlayer

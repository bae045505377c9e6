#include "WardBoard.h"

#include "perlayer/platform/Format.h"
#include "perlayer/platform/TApplication.h"

namespace ward {

void TWardBoard::DoNotifyAction(TplDomainObject* Sender, TIBaseObjectAction ActionType,
                                TObject* Data, TINotifiedObjectList* AVisitedObjectList) {
  FNarrator->Answer(
      Format("%s hears %s of %s", FName, BaseObjectActionName(ActionType), Sender->GetHint()));
  TplDomainNotifier::DoNotifyAction(Sender, ActionType, Data, AVisitedObjectList);
}

THold<TWardBoard> TWardBoard::Make(TNarrator& narrator, const std::string& name) {
  auto* const board = New<TWardBoard>(&narrator, name, Application());
  THold<TWardBoard> hold(board);
  board->Release(Application());
  return hold;
}

}  // namespace ward

#pragma once
// TWardBoard: a listener for the tour. It holds objects, tells each notification that reaches it,
// and passes it on to whoever holds the board.

#include <string>

#include "Narrator.h"
#include "perlayer/foundation/TplDomainNotifier.h"
#include "perlayer/object/THold.h"

namespace ward {

class TWardBoard : public TplDomainNotifier {
  TCLASS(TWardBoard, TplDomainNotifier)
 public:
  using TplDomainNotifier::Create;
  // The narrator is not owned and outlives the board.
  void Create(TNarrator* ANarrator, const std::string& AName, TObject* ARetainer) {
    TplDomainNotifier::Create(nullptr, ARetainer);
    FNarrator = ANarrator;
    FName = AName;
  }
  std::string GetHint() override { return FName; }
  void DoNotifyAction(TplDomainObject* Sender, TIBaseObjectAction ActionType, TObject* Data,
                      TINotifiedObjectList* AVisitedObjectList) override;

  static THold<TWardBoard> Make(TNarrator& narrator, const std::string& name);

 private:
  TNarrator* FNarrator = nullptr;
  std::string FName;
};

}  // namespace ward

#include "perlayer/reclaim/TIPerLayerStatistics.h"

#include "perlayer/corekit/ILog.h"
#include "perlayer/corekit/TIString.h"
#include "perlayer/platform/Format.h"

namespace perlayer {

void TNotifyEventList::AddEvent(const TNotifyEvent& AEvent) {
  for (int i = 0; i < Count(); ++i) {
    if (static_cast<TNotifyEventListItem*>(Items(i))->NotifyEvent().SameCode(AEvent)) return;
  }
  Add(New<TNotifyEventListItem>(AEvent));
}

void TNotifyEventList::Execute(TObject* Sender) {
  const TAlive alive(this);
  for (int i = 0; alive && i < Count(); ++i) {
    try {
      // A copy: the event may take its own item out of the list.
      const TNotifyEvent event = static_cast<TNotifyEventListItem*>(Items(i))->NotifyEvent();
      if (event) event(Sender);
    } catch (const std::exception& e) {
      ILog(Format("TNotifyEventList.Execute: %s", e.what()));
    }
  }
}

void TIPerLayerStatistics::Destroy() {
  FreeAndNil(FOnFinalizeEventList);
  TObject::Destroy();
}

void TIPerLayerStatistics::Message(const std::string& AText) {
  if (!FOnShowProgress) return;
  const TOwned<TIString> text = Make<TIString>(AText);
  FOnShowProgress(text.Get());
}

void TIPerLayerStatistics::BeforeDestroyingProviders() {
  if (FBeforeDestroyingProviders) FBeforeDestroyingProviders(this);
}

void TIPerLayerStatistics::AddFinalizeEvent(const TNotifyEvent& AEvent) {
  if (FOnFinalizeEventList == nullptr) FOnFinalizeEventList = New<TNotifyEventList>();
  FOnFinalizeEventList->AddEvent(AEvent);
}

void TIPerLayerStatistics::ExecuteFinalizeEvents() {
  if (FOnFinalizeEventList != nullptr) FOnFinalizeEventList->Execute(this);
}

}  // namespace perlayer

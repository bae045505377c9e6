#include "perlayer/reclaim/TIPerLayerStatistics.h"

#include "perlayer/corekit/ILog.h"
#include "perlayer/corekit/TIString.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TClock.h"

namespace perlayer {

namespace {
double MonitorWeight(TDateTime duration) {
  const TTimeParts parts = DecodeTime(duration);
  return parts.millisecond + parts.second * 100.0 + parts.minute * 6000.0;  // hours are lost
}
}  // namespace

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

void TIPerLayerStatistics::StartTiming(TIPerLayerStatisticsStartTimingType AType) {
  if (FEnableEvents && FOnStartTransfer) FOnStartTransfer(this, AType);
  FTime = Time();
}

void TIPerLayerStatistics::StopTiming() {
  TDateTime duration = Time() - FTime;
  if (duration < 0) duration += 1;  // past midnight
  if (duration >= FMaxFindTime) FMaxFindTime = duration;
  FTimeSum += duration;
  ++FNumTimes;
  if (FEnableEvents && FOnStopTransfer) FOnStopTransfer(this);
}

double TIPerLayerStatistics::aiMaxFindTime() const { return MonitorWeight(FMaxFindTime); }

double TIPerLayerStatistics::aiAverageFindTime() const {
  return FNumTimes == 0 ? 0 : MonitorWeight(FTimeSum) / FNumTimes;
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

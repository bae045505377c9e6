#pragma once
// TIPerLayerStatistics: timings, and the events by which an application's monitors follow the
// layer, reached through PerLayerStatistics(). Main thread only.

#include <cstdint>
#include <string>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TDelegate.h"
#include "perlayer/platform/TLayer.h"
#include "perlayer/platform/TList.h"
#include "perlayer/reclaim/TFindTimes.h"

namespace perlayer {

class TPlBaseObject;

// What happened to the references of an object.
enum class TIReferenceEventType : std::uint8_t { reCreate, reAddRef, reRelease };

enum class TIPerLayerStatisticsStartTimingType : std::uint8_t { ttOpen, ttSave, ttDictionary };

// `Other` is the retainer.
using TIPerLayerRefereceCountChangedNotifyEvent =
    TDelegate<void(TPlBaseObject* AObject, TIReferenceEventType AType, TObject* AOther)>;
using TIPerLayerStatisticsStartEvent =
    TDelegate<void(TObject* Sender, TIPerLayerStatisticsStartTimingType AType)>;

class TNotifyEventListItem : public TObject {
  TCLASS(TNotifyEventListItem, TObject)
 public:
  void Create(TNotifyEvent AEvent) { FNotifyEvent = std::move(AEvent); }
  const TNotifyEvent& NotifyEvent() const { return FNotifyEvent; }

 private:
  TNotifyEvent FNotifyEvent;
};

// Events to run one after the other. Owns its items.
class TNotifyEventList : public TObjectList {
  TCLASS(TNotifyEventList, TObjectList)
 public:
  using TObjectList::Create;
  // Adds the event unless one with the same code is there, on whatever instance.
  void AddEvent(const TNotifyEvent& AEvent);
  // Runs all in order with `Sender`. One that raises is told in the log, and the next one runs.
  void Execute(TObject* Sender);
};

class TIPerLayerStatistics : public TObject {
  TCLASS(TIPerLayerStatistics, TObject)
 public:
  void Destroy() override;

  // Around an access to the database or the dictionary. They do not nest: the inner start counts.
  void StartTiming(TIPerLayerStatisticsStartTimingType AType) {
    TellStart(AType);
    FTimes.Start();
  }
  void StopTiming() {
    FTimes.Stop();
    TellStop();
  }
  // Runs `body` between the two; its answer is passed on.
  template <class TBody>
  auto Timed(TIPerLayerStatisticsStartTimingType AType, TBody&& body) {
    StartTiming(AType);
    return TryFinally(body, [&] { StopTiming(); });
  }
  // The same for what another counter times as well: both go by one reading of the clock.
  template <class TBody>
  auto Timed(TIPerLayerStatisticsStartTimingType AType, TFindTimes& AOther, TBody&& body) {
    TellStart(AType);
    const std::int64_t start = TFindTimes::Ticks();
    FTimes.Start(start);
    AOther.Start(start);
    return TryFinally(body, [&] {
      const std::int64_t end = TFindTimes::Ticks();
      AOther.Stop(end);
      FTimes.Stop(end);
      TellStop();
    });
  }
  void ReferenceEvent(TPlBaseObject* AObject, TIReferenceEventType AType, TObject* AOther) {
    if (FEnableEvents && FOnRefChangedEvent) FOnRefChangedEvent(AObject, AType, AOther);
  }
  // Shows a text to the application's monitor: its event gets a TIString for the call.
  void Message(const std::string& AText);
  void BeforeDestroyingProviders();
  void AddFinalizeEvent(const TNotifyEvent& AEvent);
  void ExecuteFinalizeEvents();

  // The longest timing and the average, in the weights of TFindTimes.
  double aiMaxFindTime() const { return FTimes.Max(); }
  double aiAverageFindTime() const { return FTimes.Average(); }

  bool aiEnableEvents() const { return FEnableEvents; }
  void aiEnableEvents(bool enable) { FEnableEvents = enable; }
  const TIPerLayerRefereceCountChangedNotifyEvent& aiOnRefChangedEvent() const {
    return FOnRefChangedEvent;
  }
  void aiOnRefChangedEvent(TIPerLayerRefereceCountChangedNotifyEvent event) {
    FOnRefChangedEvent = std::move(event);
  }
  const TIPerLayerStatisticsStartEvent& aiOnStartTransfer() const { return FOnStartTransfer; }
  void aiOnStartTransfer(TIPerLayerStatisticsStartEvent event) {
    FOnStartTransfer = std::move(event);
  }
  const TNotifyEvent& aiOnStopTransfer() const { return FOnStopTransfer; }
  void aiOnStopTransfer(TNotifyEvent event) { FOnStopTransfer = std::move(event); }
  const TNotifyEvent& aiOnShowProgresEvent() const { return FOnShowProgress; }
  void aiOnShowProgresEvent(TNotifyEvent event) { FOnShowProgress = std::move(event); }
  const TNotifyEvent& aiBeforeDestroyingProviders() const { return FBeforeDestroyingProviders; }
  void aiBeforeDestroyingProviders(TNotifyEvent event) {
    FBeforeDestroyingProviders = std::move(event);
  }

 private:
  void TellStart(TIPerLayerStatisticsStartTimingType AType) {
    if (FEnableEvents && FOnStartTransfer) FOnStartTransfer(this, AType);
  }
  void TellStop() {
    if (FEnableEvents && FOnStopTransfer) FOnStopTransfer(this);
  }

  TFindTimes FTimes;
  TIPerLayerRefereceCountChangedNotifyEvent FOnRefChangedEvent;
  TIPerLayerStatisticsStartEvent FOnStartTransfer;
  TNotifyEvent FOnStopTransfer;
  bool FEnableEvents = true;
  TNotifyEvent FOnShowProgress;
  TNotifyEvent FBeforeDestroyingProviders;
  TNotifyEventList* FOnFinalizeEventList = nullptr;  // owned
};

// The one instance, made on first call.
inline TIPerLayerStatistics* PerLayerStatistics() {
  return TLayer::ObjectPart<TIPerLayerStatistics>(TLayerPart::statistics);
}

}  // namespace perlayer

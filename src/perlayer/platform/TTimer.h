#pragma once
// TTimer: calls back on the main thread, again and again. It ticks from Application()->Turn(), that
// is while the main loop runs or somebody calls ProcessMessages.
//
// Ticks that could not be made in time are made as one. While a handler runs its own timer does not
// tick, even if the handler processes messages. What escapes the handler goes to
// Application()->HandleException, and the timer goes on. The handler may change or free the timer.
//
// Main thread only; making one elsewhere raises EAssertionFailed.

#include <cstdint>

#include "perlayer/platform/TDelegate.h"
#include "perlayer/platform/TObject.h"
#include "perlayer/platform/ThreadAnnotations.h"

namespace perlayer {

class TTimerQueue;

class TTimer : public TObject {
  TCLASS(TTimer, TObject)
 public:
  void Create();
  void Destroy() override;

  // A changed interval, a change to enabled, and each setting of the event start the time anew.
  int Interval() const { return FInterval; }       // milliseconds, 1000 at first; 0: no ticks
  void Interval(int milliseconds) PL_MAIN_THREAD;  // raises EAssertionFailed below 0
  bool Enabled() const { return FEnabled; }        // true at first
  void Enabled(bool enabled) PL_MAIN_THREAD;
  const TNotifyEvent& OnTimer() const { return FOnTimer; }
  void OnTimer(TNotifyEvent event) PL_MAIN_THREAD;

 private:
  friend class TTimerQueue;
  bool Ticks() const { return FEnabled && FInterval > 0 && FOnTimer; }
  void Restart();

  TTimerQueue* FQueue = nullptr;  // the application's; nullptr once that has ended
  int FInterval = 1000;
  bool FEnabled = true;
  TNotifyEvent FOnTimer;
  // Kept by the queue.
  std::int64_t FDue = 0;
  std::uint64_t FOrder = 0;  // tells apart what is due at the same time: who waits longer is first
  bool FQueued = false;
  bool FRunning = false;    // its handler is being called
  bool FRestarted = false;  // and has started the time anew
};

}  // namespace perlayer

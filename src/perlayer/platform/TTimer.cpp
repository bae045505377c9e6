#include "perlayer/platform/TTimer.h"

#include <utility>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TApplication.h"
#include "perlayer/platform/TLayer.h"
#include "perlayer/platform/TTimerQueue.h"

namespace perlayer {

void TTimer::Create() {
  Assert(TLayer::IsMainThread(), "TTimer: made on another than the main thread");
  Application()->Timers().Attach(*this);
}

void TTimer::Destroy() {
  if (FQueue != nullptr) FQueue->Detach(*this);
  TObject::Destroy();
}

void TTimer::Interval(int milliseconds) {
  Assert(milliseconds >= 0, "TTimer: an interval is not negative");
  if (std::exchange(FInterval, milliseconds) != milliseconds) Restart();
}

void TTimer::Enabled(bool enabled) {
  if (std::exchange(FEnabled, enabled) != enabled) Restart();
}

void TTimer::OnTimer(TNotifyEvent event) {
  FOnTimer = std::move(event);
  Restart();
}

void TTimer::Restart() {
  if (FQueue != nullptr) FQueue->Restart(*this);
}

}  // namespace perlayer

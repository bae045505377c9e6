#include "perlayer/platform/TTimerQueue.h"

#include <utility>

#include "perlayer/platform/TApplication.h"
#include "perlayer/platform/TClock.h"
#include "perlayer/platform/TTimer.h"

namespace perlayer {

bool TTimerQueue::TDueFirst::operator()(const TTimer* a, const TTimer* b) const {
  return a->FDue != b->FDue ? a->FDue < b->FDue : a->FOrder < b->FOrder;
}

TTimerQueue::~TTimerQueue() {
  for (TTimer* timer : FTimers) timer->FQueue = nullptr;
}

void TTimerQueue::Attach(TTimer& timer) {
  FTimers.insert(&timer);
  timer.FQueue = this;
}

void TTimerQueue::Detach(TTimer& timer) noexcept {
  Remove(timer);
  FTimers.erase(&timer);
  timer.FQueue = nullptr;
}

void TTimerQueue::Restart(TTimer& timer) {
  timer.FRestarted = true;
  if (timer.FRunning) return;
  Remove(timer);
  if (!timer.Ticks()) return;
  SetDue(timer, TClock::Current().Ticks() + timer.FInterval);
  FDue.insert(&timer);
  timer.FQueued = true;
}

bool TTimerQueue::RunDue() {
  const std::int64_t now = TClock::Current().Ticks();
  bool ran = false;
  // Whoever has run is due later than `now`, so this comes to an end.
  while (!FDue.empty() && (*FDue.begin())->FDue <= now) {
    Run(**FDue.begin());
    ran = true;
  }
  return ran;
}

std::optional<std::int64_t> TTimerQueue::NextDue() const {
  if (FDue.empty()) return std::nullopt;
  return (*FDue.begin())->FDue;
}

void TTimerQueue::Run(TTimer& timer) {
  auto place = FDue.extract(&timer);  // kept, so that going back in takes no memory
  timer.FQueued = false;
  const TAlive alive(&timer);
  timer.FRunning = true;
  timer.FRestarted = false;
  try {
    const TNotifyEvent event = timer.FOnTimer;
    event(&timer);
  } catch (...) {
    Application()->HandleException(alive ? &timer : nullptr);
  }
  if (!alive) return;
  timer.FRunning = false;
  if (!timer.Ticks()) return;
  const std::int64_t now = TClock::Current().Ticks();
  const std::int64_t next = timer.FDue + timer.FInterval;
  SetDue(timer, timer.FRestarted || next <= now ? now + timer.FInterval : next);
  FDue.insert(std::move(place));
  timer.FQueued = true;
}

void TTimerQueue::SetDue(TTimer& timer, std::int64_t due) {
  timer.FDue = due;
  timer.FOrder = ++FOrders;
}

void TTimerQueue::Remove(TTimer& timer) noexcept {
  if (!timer.FQueued) return;
  FDue.erase(&timer);
  timer.FQueued = false;
}

}  // namespace perlayer

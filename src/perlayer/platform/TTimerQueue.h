#pragma once
// TTimerQueue: the timers of the main thread that tick, by the time of their next tick. Part of
// TApplication. Main thread only.

#include <cstdint>
#include <optional>
#include <set>

namespace perlayer {

class TTimer;

class TTimerQueue {
 public:
  TTimerQueue() = default;
  ~TTimerQueue();  // timers that are left never tick again
  TTimerQueue(const TTimerQueue&) = delete;
  TTimerQueue& operator=(const TTimerQueue&) = delete;

  void Attach(TTimer& timer);
  void Detach(TTimer& timer) noexcept;
  // The timer's settings have changed: its time starts anew, or it ticks no more.
  void Restart(TTimer& timer);

  // Calls the handlers of all timers that are due, each once; whether there was any.
  bool RunDue();
  // When the next tick is due, in ticks of the clock.
  std::optional<std::int64_t> NextDue() const;

 private:
  struct TDueFirst {
    bool operator()(const TTimer* a, const TTimer* b) const;
  };
  void SetDue(TTimer& timer, std::int64_t due);  // REQUIRES: it is not in FDue
  void Remove(TTimer& timer) noexcept;
  void Run(TTimer& timer);

  std::set<TTimer*> FTimers;          // all; not owned
  std::set<TTimer*, TDueFirst> FDue;  // those that tick and whose handler is not running
  std::uint64_t FOrders = 0;
};

}  // namespace perlayer

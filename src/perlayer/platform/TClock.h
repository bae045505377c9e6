#pragma once
// The clock port: all time that the layer reads or spends comes through here. Tests install a
// TManualClock and move it by hand.
//
// Reading is safe on every thread; installing a clock is the main thread's, before other threads
// run.

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "perlayer/platform/TDateTime.h"

namespace perlayer {

class TSignal;

class TClock {
 public:
  virtual ~TClock() = default;
  // Local date and time.
  virtual TDateTime Now() const = 0;
  // The same at the resolution that costs least (a few milliseconds); for hot paths.
  virtual TDateTime CoarseNow() const { return Now(); }
  // Milliseconds from an arbitrary origin, never going back.
  virtual std::int64_t Ticks() const = 0;
  // The same kind of number, from an origin of its own, at the resolution that costs least.
  virtual std::int64_t CoarseTicks() const { return Ticks(); }
  // Lets at least that many milliseconds of this clock pass.
  virtual void Sleep(std::int64_t milliseconds) = 0;
  // Waits until the signal is set, which it takes, or until that many milliseconds of this clock
  // have passed; below 0 there is no limit. Whether the signal was set.
  virtual bool WaitFor(TSignal& signal, std::int64_t milliseconds) = 0;

  // The installed clock; the system's own until another is installed.
  static TClock& Current();
  // The layer keeps the clock; nullptr brings the system's own back. Returns the one that was
  // installed before, nullptr when it was the system's. Raises EAssertionFailed with no layer
  // loaded.
  static std::unique_ptr<TClock> Install(std::unique_ptr<TClock> clock);
};

class TSystemClock : public TClock {
 public:
  TDateTime Now() const override;
  TDateTime CoarseNow() const override;
  std::int64_t Ticks() const override;
  std::int64_t CoarseTicks() const override;
  void Sleep(std::int64_t milliseconds) override;
  bool WaitFor(TSignal& signal, std::int64_t milliseconds) override;

 private:
  TDateTime LocalTime(int source) const;
  std::int64_t LocalOffset(std::int64_t utcSeconds) const;

  // Quarter hour (since 1970) in the upper half, local time's seconds ahead of UTC in it in the
  // lower.
  mutable std::atomic<std::int64_t> FOffset{-1};
};

// Stands still until it is moved. Ticks count from 0.
//
// Its owner, the thread that made it, never waits for time: Sleep moves the clock, and a wait for a
// signal moves it on to the next moment that somebody waits for, until the signal is set. Other
// threads wait until the clock has been moved to their moment. So one thread moves time by hand,
// and whoever waits gets on. Threads that were woken then run beside the owner.
class TManualClock : public TClock {
 public:
  // REQUIRES: now >= 0
  explicit TManualClock(TDateTime now) : FStart(now) {}
  TDateTime Now() const override;
  std::int64_t Ticks() const override { return FMilliseconds.load(std::memory_order_relaxed); }
  void Sleep(std::int64_t milliseconds) override;
  bool WaitFor(TSignal& signal, std::int64_t milliseconds) override;
  // Any thread.
  void Advance(std::int64_t milliseconds);
  // How many other threads wait for this clock to be moved, for tests that move it once they all
  // do.
  int Sleepers() const { return FSleeping; }

 private:
  struct TSleeper {
    std::int64_t due;
    TSignal* signal;
  };
  bool SleepUntil(TSignal& signal, std::int64_t due);
  bool MoveUntil(TSignal& signal, std::int64_t due);
  void Wake();
  std::int64_t NextDue() const;
  void Forget(const TSignal& signal);

  const TDateTime FStart;
  const std::thread::id FOwner = std::this_thread::get_id();
  std::atomic<std::int64_t> FMilliseconds{0};
  mutable std::mutex FLock;         // is taken before the lock of a signal
  std::vector<TSleeper> FSleepers;  // guarded by FLock; those that have not been woken
  std::atomic<int> FSleeping{0};    // their number
  TSignal* FOwnerWaits = nullptr;   // guarded by FLock; for a signal or for a sleeper
};

inline TDateTime Now() { return TClock::Current().Now(); }
// The time of day as a fraction of a day, at the coarse resolution.
TDateTime Time();

}  // namespace perlayer

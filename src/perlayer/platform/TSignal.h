#pragma once
// TSignal: one thread waits, others set. A set signal ends one wait, the present or the next one,
// and is then off again; setting it twice before that is the same as once. Every operation is safe
// on every thread, but for one signal only one thread waits at a time.
//
// Waits that have a limit go through TClock::WaitFor, so that time is the installed clock's.

#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace perlayer {

class TSignal {
 public:
  TSignal() = default;
  TSignal(const TSignal&) = delete;
  TSignal& operator=(const TSignal&) = delete;

  void Set() noexcept;
  // Switches the signal off; whether it was set.
  bool TryTake() noexcept;
  // Whether it is set; that may have changed by the time of the answer.
  bool IsSet() const noexcept;
  // Waits, without limit, until the signal is set, and takes it.
  void Wait() noexcept;

  // For clocks. Waits until the signal is set, which it takes, or until that many milliseconds of
  // real time have passed; whether it was set.
  bool WaitRealTime(std::int64_t milliseconds);
  // For clocks. Waits until the signal is set, which it takes, or until `given()` holds; whether it
  // was set. `given` is asked at the start and at each Nudge, under this signal's lock.
  template <class TPredicate>
  bool WaitOr(TPredicate given) {
    std::unique_lock lock(FLock);
    FChanged.wait(lock, [&] { return FSet || given(); });
    return Taken();
  }
  void Nudge() noexcept;

 private:
  bool Taken() noexcept;

  mutable std::mutex FLock;
  std::condition_variable FChanged;
  bool FSet = false;  // guarded by FLock
};

}  // namespace perlayer

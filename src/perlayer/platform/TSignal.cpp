#include "perlayer/platform/TSignal.h"

#include <chrono>
#include <utility>

namespace perlayer {

// Notified under the lock: the waiting thread may end the signal as soon as it has the lock.

void TSignal::Set() noexcept {
  const std::lock_guard lock(FLock);
  FSet = true;
  FChanged.notify_all();
}

void TSignal::Nudge() noexcept {
  const std::lock_guard lock(FLock);
  FChanged.notify_all();
}

bool TSignal::TryTake() noexcept {
  const std::lock_guard lock(FLock);
  return Taken();
}

bool TSignal::IsSet() const noexcept {
  const std::lock_guard lock(FLock);
  return FSet;
}

void TSignal::Wait() noexcept {
  std::unique_lock lock(FLock);
  FChanged.wait(lock, [this] { return FSet; });
  FSet = false;
}

bool TSignal::WaitRealTime(std::int64_t milliseconds) {
  std::unique_lock lock(FLock);
  FChanged.wait_for(lock, std::chrono::milliseconds(milliseconds), [this] { return FSet; });
  return Taken();
}

bool TSignal::Taken() noexcept { return std::exchange(FSet, false); }

}  // namespace perlayer

#include "perlayer/platform/TClock.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>
#include <limits>
#include <utility>

#include "perlayer/platform/TLayer.h"
#include "perlayer/platform/TSignal.h"

namespace perlayer {

namespace {

struct TInstalledClock {
  std::unique_ptr<TClock> clock;
};

constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();

}  // namespace

TClock& TClock::Current() {
  static TSystemClock system;
  const auto* installed = TLayer::PartIfMade<TInstalledClock>(TLayerPart::clock);
  return installed == nullptr || installed->clock == nullptr ? system : *installed->clock;
}

std::unique_ptr<TClock> TClock::Install(std::unique_ptr<TClock> clock) {
  return std::exchange(TLayer::Part<TInstalledClock>(TLayerPart::clock).clock, std::move(clock));
}

// Zones change at full quarter hours, so that the answer of the C library is kept for the quarter
// hour at hand. Both halves share one atomic word: threads may compute it twice, never mix two
// answers.
std::int64_t TSystemClock::LocalOffset(std::int64_t utcSeconds) const {
  const std::int64_t quarter = utcSeconds / (15 * 60);
  const std::int64_t cached = FOffset.load(std::memory_order_relaxed);
  if (cached >> 32 == quarter) return static_cast<std::int32_t>(cached & 0xFFFFFFFF);
  const std::time_t seconds = utcSeconds;
  std::tm local{};
  localtime_r(&seconds, &local);
  const auto offset = static_cast<std::uint32_t>(local.tm_gmtoff);
  FOffset.store(quarter * (std::int64_t{1} << 32) + offset, std::memory_order_relaxed);
  return local.tm_gmtoff;
}

TDateTime TSystemClock::LocalTime(int source) const {
  constexpr double kUnixEpoch = 25569;  // 1 January 1970
  constexpr double kSecondsPerDay = 86400;
  std::timespec utc{};
  clock_gettime(source, &utc);
  const std::int64_t local = utc.tv_sec + LocalOffset(utc.tv_sec);
  return kUnixEpoch +
         (static_cast<double>(local) + static_cast<double>(utc.tv_nsec) * 1e-9) / kSecondsPerDay;
}

TDateTime TSystemClock::Now() const { return LocalTime(CLOCK_REALTIME); }
TDateTime TSystemClock::CoarseNow() const { return LocalTime(CLOCK_REALTIME_COARSE); }

std::int64_t TSystemClock::Ticks() const {
  using namespace std::chrono;
  return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

std::int64_t TSystemClock::CoarseTicks() const {
  std::timespec time{};
  clock_gettime(CLOCK_MONOTONIC_COARSE, &time);
  return std::int64_t{time.tv_sec} * 1000 + time.tv_nsec / 1000000;
}

void TSystemClock::Sleep(std::int64_t milliseconds) {
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

bool TSystemClock::WaitFor(TSignal& signal, std::int64_t milliseconds) {
  if (milliseconds == 0) return signal.TryTake();
  if (milliseconds > 0) return signal.WaitRealTime(milliseconds);
  signal.Wait();
  return true;
}

TDateTime TManualClock::Now() const {
  return FStart + static_cast<double>(Ticks()) / kMillisecondsPerDay;
}

void TManualClock::Advance(std::int64_t milliseconds) {
  FMilliseconds.fetch_add(milliseconds, std::memory_order_relaxed);
  Wake();
}

void TManualClock::Sleep(std::int64_t milliseconds) {
  std::this_thread::yield();
  if (std::this_thread::get_id() == FOwner) return Advance(milliseconds);
  TSignal never;
  WaitFor(never, std::max<std::int64_t>(milliseconds, 0));
}

bool TManualClock::WaitFor(TSignal& signal, std::int64_t milliseconds) {
  const std::int64_t now = Ticks();
  const std::int64_t due =
      milliseconds < 0 || milliseconds > kNever - now ? kNever : now + milliseconds;
  return std::this_thread::get_id() == FOwner ? MoveUntil(signal, due) : SleepUntil(signal, due);
}

// Another thread's wait. It is known to the clock before it looks at the time, so that no move in
// between is missed.
bool TManualClock::SleepUntil(TSignal& signal, std::int64_t due) {
  if (due == kNever) {
    signal.Wait();
    return true;
  }
  {
    const std::lock_guard lock(FLock);
    FSleepers.push_back({due, &signal});
    ++FSleeping;
    if (FOwnerWaits != nullptr) FOwnerWaits->Nudge();
  }
  const bool set = signal.WaitOr([&] { return Ticks() >= due; });
  Forget(signal);
  return set;
}

// The owner's wait.
bool TManualClock::MoveUntil(TSignal& signal, std::int64_t due) {
  for (;;) {
    if (signal.TryTake()) return true;
    const std::int64_t now = Ticks();
    if (now >= due) return false;
    const std::int64_t next = std::min(due, NextDue());
    if (next != kNever) {
      // Whoever else moves the clock meanwhile makes this a move too far, never one back.
      Advance(std::max<std::int64_t>(next - now, 0));
      std::this_thread::yield();
      continue;
    }
    {
      const std::lock_guard lock(FLock);
      FOwnerWaits = &signal;
    }
    const bool set = signal.WaitOr([this] { return FSleeping.load() != 0; });
    {
      const std::lock_guard lock(FLock);
      FOwnerWaits = nullptr;
    }
    if (set) return true;
    std::this_thread::yield();
  }
}

// Those whose moment has come are awake from now on, whether or not they run already.
void TManualClock::Wake() {
  const std::lock_guard lock(FLock);
  const std::int64_t now = Ticks();
  const auto awake = std::partition(FSleepers.begin(), FSleepers.end(),
                                    [&](const TSleeper& sleeper) { return sleeper.due > now; });
  for (auto sleeper = awake; sleeper != FSleepers.end(); ++sleeper) sleeper->signal->Nudge();
  FSleepers.erase(awake, FSleepers.end());
  FSleeping = static_cast<int>(FSleepers.size());
}

void TManualClock::Forget(const TSignal& signal) {
  const std::lock_guard lock(FLock);
  std::erase_if(FSleepers, [&](const TSleeper& sleeper) { return sleeper.signal == &signal; });
  FSleeping = static_cast<int>(FSleepers.size());
}

std::int64_t TManualClock::NextDue() const {
  const std::lock_guard lock(FLock);
  std::int64_t next = kNever;
  for (const TSleeper& sleeper : FSleepers) {
    // One that has been signalled is up already, though it may not run yet.
    if (!sleeper.signal->IsSet()) next = std::min(next, sleeper.due);
  }
  return next;
}

TDateTime Time() {
  const TDateTime now = TClock::Current().CoarseNow();
  return std::fabs(now - std::trunc(now));
}

}  // namespace perlayer

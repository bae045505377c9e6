#include "perlayer/platform/TClock.h"

#include <chrono>
#include <cmath>
#include <ctime>
#include <thread>
#include <utility>

#include "perlayer/platform/TLayer.h"

namespace perlayer {

namespace {

struct TInstalledClock {
  std::unique_ptr<TClock> clock;
};

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

void TSystemClock::Sleep(std::int64_t milliseconds) {
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

TDateTime TManualClock::Now() const {
  return FStart + static_cast<double>(Ticks()) / kMillisecondsPerDay;
}

TDateTime Time() {
  const TDateTime now = TClock::Current().CoarseNow();
  return std::fabs(now - std::trunc(now));
}

}  // namespace perlayer

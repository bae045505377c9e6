#pragma once
// TFindTimes: how often something was timed, how long that took in all, and at the longest. Times
// come from the coarse clock: nearly all of them are 0, and that is what measuring may cost on a
// hot path. Timings do not nest: the inner start counts. Main thread only.

#include <algorithm>
#include <cstdint>

#include "perlayer/platform/TClock.h"

namespace perlayer {

class TFindTimes {
 public:
  static std::int64_t Ticks() { return TClock::Current().CoarseTicks(); }
  void Start(std::int64_t ticks = Ticks()) { FTime = ticks; }
  void Stop(std::int64_t ticks = Ticks()) {
    const std::int64_t duration = ticks - FTime;
    FMaxFindTime = std::max(FMaxFindTime, duration);
    FTimeSum += duration;
    ++FNumTimes;
  }
  // In the weights that monitors know: milliseconds plus 100 per second plus 6000 per minute; hours
  // are lost. 0 before the first timing.
  double Max() const { return Weight(FMaxFindTime); }
  double Average() const {
    return FNumTimes == 0 ? 0 : Weight(FTimeSum) / static_cast<double>(FNumTimes);
  }

 private:
  static double Weight(std::int64_t milliseconds) {
    return static_cast<double>(milliseconds % 1000 + milliseconds / 1000 % 60 * 100 +
                               milliseconds / 60000 % 60 * 6000);
  }

  std::int64_t FTime = 0;  // milliseconds, like the next two
  std::int64_t FMaxFindTime = 0;
  std::int64_t FTimeSum = 0;
  std::int64_t FNumTimes = 0;
};

}  // namespace perlayer

#pragma once
// The clock that a test moves by hand.

#include <memory>

#include "perlayer/platform/TClock.h"

namespace perlayer {

// Installs such a clock for the rest of the test. The layer owns it.
inline TManualClock* InstallManualClock(TDateTime now = 45000) {
  auto clock = std::make_unique<TManualClock>(now);
  TManualClock* const installed = clock.get();
  TClock::Install(std::move(clock));
  return installed;
}

}  // namespace perlayer

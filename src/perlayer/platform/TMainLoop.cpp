#include "perlayer/platform/TMainLoop.h"

#include <cstdint>

#include "perlayer/platform/TApplication.h"
#include "perlayer/platform/TClock.h"

namespace perlayer {

void TPlainLoop::Run(TApplication& application) {
  while (!application.Terminated()) {
    application.Turn();
    const std::int64_t wait = application.Idle();
    if (!application.Terminated()) TClock::Current().WaitFor(FWoken, wait);
  }
}

}  // namespace perlayer

#include "perlayer/platform/TMainCalls.h"

#include <algorithm>
#include <limits>

#include "perlayer/platform/TClock.h"

namespace perlayer {

TMainCalls::~TMainCalls() {
  while (TMainCall* call = Take(std::numeric_limits<std::uint64_t>::max())) call->Drop();
}

void TMainCalls::Post(TMainCall& call) noexcept {
  {
    const TCriticalGuard guard(FLock);
    call.FNext = nullptr;
    call.FNumber = ++FPosted;
    (FFirst == nullptr ? FFirst : FLast->FNext) = &call;
    FLast = &call;
  }
  FArrived.Set();
}

bool TMainCalls::Wait(std::int64_t milliseconds) {
  TClock& clock = TClock::Current();
  const std::int64_t start = milliseconds > 0 ? clock.Ticks() : 0;
  while (IsEmpty()) {
    const std::int64_t left =
        milliseconds > 0 ? std::max<std::int64_t>(milliseconds - (clock.Ticks() - start), 0)
                         : milliseconds;
    if (!clock.WaitFor(FArrived, left)) return !IsEmpty();
  }
  return true;
}

bool TMainCalls::RunWaiting() {
  std::uint64_t last;
  {
    const TCriticalGuard guard(FLock);
    last = FPosted;
  }
  bool ran = false;
  while (TMainCall* call = Take(last)) {
    call->Run();
    ran = true;
  }
  return ran;
}

TMainCall* TMainCalls::Take(std::uint64_t last) {
  const TCriticalGuard guard(FLock);
  TMainCall* call = FFirst;
  if (call == nullptr || call->FNumber > last) return nullptr;
  FFirst = call->FNext;
  return call;
}

bool TMainCalls::IsEmpty() const {
  const TCriticalGuard guard(FLock);
  return FFirst == nullptr;
}

}  // namespace perlayer

#pragma once
// TCriticalSection: a lock that one thread at a time holds. The thread that holds it may enter
// again and leaves as often as it entered.
//
//   TCriticalGuard guard(FLock);  // held to the end of the scope

#include <mutex>

#include "perlayer/platform/ThreadAnnotations.h"

namespace perlayer {

class PL_CAPABILITY("critical section") TCriticalSection {
 public:
  constexpr TCriticalSection() = default;
  TCriticalSection(const TCriticalSection&) = delete;
  TCriticalSection& operator=(const TCriticalSection&) = delete;

  void Enter() PL_ACQUIRE() { FMutex.lock(); }
  // REQUIRES: the calling thread holds it.
  void Leave() PL_RELEASE() { FMutex.unlock(); }
  // False, at once, when another thread holds it.
  [[nodiscard]] bool TryEnter() PL_TRY_ACQUIRE(true) { return FMutex.try_lock(); }

 private:
  std::recursive_mutex FMutex;
};

class PL_SCOPED_CAPABILITY TCriticalGuard {
 public:
  explicit TCriticalGuard(TCriticalSection& section) PL_ACQUIRE(section) : FSection(section) {
    FSection.Enter();
  }
  ~TCriticalGuard() PL_RELEASE() { FSection.Leave(); }
  TCriticalGuard(const TCriticalGuard&) = delete;
  TCriticalGuard& operator=(const TCriticalGuard&) = delete;

 private:
  TCriticalSection& FSection;
};

}  // namespace perlayer

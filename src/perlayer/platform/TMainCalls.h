#pragma once
// TMainCalls: calls that wait for the main thread, in the order of their posting. Any thread posts;
// the main thread runs. Posting takes no memory and cannot fail.

#include <cstdint>

#include "perlayer/platform/TCriticalSection.h"
#include "perlayer/platform/TSignal.h"

namespace perlayer {

// One call. It lives until Run or Drop, of which it gets exactly one and which may end it.
class TMainCall {
 public:
  TMainCall() = default;
  TMainCall(const TMainCall&) = delete;
  TMainCall& operator=(const TMainCall&) = delete;

  // Main thread. Raises nothing.
  virtual void Run() noexcept = 0;
  // Nobody will run it any more.
  virtual void Drop() noexcept = 0;

 protected:
  ~TMainCall() = default;

 private:
  friend class TMainCalls;
  TMainCall* FNext = nullptr;
  std::uint64_t FNumber = 0;
};

class TMainCalls {
 public:
  TMainCalls() = default;
  ~TMainCalls();  // drops what is left
  TMainCalls(const TMainCalls&) = delete;
  TMainCalls& operator=(const TMainCalls&) = delete;

  void Post(TMainCall& call) noexcept;
  // Main thread. Waits until a call is there, for at most that many milliseconds of the clock;
  // below 0 there is no limit. Whether one is there.
  bool Wait(std::int64_t milliseconds);
  // Main thread. Runs the calls that are waiting now, and not those that they post; whether there
  // was any. A call may itself call this.
  bool RunWaiting();

 private:
  // The first call, taken off, when its number is at most `last`; else nullptr.
  TMainCall* Take(std::uint64_t last);
  bool IsEmpty() const;

  mutable TCriticalSection FLock;
  TMainCall* FFirst PL_GUARDED_BY(FLock) = nullptr;
  TMainCall* FLast PL_GUARDED_BY(FLock) = nullptr;  // meaningless while FFirst is nullptr
  std::uint64_t FPosted PL_GUARDED_BY(FLock) = 0;
  TSignal FArrived;  // may be set for calls that have been taken since
};

}  // namespace perlayer

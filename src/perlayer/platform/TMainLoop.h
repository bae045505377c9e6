#pragma once
// TMainLoop: the port to the loop that runs the main thread. TPlainLoop, which the application has
// until it is given another, serves programs without a user interface; a toolkit's adapter derives
// its own.
//
// A loop owes the application two things, on the main thread:
//   * application.Turn() soon after Wake, and once the answer of the last Idle has passed;
//   * application.Idle() whenever its own events have run out, before it waits.

#include "perlayer/platform/TSignal.h"

namespace perlayer {

class TApplication;

class TMainLoop {
 public:
  virtual ~TMainLoop() = default;
  // Runs until application.Terminated(), of which Wake tells it too. May let exceptions of the
  // toolkit's own events out.
  virtual void Run(TApplication& application) = 0;
  // Runs the loop's own events that are waiting, and waits for none.
  virtual void ProcessEvents() = 0;
  // Any thread, also with the loop not running.
  virtual void Wake() noexcept = 0;
};

// Has no events of its own, and waits by the clock.
class TPlainLoop : public TMainLoop {
 public:
  void Run(TApplication& application) override;
  void ProcessEvents() override {}
  void Wake() noexcept override { FWoken.Set(); }

 private:
  TSignal FWoken;
};

}  // namespace perlayer

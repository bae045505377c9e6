#pragma once
// TThread: work that runs beside the main thread.
//
//   class TCounting : public TThread {
//     TCLASS(TCounting, TThread)
//     void Execute() PL_OTHER_THREAD override {
//       while (SafePoint()) { ... Synchronize([&] { Show(FCount); }); ... Sleep(10); }
//     }
//   };
//   TCounting* counting = New<TCounting>();
//
// Execute starts once Create has returned, however far Create is overridden; overrides chain to
// TThread::Create. Nothing stops a thread by force: who is told to terminate or to suspend does so
// at a place of its own choosing, by asking Terminated or SafePoint.
//
// When Execute has returned, the main thread, at its next turn, passes what escaped it to
// Application()->HandleException, calls OnTerminate, and frees the object if FreeOnTerminate is
// set. The object belongs to the main thread, which makes and frees it; free it by Free, which
// terminates the thread and waits for it before any Destroy runs. A layer that unloads terminates
// the threads that still run, and waits for them.

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TDelegate.h"
#include "perlayer/platform/TMainCalls.h"
#include "perlayer/platform/TObject.h"
#include "perlayer/platform/ThreadAnnotations.h"

namespace perlayer {

class TApplication;

enum class TThreadPriority {
  tpIdle,
  tpLowest,
  tpLower,
  tpNormal,
  tpHigher,
  tpHighest,
  tpTimeCritical
};

PERLAYER_EXCEPTION(EThread, Exception);  // the system gives no thread

class TThread : public TObject {
  TCLASS(TThread, TObject)
 public:
  void Create() { Create(false); }
  // A thread that is created suspended starts by Resume.
  virtual void Create(bool ACreateSuspended);
  // Starts the thread unless it was created suspended. Raises EThread, and EAssertionFailed when a
  // class overrides Create without chaining.
  void AfterConstruction() PL_MAIN_THREAD;
  // Terminates and waits.
  void BeforeDestruction() override;
  void Destroy() override;

  // Asks Execute to end, and wakes it from SafePoint. Any thread.
  void Terminate();
  bool Terminated() const { return FTerminated.load(std::memory_order_acquire); }
  // Waits until Execute has returned. On the main thread, runs the calls that threads wait for
  // meanwhile, and returns after OnTerminate; a thread that frees itself may be waited for there,
  // and only there. Returns at once for a thread that never started. Raises EAssertionFailed on the
  // thread itself.
  void WaitFor();
  // Execute has returned. Any thread.
  bool Finished() const { return FFinished.load(std::memory_order_acquire); }

  // Has the thread park at its next SafePoint. Returns at once. Any thread.
  void Suspend();
  // Starts a thread that was created suspended, and lets a parked one go on. Any thread. Raises
  // EThread.
  void Resume();
  // Created suspended and not yet started, or asked to park. Any thread.
  bool Suspended() const;
  // The thread stands at a SafePoint. Any thread.
  bool Parked() const;

  // A hint that is kept and told, and passed on to nobody. Any thread.
  TThreadPriority Priority() const { return FPriority.load(std::memory_order_relaxed); }
  void Priority(TThreadPriority priority) { FPriority.store(priority, std::memory_order_relaxed); }

  // Main thread; FreeOnTerminate is to be set before Execute can have returned.
  bool FreeOnTerminate() const { return FFreeOnTerminate; }
  void FreeOnTerminate(bool value) { FFreeOnTerminate = value; }
  const TNotifyEvent& OnTerminate() const { return FOnTerminate; }
  void OnTerminate(TNotifyEvent event) { FOnTerminate = std::move(event); }
  // What escaped Execute; nullptr when nothing did. From OnTerminate on.
  const std::exception_ptr& FatalException() const { return FFatalException; }

  // As TApplication's; calls that are queued are forgotten once this object is destroyed. Any
  // thread.
  void Synchronize(const std::function<void()>& call);
  void Queue(std::function<void()> call);
  // The calling thread sleeps, by the clock. Termination does not cut it short.
  static void Sleep(std::int64_t milliseconds);

 protected:
  // The work. Runs on the thread itself, once; not at all when it was terminated before.
  virtual void Execute() PL_OTHER_THREAD = 0;
  // For Execute, where it holds nothing that others wait for: parks here while it is asked to
  // suspend. False when it is to end.
  bool SafePoint();

 private:
  // Posted as the last act of the thread.
  class TEnding final : public TMainCall {
   public:
    explicit TEnding(TThread& thread) : FThread(thread) {}
    void Run() noexcept override { FThread.Ended(); }
    void Drop() noexcept override {}

   private:
    TThread& FThread;
  };

  void RunThread() noexcept;
  void Ended() noexcept PL_MAIN_THREAD;
  void CallOnTerminate() noexcept PL_MAIN_THREAD;

  TApplication* FApplication = nullptr;  // fixed by Create; not owned
  TEnding FEnding{*this};
  TNotifyEvent FOnTerminate;
  bool FFreeOnTerminate = false;
  std::exception_ptr FFatalException;  // handed over by the ending's post

  std::atomic<bool> FTerminated{false};
  std::atomic<bool> FFinished{false};
  std::atomic<TThreadPriority> FPriority{TThreadPriority::tpNormal};

  mutable std::mutex FLock;
  std::condition_variable FChanged;
  std::thread FThread;  // these four are guarded by FLock
  bool FStarted = false;
  bool FSuspended = false;
  bool FParked = false;
};

}  // namespace perlayer

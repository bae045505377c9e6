#pragma once
// TApplication: the process as an object, and the loop of its main thread: timers, the idle event,
// and the calls that other threads hand to the main one. It also stands as retainer for whoever
// holds an object through an interface reference.
//
// The main thread is the one that loaded the layer. Operations are its own unless they say "any
// thread": that is every thread once the main one has asked for Application(), as making a TThread
// does.

#include <atomic>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "perlayer/platform/TCriticalSection.h"
#include "perlayer/platform/TDelegate.h"
#include "perlayer/platform/TMainCalls.h"
#include "perlayer/platform/TMainLoop.h"
#include "perlayer/platform/TObject.h"
#include "perlayer/platform/TTimerQueue.h"
#include "perlayer/platform/ThreadAnnotations.h"

namespace perlayer {

class TThread;

// Done is true at first; a handler that sets it to false is called again at once.
using TIdleEvent = TDelegate<void(TObject* Sender, bool& Done)>;
using TExceptionEvent = TDelegate<void(TObject* Sender, const std::exception& E)>;

class TApplication : public TObject {
  TCLASS(TApplication, TObject)
 public:
  // The form that stands for the user interface; not owned. nullptr without one, and again once the
  // form has been destroyed.
  TObject* MainForm() const { return FMainForm.Get(); }
  void MainForm(TObject* form) { FMainForm = form; }

  const std::string& Title() const { return FTitle; }
  void Title(std::string_view title) { FTitle = title; }

  // Runs the main loop until Terminate. What escapes timers, events and queued calls does not come
  // out here. Raises EAssertionFailed off the main thread, and when the loop runs already.
  void Run() PL_MAIN_THREAD;
  // Any thread. Ends Run soon, now or as soon as it is called.
  void Terminate() noexcept;
  bool Terminated() const noexcept { return FTerminated.load(std::memory_order_acquire); }

  // One turn of the loop from within a long piece of work: the loop's own events, calls from other
  // threads, timers that are due. Does not wait, and is not idle. Raises EAssertionFailed off the
  // main thread.
  void ProcessMessages() PL_MAIN_THREAD;
  // Runs the calls that other threads wait for or have queued, and nothing else; whether there was
  // any. Waits for the first for at most that many milliseconds; below 0 there is no limit. Raises
  // EAssertionFailed off the main thread.
  bool CheckSynchronize(std::int64_t timeout = 0) PL_MAIN_THREAD;

  // Any thread. Runs the call on the main thread and waits for its end; what it raises is raised
  // here. Raises EAbort, with the call not made, when the layer unloads first. On the main thread
  // the call is made at once.
  void Synchronize(const std::function<void()>& call);
  // Any thread. Has the main thread make the call at its next turn, also when asked on the main
  // thread itself; what it raises goes to HandleException. Given an owner, the call is forgotten
  // once that has been destroyed, which is to happen on the main thread.
  void Queue(std::function<void()> call, const TObject* owner = nullptr);

  // Fired whenever the main loop has nothing to do, before it waits.
  const TIdleEvent& OnIdle() const { return FOnIdle; }
  void OnIdle(TIdleEvent event) { FOnIdle = std::move(event); }

  // Takes the exception that is being handled, for code that has nobody to pass it on to: timers,
  // events, data sets. EAbort ends here silently. Anything else goes to OnException or, where that
  // is not set or itself raises, into the log. Raises nothing. REQUIRES: called within a catch
  // block.
  void HandleException(TObject* Sender) noexcept PL_MAIN_THREAD;
  const TExceptionEvent& OnException() const { return FOnException; }
  void OnException(TExceptionEvent event) { FOnException = std::move(event); }

  // For main loops; see TMainLoop. Turn runs what is waiting and due; whether there was anything.
  // Idle fires OnIdle and tells how many milliseconds the loop may wait for its next turn; below 0
  // there is no limit.
  bool Turn() PL_MAIN_THREAD;
  std::int64_t Idle() PL_MAIN_THREAD;
  // Replaces the loop; nullptr brings back the plain one. Returns the one before. To be set before
  // other threads run. Raises EAssertionFailed while the loop runs.
  std::unique_ptr<TMainLoop> MainLoop(std::unique_ptr<TMainLoop> loop);

  TTimerQueue& Timers() { return FTimers; }

 private:
  friend class TThread;
  friend struct TApplicationPart;
  void Post(TMainCall& call) noexcept;  // any thread
  void AddThread(TThread* thread);
  void RemoveThread(TThread* thread) noexcept;
  void EndThreads();
  void ReportException(TObject* Sender, const std::exception& e) noexcept;

  TObjectHandle FMainForm;
  std::string FTitle;
  TIdleEvent FOnIdle;
  TExceptionEvent FOnException;
  TTimerQueue FTimers;
  bool FRunning = false;
  std::unique_ptr<TMainLoop> FLoop = std::make_unique<TPlainLoop>();  // fixed while threads run
  std::atomic<bool> FTerminated{false};
  TMainCalls FCalls;
  TCriticalSection FThreadsLock;
  std::vector<TThread*> FThreads PL_GUARDED_BY(FThreadsLock);  // running; not owned
};

// The one application object of the loaded layer, which owns it.
TApplication* Application();

// Application()->CheckSynchronize.
bool CheckSynchronize(std::int64_t timeout = 0) PL_MAIN_THREAD;

}  // namespace perlayer

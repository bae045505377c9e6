#include "perlayer/platform/TApplication.h"

#include <algorithm>
#include <utility>

#include "perlayer/corekit/ILog.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TClock.h"
#include "perlayer/platform/TLayer.h"
#include "perlayer/platform/TThread.h"

namespace perlayer {

struct TApplicationPart {
  TOwned<TApplication> object = Make<TApplication>();

  // Threads may ask for the application up to their end, so it stands here till then.
  ~TApplicationPart() { object->EndThreads(); }
};

namespace {

void CheckMainThread() {
  Assert(TLayer::IsMainThread(), "TApplication: called on another than the main thread");
}

void LogException(const char* where, const char* what) noexcept {
  try {
    ILog(std::string(where) + what);
  } catch (...) {  // no memory to put them together
    ILog(what);
  }
}

class TQueuedCall final : public TMainCall {
 public:
  TQueuedCall(std::function<void()> call, const TObject* owner)
      : FCall(std::move(call)), FOwner(owner) {}

  void Run() noexcept override {
    const std::unique_ptr<TQueuedCall> self(this);
    if (!FOwner.IsNil() && !FOwner.IsAlive()) return;
    try {
      FCall();
    } catch (...) {
      Application()->HandleException(FOwner.Get());
    }
  }
  void Drop() noexcept override { delete this; }

 private:
  const std::function<void()> FCall;
  const TObjectHandle FOwner;
};

// Stands on the stack of the thread that waits for it.
class TSynchronizedCall final : public TMainCall {
 public:
  explicit TSynchronizedCall(const std::function<void()>& call) : FCall(call) {}

  void Run() noexcept override {
    try {
      FCall();
    } catch (...) {
      FError = std::current_exception();
    }
    FDone.Set();
  }
  void Drop() noexcept override {
    FDropped = true;
    FDone.Set();
  }
  void Wait() {
    FDone.Wait();
    if (FDropped) throw EAbort("The main thread runs no more calls");
    if (FError) std::rethrow_exception(std::move(FError));
  }

 private:
  const std::function<void()>& FCall;
  std::exception_ptr FError;  // these two are handed over by FDone
  bool FDropped = false;
  TSignal FDone;
};

}  // namespace

TApplication* Application() {
  return TLayer::Part<TApplicationPart>(TLayerPart::application).object.Get();
}

bool CheckSynchronize(std::int64_t timeout) { return Application()->CheckSynchronize(timeout); }

void TApplication::Run() {
  CheckMainThread();
  Assert(!FRunning, "TApplication: the main loop runs already");
  FRunning = true;
  TryFinally([this] { FLoop->Run(*this); }, [this] { FRunning = false; });
}

void TApplication::Terminate() noexcept {
  FTerminated.store(true, std::memory_order_release);
  FLoop->Wake();
}

void TApplication::ProcessMessages() {
  CheckMainThread();
  FLoop->ProcessEvents();
  Turn();
}

bool TApplication::CheckSynchronize(std::int64_t timeout) {
  CheckMainThread();
  return FCalls.Wait(timeout) && FCalls.RunWaiting();
}

void TApplication::Synchronize(const std::function<void()>& call) {
  if (TLayer::IsMainThread()) return call();
  TSynchronizedCall waiting(call);
  Post(waiting);
  waiting.Wait();
}

void TApplication::Queue(std::function<void()> call, const TObject* owner) {
  Post(*new TQueuedCall(std::move(call), owner));
}

void TApplication::Post(TMainCall& call) noexcept {
  FCalls.Post(call);
  FLoop->Wake();
}

bool TApplication::Turn() {
  CheckMainThread();
  const bool called = FCalls.RunWaiting();
  return FTimers.RunDue() || called;
}

std::int64_t TApplication::Idle() {
  CheckMainThread();
  bool done = true;
  if (FOnIdle) {
    try {
      const TIdleEvent event = FOnIdle;
      event(this, done);
    } catch (...) {
      HandleException(this);
    }
  }
  if (!done) return 0;
  const auto next = FTimers.NextDue();
  return next ? std::max<std::int64_t>(*next - TClock::Current().Ticks(), 0) : -1;
}

std::unique_ptr<TMainLoop> TApplication::MainLoop(std::unique_ptr<TMainLoop> loop) {
  Assert(!FRunning, "TApplication: the main loop is running");
  if (loop == nullptr) loop = std::make_unique<TPlainLoop>();
  return std::exchange(FLoop, std::move(loop));
}

void TApplication::HandleException(TObject* Sender) noexcept {
  try {
    throw;
  } catch (const EAbort&) {  // leaves the action silently
  } catch (const std::exception& e) {
    ReportException(Sender, e);
  } catch (...) {
    ReportException(Sender, Exception("unknown exception"));
  }
}

void TApplication::ReportException(TObject* Sender, const std::exception& e) noexcept {
  if (FOnException) {
    try {
      const TExceptionEvent event = FOnException;
      return event(Sender, e);
    } catch (const std::exception& raised) {
      LogException("Unhandled exception in OnException: ", raised.what());
    } catch (...) {
      ILog("Unhandled exception in OnException");
    }
  }
  LogException("Unhandled exception: ", e.what());
}

void TApplication::AddThread(TThread* thread) {
  const TCriticalGuard guard(FThreadsLock);
  FThreads.push_back(thread);
}

void TApplication::RemoveThread(TThread* thread) noexcept {
  const TCriticalGuard guard(FThreadsLock);
  FThreads.erase(std::remove(FThreads.begin(), FThreads.end(), thread), FThreads.end());
}

// The owners of threads have ended theirs by now; this is for those that have none.
void TApplication::EndThreads() {
  for (;;) {
    std::vector<TThread*> threads;  // a thread's own lock must not be taken under this one
    {
      const TCriticalGuard guard(FThreadsLock);
      threads = FThreads;
    }
    if (threads.empty()) break;
    for (TThread* thread : threads) thread->Terminate();
    CheckSynchronize(-1);
  }
  CheckSynchronize(0);
}

}  // namespace perlayer

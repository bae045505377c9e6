#include "perlayer/platform/TThread.h"

#include <system_error>
#include <utility>

#include "perlayer/platform/TApplication.h"
#include "perlayer/platform/TClock.h"
#include "perlayer/platform/TLayer.h"

namespace perlayer {

void TThread::Create(bool ACreateSuspended) {
  FApplication = Application();
  FSuspended = ACreateSuspended;
}

void TThread::AfterConstruction() {
  Assert(FApplication != nullptr,
         "TThread: Create was overridden and does not call TThread::Create");
  if (!FSuspended) Resume();
}

// Here and not in Destroy: a derived Destroy, which runs first, may end what Execute works with.
void TThread::BeforeDestruction() {
  TObject::BeforeDestruction();
  Terminate();
  WaitFor();
}

void TThread::Destroy() { TObject::Destroy(); }

void TThread::Terminate() {
  FTerminated.store(true, std::memory_order_release);
  const std::lock_guard lock(FLock);
  FChanged.notify_all();
}

void TThread::Resume() {
  const std::lock_guard lock(FLock);
  FSuspended = false;
  FChanged.notify_all();
  if (FStarted) return;
  FApplication->AddThread(this);
  try {
    FThread = std::thread([this] { RunThread(); });
  } catch (const std::system_error& e) {
    FApplication->RemoveThread(this);
    throw EThread(std::string("Cannot start the thread ") + ClassName() + ": " + e.what());
  }
  FStarted = true;
}

void TThread::Suspend() {
  const std::lock_guard lock(FLock);
  FSuspended = true;
}

bool TThread::Suspended() const {
  const std::lock_guard lock(FLock);
  return FSuspended;
}

bool TThread::Parked() const {
  const std::lock_guard lock(FLock);
  return FParked;
}

bool TThread::SafePoint() {
  std::unique_lock lock(FLock);
  FParked = FSuspended && !Terminated();
  FChanged.wait(lock, [this] { return !FSuspended || Terminated(); });
  FParked = false;
  return !Terminated();
}

void TThread::RunThread() noexcept {
  AssumeOtherThread();
  try {
    if (!Terminated()) Execute();
  } catch (...) {
    FFatalException = std::current_exception();
  }
  FApplication->Post(FEnding);  // from here on the main thread may free the object
}

void TThread::Ended() noexcept {
  std::thread thread;
  {
    const std::lock_guard lock(FLock);
    thread = std::move(FThread);
  }
  thread.join();
  FApplication->RemoveThread(this);
  {
    const std::lock_guard lock(FLock);
    FFinished.store(true, std::memory_order_release);
    FChanged.notify_all();
  }
  const TAlive alive(this);
  CallOnTerminate();
  if (!alive || !FFreeOnTerminate) return;
  TApplication* application = FApplication;
  try {
    Free();
  } catch (...) {
    application->HandleException(nullptr);
  }
}

void TThread::CallOnTerminate() noexcept {
  const TAlive alive(this);
  TApplication* application = FApplication;
  if (FFatalException) {
    try {
      std::rethrow_exception(FFatalException);
    } catch (...) {
      application->HandleException(this);
    }
  }
  if (!alive || !FOnTerminate) return;
  try {
    const TNotifyEvent event = FOnTerminate;
    event(this);
  } catch (...) {
    application->HandleException(alive ? this : nullptr);
  }
}

void TThread::WaitFor() {
  {
    std::unique_lock lock(FLock);
    if (!FStarted) return;
    Assert(FThread.get_id() != std::this_thread::get_id(), "TThread: a thread waits for itself");
    if (!TLayer::IsMainThread()) {
      FChanged.wait(lock, [this] { return Finished(); });
      return;
    }
  }
  TApplication* application = FApplication;
  const TAlive alive(this);
  while (alive && !Finished()) application->CheckSynchronize(-1);
}

void TThread::Synchronize(const std::function<void()>& call) { FApplication->Synchronize(call); }

void TThread::Queue(std::function<void()> call) { FApplication->Queue(std::move(call), this); }

void TThread::Sleep(std::int64_t milliseconds) { TClock::Current().Sleep(milliseconds); }

}  // namespace perlayer

#include "perlayer/platform/TThread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TApplication.h"
#include "perlayer/platform/TLayer.h"
#include "support/ManualClock.h"
#include "support/TestLog.h"

namespace perlayer {
namespace {

// Does what it is told.
class TWork : public TThread {
  TCLASS(TWork, TThread)
 public:
  using TBody = std::function<void(TWork&)>;
  using TThread::Create;
  using TThread::SafePoint;
  template <class TCallable>
  requires std::is_class_v<TCallable>
  void Create(TCallable body, bool suspended = false) {
    TThread::Create(suspended);
    FBody = std::move(body);  // Execute must not have started yet
  }
  void Destroy() override {
    FBody = nullptr;  // nor still be running
    Inherited::Destroy();
  }

 protected:
  void Execute() PL_OTHER_THREAD override { FBody(*this); }

 private:
  TBody FBody;
};

// Parks whenever it is asked to, and counts its rounds.
class TRounds : public TThread {
  TCLASS(TRounds, TThread)
 public:
  std::atomic<int> rounds{0};

 protected:
  void Execute() PL_OTHER_THREAD override {
    while (SafePoint()) {
      ++rounds;
      Sleep(10);
    }
  }
};

class TThreadTest : public testing::Test {
 protected:
  // Lets the threads get on until that holds; the test's own time limit ends it otherwise.
  template <class TCondition>
  static void Until(TCondition condition) {
    while (!condition()) std::this_thread::yield();
  }

  TManualClock* const FClock = InstallManualClock();
};

TEST_F(TThreadTest, RunsBesideTheMainThreadAndCallsItBack) {
  std::string story;
  auto work = Make<TWork>([&](TWork& self) {
    EXPECT_FALSE(TLayer::IsMainThread());
    self.Queue([&] { story += "queued "; });
    self.Synchronize([&] {
      EXPECT_TRUE(TLayer::IsMainThread());
      story += "called ";
      self.Synchronize([&] { story += "nested "; });
    });
    EXPECT_EQ(story, "queued called nested ");
    EXPECT_THROW(self.Synchronize([] { throw EListError("no such item"); }), EListError);
    EXPECT_THROW(self.WaitFor(), EAssertionFailed);
    self.Queue([&] { story += "left "; });
  });
  work->OnTerminate(TNotifyEvent::From([&](TObject* sender) {
    EXPECT_EQ(sender, work.Get());
    EXPECT_TRUE(TLayer::IsMainThread());
    EXPECT_TRUE(work->Finished());
    story += "ended";
  }));
  EXPECT_EQ(story, "") << "nothing runs on the main thread until it lets it";
  work->WaitFor();
  EXPECT_EQ(story, "queued called nested left ended");
}

TEST_F(TThreadTest, AnotherThreadMayWaitToo) {
  std::atomic<bool> go{false};
  const auto first = Make<TWork>([&](TWork&) { Until([&] { return go.load(); }); });
  int order = 0, waited = 0;
  first->OnTerminate(TNotifyEvent::From([&](TObject*) { ++order; }));
  const auto second = Make<TWork>([&](TWork& self) {
    first->WaitFor();
    EXPECT_TRUE(first->Finished());
    self.Synchronize([&] { waited = ++order; });
  });
  go = true;
  second->WaitFor();
  EXPECT_EQ(waited, 2);
}

TEST_F(TThreadTest, WhatEscapesIsHandledOnTheMainThreadAndKept) {
  std::string seen;
  const auto work = Make<TWork>([](TWork&) { throw EConvertError("from the thread"); });
  work->OnTerminate(TNotifyEvent::From([&](TObject*) {
    try {
      std::rethrow_exception(work->FatalException());
    } catch (const EConvertError& e) {
      seen = e.Message();
    }
    throw Exception("from the event");
  }));
  work->WaitFor();
  EXPECT_EQ(seen, "from the thread");
  EXPECT_TRUE(Logged("Unhandled exception: from the thread"));
  EXPECT_TRUE(Logged("Unhandled exception: from the event"));
}

TEST_F(TThreadTest, FreesItselfOnTheMainThreadWhereThatIsAsked) {
  bool go = false;
  TWork* work = New<TWork>([&](TWork& self) { self.Synchronize([&] { EXPECT_TRUE(go); }); });
  work->FreeOnTerminate(true);
  const TObjectHandle handle(work);
  go = true;
  work->WaitFor();
  EXPECT_FALSE(handle.IsAlive());

  // The event frees it first.
  work = New<TWork>([](TWork&) {}, true);
  work->FreeOnTerminate(true);
  work->OnTerminate(TNotifyEvent::From([](TObject* sender) { sender->Free(); }));
  work->Resume();
  work->WaitFor();
}

TEST_F(TThreadTest, ParksAtASafePointUntilItIsResumedOrFreed) {
  auto rounds = Make<TRounds>();
  Until([&] { return rounds->rounds > 0 && FClock->Sleepers() == 1; });
  EXPECT_FALSE(rounds->Suspended());
  rounds->Suspend();
  EXPECT_TRUE(rounds->Suspended());
  EXPECT_FALSE(rounds->Parked()) << "it sleeps, which is no safe point";
  FClock->Advance(10);
  Until([&] { return rounds->Parked(); });
  const int parked = rounds->rounds;
  FClock->Advance(1000);
  EXPECT_EQ(FClock->Sleepers(), 0);
  EXPECT_EQ(rounds->rounds, parked);
  rounds->Resume();
  Until([&] { return rounds->rounds == parked + 1 && FClock->Sleepers() == 1; });
  EXPECT_FALSE(rounds->Parked());
  rounds->Suspend();
  FClock->Advance(10);
  Until([&] { return rounds->Parked(); });
  rounds.Reset();  // terminates it and waits
}

TEST_F(TThreadTest, AThreadMadeSuspendedStartsWhenItIsResumed) {
  int ran = 0, ended = 0;
  const auto make = [&] {
    auto work = Make<TWork>([&](TWork&) { ++ran; }, true);
    work->OnTerminate(TNotifyEvent::From([&](TObject*) { ++ended; }));
    return work;
  };
  make();  // freed without ever having run
  auto work = make();
  EXPECT_TRUE(work->Suspended());
  work->WaitFor();
  EXPECT_FALSE(work->Finished());
  work->Resume();
  work->WaitFor();
  EXPECT_EQ(std::pair(ran, ended), std::pair(1, 1));
  work = make();
  work->Terminate();
  work->Resume();
  work->WaitFor();
  EXPECT_EQ(std::pair(ran, ended), std::pair(1, 2)) << "terminated before it began";
}

// The main thread's wait takes the clock along, so that a sleeping thread comes to its end.
TEST_F(TThreadTest, WaitingMovesTheManualClockToWhereSleepersWake) {
  const auto work = Make<TWork>([&](TWork&) {
    for (int i = 0; i < 50; ++i) TThread::Sleep(1000);
  });
  work->WaitFor();
  EXPECT_EQ(FClock->Ticks(), 50000);
}

TEST_F(TThreadTest, CreateThatFailsStartsNothing) {
  class TFailing : public TThread {
    TCLASS(TFailing, TThread)
   public:
    void Create(bool) override {
      TThread::Create(false);
      throw Exception("no");
    }

   protected:
    void Execute() PL_OTHER_THREAD override { std::abort(); }
  };
  EXPECT_THROW(New<TFailing>(false), Exception);
}

TEST_F(TThreadTest, ALayerThatUnloadsEndsTheThreadsThatNobodyEnded) {
  EXPECT_EXIT(
      {
        // The child has a copy of this test's layer, and no thread of its own yet.
        TRounds* rounds = New<TRounds>();
        rounds->FreeOnTerminate(true);
        const TObjectHandle handle(rounds);
        int calls = 0;
        TWork* work = New<TWork>([&](TWork& self) {
          while (self.SafePoint()) self.Synchronize([&] { ++calls; });
        });
        while (calls == 0) CheckSynchronize(-1);
        std::destroy_at(&TLayer::Current());
        const bool good = !handle.IsAlive() && work->Finished() && calls > 0;
        _exit(good ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

// Several threads call the main one, which also waits, queues and frees: for the sanitizers.
TEST_F(TThreadTest, ManyThreadsAtOnce) {
  constexpr int kThreads = 4, kCalls = 500;
  int calls = 0, queued = 0, ended = 0;
  std::vector<TOwned<TWork>> works;
  for (int i = 0; i < kThreads; ++i) {
    works.push_back(Make<TWork>([&](TWork& self) {
      for (int call = 0; call < kCalls; ++call) {
        self.Queue([&] { ++queued; });
        self.Synchronize([&] { ++calls; });
        if (call % 50 == 0) TThread::Sleep(1);
      }
    }));
    works.back()->OnTerminate(TNotifyEvent::From([&](TObject*) { ++ended; }));
  }
  Until([&] {
    Application()->ProcessMessages();
    FClock->Advance(1);
    return ended == kThreads;
  });
  EXPECT_EQ(calls, kThreads * kCalls);
  EXPECT_EQ(queued, kThreads * kCalls);
}

}  // namespace
}  // namespace perlayer

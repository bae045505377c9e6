#include "perlayer/platform/TApplication.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TTimer.h"
#include "support/ManualClock.h"
#include "support/TestLog.h"

namespace perlayer {
namespace {

class TForm : public TObject {
  TCLASS(TForm, TObject)
};

class TApplicationTest : public testing::Test {
 protected:
  TApplicationTest() {
    Application()->OnIdle(TIdleEvent::From([this](TObject*, bool& done) {
      EXPECT_TRUE(done);
      FStory += "idle ";
      if (FClock->Ticks() >= FEnd) Application()->Terminate();
    }));
  }

  TManualClock* const FClock = InstallManualClock();
  std::int64_t FEnd = 0;  // when the main loop is to end
  std::string FStory;
};

TEST_F(TApplicationTest, RunsTimersAndIsIdleBeforeEachWait) {
  const auto timer = Make<TTimer>();
  timer->Interval(40);
  timer->OnTimer(TNotifyEvent::From([this](TObject*) { FStory += "tick "; }));
  FEnd = 80;
  Application()->Run();
  EXPECT_EQ(FStory, "idle tick idle tick idle ");
  EXPECT_EQ(FClock->Ticks(), 80);
  FStory.clear();
  Application()->Run();  // terminated for good
  EXPECT_EQ(FStory, "");
}

TEST_F(TApplicationTest, AnIdleHandlerThatIsNotDoneIsCalledAgainWithNoWait) {
  int calls = 0;
  Application()->OnIdle(TIdleEvent::From([&](TObject*, bool& done) {
    done = ++calls % 3 == 0;
    if (calls == 6) Application()->Terminate();
  }));
  const auto timer = Make<TTimer>();
  timer->Interval(10);
  timer->OnTimer(TNotifyEvent::From([](TObject*) {}));
  Application()->Run();
  EXPECT_EQ(calls, 6);
  EXPECT_EQ(FClock->Ticks(), 10) << "one wait, after the third call";
}

TEST_F(TApplicationTest, QueuedCallsRunInOrderAtTheNextTurnAndOneWhoseOwnerIsGoneNever) {
  auto owner = Make<TForm>();
  Application()->MainForm(owner.Get());
  Application()->Queue([this] { FStory += "1 "; });
  Application()->Queue([this] { FStory += "gone "; }, owner.Get());
  Application()->Queue([this] {
    FStory += "2 ";
    Application()->Queue([this] { FStory += "4 "; });
    throw Exception("the second call");
  });
  Application()->Queue([this] { FStory += "3 "; });
  EXPECT_EQ(FStory, "");
  EXPECT_EQ(Application()->MainForm(), owner.Get());
  owner.Reset();
  EXPECT_EQ(Application()->MainForm(), nullptr) << "one that has gone is forgotten";
  EXPECT_TRUE(CheckSynchronize());
  EXPECT_EQ(FStory, "1 2 3 ") << "what a call queues waits for the next turn";
  EXPECT_TRUE(Logged("the second call"));
  Application()->ProcessMessages();
  EXPECT_EQ(FStory, "1 2 3 4 ");
  EXPECT_FALSE(CheckSynchronize(50));
  EXPECT_EQ(FClock->Ticks(), 50) << "waited for as long as it was told";
}

TEST_F(TApplicationTest, WhatEscapesGoesToOnExceptionElseIntoTheLogAndAbortNowhere) {
  const auto raise = [](auto exception) {
    try {
      throw exception;
    } catch (...) {
      Application()->HandleException(Application());
    }
  };
  raise(Exception("first"));
  raise(5);
  raise(EAbort("silent"));
  EXPECT_TRUE(Logged("Unhandled exception: first"));
  EXPECT_TRUE(Logged("unknown exception"));
  EXPECT_EQ(TestLog().Lines().size(), 2u);

  Application()->OnException(
      TExceptionEvent::From([this](TObject* sender, const std::exception& e) {
        EXPECT_EQ(sender, Application());
        FStory += e.what();
        if (FStory.size() > 10) throw std::runtime_error("the handler itself");
      }));
  raise(Exception("second "));
  EXPECT_EQ(FStory, "second ");
  EXPECT_EQ(TestLog().Lines().size(), 2u) << "the handler has it";
  raise(std::runtime_error("third"));
  EXPECT_TRUE(Logged("in OnException: the handler itself"));
  EXPECT_TRUE(Logged("Unhandled exception: third"));
  FStory.clear();
  Application()->OnIdle(TIdleEvent::From([](TObject*, bool&) {
    Application()->Terminate();
    throw Exception("idle");
  }));
  Application()->Run();
  EXPECT_EQ(FStory, "idle");
}

TEST_F(TApplicationTest, OtherThreadsAreRefusedWhatIsTheMainOnes) {
  TApplication* application = Application();
  std::thread([&]() PL_NO_THREAD_SAFETY_ANALYSIS {
    EXPECT_THROW(application->Run(), EAssertionFailed);
    EXPECT_THROW(application->ProcessMessages(), EAssertionFailed);
    EXPECT_THROW(application->CheckSynchronize(), EAssertionFailed);
    EXPECT_THROW(application->Turn(), EAssertionFailed);
    EXPECT_THROW(New<TTimer>(), EAssertionFailed);
  }).join();
}

// A toolkit as the port sees one: it owns the loop, and has events of its own.
class TToolkitLoop : public TMainLoop {
 public:
  explicit TToolkitLoop(std::string& story) : FStory(story) {}
  void Run(TApplication& application) override {
    while (!application.Terminated()) {
      ProcessEvents();
      if (application.Turn()) FStory += "turned ";
      const std::int64_t wait = application.Idle();
      FStory += wait < 0 ? "wait " : "wait" + std::to_string(wait) + " ";
      TClock::Current().WaitFor(FWoken, wait);
    }
  }
  void ProcessEvents() override { FStory += "events "; }
  void Wake() noexcept override { FWoken.Set(); }

 private:
  std::string& FStory;
  TSignal FWoken;
};

TEST_F(TApplicationTest, AnotherLoopTakesThePlaceOfThePlainOne) {
  EXPECT_NE(Application()->MainLoop(std::make_unique<TToolkitLoop>(FStory)), nullptr);
  Application()->OnIdle(nullptr);
  const auto timer = Make<TTimer>();
  timer->Interval(7);
  timer->OnTimer(TNotifyEvent::From([](TObject*) {
    EXPECT_THROW(Application()->Run(), EAssertionFailed);
    EXPECT_THROW(Application()->MainLoop(nullptr), EAssertionFailed);
    Application()->ProcessMessages();
    Application()->Terminate();
  }));
  Application()->Run();
  EXPECT_EQ(FStory, "events wait7 events events turned wait7 ");
  EXPECT_NE(Application()->MainLoop(nullptr), nullptr);
}

// Another thread's call ends a wait that has no limit.
TEST_F(TApplicationTest, ACallFromAnotherThreadWakesTheLoop) {
  TApplication* application = Application();
  application->OnIdle(nullptr);
  std::thread other([&] {
    application->Synchronize([this] { FStory += "called "; });
    FStory += "answered ";  // the call has happened before
    application->Terminate();
  });
  application->Run();
  other.join();
  EXPECT_EQ(FStory, "called answered ");
}

}  // namespace
}  // namespace perlayer

#include "perlayer/platform/TTimer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TApplication.h"
#include "support/ManualClock.h"
#include "support/TestLog.h"

namespace perlayer {
namespace {

class TTimerTest : public testing::Test {
 protected:
  template <class THandler>
  TOwned<TTimer> Timer(int interval, THandler handler) {
    auto timer = Make<TTimer>();
    timer->Interval(interval);
    timer->OnTimer(TNotifyEvent::From([=, this](TObject* sender) {
      FStory += std::to_string(interval) + " ";
      handler(Cast<TTimer>(sender));
    }));
    return timer;
  }
  TOwned<TTimer> Timer(int interval) {
    return Timer(interval, [](TTimer*) {});
  }
  // What ticks in the one turn after so many milliseconds.
  std::string After(std::int64_t milliseconds) {
    FClock->Advance(milliseconds);
    FStory.clear();
    Application()->ProcessMessages();
    return FStory;
  }

  TManualClock* const FClock = InstallManualClock();
  std::string FStory;
};

TEST_F(TTimerTest, TicksOnlyWithAnEventAndAnInterval) {
  const auto bare = Make<TTimer>();
  EXPECT_EQ(After(5000), "");
  const auto timer = Timer(100);
  timer->Interval(0);
  EXPECT_EQ(After(100000), "");
  EXPECT_THROW(timer->Interval(-1), EAssertionFailed);
  timer->Interval(50);
  timer->OnTimer(nullptr);
  EXPECT_EQ(After(100), "");
}

TEST_F(TTimerTest, AHandlerMayDoAnythingToItsTimer) {
  TOwned<TTimer> freed;
  freed = Timer(10, [&](TTimer*) { freed.Reset(); });
  const auto stopped = Timer(20, [](TTimer* self) { self->Enabled(false); });
  // The time that the handler takes does not count against a time that it starts anew.
  const auto slower = Timer(30, [&](TTimer* self) {
    self->Interval(300);
    FClock->Advance(5);
  });
  const auto failing = Timer(40, [](TTimer*) { throw Exception("in a tick"); });
  EXPECT_EQ(After(40), "10 20 30 40 ");
  EXPECT_TRUE(Logged("in a tick"));
  EXPECT_EQ(After(299), "40 ");
  EXPECT_EQ(After(1), "30 ");
}

TEST_F(TTimerTest, WhileItsHandlerRunsATimerDoesNotTickButOthersDo) {
  const auto busy = Timer(10, [&](TTimer*) {
    FClock->Advance(50);
    Application()->ProcessMessages();
    FStory += "done ";
  });
  const auto other = Timer(15);
  EXPECT_EQ(After(10), "10 15 done ");
  EXPECT_EQ(FClock->Ticks(), 60);
  EXPECT_EQ(After(9), "");
}

// Timers at random against a model that knows for each when it is due.
TEST_F(TTimerTest, ManyTimersTickInTheOrderOfTheirTimes) {
  std::mt19937 random(20240611);
  struct TModel {
    TOwned<TTimer> timer;
    std::int64_t due;
  };
  std::vector<TModel> models;
  std::vector<TTimer*> ticked;
  for (int i = 0; i < 20; ++i) {
    auto timer = Make<TTimer>();
    timer->OnTimer(
        TNotifyEvent::From([&](TObject* sender) { ticked.push_back(Cast<TTimer>(sender)); }));
    models.push_back({std::move(timer), 1000});
  }
  int ticks = 0;
  for (int step = 0; step < 20000; ++step) {
    TModel& model = models[random() % models.size()];
    TTimer& timer = *model.timer;
    const std::int64_t now = FClock->Ticks();
    switch (random() % 4) {
      case 0: {
        const int interval = static_cast<int>(random() % 50);
        if (interval != timer.Interval()) model.due = now + interval;
        timer.Interval(interval);
        break;
      }
      case 1:  // turning on what is on changes nothing
        if (timer.Enabled()) timer.Enabled(true);
        if (!timer.Enabled()) model.due = now + timer.Interval();
        timer.Enabled(!timer.Enabled());
        break;
      default: {
        FClock->Advance(random() % 20);
        const std::int64_t then = FClock->Ticks();
        ticked.clear();
        Application()->ProcessMessages();
        std::vector<std::int64_t> dues;
        for (TTimer* each : ticked) {
          dues.push_back(std::find_if(models.begin(), models.end(), [each](const TModel& m) {
                           return m.timer.Get() == each;
                         })->due);
        }
        ASSERT_TRUE(std::is_sorted(dues.begin(), dues.end())) << "step " << step;
        for (TModel& m : models) {
          const bool due = m.timer->Enabled() && m.timer->Interval() > 0 && m.due <= then;
          ASSERT_EQ(std::count(ticked.begin(), ticked.end(), m.timer.Get()), due ? 1 : 0)
              << "step " << step;
          if (!due) continue;
          ++ticks;
          m.due += m.timer->Interval();
          if (m.due <= then) m.due = then + m.timer->Interval();
        }
      }
    }
  }
  EXPECT_GT(ticks, 10000);
}

}  // namespace
}  // namespace perlayer

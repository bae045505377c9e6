#include "perlayer/platform/TClock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include "perlayer/platform/TSignal.h"

namespace perlayer {
namespace {

TEST(TSignal, EndsOneWaitHoweverOftenItWasSet) {
  TSystemClock clock;
  TSignal signal;
  EXPECT_FALSE(clock.WaitFor(signal, 0));
  EXPECT_FALSE(clock.WaitFor(signal, 1));
  signal.Set();
  signal.Set();
  EXPECT_TRUE(clock.WaitFor(signal, -1));
  EXPECT_FALSE(clock.WaitFor(signal, 0));
  std::thread other([&] { signal.Set(); });
  EXPECT_TRUE(clock.WaitFor(signal, 600000));
  other.join();
}

TEST(TManualClock, ItsOwnerMovesItAndIsNeverKept) {
  TManualClock clock(45000);
  TSignal signal;
  clock.Sleep(5);
  EXPECT_FALSE(clock.WaitFor(signal, 20));
  EXPECT_EQ(clock.Ticks(), 25);
  signal.Set();
  EXPECT_TRUE(clock.WaitFor(signal, 20));
  EXPECT_EQ(clock.Ticks(), 25) << "nothing to wait for";
  std::thread other([&] {
    clock.Sleep(100);
    EXPECT_FALSE(clock.WaitFor(signal, 50));
    signal.Set();
  });
  EXPECT_TRUE(clock.WaitFor(signal, -1));
  EXPECT_EQ(clock.Ticks(), 175) << "from one moment that somebody waits for to the next";
  other.join();
}

// Sleepers wake at their own moments however the clock is moved.
TEST(TManualClock, OtherThreadsSleepUntilItHasBeenMoved) {
  TManualClock clock(45000);
  std::mutex lock;
  std::vector<std::int64_t> woken;
  std::vector<std::thread> threads;
  for (const int length : {30, 10, 20}) {
    threads.emplace_back([&, length] {
      clock.Sleep(length);
      const std::lock_guard guard(lock);
      woken.push_back(length);
    });
  }
  const auto wait = [&](int sleepers, std::size_t awake) {
    for (;;) {
      std::this_thread::yield();
      const std::lock_guard guard(lock);
      if (clock.Sleepers() == sleepers && woken.size() == awake) break;
    }
  };
  wait(3, 0);
  clock.Advance(9);
  EXPECT_EQ(clock.Sleepers(), 3);
  clock.Advance(1);
  wait(2, 1);
  clock.Advance(19);
  wait(1, 2);
  clock.Advance(1);
  wait(0, 3);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(woken, (std::vector<std::int64_t>{10, 20, 30}));
}

// No wake-up is lost between signals, moves of the clock and waits that begin just then.
TEST(TManualClock, ManyThreadsSleepAndWaitAtOnce) {
  TManualClock clock(45000);
  std::vector<std::thread> threads;
  std::atomic<int> left{4};
  TSignal ended;
  for (unsigned t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      std::mt19937 random(t);
      TSignal own;
      for (int i = 0; i < 2000; ++i) {
        const std::int64_t length = random() % 5;
        const std::int64_t before = clock.Ticks();
        if (random() % 3 == 0) own.Set();
        if (!clock.WaitFor(own, length)) {
          ASSERT_GE(clock.Ticks(), before + length);
        }
      }
      --left;
      ended.Set();
    });
  }
  while (left > 0) clock.WaitFor(ended, -1);
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace perlayer

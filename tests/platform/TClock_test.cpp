#include "perlayer/platform/TClock.h"

#include <gtest/gtest.h>

#include <thread>

#include "perlayer/platform/TSignal.h"

namespace perlayer {
namespace {

TEST(TSignal, EndsOneWaitHoweverOftenItWasSet) {
  TSystemClock clock;
  TSignal signal;
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

}  // namespace
}  // namespace perlayer

#include "perlayer/platform/TCriticalSection.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace perlayer {
namespace {

// What another thread meets. The analysis cannot follow a lock that is only tried.
bool OthersMayEnter(TCriticalSection& section) PL_NO_THREAD_SAFETY_ANALYSIS {
  bool entered = false;
  std::thread([&]() PL_NO_THREAD_SAFETY_ANALYSIS {
    entered = section.TryEnter();
    if (entered) section.Leave();
  }).join();
  return entered;
}

// The thread that holds the section enters again, which the analysis takes for a fault.
TEST(TCriticalSection, TheHolderEntersAgainAndOthersWaitForAsManyLeaves) {
  TCriticalSection section;
  [&]() PL_NO_THREAD_SAFETY_ANALYSIS {
    section.Enter();
    ASSERT_TRUE(section.TryEnter());
    EXPECT_FALSE(OthersMayEnter(section));
    section.Leave();
    EXPECT_FALSE(OthersMayEnter(section));
    section.Leave();
    EXPECT_TRUE(OthersMayEnter(section));
  }();
}

TEST(TCriticalSection, OneThreadAtATimeIsInside) {
  TCriticalSection section;
  int count = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 10000; ++i) {
        TCriticalGuard guard(section);
        ++count;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(count, 40000);
}

}  // namespace
}  // namespace perlayer

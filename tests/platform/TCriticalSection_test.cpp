#include "perlayer/platform/TCriticalSection.h"

#include <gtest/gtest.h>

#include <thread>

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
    {
      TCriticalGuard guard(section);
      ASSERT_TRUE(section.TryEnter());
      section.Enter();
      section.Leave();
      section.Leave();
      EXPECT_FALSE(OthersMayEnter(section));
    }
    EXPECT_TRUE(OthersMayEnter(section));
  }();
}

}  // namespace
}  // namespace perlayer

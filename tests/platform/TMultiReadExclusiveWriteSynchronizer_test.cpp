#include "perlayer/platform/TMultiReadExclusiveWriteSynchronizer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "perlayer/platform/Exception.h"

namespace perlayer {
namespace {

// The analysis cannot follow a lock that is taken twice, so these go round it.
class TTestee : public TMultiReadExclusiveWriteSynchronizer {
 public:
  void Read() PL_NO_THREAD_SAFETY_ANALYSIS { BeginRead(); }
  void ReadEnd() PL_NO_THREAD_SAFETY_ANALYSIS { EndRead(); }
  bool Write() PL_NO_THREAD_SAFETY_ANALYSIS { return BeginWrite(); }
  void WriteEnd() PL_NO_THREAD_SAFETY_ANALYSIS { EndWrite(); }
};

TEST(TMultiReadExclusiveWriteSynchronizer, ReadersReadTogetherAndAWriterIsAlone) {
  TTestee lock;
  lock.Read();
  std::jthread([&] {
    lock.Read();
    lock.ReadEnd();
  }).join();
  int written = 0;
  std::jthread writer([&] {
    EXPECT_TRUE(lock.Write());
    ++written;
    lock.WriteEnd();
  });
  lock.Read();  // again, whoever waits to write
  lock.ReadEnd();
  EXPECT_EQ(written, 0);
  lock.ReadEnd();
  writer.join();
}

TEST(TMultiReadExclusiveWriteSynchronizer, TheWriterEntersAgainOnBothSides) {
  TTestee lock;
  EXPECT_TRUE(lock.Write());
  EXPECT_TRUE(lock.Write());
  lock.Read();
  lock.WriteEnd();
  std::atomic<bool> entered{false};
  std::jthread other([&] {
    lock.Write();
    entered = true;
    lock.WriteEnd();
  });
  lock.WriteEnd();
  EXPECT_FALSE(entered) << "it reads still";
  lock.ReadEnd();
  other.join();
  EXPECT_TRUE(entered);
  EXPECT_THROW(lock.ReadEnd(), EAssertionFailed);
  EXPECT_THROW(lock.WriteEnd(), EAssertionFailed);
  lock.Write();
  std::jthread([&] {
    EXPECT_THROW(lock.WriteEnd(), EAssertionFailed);
    EXPECT_THROW(lock.ReadEnd(), EAssertionFailed);
  }).join();
  lock.WriteEnd();
}

// Two readers that begin to write would wait for each other for ever if they went on reading.
TEST(TMultiReadExclusiveWriteSynchronizer, AReaderThatWritesLearnsOfTheOneBefore) {
  TTestee lock;
  int value = 0;
  std::atomic<int> reading{0}, told{0};
  const auto work = [&] {
    lock.Read();
    lock.Read();
    const int seen = value;
    ++reading;
    while (reading < 2) std::this_thread::yield();
    const bool unchanged = lock.Write();
    EXPECT_EQ(unchanged, value == seen);
    told += unchanged ? 1 : 10;
    ++value;
    lock.WriteEnd();
    lock.ReadEnd();
    lock.ReadEnd();
  };
  {
    std::jthread first(work);
    std::jthread second(work);
  }
  EXPECT_EQ(told, 11);
  EXPECT_EQ(value, 2);
}

TEST(TMultiReadExclusiveWriteSynchronizer, ReadersNeverSeeHalfAWrite) {
  TMultiReadExclusiveWriteSynchronizer lock;
  int a = 0, b = 0;  // equal, but within a write
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 3000; ++i) {
        if ((i + t) % 4 == 0) {
          TWriteGuard guard(lock);
          ++a;
          ++b;
        } else {
          TReadGuard guard(lock);
          ASSERT_EQ(a, b);
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(a, 3000);
}

}  // namespace
}  // namespace perlayer

#include "perlayer/corekit/ILog.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>

namespace perlayer {
namespace {

TEST(ILog, LinesReachTheInstalledSinkAndTheErrorStreamWithoutOne) {
  auto log = std::make_unique<TMemoryLog>();
  TMemoryLog* sink = log.get();
  InstallLog(std::move(log));
  ILog("kept");
  ILogBuffer();
  EXPECT_EQ(sink->Lines(), std::vector<std::string>{"kept"});
  EXPECT_EQ(sink->Flushes(), 1);
  EXPECT_EQ(ILogFileName(), "");

  testing::internal::CaptureStderr();
  EXPECT_EQ(InstallLog(nullptr).get(), sink);
  ILog("shown");
  ILogBuffer();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "shown\n");
}

TEST(ILog, ASinkThatRaisesCostsNoLineAndNoCaller) {
  struct TFailing : TLogSink {
    void Line(std::string_view) override { throw std::runtime_error("out of ink"); }
  };
  InstallLog(std::make_unique<TFailing>());
  testing::internal::CaptureStderr();
  ILog("important");
  const std::string told = testing::internal::GetCapturedStderr();
  EXPECT_NE(told.find("out of ink"), std::string::npos);
  EXPECT_NE(told.find("important"), std::string::npos);
}

// Threads write while the main thread changes the sink; the sinks together hold every line, and
// each thread's in order.
TEST(ILog, ThreadsLoseNoLineWhenTheSinkChanges) {
  constexpr int kThreads = 4, kLines = 1000;
  InstallLog(std::make_unique<TMemoryLog>());
  std::vector<std::unique_ptr<TLogSink>> sinks;
  std::atomic<int> running{kThreads};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t, &running] {
      for (int i = 0; i < kLines; ++i) ILog(std::to_string(t) + " " + std::to_string(i));
      --running;
    });
  }
  while (running > 0) {
    sinks.push_back(InstallLog(std::make_unique<TMemoryLog>()));
    std::this_thread::yield();
  }
  for (std::thread& thread : threads) thread.join();
  sinks.push_back(InstallLog(nullptr));

  std::vector<int> next(kThreads, 0);
  for (const auto& sink : sinks) {
    for (const std::string& line : static_cast<TMemoryLog&>(*sink).Lines()) {
      const std::size_t blank = line.find(' ');
      const auto thread = static_cast<std::size_t>(std::stoi(line.substr(0, blank)));
      ASSERT_EQ(std::stoi(line.substr(blank)), next[thread]++);
    }
  }
  EXPECT_EQ(next, std::vector<int>(kThreads, kLines));
}

}  // namespace
}  // namespace perlayer

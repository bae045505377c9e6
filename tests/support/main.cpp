// main() of every test program. Each test finds a fresh layer whose log is kept in memory, and
// fails when objects that it made outlive that layer.

#include <gtest/gtest.h>

#include <memory>
#include <optional>

#include "perlayer/platform/TLayer.h"
#include "perlayer/platform/TSlotTable.h"
#include "support/TestLog.h"

namespace perlayer {

namespace {

TMemoryLog* InstalledLog = nullptr;  // the layer's

class TLayerPerTest : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo&) override {
    FLiveBefore = TSlotTable::LiveCount();
    FLayer.emplace();
    auto log = std::make_unique<TMemoryLog>();
    InstalledLog = log.get();
    InstallLog(std::move(log));
  }

  void OnTestEnd(const testing::TestInfo&) override {
    InstalledLog = nullptr;
    FLayer.reset();
    const std::int64_t left = TSlotTable::LiveCount() - FLiveBefore;
    if (left > 0) ADD_FAILURE() << "objects that outlive the test: " << left;
    if (left < 0) ADD_FAILURE() << "objects given back more than once: " << -left;
  }

  std::optional<TLayer> FLayer;
  std::int64_t FLiveBefore = 0;
};

}  // namespace

TMemoryLog& TestLog() { return *InstalledLog; }

}  // namespace perlayer

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  testing::UnitTest::GetInstance()->listeners().Append(new perlayer::TLayerPerTest);
  return RUN_ALL_TESTS();
}

// A program that is killed while it saves.

#include <random>

#include "support/ModelTest.h"
#include "support/RunProgram.h"
#include "support/TKilledStream.h"
#include "support/TempDir.h"

namespace perlayer {
namespace {

TEST(KilledSaves, LeaveWholeTransactionsBehindAndTheLayerGoesOn) {
  const TTempDir dir;
  const std::string file = dir.File("stream.db");
  TKilledStream stream({PERLAYER_SAVE_STREAM}, file);
  std::mt19937 random(20261123);
  const int kills = ModelSteps(4);
  for (int i = 0; i < kills; ++i) {
    const int bytes = 1 + static_cast<int>(random() % 60);
    const int spins = static_cast<int>(random() % 20000);
    try {
      stream.KillAfter(bytes, spins);
    } catch (const std::exception& e) {
      FAIL() << e.what() << ", killed after byte " << bytes << " and " << spins << " spins";
    }
  }
  EXPECT_EQ(RunProgram({PERLAYER_SAVE_STREAM, file, "8"}).status, 0);
  EXPECT_EQ(TSaveStream::Check(file), stream.Last() + 8);
}

}  // namespace
}  // namespace perlayer

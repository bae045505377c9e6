// What is kept of statements.

#include "support/ModelTest.h"
#include "support/SavingFixture.h"

namespace perlayer {
namespace {

using StatementCaches = TSavingTest;

// The time stamp of each row is asked by a statement of its own.
TEST_F(StatementCaches, StayBoundedForAClassThatFollowsTimeStamps) {
  int id = 0;
  const auto save = [&](int rows) {
    dbProvider()->StartTransaction("rows");
    for (; rows > 0; --rows) {
      auto object = NewOf(FReadings, std::to_string(++id));
      object->SetAttrValue("NAME", "A");
      object->SaveData();
      ASSERT_NE(object->GetTimeStamp(), TplPerObject::kNoDate);
    }
    dbProvider()->Commit("rows");
  };
  const auto statements = [&] {
    return static_cast<TSqliteSession&>(FSession->Inner()).KeptStatements();
  };
  save(700);
  const std::int64_t live = LiveAllocations();
  const std::size_t kept = statements();
  save(700);
  EXPECT_LE(LiveAllocations(), live + 20) << "one more for each row would be 700";
  EXPECT_EQ(statements(), kept);
  EXPECT_LE(kept, TSqliteOptions().keptStatements);
}

}  // namespace
}  // namespace perlayer

#include "perlayer/object/THold.h"

#include <gtest/gtest.h>

#include "perlayer/platform/TSlotTable.h"
#include "support/HospitalFixture.h"

namespace perlayer {
namespace {

using THoldTest = THospital;

TEST_F(THoldTest, HoldsForItsScope) {
  AddPatient(1, "Ana");
  AddPatient(2, "Ana");
  const std::int64_t live = TSlotTable::LiveCount();
  TObjectHandle handle;
  {
    THold<TpoPatient> one(FPatients, "1");
    ASSERT_TRUE(one);
    handle = one.Get();
    EXPECT_EQ(one->aiRetainerList()->Objects(0), one.Retainer());
    {
      const THold<> two(static_cast<TplPerObject*>(one.Get()));
      EXPECT_EQ(one->RefCount(), 2);
      EXPECT_EQ(one->aiRetainerList()->Objects(1), two.Retainer());
    }
    EXPECT_EQ(one->RefCount(), 1);
    THold<TpoPatient> moved = std::move(one);
    EXPECT_FALSE(one);
    one.Reset();
    EXPECT_EQ(moved->aiRetainerList()->Objects(0), moved.Retainer());
    THold<TpoPatient> second(FPatients, "2");
    second = std::move(moved);
    EXPECT_EQ(second->GetGID(), "1");
    EXPECT_TRUE(handle.IsAlive());
    second.Reset();
    EXPECT_FALSE(handle.IsAlive());
    EXPECT_FALSE(THold<>::Where(FPatients, "NAME = 'Bor'"));
  }
  EXPECT_EQ(TSlotTable::LiveCount(), live);
}

TEST_F(THoldTest, ObjectOfAnotherClassIsRefusedAndLetGo) {
  AddEncounter(1, "V");
  AddPatient(1, "Ana");
  AddPatient(2, "Ana");
  const THold<TpoVisit> visit(FEncounters, "1");
  const std::int64_t live = TSlotTable::LiveCount();
  EXPECT_EQ(Raised([&] { THold<TpoStay>(FEncounters, "1"); }),
            "Invalid class typecast: TpoVisit is no TpoStay");
  EXPECT_THROW(THold<>::Where(FPatients, "NAME = 'Ana'"), Exception);
  EXPECT_EQ(TSlotTable::LiveCount(), live);
}

}  // namespace
}  // namespace perlayer

#include "perlayer/provider/TplProviderList.h"

#include <gtest/gtest.h>

#include "perlayer/platform/TSlotTable.h"
#include "perlayer/reclaim/TIPerLayerStatistics.h"
#include "support/HospitalFixture.h"
#include "support/TestLog.h"

namespace perlayer {
namespace {

using TplProviderListTest = THospital;

std::string Finalized;  // names of the providers that were finalized or freed, in order

class TplPatients : public TplPatient {
  TCLASS(TplPatients, TplPatient)
 public:
  void SetQueryName() override { aiQueryName("quPatient"); }
  void Finalize() override { Finalized += "F"; }
  void Destroy() override {
    Finalized += "D";
    TplPatient::Destroy();
  }
};
TPROVIDER(TplUnborn, TpoPatient)

TEST_F(TplProviderListTest, KnowsProvidersInTheOrderOfTheirCreation) {
  auto* list = TplProvider::GetProviderList();
  ASSERT_EQ(list->GetCount(), 4);
  EXPECT_EQ(list->GetProvider(0), FPatients);
  EXPECT_EQ(list->GetProviderFor("TPOENCOUNTER"), FEncounters);
  EXPECT_EQ(list->GetProviderFor("tpoStay"), Provider<TplStay>());
  auto* second = New<TplPatient>(nullptr, FMap);
  EXPECT_EQ(list->GetProviderFor("TpoPatient"), FPatients);  // the first
  EXPECT_EQ(list->GetProvider(4), second);
  EXPECT_EQ(Raised([] { Provider<TplUnborn>(); }), "There is no provider of class TplUnborn");
}

TEST_F(TplProviderListTest, FreesEveryProviderAndTellsOfOneThatIsHeld) {
  Finalized.clear();
  auto* list = TplProvider::GetProviderList();
  auto* held = New<TplPatients>(nullptr, FMap);
  held->AddRef(FForm.Get());
  list->FinalizeProviders();
  EXPECT_EQ(Finalized, "F");
  AddPatient(1, "Ana");
  THold<TplPerObject> orphan(FPatients, "1");
  list->FreeProviders();
  EXPECT_TRUE(Logged("Finalization: RefCount of TplPatients is 2!"));
  EXPECT_FALSE(Logged("TplPatient is"));
  EXPECT_EQ(Finalized, "F");
  EXPECT_EQ(held->RefCount(), 1);
  EXPECT_EQ(list->GetProviderFor("TpoPatient"), nullptr);
  held->Release(FForm.Get());
  EXPECT_EQ(Finalized, "FD");
  // An object that outlives its provider and the database can still be let go.
  FDatabase.Reset();
  orphan.Reset();
}

TEST_F(TplProviderListTest, ClassMapOfAnotherOwnerGoesBeforeOrAfterItsProvider) {
  Finalized.clear();
  auto* early = New<TcmpClassMap>(HospitalMap());
  New<TplPatients>(nullptr, early);
  early->Free();
  TplProvider::GetProviderList()->FreeProviders();
  EXPECT_EQ(Finalized, "D");
  const TOwned<TcmpClassMap> late(New<TcmpClassMap>(HospitalMap()));
  New<TplPatients>(nullptr, late.Get());
  TplProvider::GetProviderList()->FreeProviders();
  EXPECT_EQ(Finalized, "DD");
}

// What is still there after unloading fails the test.
TEST_F(TplProviderListTest, AHookThatRaisesDoesNotKeepProvidersFromGoing) {
  PerLayerStatistics()->aiBeforeDestroyingProviders(
      TNotifyEvent::From([](TObject*) { throw Exception("not now"); }));
}

}  // namespace
}  // namespace perlayer

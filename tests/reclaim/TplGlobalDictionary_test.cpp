#include "perlayer/reclaim/TplGlobalDictionary.h"

#include <gtest/gtest.h>

#include "perlayer/corekit/ISystemParameters.h"
#include "perlayer/foundation/FoundationState.h"
#include "support/HospitalFixture.h"
#include "support/TestLog.h"

namespace perlayer {
namespace {

using enum TIReleaseType;

class TDictionaryTest : public THospital {
 protected:
  TDictionaryTest() {
    Provider<TplVisit>()->aiTableName("ENCOUNTER");
    Provider<TplStay>()->aiTableName("ENCOUNTER");
    FDictionary->aiUSEDICTIONARY(true);
  }
  TplGlobalDictionary* const FDictionary = GlobalDictionary();
};

TEST_F(TDictionaryTest, TheReleaseTypeMayChangeToLittle) {
  // From each type, in their order, to which.
  constexpr const char* kMayFollow[] = {"UADTSR", "D", "UADTSR", "AD", "D", "D"};
  constexpr std::string_view kTypes = "UADTSR";
  for (std::size_t from = 0; from < kTypes.size(); ++from) {
    std::string allowed;
    for (std::size_t to = 0; to < kTypes.size(); ++to) {
      if (MayFollow(static_cast<TIReleaseType>(from), static_cast<TIReleaseType>(to))) {
        allowed += kTypes[to];
      }
    }
    EXPECT_EQ(allowed, kMayFollow[from]) << kTypes[from];
  }
  for (const TIReleaseType type : {rtTimer, rtThreadSimple, rtReleaserThread}) {
    EXPECT_EQ(Raised([&] { FDictionary->aiReleaseType(type); }),
              "Not implemented yet: TplGlobalDictionary.SetReleaseType: release by a collector or "
              "a thread");
    EXPECT_EQ(FDictionary->aiReleaseType(), rtUndefined);
  }
  FDictionary->aiReleaseType(rtAllAtOnce);
  EXPECT_EQ(Raised([&] { FDictionary->aiReleaseType(rtAllAtOnce); }),
            "TplGlobalDictionary.SetReleaseType: Cannot swith release type!");
  FDictionary->aiReleaseType(rtDLL);
  EXPECT_EQ(FDictionary->aiReleaseType(), rtDLL);
}

TEST_F(TDictionaryTest, TwoHoldersOfARowHoldTheSameObject) {
  AddPatient(17, "Ana");
  FDictionary->aiUSEDICTIONARY(false);
  auto before = Patient("17");
  EXPECT_EQ(FDictionary->Count(), 0);
  EXPECT_TRUE(FDictionary->AddPerObject(FPatients, nullptr, FForm.Get()));
  EXPECT_EQ(FDictionary->ChangeID(FPatients, "17", before.Get(), "18"), -1);
  EXPECT_EQ(FDictionary->GetObject(FForm.Get(), FPatients, "17", true), nullptr);

  FDictionary->aiUSEDICTIONARY(true);
  auto first = Patient("17");
  EXPECT_NE(first.Get(), before.Get());
  const int runs = FSession->Runs();
  {
    auto second = Patient("17");
    EXPECT_EQ(second.Get(), first.Get());
    EXPECT_EQ(first->RefCount(), 2);
    EXPECT_EQ(first->aiRetainerList()->Objects(1), second.Retainer());
  }
  EXPECT_EQ(FSession->Runs(), runs);
  EXPECT_EQ(FDictionary->aiFetchSaveNumber(), 1);
  EXPECT_EQ(FDictionary->Strings(0), "PATIENT17");
  EXPECT_EQ(FDictionary->TakeObject(FPatients, "17"), first.Get());
  EXPECT_EQ(FDictionary->GetObject(FForm.Get(), nullptr, "17", true), nullptr);
  EXPECT_EQ(FDictionary->MemoryUsed(), sizeof(TpoPatient));

  // One of the same key that is not the entry's object leaves it in place.
  EXPECT_EQ(Raised([&] { FDictionary->AddPerObject(FPatients, before.Get(), FForm.Get()); }),
            "TplGlobalDictionary.AddPerObject: Objekt razreda TpoPatient (ID=17) je nov, vendar že "
            "obstaja v slovarju!?  V slovarju je objekt tipa TpoPatient.");
  EXPECT_EQ(Raised([&] { FDictionary->AddPerObject(FPatients, nullptr, FForm.Get()); }),
            "TplGlobalDictionary.AddPerObject: Napačna zahteva za dodajanje objekta s providerjem "
            "TplPatient: Object=nil!");
  before.Reset();
  EXPECT_EQ(FDictionary->Count(), 1);
  first.Reset();
  EXPECT_EQ(FDictionary->Count(), 0);
}

}  // namespace
}  // namespace perlayer

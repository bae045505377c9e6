// Fresh values for live objects.

#include <gtest/gtest.h>

#include "perlayer/object/TplPerObject.h"
#include "perlayer/platform/TStringList.h"
#include "perlayer/reclaim/TplGlobalDictionary.h"
#include "support/HospitalFixture.h"
#include "support/TestLog.h"

namespace perlayer {
namespace {

// With the dictionary off and on.
class TReloadTest : public THospital, public testing::WithParamInterface<bool> {
 protected:
  TReloadTest() {
    Provider<TplVisit>()->aiTableName("ENCOUNTER");
    Provider<TplStay>()->aiTableName("ENCOUNTER");
    GlobalDictionary()->aiUSEDICTIONARY(GetParam());
    AddPatient(1, "Ana");
    SetPatient(1, "SEX", "F");
  }
};
INSTANTIATE_TEST_SUITE_P(Dictionary, TReloadTest, testing::Bool());

TEST_P(TReloadTest, ACancelAfterAReloadGivesTheReloadedValues) {
  auto ana = Patient("1");
  ana->SetAttrValue("NAME", "Anja");
  ana->aiLockGroup("REC");
  ana->SetNeedToRefresh(true);
  SetPatient(1, "NAME", "Bora");
  ana->Reload();
  EXPECT_EQ(ana->GetAttrValue("NAME"), "Bora");
  EXPECT_EQ(ana->GetAttrOldValue("NAME"), "Bora");
  EXPECT_EQ(ana->GetEditState(), TIPersistentObjectState::posBrowse);
  EXPECT_FALSE(ana->GetNeedToRefresh());
  EXPECT_FALSE(ana->aiReloading());
  EXPECT_TRUE(ana->Store().DisableOptimizingUpdateQueries())
      << "the next save writes the whole row";
  ana->Touch();
  ana->CancelData();
  EXPECT_EQ(ana->GetAttrValue("NAME"), "Bora");
  ana->SetAttrValue("NAME", "Cene");
  ana->CancelData();
  EXPECT_EQ(ana->GetAttrValue("NAME"), "Bora");
  EXPECT_EQ(ana->RefCount(), 1);

  SetPatient(1, "NAME", "Dora");
  ana->Reload("NAME = 'Dora'");
  EXPECT_EQ(ana->GetAttrValue("NAME"), "Dora");
  Execute("delete from OMRA.PATIENT where ID = 1");
  ana->SetAttrValue("NAME", "Ema");
  ana->Reload();
  EXPECT_TRUE(ana->aiObjectMarkedDeleted());
  EXPECT_FALSE(ana->GetModified());
}

TEST_P(TReloadTest, ANewObjectTakesTheIdentityOfTheRowThatItIsFoundBy) {
  TplProvider::SetGreenMode(false);
  auto* object = FPatients->NewObject(FForm.Get());
  EXPECT_EQ(Raised([&] { object->Reload(); }),
            "TplPerObject.Reload: Ne morem narediti \"reload\" za nov objekt!");
  object->SetAttrValue("NAME", "?");
  object->Reload("NAME = 'Ana'");
  EXPECT_EQ(object->GetGID(), "1");
  EXPECT_EQ(object->GetAttrValue("SEX"), "F");
  EXPECT_EQ(object->GetEditState(), TIPersistentObjectState::posBrowse);
  if (GetParam()) {
    EXPECT_EQ(GlobalDictionary()->TakeObject(FPatients, "1"), object);
    EXPECT_EQ(GlobalDictionary()->Count(), 1);
  }
  object->Release(FForm.Get());
  EXPECT_EQ(GlobalDictionary()->Count(), 0);
}

TEST_P(TReloadTest, ACopyTakesAllButTheFirstAttributeOrNothing) {
  AddPatient(2, "Bor");
  auto ana = Patient("1");
  auto bor = Patient("2");
  EXPECT_TRUE(ana->AssignFields(bor.Get()));
  EXPECT_EQ(ana->GetGID(), "1");
  EXPECT_EQ(ana->GetAttrValue("NAME"), "Bor");
  EXPECT_EQ(ana->GetAttrValue("SEX"), "");
  EXPECT_FALSE(ana->GetModified());
  EXPECT_FALSE(ana->AssignFields(bor.Get()));

  // One attribute refuses: none is copied, and the dictionary is left off.
  ana->Reload();
  SetPatient(1, "NAME", "Cene");
  SetPatient(1, "VISITS", 3);
  ana->SetReadOnlyFields({"VISITS"}, false);
  EXPECT_EQ(Raised([&] { THold<>::Where(FPatients, "ID = 1 or ID = 3"); }),
            GetParam()
                ? "Objektu [1] TpoPatient ni dovoljeno spreminjati vrednosti Obiski! Preveri "
                  "stanje in pravice!"
                : "");
  EXPECT_EQ(ana->GetAttrValue("NAME"), "Ana");
  EXPECT_FALSE(ana->aiReloading());
  EXPECT_FALSE(GlobalDictionary()->aiUSEDICTIONARY());
  ana->SetReadOnlyFields({}, true);

  // Nobody overwrites an edit but a reload.
  ana->SetAttrValue("NAME", "Anja");
  EXPECT_FALSE(ana->AssignFieldswithReloadFlag(bor.Get(), true));
  EXPECT_EQ(ana->GetAttrValue("NAME"), "Anja");
  EXPECT_TRUE(ana->AssignFieldswithReloadFlag(bor.Get(), false));
  ana->CancelData();
  EXPECT_EQ(ana->GetAttrValue("NAME"), "Ana");

  auto* copy = FPatients->NewObject(FForm.Get());
  EXPECT_TRUE(copy->AssignFieldsForLoad(bor.Get()));
  EXPECT_EQ(copy->GetAttrValue("NAME"), "Bor");
  EXPECT_EQ(copy->GetEditState(), TIPersistentObjectState::posBrowse);
  copy->Release(FForm.Get());
  EXPECT_EQ(Raised([&] { ana->InitializeFromBo(bor.Get()); }),
            "Not implemented yet: TplPerObject.InitializeFromBo");
}

TEST_P(TReloadTest, ClassesShareWhatBothHaveAndDifferencesAreTold) {
  AddEncounter(5, "V", "0");
  auto ana = Patient("1");
  THold<> visit(Provider<TplVisit>(), "5");
  EXPECT_EQ(Raised([&] { ana->AssignFields(visit.Get()); }),
            "TplPerObject.AssignFields: Different provider! (Spomin: TplPatient, GID=1 -->> Baza: "
            "TplVisit, GID=5)");
  EXPECT_TRUE(ana->AssignFieldsFromDiffBO(visit.Get(), "DATUMIPL"));
  EXPECT_EQ(ana->GetAttrValue("ACTIVE") + ana->GetAttrValue("DATUMIPL") + ana->GetGID(), "01");
  ana->Reload();
  FPatients->aiActiveFieldName("ACTIVE");
  EXPECT_TRUE(ana->AssignFieldsFromDiffBO(visit.Get(), ""));
  EXPECT_EQ(ana->GetAttrValue("ACTIVE"), "1");
  EXPECT_EQ(ana->GetAttrValue("DATUMIPL"), "15.03.2023 12:00:00");

  AddPatient(2, "Bor");
  auto bor = Patient("2");
  TStringList* differing = nullptr;
  TStringList* described = nullptr;
  ana->DifferenceAttributeList(bor.Get(), {"id", "DATUMIPL"}, differing, described, "prej", "");
  const TOwned<TStringList> indices(differing);
  const TOwned<TStringList> lines(described);
  EXPECT_EQ(indices->CommaText(), "1,2");
  EXPECT_EQ(lines->Text(), "Ime : (prej)Ana - Bor\r\nSpol : (prej)F - \r\n");
}

// Goes where the row has gone that it is copied from.
class TpoMoving : public TpoPatient {
  TCLASS(TpoMoving, TpoPatient)
 public:
  void ManageDiffrentProvider(TplPerObject* AOther) override { SetProvider(AOther->aiProvider()); }
};

TEST_P(TReloadTest, AnObjectGoesOverToAnotherProvider) {
  TplGlobalDictionary* const dictionary = GlobalDictionary();
  AddEncounter(1, "V");
  AddEncounter(5, "S");
  AddPatient(2, "Bor");
  THold<> stay(FEncounters, "5");
  auto* moving = New<TpoMoving>(FPatients, FForm.Get());
  moving->Store().InitData();
  moving->SetAttrValue("ID", "7");
  moving->SetAttrValue("ACTIVE", "0");
  EXPECT_TRUE(moving->AssignFields(stay.Get()));
  EXPECT_EQ(moving->aiProvider(), Provider<TplStay>());
  EXPECT_EQ(moving->GetGID() + moving->GetAttrValue("KIND") + moving->GetAttrValue("WARD"),
            "7SKirurgija");
  EXPECT_EQ(dictionary->TakeObject(FPatients, "7"), nullptr);
  EXPECT_EQ(dictionary->TakeObject(FEncounters, "7"), GetParam() ? moving : nullptr);
  moving->Release(FForm.Get());
  EXPECT_EQ(dictionary->TakeObject(FEncounters, "7"), nullptr);

  // What an edit returns to goes along. Nobody's key is taken away.
  auto bor = Patient("2");
  bor->SetAttrValue("ACTIVE", "0");
  bor->SetProvider(FEncounters);
  EXPECT_EQ(bor->GetAttrValue("ACTIVE") + bor->GetAttrOldValue("ACTIVE"), "01");
  EXPECT_THROW(bor->GetAttrValue("NAME"), Exception);
  auto ana = Patient("1");
  THold<> visit(FEncounters, "1");
  EXPECT_EQ(Raised([&] { ana->SetProvider(FEncounters); }).empty(), !GetParam());
  if (GetParam()) {
    EXPECT_EQ(ana->GetAttrValue("NAME"), "Ana");
    EXPECT_EQ(dictionary->TakeObject(FPatients, "1"), ana.Get());
    EXPECT_EQ(dictionary->TakeObject(FEncounters, "1"), visit.Get());
  }
  EXPECT_NE(Raised([&] { ana->SetProvider(nullptr); }), "");
}

TEST_P(TReloadTest, AStampTellsWhetherTheRowHasMovedByASecond) {
  AddEncounter(5, "V");
  auto* visit = Cast<TpoVisit>(FEncounters->GetObject(FForm.Get(), "5", true));
  EXPECT_EQ(visit->GetTimeStamp(), 45000.5);
  const auto move = [&](double milliseconds) {
    Execute("update OMRA.ENCOUNTER set DATUMIPL = :D",
            {45000.5 + milliseconds / kMillisecondsPerDay});
    return visit->IsObjectInDbNewer();
  };
  EXPECT_FALSE(move(400));
  EXPECT_TRUE(move(-1000)) << "older is newer, too";
  EXPECT_TRUE(move(60000));
  visit->Reload();
  EXPECT_FALSE(visit->IsObjectInDbNewer());
  EXPECT_NEAR(visit->GetTimeStamp(), 45000.5 + 60000 / kMillisecondsPerDay, 1e-9);
  Execute("delete from OMRA.ENCOUNTER");
  EXPECT_TRUE(visit->IsObjectInDbNewer()) << "no stamp is another one";
  EXPECT_TRUE(Logged("!!! No TimeStamp for select DATUMIPL from OMRA.ENCOUNTER where ID=5"));
  visit->SetTimeStamp(TplPerObject::kNoDate);
  EXPECT_FALSE(visit->IsObjectInDbNewer());
  visit->Release(FForm.Get());
  auto ana = Patient("1");
  EXPECT_FALSE(ana->IsObjectInDbNewer()) << "a class without stamps";
  EXPECT_EQ(ana->GetTimeStamp(), TplPerObject::kNoDate);
}

}  // namespace
}  // namespace perlayer

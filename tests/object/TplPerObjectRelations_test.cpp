// The variables through which objects hold others, and the getters that fill them.

#include "perlayer/platform/TSlotTable.h"
#include "support/Departments.h"
#include "support/TestLog.h"

namespace perlayer {
namespace {

class TplPerObjectRelationsTest : public TDepartments {
 protected:
  TplPerObjectRelationsTest() {
    AddDepartment(1, 0, "Klinika", "Lekarna");
    AddDepartment(2, 1, "Kirurgija", "Laboratorij");
    AddDepartment(3, 1, "Interna", "Kirurgija");
    AddDepartment(4, 2, "Soba", "");
    AddDepartment(5, 9, "Lekarna", "");
    Execute("update OMRA.DEPARTMENT set PARENT_ID = null where ID = 1");
  }
  // The IDs of the members.
  static std::string IDs(TPlBoList* list) {
    std::string ids;
    for (TplPerObject* member : *list) ids += (ids.empty() ? "" : ",") + member->GetGID();
    return ids;
  }
  // How many statements the action runs.
  template <class T>
  int Runs(T action) {
    const int before = FSession->Runs();
    action();
    return FSession->Runs() - before;
  }
};

TEST_F(TplPerObjectRelationsTest, VariableIsRegisteredOnceAndReadsAsAPointer) {
  THold<TpoDepartment> ward = Department("2");
  EXPECT_EQ(Raised([&] { ward->RegisterAgregatedObjects({&ward->FLinks[1]}); }),
            "TplPerObject.RegisterAgregatedObjects: Podvojena registracija objekta v "
            "TpoDepartment!");
  EXPECT_EQ(sizeof ward->FParent, sizeof(void*));
  EXPECT_TRUE(ward->FParent == nullptr);
  TplMember<TpoDepartment> unregistered;
  unregistered = ward.Get();
  EXPECT_EQ(unregistered->GetGID(), "2");
  EXPECT_EQ(Raised([&] { ward->ReleaseAgregatedObejct(&unregistered); }), "Not!");
  // A getter over such a variable tells the log and goes on.
  THold<TpoDepartment> other = Department("4");
  EXPECT_EQ(other->GetOne2OneRelation(unregistered, "ID", FDepartments, "PARENT_ID"), ward.Get());
  EXPECT_TRUE(
      Logged("TIObjectPointerList.Test: Object of class TpoDepartment not registred!   "
             "Owner = TpoDepartment-4 Domain object = TpoDepartment2 "));
  ward->FLinks[0] = nullptr;
}

TEST_F(TplPerObjectRelationsTest, OneToOneFollowsTheOwnAttribute) {
  THold<TpoDepartment> ward = Department("3");
  TpoDepartment* partner = nullptr;
  EXPECT_EQ(Runs([&] { partner = ward->Partner(); }), 1);
  EXPECT_EQ(partner->GetGID(), "2");
  EXPECT_EQ(ward->Parent()->GetGID(), "1");
  EXPECT_EQ(Runs([&] { EXPECT_EQ(ward->Partner(), partner); }), 0);
  EXPECT_EQ(partner->aiRetainerList()->IndexOfObject(ward.Get()), 0);

  ward->SetAttrValue("PARTNER", "Lekarna");
  EXPECT_EQ(ward->Partner()->GetGID(), "5");
  EXPECT_EQ(TpoDepartment::Ended, "(22)");
  ward->SetAttrValue("PARTNER", "Nihče");
  EXPECT_EQ(ward->Partner(), nullptr);
  EXPECT_EQ(TpoDepartment::Ended, "(22)(55)");

  // Emptied on both sides: dropped, and its reference stays with it.
  ward->SetAttrValue("PARTNER", "Soba");
  THold<TpoDepartment> room(ward->Partner());
  room->SetAttrValue("NAME", "");
  ward->SetAttrValue("PARTNER", "");
  EXPECT_EQ(ward->Partner(), nullptr);
  EXPECT_EQ(room->RefCount(), 2);
  room->Release(ward.Get());

  // An object of another class than the variable's is let go.
  AddEncounter(1, "V");
  ward->SetAttrValue("PARTNER", "V");
  EXPECT_THROW(ward->GetOne2OneRelation(ward->FPartner, "KIND", FEncounters, "PARTNER"),
               EInvalidCast);
  EXPECT_TRUE(ward->FPartner.IsNil());
  ward->CancelData();

  // One of a class that is only read, and has no table of its own, ends with its holder.
  ward->Link(1, THold<>(FEncounters, "1").Get());
  const TObjectHandle visit(ward->FLinks[1].Get());
  ward.Reset();
  EXPECT_FALSE(visit.IsAlive());
}

TEST_F(TplPerObjectRelationsTest, TemporaryKeyIsNoForeignKey) {
  TpoDepartment* ward = NewDepartment("-5");
  ward->SetReadOnlyAttrValue("PARENT_ID", "-7");
  ward->SetReadOnlyAttrValue("PARTNER", "A-B");
  EXPECT_EQ(Runs([&] { EXPECT_EQ(ward->Partner(), nullptr); }), 0);
  EXPECT_EQ(Runs([&] { EXPECT_EQ(ward->Parent(), nullptr); }), 1);
  TPlBoList* parts = nullptr;
  EXPECT_EQ(Runs([&] { parts = ward->Parts("NAME > 'A'"); }), 0);
  EXPECT_EQ(parts->aiFetchSpec(), "PARENT_ID='-5' AND NAME > 'A'");
  ward->SetReadOnlyAttrValue("ID", "2");
  EXPECT_EQ(Runs([&] { EXPECT_EQ(ward->Parts(), parts); }), 0);  // an empty list stays
  EXPECT_EQ(parts->aiFetchSpec(), "PARENT_ID='2'");
  ward->Release(FForm.Get());
}

TEST_F(TplPerObjectRelationsTest, OneToManyGoesByItsFirstMember) {
  THold<TpoDepartment> clinic = Department("1");
  TPlBoList* parts = clinic->Parts();
  EXPECT_EQ(IDs(parts), "2,3");
  EXPECT_EQ(clinic->Parts("ID > 2"), parts);  // with another condition for the next reload
  EXPECT_EQ(parts->aiFetchSpec(), "PARENT_ID='1' AND ID > 2");
  parts->Get(1)->SetAttrValue("PARENT_ID", "2");
  EXPECT_EQ(IDs(clinic->Parts()), "2,3");
  clinic->ReCheckAnDeleteUnrelatedFromRelationList(clinic->FParts, "PARENT_ID", "ID");
  EXPECT_EQ(IDs(clinic->Parts()), "2");
  EXPECT_EQ(TpoDepartment::Ended, "(33)");
  parts->Get(0)->SetAttrValue("PARENT_ID", "2");
  EXPECT_EQ(IDs(clinic->Parts()), "2,3");
  EXPECT_EQ(TpoDepartment::Ended, "(33)(22)");

  THold<TpoDepartment> other = Department("2");
  other->SetOne2ManyRelation(other->FParts, clinic->Parts(), FDepartments);
  EXPECT_EQ(IDs(other->FParts), "2,3");
  other->SetOne2ManyRelation(other->FParts, other->FParts, FDepartments);
  EXPECT_EQ(IDs(other->FParts), "2,3");
  other->SetOne2ManyRelation(other->FParts, clinic->Parts(), FDepartments);
  EXPECT_EQ(IDs(other->FParts), "2,3");
  other->SetOne2ManyRelation(other->FParts, nullptr, FDepartments);
  EXPECT_TRUE(other->FParts.IsNil());
  EXPECT_EQ(clinic->FParts->Get(0)->RefCount(), 1);
}

TEST_F(TplPerObjectRelationsTest, HeldObjectsCountAsModified) {
  THold<TpoDepartment> clinic = Department("1");
  TplPerObject* part = clinic->Parts()->Get(0);
  EXPECT_FALSE(clinic->GetModified());
  part->SetAttrValue("NAME", "Urgenca");
  EXPECT_TRUE(clinic->GetModified());
  EXPECT_EQ(clinic->GetEditState(), TIPersistentObjectState::posBrowse);
  EXPECT_EQ(Runs([&] { clinic->SaveData(); }), 0);
  EXPECT_EQ(clinic->NonEdited, 1);
  clinic->CancelData();  // its own
  EXPECT_TRUE(part->GetModified());
  // Objects that hold each other are asked once.
  static_cast<TpoDepartment*>(part)->Link(0, clinic.Get());
  EXPECT_TRUE(clinic->GetModified());
  clinic->aiLiObjectsModified()->CancelData();
  EXPECT_FALSE(clinic->GetModified());
  EXPECT_EQ(part->GetAttrValue("NAME"), "Kirurgija");
  part->ReleaseAgregatedObejct(&static_cast<TpoDepartment*>(part)->FLinks[0]);
  // What cannot answer is told, and is not modified.
  const TObjectHandle list(clinic->FParts.Get());
  list.GetAs<TPlBoList>()->Release(clinic.Get());
  EXPECT_FALSE(clinic->GetModified());
  EXPECT_TRUE(
      Logged("Getting modified info: TIObjectPointerList.ReleaseObjects: Access violation "
             "detecting modified state of objects of TpoDepartment (counter=0)!"));
  EXPECT_EQ(IDs(clinic->Parts()), "2,3");  // fetched anew
}

TEST_F(TplPerObjectRelationsTest, HeldObjectsAreListed) {
  THold<TpoDepartment> clinic = Department("1");
  clinic->Parts();
  clinic->Partner();
  clinic->Link(2, clinic->FPartner);
  const TOwned<TList> objects = clinic->aiLiAgregatedObjectList()->GetObjectList();
  const TOwned<TStringList> keys = Make<TStringList>();
  clinic->aiLiAgregatedObjectList()->GetObjectListIntoStrings(*keys);
  EXPECT_EQ(keys->CommaText(), "DEPARTMENT2,DEPARTMENT3,DEPARTMENT5,DEPARTMENT5");
  for (int i = 0; i < keys->Count(); ++i) EXPECT_EQ(keys->Objects(i), objects->Items(i));
  clinic->GetNestedObjectList(keys.Get());
  EXPECT_EQ(keys->Count(), 3);
  EXPECT_EQ(keys->Strings(0), clinic->FParts->GetMemorySequence());

  THold<TpoDepartment> copy = Department("1");
  copy->Parts();
  const TObjectHandle before(copy->FParts.Get());
  copy->AssignRegistredPointers(clinic.Get());
  EXPECT_FALSE(before.IsAlive());
  EXPECT_EQ(copy->FParts.Get(), clinic->FParts.Get());
  EXPECT_EQ(copy->FParts->RefCount(), 2);
  EXPECT_EQ(copy->FPartner->RefCount(), 4);
  AddPatient(1, "Ana");
  EXPECT_THROW(copy->AssignRegistredPointers(Patient("1").Get()), EInvalidCast);
}

TEST_F(TplPerObjectRelationsTest, ListsAreMadeOfListsInMemory) {
  THold<TpoDepartment> clinic = Department("1");
  const auto fetched = [&](const std::string& condition) {
    return FDepartments->FetchObjectList(FForm.Get(), condition, "", true);
  };
  TPlBoList* all = fetched("ID > 0");
  TPlBoList* links = fetched("PARENT_ID = 2");  // its ID says 4
  TplMember<TPlBoList> result;
  TPlBoList* empty = fetched("ID < 0");
  clinic->GetSubObjectList(nullptr, empty, "", "", result);
  EXPECT_TRUE(result.IsNil());
  clinic->GetSubObjectList(nullptr, all, "", "ID = 1", result);
  clinic->GetSubObjectList(nullptr, all, "ID", "ID = 1", result);
  EXPECT_EQ(IDs(result), "1");
  EXPECT_EQ(result->aiFetchSpec(), "ID = 1");
  clinic->GetSubObjectList(links, all, "", "", result);
  EXPECT_EQ(IDs(result), "1");
  THold<TpoDepartment> room = Department("4");
  room->GetSubObjectList(links, all, "", "", result);
  EXPECT_EQ(IDs(result), "1,4");
  room->GetSubObjectList(all, result, FDepartments, TpoDepartment::ClassInfo(), {});
  room->GetSubObjectList(all, result, FDepartments, TpoPatient::ClassInfo(), {});
  EXPECT_EQ(IDs(result), "1,4,1,2,3,4,5");
  room->GetSubObjectList(result, result, FDepartments, TpoDepartment::ClassInfo(), {});
  EXPECT_EQ(result->Count(), 14);
  auto* loose = New<TPlBoList>(nullptr, FForm.Get());  // of no provider
  loose->Add(all->Get(0));
  room->GetSubObjectList(nullptr, loose, "PARENT_ID", "", room->FParts);
  EXPECT_EQ(room->FParts->aiProvider(), FDepartments);
  for (TPlBoList* list : {all, links, empty, loose}) list->Release(FForm.Get());
  result->Release(clinic.Get());
}

TEST_F(TplPerObjectRelationsTest, LockGroupReachesWhatItHolds) {
  THold<TpoDepartment> clinic = Department("1");
  EXPECT_EQ(clinic->GetLockGroups("Tree"), nullptr);
  EXPECT_EQ(clinic->GetLockGroups("tree")->Count(), 2);  // the later of the name
  auto* part = static_cast<TpoDepartment*>(clinic->Parts()->Get(0));
  part->aiLockGroup("tree");
  part->FPartner = clinic.Get();  // round and round
  clinic->RefreshLockGroup("tree");
  EXPECT_TRUE(part->GetNeedToRefresh());
  EXPECT_TRUE(clinic->FParts->GetNeedToRefresh());
  EXPECT_FALSE(clinic->GetNeedToRefresh());
  part->FPartner = nullptr;
  clinic->FParts->Release(clinic.Get());
  for (const auto walk : {&TplDomainObject::RefreshLockGroup, &TplDomainObject::NotifyRefresh}) {
    EXPECT_EQ(Raised([&] { (clinic.Get()->*walk)("tree"); }),
              "TplPerObject.RefreshLockGroup: Access violation refreshing objects!");
  }
  clinic->FParts = nullptr;
}

// Wherever a fetch fails, and whatever Create has filled by then: nobody stays held by nobody.
TEST_F(TplPerObjectRelationsTest, FailedFetchLeavesNothingHeld) {
  THold<TpoDepartment> clinic = Department("1");
  const auto work = [&] {
    clinic->Parts();
    clinic->Partner();
  };
  const auto drop = [&] {
    clinic->ReleaseAgregatedObejct(&clinic->FParts);
    clinic->ReleaseAgregatedObejct(&clinic->FPartner);
  };
  work();
  drop();
  const std::int64_t live = TSlotTable::LiveCount();
  int call = 0;
  for (bool failed = true; failed;) {
    Faults.FailAt(++call);
    const std::string where = Raised(work);
    failed = Faults.Calls() >= call;
    Faults.FailAt(0);
    drop();
    ASSERT_EQ(TSlotTable::LiveCount(), live) << call << " " << where;
  }
  EXPECT_GT(call, 5);
}

}  // namespace
}  // namespace perlayer

// The main list and its sub-lists, step by step.

#include "perlayer/list/TplBOListWithSubClass.h"

#include <gtest/gtest.h>

#include "perlayer/platform/Format.h"
#include "support/HospitalFixture.h"
#include "support/TestLog.h"

namespace perlayer {
namespace {

// A child is a patient, of a provider of its own, that not everybody may see.
class TpoChild : public TpoPatient {
  TCLASS(TpoChild, TpoPatient)
 public:
  TIAccessRights GetRights() override {
    return Hidden ? TIAccessRights{} : TpoPatient::GetRights();
  }
  static inline bool Hidden = false;
};
class TplChild : public TplPatient {
  TCLASS(TplChild, TplPatient)
 public:
  void SetQueryName() override { FQueryName = "quPatient"; }
  TplPerObject* InternalCreateObject(TObject* ARetainer) override {
    return New<TpoChild>(this, ARetainer);
  }
  TPlBoList* GetObjectList(TObject* ARetainer) override {
    TPlBoList* const list = TplPatient::GetObjectList(ARetainer);
    list->aiOnBeforeAddItemToList(OnAdd);
    return list;
  }
  TIBoListEvent OnAdd;
};

class TplBOListWithSubClassTest : public THospital {
 protected:
  TplBOListWithSubClassTest() {
    AddPatient(1, "Ana");
    FChildren = New<TplChild>(nullptr, FMap);
    FList = New<TplBOListWithSubClass>(FPatients, FForm.Get());
    FOwner = FPatients->GetObject(FForm.Get(), "1", true);
  }
  // A new object of that provider, in the main list and held by nobody else.
  TplPerObject* Add(TplProvider* provider, const std::string& name) {
    TplPerObject* object = provider->NewObject(FForm.Get());
    object->SetAttrValue("NAME", name);
    EXPECT_EQ(FList->Get(FList->Add(object)), object);
    object->Release(FForm.Get());
    return object;
  }
  TPlBoList* SubList(TplMember<TPlBoList>& variable, TplProvider* provider,
                     TIAccessRights rights = {TIAccessRight::arScan}) {
    return FList->GetBOSubList(variable, provider, FOwner, rights);
  }
  static std::string Names(TPlBoList* list) {
    std::string names;
    for (TplPerObject* object : *list) names += object->GetAttrValue("NAME");
    return names;
  }

  TplChild* FChildren;
  TplBOListWithSubClass* FList;
  TplPerObject* FOwner;
};

TEST_F(TplBOListWithSubClassTest, SubListsFollowTheMainListByTheirVeryProvider) {
  TplPerObject* a = Add(FPatients, "a");
  TplPerObject* c = Add(FChildren, "c");
  TplMember<TPlBoList> all, second, children, refused;
  EXPECT_EQ(Names(SubList(all, FPatients)), "ac");  // filling takes derived providers' objects
  TPlBoList* const ofChildren = SubList(children, FChildren);
  EXPECT_EQ(children.Get(), ofChildren);
  EXPECT_EQ(children->aiProvider(), FChildren);
  EXPECT_EQ(Names(children), "c");
  Add(FPatients, "b");
  Add(FChildren, "d");
  EXPECT_EQ(Names(FList) + " " + Names(all) + " " + Names(children), "acbd acb cd");
  EXPECT_EQ(SubList(all, FChildren), all.Get());  // known: neither filled nor compared
  EXPECT_EQ(Names(all), "acb");

  // Another variable for that provider is filled, and does not follow.
  EXPECT_EQ(Names(SubList(second, FPatients)), "acbd");
  Add(FPatients, "e");
  EXPECT_EQ(Names(all) + " " + Names(second), "acbe acbd");

  // Deleting goes by the very provider, too: the child stays where filling has put it.
  THold<TplPerObject> held(c);
  FList->Remove(c);
  EXPECT_EQ(Names(FList) + " " + Names(all) + " " + Names(children), "abde acbe d");
  all->Remove(a);
  EXPECT_EQ(Raised([&] { FList->Remove(a); }),
            "TplBOListWithSubClass.Delete: Same provider but not in SubList!");
  EXPECT_EQ(Names(FList), "abde");

  // Those that the user may not scan are not filled in.
  TpoChild::Hidden = true;
  EXPECT_EQ(Names(SubList(refused, FChildren)), "");
  TpoChild::Hidden = false;

  // A sub-list that has gone is one that nobody has.
  all->Release(FOwner);
  EXPECT_EQ(all.Get(), nullptr);
  FList->Remove(a);
  EXPECT_EQ(Names(FList) + " " + Names(second), "bde cbd");
  EXPECT_EQ(SubList(all, FPatients), nullptr);
  for (auto* variable : {&second, &children, &refused}) (*variable)->Release(FOwner);
  FList->Clear();
  FOwner->Release(FForm.Get());
  FList->Release(FForm.Get());
}

TEST_F(TplBOListWithSubClassTest, ForeignListsAndFailuresAreTold) {
  TplPerObject* a = Add(FPatients, "a");
  TplMember<TPlBoList> variable, failing;
  variable = FPatients->GetObjectList(FOwner);
  variable->Add(FOwner);
  variable->Add(a);
  EXPECT_EQ(SubList(variable, FPatients), variable.Get());
  EXPECT_EQ(Names(variable), "a");
  EXPECT_TRUE(Logged(
      "TplBOListWithSubClass.GetBOSubList: SubList already assigned! - Provider: TplPatient, "
      "retainer: TpoPatient: [1] TpoPatient"));
  failing = FPatients->GetObjectList(FOwner);
  failing->aiOnBeforeAddItemToList(
      TIBoListEvent::From([](TObject*, TplPerObject*) { throw Exception("no"); }));
  EXPECT_EQ(SubList(failing, FPatients), failing.Get());
  EXPECT_TRUE(
      Logged("Errror while FillSublist: Provider: TplPatient, retainer: TpoPatient: [1] "
             "TpoPatientno"));

  // A deletion that is refused is none; one that is heard may find its entry elsewhere.
  variable->aiOnBeforeDeleteItemFromList(
      TIBoListEvent::From([&](TObject*, TplPerObject*) { FList->Insert(0, FOwner); }));
  FList->aiOnBeforeDeleteItemFromList(
      TIBoListEvent::From([](TObject*, TplPerObject*) { throw Exception("stays"); }));
  EXPECT_EQ(Raised([&] { FList->Remove(a); }), "stays");
  EXPECT_EQ(Names(FList) + " " + Names(variable), "Anaa a");
  FList->aiOnBeforeDeleteItemFromList(nullptr);
  FList->Remove(a);
  EXPECT_EQ(Names(FList) + " " + Names(variable), "AnaAna ");

  // Who hears of a sub-list being filled may ask for it, or end it.
  Add(FChildren, "c");
  TplMember<TPlBoList> asked, ended;
  std::function<void(TObject*)> act;
  FChildren->OnAdd = TIBoListEvent::From([&](TObject* list, TplPerObject*) {
    if (const auto once = std::exchange(act, nullptr)) once(list);
  });
  const std::int64_t live = TSlotTable::LiveCount();
  TPlBoList* answer = nullptr;
  act = [&](TObject*) { answer = SubList(asked, FChildren); };
  EXPECT_EQ(SubList(asked, FChildren), answer);
  EXPECT_EQ(Names(asked), "c");
  asked->Release(FOwner);
  act = [&](TObject* list) { static_cast<TPlBoList*>(list)->Release(FOwner); };
  EXPECT_EQ(SubList(ended, FChildren), nullptr);
  EXPECT_EQ(TSlotTable::LiveCount(), live);

  TplBOListWithSubClass* fetched =
      FPatients->FetchObjectListWithSubClass(FForm.Get(), "ID > 0", "NAME", true);
  EXPECT_EQ(fetched->Get(0)->GetGID(), "1");
  EXPECT_EQ(fetched->aiOrder(), "NAME");
  fetched->Release(FForm.Get());
  TplMember<TplBOListWithSubClass> relation;
  TPlBoList* const related =
      FOwner->GetOne2ManyRelation(relation, "NAME", FPatients, "NAME", "", "ID");
  EXPECT_EQ(relation.Get(), related);
  EXPECT_EQ(Names(relation), "Ana");
  relation->Release(FOwner);
  variable->Release(FOwner);
  failing->Release(FOwner);
  FOwner->Release(FForm.Get());
  FList->Release(FForm.Get());
}

}  // namespace
}  // namespace perlayer

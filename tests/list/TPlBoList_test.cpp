// Lists that a provider fills: fetching, searching, saving, cancelling, and the ends of lists.

#include "perlayer/list/TPlBoList.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

#include "perlayer/database/TplDatabaseProvider.h"
#include "perlayer/foundation/TplDomainNotifier.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/TplCachableProvider.h"
#include "perlayer/provider/TplSifranti.h"
#include "perlayer/reclaim/TplGlobalDictionary.h"
#include "support/HospitalFixture.h"
#include "support/TestLog.h"

namespace perlayer {
namespace {

// Wards hold beds. A bed of intensive care is a bed; a cot stands in the same table and is none.
class TpoBed : public TplPerObject {
  TCLASS(TpoBed, TplPerObject)
 public:
  void DoAfterSave() override {
    Faults.Pass("DoAfterSave");
    if (AfterSave) AfterSave();
  }
  std::function<void()> AfterSave;
};
class TpoIcuBed : public TpoBed {
  TCLASS(TpoIcuBed, TpoBed)
};
class TpoCot : public TplPerObject {
  TCLASS(TpoCot, TplPerObject)
};
class TplBed : public TplProvider {
  TCLASS(TplBed, TplProvider)
 public:
  void SetQueryName() override { FQueryName = "quBed"; }
  TplPerObject* InternalCreateObject(TObject* ARetainer) override {
    return New<TpoBed>(this, ARetainer);
  }
  TplProvider* GetProviderFromDataSet(TDataSet* ds, TIQuery*&) override;
};
class TplIcuBed : public TplBed {
  TCLASS(TplIcuBed, TplBed)
 public:
  TplPerObject* InternalCreateObject(TObject* ARetainer) override {
    return New<TpoIcuBed>(this, ARetainer);
  }
};
class TplAnyBed : public TplBed {
  TCLASS(TplAnyBed, TplBed)
 public:
  void SetQueryName() override { FQueryName = "quAnyBed"; }
};
class TplCot : public TplProvider {
  TCLASS(TplCot, TplProvider)
 public:
  void SetQueryName() override { FQueryName = "quBed"; }
  TplPerObject* InternalCreateObject(TObject* ARetainer) override {
    return New<TpoCot>(this, ARetainer);
  }
};
TplProvider* TplBed::GetProviderFromDataSet(TDataSet* ds, TIQuery*&) {
  Faults.Pass("GetProviderFromDataSet");
  const std::string kind = ds->FieldByName("KIND")->AsString();
  if (kind == "I") return Provider<TplIcuBed>();
  if (kind == "C") return Provider<TplCot>();
  return this;
}

// What a provider of code lists is asked to read.
class TplKind : public TplCachableProvider {
  TCLASS(TplKind, TplCachableProvider)
 public:
  void SetQueryName() override { FQueryName = "quBed"; }
  TplPerObject* InternalCreateObject(TObject* ARetainer) override {
    return New<TpoBed>(this, ARetainer);
  }
  void ReadInCache(const std::string& ASpec, const std::vector<std::string>& AIDs) override {
    Asked = ASpec + ": ";
    for (const std::string& id : AIDs) Asked += id + ",";
  }
  std::string Asked;
};

// Who holds the list, and hears of it.
class TListener : public TplDomainNotifier {
  TCLASS(TListener, TplDomainNotifier)
 public:
  void DoNotifyAction(TplDomainObject* Sender, TIBaseObjectAction ActionType, TObject*,
                      TINotifiedObjectList*) override {
    Heard += Sender->ClassName() + " " + BaseObjectActionName(ActionType) + "; ";
    if (ActionType == TIBaseObjectAction::paDelete && Act) std::exchange(Act, nullptr)();
  }
  std::string Heard;
  std::function<void()> Act;
};

TClassMapDefinition BedMap() {
  TClassMapBuilder map("beds");
  const auto query = [&](const char* name, const std::string& columns) {
    map.Query(name, "Postelja")
        .Sql("select " + columns + "\nfrom OMRA.BED\nwhere\nID = :ID")
        .Float("ID")
        .String("NAME", 20, "Ime")
        .Required()
        .String("KIND", 1)
        .String("WARD", 20)
        .DateTime("CLEANED")
        .String("CODE", 1)
        .CodeList("VRP");
  };
  query("quAnyBed", "*");
  query("quBed", "ID, NAME, KIND, WARD, CLEANED, CODE");
  return map.Update("usBed")
      .Insert(
          "insert into OMRA.BED\n(ID, NAME, KIND, WARD, CLEANED)\nvalues\n"
          "(:ID, :NAME, :KIND, :WARD, :CLEANED)")
      .Modify(
          "update OMRA.BED\nset ID = :ID, NAME = :NAME, KIND = :KIND, WARD = :WARD, CLEANED = "
          ":CLEANED\n"
          "where ID = :ID")
      .Delete("delete from OMRA.BED\nwhere ID = :ID")
      .Build();
}

class TPlBoListTest : public THospital {
 protected:
  TPlBoListTest() {
    Execute(
        "create table OMRA.BED (ID number(10) primary key, NAME varchar2(20), KIND varchar2(1), "
        "WARD varchar2(20), CLEANED date, CODE varchar2(1))");
    AddBed(1, "B", "Ena");
    AddBed(2, "I", "Ena");
    AddBed(3, "C", "Ena");
    AddBed(4, "B", "Dve");
    AddBed(5, "B", "Dve");
    FDatabase->Commit("");
    TcmpClassMap* map = AddClassMap(BedMap());
    FBeds = New<TplBed>(nullptr, map);
    New<TplIcuBed>(nullptr, map);
    New<TplCot>(nullptr, map);
    Names(Fetch("ID > 0"));  // whatever is made on first use
  }
  void AddBed(double id, const std::string& kind, const std::string& ward) {
    Execute("insert into OMRA.BED (ID, NAME, KIND, WARD) values (:ID, :NAME, :KIND, :WARD)",
            {id, "p" + FloatToStr(id), kind, ward});
  }
  TPlBoList* Fetch(const std::string& condition) {
    return FBeds->FetchObjectList(FForm.Get(), condition, "", true);
  }
  // The IDs of a list, which it lets go of unless told to stay.
  std::string Names(TPlBoList* list, bool stays = false) {
    std::string names;
    for (TplPerObject* object : *list) {
      names += (names.empty() ? "" : " ") + (object == nullptr ? "nil" : object->GetGID());
    }
    if (!stays) list->Release(FForm.Get());
    return names;
  }
  TpoBed* Bed(TPlBoList* list, int index) { return Cast<TpoBed>(list->Get(index)); }
  std::string Rows() {
    const TOwned<TIQuery> query = Make<TIQuery>();
    query->DatabaseName(TcmpClassMap::kDatabaseName);
    query->SQLText("select ID, NAME from OMRA.BED order by ID");
    std::string text;
    for (query->Open(); !query->Eof(); query->Next()) {
      text += query->Fields(0)->AsString() + query->Fields(1)->AsString() + " ";
    }
    return text;
  }

  TplBed* FBeds;
};

TEST_F(TPlBoListTest, AFetchedListHoldsAnObjectForEachRowOfItsClass) {
  TPlBoList* list = Fetch("WARD = 'Ena'");
  EXPECT_EQ(Names(list, true), "1 2");  // the cot is none
  EXPECT_EQ(list->aiFetchSpec(), "WARD = 'Ena'");
  EXPECT_EQ(list->Get(1)->ClassName(), "TpoIcuBed");
  EXPECT_EQ(list->Get(0)->RefCount(), 1);
  EXPECT_EQ(list->Get(0)->aiRetainerList()->Objects(0), list);
  EXPECT_EQ(list->aiRights(), TIAccessRights::FromMask(31));
  EXPECT_TRUE(list->aiDoNotify());
  THold<TplPerObject> held(list->Get(1));
  list->Release(FForm.Get());
  EXPECT_EQ(held->GetAttrValue("NAME"), "p2");

  EXPECT_EQ(Names(FBeds->GetListFor(FForm.Get(), "WARD", "Dve", "", true)), "4 5");
  EXPECT_EQ(Names(FBeds->FetchObjectListWithReplacementSELECTandFROM(
                FForm.Get(), "ID < 3", "", false,
                "select ID + 10 ID, NAME, KIND, WARD, CLEANED, CODE", "from OMRA.BED")),
            "11 12");
  EXPECT_EQ(Names(Fetch("ID = 1")), "1");  // and no replacement any more
  EXPECT_EQ(Names(Fetch("")), "1 2 4 5");

  // Several rows for one: the event has them all, and the first is the answer.
  EXPECT_NE(Raised([&] { FBeds->FetchObject(FForm.Get(), "WARD = 'Dve'", true); }), "");
  std::string told;
  FBeds->aiOnOne2OneViolation(TIOnOne2OneViolationType::From([&](TObject* sender, TPlBoList* all) {
    told = sender->ClassName() + " " + Names(all, true);
  }));
  TplPerObject* first = FBeds->FetchObject(FForm.Get(), "WARD = 'Dve'", true);
  EXPECT_EQ(told, "TScopeRetainer 4 5");
  EXPECT_EQ(first->GetGID(), "4");
  first->Release(FForm.Get());
}

TEST_F(TPlBoListTest, IdListsAreFetchedInParts) {
  const TOwned<TStringList> ids = Make<TStringList>();
  for (int i = 10; i < 260; ++i) {
    AddBed(i, "B", "Tri");
    ids->Add(std::to_string(i));
  }
  const auto fetch = [&](int most) {
    const int runs = FSession->Runs();
    TPlBoList* list = FBeds->FetchObjectListFromIDList(FForm.Get(), ids.Get(), most);
    const int count = list->Count();
    EXPECT_EQ(list->Get(0)->RefCount(), 1);
    EXPECT_EQ(list->Get(count - 1)->GetGID(), "259");
    list->Release(FForm.Get());
    return std::to_string(count) + " in " + std::to_string(FSession->Runs() - runs);
  };
  EXPECT_EQ(fetch(100), "250 in 3");
  EXPECT_EQ(fetch(125), "250 in 2");
  EXPECT_EQ(fetch(0), "250 in 1");
  FBeds->aiTablePrefix("X");
  EXPECT_NE(Raised([&] { fetch(100); }), "");
  ids->Clear();
  EXPECT_EQ(Names(FBeds->FetchObjectListFromIDList(FForm.Get(), ids.Get(), 100)), "");
}

TEST_F(TPlBoListTest, AFetchThatFailsLeavesNobody) {
  const auto fetch = [&] { Names(Fetch("ID > 0")); };
  for (const bool dictionary : {false, true}) {
    GlobalDictionary()->aiUSEDICTIONARY(dictionary);
    fetch();
    const std::int64_t live = TSlotTable::LiveCount();
    bool reached = true;
    for (int call = 1; reached; ++call) {
      Faults.FailAt(call);
      const std::string fault = Raised(fetch);
      reached = Faults.Calls() >= call;
      Faults.FailAt(0);
      EXPECT_EQ(reached, fault != "");
      EXPECT_EQ(TSlotTable::LiveCount(), live) << "call " << call << " " << fault;
      EXPECT_EQ(GlobalDictionary()->Count(), 0) << fault;
      EXPECT_EQ(FSession->Taken(), 0) << fault;
    }
    EXPECT_EQ(Names(Fetch("ID > 0")), "1 2 4 5");
  }
}

TEST_F(TPlBoListTest, Searches) {
  TPlBoList* list = Fetch("ID > 0");
  const auto clean = [&](int index, const std::string& date) {
    list->Get(index)->SetAttrValue("CLEANED", date);
  };
  list->Get(2)->SetObjectMarkedDeleted(true);
  EXPECT_TRUE(list->AttrValueExists("WARD", "Dve"));
  EXPECT_FALSE(list->AttrValueExists("WARD", "dve"));
  EXPECT_EQ(list->ObjectWithAttrValue("WARD", "Dve"), list->Get(3));
  EXPECT_EQ(list->IndexOfObjectWithAttrValue("WARD", "Dve", 0, false), 2);
  EXPECT_EQ(list->IndexOfObjectWithAttrValue("WARD", "Dve", 0, true), 3);
  EXPECT_EQ(list->IndexOfObjectWithAttrValue("WARD", "Ena", 2, false), -1);
  EXPECT_EQ(list->ObjectWithAttrValue("WARD", "Tri"), nullptr);
  EXPECT_EQ(Raised([&] { list->AttrValueExists("X", ""); }),
            "GetAttrValue Wrong attribute TpoBed(1) X");
  const auto minDate = [&](const std::string& date, const std::string& empty) {
    return list->IndexOfObjectWithAttrValueAndMinDateAndEmptyValue("WARD", "Ena", 0, date, empty);
  };
  clean(0, "02.02.2020");
  clean(1, "01.02.2020");
  EXPECT_EQ(minDate("", ""), 0);
  EXPECT_EQ(minDate("CLEANED", ""), 1);
  clean(1, "01.02.2120");  // beyond what counts
  EXPECT_EQ(minDate("CLEANED", ""), 0);
  clean(1, "");  // no date is the smallest
  EXPECT_EQ(minDate("CLEANED", ""), 1);
  EXPECT_EQ(minDate("", "CLEANED"), 1);
  EXPECT_EQ(minDate("CLEANED", "NAME"), -1);
  EXPECT_EQ(list->DeleteObjectsObjectWithAttrValue("WARD", "Dve"), 0);
  EXPECT_EQ(Names(list, true), "1 2");

  list->Merge(nullptr);
  list->UnionWithList(list, "");
  EXPECT_EQ(Names(list, true), "1 2 1 2");
  list->Release(FForm.Get());
}

TEST_F(TPlBoListTest, OrderAndFilterDecideWhoIsWhereAndWhoIsSeen) {
  TPlBoList* list = FBeds->FetchObjectList(FForm.Get(), "ID > 0", "-WARD,NAME", true);
  EXPECT_EQ(Names(list, true), "1 2 4 5");
  EXPECT_EQ(list->aiOrder(), "-WARD,NAME");
  list->OrderBy("");
  list->OrderBy("WARD,-NAME");
  EXPECT_EQ(Names(list, true), "5 4 2 1");
  list->Exchange(0, 3);
  list->OrderBy("WARD,-NAME");  // it has that order
  EXPECT_EQ(Names(list, true), "1 4 2 5");
  list->ForcedOrderBy("");
  list->Sort(
      [](TplPerObject* a, TplPerObject* b, const std::string& param) {
        EXPECT_EQ(param, "");  // the order last forced
        return std::stoi(a->GetGID()) - std::stoi(b->GetGID());
      },
      "");
  EXPECT_EQ(Names(list, true), "1 2 4 5");
  list->GoToBookmark("1");
  const std::string fault = Raised([&] { list->aiListFilter("WARD = 'x' B"); });
  EXPECT_TRUE(fault.starts_with("Napačen filter: WARD = 'x' B! (podrobnosti: ")) << fault;
  EXPECT_EQ(list->NSCurrIndex(), 2);  // where the failure found it

  const auto find = [&](const std::string& value) {
    int index = -1;
    const bool found = list->Find("NAME", value, index);
    return std::to_string(index) + (found ? "!" : "");
  };
  list->aiListFilter("");
  list->ForcedOrderBy("NAME");
  TPlBoList* all = Fetch("ID > 0");
  list->Merge(all);
  all->Release(FForm.Get());
  EXPECT_EQ(Names(list, true), "1 1 2 2 4 4 5 5");
  EXPECT_EQ(find("P2") + find("p4") + find("p3") + find("a") + find("z"), "2!4!408");
  list->Clear();
  EXPECT_EQ(find("p1"), "0");
  list->Release(FForm.Get());
}

TEST_F(TPlBoListTest, SavingTellsAllThatFailedAndSavesTheRest) {
  TPlBoList* list = Fetch("ID > 0");
  for (int i = 0; i < 4; ++i) {
    list->Get(i)->SetAttrValue("NAME", i % 2 == 0 ? "" : "n" + std::to_string(i));
  }
  const std::string one = "Napake v zapisu : \r\n  Polje Ime ne sme biti prazno.";
  EXPECT_EQ(Raised([&] { list->SaveObjects(false); }), one + "\r\n\r\n" + one);
  EXPECT_EQ(Rows(), "1p1 2n1 3p3 4p4 5n3 ");
  EXPECT_TRUE(list->GetModified());

  // The marked one leaves the list with its row. Where a save adds a member, the same index is
  // looked at again.
  list->CancelObjects();
  EXPECT_FALSE(list->GetModified());
  list->Get(1)->SetObjectMarkedDeleted(true);
  list->Get(2)->SetAttrValue("NAME", "adds");
  Bed(list, 2)->AfterSave = [&, once = true]() mutable {
    if (!std::exchange(once, false)) return;
    TplPerObject* added = list->NewObject(FForm.Get());
    added->SetAttrValue("ID", "9");
    added->SetAttrValue("NAME", "added");
    list->Move(list->IndexOf(added), 0);
    added->Release(FForm.Get());
  };
  list->SaveObjects(true);
  EXPECT_EQ(Names(list, true), "9 1 4 5");
  EXPECT_FALSE(list->CanSaveBoListAsArray());
  Bed(list, 2)->AfterSave = nullptr;
  EXPECT_TRUE(list->Get(0)->aiNewObject());  // it went in before the place of the next
  EXPECT_FALSE(TplPerObject::CheckForSaved({list}));
  TplPerObject::SaveObjectList({nullptr, list});
  EXPECT_EQ(Rows(), "1p1 3p3 4adds 5n3 9added ");
  EXPECT_TRUE(TplPerObject::CheckForSaved({list, list->Get(0)}));

  // Any other exception ends it, and what was saved stays saved.
  for (TplPerObject* object : *list) object->SetAttrValue("NAME", "z" + object->GetGID());
  Bed(list, 1)->AfterSave = [] { throw Exception("no"); };
  EXPECT_EQ(Raised([&] { list->SaveObjects(false); }), "no");
  EXPECT_EQ(Rows(), "1p1 3p3 4adds 5n3 9z9 ");
  Bed(list, 1)->AfterSave = nullptr;
  TplPerObject::ChangeAttrValuesInList("WARD", "Tri", {list}, false);
  EXPECT_EQ(list->IndexOfObjectWithAttrValue("WARD", "Tri", 0, false), 1);  // saved ones are left
  list->SaveObjects(false);
  EXPECT_EQ(Rows(), "1z1 3p3 4z4 5z5 9z9 ");

  // Deleting a list, with a member that refuses: nobody stays marked.
  Bed(list, 2)->aiIgnoreValidation(true);
  static_cast<THospitalRights*>(AuthManager())->Refused = {"O TpoBed Delete"};
  EXPECT_EQ(Raised([&] { TplPerObject::DeleteObjectList({list}); }), "Brisanje ni dovoljeno!");
  EXPECT_EQ(Rows(), "1z1 3p3 4z4 5z5 9z9 ");
  for (TplPerObject* object : *list) EXPECT_FALSE(object->aiObjectMarkedDeleted());
  static_cast<THospitalRights*>(AuthManager())->Refused.clear();
  TplPerObject::DeleteObjectList({list});
  EXPECT_EQ(Rows(), "3p3 ");
  EXPECT_TRUE(list->IsEmpty());
  EXPECT_EQ(Raised([&] { TplPerObject::PostObjectList({FBeds}); }), "Wrong type in PostObjectList");
  list->Release(FForm.Get());
}

TEST_F(TPlBoListTest, NewMembersComeAndAreCancelled) {
  auto* listener = New<TListener>(nullptr, FForm.Get());
  TPlBoList* list = FBeds->GetObjectList(listener);
  TplPerObject* shared = list->NewObject(FForm.Get());
  EXPECT_EQ(listener->Heard, "TPlBoList paAddToList; ");
  // The reference that a new object takes for a list is its entry's.
  TplPerObject* own = FBeds->NewObject(list);
  EXPECT_EQ(own->RefCount(), 1);
  EXPECT_EQ(list->IndexOf(own), 1);
  EXPECT_EQ(listener->Heard, "TPlBoList paAddToList; TPlBoList paAddToList; ");
  listener->Heard.clear();
  list->CancelData();
  EXPECT_TRUE(list->IsEmpty());
  EXPECT_TRUE(shared->aiObjectMarkedDeleted());
  EXPECT_EQ(listener->Heard, "TPlBoList paDeleteFromList; TPlBoList paDeleteFromList; ");
  shared->Release(FForm.Get());

  // A member's deletion is heard through the list, and the object marked.
  AddBed(7, "B", "Ena");
  TIQuery* row = nullptr;
  FBeds->GetQueryForObject("7", row, false);
  const TOwned<TIQuery> query(row);
  list->LoadFromDataSet(row, true);
  listener->Heard.clear();
  list->First();
  list->Next();
  list->DeleteObject();
  EXPECT_NE(listener->Heard.find("TpoBed paDelete; TPlBoList paDeleteFromList; "),
            std::string::npos)
      << listener->Heard;
  EXPECT_EQ(Names(list, true), "");
  EXPECT_EQ(Raised([&] { list->DeleteObject(); }), "List index out of bounds (0)");

  // A listener takes the entry out, or moves it: nobody else goes.
  for (const bool takesOut : {true, false}) {
    TplPerObject* objects[] = {FBeds->NewObject(list), FBeds->NewObject(list)};
    listener->Act = [&] {
      if (takesOut) {
        list->Remove(objects[0]);
      } else {
        list->Move(0, 1);
      }
    };
    list->First();
    list->Next();
    list->DeleteObject();
    EXPECT_EQ(list->Count(), 1);
    EXPECT_EQ(list->Get(0), objects[1]);
    list->Clear();
  }
  list->Release(listener);
  listener->Release(FForm.Get());
}

// A lock that was lost when the object was unlocked is taken again as it joins a list.
TEST_F(TPlBoListTest, AnObjectThatLostItsLockIsSavedAsItJoins) {
  TPlBoList* from = Fetch("ID = 1");
  TPlBoList* list = FBeds->GetObjectList(FForm.Get());
  from->Get(0)->ForceSetAttrValue("NAME", "joined");
  from->Get(0)->aiAddToListReLock(true);
  list->AddAndRefresh(from->Get(0));
  EXPECT_FALSE(from->Get(0)->aiAddToListReLock());
  EXPECT_EQ(Rows().substr(0, 8), "1joined ");
  EXPECT_EQ(list->RemoveAndRefresh(from->Get(0)), 0);
  from->Release(FForm.Get());
  list->Release(FForm.Get());
}

TEST_F(TPlBoListTest, AListEndsByTheReleaseType) {
  TPlBoList* list = Fetch("ID > 0");
  THold<TplPerObject> first(list->Get(0));
  const std::int64_t live = TSlotTable::LiveCount();
  GlobalDictionary()->aiReleaseType(TIReleaseType::rtDLL);
  list->Release(FForm.Get());
  EXPECT_EQ(TSlotTable::LiveCount(), live - 4);  // the list and three of its members
  EXPECT_EQ(first->RefCount(), 1);

  // Letting go of all members, one of which has gone without the list's knowing.
  list = Fetch("ID > 3");
  TplPerObject* passing = FBeds->NewObject(FForm.Get());
  TplPerObject* replaced = list->Get(0);
  list->Put(0, passing);
  passing->Release(FForm.Get());
  replaced->Release(list);
  const TOwned<TStringList> nested = Make<TStringList>();
  EXPECT_EQ(Raised([&] { list->GetNestedObjectList(nested.Get()); }),
            "TplBoList(TplBed).GetNestedObjectList: Podobjekt ne obstaja več!");
  int errors = 7;
  list->ForgetSubobjects(errors);
  EXPECT_EQ(errors, 1);
  EXPECT_TRUE(Logged("[3] ForgetSubobjects: "));
  EXPECT_TRUE(list->IsEmpty());
  EXPECT_EQ(list->_AddRef(), 2);
  EXPECT_EQ(list->aiRetainerList()->Objects(1), FBeds);
  EXPECT_EQ(list->_Release(), 1);

  // The end that lets go of nobody: the members are somebody else's to settle.
  list->Add(first.Get());
  list->GetNestedObjectList(nested.Get());
  EXPECT_EQ(nested->Count(), 1);
  EXPECT_EQ(nested->Strings(0), first->GetMemorySequence());
  EXPECT_EQ(nested->Objects(0), first.Get());
  const std::int64_t before = TSlotTable::LiveCount();
  const TObjectHandle gone(list);
  list->ForceRelease();
  EXPECT_FALSE(gone.IsAlive());
  EXPECT_EQ(TSlotTable::LiveCount(), before - 1);
  EXPECT_EQ(first->RefCount(), 2);
  first->aiRetainerList()->Replace(1, FForm.Get());
  first->Release(FForm.Get());
}

TEST_F(TPlBoListTest, TheProviderOfItsCodesIsAskedForByColumn) {
  std::string asked;
  TplProvider* answer = nullptr;
  auto* service = New<TplSifranti>();
  service->OnGetCatalogProvider(TGetCatalogProviderProc::From(
      [&](const std::string& name, TCatalogProvider& catalog, bool edit) {
        asked += name + (edit ? " edit " : " ");
        catalog.provider = answer;
      }));
  InstallSifranti(TOwned<TISifranti>(service));
  Execute("update OMRA.BED set CODE = decode(ID, 4, 'V', 'U') where ID <> 2");
  TPlBoList* list = Fetch("ID > 0");
  list->LoadCatalogueForColumns({"NAME", "CODE", "X"});
  EXPECT_EQ(asked, "VRP ");
  answer = FBeds;
  EXPECT_THROW(list->LoadCatalogueForColumns({"CODE"}), EInvalidCast);
  auto* const kinds = New<TplKind>(nullptr, FBeds->aiClassMap());
  answer = kinds;
  list->LoadCatalogueForColumns({"CODE"});
  EXPECT_EQ(kinds->Asked, ": U,,V,U,");
  kinds->aiCacheEnabled(false);
  kinds->Asked.clear();
  list->LoadCatalogueForColumns({"CODE"});
  EXPECT_EQ(kinds->Asked, "");
  // The column takes the place of the star.
  kinds->aiCacheEnabled(true);
  list->Clear();
  TPlBoList* const any =
      New<TplAnyBed>(nullptr, FBeds->aiClassMap())
          ->FetchObjectList(FForm.Get(), "KIND = 'B' and WARD = 'Dve'", "", true);
  any->LoadCatalogueForColumns({"CODE"});
  EXPECT_EQ(kinds->Asked,
            "ID in ( select CODE from OMRA.BED\r\nwhere KIND = 'B' and WARD = 'Dve' ) : V,U,");
  any->Release(FForm.Get());
  asked.clear();
  TPlBoList::LoadCatalogueForOneColumn(list, "CODE");
  TPlBoList::LoadCatalogueForOneColumn(nullptr, "CODE");
  EXPECT_EQ(asked, "");
  list->Release(FForm.Get());
}

// A data set over a list, as far as the list knows of it.
class TShown : public IboListDataSet {
 public:
  explicit TShown(TPlBoList*) {}
  void Refresh() override { ++Refreshed; }
  void Cancel() override {}
  std::string Bookmark() override { return std::to_string(Row); }
  TDataSet* DataSet() override { return nullptr; }
  static inline int Refreshed = 0;
  static inline int Row = 0;
};

TEST_F(TPlBoListTest, TheCursorFollowsTheDataSet) {
  TPlBoList* list = Fetch("ID > 0");
  EXPECT_EQ(Raised([&] { list->aiDataSet(); }), "Not implemented yet: TPlBoList.aiDataSet");
  EXPECT_FALSE(list->DataSetAssigned());
  list->Refresh();
  RegisterboListDataSet([](TPlBoList* of) -> std::unique_ptr<IboListDataSet> {
    return std::make_unique<TShown>(of);
  });
  list->aiDataSet();
  RegisterboListDataSet(nullptr);
  TShown::Row = 2;
  EXPECT_EQ(list->NSCurrIndex(), 0);
  EXPECT_EQ(list->CurrObject(), list->Get(2));
  TShown::Row = 77;
  EXPECT_EQ(list->CurrIndex(), 3);
  TShown::Refreshed = 0;
  list->Get(0)->SetAttrValue("NAME", "new");
  EXPECT_EQ(TShown::Refreshed, 0);
  list->Get(0)->PostData();
  EXPECT_EQ(TShown::Refreshed, 1);
  list->Get(0)->CancelData();  // which reports twice
  EXPECT_EQ(TShown::Refreshed, 3);
  list->RemoveAndRefresh(list->Get(0));
  EXPECT_FALSE(list->AddToSetAndRefresh(list->Get(0)));
  EXPECT_EQ(TShown::Refreshed, 4);
  list->Release(FForm.Get());
}

}  // namespace
}  // namespace perlayer

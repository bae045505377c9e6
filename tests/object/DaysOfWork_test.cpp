// Days of work with the identity map on: load, relate, edit, cancel, save, fail, drop. In each
// round every scenario runs whole, and twice with a call of the driver or a hook failing, which is
// another one in each round. Whatever has happened, afterwards every reference is somebody's: the
// form's, a variable's, or a list's; the map knows who lives. Then the cycles are cut, and nothing
// is left.

#include <algorithm>
#include <map>
#include <random>

#include "perlayer/database/TplDatabaseProvider.h"
#include "perlayer/list/TplBOListWithSubClass.h"
#include "perlayer/platform/TSlotTable.h"
#include "perlayer/reclaim/TplGlobalDictionary.h"
#include "support/Departments.h"
#include "support/ModelTest.h"

namespace perlayer {
namespace {

class TDaysOfWork : public TDepartments {
 protected:
  struct TScenario {
    const char* name;
    void (*run)(TDaysOfWork& day);
  };
  static const TScenario kScenarios[];

  TDaysOfWork() {
    GlobalDictionary()->aiReleaseType(TIReleaseType::rtAllAtOnce);
    GlobalDictionary()->aiUSEDICTIONARY(true);
    TpoDepartment::EndMayFail = false;
    TpoDepartment::CancelsHeld = true;
    AddDepartment(1, 0, "Klinika", "Lekarna");
    AddDepartment(2, 1, "Kirurgija", "Interna");
    AddDepartment(3, 1, "Interna", "Kirurgija");
    AddDepartment(4, 2, "Soba");
    AddDepartment(5, 2, "Ambulanta", "Soba");
    AddDepartment(6, 3, "Lekarna", "Klinika");
    Execute(
        "create table OMRA.AT_FIRST (ID number(10), P number(10), N varchar2(30), R varchar2(30))");
    Execute("insert into OMRA.AT_FIRST select ID, PARENT_ID, NAME, PARTNER from OMRA.DEPARTMENT");
    FDatabase->Commit("departments");
    FRows = Rows();
  }

  // --- what scenarios do ---

  // Entered as the form's.
  TpoDepartment* Held(TplPerObject* object) {
    if (object != nullptr) FHeld.push_back(static_cast<TpoDepartment*>(object));
    return static_cast<TpoDepartment*>(object);
  }
  TPlBoList* Held(TPlBoList* list) { return FLists.emplace_back(list); }
  TpoDepartment* Get(const std::string& id) {
    return Held(FDepartments->GetObject(FForm.Get(), id, true));
  }
  TPlBoList* Fetch(const std::string& condition, const std::string& order = "") {
    return Held(FDepartments->FetchObjectList(FForm.Get(), condition, order, true));
  }
  TpoDepartment* Fresh(const std::string& id) {
    TpoDepartment* department = Held(NewDepartment());
    department->SetAttrValue("NAME", "Nova");
    department->SetAttrValue("ID", id);
    return department;
  }
  TpoDepartment* Hold(TplPerObject* object) {
    if (object != nullptr) object->AddRef(FForm.Get());
    return Held(object);
  }
  void Drop(TpoDepartment* object) {
    FHeld.erase(std::find(FHeld.begin(), FHeld.end(), object));
    object->Release(FForm.Get());
  }
  void Drop(TPlBoList* list) {
    FLists.erase(std::find(FLists.begin(), FLists.end(), list));
    list->Release(FForm.Get());
  }
  static TpoDepartment* Member(TPlBoList* list, int index) {
    return static_cast<TpoDepartment*>(list->Get(index));
  }
  // By somebody else.
  void Row(std::string_view sql) {
    Execute(sql);
    FDatabase->Commit("another's");
  }

  // --- anything ---

  int Below(int limit) { return static_cast<int>(FRandom() % static_cast<unsigned>(limit)); }
  void Anything() {
    const std::string id = std::to_string(1 + Below(6));
    if (FHeld.empty() || Below(5) == 0) {
      Get(id);
      return;
    }
    TpoDepartment* any = FHeld[static_cast<std::size_t>(Below(static_cast<int>(FHeld.size())))];
    switch (Below(10)) {
      case 0:
        Hold(any->Parent());
        return;
      case 1:
        Hold(any->Partner());
        return;
      case 2:
      case 3:
        if (TPlBoList* parts = any->Parts(); parts->Count() > 0) {
          Hold(parts->Get(Below(parts->Count())));
        }
        return;
      case 4:
        any->SetAttrValue("PARTNER", Below(2) == 0 ? "Soba" : "Kirurgija");
        return;
      case 5:
        any->SetAttrValue("PARENT_ID", id);
        return;
      case 6:
        return any->CancelData();
      case 7:
        if (Below(4) == 0) any->SetObjectMarkedDeleted(true);
        return any->SaveData();
      case 8: {
        TPlBoList* parts = any->Parts();
        TpoDepartment* part = Hold(FDepartments->NewObject(parts));  // an entry of the list
        part->SetAttrValue("PARENT_ID", any->GetGID());
        part->SetAttrValue("ID", std::to_string(++FLastID));
        return;
      }
      default:
        return Drop(any);
    }
  }

  // --- what is to be true ---

  // Runs the scenario with its nth call failing; 0: none. Answers how many calls it makes.
  int Run(const TScenario& scenario, int call) {
    Faults.FailAt(call);
    const std::string error = Raised([&] { scenario.run(*this); });
    const int calls = Faults.Calls();
    EXPECT_TRUE(Faults.Failed() || error.empty()) << error;
    Faults.FailAt(0);
    PutBack();
    Agree();
    LetGo();
    return calls;
  }
  // What the application does after a failure.
  void PutBack() {
    FDepartments->aiOnOne2OneViolation(nullptr);
    PerLayerStatistics()->aiOnStopTransfer(nullptr);
    PerLayerSettings()->aiLimitedOne2ManyRelation(false);
    GlobalDictionary()->aiUSEDICTIONARY(true);
    while (dbProvider()->aiTransactionCount() > 0) dbProvider()->Rollback("given up");
    if (FDatabase->InTransaction()) FDatabase->Rollback("given up");
    // A commit that has failed leaves its objects with the transaction.
    for (const TObjectHandle& object : Living()) {
      while (auto* left = object.GetAs<TpoDepartment>()) {
        if (left->aiRetainerList()->IndexOfObject(dbProvider()) < 0) break;
        left->Release(dbProvider());
      }
    }
  }
  static std::vector<TObjectHandle> Living() {
    return {TpoDepartment::Living.begin(), TpoDepartment::Living.end()};
  }
  void Agree() {
    std::map<TObject*, int> holders;
    std::vector<TPlBoList*> lists = FLists;
    for (TpoDepartment* object : FHeld) ++holders[object];
    for (TPlBoList* list : FLists) ++holders[list];
    for (TpoDepartment* object : TpoDepartment::Living) {
      const TIObjectPointerList& variables = *object->aiLiAgregatedObjectList();
      for (int i = 0; i < variables.Count(); ++i) {
        ASSERT_FALSE(variables.Items(i).IsStale()) << i;
        TObject* item = variables.Items(i).Object();
        if (item != nullptr) ++holders[item];
        auto* list = As<TPlBoList>(item);
        if (list != nullptr && std::count(lists.begin(), lists.end(), list) == 0) {
          lists.push_back(list);
        }
      }
    }
    for (TPlBoList* list : lists) {
      EXPECT_EQ(list->RefCount(), holders[list]) << list->aiFetchSpec();
      for (TplPerObject* member : *list) ++holders[member];
    }
    int keys = 0;
    for (TpoDepartment* object : TpoDepartment::Living) {
      EXPECT_EQ(object->RefCount(), holders[object]) << object->GetGID();
      EXPECT_EQ(object->aiRetainerList()->Count(), object->RefCount()) << object->GetGID();
      for (int i = 0; i < object->aiRetainerList()->Count(); ++i) {
        EXPECT_NE(object->aiRetainerList()->Objects(i), nullptr) << object->GetGID();
      }
      if (IndexIsTemporary(object->GetGID())) continue;
      ++keys;
      EXPECT_EQ(GlobalDictionary()->TakeObject(FDepartments, object->GetGID()), object)
          << object->GetGID();
    }
    EXPECT_EQ(GlobalDictionary()->Count(), keys);
    EXPECT_EQ(FSession->Taken(), 0);
  }
  void LetGo() {
    const std::vector<TObjectHandle> living = Living();
    for (const TObjectHandle& object : living) object.GetAs<TpoDepartment>()->CancelData();
    for (const TObjectHandle& object : living) {
      int errors = 0;
      if (auto* left = object.GetAs<TpoDepartment>()) left->ForgetSubobjects(errors);
      EXPECT_EQ(errors, 0);
    }
    while (!FLists.empty()) Drop(FLists.back());
    while (!FHeld.empty()) Drop(FHeld.back());
    EXPECT_TRUE(TpoDepartment::Living.empty());
    EXPECT_EQ(GlobalDictionary()->Count(), 0);
    if (Rows() == FRows) return;
    Execute("delete from OMRA.DEPARTMENT");
    Execute(
        "insert into OMRA.DEPARTMENT (ID, PARENT_ID, NAME, PARTNER) select ID, P, N, R from "
        "OMRA.AT_FIRST");
    FDatabase->Commit("as at first");
  }
  static std::string Rows() {
    const TOwned<TIQuery> query = Make<TIQuery>();
    query->DatabaseName(TcmpClassMap::kDatabaseName);
    query->SQLText(
        "select ID || '/' || PARENT_ID || NAME || PARTNER from OMRA.DEPARTMENT order by ID");
    std::string rows;
    for (query->Open(); !query->Eof(); query->Next()) rows += query->Fields(0)->AsString();
    return rows;
  }
  // How many objects of each class there are.
  static std::map<std::string, int> Census() {
    std::map<std::string, int> classes;
    std::uint32_t slot = 0;
    for (std::int64_t left = TSlotTable::LiveCount(); left > 0;) {
      const TSlotTable::TRecord& record = TSlotTable::At(++slot);
      if (record.word % 4 == static_cast<std::uint32_t>(TSlotState::free)) continue;
      ++classes[std::string(record.cls.load()->Name())];
      --left;
    }
    // Queries of writes are kept, sixteen at most; each has its lines.
    const int queries = std::exchange(classes["TIQuery"], 0);
    classes["TStringList"] -= queries;
    EXPECT_LE(queries, 4 + 16);
    return classes;
  }

  std::mt19937 FRandom{5};
  int FLastID = 100;
  std::string FRows;
  std::vector<TpoDepartment*> FHeld;  // an entry for each reference of the form
  std::vector<TPlBoList*> FLists;
};

const TDaysOfWork::TScenario TDaysOfWork::kScenarios[] = {
    {"a row is looked at twice",
     [](TDaysOfWork& day) {
       TpoDepartment* ward = day.Get("2");
       EXPECT_EQ(day.Get("2"), ward);
       EXPECT_EQ(ward->RefCount(), 2);
       day.Drop(ward);
     }},
    {"nothing is there",
     [](TDaysOfWork& day) {
       EXPECT_EQ(day.Get("99"), nullptr);
       EXPECT_EQ(day.FDepartments->FetchObject(day.FForm.Get(), "ID = 99", true), nullptr);
       EXPECT_EQ(day.Fetch("ID = 99")->Count(), 0);
     }},
    {"a name is told by the database, then from memory",
     [](TDaysOfWork& day) {
       for (int i = 0; i < 2; ++i) {
         day.Held(day.FDepartments->FetchObject(day.FForm.Get(), "NAME = 'Soba'", true));
       }
       EXPECT_EQ(day.FHeld[0], day.FHeld[1]);
     }},
    {"several rows for one",
     [](TDaysOfWork& day) {
       EXPECT_THROW(day.FDepartments->FetchObject(day.FForm.Get(), "PARENT_ID = 1", true),
                    Exception);
       day.FDepartments->aiOnOne2OneViolation(TIOnOne2OneViolationType::From(
           [](TObject*, TPlBoList* list) { EXPECT_EQ(list->Count(), 2); }));
       day.Held(day.FDepartments->FetchObject(day.FForm.Get(), "PARENT_ID = 1", true));
     }},
    {"a list is ordered and filtered",
     [](TDaysOfWork& day) {
       TPlBoList* list = day.Fetch("ID > 0", "-NAME");
       EXPECT_EQ(list->Get(0)->GetGID(), "4");
       list->aiListFilter("PARENT_ID = '1'");
       EXPECT_EQ(list->CountWithFilter(), 2);
       day.Hold(list->CurrObject());
       day.Drop(list);
     }},
    {"a list meets live objects",
     [](TDaysOfWork& day) {
       TpoDepartment* ward = day.Get("2");
       ward->SetAttrValue("NAME", "Urgenca");
       day.Get("4");
       TPlBoList* list = day.Fetch("ID > 0", "ID");
       EXPECT_EQ(list->Get(1), ward);
       EXPECT_EQ(ward->GetAttrValue("NAME"), "Urgenca");
       EXPECT_EQ(day.Fetch("ID < 3", "ID")->Get(1), ward);
     }},
    {"IDs are fetched in parts",
     [](TDaysOfWork& day) {
       const TOwned<TStringList> ids = Make<TStringList>();
       ids->CommaText("1,2,4,5,77");
       day.Get("4");
       TPlBoList* list =
           day.Held(day.FDepartments->FetchObjectListFromIDList(day.FForm.Get(), ids.Get(), 2));
       EXPECT_EQ(list->Count(), 4);
     }},
    {"a list is divided by classes",
     [](TDaysOfWork& day) {
       TpoDepartment* clinic = day.Get("1");
       auto* list = day.FDepartments->FetchObjectListWithSubClass(day.FForm.Get(), "PARENT_ID = 1",
                                                                  "", true);
       day.Held(list);
       TplMember<TPlBoList> part;
       day.Held(list->GetBOSubList(part, day.FDepartments, clinic, {}))->AddRef(day.FForm.Get());
       part->Release(clinic);
       list->Add(clinic);
       list->Delete(0);
       EXPECT_EQ(part->Count(), 2);
     }},
    {"the whole tree is related",
     [](TDaysOfWork& day) {
       std::vector<TpoDepartment*> open = {day.Get("1")};
       while (!open.empty()) {
         TpoDepartment* next = open.back();
         open.pop_back();
         EXPECT_EQ(next->Parent() == nullptr, next->GetGID() == "1");
         for (TplPerObject* part : *next->Parts())
           open.push_back(static_cast<TpoDepartment*>(part));
       }
       EXPECT_EQ(GlobalDictionary()->Count(), 6);
     }},
    {"partners hold each other",
     [](TDaysOfWork& day) {
       for (const char* id : {"1", "2"}) {
         TpoDepartment* one = day.Get(id);
         EXPECT_EQ(one->Partner()->Partner(), one);
         day.Drop(one);
       }
     }},
    {"a foreign key is changed, emptied and cancelled",
     [](TDaysOfWork& day) {
       TpoDepartment* clinic = day.Get("1");
       clinic->Partner();
       for (const char* partner : {"Soba", "", "Nihče", "Interna"}) {
         clinic->SetAttrValue("PARTNER", partner);
         TpoDepartment* found = clinic->Partner();
         EXPECT_EQ(found == nullptr ? "" : found->GetAttrValue("NAME"),
                   partner[0] == 'N' ? "" : partner);
       }
       clinic->CancelData();
       EXPECT_EQ(clinic->Partner()->GetGID(), "6");
     }},
    {"both sides are emptied",
     [](TDaysOfWork& day) {
       TpoDepartment* office = day.Get("5");
       TpoDepartment* room = office->Partner();
       room->SetAttrValue("NAME", "");
       office->SetAttrValue("PARTNER", "");
       EXPECT_EQ(office->Partner(), nullptr);
       room->Release(office);  // dropped with its reference
     }},
    {"parts move",
     [](TDaysOfWork& day) {
       TpoDepartment* clinic = day.Get("1");
       TpoDepartment* ward = day.Get("2");
       ward->Parts();
       Member(clinic->Parts(), 1)->SetAttrValue("PARENT_ID", "2");
       clinic->ReCheckAnDeleteUnrelatedFromRelationList(clinic->FParts, "PARENT_ID", "ID");
       EXPECT_EQ(clinic->FParts->Count(), 1);
       ward->SetAttrValue("PARENT_ID", "4");
       EXPECT_EQ(clinic->Parts()->Count(), 2);
     }},
    {"new objects relate by temporary keys and are saved",
     [](TDaysOfWork& day) {
       TpoDepartment* fresh = day.Held(day.NewDepartment());
       EXPECT_EQ(fresh->Partner(), nullptr);
       EXPECT_EQ(fresh->Parts()->Count(), 0);
       auto* part = static_cast<TpoDepartment*>(day.FDepartments->NewObject(fresh->Parts()));
       part->SetAttrValue("ID", "21");
       part->SetAttrValue("PARENT_ID", "20");
       fresh->SetAttrValue("ID", "20");
       TplPerObject::SaveObjectList({fresh, fresh->FParts});
       EXPECT_EQ(part->Parent(), fresh);
       EXPECT_EQ(day.Fetch("PARENT_ID = 20")->Get(0), part);
     }},
    {"new members are cancelled",
     [](TDaysOfWork& day) {
       TPlBoList* parts = day.Get("2")->Parts();
       day.Held(parts->NewObject(day.FForm.Get()));
       day.FDepartments->NewObject(parts);
       parts->Get(0)->SetAttrValue("NAME", "Dvorana");
       EXPECT_EQ(parts->Count(), 4);
       parts->CancelData();
       EXPECT_EQ(parts->Count(), 2);
       EXPECT_FALSE(parts->GetModified());
     }},
    {"an edit is cancelled, another saved",
     [](TDaysOfWork& day) {
       TpoDepartment* ward = day.Get("3");
       ward->SetAttrValue("NAME", "Urgenca");
       ward->CancelData();
       ward->SetAttrValue("PARTNER", "");
       ward->SaveData();
       day.Drop(ward);
       EXPECT_EQ(day.Get("3")->GetAttrValue("NAME"), "Interna");
     }},
    {"a list is saved, one member deleted",
     [](TDaysOfWork& day) {
       TPlBoList* list = day.Fetch("ID > 3", "ID");
       list->Get(0)->SetObjectMarkedDeleted(true);
       list->Get(1)->SetAttrValue("NAME", "Dvorana");
       list->SaveObjects(true);
       EXPECT_EQ(list->Count(), 2);
       EXPECT_EQ(day.Fetch("PARENT_ID = 2")->Count(), 1);
     }},
    {"a list and one more are deleted, and rolled back",
     [](TDaysOfWork& day) {
       TPlBoList* list =
           day.Held(day.FDepartments->FetchObjectList(day.FForm.Get(), "ID > 4", "", true));
       TpoDepartment* room = day.Get("4");
       dbProvider()->StartTransaction("day");
       TplPerObject::DeleteObjectList({list, room});
       EXPECT_EQ(list->Count(), 0);
       dbProvider()->Rollback("day");
       EXPECT_EQ(day.Fetch("ID > 3")->Count(), 3);
     }},
    {"a delete is committed outside",
     [](TDaysOfWork& day) {
       TpoDepartment* room = day.Get("4");
       TPlBoList* parts = day.Get("2")->Parts();
       dbProvider()->StartTransaction("day");
       room->DeleteObject();
       day.Drop(room);
       dbProvider()->Commit("day");
       parts->Remove(room);
     }},
    {"a new object is saved, rolled back and saved",
     [](TDaysOfWork& day) {
       TpoDepartment* fresh = day.Fresh("20");
       dbProvider()->StartTransaction("day");
       fresh->SaveData();
       dbProvider()->Rollback("day");
       EXPECT_TRUE(fresh->aiNewObject());
       fresh->SaveData();
       day.Drop(fresh);
       EXPECT_EQ(day.Get("20")->GetAttrValue("NAME"), "Nova");
     }},
    {"an object is read anew, also one whose row is gone",
     [](TDaysOfWork& day) {
       TpoDepartment* ward = day.Get("2");
       TpoDepartment* room = day.Get("4");
       ward->SetAttrValue("NAME", "Urgenca");
       day.Row("update OMRA.DEPARTMENT set NAME = 'Travma' where ID = 2");
       day.Row("delete from OMRA.DEPARTMENT where ID = 4");
       ward->Reload();
       room->Reload();
       EXPECT_EQ(ward->GetAttrValue("NAME"), "Travma");
       EXPECT_TRUE(room->aiObjectMarkedDeleted());
     }},
    {"a list is read anew: rows have come and gone",
     [](TDaysOfWork& day) {
       TpoDepartment* clinic = day.Get("1");
       day.Hold(clinic->Parts()->Get(0));
       day.Row("update OMRA.DEPARTMENT set PARENT_ID = 4 where PARENT_ID = 1");
       day.Row("update OMRA.DEPARTMENT set PARENT_ID = 1 where ID = 6 or ID = 5");
       clinic->FParts->RefreshLockGroup("");
       EXPECT_EQ(clinic->Parts()->Count(), 2);
       EXPECT_EQ(clinic->Parts()->Get(0)->GetGID(), "5");
     }},
    {"what is related is read anew where it needs it",
     [](TDaysOfWork& day) {
       TpoDepartment* ward = day.Get("2");
       ward->Parent()->SetNeedToRefresh(true);
       day.Row("update OMRA.DEPARTMENT set NAME = 'Klinika 2' where ID = 1");
       EXPECT_EQ(ward->Parent()->GetAttrValue("NAME"), "Klinika 2");
       TpoDepartment* fresh = day.Held(day.NewDepartment());
       ward->SetAttrValue("PARENT_ID", fresh->GetGID());
       EXPECT_EQ(ward->Parent(), nullptr);
       day.FHeld.pop_back();
       ward->FParent = fresh;  // and the reference with it
       fresh->aiRetainerList()->Replace(0, ward);
       fresh->SetNeedToRefresh(true);
       EXPECT_EQ(ward->Parent(), fresh);
     }},
    {"what one holds the other takes over",
     [](TDaysOfWork& day) {
       TpoDepartment* ward = day.Get("2");
       TpoDepartment* copy = day.Fresh("20");
       for (TpoDepartment* one : {ward, copy}) {
         one->Parts();
         one->Parent();
       }
       copy->Assign(ward);
       EXPECT_EQ(copy->FParts.Get(), ward->FParts.Get());
       copy->ReleaseAgregatedObejct(&copy->FParts);
       day.Drop(ward);
     }},
    {"lists are made of lists",
     [](TDaysOfWork& day) {
       TpoDepartment* clinic = day.Get("1");
       TpoDepartment* ward = day.Get("2");
       TPlBoList* all = day.Fetch("ID > 0");
       ward->SetOne2ManyRelation(ward->FParts, all, day.FDepartments);
       ward->SetOne2ManyRelation(ward->FParts, clinic->Parts(), day.FDepartments);
       clinic->GetSubObjectList(all, all, "", "ID = 1", clinic->FParts);
       clinic->GetSubObjectList(nullptr, all, "", "ID = 1", clinic->FParts);
       clinic->GetSubObjectList(all, clinic->FParts, day.FDepartments, TpoDepartment::ClassInfo(),
                                {});
       ward->SetOne2ManyRelation(ward->FParts, nullptr, day.FDepartments);
       all->UnionWithList(clinic->FParts, "ID");
       EXPECT_EQ(all->Count(), 6);
     }},
    {"relations are told from memory",
     [](TDaysOfWork& day) {
       TpoDepartment* clinic = day.Get("1");
       TPlBoList* all = day.Fetch("ID > 0");
       TPlBoList* result = nullptr;
       for (const bool limited : {false, true, false}) {
         PerLayerSettings()->aiLimitedOne2ManyRelation(limited);
         GlobalDictionary()->GetOne2ManyRelation(all, clinic, result, "PARENT_ID", day.FDepartments,
                                                 limited ? "" : "ID", "-ID");
         clinic->FParts = result;
       }
       EXPECT_EQ(result->Get(0)->GetGID(), "3");
     }},
    {"an object is held anew while it ends",
     [](TDaysOfWork& day) {
       TpoDepartment* ward = day.Get("2");
       ward->Parts();
       ward->aiOnBeforeFree(TNotifyEvent::From([&](TObject*) { day.Hold(ward); }));
       day.Drop(ward);
       EXPECT_EQ(day.Get("2"), ward);
       ward->aiOnBeforeFree(nullptr);
     }},
    {"the end of a part fails, and is tried again",
     [](TDaysOfWork& day) {
       TpoDepartment* office = day.Get("5");
       TpoDepartment* room = office->Partner();
       const auto failOnce = [&] {
         room->aiOnBeforeFree(TNotifyEvent::From([](TObject* object) {
           static_cast<TplPerObject*>(object)->aiOnBeforeFree(nullptr);
           throw Exception("not now");
         }));
       };
       failOnce();
       EXPECT_NE(Raised([&] { office->ReleaseAgregatedObejct(&office->FPartner); }), "");
       EXPECT_EQ(office->FPartner, room);
       failOnce();
       int errors = 0;
       office->ForgetSubobjects(errors);
       EXPECT_EQ(errors, 1);
       EXPECT_EQ(office->FPartner, room);
       failOnce();
       EXPECT_NE(Raised([&] { office->Release(day.FForm.Get()); }), "");
       EXPECT_EQ(day.Get("5"), office);
       EXPECT_TRUE(office->FPartner.IsNil());
       room->Release(office);  // the walk has left it behind
     }},
    {"an owner goes while it fetches",
     [](TDaysOfWork& day) {
       for (const bool one : {true, false}) {
         TpoDepartment* office = day.Get("5");
         PerLayerStatistics()->aiOnStopTransfer(TNotifyEvent::From([&](TObject*) {
           if (!day.FHeld.empty()) day.Drop(office);
         }));
         EXPECT_TRUE(one ? office->Partner() == nullptr : office->Parts() == nullptr);
         PerLayerStatistics()->aiOnStopTransfer(nullptr);
         EXPECT_TRUE(TpoDepartment::Living.empty());
       }
     }},
    {"a row's identity is given up",
     [](TDaysOfWork& day) {
       TpoDepartment* ward = day.Get("2");
       ward->Parts();
       ward->DiposeNewlyCreatedMe();
       EXPECT_NE(day.Get("2"), ward);
     }},
    {"anything",
     [](TDaysOfWork& day) {
       for (int i = 0; i < 20; ++i) {
         try {
           day.Anything();
         } catch (const Exception&) {
           GlobalDictionary()->aiUSEDICTIONARY(true);
         }
       }
     }},
};

TEST_F(TDaysOfWork, LeaveNothingBehind) {
  ASSERT_GE(std::size(kScenarios), 30u);
  std::map<std::string, int> level;
  for (int round = 0; round < ModelSteps(50); ++round) {
    for (const TScenario& scenario : kScenarios) {
      SCOPED_TRACE(scenario.name + std::string(", round ") + std::to_string(round));
      const int calls = Run(scenario, 0);
      for (int half : {0, 1}) {
        if (1 + 2 * round + half > calls) continue;
        SCOPED_TRACE("call " + std::to_string(1 + 2 * round + half) + " of " +
                     std::to_string(calls));
        Run(scenario, 1 + 2 * round + half);
      }
      if (HasFailure()) return;
    }
    if (round == 0) level = Census();
    ASSERT_EQ(Census(), level) << round;
  }
}

}  // namespace
}  // namespace perlayer

#include "perlayer/reclaim/TplGlobalDictionary.h"

#include <gtest/gtest.h>

#include <functional>
#include <utility>

#include "perlayer/corekit/ISystemParameters.h"
#include "perlayer/corekit/TField.h"
#include "perlayer/foundation/FoundationState.h"
#include "perlayer/list/TPlBoList.h"
#include "perlayer/platform/TSlotTable.h"
#include "perlayer/provider/TplCachableProvider.h"
#include "support/HospitalFixture.h"
#include "support/ModelTest.h"
#include "support/TestLog.h"

namespace perlayer {
namespace {

using enum TIReleaseType;

// Asks the test when it is a twin that has been loaded, and before a fetched twin is copied into
// it.
class TpoRestless : public TpoPatient {
  TCLASS(TpoRestless, TpoPatient)
 public:
  bool CanAssignFieldsWithReloadFlag() override {
    if (const auto asked = std::exchange(OnAsked, nullptr)) asked();
    return true;
  }
  void InitializeAfterGetDataFromDataSet() override {
    if (const auto loaded = std::exchange(OnLoaded, nullptr)) loaded();
  }
  void DeletingFromDictionary() override { Left += GetGID(); }
  static inline std::function<void()> OnAsked;
  static inline std::function<void()> OnLoaded;
  static inline std::string Left;
};
class TplRestless : public TplCachableProvider {
  TCLASS(TplRestless, TplCachableProvider)
 public:
  void SetQueryName() override { FQueryName = "quPatient"; }
  TplPerObject* InternalCreateObject(TObject* ARetainer) override {
    return New<TpoRestless>(this, ARetainer);
  }
};

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

TEST_F(TDictionaryTest, OneAttributeIsToldFromMemoryByAnExactValue) {
  AddPatient(1, "Ana");
  AddPatient(2, "O'Brien");
  AddPatient(10, "Žiga = 1");
  AddEncounter(1, "V");
  auto ana = Patient("1");
  auto brien = Patient("2");
  auto ziga = Patient("10");
  THold<> visit(FEncounters, "1");
  struct TCase {
    const char* condition;
    const char* id;  // "": the database is asked
  };
  constexpr TCase kCases[] = {
      {"NAME = 'Ana'", "1"},   {" name=Ana ", "1"},  {"NAME = 'ANA'", ""},
      {"ID = 10", "10"},       {"ID='2'", "2"},      {"ID=01", ""},
      {"NAME='O''Brien'", ""}, {"NAME=O'Brien", ""}, {"NAME = 'Žiga = 1'", ""},
      {"NAME = ''", ""},       {"NAME = '", ""},     {"WARD = 'x'", ""},
      {"NAME like 'Ana'", ""}, {"KIND = 'V'", ""},   {"", ""}};
  const auto found = [&](TplProvider* provider, const std::string& condition) {
    TplPerObject* object = FDictionary->FetchObject(FForm.Get(), provider, condition);
    const std::string id = object == nullptr ? "" : object->GetGID();
    if (object != nullptr) object->Release(FForm.Get());
    return id;
  };
  for (const TCase& item : kCases) EXPECT_EQ(found(FPatients, item.condition), item.id);
  // Subclasses share the key, but it is their provider that knows them.
  EXPECT_EQ(found(Provider<TplVisit>(), "KIND = 'V'"), "1");
  EXPECT_EQ(found(FEncounters, "KIND = 'V'"), "");

  // A key that begins like this one matches, and ends the walk where it stands.
  EXPECT_EQ(FDictionary->GetFirstObjectIndexForProvider(FPatients), 1);
  EXPECT_EQ(FDictionary->GetFirstObjectIndexForProvider(FEncounters), 0);
  FEncounters->aiTableName("PATIENT1");
  Provider<TplVisit>()->aiTableName("PATIENT1");
  THold<> other(FEncounters, "1");  // PATIENT11, behind PATIENT1 and PATIENT10
  EXPECT_EQ(FDictionary->Strings(3), "PATIENT11");
  EXPECT_EQ(FDictionary->GetFirstObjectIndexForProvider(FEncounters), 1);
  EXPECT_EQ(found(FPatients, "ID = 10"), "10");
  EXPECT_EQ(found(FPatients, "ID = 2"), "");
  visit.Reset();
  FEncounters->aiTableName("NONE");
  EXPECT_EQ(FDictionary->GetFirstObjectIndexForProvider(FEncounters), -1);
}

TEST_F(TDictionaryTest, AnIdentityIsTakenChangedAndGivenUp) {
  auto* object = FPatients->NewObject(FForm.Get());
  EXPECT_EQ(object->GetGID(), "-1");
  EXPECT_EQ(FDictionary->Count(), 0) << "a temporary ID is nobody's key";
  object->SetAttrValue("ID", "7");
  EXPECT_EQ(FDictionary->TakeObject(FPatients, "7"), object);
  EXPECT_EQ(FDictionary->ChangeID(FPatients, "7", object, "8"), 0);
  EXPECT_EQ(FDictionary->Strings(0), "PATIENT8");
  TestLog().Clear();
  EXPECT_EQ(FDictionary->ChangeID(FPatients, "9", object, "8"), 0);
  EXPECT_FALSE(Logged("ID=9"));
  TplProvider::SetGreenMode(false);
  FDictionary->ChangeID(FPatients, "9", object, "7");
  EXPECT_TRUE(
      Logged("TplGlobalDictionary.AddPerObject: Objekta, ki ima provider TplPatient in ID=9, ni!"));
  EXPECT_EQ(FDictionary->Count(), 2);
  FDictionary->Delete(1);

  // Without green mode a new object is entered at once, and only one may be without an ID.
  auto* nameless = FPatients->NewObject(FForm.Get());
  EXPECT_EQ(FDictionary->TakeObject(FPatients, ""), nameless);
  EXPECT_NE(Raised([&] { FPatients->NewObject(FForm.Get()); }), "");
  // A key that is taken stays with who has it.
  nameless->SetAttrValue("ID", "7");
  EXPECT_EQ(FDictionary->TakeObject(FPatients, "7"), object);
  nameless->Release(FForm.Get());
  EXPECT_EQ(FDictionary->TakeObject(FPatients, "7"), object);
  TplProvider::SetGreenMode(true);
  object->DiposeNewlyCreatedMe();
  EXPECT_EQ(FDictionary->Count(), 0);
  object->Release(FForm.Get());
}

TEST_F(TDictionaryTest, AnEntryWithoutItsObjectHealsWhenItIsRead) {
  AddPatient(1, "Ana");
  const auto stale = [&] {
    FDictionary->Clear();
    {
      const TOwned<TObject> gone(New<TScopeRetainer>());
      FDictionary->AddObject("PATIENT1", gone.Get());
    }
    FDictionary->AddObject("PATIENT2", FForm.Get());
    TestLog().Clear();
  };
  stale();
  EXPECT_EQ(FDictionary->GetPerObjectWithIndex(1), nullptr);
  EXPECT_TRUE(
      Logged("TplGlobalDictionary.GetObject(1) (before delete): "
             "TplGlobalDictionary.GetPerObjectWithIndex: Object at 1 - PATIENT2 not "
             "TplPerObject!"));
  EXPECT_EQ(FDictionary->GetPerObjectWithIndex(0), nullptr);
  EXPECT_TRUE(
      Logged("TplGlobalDictionary.GetObject(0) (after delete): "
             "TplGlobalDictionary.GetPerObjectWithIndex: No object at index 0!"));
  EXPECT_EQ(FDictionary->Count(), 0);
  EXPECT_EQ(FDictionary->GetPerObjectWithIndex(0), nullptr) << "outside";
  for (const char* condition : {"", "NAME = 'Ana'", "ID = 1 and NAME = 'Ana'"}) {
    stale();
    auto ana = *condition == 0 ? Patient("1") : THold<TpoPatient>::Where(FPatients, condition);
    ASSERT_TRUE(ana) << condition;
    EXPECT_EQ(FDictionary->TakeObject(FPatients, "1"), ana.Get());
    EXPECT_EQ(FDictionary->TakeObject(FPatients, "2"), nullptr);
    EXPECT_EQ(FDictionary->Count(), 1);
  }
}

TEST_F(TDictionaryTest, RelationsAreToldFromWhatIsInMemory) {
  for (const int id : {1, 2, 3, 4}) AddEncounter(id, "V");
  Execute("update OMRA.ENCOUNTER set PATIENT_ID = 2 where ID = 3");
  AddPatient(1, "Ana");
  auto ana = Patient("1");
  auto* visits = Provider<TplVisit>();
  std::vector<THold<>> held;
  for (const char* id : {"1", "2", "3"}) held.emplace_back(FEncounters, id);
  // The result, whose members are the only ones that know.
  const auto related = [&](TPlBoList* within, TPlBoList* result, TplPerObject* owner,
                           const std::string& ownerAttr) {
    TPlBoList* const given = result;
    EXPECT_EQ(FDictionary->GetOne2ManyRelation(within, owner, result, "PATIENT_ID", visits,
                                               ownerAttr, ""),
              result);
    EXPECT_TRUE(given == nullptr || given == result);
    std::string ids;
    for (TplPerObject* member : *result) ids += member->GetGID();
    result->Release(given == nullptr ? static_cast<TObject*>(owner) : FForm.Get());
    return ids;
  };
  EXPECT_EQ(related(nullptr, nullptr, ana.Get(), "ID"), "12") << "4 is in nobody's memory";
  EXPECT_EQ(related(nullptr, nullptr, ana.Get(), "WEIGHT"), "") << "no value relates to nothing";
  TPlBoList* other = visits->FetchObjectList(FForm.Get(), "ID = 3", "", true);
  EXPECT_EQ(related(nullptr, other, ana.Get(), "ID"), "12") << "what was there gives way";

  // Limited, the given list alone is looked at, and what is there stays.
  PerLayerSettings()->aiLimitedOne2ManyRelation(true);
  TPlBoList* all = visits->FetchObjectList(FForm.Get(), "ID > 0", "", true);
  other = visits->FetchObjectList(FForm.Get(), "ID > 1", "", true);
  TplPerObject* owner = held[0].Get();
  EXPECT_EQ(related(all, nullptr, owner, ""), "124");
  EXPECT_EQ(related(all, other, owner, ""), "2341") << "nobody twice";
  TPlBoList* patients = FPatients->FetchObjectList(FForm.Get(), "ID > 0", "", true);
  TPlBoList* result = nullptr;
  EXPECT_EQ(Raised([&] {
              FDictionary->GetOne2ManyRelation(patients, owner, result, "PATIENT_ID", visits, "",
                                               "");
            }),
            "TplPerObject.GetOne2ManyRelationOptimized: Wrong provider: List provider is "
            "TplPatient, argument provider is TplVisit!");
  result->Release(owner);
  patients->Release(FForm.Get());
  all->Release(FForm.Get());
}

TEST_F(TDictionaryTest, AListGetsTheLiveObjectsInTheirPlaces) {
  for (const int id : {1, 2, 3, 4, 5}) AddPatient(id, "Ana");
  auto two = Patient("2");
  auto four = Patient("4");
  two->SetAttrValue("NAME", "Anja");
  Execute("update OMRA.PATIENT set NAME = 'Bor'");
  TPlBoList* list = FPatients->FetchObjectList(FForm.Get(), "ID > 0", "", true);
  std::string members;
  for (TplPerObject* member : *list) {
    members += member->GetGID() + member->GetAttrValue("NAME") + " ";
    EXPECT_EQ(member->RefCount(), member == two.Get() || member == four.Get() ? 2 : 1);
    EXPECT_EQ(FDictionary->TakeObject(FPatients, member->GetGID()), member);
  }
  EXPECT_EQ(members, "1Bor 2Anja 3Bor 4Bor 5Bor ");
  list->Release(FForm.Get());

  // A class that has nothing to do with the entry's.
  FEncounters->aiTableName("PATIENT");
  Provider<TplVisit>()->aiTableName("PATIENT");
  AddEncounter(2, "V");
  EXPECT_EQ(Raised([&] { Provider<TplVisit>()->FetchObjectList(FForm.Get(), "ID > 0", "", true); }),
            "TplGlobalDictionary.ConsultDictionaryForList: Wrong class while putting fetched "
            "object into global dictionary: Object in dictionary is TpoPatient and fetched object "
            "is TpoVisit!");
}

TEST_F(TDictionaryTest, AMergeMindsWhatItsCallsHaveChanged) {
  auto* provider = New<TplRestless>(nullptr, FMap);
  provider->aiTableName("PATIENT");
  for (const int id : {1, 2, 3}) AddPatient(id, "Ana");
  THold<> live;
  THold<> other;
  TPlBoList* list = nullptr;
  struct TLastHolder {
    THold<>& hold;
    void LetGo(TObject*) { hold.Reset(); }
  } lastHolder{live};
  struct TCase {
    const char* what;
    std::function<void()> asked;
    int members;
  };
  const TCase kCases[] = {
      {"nothing", [] {}, 3},
      {"the entry ends", [&] { live.Reset(); }, 3},
      {"another is the live one",
       [&] {
         live.Reset();
         other = THold<>(provider, "2");
       },
       3},
      {"the entry's last holder lets go as the twin ends",
       [&] { list->Get(1)->aiOnBeforeFree(TNotifyEvent::Bind<&TLastHolder::LetGo>(&lastHolder)); },
       3},
      {"the twin ends", [&] { list->Delete(1); }, 2},
      {"the twin moves", [&] { list->Move(1, 0); }, 3},
      {"members go", [&] { list->Delete(0); }, 2},
      {"the list ends", [&] { list->Release(FForm.Get()); }, 0},
  };
  provider->FetchObjectList(FForm.Get(), "ID > 0", "", true)->Release(FForm.Get());
  const std::int64_t before = TSlotTable::LiveCount();
  for (const TCase& item : kCases) {
    SCOPED_TRACE(item.what);
    FDictionary->aiUSEDICTIONARY(false);
    list = provider->FetchObjectList(FForm.Get(), "ID > 0", "ID", true);
    FDictionary->aiUSEDICTIONARY(true);
    live = THold<>(provider, "2");
    TpoRestless::OnAsked = item.asked;
    TPlBoList* given = list;
    FDictionary->ConsultDictionaryForList(given, FForm.Get());
    ASSERT_TRUE(FDictionary->aiUSEDICTIONARY() && PerLayerStatistics()->aiEnableEvents());
    if (item.members > 0) {
      ASSERT_EQ(list->Count(), item.members);
      for (TplPerObject* member : *list) {
        ASSERT_NE(member, nullptr);
        EXPECT_EQ(FDictionary->TakeObject(provider, member->GetGID()), member);
        const bool isHeld = member == live.Get() || member == other.Get();
        EXPECT_EQ(member->RefCount(), isHeld ? 2 : 1);
      }
      list->Release(FForm.Get());
    }
    live.Reset();
    other.Reset();
    EXPECT_EQ(TSlotTable::LiveCount(), before);
    // What has ended while the switch was off leaves when it is read.
    EXPECT_EQ(FDictionary->Count() == 0 ? nullptr : FDictionary->GetPerObjectWithIndex(0), nullptr);
    EXPECT_EQ(FDictionary->Count(), 0);
  }
}

TEST_F(TDictionaryTest, WhatADataSetShowsIsFetchedAnewWhereItIsInMemory) {
  for (int id = 1; id <= 120; ++id) AddPatient(id, "Ana");
  TPlBoList* held = FPatients->FetchObjectList(FForm.Get(), "ID < 116", "ID", true);
  held->Get(6)->SetAttrValue("NAME", "Anja");
  Execute("update OMRA.PATIENT set NAME = 'Bor'");
  const TOwned<TIQuery> shown = Make<TIQuery>();
  FPatients->GetQuery(shown.Get());
  FPatients->FetchSpecToSQL(shown.Get(), "ID > 4", "");
  int reloaded = 0;
  int fetched = 0;
  const auto counted = [](int& counter) {
    return TIOnReloadObjectsInDictionary::From([&counter](TplPerObject*) {
      if (++counter == 0) throw Exception("enough");
    });
  };
  const auto reload = [&] {
    FPatients->ReloadObjectsInGlobalDictionary(shown.Get(), counted(reloaded), counted(fetched));
  };
  reload();
  EXPECT_EQ(reloaded + fetched, 0) << "a closed data set shows nothing";
  shown->Open();
  shown->MoveBy(2);
  ASSERT_EQ(shown->FieldByName("ID")->AsString(), "7");
  const std::int64_t live = TSlotTable::LiveCount();
  reload();
  EXPECT_EQ(reloaded, 111);
  EXPECT_EQ(fetched, 111);
  std::string names;
  for (int i = 0; i < 8; ++i) names += held->Get(i)->GetAttrValue("NAME") + " ";
  EXPECT_EQ(names, "Ana Ana Ana Ana Bor Bor Anja Bor ");
  // Either event stops it by raising; the data set is where it was all the same.
  for (int* counter : {&reloaded, &fetched}) {
    *counter = -50;
    EXPECT_EQ(Raised(reload), "enough");
    EXPECT_EQ(shown->FieldByName("ID")->AsString(), "7");
    EXPECT_FALSE(shown->ControlsDisabled());
    EXPECT_EQ(TSlotTable::LiveCount(), live);
  }
  held->Release(FForm.Get());
  EXPECT_EQ(FDictionary->Count(), 0);
}

TEST_F(TDictionaryTest, AReloadGoesPastCacheMapAndListeners) {
  auto* provider = New<TplRestless>(nullptr, FMap);
  provider->aiTableName("PATIENT");
  AddPatient(1, "Ana");
  TplPerObject* object = provider->GetObject(provider, "1", true);
  TPlBoList* list = provider->FetchObjectList(FForm.Get(), "ID > 0", "", true);
  const auto state = [&] {
    std::string letters = provider->aiCacheEnabled() ? "C" : "c";
    letters += FDictionary->aiUSEDICTIONARY() ? "D" : "d";
    letters += aiNotificationsEnabled() ? "N" : "n";
    return letters + (provider->GetRegisterNotify() ? "R" : "r");
  };
  for (const bool fails : {false, true}) {
    for (TplDomainObject* each : std::initializer_list<TplDomainObject*>{object, list}) {
      const std::int64_t live = TSlotTable::LiveCount();
      std::string seen;
      TpoRestless::OnLoaded = [&] {
        seen = state();
        if (fails) throw Exception("no");
      };
      EXPECT_EQ(Raised([&] { each->Reload(); }), fails ? "no" : "");
      EXPECT_EQ(seen, "cdnr");
      EXPECT_EQ(state(), "CDNR");
      EXPECT_EQ(TSlotTable::LiveCount(), live);
      EXPECT_EQ(object->RefCount(), 2);
    }
  }
  EXPECT_EQ(Raised([&] { FDictionary->Reload(FForm.Get(), ""); }),
            "TplGlobalDictionary.Reload: Class not valid!");
  // What a cache lets go of it has handed on; an object leaves the map once.
  list->Release(FForm.Get());
  EXPECT_FALSE(FDictionary->Decide(object, provider));
  EXPECT_TRUE(FDictionary->Decide(object, FForm.Get()));
  TpoRestless::Left.clear();
  object->AddRef(FForm.Get());
  object->Release(provider);
  EXPECT_EQ(TpoRestless::Left, "");
  object->Release(FForm.Get());
  EXPECT_EQ(TpoRestless::Left, "1");
}

// The parameter is read when the dictionary is made.
struct TWatchIsOn {
  TWatchIsOn() { ISystemParameters().SetParamValue("CHECKRELEASING", "TRUE"); }
};
class TDictionaryWatchTest : public TWatchIsOn, public TDictionaryTest {};

TEST_F(TDictionaryWatchTest, WhatIsEnteredWhileItIsReleasedIsTold) {
  AddPatient(1, "Ana");
  auto ana = Patient("1");
  std::string key;
  FDictionary->AddToReleasingList(ana.Get(), key);
  EXPECT_EQ(key, "PATIENT1");
  for (const bool releasing : {true, false}) {
    TestLog().Clear();
    FDictionary->RemoveFromDictionary(ana.Get());
    FDictionary->AddPerObject(FPatients, ana.Get(), FForm.Get());
    EXPECT_EQ(Logged("Alert! Adding object that is releasing back to dictionary!!! Object key = "
                     "PATIENT1, retainer = TScopeRetainer"),
              releasing);
    FDictionary->RemoveFromReleasingList(key);
  }
}

TEST_F(TDictionaryTest, TheWatchIsOffUnlessItIsAskedFor) {
  AddPatient(1, "Ana");
  auto ana = Patient("1");
  std::string key = "?";
  FDictionary->AddToReleasingList(ana.Get(), key);
  EXPECT_EQ(key, "");
}

// --- every call fails once ---

// What one failure leaves of a fetch, a reload, a change of ID: the object is where it was, nobody
// holds more than before, and the next try does right.
TEST_F(TDictionaryTest, AfterAnyFailureMapObjectsAndHoldersAgree) {
  AddEncounter(1, "V");
  AddEncounter(0, "V");  // nobody holds it
  THold<> visit(FEncounters, "1");
  int version = 0;
  const auto change = [&] {
    Execute("update OMRA.ENCOUNTER set PATIENT_ID = :V", {static_cast<double>(++version)});
  };
  const auto fetch = [&] {
    if (TplPerObject* object = FEncounters->FetchObject(FForm.Get(), "ID = 1 or ID = 2", true)) {
      EXPECT_EQ(object, visit.Get());
      object->Release(FForm.Get());
    }
  };
  const auto reload = [&] { visit->Reload(); };
  const auto list = [&] {
    FEncounters->FetchObjectList(FForm.Get(), "ID < 9", "", true)->Release(FForm.Get());
  };
  const auto reloadList = [&] {
    TPlBoList* visits = FEncounters->GetObjectList(FForm.Get());
    visits->SetFetchSpec("ID < 9");
    TryFinally([&] { visits->Reload(); }, [&] { visits->Release(FForm.Get()); });
  };
  const auto rename = [&] {
    visit->SetAttrValue("ID", "3");
    visit->SetAttrValue("ID", "1");
    visit->CancelData();
  };
  const std::function<void()> works[] = {fetch, reload, rename, list, reloadList};
  for (const auto& work : works) {
    change();
    work();
    // Calls that fail, then memory that runs out.
    for (const bool memory : {false, true}) {
      bool failed = true;
      for (int call = memory ? 0 : 1; failed; ++call) {
        const std::string before = visit->GetAttrValue("PATIENT_ID");
        const std::int64_t live = TSlotTable::LiveCount();
        change();
        failed = false;
        try {
          const TOutOfMemory scarce(memory ? call : -1);
          Faults.FailAt(memory ? 0 : call);
          work();
        } catch (const std::bad_alloc&) {
          failed = true;
        } catch (const EPlannedFault&) {
          failed = true;
        }
        Faults.FailAt(0);
        FDictionary->aiUSEDICTIONARY(true);
        visit->UnTouch();
        ASSERT_EQ(TSlotTable::LiveCount(), live) << call;
        ASSERT_EQ(FSession->Taken(), 0) << call;
        ASSERT_EQ(FDictionary->Count(), 1) << call;
        ASSERT_EQ(FDictionary->TakeObject(visit->aiProvider(), visit->GetGID()), visit.Get());
        ASSERT_EQ(visit->RefCount(), 1) << call;
        ASSERT_TRUE(PerLayerStatistics()->aiEnableEvents() && aiNotificationsEnabled());
        const std::string after = visit->GetAttrValue("PATIENT_ID");
        ASSERT_TRUE(after == before || after == std::to_string(version)) << call;
        if (visit->GetGID() != "1") visit->SetAttrValue("ID", "1");
        visit->CancelData();
      }
    }
    change();
    visit->Reload();
    ASSERT_EQ(visit->GetAttrValue("PATIENT_ID"), std::to_string(version));
  }
}

}  // namespace
}  // namespace perlayer

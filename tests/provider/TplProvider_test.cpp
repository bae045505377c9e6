#include "perlayer/provider/TplProvider.h"

#include <gtest/gtest.h>

#include "perlayer/corekit/TIUpdateSQL.h"
#include "perlayer/foundation/FoundationState.h"
#include "perlayer/foundation/TplDomainNotifier.h"
#include "perlayer/platform/TSlotTable.h"
#include "support/HospitalFixture.h"
#include "support/TestLog.h"

namespace perlayer {
namespace {

class TplProviderTest : public THospital {
 protected:
  // An object fetched for FForm; it is let go when the next one comes and at the end.
  TplPerObject* Keep(TplPerObject* object) {
    if (FKept != nullptr) FKept->Release(FForm.Get());
    return FKept = object;
  }
  ~TplProviderTest() override { Keep(nullptr); }

  // The lines of a fresh query after `edit`.
  template <class T>
  std::vector<std::string> Lines(T edit) {
    const TOwned<TIQuery> query = Make<TIQuery>();
    edit(query.Get());
    std::vector<std::string> lines;
    for (int i = 0; i < query->SQL()->Count(); ++i) lines.push_back(query->SQL()->Strings(i));
    return lines;
  }

  // Runs `work` once for each call that may fail in it, failing that one. Whatever failed, no
  // object and no statement may be left, and the same work must do right afterwards. Returns the
  // calls.
  template <class T>
  int SweepFaults(T work) {
    work();  // what is made on first use is made
    for (int call = 1;; ++call) {
      const std::int64_t live = TSlotTable::LiveCount();
      Faults.FailAt(call);
      std::string fault;
      try {
        work();
      } catch (const EPlannedFault& e) {
        fault = e.Message();
      }
      const int calls = Faults.Calls();
      Faults.FailAt(0);
      EXPECT_EQ(TSlotTable::LiveCount(), live) << "after fault " << call << " at " << fault;
      EXPECT_EQ(FSession->Taken(), 0) << "after fault " << call << " at " << fault;
      if (calls < call) return calls;
      EXPECT_NO_THROW(work()) << "after fault " << call << " at " << fault;
    }
  }

  TplPerObject* FKept = nullptr;
};

TEST_F(TplProviderTest, ObjectOfARowIsTheCallersAlone) {
  AddPatient(17, "Ana");
  const int runs = FSession->Runs();
  EXPECT_EQ(FPatients->GetObject(FForm.Get(), "", true), nullptr);
  EXPECT_EQ(FSession->Runs(), runs);
  EXPECT_EQ(FPatients->GetObject(FForm.Get(), "18", true), nullptr);
  EXPECT_EQ(FPatients->GetObject(FForm.Get(), "no number", true), nullptr);
  EXPECT_EQ(FPatients->FetchSpecOfLastFetch(), "");

  for (const bool subclasses : {true, false}) {
    const int before = FSession->Runs();
    TplPerObject* object = Keep(FPatients->GetObject(FForm.Get(), "17", subclasses));
    EXPECT_EQ(FSession->Runs(), before + 1) << "one fetch runs one statement";
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->ClassName(), "TpoPatient");
    EXPECT_EQ(object->GetGID(), "17");
    EXPECT_EQ(object->GetGlobalID(), "PATIENT17");
    EXPECT_EQ(object->GetAttrValue("name"), "Ana");
    EXPECT_EQ(object->RefCount(), 1);
    ASSERT_EQ(object->aiRetainerList()->Count(), 1);
    EXPECT_EQ(object->aiRetainerList()->Objects(0), FForm.Get());
    EXPECT_EQ(FSession->Taken(), 0);
  }
  EXPECT_EQ(FPatients->FetchSpecOfLastFetch(), "ID = '17'");
  Keep(FPatients->GetObjectFor(FForm.Get(), "NAME", "Ana", true));
  EXPECT_EQ(FPatients->FetchSpecOfLastFetch(), "NAME='Ana'");
}

TEST_F(TplProviderTest, ConditionFindsOneObjectOrNoneAndRaisesOnSeveral) {
  AddPatient(1, "Ana");
  AddPatient(2, "Bor");
  AddPatient(3, "Bor");
  TplPerObject* ana = Keep(FPatients->FetchObject(FForm.Get(), "NAME = 'Ana'", false));
  ASSERT_NE(ana, nullptr);
  EXPECT_EQ(ana->GetGID(), "1");
  EXPECT_EQ(FPatients->FetchObject(FForm.Get(), "NAME = 'Cene'", true), nullptr);
  EXPECT_EQ(FPatients->FetchSpecOfLastFetch(), "NAME = 'Cene'");

  const std::int64_t live = TSlotTable::LiveCount();
  for (const bool subclasses : {true, false}) {
    EXPECT_EQ(Raised([&] { FPatients->FetchObject(FForm.Get(), "NAME = 'Bor'", subclasses); }),
              "TplProvider.FetchObject: Dobil več kot en objekt tipa TpoPatient!\r\rPogoj:\rNAME = "
              "'Bor'\r\rSQL:\rselect ID, NAME, SEX, WEIGHT, VISITS, BORN, NOTES, ACTIVE, "
              "DATUMIPL\r\nfrom OMRA.PATIENT\r\nwhere\r\nNAME =:1\r\n");
    EXPECT_EQ(TSlotTable::LiveCount(), live);
    EXPECT_EQ(FSession->Taken(), 0);
  }
  // The failed fetch is not the last one.
  EXPECT_EQ(FPatients->FetchSpecOfLastFetch(), "NAME = 'Cene'");
  EXPECT_EQ(Raised([&] { FPatients->FetchObjectTest(FForm.Get(), "NAME = 'Bor'", false); }),
            "TplProvider.FetchObject: Dobil več kot en objekt tipa TpoPatient! ");
  EXPECT_EQ(TSlotTable::LiveCount(), live);
}

TEST_F(TplProviderTest, ConditionTakesTheActiveFieldIn) {
  const auto condition = [&](const std::string& sought) {
    return Lines([&](TIQuery* query) {
             FPatients->GetQuery(query);
             EXPECT_TRUE(FPatients->FetchSpecToSQL(query, sought, "NAME"));
           })
        .back();
  };
  FPatients->aiBindVariables(false);
  FPatients->aiActiveFieldName("ACTIVE");
  EXPECT_EQ(condition(""), "ACTIVE='1'");
  EXPECT_EQ(condition("A='1' OR B='2'"), "A='1' OR B='2' AND ACTIVE='1'");
  FPatients->aiBindVariables(true);
  EXPECT_EQ(condition("NAME='Ana'"), "NAME=:1 AND ACTIVE=:2");
}

TEST_F(TplProviderTest, DeactivatedRowIsFoundOnlyWhenIncluded) {
  AddPatient(1, "Ana", "0");
  AddPatient(2, "Bor", "");  // no value at all is not active either
  EXPECT_NE(Keep(FPatients->GetObject(FForm.Get(), "1", true)), nullptr);
  FPatients->aiActiveFieldName("ACTIVE");
  for (const char* id : {"1", "2"}) {
    EXPECT_EQ(FPatients->GetObject(FForm.Get(), id, true), nullptr);
    EXPECT_EQ(FPatients->GetObjectFor(FForm.Get(), "ID", id, true), nullptr);
  }
  FPatients->aiIncludeDeactivated(true);
  TplPerObject* object = Keep(FPatients->GetObject(FForm.Get(), "1", true));
  ASSERT_NE(object, nullptr);
  EXPECT_FALSE(object->aiObjectMarkedDeleted());
  EXPECT_NE(Keep(FPatients->GetObjectFor(FForm.Get(), "ID", "2", true)), nullptr);
  // Another field name takes the place of the first in statements that have been made.
  FPatients->aiIncludeDeactivated(false);
  FPatients->aiActiveFieldName("SEX");
  SetPatient(1, "SEX", "1");
  EXPECT_NE(Keep(FPatients->GetObject(FForm.Get(), "1", true)), nullptr);
}

// A class whose ID condition is another statement line than the class map's.
class TplByName : public TplPatient {
  TCLASS(TplByName, TplPatient)
 public:
  void Create(TPlBaseObject* AOwner, TObject* ARetainer) override {
    TplPatient::Create(AOwner, ARetainer);
    aiActiveFieldName("ACTIVE");
  }
  void SetQueryName() override { aiQueryName("quPatient"); }
  void IdToSQL(const std::string& sId, TIQuery* NewQuery) override {
    NewQuery->SQL()->Strings(NewQuery->SQL()->Count() - 1, "NAME = :NAME");
    NewQuery->ParamByName("NAME").AsString(sId);
  }
};

TEST_F(TplProviderTest, ActiveConditionStandsBehindAnIdConditionOfTheClassItself) {
  auto* byName = New<TplByName>(nullptr, FMap);
  AddPatient(1, "Ana", "0");
  AddPatient(2, "Bor");
  EXPECT_NE(Keep(byName->GetObject(FForm.Get(), "Bor", true)), nullptr);
  EXPECT_EQ(byName->GetObject(FForm.Get(), "Ana", true), nullptr);
}

TEST_F(TplProviderTest, RowTellsTheClassOfItsObject) {
  AddEncounter(1, "S");
  AddEncounter(2, "V");
  AddEncounter(3, "X");
  TplPerObject* stay = Keep(FEncounters->GetObject(FForm.Get(), "1", true));
  ASSERT_NE(stay, nullptr);
  EXPECT_EQ(stay->ClassName(), "TpoStay");
  EXPECT_EQ(stay->aiProvider(), Provider<TplStay>());
  EXPECT_EQ(stay->GetAttrValue("WARD"), "Kirurgija");
  EXPECT_EQ(stay->GetTimeStamp(), 45000.5);
  EXPECT_EQ(Keep(FEncounters->FetchObject(FForm.Get(), "ID = '2'", true))->ClassName(), "TpoVisit");
  EXPECT_EQ(FSession->Taken(), 0);

  // Without subclasses the row is still told, but read from the base's query: a stay lacks columns.
  EXPECT_EQ(Keep(FEncounters->GetObject(FForm.Get(), "2", false))->ClassName(), "TpoVisit");
  const std::int64_t live = TSlotTable::LiveCount();
  EXPECT_NE(Raised([&] { FEncounters->GetObject(FForm.Get(), "1", false); }).find("WARD"),
            std::string::npos);
  EXPECT_EQ(Raised([&] { FEncounters->GetObject(FForm.Get(), "3", true); }),
            "Cannot determine provider at TplEncounter (table: ENCOUNTER, field: KIND, value: X, "
            "valid values: S, V)!");
  EXPECT_EQ(TSlotTable::LiveCount(), live);
  EXPECT_EQ(FSession->Taken(), 0);
}

TEST_F(TplProviderTest, MissingRowOfTheSubclassIsToldAndGivesNothing) {
  AddEncounter(1, "S");
  Execute("delete from OMRA.STAY");
  const std::string expected =
      "TplProvider.FetchObjectFromDataSet:\r\rNe najdem zapisa o objektu v dodatni tabeli!\rObjekt "
      "z ID=1 se je shranil z napako, ali pa je nekdo zbrisal podatke iz dodatne tabele za ta "
      "objekt.\r\rIme providerja je TplStay\rSQL ukaz: select E.ID, E.PATIENT_ID, E.KIND, "
      "E.ACTIVE, E.DATUMIPL, S.WARD\r\nfrom OMRA.ENCOUNTER E, OMRA.STAY S\r\nwhere\r\nS.ID = E.ID "
      "and E.ID = :ID\r\n";
  const std::int64_t live = TSlotTable::LiveCount();
  EXPECT_EQ(FEncounters->GetObject(FForm.Get(), "1", true), nullptr);
  EXPECT_EQ(aiLastBoMessageText(), expected);
  EXPECT_EQ(FEncounters->FetchObject(FForm.Get(), "ID = '1'", true), nullptr);
  EXPECT_EQ(TSlotTable::LiveCount(), live);
  EXPECT_EQ(FSession->Taken(), 0);
}

// Lets go of the object that it is told about.
class TQuitter : public TplDomainNotifier {
  TCLASS(TQuitter, TplDomainNotifier)
 public:
  void DoNotifyAction(TplDomainObject* Sender, TIBaseObjectAction ActionType, TObject*,
                      TINotifiedObjectList*) override {
    if (ActionType == TIBaseObjectAction::paMarkedDeleted) Sender->Release(this);
  }
};

TEST_F(TplProviderTest, DeactivatedRowThatComesAllTheSameIsMarkedDeleted) {
  AddEncounter(1, "V", "0");
  auto* visits = Provider<TplVisit>();
  const TOwned<TIQuery> query = Make<TIQuery>();
  visits->GetQuery(query.Get());
  visits->IdToSQL("1", query.Get());  // without the condition on the active field
  TplPerObject* object = Keep(FEncounters->GetObjectFromDataSet(FForm.Get(), query.Get(), false));
  ASSERT_NE(object, nullptr);
  EXPECT_TRUE(object->aiObjectMarkedDeleted());
  EXPECT_EQ(aiLastBoMessageText(), "Uporabljen objekt [1] TpoVisit je neaktiven!");

  // A retainer that lets go when it hears of the mark gets nothing.
  auto* quitter = New<TQuitter>(nullptr, FForm.Get());
  const std::int64_t live = TSlotTable::LiveCount();
  EXPECT_EQ(FEncounters->GetObjectFromDataSet(quitter, query.Get(), false), nullptr);
  EXPECT_EQ(TSlotTable::LiveCount(), live);
  quitter->Release(FForm.Get());

  // Whether deactivated rows are included is the asked provider's to say, for this call.
  visits->aiActiveFieldName("ACTIVE");
  FEncounters->aiIncludeDeactivated(true);
  EXPECT_FALSE(Keep(FEncounters->GetObject(FForm.Get(), "1", true))->aiObjectMarkedDeleted());
  EXPECT_FALSE(visits->aiIncludeDeactivated());
  EXPECT_EQ(visits->GetObject(FForm.Get(), "1", true), nullptr);
}

TEST_F(TplProviderTest, TellsWhetherARowIsThere) {
  using enum TIObjectExistsInDatabaseResult;
  AddEncounter(1, "V");
  AddEncounter(2, "V", "0");
  AddEncounter(3, "V", "");
  AddPatient(1, "Ana", "0");
  EXPECT_EQ(FEncounters->ExistsInDatabase("1"), edExists);
  EXPECT_EQ(FEncounters->ExistsInDatabase("2"), edDeleted);
  EXPECT_EQ(FEncounters->ExistsInDatabase("3"), edDeleted);
  EXPECT_EQ(FEncounters->ExistsInDatabase("4"), edNotExists);
  EXPECT_EQ(FPatients->ExistsInDatabase("1"), edExists);  // no active field
  EXPECT_EQ(FPatients->ExistsInDatabase("2"), edNotExists);
  EXPECT_EQ(FEncounters->aiActiveFieldName(), "ACTIVE");

  SweepFaults([&] { FEncounters->ExistsInDatabase("1"); });
  EXPECT_EQ(FEncounters->aiActiveFieldName(), "ACTIVE");
  FEncounters->aiActiveFieldName("NO_COLUMN");
  EXPECT_THROW(FEncounters->ExistsInDatabase("1"), EDatabaseError);
  EXPECT_EQ(FEncounters->aiActiveFieldName(), "NO_COLUMN");
}

TEST_F(TplProviderTest, FaultAtAnyStepOfAFetchLeavesNothingBehind) {
  AddEncounter(1, "S");
  AddEncounter(2, "V");
  AddEncounter(3, "V", "0");
  auto* statistics = PerLayerStatistics();
  const auto pass = [](auto...) { Faults.Pass("an event of the statistics"); };
  statistics->aiOnStartTransfer(TIPerLayerStatisticsStartEvent::From(pass));
  statistics->aiOnStopTransfer(TNotifyEvent::From(pass));
  statistics->aiOnRefChangedEvent(TIPerLayerRefereceCountChangedNotifyEvent::From(
      [](TPlBaseObject*, TIReferenceEventType type, TObject*) {
        if (type == TIReferenceEventType::reCreate) Faults.Pass("reCreate");
      }));
  const auto letGo = [&](TplPerObject* object) {
    ASSERT_NE(object, nullptr);
    object->Release(FForm.Get());
  };
  for (const bool subclasses : {true, false}) {
    const char* visit = "2";
    EXPECT_GT(SweepFaults([&] { letGo(FEncounters->GetObject(FForm.Get(), visit, subclasses)); }),
              15);
    SweepFaults([&] { letGo(FEncounters->FetchObject(FForm.Get(), "ID = '2'", subclasses)); });
  }
  SweepFaults([&] { letGo(FEncounters->GetObject(FForm.Get(), "1", true)); });
  SweepFaults([&] { letGo(FEncounters->FetchObject(FForm.Get(), "ID = '1'", true)); });
  // A deactivated row by a road that lacks the condition.
  const TOwned<TIQuery> query = Make<TIQuery>();
  SweepFaults([&] {
    query->Close();
    FEncounters->TplProvider::GetQuery(query.Get());
    query->ParamByName("ID").AsString("3");
    try {
      letGo(FEncounters->GetObjectFromDataSet(FForm.Get(), query.Get(), false));
    } catch (...) {
      query->SQLText("");
      throw;
    }
    query->SQLText("");
  });
}

// Gives tests the texts that a list fetch sets for one call.
class TplReplaced : public TplPatient {
  TCLASS(TplReplaced, TplPatient)
 public:
  void SetQueryName() override { aiQueryName("quPatient"); }
  void Replace(const std::string& select, const std::string& from) {
    FReplacementSELECT = select;
    FReplacementFROM = from;
  }
};

TEST_F(TplProviderTest, ReplacementsTakeTheFirstTwoLines) {
  auto* provider = New<TplReplaced>(nullptr, FMap);
  const auto lines = [&] { return Lines([&](TIQuery* query) { provider->GetQuery(query); }); };
  const auto plain = lines();
  ASSERT_EQ(plain.size(), 4u);
  provider->Replace("", "from OMRA.PATIENT P");
  EXPECT_EQ(lines()[0], plain[0]);
  EXPECT_EQ(lines()[1], "from OMRA.PATIENT P");
  provider->Replace("", "");
  EXPECT_EQ(lines(), plain);  // the class map's own query is untouched
  provider->Replace("select 1", "from dual");
  EXPECT_EQ(Lines([&](TIQuery* query) {
              query->SQL()->Add("one line");
              provider->OverrideReplacementSELECTorFROM(query);
            }),
            std::vector<std::string>{"select 1"});
}

TEST_F(TplProviderTest, TableStandsBehindItsOwnerInTheInsert) {
  const auto table = [&](const char* insert) {
    auto* update = Cast<TIUpdateSQL>(FMap->FindComponent("usEncounter"));
    update->SQL(TIUpdateSQL::usInsert)->Text(insert);
    FEncounters->aiTableName("");
    return Raised([&] { throw Exception("=" + FEncounters->GetTableName()); });
  };
  EXPECT_EQ(table("insert into\nOmra.Encounter\n(ID)"), "=Encounter");
  EXPECT_EQ(table("insert into OMRA.ENCOUNTER"), "=ENCOUNTE");  // one short of the end
  EXPECT_EQ(table("insert into\nKLINIKA.ENCOUNTER\n(ID)"),
            "TplProvider.GetTableName: Ne najdem OMRA lastnika tabele za providerja TplEncounter "
            "(insert stavek = \"insert into\r\nKLINIKA.ENCOUNTER\r\n(ID)\")!");
  FEncounters->aiTableOwner("KLINIKA");
  EXPECT_EQ(FEncounters->GetTableName(), "ENCOUNTER");
  FEncounters->aiTableOwner("OMRA");  // the name has been found and is kept
  EXPECT_EQ(FEncounters->aiTableName(), "ENCOUNTER");

  EXPECT_EQ(Raised([&] { Provider<TplVisit>()->GetTableName(); }), "No UpdateSQL for quVisit");
}

TPROVIDER(TplAbsent, TpoPatient)

TEST_F(TplProviderTest, CreationFailsWithoutItsClassMapOrQuery) {
  auto* list = TplProvider::GetProviderList();
  const int count = list->GetCount();
  const std::int64_t live = TSlotTable::LiveCount();
  EXPECT_THROW(New<TplPatient>(nullptr, FForm.Get()), EInvalidCast);
  EXPECT_EQ(aiLastBoMessageText(), "TplProvider.Create: Retainer has to be of type TcmpClassMap");
  EXPECT_THROW(New<TplPatient>(nullptr, nullptr), Exception);
  EXPECT_EQ(Raised([&] { New<TplAbsent>(nullptr, FMap); }), "No query for quAbsent");
  EXPECT_EQ(TSlotTable::LiveCount(), live);
  EXPECT_EQ(list->GetCount(), count);
}

TEST_F(TplProviderTest, ProviderOfAClassMapThatHasGoneSaysSo) {
  auto* map = New<TcmpClassMap>(HospitalMap());
  auto* provider = New<TplReplaced>(nullptr, map);
  AddPatient(1, "Ana");
  TplPerObject* object = Keep(provider->GetObject(FForm.Get(), "1", true));
  map->Free();
  const std::string expected = "No class map defined for provider TplReplaced";
  EXPECT_EQ(Raised([&] { provider->GetObject(FForm.Get(), "1", true); }), expected);
  EXPECT_EQ(Raised([&] { provider->GetMetaData()->AttrCount(); }), expected);
  EXPECT_EQ(object->GetAttrValue("NAME"), "Ana");  // its names and values are here
  // The layer, unloading, frees the provider all the same.
}

TEST_F(TplProviderTest, TemporaryIdsCountFromOneInEachLayer) {
  EXPECT_EQ(CDefNumericNoIdValue(), "-1");
  EXPECT_EQ(CDefNumericNoIdValue(), "-2");
  EXPECT_TRUE(IndexIsTemporary("-1"));
  EXPECT_FALSE(IndexIsTemporary("1-"));
}

}  // namespace
}  // namespace perlayer

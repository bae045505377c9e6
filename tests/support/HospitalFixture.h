#pragma once
// A small hospital for tests: a database file of the test's own, a class map, and classes. Patients
// are told by nothing but their table. Encounters have an active field and are told apart by a
// column: stays, which have a table of their own beside, and visits, which have none.
//
// Every overridable step of an encounter's fetch, every event of the statistics and every call of
// the driver goes by one fault plan.

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "perlayer/corekit/TIDatabase.h"
#include "perlayer/corekit/TIQuery.h"
#include "perlayer/drivers/sqlite/TSqliteSession.h"
#include "perlayer/foundation/TAuthManager.h"
#include "perlayer/object/THold.h"
#include "perlayer/object/TplPerObject.h"
#include "perlayer/platform/Variant.h"
#include "perlayer/provider/TClassMapBuilder.h"
#include "perlayer/provider/TPROVIDER.h"
#include "perlayer/provider/TPlClassMetaData.h"
#include "perlayer/provider/TcmpClassMap.h"
#include "perlayer/reclaim/TIPerLayerStatistics.h"
#include "support/Raised.h"
#include "support/TFaultPlan.h"
#include "support/TempDir.h"

namespace perlayer {

inline TFaultPlan Faults;

inline TClassMapDefinition HospitalMap() {
  TClassMapBuilder map("hospital");
  map.Query("quPatient", "Bolnik")
      .Sql(R"(
        select ID, NAME, SEX, WEIGHT, VISITS, BORN, NOTES, ACTIVE, DATUMIPL
        from OMRA.PATIENT
        where
        ID = :ID
      )")
      .Float("ID")
      .String("NAME", 60, "Ime")
      .Required()
      .String("SEX", 3, "Spol")
      .CodeList("SPO")
      .Float("WEIGHT", "Teža")
      .Integer("VISITS", "Obiski")
      .DateTime("BORN", "Rojen")
      .Memo("NOTES", "Opombe")
      .String("ACTIVE", 1)
      .DateTime("DATUMIPL");
  const auto encounter = [&](const char* name, const char* caption, const char* sql) {
    map.Query(name, caption)
        .Sql(sql)
        .Float("ID")
        .Float("PATIENT_ID")
        .String("KIND", 1, "Vrsta")
        .String("ACTIVE", 1)
        .DateTime("DATUMIPL");
  };
  const char* const plain =
      "select ID, PATIENT_ID, KIND, ACTIVE, DATUMIPL\nfrom OMRA.ENCOUNTER\nwhere\nID = :ID";
  encounter("quEncounter", "Obravnava", plain);
  encounter("quVisit", "Obisk", plain);
  encounter("quStay", "Hospitalizacija", R"(
        select E.ID, E.PATIENT_ID, E.KIND, E.ACTIVE, E.DATUMIPL, S.WARD
        from OMRA.ENCOUNTER E, OMRA.STAY S
        where
        S.ID = E.ID and E.ID = :ID
      )");
  return map.String("WARD", 20, "Oddelek")
      .Update("usPatient")
      .Insert("insert into\nOMRA.PATIENT\n(ID, NAME)\nvalues\n(:ID, :NAME)")
      .Update("usEncounter")
      .Insert("insert into\nOMRA.ENCOUNTER\n(ID, KIND)\nvalues\n(:ID, :KIND)")
      .Build();
}

class TpoPatient : public TplPerObject {
  TCLASS(TpoPatient, TplPerObject)
 public:
  TIboData& Store() { return data; }
};
TPROVIDER(TplPatient, TpoPatient)

class TpoEncounter : public TplPerObject {
  TCLASS(TpoEncounter, TplPerObject)
 public:
  void Create(TPlBaseObject* AOwner, TObject* ARetainer) override {
    TplPerObject::Create(AOwner, ARetainer);
    Faults.Pass("Create");
  }
  void InitializeFromDataSet(TDataSet* ADataSet) override {
    Faults.Pass("InitializeFromDataSet");
    TplPerObject::InitializeFromDataSet(ADataSet);
  }
  void DoAfterLoad() override {
    Faults.Pass("DoAfterLoad");
    TplPerObject::DoAfterLoad();
  }
  void InitializeAfterGetDataFromDataSet() override { Faults.Pass("InitializeAfterGetData"); }
  void SetObjectMarkedDeleted(bool AMarkedDeleted) override {
    Faults.Pass("SetObjectMarkedDeleted");
    TplPerObject::SetObjectMarkedDeleted(AMarkedDeleted);
  }
  bool GetKeepObjectTimestamp() override { return true; }
};
class TpoVisit : public TpoEncounter {
  TCLASS(TpoVisit, TpoEncounter)
};
class TpoStay : public TpoEncounter {
  TCLASS(TpoStay, TpoEncounter)
};

TPROVIDER(TplStay, TpoStay)
TPROVIDER(TplVisit, TpoVisit)

class TplEncounter : public TplProvider {
  TCLASS(TplEncounter, TplProvider)
 public:
  void Create(TPlBaseObject* AOwner, TObject* ARetainer) override {
    TplProvider::Create(AOwner, ARetainer);
    aiActiveFieldName("ACTIVE");
  }
  void GetQuery(TIQuery* quDest) override {
    Faults.Pass("GetQuery");
    TplProvider::GetQuery(quDest);
  }
  bool FetchSpecToSQL(TIQuery* Query, const std::string& FetchSpec,
                      const std::string& Order) override {
    Faults.Pass("FetchSpecToSQL");
    return TplProvider::FetchSpecToSQL(Query, FetchSpec, Order);
  }
  void IdToSQL(const std::string& sId, TIQuery* NewQuery) override {
    Faults.Pass("IdToSQL");
    TplProvider::IdToSQL(sId, NewQuery);
  }
  TplProvider* GetProviderFromDataSet(TDataSet* ASourceDataSet, TIQuery*& AObjectSQL) override {
    Faults.Pass("GetProviderFromDataSet");
    const std::string kind = ASourceDataSet->FieldByName("KIND")->AsString();
    if (kind == "V") return Provider<TplVisit>();
    if (kind != "S") {
      static const std::vector<std::string> kKinds = {"S", "V"};
      CannotDetermineProvider(this, "KIND", kind, kKinds);
    }
    auto* stay = Provider<TplStay>();
    const std::string id = ASourceDataSet->FieldByName("ID")->AsString();
    AObjectSQL = New<TIQuery>();  // not open: the fetch opens it
    stay->GetQuery(AObjectSQL);
    stay->IdToSQL(id, AObjectSQL);
    Faults.Pass("with a query made");
    return stay;
  }
  TplPerObject* InternalCreateObject(TObject* ARetainer) override {
    return New<TpoEncounter>(this, ARetainer);
  }
};

// Refuses the actions that a test names: they have a code that nobody holds.
class THospitalRights : public TAuthManager {
  TCLASS(THospitalRights, TAuthManager)
 public:
  static constexpr int kRefused = 77;
  std::string GetObjectBaseClassName(TplAuthorizedObject* AObject) override {
    return AObject->ClassName();
  }
  int GetActionCode(const std::string& AsActionName) override {
    return Refused.count(AsActionName) == 0 ? kNotControlled : kRefused;
  }
  std::set<std::string> Refused;
};

class THospital : public testing::Test {
 protected:
  THospital() {
    Faults.FailAt(0);
    SetAuthManagerClass(TAuthManagerClass::Of<THospitalRights>());
    auto session = std::make_unique<TFaultySession>(
        std::make_unique<TSqliteSession>(FDir.File("hospital.db")), Faults);
    FSession = session.get();
    FDatabase = Make<TIDatabase>(TcmpClassMap::kDatabaseName, std::move(session));
    Execute(
        "create table OMRA.PATIENT (ID number(10) primary key, NAME varchar2(60), SEX varchar2(3), "
        "WEIGHT number, VISITS number(5), BORN date, NOTES clob, ACTIVE char(1), DATUMIPL date)");
    Execute(
        "create table OMRA.ENCOUNTER (ID number(10) primary key, PATIENT_ID number(10), KIND "
        "varchar2(1), ACTIVE char(1), DATUMIPL date)");
    Execute("create table OMRA.STAY (ID number(10) primary key, WARD varchar2(20))");
    FDatabase->Commit("schema");
    FMap = AddClassMap(HospitalMap());
    FPatients = New<TplPatient>(nullptr, FMap);
    FEncounters = New<TplEncounter>(nullptr, FMap);
    New<TplVisit>(nullptr, FMap);
    New<TplStay>(nullptr, FMap);
    FForm = Make<TScopeRetainer>();
    // Whatever is made on first use is made now, so that a test may count live objects.
    for (TplProvider* provider : std::initializer_list<TplProvider*>{
             FPatients, FEncounters, Provider<TplStay>(), Provider<TplVisit>()}) {
      provider->GetObject(FForm.Get(), "0", true);
      provider->GetMetaData()->GetAttrNames();
    }
    PerLayerSettings()->aiUIExists();
    AuthManager();
  }

  // Runs a statement; the parameters are given in their order, texts and numbers.
  std::int64_t Execute(std::string_view sql, const std::vector<Variant>& values = {}) {
    const TOwned<TIQuery> query = Make<TIQuery>();
    query->DatabaseName(TcmpClassMap::kDatabaseName);
    query->SQLText(sql);
    for (std::size_t i = 0; i < values.size(); ++i) {
      TIParam& param = query->Params(static_cast<int>(i));
      if (values[i].Kind() == TVariantKind::String) {
        param.AsString(values[i].AsText());
      } else {
        param.AsFloat(values[i].AsFloat());
      }
    }
    return query->ExecSQL();
  }
  void AddPatient(double id, const std::string& name, const std::string& active = "1") {
    Execute("insert into OMRA.PATIENT (ID, NAME, ACTIVE) values (:ID, :NAME, :ACTIVE)",
            {id, name, active});
  }
  void SetPatient(double id, const std::string& column, const Variant& value) {
    Execute("update OMRA.PATIENT set " + column + " = :V where ID = :ID", {value, id});
  }
  void AddEncounter(double id, const std::string& kind, const std::string& active = "1") {
    Execute(
        "insert into OMRA.ENCOUNTER (ID, PATIENT_ID, KIND, ACTIVE, DATUMIPL) values (:ID, 1, "
        ":KIND, "
        ":ACTIVE, :D)",
        {id, kind, active, 45000.5});
    if (kind == "S") Execute("insert into OMRA.STAY (ID, WARD) values (:ID, 'Kirurgija')", {id});
  }

  THold<TpoPatient> Patient(const std::string& id) { return THold<TpoPatient>(FPatients, id); }

  TTempDir FDir;
  TFaultySession* FSession = nullptr;  // the database's
  TOwned<TIDatabase> FDatabase;
  TcmpClassMap* FMap = nullptr;  // the layer's, like the providers
  TplPatient* FPatients = nullptr;
  TplEncounter* FEncounters = nullptr;
  TOwned<TScopeRetainer> FForm;  // somebody who holds objects
};

}  // namespace perlayer

#pragma once
// Classes of objects that are written: prescriptions, which are deactivated when they are deleted;
// doses, which go and have two tables; readings, which follow the time stamp of their row and have
// a code. Overridable steps of a write go by the fault plan.

#include <string>
#include <vector>

#include "perlayer/database/TplDatabaseProvider.h"
#include "perlayer/platform/Format.h"
#include "perlayer/reclaim/TplGlobalDictionary.h"
#include "support/HospitalFixture.h"

namespace perlayer {

class TpoPrescription : public TplPerObject {
  TCLASS(TpoPrescription, TplPerObject)
 public:
  void DoNotifyAction(TplDomainObject* Sender, TIBaseObjectAction ActionType, TObject* Data,
                      TINotifiedObjectList* AVisitedObjectList) override {
    if (Hears) Heard.push_back(BaseObjectActionName(ActionType));
    TplPerObject::DoNotifyAction(Sender, ActionType, Data, AVisitedObjectList);
  }
  void DoBeforeSave() override { Faults.Pass("DoBeforeSave"); }
  void DoAfterSave() override { Faults.Pass("DoAfterSave"); }
  void DoPostData() override { Faults.Pass("DoPostData"); }
  void DoBeforeDeleteObject() override { Faults.Pass("DoBeforeDeleteObject"); }
  void DoCancelData() override { Faults.Pass("DoCancelData"); }
  void AfterSaveData() override { Faults.Pass("AfterSaveData"); }
  void DoOnCommit() override { Faults.Pass("DoOnCommit"); }
  void DoOnRollback() override { Faults.Pass("DoOnRollback"); }
  bool DoLock(TplDomainObject*, const std::string& group) override {
    Faults.Pass("DoLock");
    IsLocked = true;
    if (Hears) Heard.push_back("lock " + group);
    return true;
  }
  bool DoUnLock(TplDomainObject*, const std::string& group) override {
    IsLocked = false;
    if (Hears) Heard.push_back("unlock " + group);
    return true;
  }
  void DoRegisterNotify(bool ANotify) override {
    Faults.Pass("DoRegisterNotify");
    if (Hears) Heard.push_back(ANotify ? "register" : "unregister");
  }
  bool GetManualNotification() override { return IsManual; }
  TIboData& Store() { return data; }

  bool IsLocked = false;
  bool IsManual = false;
  bool Hears = false;
  std::vector<std::string> Heard;
};
TPROVIDER(TplPrescription, TpoPrescription)
class TpoDose : public TpoPrescription {
  TCLASS(TpoDose, TpoPrescription)
};
TPROVIDER(TplDose, TpoDose)
class TpoReading : public TpoPrescription {
  TCLASS(TpoReading, TpoPrescription)
 public:
  bool GetKeepObjectTimestamp() override { return true; }
};
TPROVIDER(TplReading, TpoReading)

inline TClassMapDefinition EditMap() {
  return TClassMapBuilder("edits")
      .Query("quPrescription")
      .Sql("select ID, NAME, AMOUNT, TAKEN, ACTIVE\nfrom OMRA.PRESCRIPTION\nwhere\nID = :ID")
      .Float("ID")
      .String("NAME", 60, "Ime")
      .Required()
      .Float("AMOUNT")
      .DateTime("TAKEN")
      .String("ACTIVE", 1)
      .Query("quDose")
      .Sql(
          "select D.ID, D.NAME, N.NOTE\nfrom OMRA.DOSE D, OMRA.DOSE_NOTE N\nwhere\n"
          "N.ID = D.ID and D.ID = :ID")
      .Float("ID")
      .String("NAME", 60, "Ime")
      .Required()
      .Memo("NOTE")
      .Query("quReading")
      .Sql("select ID, NAME, KIND, DATUMIPL\nfrom OMRA.READING\nwhere\nID = :ID")
      .Float("ID")
      .String("NAME", 60, "Ime")
      .String("KIND", 5, "Vrsta")
      .CodeList("MER")
      .DateTime("DATUMIPL")
      .Update("usReading")
      .Insert(
          "insert into OMRA.READING\n(ID, NAME, KIND, DATUMIPL)\nvalues\n"
          "(:ID, :NAME, :KIND, sysdate)")
      .Modify(
          "update OMRA.READING\nset ID = :ID, NAME = :NAME, KIND = :KIND, DATUMIPL = sysdate\n"
          "where ID = :ID")
      .Delete("delete from OMRA.READING\nwhere ID = :ID")
      .Update("usPrescription")
      .Insert(
          "insert into OMRA.PRESCRIPTION\n(ID, NAME, AMOUNT, TAKEN, ACTIVE)\nvalues\n"
          "(:ID, :NAME, :AMOUNT, :TAKEN, :ACTIVE)")
      .Modify(
          "update OMRA.PRESCRIPTION\nset ID = :ID, NAME = :NAME, AMOUNT = :AMOUNT, TAKEN = "
          ":TAKEN, ACTIVE = :ACTIVE\nwhere ID = :ID")
      .Delete("delete from OMRA.PRESCRIPTION\nwhere ID = :ID")
      .Update("usDose")
      .Insert("insert into OMRA.DOSE\n(ID, NAME)\nvalues\n(:ID, :NAME)")
      .Modify("update OMRA.DOSE\nset ID = :ID, NAME = :NAME\nwhere ID = :ID")
      .Delete("delete from OMRA.DOSE\nwhere ID = :ID")
      .Update("usDose_2")
      .Insert("insert into OMRA.DOSE_NOTE\n(ID, NOTE)\nvalues\n(:ID, :NOTE)")
      .Modify("update OMRA.DOSE_NOTE\nset ID = :ID, NOTE = :NOTE\nwhere ID = :ID")
      .Delete("delete from OMRA.DOSE_NOTE\nwhere ID = :ID")
      .Build();
}

class TSavingTest : public THospital {
 protected:
  TSavingTest() {
    Execute(
        "create table OMRA.PRESCRIPTION (ID number(10) primary key, NAME varchar2(60), AMOUNT "
        "number, TAKEN date, ACTIVE char(1))");
    Execute("create table OMRA.DOSE (ID number(10) primary key, NAME varchar2(60))");
    Execute("create table OMRA.DOSE_NOTE (ID number(10) primary key, NOTE clob)");
    Execute(
        "create table OMRA.READING (ID number(10) primary key, NAME varchar2(60), KIND "
        "varchar2(5), DATUMIPL date)");
    Execute(
        "create table OMRA.SIFRANTI (NAME varchar2(30), TABLE_NAME varchar2(30), LIST_FIELD "
        "varchar2(30), CODE_FIELD varchar2(30), SHORT_FIELD varchar2(30), DESC_FIELD "
        "varchar2(30), PARAMS_FIELD varchar2(30), ACTIVE_FIELD varchar2(30), TRASHOLD number(3), "
        "START_ORDER varchar2(30))");
    Execute("create table OMRA.KINDS (CODE varchar2(5), OPIS varchar2(30))");
    Execute(
        "insert into OMRA.SIFRANTI (NAME, TABLE_NAME, CODE_FIELD, DESC_FIELD) values ('MER', "
        "'KINDS', 'CODE', 'OPIS')");
    Execute("insert into OMRA.KINDS values ('T', 'Temperatura')");
    Execute("insert into OMRA.KINDS values ('P', 'Pulz')");
    FDatabase->Commit("schema");
    TcmpClassMap* map = AddClassMap(EditMap());
    FPrescriptions = New<TplPrescription>(nullptr, map);
    FPrescriptions->aiActiveFieldName("ACTIVE");
    FDoses = New<TplDose>(nullptr, map);
    FReadings = New<TplReading>(nullptr, map);
  }

  THold<TpoPrescription> NewOf(TplProvider* provider, const std::string& id) {
    auto* object = Cast<TpoPrescription>(provider->NewObject(FForm.Get()));
    THold<TpoPrescription> hold(object);
    object->Release(FForm.Get());
    if (!id.empty()) object->SetAttrValue("ID", id);
    return hold;
  }
  // The rows of a statement, columns by ",", rows by ";".
  std::string Rows(const std::string& sql) {
    const TOwned<TIQuery> query = Make<TIQuery>();
    query->DatabaseName(TcmpClassMap::kDatabaseName);
    query->SQLText(sql);
    std::string text;
    for (query->Open(); !query->Eof(); query->Next()) {
      if (!text.empty()) text += ";";
      for (int i = 0; i < query->FieldCount(); ++i) {
        text += (i == 0 ? "" : ",") + query->Fields(i)->AsString();
      }
    }
    return text;
  }
  std::string Prescriptions() {
    return Rows("select ID, NAME, ACTIVE from OMRA.PRESCRIPTION order by ID");
  }

  TplPrescription* FPrescriptions;
  TplDose* FDoses;
  TplReading* FReadings;
};

// The same with the dictionary off and on.
class TSavingInBothPositions : public TSavingTest, public testing::WithParamInterface<bool> {
 protected:
  TSavingInBothPositions() { GlobalDictionary()->aiUSEDICTIONARY(GetParam()); }
};

}  // namespace perlayer

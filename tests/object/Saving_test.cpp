// Editing, saving, deleting and the end of transactions, on a real database.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <optional>
#include <random>

#include "perlayer/corekit/MessageDialogs.h"
#include "perlayer/database/TplDatabaseProvider.h"
#include "perlayer/foundation/FoundationState.h"
#include "perlayer/object/TplPerObject.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"
#include "support/HospitalFixture.h"
#include "support/TestLog.h"

namespace perlayer {
namespace {

// A prescription is deactivated when it is deleted, a dose goes; a dose has two tables.
class TpoPrescription : public TplPerObject {
  TCLASS(TpoPrescription, TplPerObject)
 public:
  void DoNotifyAction(TplDomainObject* Sender, TIBaseObjectAction ActionType, TObject* Data,
                      TINotifiedObjectList* AVisitedObjectList) override {
    Heard.push_back(BaseObjectActionName(ActionType));
    TplPerObject::DoNotifyAction(Sender, ActionType, Data, AVisitedObjectList);
  }
  void DoBeforeSave() override { Faults.Pass("DoBeforeSave"); }
  void DoAfterSave() override { Faults.Pass("DoAfterSave"); }
  void DoOnCommit() override { Faults.Pass("DoOnCommit"); }
  bool DoLock(TplDomainObject*, const std::string& group) override {
    Heard.push_back("lock " + group);
    return true;
  }
  bool DoUnLock(TplDomainObject*, const std::string& group) override {
    Heard.push_back("unlock " + group);
    return true;
  }
  TIboData& Store() { return data; }

  std::vector<std::string> Heard;
};
class TplPrescription : public TplProvider {
  TCLASS(TplPrescription, TplProvider)
 public:
  void Create(TPlBaseObject* AOwner, TObject* ARetainer) override {
    TplProvider::Create(AOwner, ARetainer);
    aiActiveFieldName("ACTIVE");
  }
  TplPerObject* InternalCreateObject(TObject* ARetainer) override {
    return New<TpoPrescription>(this, ARetainer);
  }
};
class TpoDose : public TpoPrescription {
  TCLASS(TpoDose, TpoPrescription)
};
TPROVIDER(TplDose, TpoDose)

TClassMapDefinition EditMap() {
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

class SavingTest : public THospital {
 protected:
  SavingTest() {
    Execute(
        "create table OMRA.PRESCRIPTION (ID number(10) primary key, NAME varchar2(60), AMOUNT "
        "number, TAKEN date, ACTIVE char(1))");
    Execute("create table OMRA.DOSE (ID number(10) primary key, NAME varchar2(60))");
    Execute("create table OMRA.DOSE_NOTE (ID number(10) primary key, NOTE clob)");
    FDatabase->Commit("schema");
    TcmpClassMap* map = AddClassMap(EditMap());
    FPrescriptions = New<TplPrescription>(nullptr, map);
    FDoses = New<TplDose>(nullptr, map);
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
};

TEST_F(SavingTest, ARowIsInsertedChangedAndDeactivated) {
  auto object = NewOf(FPrescriptions, "");
  EXPECT_EQ(object->GetEditState(), TIPersistentObjectState::posCreated);
  EXPECT_EQ(object->GetAttrValue("ACTIVE"), "1");
  EXPECT_EQ(object->GetGID(), "-1");
  EXPECT_TRUE(object->SetAttrValue("NAME", "Aspirin"));
  EXPECT_EQ(Raised([&] { object->SaveData(); }),
            "Napaka pri shranjevanju! ID objekta TpoPrescription - začasen ID (-1)!");
  EXPECT_TRUE(object->SetAttrValue("ID", "7"));
  EXPECT_EQ(object->GetAttrOldValue("ID"), "7");
  EXPECT_TRUE(object->SetAttrValueAsFloat("AMOUNT", 2.5));
  EXPECT_TRUE(object->SetAttrValueAsDate("TAKEN", 45000.5));
  object->SaveData();
  EXPECT_EQ(object->GetEditState(), TIPersistentObjectState::posBrowse);
  EXPECT_TRUE(object->aiWasNewObject());
  EXPECT_EQ(Rows("select ID, NAME, AMOUNT, TAKEN from OMRA.PRESCRIPTION"),
            "7,Aspirin,2.5,15.03.2023 12:00:00");

  // Emptied values become NULL.
  object->SetAttrValue("AMOUNT", "");
  object->SetAttrValueAsDate("TAKEN", TplPerObject::kNoDate);
  object->SaveData();
  EXPECT_EQ(Rows("select count(*) from OMRA.PRESCRIPTION where AMOUNT is null and TAKEN is null"),
            "1");

  object->DeleteObject();
  EXPECT_EQ(Prescriptions(), "7,Aspirin,0");
  EXPECT_TRUE(object->aiObjectDeleted());
  EXPECT_FALSE(FDatabase->InTransaction());
  EXPECT_EQ(object->RefCount(), 1);
}

TEST_F(SavingTest, AClassOfTwoTablesIsWrittenAndDeletedAsOne) {
  auto dose = NewOf(FDoses, "3");
  dose->SetAttrValue("NAME", "zjutraj");
  dose->SetAttrValue("NOTE", "po jedi");
  dose->SaveData();
  EXPECT_EQ(Rows("select D.NAME, N.NOTE from OMRA.DOSE D, OMRA.DOSE_NOTE N where N.ID = D.ID"),
            "zjutraj,po jedi");
  Execute("drop table OMRA.DOSE_NOTE");
  FDatabase->Commit("");
  dose->SetAttrValue("NAME", "zvečer");
  EXPECT_NE(Raised([&] { dose->SaveData(); }), "");
  EXPECT_EQ(Rows("select NAME from OMRA.DOSE"), "zjutraj");  // not half of it
  EXPECT_EQ(dose->GetAttrValue("NAME"), "zvečer");
  EXPECT_EQ(dose->GetEditState(), TIPersistentObjectState::posEdit);
  Execute("create table OMRA.DOSE_NOTE (ID number(10) primary key, NOTE clob)");
  FDatabase->Commit("");
  dose->SaveData();
  EXPECT_EQ(Rows("select NAME from OMRA.DOSE"), "zvečer");
  dose->SetObjectMarkedDeleted(true);
  dose->SaveData();
  EXPECT_EQ(Rows("select count(*) from OMRA.DOSE"), "0");
}

TEST_F(SavingTest, InvalidValuesStayWrittenAndKeepTheObjectFromBeingSaved) {
  auto object = NewOf(FPrescriptions, "1");
  EXPECT_TRUE(object->SetAttrValue("NAME", "A"));
  EXPECT_FALSE(object->SetAttrValue("NAME", ""));
  EXPECT_EQ(object->GetAttrErrorMessage("NAME"), "Polje Ime ne sme biti prazno.");
  EXPECT_EQ(object->GetAttrErrorLevel("name"), TIErrorLevel::elError);
  EXPECT_THROW(object->SaveData(), EIPostException);
  EXPECT_EQ(Raised([&] { object->PostData(); }),
            "Napake v zapisu : \r\n  Polje Ime ne sme biti prazno.");
  EXPECT_EQ(object->GetEditState(), TIPersistentObjectState::posInsert);

  // A warning is shown, and the object saved all the same.
  object->SetAttrError("AMOUNT", "Veliko.", TIErrorLevel::elWarning);
  EXPECT_EQ(object->GetWarningCount(), 1);
  EXPECT_EQ(object->GetWarningMessage(), "\r\nVeliko.\r\n");
  EXPECT_EQ(Raised([&] { object->PostData(); }),
            "Napake v zapisu : \r\n  Polje Ime ne sme biti prazno.");
  EXPECT_TRUE(object->SetAttrValue("NAME", "B"));
  EXPECT_TRUE(object->IsAttributeValid("NAME"));
  object->SaveData();
  EXPECT_EQ(Prescriptions(), "1,B,1");

  object->SetAttrValue("NAME", "");
  object->aiIgnoreValidation(true);
  object->SaveData();
  EXPECT_EQ(Prescriptions(), "1,,1");
}

TEST_F(SavingTest, RightsAndReadOnlyAttributesRefuse) {
  auto object = NewOf(FPrescriptions, "1");
  object->SetAttrValue("NAME", "A");
  object->SaveData();
  object->SetReadOnlyFields({"AMOUNT"}, false);
  EXPECT_EQ(Raised([&] { object->SetAttrValue("AMOUNT", "1"); }),
            "Objektu [1] TpoPrescription ni dovoljeno spreminjati vrednosti AMOUNT! Preveri stanje "
            "in pravice!");
  EXPECT_TRUE(object->SetAttrValue("AMOUNT", ""));  // what it was
  object->SetReadOnlyFields({}, true);
  static_cast<THospitalRights*>(AuthManager())->Refused = {"O TpoPrescription Update",
                                                           "O TpoPrescription Delete"};
  EXPECT_EQ(Raised([&] { object->SetAttrValue("NAME", "B"); }),
            "Objektu [1] TpoPrescription (TpoPrescription: 1) ni dovoljeno spreminjati vrednosti - "
            "atribut 'NAME' na 'B'!\r\r\"Objekt pripravljen samo za branje!\"");
  EXPECT_EQ(Raised([&] { object->SetAttrValue("AGE", "B"); }),
            "SetAttrValue: Wrong attribute TpoPrescription(1) AGE!");
  EXPECT_EQ(Raised([&] { object->DeleteObject(); }), "Brisanje ni dovoljeno!");
  EXPECT_EQ(object->GetEditState(), TIPersistentObjectState::posBrowse);
  object->ForceSetAttrValue("NAME", "C");
  object->SaveData();  // saving looks at no right
  EXPECT_EQ(Prescriptions(), "1,C,1");
}

TEST_F(SavingTest, LockingAndNotificationsOfAnEdit) {
  auto object = NewOf(FPrescriptions, "1");
  object->SetAttrValue("NAME", "A");
  object->SaveData();
  object->aiLockGroup("REC");
  object->Heard.clear();
  object->SetAttrValue("NAME", "B");
  object->SetAttrValue("AMOUNT", "1");
  EXPECT_EQ(JoinText(object->Heard, " "), "lock REC paLock paModified paModified paModified");
  object->Heard.clear();
  object->CancelData();
  EXPECT_EQ(object->GetAttrValue("NAME"), "A");
  EXPECT_EQ(JoinText(object->Heard, " "),
            "paModified paCancelData unlock REC paUnlock paCancelData");

  // The row has changed meanwhile: it is to be looked at first.
  object->SetNeedToRefresh(true);
  object->aiCanEditObjectChangedInDatabase(false);
  EXPECT_THROW(object->SetAttrValue("NAME", "C"), ELockException);
  EXPECT_EQ(object->GetAttrValue("NAME"), "A");
}

TEST_F(SavingTest, MessagesAndUnbalancedEnds) {
  auto* provider = dbProvider();
  provider->Rollback("nobody");
  EXPECT_EQ(provider->aiTransactionCount(), 0);
  provider->StartTransaction("X");
  provider->StartTransaction("Y");
  provider->aiInformationMessagesOnCommit()->Add("ena");
  provider->aiInformationMessagesOnCommit()->Add("dve");
  provider->Commit("Y");
  EXPECT_EQ(aiLastBoMessageText(), "");
  provider->Commit("X");
  EXPECT_EQ(aiLastBoMessageText(), "ena\r-----------------------\rdve");
  const TStringList& trace = FDatabase->TransactionTrace();
  std::vector<std::string> labels;
  for (int i = trace.Count() - 4; i < trace.Count(); ++i) labels.push_back(trace.Strings(i));
  EXPECT_EQ(labels, (std::vector<std::string>{"X->TplDatabaseProvider.StartTransaction0",
                                              "Y->TplDatabaseProvider.StartTransaction1",
                                              "Y->TplDatabaseProvider.Commit1",
                                              "X->TplDatabaseProvider.Commit1"}));
  Execute("insert into OMRA.PRESCRIPTION (ID, NAME) values (9, 'x')");
  EXPECT_TRUE(provider->InTransaction());
  provider->Commit("nobody");
  EXPECT_EQ(aiLastBoMessageText(), "Pozor! Števec transakcij = -1!");
  EXPECT_FALSE(provider->InTransaction());
  EXPECT_EQ(Raised([&] { provider->PerformSQLStatement("", FPrescriptions); }),
            "No active transaction");
}

TEST_F(SavingTest, WhatFailsAheadOfTheStatementLeavesNothingBehind) {
  auto object = NewOf(FPrescriptions, "1");
  object->SetAttrValue("NAME", "A");
  object->SaveData();
  object->SetAttrValue("NAME", "B");
  for (const char* place : {"DoBeforeSave", "DoAfterSave"}) {
    for (int call = 1; place != nullptr; ++call) {
      Faults.FailAt(call);
      const std::string fault = Raised([&] { object->DeleteObject(); });
      Faults.FailAt(0);
      ASSERT_NE(fault, "") << place;
      EXPECT_EQ(object->GetAttrValue("ACTIVE"), "1") << fault;
      EXPECT_EQ(Prescriptions(), "1,A,1");
      if (fault == place) place = nullptr;
    }
  }
  PerLayerSettings()->aiOnStartTransactionEvent(
      TNotifyEvent::From([](TObject*) { throw Exception("no"); }));
  EXPECT_EQ(Raised([&] { object->SaveData(); }), "no");
  EXPECT_EQ(dbProvider()->aiTransactionCount(), 0);
  PerLayerSettings()->aiOnStartTransactionEvent(nullptr);

  // An event behind a nested commit does not undo the level twice.
  dbProvider()->StartTransaction("outer");
  PerLayerSettings()->aiOnCommitTransactionEvent(
      TNotifyEvent::From([](TObject*) { throw Exception("no"); }));
  EXPECT_EQ(Raised([&] { object->SaveData(); }), "no");
  EXPECT_EQ(dbProvider()->aiTransactionCount(), 1);
  PerLayerSettings()->aiOnCommitTransactionEvent(nullptr);
  dbProvider()->Commit("outer");
  EXPECT_EQ(Prescriptions(), "1,B,1");
}

// --- every call fails once ---

// What a script of writes leaves behind: nothing half done, nobody held, and a second try works.
TEST_F(SavingTest, AfterAnyFailureObjectsTransactionAndDatabaseAgree) {
  auto a = NewOf(FPrescriptions, "1");
  auto b = NewOf(FDoses, "2");
  a->SetAttrValue("NAME", "a0");
  b->SetAttrValue("NAME", "b0");
  a->SaveData();
  b->SaveData();
  const auto rows = [&] {
    return Rows(
        "select NAME from OMRA.PRESCRIPTION union all select D.NAME || N.NOTE from "
        "OMRA.DOSE D, OMRA.DOSE_NOTE N where N.ID = D.ID");
  };
  std::string before = rows();
  bool reached = true;
  for (int call = 1; reached; ++call) {
    const std::string name = "n" + std::to_string(call);
    Faults.FailAt(0);
    a->SetAttrValue("NAME", name);
    b->SetAttrValue("NAME", name);
    b->SetAttrValue("NOTE", "!");
    const std::string after = name + ";" + name + "!";
    Faults.FailAt(call);
    std::string fault;
    bool committing = false;
    try {
      dbProvider()->StartTransaction("script");
      try {
        a->SaveData();
        b->SaveData();
        dbProvider()->Commit("script");
      } catch (...) {
        dbProvider()->Rollback("script");
        throw;
      }
    } catch (const EPlannedFault& e) {
      fault = e.Message();
    } catch (const Exception& e) {
      fault = e.Message();
      committing = fault.starts_with("Commiting error: ");
    }
    reached = Faults.Calls() >= call;
    Faults.FailAt(0);
    EXPECT_EQ(reached, !fault.empty());
    EXPECT_EQ(dbProvider()->aiTransactionCount(), 0) << fault;
    EXPECT_EQ(dbProvider()->TransactionObjects(), nullptr) << fault;
    EXPECT_FALSE(FDatabase->InTransaction()) << fault;
    EXPECT_EQ(FSession->Taken(), 0) << fault;
    EXPECT_EQ(rows(), reached ? before : after) << fault;
    for (TpoPrescription* object : {a.Get(), b.Get()}) {
      EXPECT_EQ(object->GetAttrValue("NAME"), name) << fault;
      // A failed commit leaves its objects held, and in the state of a save that stands.
      const int held = committing ? 1 : 0;
      EXPECT_EQ(object->RefCount(), 1 + held) << fault;
      EXPECT_EQ(object->GetModified(), reached && !committing) << fault;
      if (committing) object->Release(dbProvider());
    }
    if (!reached) break;
    if (committing) {
      a->Touch();
      b->Touch();
    }
    a->SaveData();
    b->SaveData();
    EXPECT_EQ(rows(), after) << "second try after " << fault;
    before = after;
  }
}

// --- random nested transactions against a model ---

// What one object and its row are to be.
struct TModel {
  using TValues = std::map<std::string, std::string>;

  explicit TModel(bool isLogical) : logical(isLogical) {
    if (logical) Write("ACTIVE", "1");
    modified = false;
  }
  void Write(const std::string& name, const std::string& text) {
    if (!changed) old = value;
    changed = true;
    if (value[name] != text) modified = true;
    value[name] = text;
  }
  void Touch() { modified = whole = true; }
  void Cancel() {
    marked = false;
    if (modified && changed) value = old;
    modified = false;
  }

  bool logical;  // deleting deactivates
  TValues value{{"NAME", ""}, {"ACTIVE", ""}};
  TValues old;           // from before the first change
  bool changed = false;  // there are old values
  bool whole = true;     // the next statement writes all columns
  bool isNew = true;
  bool modified = false;
  bool oldModified = false;
  bool oldNew = false;
  bool unconfirmed = false;
  bool marked = false;
  bool deleting = false;
  bool deleted = false;
  std::string oldActive;
  std::optional<TValues> row, committed;
};

class TTransactionModel {
 public:
  explicit TTransactionModel(std::vector<TModel>& objects) : FObjects(objects) {}

  void Start() { ++FCount; }
  // False when a save of the commit's own has failed: the transaction stays open.
  bool Commit() {
    if (FCount > 1) {
      --FCount;
      return true;
    }
    const std::size_t told = FCount == 1 ? FList.size() : 0;
    for (std::size_t i = 0; i < told; ++i) {
      if (FList[i]->modified && !Save(*FList[i])) return false;
    }
    for (TModel& object : FObjects) object.committed = object.row;
    for (TModel* object : FList) {
      object->modified = object->isNew = object->changed = object->unconfirmed = false;
      if (object->deleting) object->deleted = true;
    }
    FList.clear();
    FCount = 0;
    return true;
  }
  void Rollback() {
    if (FCount != 1) {
      FCount = std::max(FCount - 1, 0);
      return;
    }
    for (TModel& object : FObjects) object.row = object.committed;
    for (TModel* object : FList) {
      object->modified = object->oldModified;
      object->isNew = object->oldNew;
      if (object->logical && !object->oldActive.empty()) object->Write("ACTIVE", object->oldActive);
      object->unconfirmed = false;
    }
    FList.clear();
    FCount = 0;
  }
  bool Save(TModel& object) {
    if (!object.modified && !object.isNew) return true;
    Start();
    if (object.marked) object.modified = true;
    if ((object.marked ? Delete(object) : Statement(object)) && Commit()) {
      object.modified = false;
      return true;
    }
    Rollback();
    return false;
  }
  bool Delete(TModel& object) {
    if (!object.isNew && !object.logical) Keep(object);
    const bool cancels = !object.isNew && !object.modified;
    if (cancels) object.Touch();
    object.deleting = true;
    Start();
    bool done = true;
    if (!object.isNew && object.logical) {
      object.oldActive = object.value["ACTIVE"];
      object.Write("ACTIVE", "0");
      done = Statement(object);
    } else if (!object.isNew) {
      FList.push_back(&object);
      object.row.reset();
    }
    done = done && Commit();
    if (!done) {
      Rollback();
      if (cancels) object.Cancel();
    }
    object.deleting = false;
    if (done) object.marked = true;
    return done;
  }
  int Count() const { return FCount; }
  int References(const TModel& object) const {
    return static_cast<int>(std::count(FList.begin(), FList.end(), &object));
  }

 private:
  static void Keep(TModel& object) {
    if (object.unconfirmed) return;
    object.oldModified = object.modified;
    object.oldNew = object.isNew;
  }
  bool Statement(TModel& object) {
    if (!object.modified && !object.isNew) return true;
    const bool unchecked = object.logical && object.value["ACTIVE"] == "0";
    if (!unchecked && object.value["NAME"].empty()) return false;
    Keep(object);
    FList.push_back(&object);
    if (object.isNew) {
      object.row = object.value;
    } else if (object.row) {
      TModel::TValues narrowed = *object.row;
      bool any = false;
      for (const auto& [name, text] : object.value) {
        if (!object.changed || object.old[name] == text) continue;
        narrowed[name] = text;
        any = true;
      }
      object.row = object.whole || !any ? object.value : narrowed;
    }
    object.modified = object.isNew = object.whole = false;
    object.unconfirmed = true;
    return true;
  }

  std::vector<TModel>& FObjects;
  std::vector<TModel*> FList;
  int FCount = 0;
};

TEST_F(SavingTest, RandomNestedTransactionsAgreeWithAModel) {
  constexpr int kSteps = 10000;
  constexpr int kObjects = 4;
  std::mt19937 random(20261122);
  const auto pick = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
  std::vector<THold<TpoPrescription>> objects;
  std::vector<TModel> models;
  int nextId = 1;
  std::optional<TTransactionModel> model;
  // A failure of validation is the only one that there is here.
  const auto fails = [](auto action) {
    try {
      action();
      return false;
    } catch (const EIPostException&) {
      return true;
    }
  };
  for (int step = 0; step < kSteps; ++step) {
    if (step % 250 == 0) {
      while (model && model->Count() > 0) {
        dbProvider()->Rollback("");
        model->Rollback();
      }
      objects.clear();
      models.clear();
      for (int i = 0; i < kObjects; ++i) {
        const bool logical = i % 2 == 0;
        objects.push_back(NewOf(logical ? static_cast<TplProvider*>(FPrescriptions) : FDoses,
                                std::to_string(nextId++)));
        models.emplace_back(logical);
        models.back().modified = models.back().whole = true;  // the ID was written
      }
      model.emplace(models);
    }
    const int at = pick(kObjects);
    TpoPrescription* object = objects[static_cast<std::size_t>(at)].Get();
    TModel& expected = models[static_cast<std::size_t>(at)];
    const int what = pick(20);
    std::string op;
    if (what < 3) {
      op = "start";
      if (model->Count() < 4) {
        dbProvider()->StartTransaction("");
        model->Start();
      }
    } else if (what < 6) {
      op = "commit";
      const bool failed = fails([] { dbProvider()->Commit(""); });
      ASSERT_EQ(failed, !model->Commit()) << step;
      if (failed) {
        dbProvider()->Rollback("");
        model->Rollback();
      }
    } else if (what < 7) {
      op = "rollback";
      dbProvider()->Rollback("");
      model->Rollback();
    } else if (what < 12) {
      op = "write";
      const std::string name = pick(6) == 0 ? "" : "n" + std::to_string(pick(3));
      if (expected.value["NAME"] != name && !expected.modified) expected.Touch();
      expected.Write("NAME", name);
      object->SetAttrValue("NAME", name);
    } else if (what < 17) {
      op = "save";
      ASSERT_EQ(fails([&] { object->SaveData(); }), !model->Save(expected)) << step;
    } else if (what < 18) {
      op = "delete";
      ASSERT_EQ(fails([&] { object->DeleteObject(); }), !model->Delete(expected)) << step;
    } else {
      op = "cancel";
      object->CancelData();
      expected.Cancel();
    }
    ASSERT_EQ(dbProvider()->aiTransactionCount(), model->Count()) << op << " at " << step;
    for (int i = 0; i < kObjects; ++i) {
      TpoPrescription* real = objects[static_cast<std::size_t>(i)].Get();
      TModel& wanted = models[static_cast<std::size_t>(i)];
      const std::string where =
          op + " at " + std::to_string(step) + ", object " + std::to_string(i);
      ASSERT_EQ(real->GetModified(), wanted.modified) << where;
      ASSERT_EQ(real->aiNewObject(), wanted.isNew) << where;
      ASSERT_EQ(real->aiObjectMarkedDeleted(), wanted.marked) << where;
      ASSERT_EQ(real->aiObjectDeleted(), wanted.deleted) << where;
      ASSERT_EQ(real->RefCount(), 1 + model->References(wanted)) << where;
      ASSERT_EQ(real->GetAttrValue("NAME"), wanted.value["NAME"]) << where;
      if (wanted.logical) {
        ASSERT_EQ(real->GetAttrValue("ACTIVE"), wanted.value["ACTIVE"]) << where;
      }
      const std::string row =
          Rows(std::string("select NAME || '/' || ") +
               (wanted.logical ? "ACTIVE from OMRA.PRESCRIPTION" : "'' from OMRA.DOSE") +
               " where ID = " + real->GetGID());
      ASSERT_EQ(row, wanted.row ? (*wanted.row)["NAME"] + "/" + (*wanted.row)["ACTIVE"] : "")
          << where;
    }
  }
  while (dbProvider()->aiTransactionCount() > 0) dbProvider()->Rollback("");
}

}  // namespace
}  // namespace perlayer

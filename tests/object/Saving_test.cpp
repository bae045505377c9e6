// Editing, saving, deleting and the end of transactions, on a real database.

#include "perlayer/corekit/MessageDialogs.h"
#include "perlayer/database/TplDatabaseSession.h"
#include "perlayer/foundation/FoundationState.h"
#include "perlayer/platform/Text.h"
#include "support/SavingFixture.h"
#include "support/TestLog.h"

namespace perlayer {
namespace {

using SavingTest = TSavingInBothPositions;

class TSession : public TplDatabaseSession {
  TCLASS(TSession, TplDatabaseSession)
 public:
  TILockingMode GetLockingMode() override { return Mode; }
  TILockingMode Mode = TILockingMode::lmOld;
};

INSTANTIATE_TEST_SUITE_P(Dictionary, SavingTest, testing::Bool());

TEST_P(SavingTest, ARowIsInsertedChangedAndDeactivated) {
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

TEST_P(SavingTest, AClassOfTwoTablesIsWrittenAndDeletedAsOne) {
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

TEST_P(SavingTest, InvalidValuesStayWrittenAndKeepTheObjectFromBeingSaved) {
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

TEST_P(SavingTest, RightsAndReadOnlyAttributesRefuse) {
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

TEST_P(SavingTest, LockingAndNotificationsOfAnEdit) {
  auto object = NewOf(FPrescriptions, "1");
  object->SetAttrValue("NAME", "A");
  object->SaveData();
  object->aiLockGroup("REC");
  object->Hears = true;
  object->SetAttrValue("NAME", "B");
  object->SetAttrValue("AMOUNT", "1");
  EXPECT_EQ(JoinText(object->Heard, " "), "lock REC paLock paModified paModified paModified");
  object->Heard.clear();
  object->CancelData();
  EXPECT_EQ(object->GetAttrValue("NAME"), "A");
  EXPECT_EQ(JoinText(object->Heard, " "),
            "paModified paCancelData unlock REC paUnlock paCancelData");

  // With a session that locks nothing, an object that is notified by hand is edited like others.
  auto* session = New<TSession>(nullptr, FForm.Get());
  IDatabaseSessionList()->AddSession(session);
  object->IsManual = true;
  EXPECT_TRUE(object->SetAttrValue("NAME", "B"));
  object->CancelData();
  session->Mode = TILockingMode::lmNew;
  object->IsManual = false;

  // The row has changed meanwhile: it is to be looked at first.
  object->SetNeedToRefresh(true);
  object->aiCanEditObjectChangedInDatabase(false);
  EXPECT_THROW(object->SetAttrValue("NAME", "C"), ELockException);
  EXPECT_EQ(object->GetAttrValue("NAME"), "A");
}

TEST_P(SavingTest, ARefusedRegistrationBehindTheCommitIsTriedAgain) {
  auto object = NewOf(FPrescriptions, "1");
  object->SetAttrValue("NAME", "A");
  object->SetBOMasterDBNotifyGlobalID("1");
  object->aiLockGroup("REC");
  Faults.FailOn("DoRegisterNotify");
  EXPECT_EQ(Raised([&] { object->SaveData(); }), "DoRegisterNotify");
  EXPECT_EQ(Prescriptions(), "1,A,1");
  EXPECT_FALSE(object->IsLocked || object->aiNotify());
  object->SetNotify(true);
  EXPECT_TRUE(object->aiNotify());
}

TEST_P(SavingTest, MessagesAndUnbalancedEnds) {
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

TEST_P(SavingTest, WhatFailsAheadOfTheStatementLeavesNothingBehind) {
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

}  // namespace
}  // namespace perlayer

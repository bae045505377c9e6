#include "perlayer/corekit/TIDatabase.h"

#include <gtest/gtest.h>

#include "perlayer/corekit/TIQuery.h"
#include "perlayer/drivers/sqlite/TSqliteSession.h"
#include "perlayer/platform/Exception.h"
#include "support/Raised.h"
#include "support/TFaultPlan.h"
#include "support/TempDir.h"
#include "support/TestLog.h"

namespace perlayer {
namespace {

// The real driver, whose next rollback fails on demand after it has been done.
class TFailingSession : public TFaultySession {
 public:
  explicit TFailingSession(const std::string& file)
      : TFaultySession(std::make_unique<TSqliteSession>(file), FNoFaults) {}
  void Rollback() override {
    TFaultySession::Rollback();
    if (std::exchange(failNextRollback, false)) throw Exception("rollback failed");
  }
  bool failNextRollback = false;

 private:
  TFaultPlan FNoFaults;
};

class TIDatabaseTest : public testing::Test {
 protected:
  TIDatabaseTest() {
    auto session = std::make_unique<TFailingSession>(FDirectory.File("test.db"));
    FSession = session.get();
    FDatabase = New<TIDatabase>("_QOR", std::move(session));
    Run("create table P (ID NUMBER primary key)");
    // A missing parent is noticed by the commit.
    Run("create table C (P NUMBER references P(ID) deferrable initially deferred)");
    FDatabase->Commit("fixture");
  }
  ~TIDatabaseTest() override {
    if (FDatabase != nullptr) FDatabase->Free();
  }

  static void Run(std::string_view sql) {
    const auto query = Make<TIQuery>();
    query->DatabaseName("_QOR");
    query->SQLText(sql);
    query->ExecSQL();
  }
  static int Rows(const std::string& table) {
    const auto query = Make<TIQuery>();
    query->DatabaseName("_QOR");
    query->SQLText("select count(*) from " + table);
    query->Open();
    return static_cast<int>(query->Fields(0)->AsInteger());
  }
  TNotifyEvent Mark(const std::string& mark) {
    return TNotifyEvent::From(
        [this, mark](TObject*) { FTrace += mark + (FDatabase->InTransaction() ? "+ " : " "); });
  }
  static TNotifyEvent Raise(const std::string& message) {
    return TNotifyEvent::From([message](TObject*) { throw Exception(message); });
  }
  void ListenToAll() {
    FDatabase->AddBeforeCommit(Mark("before1"));
    FDatabase->AddBeforeCommit(Mark("before2"));
    FDatabase->AddAfterCommit(Mark("after1"));
    FDatabase->AddAfterCommit(Mark("after2"));
    FDatabase->AddAfterRollback(Mark("back1"));
    FDatabase->AddAfterRollback(Mark("back2"));
  }
  std::string Trace() { return std::exchange(FTrace, ""); }

  TTempDir FDirectory;
  TFailingSession* FSession;
  TIDatabase* FDatabase;
  std::string FTrace;
};

TEST_F(TIDatabaseTest, EventsRunInOrderAroundTheEndOfATransaction) {
  ListenToAll();
  FDatabase->StartTransaction("begin");
  Run("insert into P values (1)");
  FDatabase->Commit("end");
  EXPECT_EQ(Trace(), "before1+ before2+ after1 after2 ");
  Run("insert into P values (2)");
  EXPECT_TRUE(FDatabase->InTransaction()) << "a write opens a transaction by itself";
  FDatabase->Rollback("back");
  EXPECT_EQ(Trace(), "back1 back2 ");
  EXPECT_EQ(Rows("P"), 1);

  // Without the question that the application asks before a commit.
  Run("insert into P values (3)");
  EXPECT_EQ(Raised([&] { FDatabase->ForceCommit("Potrjujem to dejanje!"); }),
            "TIDatabase.ForceCommit: the confirmation phrase is wrong (code 0)");
  EXPECT_TRUE(FDatabase->InTransaction());
  FDatabase->ForceCommit("Potrjujem to dejanje!!");
  EXPECT_EQ(Trace(), "after1 after2 ");
  EXPECT_FALSE(FDatabase->InTransaction());
  EXPECT_EQ(Rows("P"), 2);
}

TEST_F(TIDatabaseTest, AFailedCommitIsARollbackThatIsTold) {
  ListenToAll();
  Run("insert into P values (1)");
  const TNotifyEvent refusal = Raise("not yet");
  FDatabase->AddBeforeCommit(refusal);
  FDatabase->AddBeforeCommit(Mark("before3"));
  EXPECT_EQ(Raised([&] { FDatabase->Commit("1"); }), "not yet");
  EXPECT_EQ(Trace(), "before1+ before2+ back1 back2 ");
  EXPECT_FALSE(FDatabase->InTransaction());
  EXPECT_EQ(Rows("P"), 0);
  FSession->failNextRollback = true;
  Run("insert into P values (1)");
  EXPECT_EQ(Raised([&] { FDatabase->Commit("2"); }), "rollback failed");
  EXPECT_EQ(Trace(), "before1+ before2+ back1 back2 ") << "whoever waits for the end hears of it";
  FSession->failNextRollback = true;
  EXPECT_EQ(Raised([&] { FDatabase->Rollback("3"); }), "rollback failed");
  EXPECT_EQ(Trace(), "back1 back2 ");
  FDatabase->RemoveEvent(refusal);

  Run("insert into C values (17)");
  EXPECT_THROW(FDatabase->Commit("4"), EDatabaseError) << "the parent is missing";
  EXPECT_EQ(Trace(), "before1+ before2+ before3+ back1 back2 ");
  EXPECT_FALSE(FDatabase->InTransaction());
  EXPECT_EQ(Rows("C"), 0);
}

TEST_F(TIDatabaseTest, WhatFailsAfterTheEndIsLoggedAndTheOthersRun) {
  FDatabase->AddAfterCommit(Raise("display is dark"));
  FDatabase->AddAfterRollback(Raise("display is gone"));
  ListenToAll();
  Run("insert into P values (1)");
  FDatabase->Commit("1");
  EXPECT_EQ(Trace(), "before1+ before2+ after1 after2 ");
  FDatabase->Rollback("2");
  EXPECT_EQ(Trace(), "back1 back2 ");
  EXPECT_EQ(
      TestLog().Lines(),
      (std::vector<std::string>{"TIDatabase _QOR: event after commit failed: display is dark",
                                "TIDatabase _QOR: event after rollback failed: display is gone"}));
  EXPECT_EQ(Rows("P"), 1);
}

// One-time events, events that watch only the next commit, and an owner that closes the database.
TEST_F(TIDatabaseTest, AnEventMayRemoveEventsAddOthersAndFreeTheDatabase) {
  TNotifyEvent once, victim = Mark("victim");
  once = TNotifyEvent::From([&](TObject*) {
    FTrace += "once ";
    FDatabase->RemoveEvent(once);
    FDatabase->RemoveEvent(victim);
    FDatabase->AddBeforeCommit(Mark("added"));
  });
  FDatabase->AddBeforeCommit(once);
  FDatabase->AddBeforeCommit(Mark("check"));
  FDatabase->AddBeforeCommit(victim);
  FDatabase->Commit("1");
  EXPECT_EQ(Trace(), "once check ") << "the next one is not passed over";
  FDatabase->Commit("2");
  EXPECT_EQ(Trace(), "check added ");

  const TNotifyEvent free =
      TNotifyEvent::From([&](TObject*) { std::exchange(FDatabase, nullptr)->Free(); });
  FDatabase->AddAfterRollback(free);
  FDatabase->AddAfterRollback(Raise("nobody is left to call"));
  FDatabase->Rollback("3");
  EXPECT_EQ(FindDatabase("_QOR"), nullptr);
  for (const bool raises : {false, true}) {
    auto session = std::make_unique<TFailingSession>(FDirectory.File("test.db"));
    FDatabase = New<TIDatabase>("_QOR", std::move(session));
    FDatabase->AddBeforeCommit(TNotifyEvent::From([&](TObject* sender) {
      free(sender);
      if (raises) throw Exception("closed");
    }));
    EXPECT_EQ(Raised([&] { FDatabase->Commit("4"); }), raises ? "closed" : "");
  }
}

TEST_F(TIDatabaseTest, NamesAreUniqueInAnyCaseAndLeaveWithTheDatabase) {
  EXPECT_EQ(FindDatabase("_qor"), FDatabase);
  const std::string file = FDirectory.File("other.db");
  EXPECT_EQ(Raised([&] { New<TIDatabase>("_Qor", std::make_unique<TSqliteSession>(file)); }),
            "A database named _Qor already exists");
  EXPECT_EQ(FindDatabase("_QOR"), FDatabase) << "the refused one took nobody out";
}

TEST_F(TIDatabaseTest, TheTraceKeepsTheNewestLines) {
  FDatabase->StartTransaction("X->Start0");
  FDatabase->Rollback("X->Rollback1");
  const TStringList& trace = FDatabase->TransactionTrace();
  EXPECT_EQ(trace.Text(), "fixture\r\nX->Start0\r\nX->Rollback1\r\n");
  for (int i = 0; i < TIDatabase::kTraceLines + 10; ++i) FDatabase->AddTrace(std::to_string(i));
  EXPECT_EQ(&FDatabase->TransactionTrace(), &trace);
  EXPECT_EQ(trace.Count(), TIDatabase::kTraceLines);
  EXPECT_EQ(trace.Strings(0), "10");
  EXPECT_EQ(trace.Strings(TIDatabase::kTraceLines - 1), "1009");
}

}  // namespace
}  // namespace perlayer

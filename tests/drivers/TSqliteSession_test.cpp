#include "perlayer/drivers/sqlite/TSqliteSession.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <variant>
#include <vector>

#include "perlayer/platform/TClock.h"
#include "perlayer/platform/Text.h"
#include "support/Faults.h"
#include "support/TempDir.h"

namespace perlayer {
namespace {

using TValue = std::variant<std::nullptr_t, const char*, double>;

std::string TextOf(const TCell& cell) {
  switch (cell.kind) {
    case TCellKind::null:
      return "-";
    case TCellKind::integer:
      return IntToStr(cell.integer);
    case TCellKind::number:
      return FloatToStr(cell.number);
    default:
      return std::string(cell.text);
  }
}

// A statement that is out of the session's cache for a scope.
class TTaken {
 public:
  TTaken(TSqliteSession& session, const std::string& sql, const std::vector<TValue>& binds = {})
      : FSession(session), FStatement(session.Take(TStatementText::Of(sql))) {
    Bind(binds);
  }
  ~TTaken() { FSession.GiveBack(FStatement); }
  TDriverStatement* operator->() const { return FStatement; }
  TDriverStatement* Get() const { return FStatement; }

  void Bind(const std::vector<TValue>& binds) {
    int i = 0;
    for (const TValue& bind : binds) {
      if (const auto* text = std::get_if<const char*>(&bind)) {
        FStatement->BindText(i++, *text);
      } else if (const auto* number = std::get_if<double>(&bind)) {
        FStatement->BindNumber(i++, *number);
      } else {
        FStatement->BindNull(i++);
      }
    }
  }
  // The next row "a,b", or "end".
  std::string Next() {
    if (!FStatement->Step()) return "end";
    std::string row;
    const std::size_t count = FStatement->Layout()->columns.size();
    for (std::size_t i = 0; i < count; ++i) {
      TCell cell;
      FStatement->Cell(static_cast<int>(i), cell);
      row += (i == 0 ? "" : ",") + TextOf(cell);
    }
    return row;
  }
  // All rows that are left, separated by blanks.
  std::string Rest() {
    std::string rows;
    for (std::string row = Next(); row != "end"; row = Next()) {
      rows += (rows.empty() ? "" : " ") + row;
    }
    return rows;
  }

 private:
  TSqliteSession& FSession;
  TDriverStatement* FStatement;
};

class TSqliteSessionTest : public testing::Test {
 protected:
  std::unique_ptr<TSqliteSession> Open(const char* file = "test.db", int busyTimeout = 0,
                                       std::size_t kept = 200) {
    return std::make_unique<TSqliteSession>(FDir.File(file), TSqliteOptions{busyTimeout, kept});
  }
  static std::string Query(TSqliteSession& session, const std::string& sql,
                           const std::vector<TValue>& binds = {}) {
    return TTaken(session, sql, binds).Rest();
  }
  static std::int64_t Run(TSqliteSession& session, const std::string& sql,
                          const std::vector<TValue>& binds = {}) {
    TTaken statement(session, sql, binds);
    EXPECT_FALSE(statement->Step());
    return statement->RowsAffected();
  }
  // The failure of the action; the test fails when there is none.
  static EDatabaseError Failure(const std::function<void()>& action) {
    try {
      action();
    } catch (const EDatabaseError& e) {
      return e;
    }
    ADD_FAILURE() << "nothing was raised";
    return EDatabaseError(TDatabaseErrorKind::other, 0, "", "");
  }
  // Rows 1 to `count` of OMRA.PATIENT, committed.
  static void MakePatients(TSqliteSession& session, int count) {
    Run(session,
        "create table omra.patient (id number(10) primary key, last varchar2(50), code varchar2(9),"
        " born date, weight number(5,1), note clob, photo blob)");
    for (int i = 1; i <= count; ++i) {
      Run(session, "insert into omra.patient (id, last) values (:id, :last)",
          {double(i), ("P" + IntToStr(i)).c_str()});
    }
    session.Commit();
  }

  TTempDir FDir;
};

TEST_F(TSqliteSessionTest, ValuesComeBackAsTheyWereWritten) {
  const auto session = Open();
  MakePatients(*session, 0);
  const std::string bytes("\0\xff\x01", 3);
  {
    TTaken insert(*session, "insert into omra.patient values (:1, :2, :3, :4, :5, :6, :7)");
    insert.Bind({1.0, "Žagar", "05", "27.01.2023 12:00:00", 70.1, ""});
    insert->BindBlob(6, std::as_bytes(std::span(bytes)));
    EXPECT_FALSE(insert->Step());
    EXPECT_EQ(insert->RowsAffected(), 1);
    insert->Reset();
    insert.Bind({2.0, nullptr, 5.0, 44953.5, "70.1"});  // the rest is NULL
    EXPECT_FALSE(insert->Step());
  }
  EXPECT_EQ(
      Query(*session, "select id, last, code, born, weight, note from omra.patient order by id"),
      "1,Žagar,05,44953.5,70.1,- 2,-,5,44953.5,70.1,-");
  TTaken select(*session,
                "select photo, p.*, count(*) over () n, sysdate, last || id from "
                "omra.patient p where id = :id",
                {"1"});
  ASSERT_TRUE(select->Step());
  TCell photo;
  select->Cell(0, photo);
  EXPECT_EQ(photo.kind, TCellKind::blob);
  EXPECT_EQ(photo.text, bytes);
  std::string columns;
  for (const TColumnInfo& c : select->Layout()->columns) {
    columns += c.name + ":" + IntToStr(int(c.type)) + ":" + IntToStr(c.size) + " ";
  }
  EXPECT_EQ(columns,
            "PHOTO:4:0 ID:1:0 LAST:0:50 CODE:0:9 BORN:2:0 WEIGHT:1:0 NOTE:3:0 PHOTO:4:0 "
            "N:1:0 SYSDATE:2:0 LAST||ID:0:0 ");
}

TEST_F(TSqliteSessionTest, ComparesLikeTheStatementsLanguage) {
  const auto session = Open();
  MakePatients(*session, 0);
  Run(*session, "insert into omra.patient values (1, 'Žagar', '05', '27.01.2023', 70.5, '', null)");
  Run(*session,
      "insert into omra.patient values (2, 'kos', '7', to_date('2020-02-29 13:30', "
      "'YYYY-MM-DD HH24:MI'), 100, 'x', null)");
  const struct {
    const char* condition;
    std::vector<TValue> binds;
    const char* ids;
  } kCases[] = {
      {"id = :p", {" 2 "}, "2"},
      {"code = 5", {}, "1"},
      {"code = :p", {"5"}, ""},
      {"code = :p", {5.0}, "1"},
      {"nvl(weight, 0) + :p = '101'", {"1"}, "2"},
      {"born = :p", {"27.01.2023"}, "1"},
      {"born < '01.03.2020'", {}, "2"},
      {"trunc(born) in (:p, '01.01.1900')", {"29.02.2020"}, "2"},
      {"to_char(born, 'HH24:MI') = '13:30'", {}, "2"},
      {"born = to_date(:p, 'DD.MM.YY')", {"27.01.23"}, "1"},
      {"upper(last) = 'ŽAGAR'", {}, "1"},
      {"code in ('x', :p)", {"7"}, "2"},
      {"last like :p", {"k%"}, "2"},
      {"note is null and '' is null", {}, "1"},
      {"last || note = 'Žagar'", {}, "1"},
      {":p = 'x'", {"x"}, "1 2"},
      {":p is null", {""}, "1 2"},
      {"1 / 2 = 0.5", {}, "1 2"},
      {"born > sysdate", {}, "1"},
  };
  TClock::Install(std::make_unique<TManualClock>(EncodeDate(2022, 1, 1)));
  for (const auto& c : kCases) {
    const std::string sql = std::string("select id from omra.patient where ") + c.condition;
    EXPECT_EQ(Query(*session, sql + " order by id", c.binds), c.ids) << c.condition;
  }
  // A text that is neither is refused, and nothing of it is told.
  for (const char* sql : {"update omra.patient set born = :p", "update omra.patient set id = :p",
                          "select 1 from omra.patient where born < :p",
                          "select 1 from omra.patient where code + :p = 1"}) {
    const EDatabaseError e = Failure([&] { Query(*session, sql, {"secret"}); });
    EXPECT_EQ(e.Statement(), sql);
    EXPECT_EQ(e.Message().find("secret"), std::string::npos);
  }
}

TEST_F(TSqliteSessionTest, TheClockIsTheInstalledOneAndStandsStillInAStatement) {
  struct TRunningClock : TManualClock {
    using TManualClock::TManualClock;
    TDateTime Now() const override {
      const_cast<TRunningClock*>(this)->Advance(1500);
      return TManualClock::Now();
    }
  };
  TClock::Install(std::make_unique<TRunningClock>(EncodeDate(2023, 1, 27)));
  const auto session = Open();
  const std::string sql =
      "select to_char(sysdate, 'MI:SS'), sysdate - sysdate from dual where sysdate <= sysdate "
      "union all select to_char(sysdate, 'MI:SS'), 1 from dual";
  EXPECT_EQ(Query(*session, sql), "00:01,0 00:01,1");  // 1.5 seconds, as a whole second
  EXPECT_EQ(Query(*session, sql), "00:03,0 00:03,1");
}

TEST_F(TSqliteSessionTest, IndexesStayUsable) {
  const auto session = Open();
  MakePatients(*session, 3);
  Run(*session, "create index omra.ix_born on omra.patient (born)");
  Run(*session, "create index omra.ix_last on omra.patient (last)");
  for (const char* condition : {"id = :ID", "born = :D", "born between :A and sysdate", "last = :L",
                                "last like 'P%'", "id in (:A, '2')"}) {
    const std::string plan = Query(
        *session, std::string("explain plan for select * from omra.patient where ") + condition);
    EXPECT_NE(plan.find("SEARCH OMRA.PATIENT USING INDEX"), std::string::npos) << plan;
  }
}

TEST_F(TSqliteSessionTest, TheFirstWriteOpensATransactionAndNothingCommitsByItself) {
  const auto writer = Open();
  const auto reader = Open();
  MakePatients(*writer, 1);
  EXPECT_EQ(Query(*writer, "select id from omra.patient"), "1");
  EXPECT_NE(Query(*writer, "explain plan for update omra.patient set last = 'X'"), "");
  EXPECT_FALSE(writer->InTransaction());
  EXPECT_EQ(Run(*writer, "update omra.patient set last = 'X' where id = 7"), 0);
  EXPECT_TRUE(writer->InTransaction());
  EXPECT_EQ(Run(*writer, "insert into omra.patient (id) select id + 1 from omra.patient"), 1);
  EXPECT_EQ(Query(*reader, "select count(*) from omra.patient"), "1");
  writer->Commit();
  EXPECT_FALSE(writer->InTransaction());
  EXPECT_EQ(Query(*reader, "select count(*) from omra.patient"), "2");

  writer->Begin();
  Run(*writer, "delete omra.patient");
  writer->Begin();  // changes nothing
  writer->Rollback();
  EXPECT_EQ(Query(*writer, "select count(*) from omra.patient"), "2");

  // A first write that fails opens nothing, and leaves the file to others.
  EXPECT_EQ(Failure([&] { Run(*writer, "insert into omra.patient (id) values (1)"); }).Kind(),
            TDatabaseErrorKind::constraint);
  EXPECT_FALSE(writer->InTransaction());
  Run(*reader, "delete from omra.patient where id = 2");
  {
    const auto gone = Open();
    EXPECT_EQ(Failure([&] { Run(*gone, "delete from omra.patient"); }).Kind(),
              TDatabaseErrorKind::busy);
    EXPECT_FALSE(gone->InTransaction());
  }
  reader->Commit();
  {
    const auto gone = Open();
    Run(*gone, "delete from omra.patient");  // rolled back with its session
  }
  EXPECT_EQ(Query(*reader, "select id from omra.patient"), "1");
}

TEST_F(TSqliteSessionTest, AnotherClientsCommitBetweenReadAndWriteIsNoError) {
  const auto session = Open();
  const auto other = Open();
  MakePatients(*session, 5);
  session->Begin();
  TTaken cursor(*session, "select id, last from omra.patient order by id");
  TTaken behind(*session, "select id from omra.patient where id < 3 order by id");
  EXPECT_EQ(cursor.Next(), "1,P1");
  EXPECT_EQ(behind.Rest(), "1 2");
  Run(*other, "update omra.patient set last = 'other'");
  Run(*other, "delete omra.patient where id = 4");
  other->Commit();
  EXPECT_EQ(Query(*session, "select last from omra.patient where id = 1"), "P1");  // one state

  EXPECT_EQ(Run(*session, "update omra.patient set last = last || '!' where id = 2"), 1);
  TCell cell;
  cursor->Cell(1, cell);
  EXPECT_EQ(cell.text, "P1");  // the current row too
  EXPECT_EQ(cursor.Next(), "2,P2");
  EXPECT_EQ(Query(*session, "select last from omra.patient where id < 4 order by id"),
            "other other! other");
  session->Commit();
  EXPECT_EQ(cursor.Rest(), "3,P3 4,P4 5,P5");
  cursor->Reset();
  EXPECT_EQ(cursor.Rest(), "1,other 2,other! 3,other 5,other");
}

TEST_F(TSqliteSessionTest, CursorsReadOnAcrossWriteCommitAndRollback) {
  const auto session = Open();
  MakePatients(*session, 4);
  const std::string all = "select id from omra.patient order by id";
  const auto write = [&] { Run(*session, "delete omra.patient where id > 2"); };
  const std::vector<std::pair<const char*, std::function<void()>>> kEvents = {
      {"rollback",
       [&] {
         write();
         session->Rollback();
       }},
      {"write", write},
      {"table change",
       [&] {
         Run(*session, "alter table omra.patient add extra number");
         session->Commit();
       }},
  };
  for (const auto& [name, event] : kEvents) {
    const std::string before = Query(*session, all);
    TTaken first(*session, all);
    TTaken second(*session, all);  // the same text, prepared a second time
    EXPECT_NE(first.Get(), second.Get());
    first.Next();
    second.Next();
    second.Next();
    EXPECT_EQ(first->Layout(), second->Layout());
    event();
    EXPECT_EQ("1 " + first.Rest(), before) << name;
    EXPECT_EQ("1 2" + std::string(before.size() > 3 ? " " : "") + second.Rest(), before) << name;
  }
}

TEST_F(TSqliteSessionTest, ABusyFileLeavesTheTransactionAsItWas) {
  const auto session = Open();
  const auto other = Open();
  MakePatients(*session, 2);
  Run(*other, "update omra.patient set last = 'other'");
  session->Begin();
  EXPECT_EQ(Query(*session, "select last from omra.patient where id = 1"), "P1");
  const EDatabaseError e = Failure([&] { Run(*session, "update omra.patient set last = 'mine'"); });
  EXPECT_EQ(e.Kind(), TDatabaseErrorKind::busy);
  EXPECT_TRUE(session->InTransaction());
  other->Commit();
  Run(*session, "update omra.patient set last = last || ', mine'");
  session->Commit();
  EXPECT_EQ(Query(*other, "select last from omra.patient where id = 1"), "other, mine");
}

// The block fails at each of its statements in turn, with and without a transaction around it.
TEST_F(TSqliteSessionTest, NothingOfAFailedBlockIsLeft) {
  const auto session = Open();
  MakePatients(*session, 3);
  Run(*session, "create sequence omra.seq start with 4");
  session->Commit();
  const std::string all = "select id, last from omra.patient order by id";
  const char* const kGood[] = {
      "delete from omra.patient where id = 1;", "null;",
      "update omra.patient set last = 'x' where id = 2 returning id into :i;",
      "insert into omra.patient (id) values (omra.seq.nextval);"};
  const char* const kBad[] = {"insert into omra.patient (id) values (3);",
                              "update omra.patient set id = :text;",
                              "delete from omra.patient where id > 1 returning id into :x;",
                              "insert into omra.patient (id) values (omra.lost.nextval);"};
  for (int variant = 0; variant < 32; ++variant) {
    const bool inTransaction = variant % 2 != 0;
    const int position = variant / 2 % 4;
    const char* const bad = kBad[variant / 8];
    SCOPED_TRACE(std::string(bad) + " at " + IntToStr(position));
    if (inTransaction) Run(*session, "update omra.patient set last = 'kept' where id = 3");
    const std::string before = Query(*session, all);
    std::string block = "begin\n";
    for (int i = 0; i < 4; ++i) block += std::string(i == position ? bad : kGood[i]) + "\n";
    const std::string sql = block + "end;";
    const EDatabaseError e = Failure([&] {
      TTaken statement(*session, sql);
      for (const int returned : statement->Returns()) statement->BindNull(returned);
      const int text = TStatementText::Of(sql)->IndexOfParameter("text");
      if (text >= 0) statement->BindText(text, "no number");
      statement->Step();
    });
    EXPECT_EQ(e.Statement(), sql);
    EXPECT_EQ(Query(*session, all), before) << e.what();
    EXPECT_EQ(session->InTransaction(), inTransaction);
    session->Rollback();
  }
}

TEST_F(TSqliteSessionTest, SequencesGiveEachNumberOnce) {
  const auto session = Open();
  const auto other = Open();
  MakePatients(*session, 3);
  Run(*session, "create sequence omra.seq");
  session->Commit();
  const std::string next = "select omra.seq.nextval from dual";
  EXPECT_EQ(Query(*session, next), "1");
  EXPECT_FALSE(session->InTransaction());
  EXPECT_EQ(Query(*other, next), "2");
  session->Begin();
  EXPECT_EQ(Query(*session, "select count(*) from omra.patient"), "3");
  EXPECT_EQ(Query(*session, next), "3");
  EXPECT_TRUE(session->InTransaction());
  EXPECT_EQ(Query(*other, next), "4");  // nobody waits for a number's transaction
  EXPECT_EQ(Run(*session, "update omra.patient set id = omra.seq.nextval + 100"), 3);
  EXPECT_EQ(Failure([&] { Query(*other, next); }).Kind(), TDatabaseErrorKind::busy);
  session->Rollback();
  EXPECT_EQ(Query(*other, next), "8");
  EXPECT_THROW(Run(*session,
                   "insert into omra.patient (id) select omra.seq.nextval - 8 from "
                   "omra.patient"),
               EDatabaseError);
  EXPECT_EQ(Query(*session, next), "12") << "9 to 11 were given to rows that failed";
  // A query that takes numbers is read at once, and gives its rows one by one all the same.
  TTaken cursor(*session, "select omra.seq.nextval, id from omra.patient");
  EXPECT_EQ(cursor.Next(), "13,1");
  EXPECT_EQ(Query(*other, next), "16");
  EXPECT_EQ(cursor.Rest(), "14,2 15,3");
}

TEST_F(TSqliteSessionTest, AQueryForUpdateKeepsOthersFromWriting) {
  const auto session = Open("test.db", 10000);
  const auto other = Open();
  MakePatients(*session, 1);
  EXPECT_EQ(Query(*session, "select id from omra.patient for update"), "1");
  EXPECT_TRUE(session->InTransaction());
  const std::string lock = "select last from omra.patient where id = 1 for update nowait";
  EXPECT_EQ(Failure([&] { Query(*other, lock); }).Kind(), TDatabaseErrorKind::busy);
  EXPECT_FALSE(other->InTransaction());
  EXPECT_EQ(Query(*other, "select last from omra.patient"), "P1");
  session->Commit();
  EXPECT_EQ(Query(*other, lock), "P1");
  // Without waiting, however long this session's other writes would wait.
  EXPECT_EQ(Failure([&] { Query(*session, lock); }).Kind(), TDatabaseErrorKind::busy);
  Run(*other, "update omra.patient set last = 'mine'");
  other->Commit();
  EXPECT_EQ(Query(*session, "select last from omra.patient"), "mine");
}

TEST_F(TSqliteSessionTest, FailuresSayWhatAndWhere) {
  const auto session = Open();
  MakePatients(*session, 1);
  Run(*session,
      "create table omra.visit (id integer primary key, patient_id number not null "
      "references omra.patient (id) deferrable initially deferred)");
  session->Commit();
  const struct {
    const char* sql;
    TDatabaseErrorKind kind;
    const char* words;
  } kCases[] = {
      {"select id\nfrm omra.patient", TDatabaseErrorKind::other, "line 2, column 5: near"},
      {"select nvl(id, 0), lost\nfrom omra.patient", TDatabaseErrorKind::other,
       "line 1, column 20: no such column: LOST"},
      {"select 1 from omra.lost", TDatabaseErrorKind::other, "no such table: OMRA.LOST"},
      {"select 1 from dual where rownum > 1 or 1 = 1", TDatabaseErrorKind::other,
       "line 1, column 26: ROWNUM"},
      {"pragma journal_mode = off", TDatabaseErrorKind::other, "pragma begins no statement"},
      {"insert into omra.patient (id) values (1)", TDatabaseErrorKind::constraint, "UNIQUE"},
      {"insert into omra.patient (last) values ('x')", TDatabaseErrorKind::constraint, "NOT NULL"},
      {"insert into omra.visit (id) values ('x')", TDatabaseErrorKind::other, "no number"},
      {"select to_char(sysdate, 'YYYY?KK') from dual", TDatabaseErrorKind::other, "\"KK\""},
      {"select \"x\" from dual", TDatabaseErrorKind::other, "no such column"},
  };
  for (const auto& c : kCases) {
    const EDatabaseError e = Failure([&] { Query(*session, c.sql); });
    EXPECT_EQ(e.Kind(), c.kind) << e.what();
    EXPECT_NE(e.Message().find(c.words), std::string::npos) << e.what();
    EXPECT_EQ(e.Statement(), c.sql);
    EXPECT_FALSE(session->InTransaction());
  }
  // A commit that breaks a rule leaves everything as before.
  Run(*session, "insert into omra.visit values (1, 99)");
  EXPECT_EQ(Failure([&] { session->Commit(); }).Kind(), TDatabaseErrorKind::constraint);
  EXPECT_FALSE(session->InTransaction());
  EXPECT_EQ(Query(*session, "select count(*) from omra.visit"), "0");
}

TEST_F(TSqliteSessionTest, FilesThatCannotBeUsedAreNamed) {
  FDir.Write("notes.txt", std::string(4096, 'x'));
  std::filesystem::create_directory(FDir.File("folder"));
  for (const char* file : {"notes.txt", "no/such/place.db", "notes.txt/x.db", "folder"}) {
    const EDatabaseError e = Failure([&] { Open(file); });
    EXPECT_NE(e.Message().find(FDir.File(file)), std::string::npos) << e.what();
  }
  std::ifstream untouched(FDir.File("notes.txt"));
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(untouched), {}), std::string(4096, 'x'));
  EXPECT_THROW(TSqliteSession{":memory:"}, EDatabaseError);
}

TEST_F(TSqliteSessionTest, AFailedCommitIsRolledBack) {
  const auto session = Open();
  MakePatients(*session, 1);
  Run(*session, "update omra.patient set last = 'lost'");
  {
    const TFullDisk full(1);
    const EDatabaseError e = Failure([&] { session->Commit(); });
    EXPECT_EQ(e.Kind(), TDatabaseErrorKind::outcomeUnknown) << e.what();
  }
  EXPECT_FALSE(session->InTransaction());
  EXPECT_EQ(Query(*session, "select last from omra.patient"), "P1");
  Run(*session, "update omra.patient set last = 'kept'");
  session->Commit();
  EXPECT_EQ(Query(*Open(), "select last from omra.patient"), "kept");
}

TEST_F(TSqliteSessionTest, ATransactionThatWasGivenUpIsNeverHalfCommitted) {
  const auto session = Open();
  MakePatients(*session, 1);
  session->Begin();
  Run(*session, "update omra.patient set last = 'first'");
  const std::string big(8 << 20, 'x');  // more than the database keeps in memory
  {
    const TFullDisk full(1 << 20);
    EXPECT_THROW(Run(*session, "update omra.patient set note = :n", {big.c_str()}), EDatabaseError);
  }
  ASSERT_EQ(Query(*session, "select last from omra.patient"), "P1") << "the engine kept it";
  EXPECT_TRUE(session->InTransaction());
  EXPECT_THROW(Run(*session, "update omra.patient set last = 'second'"), EDatabaseError);
  EXPECT_THROW(session->Commit(), EDatabaseError);
  EXPECT_FALSE(session->InTransaction());
  EXPECT_EQ(Query(*session, "select last, note from omra.patient"), "P1,-");
}

TEST_F(TSqliteSessionTest, TheCacheIsBoundedAndKeepsWhatWasUsedLast) {
  const auto session = Open("test.db", 0, 3);
  const auto text = [](int i) {
    return TStatementText::Of("select " + IntToStr(i) + " from dual");
  };
  std::vector<TDriverStatement*> out;
  for (int i = 0; i < 5; ++i) out.push_back(session->Take(text(i)));
  EXPECT_EQ(session->KeptStatements(), 5u);  // what is out stays
  for (TDriverStatement* statement : out) session->GiveBack(statement);
  EXPECT_EQ(session->KeptStatements(), 3u);

  TDriverStatement* const kept = session->Take(text(4));
  EXPECT_EQ(kept, out[4]);
  // Another copy of the same text finds the same statement once it is free.
  session->GiveBack(kept);
  EXPECT_EQ(session->Take(std::make_shared<TStatementText>(text(4)->Text())), kept);
  session->GiveBack(kept);
}

TEST_F(TSqliteSessionTest, ChangedTablesAreSeenByKeptStatements) {
  const auto session = Open();
  Run(*session, "create table t (d varchar2(20))");
  Run(*session, "insert into t values (:d)", {"01.02.2020"});
  TTaken held(*session, "select d from t where d = :d", {"01.02.2020"});
  EXPECT_EQ(held.Rest(), "01.02.2020");
  EXPECT_EQ(Query(*session, "select d from t where d = :d", {"01.02.2020"}), "01.02.2020");
  Run(*session, "drop table t");
  Run(*session, "create table t (d date)");
  Run(*session, "insert into t values (:d)", {"01.02.2020"});
  held->Reset();
  held.Bind({"01.02.2020"});
  EXPECT_EQ(held.Rest(), "43862");
  EXPECT_EQ(Query(*session, "select d from t where d = :d", {"01.02.2020"}), "43862");
  TTaken all(*session, "select * from t");
  EXPECT_EQ(all.Next(), "43862");
  all->Reset();
  session->Commit();
  const auto other = Open();
  Run(*other, "alter table t add e number default 1");
  other->Commit();
  EXPECT_EQ(all.Next(), "43862,1");
}

TEST_F(TSqliteSessionTest, ARunUsesOnlyWhatWasBoundForIt) {
  const auto session = Open();
  TTaken statement(*session, "select :a || '-' || :b || '-' || :a from dual");
  EXPECT_EQ(statement.Rest(), "--");
  statement->Reset();
  statement.Bind({std::string("one").c_str(), 2.0});
  statement->Reset();
  statement->BindText(1, "x");
  EXPECT_EQ(statement.Next(), "-x-");
  EXPECT_THROW(statement->BindText(0, "y"), EAssertionFailed);
  EXPECT_EQ(statement.Next(), "end");
  EXPECT_EQ(statement.Next(), "end") << "it does not begin anew";
  EXPECT_THROW(statement->BindText(2, "y"), EAssertionFailed);
  for (const char* text : {"", "z", "", "", "w"}) {
    statement->Reset();
    statement.Bind({text, nullptr});
    EXPECT_EQ(statement.Rest(), std::string(text) + "--" + text);
  }
}

// Statements built at random of pieces of the language, and cut and patched at random: each ends in
// a result or in EDatabaseError, and the session goes on.
TEST_F(TSqliteSessionTest, RandomStatementsEndInAResultOrAnError) {
  const auto session = Open();
  MakePatients(*session, 3);
  const std::vector<std::string> pieces = SplitText(
      "select|from|omra.patient|where|id|=|:a|'x'|''|(|)|,|insert|into|values|update|set|delete|"
      "dual|"
      "sysdate|nvl(|to_date(|case|when|then|end|between|and|in|like|not|is|null|p.|as|born|last|1|"
      "2.5|"
      "+|-|*|/|.|with|union|minus|order by|exists(select 1 "
      "from|cast(|date|create|table|index|on|view|"
      "primary|key|default|references|\"q\"|explain plan for|over (|\n|-- c\n|/* c */|drop|alter|"
      "check|constraint|join|using|distinct|(+)|rownum|<= 2|returning id into :a|begin|;|"
      "end;|s.nextval|for update|sequence|\xc5\xa1|:|'|\"",
      "|");
  const std::string seeds[] = {
      "select p.id, nvl(last, 'x') || :a l from omra.patient p where p.born between :a and sysdate "
      "and exists (select 1 from dual) order by 1",
      "insert into omra.patient (id, last, born) values (:a, 'x' || '', to_date('01.01.2020'))",
      "update omra.patient p set last = case id when 1 then 'a' else 'b' end where id in ('2', :b)",
      "create table omra.t (id number(10) primary key, d date default sysdate, "
      "constraint c check (id > 1), foreign key (id) references omra.patient (id))",
      "select p.*, rownum from omra.patient p, omra.patient q, dual d where q.id (+) = p.id + 1 "
      "and "
      "q.last (+) like :a and (d.dummy = 'X' and rownum <= :b) order by p.born, 1",
      "begin insert into omra.patient (id) values (s.nextval) returning id, last into :a, :b; "
      "update omra.patient set last = :b where id = :a and rownum = 1; null; end;",
      "create sequence s start with 5 increment by 2 maxvalue 99",
      "with q as (select id from omra.patient) select count(*) over (order by id) from q "
      "minus select 1 from dual"};
  const unsigned seed = 4711;
  std::mt19937 random(seed);
  const auto piece = [&] { return pieces[random() % pieces.size()]; };
  int results = 0;
  for (int round = 0; round < 6000; ++round) {
    std::string sql;
    if (round % 3 == 0) {
      for (std::size_t i = 0, n = random() % 20; i <= n; ++i) sql += piece() + ' ';
    } else {
      sql = seeds[random() % std::size(seeds)];
      for (std::size_t i = 0, n = random() % 4; i < n && !sql.empty(); ++i) {
        const std::size_t at = random() % sql.size();
        const std::size_t length = random() % 3 == 0 ? random() % 12 : 0;
        sql.replace(at, length, random() % 2 == 0 ? piece() : std::string(1, char(random())));
      }
    }
    SCOPED_TRACE("seed " + IntToStr(seed) + " round " + IntToStr(round) + ": " + sql);
    try {
      TTaken statement(*session, sql);
      for (std::size_t i = 0; i < TStatementText::Of(sql)->Parameters().size(); ++i) {
        if (random() % 2 == 0) statement->BindNumber(int(i), 1);
      }
      for (int row = 0; row < 20 && statement.Next() != "end"; ++row) {
      }
      ++results;
    } catch (const EDatabaseError& e) {
      ASSERT_FALSE(e.Message().empty());
    }
    session->Rollback();
    ASSERT_FALSE(session->InTransaction());
  }
  EXPECT_GT(results, 500);  // the generator makes sense often enough
  EXPECT_EQ(Query(*session, "select count(*) from omra.patient"), "3");
}

}  // namespace
}  // namespace perlayer

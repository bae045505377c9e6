// Large objects, from streams to the columns of the embedded database and back.

#include "perlayer/database/TISQLHelper.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "perlayer/corekit/TOracleQuery.h"
#include "perlayer/database/TplDatabaseProvider.h"
#include "perlayer/drivers/sqlite/TSqliteDatabase.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TMemoryStream.h"
#include "support/HospitalFixture.h"
#include "support/ModelTest.h"
#include "support/TPatternStream.h"

namespace perlayer {
namespace {

constexpr int kCLOB = TOracleQuery::otCLOB;
constexpr int kBLOB = TOracleQuery::otBLOB;
constexpr const char* kTable = "OMRA.LETTER";

class TpoLetter : public TpoPatient {
  TCLASS(TpoLetter, TpoPatient)
};
TPROVIDER(TplLetter, TpoLetter)

class TISQLHelperTest : public THospital {
 protected:
  TISQLHelperTest() {
    Execute(
        "create table OMRA.LETTER (ID number(10) primary key, NOTE clob, PHOTO blob, DOCTOR "
        "varchar2(20))");
    for (const double id : {1.0, 2.0}) {
      Execute(
          "insert into OMRA.LETTER (ID, NOTE, PHOTO, DOCTOR) values (:ID, 'note', :P, 'Horvat')",
          {id, "photo"});
    }
    FDatabase->Commit("");
    TcmpClassMap* map =
        AddClassMap(TClassMapBuilder("letters")
                        .Query("quLetter")
                        .Sql("select ID, NOTE, DOCTOR\nfrom OMRA.LETTER\nwhere\nID = :ID")
                        .Float("ID")
                        .Memo("NOTE")
                        .String("DOCTOR", 20)
                        .Update("usLetter")
                        .Insert("insert into\nOMRA.LETTER\n(ID, NOTE)\nvalues\n(:ID, :NOTE)")
                        .Modify("update OMRA.LETTER\nset ID = :ID, NOTE = :NOTE\nwhere ID = :ID")
                        .Delete("delete from OMRA.LETTER\nwhere ID = :ID")
                        .Build());
    FLetters = New<TplLetter>(nullptr, map);
  }

  // The first column of the first row.
  std::string Value(const std::string& sql) {
    const TOwned<TIQuery> query = Make<TIQuery>();
    query->DatabaseName(TcmpClassMap::kDatabaseName);
    query->SQLText(sql);
    query->Open();
    return query->Eof() ? "no row" : query->Fields(0)->AsString();
  }
  std::string Column(const std::string& column, int id = 1) {
    return Value(Format("select %s from OMRA.LETTER where ID = %d", column, id));
  }
  // All that row 1 holds beside row 2, which nobody touches.
  std::string Row() {
    EXPECT_EQ(Column("ID || NOTE || DOCTOR", 2), "2noteHorvat");
    EXPECT_EQ(Column("PHOTO", 2), "photo");
    return Column("NOTE") + "," + Column("PHOTO") + "," + Column("DOCTOR");
  }
  static void Save(int type, TStream& stream, const std::string& id = "1") {
    TISQLHelper::SaveLob(kTable, type == kCLOB ? "NOTE" : "PHOTO", "ID", id, type, &stream, "");
  }

  TplLetter* FLetters;
};

// Around the sizes of pieces, and of the longest text that is stored as one.
TEST_F(TISQLHelperTest, WhatIsSavedIsReadByEveryRoad) {
  for (const std::int64_t size : {700000, 1, 262145, 262144, 0, 65537, 65536, 3}) {
    const std::string text = TPatternStream::Text(size);
    for (const int type : {kCLOB, kBLOB}) {
      TPatternStream stream(size);
      stream.Position(size / 2);
      Save(type, stream);
      const std::string column = type == kCLOB ? "NOTE" : "PHOTO";
      TStringStream loaded("before ");
      loaded.Position(7);
      TISQLHelper::LoadLob(kTable, column, "ID", "1", type, &loaded);
      EXPECT_EQ(loaded.DataString(), "before " + text) << size;
      EXPECT_EQ(Column(column), text) << size;
    }
    FDatabase->Commit("");
    EXPECT_EQ(TISQLHelper::LoadClob(kTable, "note", "id", "1"), text);
    // A text for expressions too, whatever it is in the file.
    for (const char* condition :
         {"nvl(length(NOTE), 0) = :SIZE", "NOTE || '' = :TEXT", "NOTE = :TEXT", "NOTE in (:TEXT)",
          "NOTE like :LIKE", "case when 1 = 1 then NOTE end like :LIKE",
          "nvl(NOTE, 'x') like :LIKE", "upper(NOTE) = upper(:TEXT)",
          "(select count(*) from (select NOTE N from OMRA.LETTER) where N = :TEXT) = 1"}) {
      if (size == 0) break;  // a bound empty text would be NULL
      const TOwned<TIQuery> query = Make<TIQuery>();
      query->DatabaseName(TcmpClassMap::kDatabaseName);
      query->SQLText(Format("select NOTE from OMRA.LETTER where ID = 1 and %s", condition));
      if (TIParam* param = query->FindParam("SIZE")) param->AsFloat(static_cast<double>(size));
      if (TIParam* param = query->FindParam("TEXT")) param->AsString(text);
      if (TIParam* param = query->FindParam("LIKE")) param->AsString("%" + text.substr(size / 2));
      if (size > 40000 && query->FindParam("LIKE") != nullptr)
        query->ParamByName("LIKE").AsString("abc%");
      query->Open();
      EXPECT_FALSE(query->Eof()) << condition << size;
      EXPECT_EQ(query->Fields(0)->DataType(), TFieldType::ftMemo);
    }
    EXPECT_EQ(Column("DOCTOR", 1), "Horvat");
  }
  // An object of no length is none of no value.
  TPatternStream nothing;
  Save(kBLOB, nothing);
  EXPECT_EQ(Value("select count(*) from OMRA.LETTER where ID = 1 and PHOTO is not null"), "1");
  Execute("update OMRA.LETTER set PHOTO = null");
  TMemoryStream loaded;
  EXPECT_FALSE(FLetters->LoadBlob("1", "PHOTO", &loaded));
}

// Every call of the driver and every allocation of a save fails once: the row is as it was, what
// the transaction wrote before is still there, and no statement is left behind.
TEST_F(TISQLHelperTest, AFailedSaveLeavesNothingOfItself) {
  const auto sweep = [&](bool within, auto&& attempt) {
    int failed = 0;
    for (bool done = false; !done; failed += !done) {
      if (within) {
        dbProvider()->StartTransaction("sweep");
        Execute("update OMRA.LETTER set DOCTOR = 'Kos' where ID = 1");
      }
      TPatternStream stream(300000);
      done = attempt(stream, failed + 1);
      Faults.FailAt(0);
      EXPECT_EQ(FSession->Taken(), 0);
      EXPECT_EQ(FDatabase->InTransaction(), within || done);
      const std::string expected = done ? TPatternStream::Text(300000) : "note";
      EXPECT_EQ(Column("NOTE"), expected) << failed;
      EXPECT_EQ(Row(), expected + ",photo," + (within ? "Kos" : "Horvat"));
      if (within) dbProvider()->Rollback("sweep");
      FDatabase->Rollback("");
      EXPECT_EQ(Row(), "note,photo,Horvat");
    }
    return failed;
  };
  const auto inDriver = [](TPatternStream& stream, int call) {
    Faults.FailAt(call);
    return Raised([&] { Save(kCLOB, stream); }).empty();
  };
  const auto inMemory = [](TPatternStream& stream, int allocation) {
    try {
      const TOutOfMemory scarce(allocation);
      Save(kCLOB, stream);
      return true;
    } catch (const std::bad_alloc&) {
      return false;
    }
  };
  const auto inStream = [](TPatternStream& stream, int piece) {
    stream.FailAt(piece * 65536LL);
    return Raised([&] { Save(kCLOB, stream); }).empty();
  };
  for (const bool within : {true, false}) {
    EXPECT_GT(sweep(within, inDriver), 12);
    EXPECT_GT(sweep(within, inMemory), 10);
    EXPECT_EQ(sweep(within, inStream), 4);
  }
}

TEST_F(TISQLHelperTest, AFailedLoadLeavesTheStreamsSize) {
  TPatternStream photo(200000);
  Save(kBLOB, photo);
  for (int call = 1, failed = 0; failed == call - 1; ++call) {
    TStringStream loaded("before");
    loaded.Position(6);
    Faults.FailAt(call);
    const bool raised =
        !Raised([&] { TISQLHelper::LoadBlob(kTable, "PHOTO", "ID", "1", &loaded); }).empty();
    Faults.FailAt(0);
    EXPECT_EQ(loaded.Size(), raised ? 6 : 200006);
    EXPECT_EQ(FSession->Taken(), 0);
    failed += raised;
    EXPECT_TRUE(raised || failed > 6);
  }
}

TEST_F(TISQLHelperTest, SaysWhatIsWrong) {
  TPatternStream stream(5);
  const auto save = [&](const char* id, int type, const char* field, const char* sql = "") {
    return [=, &stream] { TISQLHelper::SaveLob(kTable, field, "ID", id, type, &stream, sql); };
  };
  const auto load = [&](const char* id, const char* field, const char* sql = "") {
    return [=, &stream] { TISQLHelper::LoadLob(kTable, field, "ID", id, kBLOB, &stream, sql); };
  };
  const std::pair<std::string, const char*> kCases[] = {
      {Raised(save("1", 5, "PHOTO")), "TboTarnelEmergencyCall.DoSaveLob: Unknown blob type: 5"},
      {Raised([] { TISQLHelper::SaveBlob(kTable, "PHOTO", "ID", "1", nullptr); }),
       "TISQLHelper.SaveLob: there is no stream"},
      {Raised([] { TISQLHelper::LoadBlob(kTable, "PHOTO", "ID", "1", nullptr); }),
       "TISQLHelper.LoadLob: there is no stream"},
      {Raised(save("A7", kBLOB, "PHOTO")), "Variable 'ID' takes a whole number"},
      {Raised(save("3", kBLOB, "PHOTO")), "No row was found to save PHOTO to"},
      {Raised(save("", kBLOB, "PHOTO")), "No row was found to save PHOTO to"},
      {Raised(save("1", kBLOB, "PICTURE")), "no such column: PICTURE"},
      {Raised(save("1", kCLOB, "DOCTOR")), "what is returned into DOCTOR is no large object"},
      {Raised(save("1", kBLOB, "PHOTO", "update OMRA.LETTER set PHOTO = null where ID = :ID")),
       "No row was found to save PHOTO to"},
      {Raised(save("1", kBLOB, "PHOTO", "delete from OMRA.LETTER where ID = :KEY")),
       "Variable 'KEY' is not declared"},
      {Raised(load("3", "PHOTO")), "No row was found"},
      {Raised(load("1", "PICTURE")), "Field 'PICTURE' not found"},
      {Raised(load("1", "DOCTOR")), "DOCTOR is no column of large objects"},
      {Raised(load("1", "PHOTO", "select nvl(PHOTO, PHOTO) PHOTO from OMRA.LETTER where ID = :ID")),
       "PHOTO is no column of large objects"},
  };
  for (const auto& [raised, expected] : kCases) {
    EXPECT_NE(raised.find(expected), std::string::npos) << raised;
    EXPECT_FALSE(FDatabase->InTransaction()) << expected;
  }
  EXPECT_EQ(Row(), "note,photo,Horvat");
  FDatabase.Reset();
  EXPECT_EQ(Raised(save("1", kBLOB, "PHOTO")), "There is no database named '_QOR'");
}

// Streams that tell a wrong size, statements of the caller's, columns of joined tables.
TEST_F(TISQLHelperTest, TakesWhatItIsGiven) {
  for (const std::int64_t told : {0, 10, 90000, 300000}) {
    for (const int type : {kCLOB, kBLOB}) {
      TPatternStream stream(100000);
      stream.Tell(told);
      Save(type, stream);
      EXPECT_EQ(Column(type == kCLOB ? "NOTE" : "PHOTO"), TPatternStream::Text(100000)) << told;
    }
  }
  FDatabase->Rollback("");
  TStringStream stream("by insert");
  TISQLHelper::SaveLob(kTable, "NOTE", "ID", "3", kCLOB, &stream,
                       "insert into OMRA.LETTER L (ID, NOTE) values (:ID, empty_clob()) returning "
                       "L.NOTE into :NOTE");
  EXPECT_EQ(Column("NOTE", 3), "by insert");
  for (const char* sql :
       {"select M.*, L.ID from OMRA.LETTER L, OMRA.LETTER M where L.ID = 1 and M.ID = :ID",
        "select L.NOTE OTHER, M.NOTE, 1 from OMRA.LETTER L, OMRA.LETTER M where L.ID = 1 and M.ID "
        "= :ID",
        "select OMRA.LETTER.NOTE from OMRA.LETTER where ID = :ID for update",
        "select DOCTOR, NOTE as NOTE from OMRA.LETTER where ID = :ID"}) {
    TMemoryStream loaded;
    TISQLHelper::LoadLob("", "NOTE", "ID", "3", kCLOB, &loaded, sql);
    EXPECT_EQ(loaded.Bytes(), "by insert") << sql;
  }
}

TEST_F(TISQLHelperTest, LargeObjectsGoWithTheTransactionAndLeaveTheObjectAsItIs) {
  THold<TpoLetter> letter(FLetters, "1");
  TPatternStream photo(100000);
  dbProvider()->StartTransaction("letter");
  EXPECT_TRUE(letter->_DoSaveBlob(kTable, "ID", "PHOTO", &photo, ""));
  FLetters->SaveClob("1", "NOTE", "Odpustno pismo");
  EXPECT_FALSE(letter->GetModified());
  letter->LoadClob("NOTE");
  EXPECT_EQ(letter->GetAttrValue("NOTE"), "Odpustno pismo");
  EXPECT_EQ(letter->GetEditState(), TIPersistentObjectState::posBrowse);
  dbProvider()->Rollback("letter");
  EXPECT_EQ(Row(), "note,photo,Horvat");
  letter->LoadClob("NOTE");
  EXPECT_EQ(letter->GetAttrValue("NOTE"), "note");

  dbProvider()->StartTransaction("letter");
  letter->SetAttrValue("NOTE", "Drugo pismo");
  letter->SaveClob("NOTE");
  EXPECT_TRUE(letter->GetModified());
  FLetters->SaveBlob("1", "PHOTO", &photo);
  dbProvider()->Commit("letter");
  EXPECT_EQ(Column("NOTE"), "Drugo pismo");
  TPatternStream loaded;
  EXPECT_TRUE(letter->_DoLoadBlob(kTable, "ID", "PHOTO", &loaded, ""));
  EXPECT_TRUE(FLetters->LoadBlob("1", "PHOTO", &loaded));  // behind what is there
  EXPECT_EQ(loaded.Size(), 200000);
  Execute("delete from OMRA.LETTER where ID = 1");
  EXPECT_NE(Raised([&] { letter->LoadClob("NOTE"); }), "");
  EXPECT_FALSE(letter->bInitializing());
  EXPECT_EQ(letter->GetAttrValue("NOTE"), "Drugo pismo");
}

// What else happens while a large object is open.
TEST_F(TISQLHelperTest, AnOpenLargeObjectStandsInNobodysWay) {
  TPatternStream photo(200000);
  Save(kBLOB, photo);
  FDatabase->Commit("");
  const TOwned<TOracleQuery> query = Make<TOracleQuery>();
  query->SetSession(FDatabase.Get());
  query->SQLText("select PHOTO from OMRA.LETTER where ID = 1");
  query->Execute();
  TLOBLocator* const field = query->LOBField("PHOTO");
  std::string bytes(100000, ' ');
  field->ReadBuffer(bytes.data(), bytes.size());
  EXPECT_NE(Raised([&] { field->WriteText("x"); }).find("opened for reading"), std::string::npos);
  Execute("update OMRA.LETTER set DOCTOR = 'Kos' where ID = 1");
  FDatabase->Commit("");
  EXPECT_EQ(bytes + field->ReadRest(), TPatternStream::Text(200000));
  Execute("update OMRA.LETTER set PHOTO = null where ID = 1");
  field->Position(0);
  EXPECT_NE(Raised([&] { field->ReadRest(); }), "");
  FDatabase->Rollback("");
  EXPECT_EQ(field->ReadRest(), TPatternStream::Text(200000));

  query->SQLText(
      "update OMRA.LETTER set NOTE = empty_clob() where ID = 1 returning NOTE into :NOTE");
  TLOBLocator note(FDatabase.Get(), kCLOB);
  query->DeclareVariable("NOTE", kCLOB);
  query->SetComplexVariable("NOTE", &note);
  query->Execute();
  note.WriteText("Odpustno ");
  Execute("update OMRA.LETTER set DOCTOR = 'Novak' where ID = 1 returning DOCTOR into :D");
  note.WriteText("pismo");
  note.Size(12);
  FDatabase->Commit("");
  EXPECT_EQ(Column("NOTE || DOCTOR"), "Odpustno pisNovak");
  EXPECT_NE(Raised([&] { note.WriteText("x"); }).find("transaction has ended"), std::string::npos);
  note.Position(9);
  EXPECT_EQ(note.ReadRest(), "pis");
  FDatabase.Reset();
  note.Position(0);
  EXPECT_NE(Raised([&] { note.ReadRest(); }).find("session has ended"), std::string::npos);
  EXPECT_NE(Raised([&] { query->Execute(); }), "");
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kMemoryCounts = false;
#elif defined(__has_feature)
constexpr bool kMemoryCounts =
    !__has_feature(address_sanitizer) && !__has_feature(thread_sanitizer);
#else
constexpr bool kMemoryCounts = true;
#endif

// A process of its own, whose largest size is its own.
TEST(TISQLHelperMemory, APieceAtATime) {
  constexpr std::int64_t kSize = 64 << 20;
  constexpr long kMost = 6 << 10;  // kilobytes: the engine's pages, its log's index, a piece
  TTempDir dir;
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    long grown = -1;
    try {
      const auto peak = [] {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        return usage.ru_maxrss;
      };
      TSqliteDatabase db(TcmpClassMap::kDatabaseName, dir.File("large.db"));
      db.Execute("create table T (ID integer primary key, NOTE clob)");
      db.Execute("insert into T values (1, 'x')");
      TPatternStream small(100000);
      TISQLHelper::SaveLob("T", "NOTE", "ID", "1", kCLOB, &small, "");
      db->Commit("");
      const long before = peak();
      for (int round = 0; round < 2; ++round) {  // the second replaces what the first has written
        TPatternStream large(kSize);
        TISQLHelper::SaveLob("T", "NOTE", "ID", "1", kCLOB, &large, "");
        db->Commit("");
        TPatternStream loaded;
        TISQLHelper::LoadBlob("T", "NOTE", "ID", "1", &loaded);
        if (loaded.Size() != kSize || loaded.WrongBytes() != 0) _exit(3);
      }
      grown = peak() - before;
      std::fprintf(stderr, "grown by %ld KB\n", grown);
    } catch (const std::exception& e) {
      std::fprintf(stderr, "%s\n", e.what());
    }
    _exit(grown < 0 ? 2 : kMemoryCounts && grown > kMost ? 1 : 0);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << WEXITSTATUS(status);
}

}  // namespace
}  // namespace perlayer

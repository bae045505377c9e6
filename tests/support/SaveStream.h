#pragma once
// A stream of nested transactions that a program writes until it is killed, and what must be in the
// file then. Transaction n admits kEach patients with a treatment each, deletes those of
// transaction n - kKept, and writes n into the one counter; now and then the whole of it is rolled
// back and written anew.

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "perlayer/corekit/TField.h"
#include "perlayer/corekit/TIQuery.h"
#include "perlayer/database/TplDatabaseProvider.h"
#include "perlayer/drivers/sqlite/TSqliteDatabase.h"
#include "perlayer/foundation/TAuthManager.h"
#include "perlayer/object/THold.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TLayer.h"
#include "perlayer/provider/TClassMapBuilder.h"
#include "perlayer/provider/TPROVIDER.h"
#include "perlayer/provider/TcmpClassMap.h"

namespace perlayer {

class TpoAdmission : public TplPerObject {
  TCLASS(TpoAdmission, TplPerObject)
};
class TpoTreatment : public TplPerObject {
  TCLASS(TpoTreatment, TplPerObject)
};
TPROVIDER(TplAdmission, TpoAdmission)
TPROVIDER(TplTreatment, TpoTreatment)

class TSaveStream {
 public:
  static constexpr int kEach = 3;
  static constexpr int kKept = 5;
  static constexpr char kSaved = '.';      // what it tells its parent, behind each save
  static constexpr char kCommitted = 'C';  // and behind each outermost commit

  // Goes on where the file ends. `transactions` 0: for ever.
  static void Run(const std::string& file, int transactions) {
    const TLayer layer;
    SetAuthManagerClass(TAuthManagerClass::Of<TOpenAuthManager>());
    TSqliteDatabase database("_QOR", file);
    MakeTables(database);
    TClassMapBuilder map("stream");
    AddClass(map, "Admission", "ADMISSION");
    AddClass(map, "Treatment", "TREATMENT");
    TcmpClassMap* classes = AddClassMap(map.Build());
    TSaveStream stream(New<TplAdmission>(nullptr, classes), New<TplTreatment>(nullptr, classes));
    int number = std::stoi(Answer("select TX from OMRA.ADMISSION where ID = 0"));
    for (int i = 0; transactions == 0 || i < transactions; ++i) {
      ++number;
      if (number % 7 == 0) stream.Write(number, false);
      stream.Write(number, true);
    }
  }

  // The number of the last transaction that is in the file, of which nothing else may be there;
  // raises an Exception that says what is. A layer is loaded.
  static int Check(const std::string& file) {
    const TSqliteDatabase database("_QOR", file);
    if (database->Session().TableColumns("OMRA", "ADMISSION").empty()) return 0;
    const std::string last = Answer("select TX from OMRA.ADMISSION where ID = 0");
    std::string expected;
    for (int n = std::max(1, std::stoi(last) - kKept + 1); n <= std::stoi(last); ++n) {
      expected += Format("%d:%d;", n, kEach);
    }
    for (const char* table : {"ADMISSION", "TREATMENT"}) {
      const std::string found = Answer(std::string("select TX || ':' || count(*) from OMRA.") +
                                       table + " where ID > 0 group by TX order by TX");
      if (found != expected) {
        throw Exception(Format("%s: after transaction %s there is %s", table, last, found));
      }
    }
    return std::stoi(last);
  }

 private:
  TSaveStream(TplProvider* admissions, TplProvider* treatments)
      : FAdmissions(admissions), FTreatments(treatments) {}

  static void MakeTables(TSqliteDatabase& database) {
    if (!database->Session().TableColumns("OMRA", "ADMISSION").empty()) return;
    for (const char* table : {"ADMISSION", "TREATMENT"}) {
      database.Execute(std::string("create table OMRA.") + table +
                       " (ID number(10) primary key, TX number(10), NAME varchar2(60))");
    }
    database.Execute("insert into OMRA.ADMISSION values (0, 0, 'counter')");
    database->Commit("tables");
  }
  static void AddClass(TClassMapBuilder& map, const std::string& name, const std::string& table) {
    map.Query("qu" + name)
        .Sql("select ID, TX, NAME\nfrom OMRA." + table + "\nwhere\nID = :ID")
        .Float("ID")
        .Float("TX")
        .String("NAME", 60)
        .Update("us" + name)
        .Insert("insert into OMRA." + table + "\n(ID, TX, NAME)\nvalues\n(:ID, :TX, :NAME)")
        .Modify("update OMRA." + table + "\nset ID = :ID, TX = :TX, NAME = :NAME\nwhere ID = :ID")
        .Delete("delete from OMRA." + table + "\nwhere ID = :ID");
  }
  // The first column, each row closed by ";" when there are several.
  static std::string Answer(const std::string& sql) {
    const TOwned<TIQuery> query = Make<TIQuery>();
    query->DatabaseName("_QOR");
    query->SQLText(sql);
    std::string text;
    const bool several = sql.find("order by") != std::string::npos;
    for (query->Open(); !query->Eof(); query->Next()) {
      text += query->Fields(0)->AsString() + (several ? ";" : "");
    }
    return text;
  }
  static void Tell(char what) {
    // Without a parent there is nobody to write for.
    if (write(STDOUT_FILENO, &what, 1) != 1) _exit(1);
  }

  void Write(int number, bool commit) {
    dbProvider()->StartTransaction("stream");
    THold<TpoAdmission> counter(FAdmissions, "0");
    Save(*counter, number);
    for (int i = 1; i <= kEach; ++i) {
      const std::string id = std::to_string(number * 10 + i);
      const std::string old = std::to_string((number - kKept) * 10 + i);
      // An admission and its treatment are one nested transaction.
      dbProvider()->StartTransaction("pair");
      for (TplProvider* provider : {FAdmissions, FTreatments}) {
        if (number > kKept) THold<>(provider, old)->DeleteObject();
        THold<> hold(provider->NewObject(FAdmissions));
        hold->Release(FAdmissions);
        hold->SetAttrValue("ID", id);
        Save(*hold, number);
      }
      dbProvider()->Commit("pair");
    }
    if (!commit) return dbProvider()->Rollback("stream");
    dbProvider()->Commit("stream");
    Tell(kCommitted);
  }
  static void Save(TplPerObject& object, int number) {
    object.SetAttrValue("TX", std::to_string(number));
    object.SetAttrValue("NAME", "transaction " + std::to_string(number));
    object.SaveData();
    Tell(kSaved);
  }

  TplProvider* const FAdmissions;
  TplProvider* const FTreatments;
};

}  // namespace perlayer

#include "BenchTable.h"

#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>

#include "perlayer/provider/TClassMapBuilder.h"
#include "perlayer/provider/TcmpClassMap.h"

namespace perlayer::bench {

namespace {

// Removes the directory at exit.
struct TDirectory {
  std::string path;
  TDirectory() : path(std::filesystem::temp_directory_path() / "perlayer-bench-XXXXXX") {
    if (mkdtemp(path.data()) == nullptr) {
      std::perror("bench: mkdtemp");
      std::exit(1);
    }
  }
  ~TDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
};

void Check(int code, sqlite3* db) {
  if (code == SQLITE_OK || code == SQLITE_DONE || code == SQLITE_ROW) return;
  std::fprintf(stderr, "bench: %s\n", sqlite3_errmsg(db));
  std::exit(1);
}

std::string MakeFile(const std::string& path, int rows) {
  sqlite3* db = nullptr;
  Check(sqlite3_open(path.c_str(), &db), db);
  Check(sqlite3_exec(db,
                     "PRAGMA journal_mode=WAL;"
                     "CREATE TABLE \"OMRA.BENCH\" (ID NUMBER(10) PRIMARY KEY, SURNAME VARCHAR2(40),"
                     " NAME VARCHAR2(40), CITY VARCHAR2(40), STREET VARCHAR2(60), ZIP VARCHAR2(10),"
                     " PHONE VARCHAR2(20), DIAGNOSIS VARCHAR2(80), WEIGHT NUMBER(8,2),"
                     " BORN DATE, VISITS NUMBER(6), ACTIVE VARCHAR2(1)) ; BEGIN",
                     nullptr, nullptr, nullptr),
        db);
  sqlite3_stmt* insert = nullptr;
  Check(sqlite3_prepare_v2(db, "INSERT INTO \"OMRA.BENCH\" VALUES (?,?,?,?,?,?,?,?,?,?,?,'1')", -1,
                           &insert, nullptr),
        db);
  std::uint64_t state = 42;
  const auto text = [&](int column, const char* format) {
    char buffer[80];
    const int size = std::snprintf(buffer, sizeof buffer, format, NextKey(state));
    Check(sqlite3_bind_text(insert, column, buffer, size, SQLITE_TRANSIENT), db);
  };
  for (int id = 1; id <= rows; ++id) {
    sqlite3_bind_int(insert, 1, id);
    text(2, "Novakovic-Kranjc %06d");
    text(3, "Marija Terezija %06d");
    text(4, "Ljubljana-Center %05d");
    text(5, "Ulica stare pravde %05d / b");
    text(6, "%05d");
    text(7, "+386 1 %06d");
    text(8, "Essential hypertension, stage %06d, follow-up");
    sqlite3_bind_double(insert, 9, 40 + NextKey(state) % 6000 / 100.0);
    sqlite3_bind_double(insert, 10, 20000 + NextKey(state) % 20000);
    sqlite3_bind_int(insert, 11, NextKey(state) % 200);
    Check(sqlite3_step(insert), db);
    Check(sqlite3_reset(insert), db);
  }
  sqlite3_finalize(insert);
  Check(sqlite3_exec(db, "COMMIT; ANALYZE", nullptr, nullptr, nullptr), db);
  sqlite3_close(db);
  return path;
}

}  // namespace

const std::string& BenchFile(int rows) {
  static const TDirectory directory;
  static std::map<int, std::string> paths;
  std::string& path = paths[rows];
  if (path.empty()) path = MakeFile(directory.path + "/" + std::to_string(rows) + ".db", rows);
  return path;
}

#define PERLAYER_BENCH_SELECT                                                                    \
  "select ID, SURNAME, NAME, CITY, STREET, ZIP, PHONE, DIAGNOSIS, WEIGHT, BORN, VISITS, ACTIVE " \
  "from \"OMRA.BENCH\""
const char* RawSelect() { return PERLAYER_BENCH_SELECT " where ID = ?"; }
const char* RawSelectAll() { return PERLAYER_BENCH_SELECT " where ID > 0"; }

TplBench* MakeProvider() {
  using enum TClassMapFieldType;
  TClassMapDefinition map;
  map.name = "bench";
  TClassMapQuery query;
  query.name = "quBench";
  query.sql = {
      "select ID, SURNAME, NAME, CITY, STREET, ZIP, PHONE, DIAGNOSIS, WEIGHT, BORN, VISITS, "
      "ACTIVE",
      "from OMRA.BENCH", "where", "ID = :ID"};
  const auto field = [&](const char* name, TClassMapFieldType type, int size) {
    TClassMapField item;
    item.name = name;
    item.type = type;
    item.size = size;
    query.fields.push_back(item);
  };
  field("ID", floating, 0);
  field("SURNAME", string, 40);
  field("NAME", string, 40);
  field("CITY", string, 40);
  field("STREET", string, 60);
  field("ZIP", string, 10);
  field("PHONE", string, 20);
  field("DIAGNOSIS", string, 80);
  field("WEIGHT", floating, 0);
  field("BORN", dateTime, 0);
  field("VISITS", floating, 0);
  field("ACTIVE", string, 1);
  map.queries.push_back(std::move(query));
  TClassMapUpdateSql update;
  update.name = "usBench";
  update.insertSql = {
      "insert into OMRA.BENCH",
      "(ID, SURNAME, NAME, CITY, STREET, ZIP, PHONE, DIAGNOSIS, WEIGHT, BORN, VISITS, "
      "ACTIVE)",
      "values",
      "(:ID, :SURNAME, :NAME, :CITY, :STREET, :ZIP, :PHONE, :DIAGNOSIS, :WEIGHT, :BORN, "
      ":VISITS, :ACTIVE)"};
  update.modifySql = {
      "update OMRA.BENCH",
      "set ID = :ID, SURNAME = :SURNAME, NAME = :NAME, CITY = :CITY, STREET = :STREET, ZIP "
      "= :ZIP, PHONE = :PHONE, DIAGNOSIS = :DIAGNOSIS, WEIGHT = :WEIGHT, BORN = :BORN, "
      "VISITS = :VISITS, ACTIVE = :ACTIVE",
      "where ID = :ID"};
  update.deleteSql = {"delete from OMRA.BENCH", "where ID = :ID"};
  map.updateSqls.push_back(std::move(update));
  return New<TplBench>(nullptr, AddClassMap(std::move(map)));
}

int NextKey(std::uint64_t& state) {
  state = state * 6364136223846793005ull + 1442695040888963407ull;
  return static_cast<int>((state >> 33) % kRows) + 1;
}

}  // namespace perlayer::bench

// Writing: loaded objects with one text changed on each, and new objects, each in one transaction,
// against a loop over the engine's C API with one prepared statement.

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "BenchTable.h"
#include "perlayer/database/TplDatabaseProvider.h"
#include "perlayer/drivers/sqlite/TSqliteDatabase.h"
#include "perlayer/foundation/TAuthManager.h"
#include "perlayer/object/THold.h"
#include "perlayer/platform/TLayer.h"

namespace perlayer::bench {
namespace {

constexpr int kObjects = 20000;

std::string Text(int round, int id) {
  return "Kranjska Gora " + std::to_string(round) + "-" + std::to_string(id);
}

// The raw side.
class TRawWriter {
 public:
  explicit TRawWriter(const char* sql) {
    if (sqlite3_open_v2(BenchFile().c_str(), &FDatabase,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr) != SQLITE_OK) {
      Fail();
    }
    if (sqlite3_prepare_v3(FDatabase, sql, -1, SQLITE_PREPARE_PERSISTENT, &FStatement, nullptr) !=
        SQLITE_OK) {
      Fail();
    }
  }
  ~TRawWriter() {
    sqlite3_finalize(FStatement);
    sqlite3_close(FDatabase);
  }
  void Execute(const char* sql) {
    if (sqlite3_exec(FDatabase, sql, nullptr, nullptr, nullptr) != SQLITE_OK) Fail();
  }
  void Bind(int at, const std::string& text) {
    sqlite3_bind_text(FStatement, at, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
  }
  void Bind(int at, int number) { sqlite3_bind_int(FStatement, at, number); }
  void Run() {
    if (sqlite3_step(FStatement) != SQLITE_DONE) Fail();
    sqlite3_reset(FStatement);
  }

 private:
  [[noreturn]] void Fail() {
    std::fprintf(stderr, "bench: %s\n", sqlite3_errmsg(FDatabase));
    std::exit(1);
  }
  sqlite3* FDatabase = nullptr;
  sqlite3_stmt* FStatement = nullptr;
};

void UpdateRaw(benchmark::State& state) {
  TRawWriter writer("update \"OMRA.BENCH\" set CITY = ?1 where ID = ?2");
  int round = 0;
  for (auto _ : state) {
    writer.Execute("BEGIN IMMEDIATE");
    ++round;
    for (int id = 1; id <= kObjects; ++id) {
      const std::string text = Text(round, id);
      writer.Bind(1, text);
      writer.Bind(2, id);
      writer.Run();
    }
    writer.Execute("COMMIT");
  }
}

// What the engine alone takes where every column is written, as a touched object writes them. For
// comparison: the figures are ratios to UpdateRaw.
void UpdateRawWholeRow(benchmark::State& state) {
  TRawWriter writer(
      "update \"OMRA.BENCH\" set SURNAME = ?1, NAME = ?2, CITY = ?3, STREET = ?4, ZIP = ?5, "
      "PHONE = ?6, DIAGNOSIS = ?7, WEIGHT = ?8, BORN = ?9, VISITS = ?10, ACTIVE = ?11 where ID = "
      "?12");
  const std::string texts[] = {"Novakovic-Kranjc 012345",
                               "Marija Terezija 012345",
                               "",
                               "Ulica stare pravde 01234 / b",
                               "01234",
                               "+386 1 012345",
                               "Essential hypertension, stage 012345, follow-up"};
  int round = 0;
  for (auto _ : state) {
    writer.Execute("BEGIN IMMEDIATE");
    ++round;
    for (int id = 1; id <= kObjects; ++id) {
      const std::string text = Text(round, id);
      for (int column = 1; column <= 7; ++column) {
        writer.Bind(column, column == 3 ? text : texts[column - 1]);
      }
      for (int column = 8; column <= 10; ++column) writer.Bind(column, id);
      writer.Bind(11, texts[4]);
      writer.Bind(12, id);
      writer.Run();
    }
    writer.Execute("COMMIT");
  }
}

// A loaded layer on the same file.
struct TBench {
  TLayer layer;
  TSqliteDatabase database{"_QOR", BenchFile()};
  TplBench* provider = MakeProvider();
  TOwned<TScopeRetainer> retainer = Make<TScopeRetainer>();
  TBench() { SetAuthManagerClass(TAuthManagerClass::Of<TOpenAuthManager>()); }
};

using TWrite = bool (TplPerObject::*)(const std::string& name, const std::string& value);

void Update(benchmark::State& state, TWrite write) {
  TBench bench;
  std::vector<TplPerObject*> objects;
  for (int id = 1; id <= kObjects; ++id) {
    objects.push_back(bench.provider->GetObject(bench.retainer.Get(), std::to_string(id), true));
  }
  int round = 0;
  for (auto _ : state) {
    ++round;
    dbProvider()->StartTransaction("bench");
    for (int id = 1; id <= kObjects; ++id) {
      TplPerObject* object = objects[static_cast<std::size_t>(id - 1)];
      (object->*write)("CITY", Text(round, id));
      object->SaveData();
    }
    dbProvider()->Commit("bench");
  }
  for (TplPerObject* object : objects) object->Release(bench.retainer.Get());
}

void UpdateObjects(benchmark::State& state) { Update(state, &TplPerObject::SetAttrValue); }
// A change that does not touch: the statement is narrowed to the one column.
void UpdateNarrowed(benchmark::State& state) { Update(state, &TplPerObject::SetReadOnlyAttrValue); }

void InsertRaw(benchmark::State& state) {
  TRawWriter writer(
      "insert into \"OMRA.BENCH\" (ID, SURNAME, NAME, CITY, STREET, ZIP, PHONE, DIAGNOSIS, ACTIVE) "
      "values (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, '1')");
  for (auto _ : state) {
    writer.Execute("BEGIN IMMEDIATE");
    for (int i = 1; i <= kObjects; ++i) {
      const std::string text = Text(0, i);
      writer.Bind(1, kRows + i);
      for (int column = 2; column <= 8; ++column) writer.Bind(column, text);
      writer.Run();
    }
    writer.Execute("COMMIT");
    state.PauseTiming();
    writer.Execute(("delete from \"OMRA.BENCH\" where ID > " + std::to_string(kRows)).c_str());
    state.ResumeTiming();
  }
}

void InsertObjects(benchmark::State& state) {
  TBench bench;
  for (auto _ : state) {
    dbProvider()->StartTransaction("bench");
    for (int i = 1; i <= kObjects; ++i) {
      TplPerObject* object = bench.provider->NewObject(bench.retainer.Get());
      const std::string text = Text(0, i);
      object->SetAttrValue("ID", std::to_string(kRows + i));
      for (const char* name : {"SURNAME", "NAME", "CITY", "STREET", "ZIP", "PHONE", "DIAGNOSIS"}) {
        object->SetAttrValue(name, text);
      }
      object->SetAttrValue("ACTIVE", "1");
      object->SaveData();
      object->Release(bench.retainer.Get());
    }
    dbProvider()->Commit("bench");
    state.PauseTiming();
    bench.database.Execute("delete from OMRA.BENCH where ID > " + std::to_string(kRows));
    bench.database->Commit("bench");
    state.ResumeTiming();
  }
}

BENCHMARK(UpdateRaw)->Unit(benchmark::kMillisecond);
BENCHMARK(UpdateRawWholeRow)->Unit(benchmark::kMillisecond);
BENCHMARK(UpdateObjects)->Unit(benchmark::kMillisecond);
BENCHMARK(UpdateNarrowed)->Unit(benchmark::kMillisecond);
BENCHMARK(InsertRaw)->Unit(benchmark::kMillisecond);
BENCHMARK(InsertObjects)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace perlayer::bench

BENCHMARK_MAIN();

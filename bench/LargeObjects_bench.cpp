// A large object of 200 MB saved from a file and loaded into one, against a loop over the engine's
// C API with pieces of the same size; and how much the process grows meanwhile.

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "BenchTable.h"
#include "perlayer/database/TISQLHelper.h"
#include "perlayer/drivers/sqlite/TSqliteDatabase.h"
#include "perlayer/platform/Files.h"
#include "perlayer/platform/TFileStream.h"
#include "perlayer/platform/TLayer.h"
#include "perlayer/platform/Text.h"

namespace perlayer::bench {
namespace {

constexpr std::int64_t kSize = std::int64_t{200} << 20;
constexpr std::size_t kPiece = 64 << 10;

[[noreturn]] void Fail(const char* what) {
  std::fprintf(stderr, "bench: %s\n", what);
  std::exit(1);
}

// The largest resident size since the last call of ForgetPeak, in KB.
long Peak() {
  for (const std::string& line : SplitText(ReadFile("/proc/self/status"), "\n")) {
    if (line.starts_with("VmHWM:")) return std::atol(line.c_str() + 6);
  }
  Fail("the system tells no peak");
}
void ForgetPeak() { TFileStream("/proc/self/clear_refs", TFileMode::readWrite).WriteText("5"); }

std::string File(const char* name) { return BenchFile() + name; }

const std::string& Picture() {
  static const std::string path = [] {
    TFileStream file(File(".picture"), TFileMode::create);
    std::string piece(kPiece, '\0');
    for (std::int64_t at = 0; at < kSize; at += kPiece) {
      for (std::size_t i = 0; i < kPiece; i += 8)
        piece[i] = static_cast<char>(at / 7 + static_cast<std::int64_t>(i));
      file.WriteText(piece);
    }
    return File(".picture");
  }();
  return path;
}

// The tables' last column, and one with another behind it.
void MakeTables(TSqliteDatabase& db) {
  for (const char* table : {"LAST_COLUMN", "MIDDLE_COLUMN"}) {
    const bool last = table[0] == 'L';
    db.Execute("drop table if exists " + std::string(table));
    db.Execute("create table " + std::string(table) + " (ID integer primary key, PHOTO " +
               (last ? "blob)" : "blob, NAME varchar2(20))"));
    db.Execute("insert into " + std::string(table) +
               (last ? " (ID) values (1)" : " (ID, NAME) values (1, 'Novak')"));
  }
  db->Commit("");
}

template <class TBody>
void Measure(benchmark::State& state, TBody body) {
  long grown = 0;
  for (auto _ : state) {
    state.PauseTiming();
    ForgetPeak();
    const long before = Peak();
    state.ResumeTiming();
    body();
    state.PauseTiming();
    grown = std::max(grown, Peak() - before);
    state.ResumeTiming();
  }
  state.counters["grown_KB"] = static_cast<double>(grown);
  state.SetBytesProcessed(state.iterations() * kSize);
}

void Save(benchmark::State& state, const char* table) {
  const TLayer layer;
  TSqliteDatabase db("_QOR", File(".large"));
  MakeTables(db);
  TFileStream picture(Picture(), TFileMode::read);
  Measure(state, [&] {
    TISQLHelper::SaveBlob(table, "PHOTO", "ID", "1", &picture);
    db->Commit("");
  });
}
void SaveBlob(benchmark::State& state) { Save(state, "LAST_COLUMN"); }
void SaveBlobInTheMiddle(benchmark::State& state) { Save(state, "MIDDLE_COLUMN"); }

void LoadBlob(benchmark::State& state) {
  const TLayer layer;
  TSqliteDatabase db("_QOR", File(".large"));
  MakeTables(db);
  TFileStream picture(Picture(), TFileMode::read);
  TISQLHelper::SaveBlob("LAST_COLUMN", "PHOTO", "ID", "1", &picture);
  db->Commit("");
  TFileStream target(File(".loaded"), TFileMode::create);
  Measure(state, [&] {
    target.Size(0);
    target.Position(0);
    TISQLHelper::LoadBlob("LAST_COLUMN", "PHOTO", "ID", "1", &target);
  });
}

// The raw side: the row's number is known.
class TRawBlob {
 public:
  TRawBlob() {
    {
      const TLayer layer;
      TSqliteDatabase db("_QOR", File(".large"));
      MakeTables(db);
    }
    if (sqlite3_open_v2(File(".large").c_str(), &FDatabase,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr) != SQLITE_OK) {
      Fail("open");
    }
  }
  ~TRawBlob() { sqlite3_close(FDatabase); }
  void Execute(const std::string& sql) {
    if (sqlite3_exec(FDatabase, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) Fail("exec");
  }
  // Calls piece(blob, at) for each piece.
  template <class TPiece>
  void ForEach(int write, TPiece piece) {
    sqlite3_blob* blob = nullptr;
    if (sqlite3_blob_open(FDatabase, "main", "LAST_COLUMN", "PHOTO", 1, write, &blob) !=
        SQLITE_OK) {
      Fail("blob");
    }
    for (int at = 0; at < static_cast<int>(kSize); at += static_cast<int>(kPiece)) {
      if (piece(blob, at) != SQLITE_OK) Fail("piece");
    }
    sqlite3_blob_close(blob);
  }
  void Save(TFileStream& source) {
    Execute("begin immediate");
    Execute("update LAST_COLUMN set PHOTO = zeroblob(" + IntToStr(kSize) + ") where ID = 1");
    source.Position(0);
    ForEach(1, [&](sqlite3_blob* blob, int at) {
      source.ReadBuffer(FPiece.data(), kPiece);
      return sqlite3_blob_write(blob, FPiece.data(), static_cast<int>(kPiece), at);
    });
    Execute("commit");
  }
  void Load(TFileStream& target) {
    ForEach(0, [&](sqlite3_blob* blob, int at) {
      const int code = sqlite3_blob_read(blob, FPiece.data(), static_cast<int>(kPiece), at);
      target.WriteText(FPiece);
      return code;
    });
  }

 private:
  sqlite3* FDatabase = nullptr;
  std::string FPiece = std::string(kPiece, '\0');
};

void SaveRaw(benchmark::State& state) {
  TRawBlob raw;
  TFileStream picture(Picture(), TFileMode::read);
  Measure(state, [&] { raw.Save(picture); });
}

void LoadRaw(benchmark::State& state) {
  TRawBlob raw;
  TFileStream picture(Picture(), TFileMode::read);
  raw.Save(picture);
  TFileStream target(File(".loaded"), TFileMode::create);
  Measure(state, [&] {
    target.Size(0);
    target.Position(0);
    raw.Load(target);
  });
}

BENCHMARK(SaveBlob)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(SaveRaw)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(SaveBlobInTheMiddle)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(LoadBlob)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(LoadRaw)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace
}  // namespace perlayer::bench

BENCHMARK_MAIN();

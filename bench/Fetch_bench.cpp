// Single-row fetches by key, within one transaction: the layer's objects against a loop over the
// engine's C API that prepares once and builds a struct of twelve strings. And the memory that held
// objects take against that struct.

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sqlite3.h>

#include <array>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "BenchTable.h"
#include "perlayer/drivers/sqlite/TSqliteDatabase.h"
#include "perlayer/object/THold.h"
#include "perlayer/platform/TLayer.h"

namespace perlayer::bench {
namespace {

constexpr int kColumns = 12;
constexpr int kFetches = 50000;
constexpr int kHeld = 100000;

using TRawRow = std::array<std::string, kColumns>;

// The raw side: one statement, prepared once.
class TRawReader {
 public:
  TRawReader() {
    if (sqlite3_open_v2(BenchFile().c_str(), &FDatabase,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr) != SQLITE_OK ||
        sqlite3_prepare_v3(FDatabase, RawSelect(), -1, SQLITE_PREPARE_PERSISTENT, &FSelect,
                           nullptr) != SQLITE_OK) {
      std::fprintf(stderr, "bench: %s\n", sqlite3_errmsg(FDatabase));
      std::exit(1);
    }
    sqlite3_exec(FDatabase, "BEGIN", nullptr, nullptr, nullptr);
  }
  ~TRawReader() {
    sqlite3_finalize(FSelect);
    sqlite3_exec(FDatabase, "COMMIT", nullptr, nullptr, nullptr);
    sqlite3_close(FDatabase);
  }
  std::unique_ptr<TRawRow> Fetch(int key) {
    sqlite3_bind_int(FSelect, 1, key);
    if (sqlite3_step(FSelect) != SQLITE_ROW) std::abort();
    // Exact strings are constructed in place: assigning to an empty one would over-allocate.
    auto row = std::unique_ptr<TRawRow>(new TRawRow{Integer(0), Text(1), Text(2), Text(3), Text(4),
                                                    Text(5), Text(6), Text(7), Number(8), Number(9),
                                                    Integer(10), Text(11)});
    sqlite3_reset(FSelect);
    return row;
  }

 private:
  // The engine's own conversion of numbers to text is several times slower than to_chars.
  std::string Integer(int column) {
    char digits[24];
    const auto end =
        std::to_chars(digits, digits + sizeof digits, sqlite3_column_int64(FSelect, column)).ptr;
    return std::string(digits, end);
  }
  std::string Number(int column) {
    char digits[32];
    const auto end =
        std::to_chars(digits, digits + sizeof digits, sqlite3_column_double(FSelect, column)).ptr;
    return std::string(digits, end);
  }
  std::string Text(int column) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(FSelect, column));
    return text == nullptr
               ? std::string()
               : std::string(text, static_cast<std::size_t>(sqlite3_column_bytes(FSelect, column)));
  }
  sqlite3* FDatabase = nullptr;
  sqlite3_stmt* FSelect = nullptr;
};

void FetchRaw(benchmark::State& state) {
  TRawReader reader;
  std::uint64_t keys = 7;
  for (auto _ : state) {
    for (int i = 0; i < kFetches; ++i) benchmark::DoNotOptimize(reader.Fetch(NextKey(keys)));
  }
  state.SetItemsProcessed(state.iterations() * kFetches);
}

void FetchObjects(benchmark::State& state) {
  TLayer layer;
  TSqliteDatabase database("_QOR", BenchFile());
  TplBench* provider = MakeProvider();
  const TOwned<TScopeRetainer> retainer = Make<TScopeRetainer>();
  database->StartTransaction("bench");
  std::uint64_t keys = 7;
  for (auto _ : state) {
    for (int i = 0; i < kFetches; ++i) {
      TplPerObject* object =
          provider->GetObject(retainer.Get(), std::to_string(NextKey(keys)), true);
      benchmark::DoNotOptimize(object);
      object->Release(retainer.Get());
    }
  }
  database->Commit("bench");
  state.SetItemsProcessed(state.iterations() * kFetches);
}

std::size_t ResidentBytes() {
  std::FILE* file = std::fopen("/proc/self/statm", "r");
  long total = 0;
  long resident = 0;
  if (file == nullptr || std::fscanf(file, "%ld %ld", &total, &resident) != 2) std::exit(1);
  std::fclose(file);
  return static_cast<std::size_t>(resident) * 4096;
}

// Bytes of resident memory per row, for rows 1 to kHeld all held at once.
template <class TMake>
double BytesPerRow(TMake make) {
  malloc_trim(0);
  const std::size_t before = ResidentBytes();
  const auto held = make();
  benchmark::DoNotOptimize(&held);
  return static_cast<double>(ResidentBytes() - before) / kHeld;
}

void MemoryRaw(benchmark::State& state) {
  TRawReader reader;
  for (int i = 0; i < 1000; ++i) reader.Fetch(1 + i * 99);  // the engine's cache is not counted
  for (auto _ : state) {
    state.counters["bytes_per_row"] = BytesPerRow([&] {
      std::vector<std::unique_ptr<TRawRow>> rows;
      rows.reserve(kHeld);
      for (int i = 1; i <= kHeld; ++i) rows.push_back(reader.Fetch(i));
      return rows;
    });
  }
}

void MemoryObjects(benchmark::State& state) {
  TLayer layer;
  TSqliteDatabase database("_QOR", BenchFile());
  TplBench* provider = MakeProvider();
  const TOwned<TScopeRetainer> retainer = Make<TScopeRetainer>();
  database->StartTransaction("bench");
  for (int i = 0; i < 1000; ++i) {
    provider->GetObject(retainer.Get(), std::to_string(1 + i * 99), true)->Release(retainer.Get());
  }
  for (auto _ : state) {
    state.counters["bytes_per_row"] = BytesPerRow([&] {
      struct THeld {
        TObject* retainer;
        std::vector<TplPerObject*> objects;
        THeld(THeld&&) = default;
        explicit THeld(TObject* r) : retainer(r) { objects.reserve(kHeld); }
        ~THeld() {
          for (TplPerObject* object : objects) object->Release(retainer);
        }
      } held(retainer.Get());
      for (int i = 1; i <= kHeld; ++i) {
        held.objects.push_back(provider->GetObject(retainer.Get(), std::to_string(i), true));
      }
      return held;
    });
  }
  database->Commit("bench");
}

BENCHMARK(FetchRaw)->Unit(benchmark::kMillisecond);
BENCHMARK(FetchObjects)->Unit(benchmark::kMillisecond);
BENCHMARK(MemoryRaw)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(MemoryObjects)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace perlayer::bench

BENCHMARK_MAIN();

// Fetching a list of all rows of a table, within one transaction: the layer's list of objects
// against a loop over the engine's C API into structs of twelve strings; what is fetched ends
// outside the measured time. And the memory that they take.

#include <benchmark/benchmark.h>

#include <vector>

#include "BenchTable.h"
#include "ResidentBytes.h"
#include "TRawReader.h"
#include "perlayer/drivers/sqlite/TSqliteDatabase.h"
#include "perlayer/list/TPlBoList.h"
#include "perlayer/object/THold.h"
#include "perlayer/platform/TLayer.h"
#include "perlayer/reclaim/TplGlobalDictionary.h"

namespace perlayer::bench {
namespace {

std::vector<TRawRow> RawRows(TRawReader& reader) {
  std::vector<TRawRow> rows;
  while (reader.Step()) rows.push_back(reader.Row());
  reader.Reset();
  return rows;
}

void ListRaw(benchmark::State& state) {
  TRawReader reader(BenchFile(static_cast<int>(state.range(0))), RawSelectAll());
  for (auto _ : state) {
    std::vector<TRawRow> rows = RawRows(reader);
    benchmark::DoNotOptimize(rows.data());
    state.PauseTiming();
    rows = {};
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

// A layer over the table, with a transaction open.
struct TBenchLayer {
  explicit TBenchLayer(int rows, bool dictionary) : database("_QOR", BenchFile(rows)) {
    provider = MakeProvider();
    GlobalDictionary()->aiUSEDICTIONARY(dictionary);
    database->StartTransaction("bench");
  }
  ~TBenchLayer() { database->Commit("bench"); }
  TPlBoList* Fetch() { return provider->FetchObjectList(retainer.Get(), "ID > 0", "", true); }

  TLayer layer;
  TSqliteDatabase database;
  TplBench* provider;
  TOwned<TScopeRetainer> retainer = Make<TScopeRetainer>();
};

void ListObjects(benchmark::State& state) {
  TBenchLayer layer(static_cast<int>(state.range(0)), state.range(1) != 0);
  for (auto _ : state) {
    TPlBoList* const list = layer.Fetch();
    state.PauseTiming();
    list->Release(layer.retainer.Get());
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void MemoryListRaw(benchmark::State& state) {
  TRawReader reader(BenchFile(), RawSelectAll());
  RawRows(reader);
  for (auto _ : state) {
    state.counters["bytes_per_row"] = BytesPerRow(kRows, [&] {
      std::vector<TRawRow> rows = RawRows(reader);
      rows.shrink_to_fit();
      return rows;
    });
  }
}

void MemoryListObjects(benchmark::State& state) {
  TBenchLayer layer(kRows, state.range(0) != 0);
  for (auto _ : state) {
    TPlBoList* list = nullptr;
    state.counters["bytes_per_row"] = BytesPerRow(kRows, [&] { return list = layer.Fetch(); });
    list->Release(layer.retainer.Get());
  }
}

constexpr auto kUnit = benchmark::kMillisecond;
BENCHMARK(ListRaw)->Arg(10000)->Arg(100000)->Arg(400000)->Unit(kUnit);
BENCHMARK(ListObjects)->ArgsProduct({{10000, 100000, 400000}, {0, 1}})->Unit(kUnit);
BENCHMARK(MemoryListRaw)->Iterations(1)->Unit(kUnit);
BENCHMARK(MemoryListObjects)->Arg(0)->Arg(1)->Iterations(1)->Unit(kUnit);

}  // namespace
}  // namespace perlayer::bench

BENCHMARK_MAIN();

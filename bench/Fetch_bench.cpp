// Single-row fetches by key, within one transaction: the layer's objects against a loop over the
// engine's C API that prepares once and builds a struct of twelve strings. And the memory that held
// objects take against that struct.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>
#include <vector>

#include "BenchTable.h"
#include "ResidentBytes.h"
#include "TRawReader.h"
#include "perlayer/drivers/sqlite/TSqliteDatabase.h"
#include "perlayer/object/THold.h"
#include "perlayer/platform/TLayer.h"

namespace perlayer::bench {
namespace {

constexpr int kFetches = 50000;
constexpr int kHeld = 100000;

std::unique_ptr<TRawRow> FetchRow(TRawReader& reader, int key) {
  reader.Bind(key);
  if (!reader.Step()) std::abort();
  std::unique_ptr<TRawRow> row(new TRawRow(reader.Row()));
  reader.Reset();
  return row;
}

void FetchRaw(benchmark::State& state) {
  TRawReader reader(BenchFile(), RawSelect());
  std::uint64_t keys = 7;
  for (auto _ : state) {
    for (int i = 0; i < kFetches; ++i) benchmark::DoNotOptimize(FetchRow(reader, NextKey(keys)));
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

void MemoryRaw(benchmark::State& state) {
  TRawReader reader(BenchFile(), RawSelect());
  for (int i = 0; i < 1000; ++i) FetchRow(reader, 1 + i * 99);  // the engine's cache is not counted
  for (auto _ : state) {
    state.counters["bytes_per_row"] = BytesPerRow(kHeld, [&] {
      std::vector<std::unique_ptr<TRawRow>> rows;
      rows.reserve(kHeld);
      for (int i = 1; i <= kHeld; ++i) rows.push_back(FetchRow(reader, i));
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
    state.counters["bytes_per_row"] = BytesPerRow(kHeld, [&] {
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

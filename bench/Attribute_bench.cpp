// Reading and writing attributes of a loaded object, against look-ups of the same names in a
// std::unordered_map with the same values.

#include <benchmark/benchmark.h>

#include <string>
#include <unordered_map>
#include <vector>

#include "BenchTable.h"
#include "perlayer/drivers/sqlite/TSqliteDatabase.h"
#include "perlayer/foundation/TAuthManager.h"
#include "perlayer/object/THold.h"
#include "perlayer/platform/TLayer.h"

namespace perlayer::bench {
namespace {

// An object, and its attributes as a map has them.
struct TBench {
  TLayer layer;
  TSqliteDatabase database{"_QOR", BenchFile()};
  TplBench* provider = MakeProvider();
  THold<TplPerObject> object;
  std::vector<std::string> names;
  std::unordered_map<std::string, std::string> values;

  TBench() {
    SetAuthManagerClass(TAuthManagerClass::Of<TOpenAuthManager>());
    object = THold<TplPerObject>(provider, "17");
    for (int i = 0; i < object->AttrCount(); ++i) {
      names.push_back(object->AttrName(i));
      values[names.back()] = object->GetAttrValue(names.back());
    }
  }
};

// The same order for all: each name in turn.
template <class TStep>
void ForEachName(benchmark::State& state, const TBench& bench, TStep step) {
  for (auto _ : state) {
    for (std::size_t i = 0; i < bench.names.size(); ++i) step(i);
  }
  state.counters["each"] = benchmark::Counter(
      static_cast<double>(bench.names.size()),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void LookUp(benchmark::State& state) {
  TBench bench;
  ForEachName(state, bench, [&](std::size_t i) {
    benchmark::DoNotOptimize(bench.values.find(bench.names[i])->second.data());
  });
}

void LookUpAndCopy(benchmark::State& state) {
  TBench bench;
  ForEachName(state, bench, [&](std::size_t i) {
    std::string copy = bench.values.find(bench.names[i])->second;
    benchmark::DoNotOptimize(copy);
  });
}

void ReadByName(benchmark::State& state) {
  TBench bench;
  ForEachName(state, bench, [&](std::size_t i) {
    std::string copy = bench.object->GetAttrValue(bench.names[i]);
    benchmark::DoNotOptimize(copy);
  });
}

// Where it lives until the object is written to.
void ViewByName(benchmark::State& state) {
  TBench bench;
  ForEachName(state, bench, [&](std::size_t i) {
    benchmark::DoNotOptimize(bench.object->StoredValue(bench.names[i]));
  });
}

void ReadByIndex(benchmark::State& state) {
  TBench bench;
  ForEachName(state, bench, [&](std::size_t i) {
    benchmark::DoNotOptimize(bench.object->StoredValue(static_cast<int>(i)));
  });
}

// Two texts by turns, so that each write changes the value of an object that is being edited.
void Write(benchmark::State& state) {
  TBench bench;
  const std::string texts[] = {"Kranjska Gora 1", "Ljubljana-Center"};
  const std::string name = "CITY";
  bench.object->SetAttrValue(name, "Maribor");
  std::size_t turn = 0;
  for (auto _ : state) bench.object->SetAttrValue(name, texts[++turn % 2]);
}

// The part of it that asks for rights.
void Rights(benchmark::State& state) {
  TBench bench;
  for (auto _ : state) benchmark::DoNotOptimize(bench.object->GetReadOnly());
}

// All twelve attributes.
void Validate(benchmark::State& state) {
  TBench bench;
  for (auto _ : state) benchmark::DoNotOptimize(bench.object->ValidateObject());
}

BENCHMARK(LookUp);
BENCHMARK(LookUpAndCopy);
BENCHMARK(ReadByName);
BENCHMARK(ViewByName);
BENCHMARK(ReadByIndex);
BENCHMARK(Write);
BENCHMARK(Rights);
BENCHMARK(Validate);

}  // namespace
}  // namespace perlayer::bench

BENCHMARK_MAIN();

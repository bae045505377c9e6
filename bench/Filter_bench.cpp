// A filter of three comparisons over 100,000 objects, compiled once and read anew for each object.

#include <benchmark/benchmark.h>

#include <cstdlib>

#include "BenchObjects.h"
#include "perlayer/list/TListFilter.h"
#include "support/NaiveFilter.h"

namespace perlayer::bench {
namespace {

const std::string kFilters[] = {
    "(CITY > 'Ljubljana-Center 30000') AND (WEIGHT >= 60) AND (VISITS < 150)",
    "(SURNAME LIKE '%0042%') OR (WEIGHT > 95.5) OR (ACTIVE <> '1')",
    "(BORN >= TO_DATE('1.1.1970', 'dd.mm.yyyy')) AND (NAME <> 'X') AND (VISITS = 7)",
};

template <class TFilter>
void Evaluate(benchmark::State& state) {
  TBenchObjects bench;
  TFilter filter;
  const std::string& text = kFilters[state.range(0)];
  std::int64_t accepted = 0;
  for (auto _ : state) {
    accepted = 0;
    for (TplPerObject* object : bench.objects) accepted += filter.Evaluate(object, text);
    benchmark::DoNotOptimize(accepted);
  }
  state.counters["accepted"] = static_cast<double>(accepted);
  state.counters["per_object"] = benchmark::Counter(
      kRows, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void FilterCompiled(benchmark::State& state) { Evaluate<TListFilter>(state); }
void FilterNaive(benchmark::State& state) { Evaluate<TNaiveFilter>(state); }

BENCHMARK(FilterCompiled)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
BENCHMARK(FilterNaive)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace perlayer::bench

BENCHMARK_MAIN();

// Sorting 100,000 objects by two texts: in the order that people see, by the lists' own sort, and
// by the library's sort in the order of bytes over keys that were taken out first.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <tuple>

#include "BenchObjects.h"
#include "perlayer/list/TBoOrder.h"

namespace perlayer::bench {
namespace {

void OrderByTwoTexts(benchmark::State& state) {
  TBenchObjects bench;
  const std::vector<TObjectHandle> objects(bench.objects.begin(), bench.objects.end());
  for (auto _ : state) {
    benchmark::DoNotOptimize(TBoOrder("SURNAME,NAME").Sorted(objects));
  }
}

void StableSortOfExtractedKeys(benchmark::State& state) {
  struct TItem {
    std::string surname, name;
    TplPerObject* object;
  };
  TBenchObjects bench;
  for (auto _ : state) {
    std::vector<TItem> items;
    items.reserve(bench.objects.size());
    for (TplPerObject* object : bench.objects) {
      items.push_back({object->GetAttrValue("SURNAME"), object->GetAttrValue("NAME"), object});
    }
    std::stable_sort(items.begin(), items.end(), [](const TItem& a, const TItem& b) {
      return std::tie(a.surname, a.name) < std::tie(b.surname, b.name);
    });
    benchmark::DoNotOptimize(items.data());
  }
}

BENCHMARK(OrderByTwoTexts)->Unit(benchmark::kMillisecond);
BENCHMARK(StableSortOfExtractedKeys)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace perlayer::bench

BENCHMARK_MAIN();

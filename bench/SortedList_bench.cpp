// A sorted list of a million texts, in random order and in any case, against a hash table with
// folded keys and against a sorted array. Times are for one key.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "perlayer/platform/TStringList.h"
#include "perlayer/platform/Text.h"

namespace perlayer::bench {
namespace {

constexpr int kMany = 1000000;

// The first argument of a benchmark: what its keys look like.
enum TKeys {
  kNumbered,  // "Patient0012345": all begin alike
  kClassed,   // "ENCOUNTER.0012345", of eight classes
  kRandom,    // letters and digits
};

std::string MakeKey(TKeys kind, std::mt19937_64& random, int number) {
  static constexpr const char* kClasses[] = {"Patient",   "ENCOUNTER", "Ward",      "Diagnosis",
                                             "CLINICIAN", "Therapy",   "LabResult", "Observation"};
  char key[40];
  switch (kind) {
    case kNumbered:
      std::snprintf(key, sizeof key, "Patient%07d", number);
      return key;
    case kClassed:
      std::snprintf(key, sizeof key, "%s.%07d", kClasses[random() % 8], number);
      return key;
    default:
      std::string text(8 + random() % 8, ' ');
      for (char& c : text) c = "ABCDEFGHIJKLMabcdefghijklm0123456789"[random() % 36];
      return text;
  }
}

std::string_view Label(TKeys kind) {
  return kind == kNumbered ? "numbered" : kind == kClassed ? "classed" : "random";
}

// Distinct keys, shuffled; the same ones each time.
std::vector<std::string> MakeKeys(TKeys kind, int count) {
  std::mt19937_64 random(42);
  std::vector<std::string> keys;
  for (int i = 0; i < count; ++i) keys.push_back(MakeKey(kind, random, i));
  std::shuffle(keys.begin(), keys.end(), random);
  return keys;
}

// In another order, and case, than they were added.
std::vector<std::string> MakeProbes(const std::vector<std::string>& keys) {
  std::vector<std::string> probes;
  for (const std::string& key : keys) probes.push_back(UpperCase(key));
  std::shuffle(probes.begin(), probes.end(), std::mt19937_64(7));
  return probes;
}

using TList = TTextList<void*>;

TList MakeList(const std::vector<std::string>& keys) {
  TList list;
  list.Sorted(true);
  for (const std::string& key : keys) list.Add(key, nullptr);
  return list;
}

std::unordered_map<std::string, void*> MakeMap(const std::vector<std::string>& keys) {
  std::unordered_map<std::string, void*> map;
  for (const std::string& key : keys) map.emplace(FoldCase(key), nullptr);
  return map;
}

// Time for one of `count` operations in each round of the benchmark.
void PerKey(benchmark::State& state, std::size_t count) {
  state.SetLabel(std::string(Label(static_cast<TKeys>(state.range(0)))));
  state.counters["per_key"] =
      benchmark::Counter(static_cast<double>(count), benchmark::Counter::kIsIterationInvariantRate |
                                                         benchmark::Counter::kInvert);
}

std::vector<std::string> KeysOf(const benchmark::State& state) {
  return MakeKeys(static_cast<TKeys>(state.range(0)), static_cast<int>(state.range(1)));
}

template <auto Make>
void Insert(benchmark::State& state) {
  const auto keys = KeysOf(state);
  for (auto _ : state) {
    auto made = Make(keys);
    benchmark::DoNotOptimize(&made);
    state.PauseTiming();
    { auto gone = std::move(made); }
    state.ResumeTiming();
  }
  PerKey(state, keys.size());
}

void ListFind(benchmark::State& state) {
  const auto keys = KeysOf(state);
  const TList list = MakeList(keys);
  const auto probes = MakeProbes(keys);
  for (auto _ : state) {
    for (const std::string& key : probes) {
      int index = -1;
      if (!list.Find(key, index)) state.SkipWithError("a key is missing");
      benchmark::DoNotOptimize(index);
    }
  }
  PerKey(state, probes.size());
}

void MapFind(benchmark::State& state) {
  const auto keys = KeysOf(state);
  const auto map = MakeMap(keys);
  const auto probes = MakeProbes(keys);
  for (auto _ : state) {
    for (const std::string& key : probes) {
      const auto found = map.find(FoldCase(key));
      if (found == map.end()) state.SkipWithError("a key is missing");
      benchmark::DoNotOptimize(found->second);
    }
  }
  PerKey(state, probes.size());
}

void ListIndex(benchmark::State& state) {
  const auto keys = KeysOf(state);
  const TList list = MakeList(keys);
  std::vector<int> indices(keys.size());
  for (int i = 0; i < list.Count(); ++i) indices[static_cast<std::size_t>(i)] = i;
  std::shuffle(indices.begin(), indices.end(), std::mt19937_64(7));
  for (auto _ : state) {
    for (const int index : indices) benchmark::DoNotOptimize(list.TextAt(index).size());
  }
  PerKey(state, indices.size());
}

// A hundred more keys to an array that has them all: what it would cost at that size.
void SortedArrayInsert(benchmark::State& state) {
  constexpr std::size_t kMore = 100;
  struct TItem {
    std::string text;
    void* payload;
  };
  auto keys = KeysOf(state);
  const std::vector<std::string> more(keys.end() - kMore, keys.end());
  keys.resize(keys.size() - kMore);
  const auto less = [](const TItem& a, const TItem& b) { return CompareText(a.text, b.text) < 0; };
  std::vector<TItem> array;
  array.reserve(keys.size() + kMore);
  for (const std::string& key : keys) array.push_back({key, nullptr});
  std::sort(array.begin(), array.end(), less);
  for (auto _ : state) {
    for (const std::string& key : more) {
      TItem item{key, nullptr};
      const auto place = std::lower_bound(array.begin(), array.end(), item, less);
      array.insert(place, std::move(item));
    }
  }
  PerKey(state, kMore);
}

void AllKeys(benchmark::internal::Benchmark* benchmark) {
  for (const TKeys kind : {kNumbered, kClassed, kRandom}) benchmark->Args({kind, kMany});
  benchmark->Unit(benchmark::kMillisecond);
}
void AllSizes(benchmark::internal::Benchmark* benchmark) {
  for (const TKeys kind : {kNumbered, kClassed, kRandom}) {
    for (const int count : {10000, 100000, kMany}) benchmark->Args({kind, count});
  }
  benchmark->Unit(benchmark::kMillisecond);
}

BENCHMARK(Insert<MakeList>)->Name("ListInsert")->Apply(AllSizes);
BENCHMARK(Insert<MakeMap>)->Name("MapInsert")->Apply(AllKeys);
BENCHMARK(ListFind)->Apply(AllSizes);
BENCHMARK(MapFind)->Apply(AllKeys);
BENCHMARK(ListIndex)->Apply(AllSizes);
BENCHMARK(SortedArrayInsert)->Args({kNumbered, kMany})->Iterations(1);

}  // namespace
}  // namespace perlayer::bench

BENCHMARK_MAIN();

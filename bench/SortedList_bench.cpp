// Lists of a million texts, in random order and in any case: the sorted list against a hash table
// with folded keys and against a sorted array, the dictionary's way from a text to its object
// against a hash table, and the sequence with keys. Times are for one key.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "perlayer/foundation/TPlDictionary.h"
#include "perlayer/platform/TKeyedSequence.h"
#include "perlayer/platform/TLayer.h"
#include "perlayer/platform/Text.h"

namespace perlayer::bench {
namespace {

constexpr int kMany = 1000000;

// The first argument of a benchmark: what its keys look like.
enum TKeys {
  kNumbered,  // "Patient0012345": all begin alike
  kClassed,   // "ENCOUNTER.0012345", of eight classes
  kLong,      // "TpoEncounterDiagnosis:12345", of eight classes
  kRandom,    // letters and digits
};

std::string MakeKey(TKeys kind, std::mt19937_64& random, int number) {
  static constexpr const char* kClasses[] = {"Patient",   "ENCOUNTER", "Ward",      "Diagnosis",
                                             "CLINICIAN", "Therapy",   "LabResult", "Observation"};
  static constexpr const char* kLongNames[] = {
      "TpoPatientIdentification", "TpoEncounterDiagnosis", "TpoEncounterOfAWard", "TpoMedication",
      "TpoLaboratoryObservation", "TpoLaboratoryOrder",    "TpoClinicianOnDuty",  "TpoTherapy"};
  char key[40];
  switch (kind) {
    case kNumbered:
      std::snprintf(key, sizeof key, "Patient%07d", number);
      return key;
    case kClassed:
      std::snprintf(key, sizeof key, "%s.%07d", kClasses[random() % 8], number);
      return key;
    case kLong:
      std::snprintf(key, sizeof key, "%s:%d", kLongNames[random() % 8], number);
      return key;
    default:
      std::string text(8 + random() % 8, ' ');
      for (char& c : text) c = "ABCDEFGHIJKLMabcdefghijklm0123456789"[random() % 36];
      return text;
  }
}

const char* Label(TKeys kind) {
  static constexpr const char* kLabels[] = {"numbered", "classed", "long", "random"};
  return kLabels[kind];
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

TKeyedSequence<int> MakeSequence(const std::vector<std::string>& keys) {
  TKeyedSequence<int> sequence;
  for (const std::string& key : keys) sequence.Insert(sequence.Count() / 2, key, 0);
  return sequence;
}

// Time for one of `count` operations in each round of the benchmark.
void PerKey(benchmark::State& state, std::size_t count) {
  state.SetLabel(Label(static_cast<TKeys>(state.range(0))));
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

// Looks all keys up by find(container, key), which tells whether it is there.
template <auto Make, class TFind>
void Find(benchmark::State& state, TFind find) {
  const auto keys = KeysOf(state);
  const auto made = Make(keys);
  const auto probes = MakeProbes(keys);
  for (auto _ : state) {
    for (const std::string& key : probes) {
      if (!find(made, key)) state.SkipWithError("a key is missing");
    }
  }
  PerKey(state, probes.size());
}

void ListFind(benchmark::State& state) {
  Find<MakeList>(state, [](const TList& list, const std::string& key) {
    int index = -1;
    return list.Find(key, index);
  });
}

void MapFind(benchmark::State& state) {
  Find<MakeMap>(state, [](const auto& map, const std::string& key) {
    return map.find(FoldCase(key)) != map.end();
  });
}

void SequenceFind(benchmark::State& state) {
  Find<MakeSequence>(state, [](const auto& sequence, const std::string& key) {
    return sequence.IndexOf(key) >= 0;
  });
}

// An object with a counter, which whoever finds it moves on.
class TCounted : public TObject {
  TCLASS(TCounted, TObject)
 public:
  int count = 0;
};

// Finds the objects by key and counts, in a random order that is not that of making.
template <class TFind>
void FindObjects(benchmark::State& state, const std::vector<std::string>& keys, TFind find) {
  auto probes = keys;
  std::shuffle(probes.begin(), probes.end(), std::mt19937_64(7));
  for (auto _ : state) {
    for (const std::string& key : probes) ++find(key)->count;
  }
  PerKey(state, probes.size());
}

// The key comes in two parts, as a table's and an object's do.
void DictionaryObjectOf(benchmark::State& state) {
  TLayer layer;
  const auto keys = KeysOf(state);
  const auto dictionary = Make<TPlDictionary>();
  dictionary->Sorted(true);
  std::vector<TOwned<TCounted>> objects;
  for (const std::string& key : keys) {
    objects.push_back(Make<TCounted>());
    dictionary->AddObject(key, objects.back().Get());
  }
  dictionary->ObjectOf("");  // makes the hash
  FindObjects(state, keys, [&](std::string_view key) {
    return static_cast<TCounted*>(dictionary->ObjectOf(key.substr(0, 8), key.substr(8)));
  });
}

void MapObjectOf(benchmark::State& state) {
  TLayer layer;
  const auto keys = KeysOf(state);
  std::unordered_map<std::string, TCounted*> map;
  std::vector<TOwned<TCounted>> objects;
  for (const std::string& key : keys) {
    objects.push_back(Make<TCounted>());
    map.emplace(key, objects.back().Get());
  }
  FindObjects(state, keys, [&](const std::string& key) { return map.find(key)->second; });
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

void Kinds(benchmark::internal::Benchmark* benchmark, std::vector<std::int64_t> sizes) {
  benchmark->ArgsProduct({{kNumbered, kClassed, kLong, kRandom}, std::move(sizes)})
      ->Unit(benchmark::kMillisecond);
}
void AllKeys(benchmark::internal::Benchmark* benchmark) { Kinds(benchmark, {kMany}); }
void AllSizes(benchmark::internal::Benchmark* benchmark) {
  Kinds(benchmark, {10000, 100000, kMany});
}

BENCHMARK(Insert<MakeList>)->Name("ListInsert")->Apply(AllSizes);
BENCHMARK(Insert<MakeMap>)->Name("MapInsert")->Apply(AllKeys);
BENCHMARK(ListFind)->Apply(AllSizes);
BENCHMARK(MapFind)->Apply(AllKeys);
BENCHMARK(ListIndex)->Apply(AllSizes);
BENCHMARK(SortedArrayInsert)->Args({kNumbered, kMany})->Iterations(1);
BENCHMARK(DictionaryObjectOf)->Apply(AllSizes);
BENCHMARK(MapObjectOf)->Apply(AllSizes);
BENCHMARK(Insert<MakeSequence>)
    ->Name("SequenceInsert")
    ->Args({kNumbered, 10000})
    ->Args({kNumbered, kMany});
BENCHMARK(SequenceFind)->Args({kNumbered, 10000})->Args({kNumbered, kMany});

}  // namespace
}  // namespace perlayer::bench

BENCHMARK_MAIN();

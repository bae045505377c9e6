// Getting a live object from the dictionary, against finding it in a std::unordered_map and adding
// one to a counter in it.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <random>
#include <unordered_map>
#include <vector>

#include "BenchTable.h"
#include "perlayer/object/THold.h"
#include "perlayer/platform/TLayer.h"
#include "perlayer/reclaim/TplGlobalDictionary.h"

namespace perlayer::bench {
namespace {

// IDs from 1 on, in random order.
std::vector<std::string> RandomIds(const benchmark::State& state) {
  std::vector<std::string> ids;
  for (int i = 1; i <= state.range(0); ++i) ids.push_back(std::to_string(i));
  std::shuffle(ids.begin(), ids.end(), std::mt19937_64(7));
  return ids;
}

// One round over all keys is an iteration; what makes the next round the same is not timed.
template <class TRound, class TAgain>
void Rounds(benchmark::State& state, TRound round, TAgain again) {
  round();  // room for second holders, and whatever is made on first use
  again();
  for (auto _ : state) {
    const auto start = std::chrono::steady_clock::now();
    round();
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    state.SetIterationTime(time.count());
    again();
  }
  state.counters["per_key"] = benchmark::Counter(
      static_cast<double>(state.range(0)),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void FindInMap(benchmark::State& state) {
  struct TPlain {
    int counter = 0;
    char bytes[sizeof(TpoBench)];
  };
  std::vector<std::string> keys = RandomIds(state);
  for (std::string& key : keys) key.insert(0, "BENCH");
  std::unordered_map<std::string, TPlain*> map;
  std::vector<std::unique_ptr<TPlain>> objects;
  for (std::int64_t i = 1; i <= state.range(0); ++i) {
    objects.push_back(std::make_unique<TPlain>());
    map.emplace("BENCH" + std::to_string(i), objects.back().get());
  }
  Rounds(
      state,
      [&] {
        for (const std::string& key : keys) ++map.find(key)->second->counter;
      },
      [] {});
}

// The dictionary with that many objects, each held once.
template <class TGet>
void GetLive(benchmark::State& state, TGet get) {
  TLayer layer;
  TplBench* provider = MakeProvider();
  const TOwned<TScopeRetainer> owner = Make<TScopeRetainer>();
  const TOwned<TScopeRetainer> holder = Make<TScopeRetainer>();
  GlobalDictionary()->aiUSEDICTIONARY(true);
  const std::vector<std::string> ids = RandomIds(state);
  std::vector<TplPerObject*> objects;
  for (std::int64_t i = 1; i <= state.range(0); ++i) {
    objects.push_back(provider->NewObject(owner.Get()));
    objects.back()->SetReadOnlyAttrValue("ID", std::to_string(i));
  }
  Rounds(
      state,
      [&] {
        for (const std::string& id : ids) {
          TplPerObject* object = get(holder.Get(), provider, id);
          benchmark::DoNotOptimize(object);
        }
      },
      [&] {
        for (TplPerObject* object : objects) object->Release(holder.Get());
      });
  for (TplPerObject* object : objects) object->Release(owner.Get());
}

void GetFromDictionary(benchmark::State& state) {
  GetLive(state, [](TObject* holder, TplProvider* provider, const std::string& id) {
    return GlobalDictionary()->GetObject(holder, provider, id, true);
  });
}

void GetFromProvider(benchmark::State& state) {
  GetLive(state, [](TObject* holder, TplProvider* provider, const std::string& id) {
    return provider->GetObject(holder, id, true);
  });
}

BENCHMARK(FindInMap)->Arg(10000)->Arg(400000)->UseManualTime();
BENCHMARK(GetFromDictionary)->Arg(10000)->Arg(400000)->UseManualTime();
BENCHMARK(GetFromProvider)->Arg(10000)->Arg(400000)->UseManualTime();

}  // namespace
}  // namespace perlayer::bench

BENCHMARK_MAIN();

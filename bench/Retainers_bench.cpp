// What it costs to let go of an object that many hold, and to take hold of it again.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <unordered_map>
#include <vector>

#include "perlayer/foundation/TplDomainNotifier.h"
#include "perlayer/foundation/TplRetainerList.h"
#include "perlayer/object/THold.h"
#include "perlayer/platform/TLayer.h"

namespace perlayer::bench {
namespace {

class TRetainers {
 public:
  explicit TRetainers(int count, bool shuffled = true) {
    for (int i = 0; i < count; ++i) FRetainers.push_back(Make<TScopeRetainer>());
    for (const auto& retainer : FRetainers) FOrder.push_back(retainer.Get());
    if (shuffled) std::shuffle(FOrder.begin(), FOrder.end(), std::mt19937(7));
  }
  // In the order of making.
  TObject* operator[](int index) const { return FRetainers[static_cast<std::size_t>(index)].Get(); }
  // In a random order, or that of making, around and around.
  TObject* Next() {
    if (FNext == FOrder.size()) FNext = 0;
    return FOrder[FNext++];
  }

 private:
  std::vector<TOwned<TScopeRetainer>> FRetainers;
  std::vector<TObject*> FOrder;
  std::size_t FNext = 0;
};

// The second argument: 0 in the order of AddRef, 1 in a random one, where the retainers themselves
// are no longer in the cache.
void ReleaseAndAddRef(benchmark::State& state) {
  TLayer layer;
  const auto count = static_cast<int>(state.range(0));
  TRetainers retainers(count, state.range(1) != 0);
  auto* object = New<TplDomainNotifier>(nullptr, retainers[0]);
  for (int i = 1; i < count; ++i) object->AddRef(retainers[i]);
  for (auto _ : state) {
    TObject* retainer = retainers.Next();
    object->Release(retainer);
    object->AddRef(retainer);
  }
  for (int i = 0; i < count; ++i) object->Release(retainers[i]);
}

// All of the retainers let go, each once: what remains grows smaller all the time.
void ReleaseAll(benchmark::State& state) {
  TLayer layer;
  const auto count = static_cast<int>(state.range(0));
  TRetainers retainers(count, state.range(1) != 0);
  const TOwned<TScopeRetainer> owner = Make<TScopeRetainer>();
  auto* object = New<TplDomainNotifier>(nullptr, owner.Get());
  for (auto _ : state) {
    state.PauseTiming();
    for (int i = 0; i < count; ++i) object->AddRef(retainers[i]);
    state.ResumeTiming();
    for (int i = 0; i < count; ++i) object->Release(retainers.Next());
  }
  state.counters["per_release"] = benchmark::Counter(
      count, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
  object->Release(owner.Get());
}

// The list by itself, and what it might be instead: a plain array of its entries, which is what is
// fastest while it is short, and a set of the retainers' handles, which knows no order.
class TPlainList {
 public:
  void Add(const TObject* retainer) { FEntries.push_back({&retainer->ClassType(), retainer}); }
  void DeleteObject(const TObject* retainer) {
    const TObjectHandle handle(retainer);
    FEntries.erase(std::find_if(FEntries.begin(), FEntries.end(),
                                [&](const TEntry& entry) { return entry.retainer == handle; }));
  }

 private:
  struct TEntry {
    const TClass* cls;
    TObjectHandle retainer;
  };
  std::vector<TEntry> FEntries;
};

class TPlainSet {
 public:
  void Add(const TObject* retainer) {
    FClasses.emplace(retainer->HandleValue(), &retainer->ClassType());
  }
  void DeleteObject(const TObject* retainer) { FClasses.erase(retainer->HandleValue()); }

 private:
  std::unordered_map<std::uint64_t, const TClass*> FClasses;
};

template <class TList>
void DeleteAndAdd(benchmark::State& state) {
  TLayer layer;
  const auto count = static_cast<int>(state.range(0));
  TRetainers retainers(count);
  TList list;
  for (int i = 0; i < count; ++i) list.Add(retainers[i]);
  for (auto _ : state) {
    TObject* retainer = retainers.Next();
    list.DeleteObject(retainer);
    list.Add(retainer);
  }
}

void Walk(benchmark::State& state) {
  TLayer layer;
  const auto count = static_cast<int>(state.range(0));
  TRetainers retainers(count);
  TplRetainerList list;
  for (int i = 0; i < count; ++i) list.Add(retainers[i]);
  for (auto _ : state) {
    for (int i = 0; i < count; ++i) benchmark::DoNotOptimize(list.Objects(i));
  }
  state.counters["per_retainer"] = benchmark::Counter(
      count, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

BENCHMARK(ReleaseAndAddRef)->ArgsProduct({{10, 100, 1000, 10000, 100000}, {0, 1}});
BENCHMARK(ReleaseAll)->ArgsProduct({{100000}, {0, 1}});
BENCHMARK(DeleteAndAdd<TplRetainerList>)->Arg(10)->Arg(99)->Arg(200)->Arg(100000);
BENCHMARK(DeleteAndAdd<TPlainList>)->Arg(10)->Arg(99)->Arg(200)->Arg(100000);
BENCHMARK(DeleteAndAdd<TPlainSet>)->Arg(10)->Arg(99)->Arg(200)->Arg(100000);
BENCHMARK(Walk)->Arg(100)->Arg(10000)->Arg(100000);

}  // namespace
}  // namespace perlayer::bench

BENCHMARK_MAIN();

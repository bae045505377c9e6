// The cost of an object's life and of a notification walk.

#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <vector>

#include "perlayer/foundation/TplDomainNotifier.h"
#include "perlayer/object/THold.h"
#include "perlayer/platform/TLayer.h"

namespace perlayer::bench {
namespace {

// A plain struct of the size of the domain object beside it.
struct TPlain {
  char bytes[sizeof(TplDomainNotifier)];
};

void PlainStruct(benchmark::State& state) {
  for (auto _ : state) {
    auto* plain = new TPlain;
    benchmark::DoNotOptimize(plain);
    benchmark::ClobberMemory();
    delete plain;
  }
}

void DomainObject(benchmark::State& state) {
  TLayer layer;
  const TOwned<TScopeRetainer> retainer = Make<TScopeRetainer>();
  for (auto _ : state) {
    auto* object = New<TplDomainNotifier>(nullptr, retainer.Get());
    benchmark::DoNotOptimize(object);
    object->Release(retainer.Get());
  }
}

// One object held by `fan-in` others, each of which hears of it.
void NotificationWalk(benchmark::State& state) {
  TLayer layer;
  const auto fanIn = static_cast<int>(state.range(0));
  const TOwned<TScopeRetainer> root = Make<TScopeRetainer>();
  std::vector<TplDomainNotifier*> retainers;
  for (int i = 0; i < fanIn; ++i) {
    retainers.push_back(New<TplDomainNotifier>(nullptr, root.Get()));
  }
  auto* object = New<TplDomainNotifier>(nullptr, root.Get());
  for (TplDomainNotifier* retainer : retainers) object->AddRef(retainer);
  for (auto _ : state) {
    object->CallNotifyAction(object, TIBaseObjectAction::paModified, nullptr);
  }
  state.counters["per_retainer"] = benchmark::Counter(
      fanIn, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
  for (TplDomainNotifier* retainer : retainers) object->Release(retainer);
  object->Release(root.Get());
  for (TplDomainNotifier* retainer : retainers) retainer->Release(root.Get());
}

// Each object is held by the next, so that a walk from the first goes through all of them.
void NotificationChain(benchmark::State& state) {
  TLayer layer;
  const auto links = static_cast<std::size_t>(state.range(0));
  const TOwned<TScopeRetainer> root = Make<TScopeRetainer>();
  std::vector<TplDomainNotifier*> chain;
  for (std::size_t i = 0; i < links; ++i) {
    chain.push_back(New<TplDomainNotifier>(nullptr, root.Get()));
    if (i > 0) chain[i - 1]->AddRef(chain[i]);
  }
  for (auto _ : state) {
    chain[0]->CallNotifyAction(chain[0], TIBaseObjectAction::paModified, nullptr);
  }
  state.counters["per_link"] =
      benchmark::Counter(static_cast<double>(links), benchmark::Counter::kIsIterationInvariantRate |
                                                         benchmark::Counter::kInvert);
  for (std::size_t i = 1; i < links; ++i) chain[i - 1]->Release(chain[i]);
  for (TplDomainNotifier* link : chain) link->Release(root.Get());
}

BENCHMARK(PlainStruct);
BENCHMARK(DomainObject);
BENCHMARK(NotificationWalk)->RangeMultiplier(10)->Range(10, 100000);
BENCHMARK(NotificationChain)->RangeMultiplier(10)->Range(10, 10000);

}  // namespace
}  // namespace perlayer::bench

BENCHMARK_MAIN();

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

BENCHMARK(PlainStruct);
BENCHMARK(DomainObject);
BENCHMARK(NotificationWalk)->RangeMultiplier(10)->Range(10, 10000);

}  // namespace
}  // namespace perlayer::bench

BENCHMARK_MAIN();

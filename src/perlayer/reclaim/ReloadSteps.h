#pragma once
// What the reloads of objects and of lists have in common. Private to the source files of
// TplGlobalDictionary.

#include "perlayer/foundation/FoundationState.h"
#include "perlayer/provider/TplCachableProvider.h"
#include "perlayer/reclaim/TplGlobalDictionary.h"

namespace perlayer {

// For the length of a reload: what is fetched goes past cache, map and listeners.
class TPastEverybody {
 public:
  explicit TPastEverybody(TplProvider* provider)
      : FProvider(provider), FNotifications(aiNotificationsEnabled()) {
    if (auto* cachable = As<TplCachableProvider>(provider)) {
      FCache = cachable->aiCacheEnabled();
      cachable->aiCacheEnabled(false);
    }
    aiNotificationsEnabled(false);
  }
  ~TPastEverybody() {
    if (auto* cachable = FProvider.GetAs<TplCachableProvider>()) cachable->aiCacheEnabled(FCache);
    aiNotificationsEnabled(FNotifications);
  }
  TPastEverybody(const TPastEverybody&) = delete;
  TPastEverybody& operator=(const TPastEverybody&) = delete;

 private:
  const TObjectHandle FProvider;
  const bool FNotifications;
  bool FCache = false;
  const TUseDictionary FOff{false};
};

// Fetches with the provider's objects out of database notification: a twin never takes part in it.
template <class TFetch>
auto Unregistered(TplProvider* provider, TFetch&& fetch) {
  const TAlive alive(provider);
  const bool notify = provider->GetRegisterNotify();
  provider->SetRegisterNotify(false);
  return TryFinally(fetch, [&] {
    if (alive) provider->SetRegisterNotify(notify);
  });
}

}  // namespace perlayer

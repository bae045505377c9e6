#include "perlayer/provider/TplProviderList.h"

#include "perlayer/corekit/ILog.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TLayer.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/TcmpClassMap.h"
#include "perlayer/provider/TplCachableProvider.h"
#include "perlayer/provider/TplProvider.h"
#include "perlayer/reclaim/TIPerLayerStatistics.h"

namespace perlayer {

TplProviderList* TplProviderList::Instance() {
  return TLayer::ObjectPart<TplProviderList>(TLayerPart::providerList);
}

TplProvider* TplProviderList::GetProvider(int AIndex) const {
  return As<TplProvider>(Items(AIndex));
}

TplProvider* TplProviderList::GetProviderFor(std::string_view AClassName) const {
  const std::string name = UpperCase(AClassName);
  for (int i = 0; i < Count(); ++i) {
    TplProvider* provider = GetProvider(i);
    if (provider != nullptr && provider->CreatesClass(name)) return provider;
  }
  return nullptr;
}

void TplProviderList::ClearCache() {
  for (int i = 0; i < Count(); ++i) {
    if (auto* provider = As<TplCachableProvider>(GetProvider(i))) provider->ClearCache(0);
  }
}

void TplProviderList::FinalizeProviders() {
  for (int i = 0; i < Count(); ++i) {
    if (TplProvider* provider = GetProvider(i)) provider->Finalize();
  }
}

void TplProviderList::FreeProviders() {
  PerLayerStatistics()->BeforeDestroyingProviders();
  for (int i = 0; i < Count(); ++i) {
    TplProvider* provider = GetProvider(i);
    if (provider == nullptr) continue;
    if (provider->RefCount() != 1) {
      ILog(Format("Finalization: RefCount of %s is %d!", provider->ClassName(),
                  provider->RefCount()));
    }
    provider->Release(provider->ClassMapAsRetainer());
  }
}

TplProvider* FindProvider(const TClass& cls) {
  const TplProviderList* list = TplProviderList::Instance();
  for (int i = 0; i < list->Count(); ++i) {
    TplProvider* provider = list->GetProvider(i);
    if (provider != nullptr && &provider->ClassType() == &cls) return provider;
  }
  return nullptr;
}

}  // namespace perlayer

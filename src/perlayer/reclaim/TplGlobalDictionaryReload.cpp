// TplGlobalDictionary: what has been fetched becomes what is in memory.

#include "perlayer/foundation/FoundationState.h"
#include "perlayer/object/TplPerObject.h"
#include "perlayer/provider/TplCachableProvider.h"
#include "perlayer/reclaim/TIPerLayerStatistics.h"
#include "perlayer/reclaim/TplGlobalDictionary.h"

namespace perlayer {

namespace {

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

}  // namespace

// --- one fetched object ---

void TplGlobalDictionary::ConsultDictionary(TObject* ARetainer, TplPerObject*& AObject) {
  if (!FUSEDICTIONARY || AObject == nullptr || AObject->aiProvider() == nullptr) return;
  TplPerObject* entry = TakeObject(AObject->aiProvider(), AObject->GetGID());
  if (entry == nullptr) {
    AddPerObject(AObject->aiProvider(), AObject, ARetainer);
  } else {
    AObject = Merge(entry, AObject, ARetainer);
  }
}

// The twin's values become the entry's and the twin goes; the answer, which AHolder then holds, is
// the entry. It is held before the twin goes, which may have been the last to hold what holds it.
TplPerObject* TplGlobalDictionary::Merge(TplPerObject* AEntry, TplPerObject* ATwin,
                                         TObject* AHolder) {
  const TAlive alive(AEntry);
  {
    TIPerLayerStatistics* statistics = PerLayerStatistics();
    const bool events = statistics->aiEnableEvents();
    statistics->aiEnableEvents(false);
    TryFinally(
        [&] {
          // Only here and at the end: what raises in between leaves the switch off, and whoever
          // catches it knows that rows and objects may differ.
          SetUSEDICTIONARY(false);
          AEntry->AssignFieldswithReloadFlag(ATwin, true);
          if (alive && AEntry != ATwin) {
            AEntry->AddRef(AHolder);
            try {
              ATwin->Release(AHolder);
            } catch (...) {
              AEntry->Release(AHolder);
              throw;
            }
          }
          SetUSEDICTIONARY(true);
        },
        [&] { statistics->aiEnableEvents(events); });
  }
  if (AEntry == ATwin) return AEntry;
  if (!alive) {
    AddPerObject(ATwin->aiProvider(), ATwin, AHolder);
    return ATwin;
  }
  // What the twin did as it went may have put another object there.
  TplPerObject* live = TakeObject(AEntry->aiProvider(), AEntry->GetGID());
  if (live == nullptr || live == AEntry) return AEntry;
  live->AddRef(AHolder);
  AEntry->Release(AHolder);
  return live;
}

void TplGlobalDictionary::AssignFieldValuesToObjectInDictionary(TplPerObject* ATwin) {
  TplPerObject* entry = TakeObject(ATwin->aiProvider(), ATwin->GetGID());
  if (entry == nullptr) return;
  const TAlive alive(entry);
  if (!entry->aiNewObject() && entry->GetModified()) entry->UnLock(entry, entry->GetLockGroup());
  if (alive) entry->AssignFieldswithReloadFlag(ATwin, false);
}

// --- reload ---

void TplGlobalDictionary::Reload(TObject* AObject, const std::string& ASpec) {
  auto* object = As<TplPerObject>(AObject);
  if (object == nullptr) throw Exception("TplGlobalDictionary.Reload: Class not valid!");
  const TAlive alive(object);
  ReloadPerObject(object, ASpec);
  if (alive) object->CallNotifyAction(object, TIBaseObjectAction::paReload, nullptr);
}

void TplGlobalDictionary::ReloadPerObject(TplPerObject* AObject, const std::string& ASpec) {
  TplProvider* provider = AObject->aiProvider();
  if (provider == nullptr) return;
  const TAlive alive(AObject);
  {
    const bool oldUse = FUSEDICTIONARY;
    const TPastEverybody past(provider);
    // Another object may be the row's live one.
    TplPerObject* target = oldUse ? TakeObject(provider, AObject->GetGID()) : AObject;
    TplPerObject* twin = nullptr;
    TryFinally(
        [&] {
          if (target != nullptr) {
            const TAlive targetAlive(target);
            twin = Unregistered(provider, [&] {
              return ASpec.empty() ? provider->GetObject(this, target->GetGID(), !oldUse)
                                   : provider->FetchObject(this, ASpec, !oldUse);
            });
            if (targetAlive) target->TakeReloaded(twin, oldUse);
          }
          if (alive) AObject->SetTimeStampAfterGetObject();
        },
        [&] {
          if (twin != nullptr) twin->Release(this);
        });
  }
  if (alive) AObject->CancelAndRefreshDataSet();
}

}  // namespace perlayer

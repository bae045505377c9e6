// TplGlobalDictionary: an object is read anew.

#include "perlayer/list/TPlBoList.h"
#include "perlayer/reclaim/ReloadSteps.h"
#include "perlayer/reclaim/TplGlobalDictionary.h"

namespace perlayer {

void TplGlobalDictionary::AssignFieldValuesToObjectInDictionary(TplPerObject* ATwin) {
  TplPerObject* entry = TakeObject(ATwin->aiProvider(), ATwin->GetGID());
  if (entry == nullptr) return;
  const TAlive alive(entry);
  if (!entry->aiNewObject() && entry->GetModified()) entry->UnLock(entry, entry->GetLockGroup());
  if (alive) entry->AssignFieldswithReloadFlag(ATwin, false);
  // It is not locked any more: the edit is over.
  if (alive && !entry->aiNewObject()) entry->TakeAsLoaded();
}

// --- reload ---

void TplGlobalDictionary::Reload(TObject* AObject, const std::string& ASpec) {
  auto* object = As<TplPerObject>(AObject);
  auto* list = As<TPlBoList>(AObject);
  const TAlive alive(AObject);
  if (object != nullptr) {
    ReloadPerObject(object, ASpec);
  } else if (list != nullptr) {
    ReloadBoList(list);
  } else {
    throw Exception("TplGlobalDictionary.Reload: Class not valid!");
  }
  if (!alive) return;
  auto* target = static_cast<TplDomainObject*>(AObject);
  target->CallNotifyAction(target, TIBaseObjectAction::paReload, nullptr);
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

#include "perlayer/reclaim/TIPerLayerSettings.h"

#include "perlayer/corekit/ISystemParameters.h"
#include "perlayer/object/TplPerObject.h"
#include "perlayer/platform/TApplication.h"
#include "perlayer/provider/TplProvider.h"
#include "perlayer/provider/TplProviderList.h"

namespace perlayer {

void TIPerLayerSettings::Create() {
  FProviderList = New<TList>();
  FNewlyCreatedCachableObjects = New<TList>();
  // Compared as they stand: "True" does not turn them on.
  FUseInternalSubGraphOptimization = ParamValue("GRAPHOPTIMIZATION") == "TRUE";
  FLimitedOne2ManyRelation = ParamValue("LIMITEDONE2MANY") == "TRUE";
}

void TIPerLayerSettings::Destroy() {
  FreeAndNil(FNewlyCreatedCachableObjects);
  FreeAndNil(FProviderList);
  TObject::Destroy();
}

void TIPerLayerSettings::SetOptimizationSet(TIProviderOptimizationSet ASet) {
  if (ASet == FOptimizationSet) return;
  FOptimizationSet = ASet;
  for (int i = 0; i < FProviderList->Count(); ++i) {
    if (auto* provider = As<TplProvider>(FProviderList->Items(i))) {
      provider->SetOptimizationSet(ASet);
    }
  }
}

bool TIPerLayerSettings::GetUIExists() const {
  if (FUIExists == TUIExists::ueNotAssigned) return Application()->MainForm() != nullptr;
  return FUIExists == TUIExists::ueYes;
}

void TIPerLayerSettings::ShowOnProgress(const std::string& AMessage, int AProgress, bool& ACancel,
                                        bool AShow, bool ACanCancel, int AMax) {
  if (FOnProgress) FOnProgress(this, AMessage, AProgress, AMax, AShow, ACanCancel, ACancel);
}

void TIPerLayerSettings::OnCommit(TList* AList) {
  constexpr int kAhead = 8;  // objects of a large transaction have left the nearest cache
  for (int i = 0; i < FProviderList->Count(); ++i) {
    if (auto* provider = As<TplProvider>(FProviderList->Items(i))) provider->OnCommit();
  }
  // Objects that enter the list on the way are not told: the count is the one from before. What an
  // object does may shorten the list.
  const int count = AList->Count();
  for (int i = 0; i < count && i < AList->Count(); ++i) {
    AList->Prefetch(i + kAhead);
    auto* object = As<TplPerObject>(AList->Items(i));
    if (object == nullptr) continue;
    const TAlive alive(object);
    object->OnCommit();
    if (alive && object->GetModified()) object->SaveData();
  }
}

void TIPerLayerSettings::OnRollback(TList* AList) {
  for (int i = 0; i < FProviderList->Count(); ++i) {
    if (auto* provider = As<TplProvider>(FProviderList->Items(i))) provider->OnRollback();
  }
  const int count = AList->Count();
  for (int i = 0; i < count && i < AList->Count(); ++i) {
    if (auto* object = As<TplPerObject>(AList->Items(i))) object->OnRollback();
  }
}

void TIPerLayerSettings::AddNewlyCreatedCachableObject(TplPerObject* AObject) {
  FNewlyCreatedCachableObjects->Add(AObject);
}

void TIPerLayerSettings::DiposeNewlyCreatedCachableObjects() {
  for (int i = 0; i < FNewlyCreatedCachableObjects->Count(); ++i) {
    if (auto* object = As<TplPerObject>(FNewlyCreatedCachableObjects->Items(i))) {
      object->DiposeNewlyCreatedMe();
    }
  }
  FNewlyCreatedCachableObjects->Clear();
}

void TIPerLayerSettings::ClearCache() { TplProvider::GetProviderList()->ClearCache(); }

}  // namespace perlayer

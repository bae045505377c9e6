#pragma once
// TIPerLayerSettings: the switches of the layer, reached through PerLayerSettings(). The system
// parameters "GRAPHOPTIMIZATION" and "LIMITEDONE2MANY" are read once, when the object is made.
// Main thread only.

#include <cstdint>
#include <string>

#include "perlayer/platform/TDelegate.h"
#include "perlayer/platform/TEnumSet.h"
#include "perlayer/platform/TLayer.h"
#include "perlayer/platform/TList.h"

namespace perlayer {

class TplPerObject;

// Which statements are narrowed to the columns that changed.
enum class TIProviderOptimization : std::uint8_t { poSQLInsert, poSQLModify };
using TIProviderOptimizationSet = TEnumSet<TIProviderOptimization>;

enum class TUIExists : std::uint8_t { ueNotAssigned, ueYes, ueNo };

using TIOnProgress = TDelegate<void(TObject* Sender, const std::string& AMessage, int AProgress,
                                    int AMax, bool AShow, bool ACanCancel, bool& ACancel)>;

class TIPerLayerSettings : public TObject {
  TCLASS(TIPerLayerSettings, TObject)
 public:
  void Create();
  void Destroy() override;

  TIProviderOptimizationSet aiOptimization() const { return FOptimizationSet; }
  void aiOptimization(TIProviderOptimizationSet set) { SetOptimizationSet(set); }
  // A changed set is given to every provider.
  void SetOptimizationSet(TIProviderOptimizationSet ASet);

  // Whether there is a user to talk to. Until it is set, an application with a main form has one.
  bool GetUIExists() const;
  void SetUIExists(bool exists) { FUIExists = exists ? TUIExists::ueYes : TUIExists::ueNo; }
  bool aiUIExists() const { return GetUIExists(); }
  void aiUIExists(bool exists) { SetUIExists(exists); }

  // Reports progress to the application; ACancel is what it answers.
  void ShowOnProgress(const std::string& AMessage, int AProgress, bool& ACancel, bool AShow,
                      bool ACanCancel, int AMax);

  // Before the end of a transaction, whose objects are in AList: every provider hears of it, then
  // every object; on commit an object that is modified after that is saved.
  void OnCommit(TList* AList);
  void OnRollback(TList* AList);

  // Objects made for a cache that must not stay when the making fails.
  void AddNewlyCreatedCachableObject(TplPerObject* AObject);
  void DiposeNewlyCreatedCachableObjects();
  // Empties the caches of all providers that have one.
  void ClearCache();

  // Every provider enters itself when it is made.
  TList* ProviderList() const { return FProviderList; }

  bool aiCacheEnabled() const { return FCacheEnabled; }
  void aiCacheEnabled(bool on) { FCacheEnabled = on; }
  bool aiReleaseLog() const { return FReleaseLog; }
  void aiReleaseLog(bool on) { FReleaseLog = on; }
  bool aiCollectGarbageOnExit() const { return FCollectGarbageOnExit; }
  void aiCollectGarbageOnExit(bool on) { FCollectGarbageOnExit = on; }
  int aiCriticalReleaseTime() const { return FCriticalReleaseTime; }  // milliseconds
  void aiCriticalReleaseTime(int ms) { FCriticalReleaseTime = ms; }
  int aiCriticalReleasePause() const { return FCriticalReleasePause; }  // milliseconds
  void aiCriticalReleasePause(int ms) { FCriticalReleasePause = ms; }
  bool aiUseInternalSubGraphOptimization() const { return FUseInternalSubGraphOptimization; }
  void aiUseInternalSubGraphOptimization(bool on) { FUseInternalSubGraphOptimization = on; }
  bool aiLimitedOne2ManyRelation() const { return FLimitedOne2ManyRelation; }
  void aiLimitedOne2ManyRelation(bool on) { FLimitedOne2ManyRelation = on; }
  bool aiRunningInDLL() const { return FRunningInDll; }
  void aiRunningInDLL(bool on) { FRunningInDll = on; }

  const TNotifyEvent& aiOnStartTransactionEvent() const { return FStartTransaction; }
  void aiOnStartTransactionEvent(TNotifyEvent event) { FStartTransaction = std::move(event); }
  const TNotifyEvent& aiOnCommitTransactionEvent() const { return FCommitTransaction; }
  void aiOnCommitTransactionEvent(TNotifyEvent event) { FCommitTransaction = std::move(event); }
  const TNotifyEvent& aiOnRollbackTransactionEvent() const { return FRollbackTransaction; }
  void aiOnRollbackTransactionEvent(TNotifyEvent event) { FRollbackTransaction = std::move(event); }
  const TIOnProgress& aiOnProgress() const { return FOnProgress; }
  void aiOnProgress(TIOnProgress event) { FOnProgress = std::move(event); }

 private:
  TIProviderOptimizationSet FOptimizationSet = {TIProviderOptimization::poSQLModify};
  bool FCacheEnabled = true;
  TList* FProviderList = nullptr;                 // owned; its items are not
  TList* FNewlyCreatedCachableObjects = nullptr;  // owned; its items are not
  bool FReleaseLog = false;
  TNotifyEvent FStartTransaction;
  TNotifyEvent FCommitTransaction;
  TNotifyEvent FRollbackTransaction;
  TUIExists FUIExists = TUIExists::ueNotAssigned;
  TIOnProgress FOnProgress;
  bool FCollectGarbageOnExit = true;
  int FCriticalReleaseTime = 500;
  int FCriticalReleasePause = 10000;
  bool FUseInternalSubGraphOptimization = false;
  bool FLimitedOne2ManyRelation = false;
  bool FRunningInDll = false;
};

// The one instance, made on first call.
inline TIPerLayerSettings* PerLayerSettings() {
  return TLayer::ObjectPart<TIPerLayerSettings>(TLayerPart::settings);
}

}  // namespace perlayer

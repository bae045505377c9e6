// TplGlobalDictionary: lists of objects, read anew and told from memory.

#include <string_view>
#include <unordered_map>

#include "perlayer/list/TPlBoList.h"
#include "perlayer/platform/Format.h"
#include "perlayer/reclaim/ReloadSteps.h"
#include "perlayer/reclaim/TIPerLayerSettings.h"
#include "perlayer/reclaim/TplGlobalDictionary.h"

namespace perlayer {

namespace {

// Objects by ID, the first of each; with or without those that are marked deleted.
class TObjectsById {
 public:
  TObjectsById(const TPlBoList* list, bool marked) {
    FObjects.reserve(static_cast<std::size_t>(list->Count()));
    for (TplPerObject* object : *list) {
      if (object != nullptr && (marked || !object->aiObjectMarkedDeleted())) Add(object);
    }
  }
  void Add(TplPerObject* object) { FObjects.emplace(object->GetGID(), object); }
  TplPerObject* Find(const std::string& id) const {
    const auto found = FObjects.find(id);
    return found == FObjects.end() ? nullptr : found->second.GetAs<TplPerObject>();
  }

 private:
  std::unordered_map<std::string, TObjectHandle> FObjects;
};

// The condition that finds the members of a list that was never fetched.
std::string ConditionOfMembers(TplProvider* provider, const TPlBoList* list) {
  std::string condition = provider->aiTableOwner() + "." + provider->GetTableName() + "." +
                          provider->GetIDAttrName() + " in (";
  const char* separator = "";
  for (TplPerObject* member : *list) {
    if (member == nullptr) continue;
    condition.append(separator).append(member->GetGID());
    separator = ", ";
  }
  return condition + ")";
}

}  // namespace

// --- reload ---

void TplGlobalDictionary::ReloadBoList(TPlBoList* AList) {
  TplProvider* provider = AList->aiProvider();
  if (provider == nullptr || (AList->aiFetchSpec().empty() && AList->Count() == 0)) return;
  const TAlive alive(AList);
  bool changed = false;
  {
    const bool oldUse = FUSEDICTIONARY;
    const bool notify = provider->GetRegisterNotify();
    const TPastEverybody past(provider);
    const std::string condition =
        AList->aiFetchSpec().empty() ? ConditionOfMembers(provider, AList) : AList->aiFetchSpec();
    TPlBoList* twins = Unregistered(
        provider, [&] { return provider->FetchObjectList(this, condition, "", !oldUse); });
    bool done = false;
    TryFinally(
        [&] {
          if (alive) changed = DropMembers(AList, twins, oldUse);
          if (alive) changed = TakeTwins(AList, twins, oldUse, notify) || changed;
          done = true;
        },
        [&] {
          // One that was entered and has not come into the list leaves the map as it ends.
          const TUseDictionary use(oldUse && !done);
          twins->Release(this);
        });
  }
  if (!alive) return;
  if (changed) AList->CallNotifyAction(AList, TIBaseObjectAction::paModified, nullptr);
  if (alive) AList->CancelAndRefreshDataSet();
}

// Takes those out of the list whose rows are gone, or are not the list's any more.
bool TplGlobalDictionary::DropMembers(TPlBoList* AList, const TPlBoList* ATwins, bool AUse) {
  const TAlive alive(AList);
  const TObjectsById twins(ATwins, false);
  bool changed = false;
  for (int i = 0; alive && i < AList->Count();) {
    TplPerObject* member = AList->Get(i);
    if (member != nullptr && twins.Find(member->GetGID()) != nullptr) {
      ++i;
      continue;
    }
    const TUseDictionary use(AUse);
    const int count = AList->Count();
    AList->Delete(i);
    if (alive && AList->Count() == count) ++i;  // somebody has put another one there
    changed = true;
  }
  return changed;
}

// Copies what was fetched into the members, and adds what is new to the list.
bool TplGlobalDictionary::TakeTwins(TPlBoList* AList, const TPlBoList* ATwins, bool AUse,
                                    bool ANotify) {
  const TAlive alive(AList);
  TObjectsById members(AList, true);
  bool changed = false;
  for (int i = 0; alive && i < ATwins->Count(); ++i) {
    TplPerObject* twin = ATwins->Get(i);
    if (twin == nullptr) continue;
    const TUseDictionary use(AUse);
    if (TplPerObject* member = members.Find(twin->GetGID())) {
      const TAlive memberAlive(member);
      changed = member->AssignFieldswithReloadFlag(twin, false) || changed;
      if (!memberAlive) continue;
      member->TakeAsLoaded();
      if (changed) member->SetNeedToRefresh(false);
      if (memberAlive) member->Refresh();
      continue;
    }
    changed = true;
    if (!AUse) {
      members.Add(twin);
      AList->Add(twin);
      continue;
    }
    twin->AddRef(this);
    TryFinally(
        [&] {
          AssignFieldValuesToObjectInDictionary(twin);
          ConsultDictionary(this, twin);
          twin->aiRegisterNotify(ANotify);
          twin->SetNotify(true);
          members.Add(twin);
          if (alive) AList->Add(twin);
        },
        [&] { twin->Release(this); });
  }
  return changed;
}

// --- relations ---

TPlBoList* TplGlobalDictionary::GetOne2ManyRelation(
    TPlBoList* AList, TplPerObject* AOwner, TPlBoList*& AResult, const std::string& AChildAttr,
    TplProvider* AProvider, const std::string& AOwnerAttr, const std::string& AOrder) {
  if (PerLayerSettings()->aiLimitedOne2ManyRelation() && AList != nullptr) {
    return GetOne2ManyRelationOptimized(AList, AOwner, AResult, AChildAttr, AProvider, AOwnerAttr,
                                        AOrder);
  }
  return GetOne2ManyRelationOld(AOwner, AResult, AChildAttr, AProvider, AOwnerAttr, AOrder);
}

TPlBoList* TplGlobalDictionary::GetOne2ManyRelationOptimized(
    TPlBoList* AList, TplPerObject* AOwner, TPlBoList*& AResult, const std::string& AChildAttr,
    TplProvider* AProvider, const std::string&, const std::string& AOrder) {
  if (AResult == nullptr) AResult = AProvider->GetObjectList(AOwner);
  const bool wasEmpty = AResult->IsEmpty();
  if (AList == nullptr) {
    throw Exception(
        "TplPerObject.GetOne2ManyRelationOptimized: Result relation list not assigned!");
  }
  TplProvider* provider = AList->aiProvider();
  if (provider == nullptr || !provider->InheritsFrom(AProvider->ClassType())) {
    throw Exception(
        Format("TplPerObject.GetOne2ManyRelationOptimized: Wrong provider: List provider is %s, "
               "argument provider is %s!",
               provider == nullptr ? "nil" : provider->ClassName(), AProvider->ClassName()));
  }
  const std::string value = AOwner->GetAttrValue(AChildAttr);
  for (TplPerObject* member : *AList) {
    if (member == nullptr || member->GetAttrValue(AChildAttr) != value) continue;
    if (wasEmpty) {
      AResult->Add(member);
    } else {
      AResult->AddToSet(member);
    }
  }
  AResult->OrderBy(AOrder);
  return AResult;
}

TPlBoList* TplGlobalDictionary::GetOne2ManyRelationOld(TplPerObject* AOwner, TPlBoList*& AResult,
                                                       const std::string& AChildAttr,
                                                       TplProvider* AProvider,
                                                       const std::string& AOwnerAttr,
                                                       const std::string& AOrder) {
  // Keeps the members of the result alive while it is empty.
  TPlBoList* kept = AProvider->GetObjectList(AProvider);
  TryFinally(
      [&] {
        if (AResult == nullptr) {
          AResult = AProvider->GetObjectList(AOwner);
        } else {
          kept->Merge(AResult);
          AResult->Clear();
        }
        const std::string value = AOwner->GetAttrValue(AOwnerAttr);
        if (value.empty()) return;
        // Copied first: what a member is asked for may change the dictionary.
        const TOwned<TList> objects = Make<TList>();
        const int first = GetFirstObjectIndexForProvider(AProvider);
        for (int i = first; first >= 0 && i < Count(); ++i) {
          auto* object = ObjectHandle(i).GetAs<TplPerObject>();
          if (object == nullptr) continue;
          if (!object->aiProvider()->InheritsFrom(AProvider->ClassType())) break;
          objects->Add(object);
        }
        for (TObject* item : *objects) {
          auto* object = static_cast<TplPerObject*>(item);
          if (object != nullptr && object->GetAttrValue(AChildAttr) == value) AResult->Add(object);
        }
        AResult->OrderBy(AOrder);
      },
      [&] { kept->Release(AProvider); });
  return AResult;
}

}  // namespace perlayer

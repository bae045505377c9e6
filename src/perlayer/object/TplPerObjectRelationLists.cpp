// TplPerObject: relations to many objects, and lists made of lists in memory.

#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "perlayer/list/TPlBoList.h"
#include "perlayer/list/TplBOListWithSubClass.h"
#include "perlayer/object/TplPerObject.h"
#include "perlayer/provider/TplProvider.h"

namespace perlayer {

void TplPerObject::CheckRelationList(TplBaseObjectPointer& AList, const std::string& AForeignAttr,
                                     const std::string& AOwnAttr) {
  auto* list = static_cast<TPlBoList*>(AList.Object());
  if (list == nullptr || list->IsEmpty() || list->Get(0) == nullptr) return;
  if (list->Get(0)->GetAttrValue(AForeignAttr) != GetAttrValue(AOwnAttr)) LetGo(AList);
}

namespace {
std::string RelationCondition(const std::string& attribute, const std::string& value,
                              const std::string& where) {
  return attribute + "='" + value + "'" + (where.empty() ? "" : " AND " + where);
}
}  // namespace

TPlBoList* TplPerObject::GetOne2ManyRelation(TplMember<TPlBoList>& AList,
                                             const std::string& AForeignAttr,
                                             TplProvider* AProvider, const std::string& AOwnAttr,
                                             const std::string& AWhere, const std::string& AOrder) {
  const TAlive alive(this);
  TestRegistered(AList);
  CheckRelationList(AList, AForeignAttr, AOwnAttr);
  if (!alive) return nullptr;
  const std::string ownValue = GetAttrValue(AOwnAttr);
  const std::string condition = RelationCondition(AForeignAttr, ownValue, AWhere);
  if (AList == nullptr) {
    if (FNewObject && ownValue.find('-') != ownValue.npos) {
      Keep(AList, AProvider->GetObjectList(this));  // nobody's row refers to a temporary key
    } else {
      HoldingItself(
          [&] { Keep(AList, AProvider->FetchObjectList(this, condition, AOrder, true)); });
    }
  }
  if (!alive || AList == nullptr) return nullptr;
  AList->SetFetchSpec(condition);
  if (AList->GetNeedToRefresh()) AList->Reload();
  return alive ? AList.Get() : nullptr;
}

TplBOListWithSubClass* TplPerObject::GetOne2ManyRelation(TplMember<TplBOListWithSubClass>& AList,
                                                         const std::string& AForeignAttr,
                                                         TplProvider* AProvider,
                                                         const std::string& AOwnAttr,
                                                         const std::string& AWhere,
                                                         const std::string& AOrder) {
  const TAlive alive(this);
  CheckRelationList(AList, AForeignAttr, AOwnAttr);
  if (!alive) return nullptr;
  if (AList == nullptr) {
    const std::string condition = RelationCondition(AForeignAttr, GetAttrValue(AOwnAttr), AWhere);
    HoldingItself([&] {
      Keep(AList, AProvider->FetchObjectListWithSubClass(this, condition, AOrder, true));
    });
  }
  if (alive && AList != nullptr && AList->GetNeedToRefresh()) AList->Reload();
  return alive ? AList.Get() : nullptr;
}

void TplPerObject::SetOne2ManyRelation(TplMember<TPlBoList>& AList, TPlBoList* ASource,
                                       TplProvider* AProvider) {
  if (ASource == nullptr) return LetGo(AList);
  if (ASource == AList) return;
  const TAlive alive(this);
  const TAlive sourceAlive(ASource);
  if (AList == nullptr) {
    Keep(AList, AProvider->GetObjectList(this));
  } else {
    AList->Clear();
  }
  for (int i = 0; alive && sourceAlive && AList != nullptr && i < ASource->Count(); ++i) {
    if (TplPerObject* member = ASource->Get(i)) AList->Add(member);
  }
}

void TplPerObject::ReCheckAnDeleteUnrelatedFromRelationList(TplMember<TPlBoList>& AList,
                                                            const std::string& AForeignAttr,
                                                            const std::string& AOwnAttr) {
  const TAlive alive(this);
  const TAlive listAlive(AList.Get());
  for (int i = AList == nullptr ? -1 : AList->Count() - 1; i >= 0; --i) {
    TPlBoList* list = AList;
    if (i >= list->Count() || list->Get(i) == nullptr) continue;
    if (list->Get(i)->GetAttrValue(AForeignAttr) != GetAttrValue(AOwnAttr)) list->Delete(i);
    if (!alive || !listAlive || AList == nullptr) return;
  }
}

namespace {

// Adds objects to a list, each ID once: one of an ID that an undeleted member has is left out.
class TAddByID {
 public:
  TAddByID(TPlBoList* list, std::string idAttr) : FList(list), FIDAttr(std::move(idAttr)) {
    for (TplPerObject* member : *list) Know(member);
  }
  void Add(TplPerObject* object) {
    if (FIDs.count(object->GetAttrValue(FIDAttr)) != 0) return;
    const TAlive alive(object);
    FList->Add(object);
    if (alive) Know(object);
  }

 private:
  void Know(TplPerObject* member) {
    if (member != nullptr && !member->aiObjectMarkedDeleted()) {
      FIDs.insert(member->GetAttrValue(FIDAttr));
    }
  }
  TPlBoList* const FList;
  const std::string FIDAttr;
  std::unordered_set<std::string> FIDs;
};

}  // namespace

void TplPerObject::GetSubObjectList(TPlBoList* ALinkList, TPlBoList* ASource,
                                    const std::string& AOwnAttr, const std::string& AFetchSpec,
                                    TplMember<TPlBoList>& AResult) {
  if (ASource == nullptr || ASource->IsEmpty() || ASource->Get(0) == nullptr) return;
  const std::string myID = FProvider->GetIDAttrName();
  TplProvider* const itsProvider = ASource->Get(0)->aiProvider();
  const std::string itsID = itsProvider->GetIDAttrName();
  // Chosen before anything is added: adding tells listeners, who may change what is walked here.
  std::vector<TObjectHandle> chosen;
  if (ALinkList == nullptr) {
    const std::string ownValue = GetAttrValue(AOwnAttr.empty() ? myID : AOwnAttr);
    for (TplPerObject* object : *ASource) {
      if (object != nullptr && object->GetAttrValue(myID) == ownValue) chosen.emplace_back(object);
    }
  } else {
    std::unordered_map<std::string, std::vector<TObjectHandle>> byID;
    for (TplPerObject* object : *ASource) {
      if (object != nullptr) byID[object->GetAttrValue(itsID)].emplace_back(object);
    }
    const std::string ownValue = GetAttrValue(myID);
    for (TplPerObject* link : *ALinkList) {
      if (link == nullptr || link->GetAttrValue(myID) != ownValue) continue;
      const auto linked = byID.find(link->GetAttrValue(itsID));
      if (linked == byID.end()) continue;
      chosen.insert(chosen.end(), linked->second.begin(), linked->second.end());
    }
  }
  if (AResult == nullptr) {
    TplProvider* const provider = ASource->aiProvider();
    Keep(AResult, (provider == nullptr ? itsProvider : provider)->GetObjectList(this));
  }
  AResult->SetFetchSpec(AFetchSpec);
  const TAlive resultAlive(AResult.Get());
  TAddByID result(AResult, itsID);
  for (const TObjectHandle& object : chosen) {
    if (!resultAlive) return;
    if (auto* living = object.GetAs<TplPerObject>()) result.Add(living);
  }
}

void TplPerObject::GetSubObjectList(TPlBoList* ASource, TplMember<TPlBoList>& AResult,
                                    TplProvider* AProvider, const TClass& AClass,
                                    TIAccessRights ARights) {
  const TAlive alive(this);
  if (AResult == nullptr) Keep(AResult, AProvider->GetObjectList(this));
  const TAlive resultAlive(AResult.Get());
  const TAlive sourceAlive(ASource);
  // The result may be the source: it has its members twice then, and not for ever.
  const int end = ASource == nullptr ? 0 : ASource->Count();
  for (int i = 0; sourceAlive && resultAlive && i < end && i < ASource->Count(); ++i) {
    TplPerObject* member = ASource->Get(i);
    if (member == nullptr || !member->InheritsFrom(AClass) || !member->HasRights(ARights)) continue;
    AResult->Add(member);
    if (!alive) return;
  }
}

}  // namespace perlayer

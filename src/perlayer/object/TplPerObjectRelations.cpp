// TplPerObject: the variables through which it holds others, relations to one object, lock groups.

#include <algorithm>
#include <utility>

#include "perlayer/corekit/ILog.h"
#include "perlayer/list/TPlBoList.h"
#include "perlayer/object/TFlag.h"
#include "perlayer/object/TObjectRelations.h"
#include "perlayer/object/TplPerObject.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TStringList.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/TplProvider.h"

namespace perlayer {

namespace {

constexpr const char* kGone = "Podobjekt ne obstaja več!";

}  // namespace

TObjectRelations& TplPerObject::Relations() {
  if (FRelations == nullptr) FRelations.reset(new TObjectRelations(this));
  return *FRelations;
}

void TplPerObject::TEndRelations::operator()(TObjectRelations* relations) const noexcept {
  delete relations;
}

// --- registration ---

TIObjectPointerList* TplPerObject::aiLiAgregatedObjectList() {
  return &Relations().FboAgregatedObjectList;
}

TIObjectPointerList* TplPerObject::aiLiObjectsModified() { return &Relations().FliObjectsModified; }

void TplPerObject::RegisterAgregatedObjects(
    std::initializer_list<TplBaseObjectPointer*> APointers) {
  aiLiAgregatedObjectList()->Register(APointers);
}

void TplPerObject::TestRegistered(const TplBaseObjectPointer& pointer) {
  if (TObject* object = pointer.Object()) aiLiAgregatedObjectList()->Test(object);
}

bool TplPerObject::HeldIsModified() {
  if (FRelations->asking) return false;
  const TFlag asking(this, FRelations->asking);
  return FRelations->FliObjectsModified.Modified();
}

// --- one variable ---

// Cleared first: whoever the release reaches finds nothing to release a second time. Where it fails
// and the reference stays, so does the variable.
void TplPerObject::LetGo(TplBaseObjectPointer& variable) {
  auto* item = static_cast<TPlBaseObject*>(variable.Object());
  variable.Set(nullptr);
  if (item == nullptr) return;
  const TAlive alive(this);
  const TAlive itemAlive(item);
  const int holders = item->RefCount();
  try {
    item->Release(this);
  } catch (...) {
    if (alive && itemAlive && item->RefCount() == holders && variable.IsNil()) variable.Set(item);
    throw;
  }
}

// What the fetch has called may have asked for the same relation: then its answer stays.
void TplPerObject::Keep(TplBaseObjectPointer& variable, TPlBaseObject* fetched) {
  if (variable.Object() == nullptr) {
    variable.Set(fetched);
  } else if (fetched != nullptr) {
    fetched->Release(this);
  }
}

void TplPerObject::ReleaseAgregatedObejct(TplBaseObjectPointer* APointer) {
  if (!aiLiAgregatedObjectList()->Has(APointer)) throw Exception("Not!");
  const TObject* item = APointer->Object();
  if (item != nullptr && !Is<TplPerObject>(item) && !Is<TPlBoList>(item)) {
    throw Exception(
        Format("TplPerObject.ReleaseAgregatedObejct: Neznan razred : %s !", item->ClassName()));
  }
  LetGo(*APointer);
}

void TplPerObject::AssignRegistredPointers(TplPerObject* ASource) {
  if (&ASource->ClassType() != &ClassType()) {
    detail::RaiseInvalidCast(&ASource->ClassType(), ClassType());  // other variables stand there
  }
  if (ASource == this || ASource->FRelations == nullptr) return;
  const TIObjectPointerList& theirs = ASource->FRelations->FboAgregatedObjectList;
  const TIObjectPointerList& own = Relations().FboAgregatedObjectList;
  const TAlive alive(this);
  const TAlive sourceAlive(ASource);
  for (int i = 0; alive && sourceAlive && i < std::min(own.Count(), theirs.Count()); ++i) {
    auto* item = static_cast<TPlBaseObject*>(theirs.Items(i).Object());
    auto* before = static_cast<TPlBaseObject*>(own.Items(i).Object());
    if (item != nullptr) item->AddRef(this);
    own.Items(i).Set(item);
    if (before != nullptr) before->Release(this);
  }
}

void TplPerObject::GetNestedObjectList(TStringList* AList) {
  AList->Clear();
  if (FRelations == nullptr) return;
  const TIObjectPointerList& pointers = FRelations->FboAgregatedObjectList;
  for (int i = 0; i < pointers.Count(); ++i) {
    if (pointers.Items(i).IsNil()) continue;
    auto* item = As<TplDomainObject>(pointers.Items(i).Object());
    if (item == nullptr) {
      throw Exception(Format("TplPerObject(%s).GetNestedObjectList: %s", ClassName(), kGone));
    }
    AList->AddObject(item->GetMemorySequence(), item);
  }
}

void TplPerObject::ForgetSubobjects(int& AErrorCount) {
  AErrorCount = 0;
  if (FRelations == nullptr) return;
  const TAlive alive(this);
  const TIObjectPointerList& pointers = FRelations->FboAgregatedObjectList;
  for (int i = 0; alive && i < pointers.Count(); ++i) {
    TplBaseObjectPointer& pointer = pointers.Items(i);
    if (pointer.IsNil()) continue;
    if (pointer.IsStale()) {
      ILog(Format("[1] ForgetSubobjects: %s", kGone));
      ++AErrorCount;
      continue;
    }
    TObject* const item = pointer.Object();
    const TObjectHandle before = pointer.FHandle;
    // Nil meanwhile, so that nobody whom the release reaches lets go a second time.
    pointer.Set(nullptr);
    try {
      if (auto* object = As<TplPerObject>(item)) {
        object->ForceKillRef(this);
      } else {
        Cast<TPlBoList>(item)->ForceKillRef(this);
      }
    } catch (const std::exception& e) {
      if (alive) pointer.FHandle = before;
      ILog(Format("[2] ForgetSubobjects: %s", ExceptionMessage(e)));
      ++AErrorCount;
    }
  }
}

// --- a relation to one object ---

TplPerObject* TplPerObject::One2One(TplBaseObjectPointer& variable, const TClass& cls,
                                    const std::string& foreignAttr, TplProvider* provider,
                                    const std::string& ownAttr) {
  const TAlive alive(this);
  const auto held = [&] { return static_cast<TplPerObject*>(variable.Object()); };
  const std::string ownValue = GetAttrValue(ownAttr);
  TestRegistered(variable);
  if (held() != nullptr && held()->GetAttrValue(foreignAttr) != ownValue) {
    LetGo(variable);
    if (!alive) return nullptr;
  }
  if (ownValue.empty()) {
    // An object that relates to nothing either is dropped with its reference: it was never this
    // object's to count on.
    variable.Set(nullptr);
    return nullptr;
  }
  const auto condition = [&] { return foreignAttr + " = '" + ownValue + "'"; };
  if (held() == nullptr) {
    const bool isKey = SameText(foreignAttr, provider->GetIDAttrName());
    // Nobody's row refers to a temporary key.
    if (!isKey && FNewObject && ownValue.find('-') != ownValue.npos) return nullptr;
    HoldingItself([&] {
      TplPerObject* fetched = isKey ? provider->GetObject(this, ownValue, true)
                                    : provider->FetchObject(this, condition(), true);
      if (fetched != nullptr && !fetched->InheritsFrom(cls)) {
        const TClass& found = fetched->ClassType();
        fetched->Release(this);
        detail::RaiseInvalidCast(&found, cls);
      }
      Keep(variable, fetched);
    });
  } else if (held()->GetNeedToRefresh()) {
    held()->Reload(held()->aiNewObject() ? condition() : std::string());
  }
  return alive ? held() : nullptr;
}

// --- lock groups ---

void TplPerObject::AddLockGroup(const std::string& AGroup,
                                std::initializer_list<TplBaseObjectPointer*> APointers) {
  auto pointers = std::make_unique<TIObjectPointerList>(this);
  pointers->Register(APointers);
  Relations().slLockGroupStringList.push_back({AGroup, std::move(pointers)});
}

TIObjectPointerList* TplPerObject::GetLockGroups(const std::string& AGroup) {
  if (FRelations == nullptr) return nullptr;
  const auto& groups = FRelations->slLockGroupStringList;
  const auto found = std::find_if(groups.rbegin(), groups.rend(),
                                  [&](const auto& group) { return group.name == AGroup; });
  return found == groups.rend() ? nullptr : found->pointers.get();
}

template <class TAction>
void TplPerObject::ForEachInLockGroup(const std::string& group, TAction&& action) {
  TIObjectPointerList* const pointers = GetLockGroups(group);
  if (pointers == nullptr || FRelations->refreshing) return;
  const TAlive alive(this);
  const TFlag refreshing(this, FRelations->refreshing);
  try {
    for (int i = 0; alive && i < pointers->Count(); ++i) {
      const TplBaseObjectPointer& pointer = pointers->Items(i);
      if (pointer.IsNil()) continue;
      auto* item = As<TplDomainObject>(pointer.Object());
      if (item == nullptr) {
        throw Exception("TplPerObject.RefreshLockGroup: Object is not TplDomainObject!");
      }
      action(item);
    }
  } catch (...) {
    throw Exception("TplPerObject.RefreshLockGroup: Access violation refreshing objects!");
  }
}

void TplPerObject::RefreshLockGroup(const std::string& ALockGroup) {
  if (GetLockGroup() == ALockGroup) SetNeedToRefresh(true);
  ForEachInLockGroup(ALockGroup,
                     [&](TplDomainObject* item) { item->RefreshLockGroup(ALockGroup); });
}

void TplPerObject::NotifyRefresh(const std::string& ALockGroup) {
  const TAlive alive(this);
  if (GetLockGroup() == ALockGroup) TplDomainObject::NotifyRefresh(ALockGroup);
  if (!alive) return;
  ForEachInLockGroup(ALockGroup, [&](TplDomainObject* item) { item->NotifyRefresh(ALockGroup); });
}

}  // namespace perlayer

#include "perlayer/object/TIObjectPointerList.h"

#include <algorithm>

#include "perlayer/corekit/ILog.h"
#include "perlayer/list/TPlBoList.h"
#include "perlayer/object/TFlag.h"
#include "perlayer/object/TplPerObject.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TList.h"
#include "perlayer/platform/TStringList.h"
#include "perlayer/provider/TplProvider.h"

namespace perlayer {

namespace {

constexpr const char* kUnknownToRelease = "TIObjectPointerList.ReleaseObjects: Neznan razred...";
constexpr const char* kReleasing =
    "TIObjectPointerList.ReleaseObjects: Access violation releasing objects of %s (counter=%s)!";
constexpr const char* kAsking =
    "TIObjectPointerList.ReleaseObjects: Access violation detecting modified state of objects of "
    "%s (counter=%s)!";

// Raises Exception(unknown) for what can be held by nobody's variable.
void CheckClass(const TObject* object, const char* unknown) {
  if (!Is<TplPerObject>(object) && !Is<TPlBoList>(object)) throw Exception(unknown);
}

// Out of the way: a chain of releases goes through the frames of those that call this.
[[noreturn, gnu::noinline]] void RaiseReleasing(const TClass& owner, int index) {
  throw Exception(Format(kReleasing, owner.Name(), index));
}

}  // namespace

void TIObjectPointerList::Register(std::initializer_list<TplBaseObjectPointer*> APointers) {
  FPointers.reserve(FPointers.size() + APointers.size());
  for (TplBaseObjectPointer* pointer : APointers) {
    if (Has(pointer)) {
      throw Exception(
          Format("TplPerObject.RegisterAgregatedObjects: Podvojena registracija objekta v %s!",
                 FOwner->ClassName()));
    }
    FPointers.push_back(pointer);
    pointer->Set(nullptr);
  }
}

bool TIObjectPointerList::Has(const TplBaseObjectPointer* APointer) const {
  return std::find(FPointers.begin(), FPointers.end(), APointer) != FPointers.end();
}

void TIObjectPointerList::Test(TObject* AObject) const {
  if (AObject == nullptr) return;
  for (const TplBaseObjectPointer* pointer : FPointers) {
    if (pointer->Object() == AObject) return;
  }
  std::string line = Format("TIObjectPointerList.Test: Object of class %s not registred!  ",
                            AObject->ClassName()) +
                     Format(" Owner = %s-%s", FOwner->ClassName(), FOwner->GetGID());
  auto* object = As<TplPerObject>(AObject);
  line += Format(" Domain object = %s ",
                 AObject->ClassName() + (object == nullptr ? std::string() : object->GetGID()));
  if (const auto* list = As<TPlBoList>(AObject)) {
    const TplProvider* provider = list->aiProvider();
    line += Format(" Provider = %s ", provider == nullptr ? "nil" : provider->ClassName());
  }
  ILog(line);
}

// Each variable that is not nil, while the owner lives.
template <class TAction>
void TIObjectPointerList::Walk(TAction&& action) {
  const TAlive owner(FOwner);
  for (int i = 0; owner && i < Count(); ++i) {
    TplBaseObjectPointer& pointer = *FPointers[i];
    if (pointer.IsNil()) continue;
    TObject* const item = pointer.Object();  // nullptr for one that is gone
    if (item != nullptr) CheckClass(item, kUnknownToRelease);
    if (action(pointer, static_cast<TplDomainObject*>(item), i)) return;
  }
}

void TIObjectPointerList::Release(TObject*) {
  Walk([this](TplBaseObjectPointer& pointer, TplDomainObject* item, int i) {
    const TClass& owner = FOwner->ClassType();
    pointer.Set(nullptr);
    if (item == nullptr) RaiseReleasing(owner, i);
    try {
      item->Release(FOwner);
    } catch (...) {
      RaiseReleasing(owner, i);
    }
    return false;
  });
}

bool TIObjectPointerList::Modified() {
  bool modified = false;
  Walk([&](TplBaseObjectPointer&, TplDomainObject* item, int i) {
    const TClass& owner = FOwner->ClassType();
    const auto tell = [&] { ILog("Getting modified info: " + Format(kAsking, owner.Name(), i)); };
    try {
      if (item == nullptr) {
        tell();
      } else {
        modified = item->GetModified();
      }
    } catch (...) {
      tell();
    }
    return modified;
  });
  return modified;
}

void TIObjectPointerList::CancelData() {
  if (FCancelling) return;
  const TFlag cancelling(FOwner, FCancelling);
  Walk([this](TplBaseObjectPointer&, TplDomainObject* item, int i) {
    const TClass& owner = FOwner->ClassType();
    if (item == nullptr) RaiseReleasing(owner, i);
    try {
      if (auto* object = As<TplPerObject>(item)) {
        object->CancelData();
      } else {
        static_cast<TPlBoList*>(item)->CancelObjects();
      }
    } catch (...) {
      RaiseReleasing(owner, i);
    }
    return false;
  });
}

// Calls nothing out but `action`, which leaves lists and variables alone.
template <class TAction>
void TIObjectPointerList::ForEachObject(const char* unknown, TAction&& action) const {
  for (const TplBaseObjectPointer* pointer : FPointers) {
    if (pointer->IsNil()) continue;
    TObject* item = pointer->Object();
    CheckClass(item, unknown);
    if (auto* object = As<TplPerObject>(item)) {
      action(object);
      continue;
    }
    for (TplPerObject* member : *static_cast<TPlBoList*>(item)) {
      if (member != nullptr) action(member);
    }
  }
}

TOwned<TList> TIObjectPointerList::GetObjectList() const {
  TOwned<TList> objects = Make<TList>();
  ForEachObject("TplPerObject.GetObjectList: Neznan razred...",
                [&](TplPerObject* object) { objects->Add(object); });
  return objects;
}

void TIObjectPointerList::GetObjectListIntoStrings(TStringList& AStrings) const {
  ForEachObject("Wrong class!", [&](TplPerObject* object) {
    AStrings.AddObject(object->aiProvider()->GetTableNameKeyForDict() + object->GetGID(), object);
  });
}

}  // namespace perlayer

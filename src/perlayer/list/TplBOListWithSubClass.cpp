#include "perlayer/list/TplBOListWithSubClass.h"

#include <algorithm>

#include "perlayer/corekit/ILog.h"
#include "perlayer/platform/Format.h"
#include "perlayer/provider/TplProvider.h"

namespace perlayer {

TPlBoList* TplBOListWithSubClass::SubListOf(const TplPerObject* object) const {
  for (const TplMember<TPlBoList>* variable : FSubListPointerList) {
    TPlBoList* const list = variable->Get();
    if (list != nullptr && list->aiProvider() == object->aiProvider()) return list;
  }
  return nullptr;
}

int TplBOListWithSubClass::Add(TplPerObject* AObject) {
  const TAlive alive(this);
  const TAlive objectAlive(AObject);
  const int index = TPlBoList::Add(AObject);
  if (!alive || !objectAlive) return index;
  if (TPlBoList* const list = SubListOf(AObject)) list->Add(AObject);
  return index;
}

void TplBOListWithSubClass::Delete(int AIndex) {
  CheckIndex(AIndex);
  TplPerObject* const object = Get(AIndex);
  TPlBoList* const list = object == nullptr ? nullptr : SubListOf(object);
  if (list == nullptr) return TPlCustomBoList::Delete(AIndex);
  const int place = list->IndexOf(object);
  if (place < 0) {
    throw Exception("TplBOListWithSubClass.Delete: Same provider but not in SubList!");
  }
  const TAlive alive(this);
  const TAlive listAlive(list);
  const TObjectHandle entry(object);
  list->Delete(place);
  // Who heard of it may have moved the entry or taken it out.
  const int index = alive ? FindEntry(entry, AIndex) : -1;
  if (index < 0) return;
  const int count = Count();
  try {
    TPlCustomBoList::Delete(index);
  } catch (...) {
    // What stays here stays there, or it could not be deleted ever after.
    if (alive && Count() == count && listAlive && entry.IsAlive()) {
      list->Insert(std::min(place, list->Count()), object);
    }
    throw;
  }
}

TPlBoList* TplBOListWithSubClass::GetBOSubList(TplMember<TPlBoList>& ASubList,
                                               TplProvider* AProvider, TplPerObject* ARetainer,
                                               TIAccessRights ARights) {
  const auto isKnown = [&] {
    return std::find(FSubListPointerList.begin(), FSubListPointerList.end(), &ASubList) !=
           FSubListPointerList.end();
  };
  if (isKnown()) return ASubList.Get();
  const TAlive alive(this);
  const auto who = [&] {
    return Format("Provider: %s, retainer: %s: %s", AProvider->ClassName(), ARetainer->ClassName(),
                  ARetainer->GetTextDescription());
  };
  FSubListPointerList.reserve(FSubListPointerList.size() + 1);
  TPlBoList* list = ASubList.Get();
  const bool isNew = list == nullptr;
  if (isNew) list = AProvider->GetObjectList(ARetainer);
  const TAlive listAlive(list);
  if (!isNew) {
    ILog("TplBOListWithSubClass.GetBOSubList: SubList already assigned! - " + who());
    for (int i = list->Count() - 1; listAlive && i >= 0; --i) {
      if (i < list->Count()) list->Delete(i);
    }
  }
  try {
    if (alive && listAlive) FillSubList(list, AProvider, ARights);
  } catch (const std::exception& e) {
    ILog("Errror while FillSublist: " + who() + ExceptionMessage(e));
  }
  if (!listAlive) return nullptr;
  if (!alive) return list;
  if (isKnown()) {
    // Who heard of the filling has asked for this variable: that answer stays.
    if (isNew) list->Release(ARetainer);
    return ASubList.Get();
  }
  ASubList = list;
  FSubListPointerList.push_back(&ASubList);
  return list;
}

void TplBOListWithSubClass::FillSubList(TPlBoList* ASubList, TplProvider* AProvider,
                                        TIAccessRights ARights) {
  const TAlive alive(this);
  const TAlive listAlive(ASubList);
  for (int i = 0; alive && listAlive && i < Count(); ++i) {
    TplPerObject* const object = Get(i);
    if (object == nullptr) continue;
    TplProvider* const provider = object->aiProvider();
    if (provider != AProvider && !provider->InheritsFrom(AProvider->ClassType())) continue;
    if (object->HasRights(ARights)) ASubList->Add(object);
  }
}

}  // namespace perlayer

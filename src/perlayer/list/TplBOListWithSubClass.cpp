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
  const TObjectHandle entry(object);
  list->Delete(place);
  // Who heard of it may have changed this list.
  if (alive && AIndex < Count() && List()[AIndex] == entry) TPlCustomBoList::Delete(AIndex);
}

TPlBoList* TplBOListWithSubClass::GetBOSubList(TplMember<TPlBoList>& ASubList,
                                               TplProvider* AProvider, TplPerObject* ARetainer,
                                               TIAccessRights ARights) {
  const auto known = std::find(FSubListPointerList.begin(), FSubListPointerList.end(), &ASubList);
  if (known != FSubListPointerList.end()) return ASubList.Get();
  const auto who = [&] {
    return Format("Provider: %s, retainer: %s: %s", AProvider->ClassName(), ARetainer->ClassName(),
                  ARetainer->GetTextDescription());
  };
  FSubListPointerList.reserve(FSubListPointerList.size() + 1);
  TPlBoList* list = ASubList.Get();
  if (list != nullptr) {
    ILog("TplBOListWithSubClass.GetBOSubList: SubList already assigned! - " + who());
    for (int i = list->Count() - 1; i >= 0; --i) {
      if (i < list->Count()) list->Delete(i);
    }
  } else {
    list = AProvider->GetObjectList(ARetainer);
  }
  try {
    FillSubList(list, AProvider, ARights);
  } catch (const std::exception& e) {
    ILog("Errror while FillSublist: " + who() + e.what());
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

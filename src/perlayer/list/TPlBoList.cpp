#include "perlayer/list/TPlBoList.h"

#include <unordered_set>
#include <utility>
#include <vector>

#include "perlayer/corekit/ILog.h"
#include "perlayer/corekit/TDataSet.h"
#include "perlayer/foundation/FoundationState.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TStringList.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/TPlClassMetaData.h"
#include "perlayer/provider/TplCachableProvider.h"
#include "perlayer/provider/TplProvider.h"
#include "perlayer/provider/TplSifranti.h"
#include "perlayer/reclaim/TIPerLayerStatistics.h"
#include "perlayer/reclaim/TplGlobalDictionary.h"

namespace perlayer {

void TPlBoList::Create(TPlBaseObject* AOwner, TObject* ARetainer) {
  using enum TIAccessRight;
  FProvider = AOwner == nullptr ? nullptr : Cast<TplProvider>(AOwner);
  TPlCustomBoList::Create(AOwner, ARetainer);
  FRights = {arScan, arRead, arUpdate, arDelete, arInsert};
  PerLayerStatistics()->ReferenceEvent(this, TIReferenceEventType::reCreate, ARetainer);
}

namespace {

constexpr const char* kGone = "Podobjekt ne obstaja več!";

bool ObjectsGoWithoutAnalysis() {
  return GlobalDictionary()->aiReleaseType() == TIReleaseType::rtDLL;
}

}  // namespace

void TPlBoList::BeforeDestruction() {
  if (!GlobalDictionary()->GetUseReleaserThread() && !ObjectsGoWithoutAnalysis()) {
    TPlCustomBoList::BeforeDestruction();
  }
}

// What the data set asks the list for while it goes, it finds.
void TPlBoList::Destroy() {
  { const auto dataSet = std::exchange(FDataSet, nullptr); }
  if (GlobalDictionary()->GetUseReleaserThread() || ObjectsGoWithoutAnalysis()) ForceClear();
  TPlCustomBoList::Destroy();
}

void TPlBoList::RefCountIsZero() {
  if (ObjectsGoWithoutAnalysis()) Clear();
  if (!GlobalDictionary()->GetUseReleaserThread()) TPlCustomBoList::RefCountIsZero();
}

void TPlBoList::ClearOnDestroy() {
  if (ObjectsGoWithoutAnalysis()) return ForceClear();
  if (!GlobalDictionary()->GetUseReleaserThread()) TPlCustomBoList::ClearOnDestroy();
}

int TPlBoList::_AddRef() { return AddRef(FProvider); }

int TPlBoList::_Release() {
  const int before = RefCount();
  Release(FProvider);
  return before - 1;  // the list may be gone
}

void TPlBoList::DoNotifyAction(TplDomainObject* Sender, TIBaseObjectAction ActionType,
                               TObject* Data, TINotifiedObjectList* AVisitedObjectList) {
  using enum TIBaseObjectAction;
  if (LayerFinalizing()) return;
  const TAlive alive(this);
  const TObjectHandle sender(Sender);
  const TObjectHandle data(Data);
  const auto living = [&] { return static_cast<TplDomainObject*>(sender.Get()); };
  if (FDataSet != nullptr && (ActionType == paPostData || ActionType == paCancelData)) {
    FDataSet->Refresh();
    if (!alive) return;
  }
  const bool notifying = FNotifying;
  TryFinally(
      [&] {
        TPlCustomBoList::DoNotifyAction(living(), ActionType, data.Get(), AVisitedObjectList);
      },
      [&] {
        if (alive) FNotifying = notifying;
      });
  if (!alive) return;
  // Told anew, and below once more: listeners are written for it. Within a step of a walk, which is
  // where this usually runs, both are dropped.
  if (living() != this) CallNotifyAction(living(), ActionType, data.Get());
  if (!alive || living() == nullptr) return;
  if (ActionType != paDelete) return CallNotifyAction(living(), ActionType, data.Get());
  auto* const object = As<TplPerObject>(living());
  if (object == nullptr || IndexOf(object) < 0) return;
  object->FbObjectMarkedDeleted = true;
  CallNotifyAction(this, paDeleteFromList, object);
}

void TPlBoList::LogNotifyDetails(std::string_view which) {
  if (FProvider != nullptr) ILog(Format("%s provider: %s", which, FProvider->ClassName()));
  TPlCustomBoList::LogNotifyDetails(which);
}

void TPlBoList::Reload() {
  if (FReloading) return;
  const TAlive alive(this);
  FReloading = true;
  TryFinally(
      [&] {
        if (const TNotifyEvent event = aiOnReload()) event(this);
        if (alive) GlobalDictionary()->Reload(this, "");
        if (alive) SetNeedToRefresh(false);
      },
      [&] {
        if (alive) FReloading = false;
      });
}

// --- members ---

int TPlBoList::Add(TplPerObject* AObject) {
  const TAlive alive(this);
  const TAlive objectAlive(AObject);
  TPlCustomBoList::Add(AObject);
  if (alive && objectAlive) ResortAndSetCurrentItem(AObject);
  if (!alive || !objectAlive) return -1;
  const int index = IndexOf(AObject);
  if (!AObject->aiAddToListReLock()) return index;
  AObject->BeforeAddToListReLock();
  if (objectAlive) AObject->TryEdit(true);
  if (objectAlive) AObject->Touch();
  if (objectAlive) AObject->SaveData();
  if (objectAlive) AObject->AfterAddToListReLock();
  if (objectAlive) AObject->aiAddToListReLock(false);
  return index;
}

bool TPlBoList::AddToSet(TplPerObject* AObject) {
  if (IndexOf(AObject) >= 0) return false;
  Add(AObject);
  return true;
}

void TPlBoList::Merge(TPlBoList* AList) {
  if (AList == nullptr) return;
  // As they stand now: a list that is merged into itself moves them, if it has an order.
  const std::vector<TObjectHandle> members(AList->List(), AList->List() + AList->Count());
  const TAlive alive(this);
  for (const TObjectHandle& member : members) {
    auto* const object = static_cast<TplPerObject*>(member.Get());
    if (alive && object != nullptr) Add(object);
  }
}

void TPlBoList::UnionWithList(TPlBoList* AList, const std::string& AAttr) {
  if (AList == nullptr) return;
  const TAlive alive(this);
  const TAlive otherAlive(AList);
  std::unordered_set<std::string> values;
  for (int i = 0; !AAttr.empty() && alive && i < Count(); ++i) {
    if (TplPerObject* const object = Get(i)) values.insert(object->GetAttrValue(AAttr));
  }
  if (!alive || !otherAlive) return;
  const int end = AList->Count();
  for (int i = 0; alive && otherAlive && i < end && i < AList->Count(); ++i) {
    TplPerObject* const object = AList->Get(i);
    const TAlive objectAlive(object);
    if (object == nullptr) continue;
    if (!AAttr.empty() && !values.insert(object->GetAttrValue(AAttr)).second) continue;
    if (alive && objectAlive) Retain(object, SimpleAdd(object));
  }
}

int TPlBoList::AddAndRefresh(TplPerObject* AObject) {
  const TAlive alive(this);
  const int index = Add(AObject);
  if (alive) Refresh();
  return index;
}

bool TPlBoList::AddToSetAndRefresh(TplPerObject* AObject) {
  const TAlive alive(this);
  if (!AddToSet(AObject)) return false;
  if (alive) Refresh();
  return true;
}

int TPlBoList::RemoveAndRefresh(TplPerObject* AObject) {
  const TAlive alive(this);
  const int index = Remove(AObject);
  if (alive) Refresh();
  return index;
}

TplPerObject* TPlBoList::NewObject(TObject* AOwner) {
  Assert(FProvider != nullptr, "TPlBoList.NewObject: the list has no provider");
  TplPerObject* const object = FProvider->NewObject(AOwner);
  const TAlive objectAlive(object);
  try {
    Add(object);
  } catch (...) {
    if (objectAlive) object->Release(AOwner);
    throw;
  }
  return objectAlive ? object : nullptr;
}

void TPlBoList::DeleteObject() {
  TplPerObject* const object = CurrObject();
  if (object == nullptr) CheckIndex(Count());  // raises
  const TAlive alive(this);
  const TObjectHandle entry(object);
  object->DeleteObject();
  if (!alive || FCurrIndex == -1) return;
  // Who heard of it may have moved the entry or taken it out: nobody else goes in its stead.
  if (const int index = FindEntry(entry, FCurrIndex); index >= 0) Delete(index);
  if (!alive) return;
  if (FCurrIndex > 0) --FCurrIndex;
  Refresh();
}

void TPlBoList::DeleteFromMemory(int AIndex) {
  CheckIndex(AIndex);
  TPlCustomBoList::Delete(AIndex);
}

// --- rows ---

void TPlBoList::LoadFromDataSet(TDataSet* ADataSet, bool AbIncludeSubClasses) {
  Assert(FProvider != nullptr, "Wrong class in provider");
  const TAlive alive(this);
  FDoNotify = false;
  TryFinally(
      [&] {
        PerLayerStatistics()->Timed(TIPerLayerStatisticsStartTimingType::ttOpen, [&] {
          ADataSet->Open();
          ADataSet->DisableControls();
          TryFinally(
              [&] {
                for (ADataSet->First(); alive && !ADataSet->Eof(); ADataSet->Next()) {
                  LoadRow(ADataSet, AbIncludeSubClasses);
                }
              },
              [&] { ADataSet->EnableControls(); });
        });
      },
      [&] {
        if (alive) FDoNotify = true;
      });
}

// The reference that the fetch has taken for the list is the entry's.
void TPlBoList::LoadRow(TDataSet* dataSet, bool includeSubClasses) {
  const TAlive alive(this);
  TplPerObject* const object = FProvider->GetObjectFromDataSet(this, dataSet, includeSubClasses);
  if (object == nullptr || !alive) return;
  if (object->aiProvider() == FProvider ||
      object->aiProvider()->InheritsFrom(FProvider->ClassType())) {
    try {
      SimpleAdd(object);
    } catch (...) {
      object->Release(this);
      throw;
    }
    return;
  }
  const TUseDictionary off(false);
  object->Release(this);
}

// --- searches ---

bool TPlBoList::AttrValueExists(const std::string& AAttr, const std::string& AValue) {
  return IndexOfObjectWithAttrValue(AAttr, AValue, 0, false) >= 0;
}

TplPerObject* TPlBoList::ObjectWithAttrValue(const std::string& AAttr, const std::string& AValue) {
  const TAlive alive(this);
  const int index = IndexOfObjectWithAttrValue(AAttr, AValue, 0, true);
  return index < 0 || !alive ? nullptr : Get(index);
}

// The object there if it has that value: whoever answers may let go of it and of the list.
TplPerObject* TPlBoList::Matching(int index, const std::string& attr,
                                  const std::string& value) const {
  TplPerObject* const object = Get(index);
  const TAlive alive(object);
  return object != nullptr && object->GetAttrValue(attr) == value && alive ? object : nullptr;
}

int TPlBoList::IndexOfObjectWithAttrValue(const std::string& AAttr, const std::string& AValue,
                                          int AStart, bool AbSkipDeleted) {
  const TAlive alive(this);
  for (int i = AStart; alive && i < Count(); ++i) {
    TplPerObject* const object = Matching(i, AAttr, AValue);
    if (object != nullptr && !(AbSkipDeleted && object->aiObjectMarkedDeleted())) return i;
  }
  return -1;
}

int TPlBoList::IndexOfObjectWithAttrValueAndMinDateAndEmptyValue(const std::string& AAttr,
                                                                 const std::string& AValue,
                                                                 int AStart,
                                                                 const std::string& ADateAttr,
                                                                 const std::string& AEmptyAttr) {
  TDateTime smallest = 50000.0;
  int result = -1;
  const TAlive alive(this);
  for (int i = AStart; alive && i < Count(); ++i) {
    TplPerObject* const object = Matching(i, AAttr, AValue);
    const TAlive objectAlive(object);
    if (object == nullptr) continue;
    if (!AEmptyAttr.empty() && (!object->GetAttrValue(AEmptyAttr).empty() || !objectAlive))
      continue;
    if (ADateAttr.empty()) return i;
    const TDateTime date = object->GetAttrValueAsDate(ADateAttr);
    if (date >= smallest) continue;
    smallest = date;
    result = i;
  }
  return result;
}

int TPlBoList::DeleteObjectsObjectWithAttrValue(const std::string& AAttr,
                                                const std::string& AValue) {
  const TAlive alive(this);
  for (int i = Count() - 1; alive && i >= 0; --i) {
    const TplPerObject* const object = i < Count() ? Matching(i, AAttr, AValue) : nullptr;
    if (object != nullptr && alive && i < Count() && Get(i) == object) Delete(i);
  }
  return 0;
}

// --- the data set ---

IboListDataSet* TPlBoList::aiDataSet() {
  if (FDataSet == nullptr) FDataSet = MakeboListDataSet(this);
  return FDataSet.get();
}

void TPlBoList::Refresh() {
  if (FDataSet != nullptr) FDataSet->Refresh();
}

void TPlBoList::CancelAndRefreshDataSet() {
  const TAlive alive(this);
  if (FDataSet != nullptr) FDataSet->Cancel();
  if (alive) Refresh();
}

int TPlBoList::GetCurrIndex() {
  if (FDataSet != nullptr) GoToBookmark(FDataSet->Bookmark());
  return TPlCustomBoList::GetCurrIndex();
}

// --- code lists ---

void TPlBoList::LoadCatalogueForColumns(std::initializer_list<std::string_view> AColumns) {
  const TAlive alive(this);
  for (const std::string_view column : AColumns) {
    if (alive) LoadCatalogueForOneColumn(this, std::string(column));
  }
}

namespace {

// The code list of the first member that has one for that column; empty when there is none.
std::string CodeListOf(const TPlBoList& list, const std::string& column) {
  for (TplPerObject* object : list) {
    if (object == nullptr || !object->GetMetaData()->HasAttribute(column)) continue;
    std::string code = object->GetMetaData()->GetAttrProperties(column).sSifrant;
    if (!code.empty()) return code;
  }
  return {};
}

// The statement that finds the codes of a column: the class's own, with its "*" or what stands
// between that and the FROM replaced by the column. Empty for one without a "*".
std::string CodesStatement(std::string statement, const std::string& column) {
  const std::size_t star = statement.find('*');
  if (star == std::string::npos) return {};
  statement[star] = ' ';
  const std::size_t from = AsciiUpperCase(statement).find("FROM");
  if (from != std::string::npos && from > star) statement.erase(star, from - star);
  return statement.insert(star, column + " ");
}

}  // namespace

void TPlBoList::LoadCatalogueForOneColumn(TPlBoList* AList, const std::string& AColumn) {
  if (AList == nullptr || AList->IsEmpty()) return;
  const std::string code = CodeListOf(*AList, AColumn);
  if (code.empty()) return;
  const TAlive alive(AList);
  TplProvider* const found = CatalogProvider(code, false).provider;
  if (found == nullptr || !alive) return;
  auto* const provider = Cast<TplCachableProvider>(found);
  std::vector<std::string> values;
  for (TplPerObject* object : *AList) {
    if (object == nullptr || !object->GetMetaData()->HasAttribute(AColumn)) continue;
    values.push_back(object->GetAttrValue(AColumn));
  }
  TplPerObject* const first = AList->FirstObject();
  const std::string statement =
      first == nullptr || AList->FsFetchSpec.empty()
          ? ""
          : CodesStatement(first->aiProvider()->GetSelectStatementWithoutParameters(), AColumn);
  if (statement.empty()) return provider->ReadValuesInCache(values);
  provider->ReadFetchSpecInCache(
      provider->GetIDAttrName() + " in ( " + statement + " " + AList->FsFetchSpec + " ) ", values);
}

// --- reclamation ---

void TPlBoList::GetNestedObjectList(TStringList* AList) {
  AList->Clear();
  for (int i = 0; i < Count(); ++i) {
    if (List()[i].IsNil()) continue;
    TplPerObject* const object = Get(i);
    if (object == nullptr) {
      throw Exception(Format("TplBoList(%s).GetNestedObjectList: %s",
                             FProvider == nullptr ? "nil" : FProvider->ClassName(), kGone));
    }
    AList->AddObject(object->GetMemorySequence(), object);
  }
}

void TPlBoList::ForceRelease() {
  ForceClear();
  aiRetainerList()->Clear();
  FRefCount = 0;
  Free();
}

void TPlBoList::ForgetSubobjects(int& AErrors) {
  AErrors = 0;
  const TAlive alive(this);
  while (alive && Count() > 0) {
    const TObjectHandle entry = List()[0];
    try {
      if (!entry.IsNil() && !entry.IsAlive()) {
        ++AErrors;
        ILog(Format("[3] ForgetSubobjects: %s", kGone));
      }
      Delete(0);
    } catch (const std::exception& e) {
      ++AErrors;
      ILog(Format("[4] ForgetSubobjects: %s", ExceptionMessage(e)));
      return;
    }
  }
}

const TNotifyEvent& TPlBoList::aiOnReload() const {
  static const TNotifyEvent kNone;
  return FOnReload == nullptr ? kNone : *FOnReload;
}

void TPlBoList::aiOnReload(TNotifyEvent event) {
  FOnReload = event ? std::make_unique<TNotifyEvent>(std::move(event)) : nullptr;
}

}  // namespace perlayer

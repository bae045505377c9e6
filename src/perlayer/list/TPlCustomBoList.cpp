#include "perlayer/list/TPlCustomBoList.h"

#include <algorithm>

#include "perlayer/corekit/ILog.h"
#include "perlayer/foundation/FoundationState.h"
#include "perlayer/list/QuickSort.h"
#include "perlayer/list/TListFilter.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {
constexpr const char* kListIndex = "List index out of bounds (%d)";
constexpr const char* kListCapacity = "List capacity out of bounds (%d)";
constexpr const char* kListCount = "List count out of bounds (%d)";

const TIBoListEvent kNoEvent;
}  // namespace

struct TPlCustomBoList::TEvents {
  TIBoListEvent beforeAdd;
  TIBoListEvent beforeDelete;
};

struct TPlCustomBoList::TFiltering {
  std::string text;
  TListFilter filter;
};

TPlCustomBoList::TPlCustomBoList() = default;
TPlCustomBoList::~TPlCustomBoList() = default;

void TPlCustomBoList::Destroy() {
  ClearOnDestroy();
  TplDomainObject::Destroy();
}

void TPlCustomBoList::Error(const char* AMessage, int AData) const {
  throw EListError(Format(AMessage, AData));
}

void TPlCustomBoList::DoNotifyAction(TplDomainObject* Sender, TIBaseObjectAction ActionType,
                                     TObject* Data, TINotifiedObjectList* AVisitedObjectList) {
  if (LayerFinalizing()) return;
  TplDomainObject::DoNotifyAction(Sender, ActionType, Data, AVisitedObjectList);
}

void TPlCustomBoList::Raise(const char* message, int data) const {
  Error(message, data);
  throw EListError(Format(message, data));
}

void TPlCustomBoList::RaiseIndex(int AIndex) const { Raise(kListIndex, AIndex); }

// --- the array ---

void TPlCustomBoList::Grow() {
  const int step = FCapacity > 64 ? FCapacity / 4 : FCapacity > 8 ? 16 : 4;
  SetCapacity(FCapacity + step);
}

void TPlCustomBoList::Expand() {
  if (FCount == FCapacity) Grow();
}

void TPlCustomBoList::SetCapacity(int ACapacity) {
  if (ACapacity < FCount || ACapacity > kMaxCount) Raise(kListCapacity, ACapacity);
  if (ACapacity == FCapacity) return;
  std::unique_ptr<TObjectHandle[]> list;
  if (ACapacity > 0) {
    list = std::make_unique<TObjectHandle[]>(static_cast<std::size_t>(ACapacity));
    std::copy_n(FList.get(), FCount, list.get());
  }
  FList = std::move(list);
  FCapacity = ACapacity;
}

void TPlCustomBoList::SetCount(int ACount) {
  if (ACount < 0 || ACount > kMaxCount) Raise(kListCount, ACount);
  if (ACount > FCapacity) SetCapacity(ACount);
  if (ACount > FCount) std::fill(FList.get() + FCount, FList.get() + ACount, TObjectHandle());
  FCount = ACount;
}

int TPlCustomBoList::IndexOf(const TplPerObject* AObject) const {
  const TObjectHandle* const end = FList.get() + FCount;
  const TObjectHandle* const found =
      std::find(static_cast<const TObjectHandle*>(FList.get()), end, TObjectHandle(AObject));
  return found == end ? -1 : static_cast<int>(found - FList.get());
}

int TPlCustomBoList::FindEntry(TObjectHandle entry, int near) const {
  if (near < FCount && FList[near] == entry) return near;
  const TObjectHandle* const end = FList.get() + FCount;
  const TObjectHandle* const found =
      std::find(static_cast<const TObjectHandle*>(FList.get()), end, entry);
  return found == end ? -1 : static_cast<int>(found - FList.get());
}

void TPlCustomBoList::TakeOut(TObjectHandle entry, int near) {
  const int index = FindEntry(entry, near);
  if (index < 0) return;
  std::copy(FList.get() + index + 1, FList.get() + FCount, FList.get() + index);
  --FCount;
}

// An entry that is not to be retained goes again.
void TPlCustomBoList::Retain(TplPerObject* object, int index) {
  const TAlive alive(this);
  const TObjectHandle entry(object);
  const int held = object->RefCount();
  try {
    object->AddRef(this);
  } catch (...) {
    if (alive && (!entry.IsAlive() || object->RefCount() <= held)) TakeOut(entry, index);
    throw;
  }
}

// --- changing ---

int TPlCustomBoList::SimpleAdd(TplPerObject* AObject) {
  if (FCount == FCapacity) Grow();
  FList[FCount] = AObject;
  return FCount++;
}

int TPlCustomBoList::Add(TplPerObject* AObject) {
  Assert(AObject != nullptr, "TPlCustomBoList.Add: an object is required");
  if (FEvents != nullptr && FEvents->beforeAdd) {
    const TAlive alive(this);
    const TAlive objectAlive(AObject);
    const TIBoListEvent event = FEvents->beforeAdd;
    event(this, AObject);
    if (!alive || !objectAlive) return -1;
  }
  const int index = SimpleAdd(AObject);
  Retain(AObject, index);
  CallNotifyAction(this, TIBaseObjectAction::paAddToList, AObject);
  return index;
}

void TPlCustomBoList::Insert(int AIndex, TplPerObject* AObject) {
  Assert(AObject != nullptr, "TPlCustomBoList.Insert: an object is required");
  if (AIndex < 0 || AIndex > FCount) RaiseIndex(AIndex);
  if (FCount == FCapacity) Grow();
  std::copy_backward(FList.get() + AIndex, FList.get() + FCount, FList.get() + FCount + 1);
  FList[AIndex] = AObject;
  ++FCount;
  Retain(AObject, AIndex);
  CallNotifyAction(this, TIBaseObjectAction::paAddToList, AObject);
}

void TPlCustomBoList::Put(int AIndex, TplPerObject* AObject) {
  CheckIndex(AIndex);
  FList[AIndex] = AObject;
}

void TPlCustomBoList::Delete(int AIndex) {
  CheckIndex(AIndex);
  const TObjectHandle entry = FList[AIndex];
  const auto item = [&] { return static_cast<TplPerObject*>(entry.Get()); };
  const TAlive alive(this);
  int index = AIndex;
  // Whoever is told may have moved the entry or taken it out.
  const auto stillThere = [&] { return alive && (index = FindEntry(entry, index)) >= 0; };
  if (FEvents != nullptr && FEvents->beforeDelete) {
    const TIBoListEvent event = FEvents->beforeDelete;
    event(this, item());
    if (!stillThere()) return;
  }
  CallNotifyAction(this, TIBaseObjectAction::paDeleteFromList, item());
  if (!stillThere()) return;
  if (TplPerObject* const object = item()) {
    const int held = object->RefCount();
    try {
      object->Release(this);
    } catch (...) {
      // The entry stays as long as its reference does.
      if (alive && (!entry.IsAlive() || object->RefCount() < held)) TakeOut(entry, index);
      throw;
    }
    if (!alive) return;
  }
  TakeOut(entry, index);
}

int TPlCustomBoList::Remove(TplPerObject* AObject) {
  const int index = IndexOf(AObject);
  if (index >= 0) Delete(index);
  return index;
}

void TPlCustomBoList::Move(int ACurIndex, int ANewIndex) {
  if (ACurIndex == ANewIndex) return;
  CheckIndex(ANewIndex);
  TplPerObject* const item = Get(ACurIndex);
  Assert(item != nullptr, "TPlCustomBoList.Move: the entry is empty");
  const TAlive alive(this);
  const TAlive itemAlive(item);
  item->AddRef(this);
  TryFinally(
      [&] {
        Delete(ACurIndex);
        // Who was told of it may have made the list shorter.
        if (alive && itemAlive) Insert(std::min(ANewIndex, FCount), item);
      },
      [&] {
        if (alive && itemAlive) item->Release(this);
      });
  if (alive) CallNotifyAction(this, TIBaseObjectAction::paSort, itemAlive ? item : nullptr);
}

void TPlCustomBoList::Exchange(int AIndex1, int AIndex2) {
  CheckIndex(AIndex1);
  CheckIndex(AIndex2);
  std::swap(FList[AIndex1], FList[AIndex2]);
}

void TPlCustomBoList::Sort(TboListSortCompare ACompare, const std::string& AParam) {
  if (FCount == 0) return;
  const std::string param = AParam.empty() ? DefaultSortParam() : AParam;
  const std::vector<TObjectHandle> entries(FList.get(), FList.get() + FCount);
  const TAlive alive(this);
  std::vector<TObjectHandle> sorted;
  if (ACompare == &CompareByOrder) {
    sorted = TBoOrder(param).Sorted(entries);
  } else {
    const auto object = [](TObjectHandle entry) { return static_cast<TplPerObject*>(entry.Get()); };
    sorted = entries;
    QuickSort(std::span(sorted), [&](TObjectHandle a, TObjectHandle b) {
      return ACompare(object(a), object(b), param);
    });
  }
  if (!alive) return;
  if (!std::equal(entries.begin(), entries.end(), FList.get(), FList.get() + FCount)) {
    throw Exception("TPlCustomBoList.Sort: the list has changed while it was sorted");
  }
  std::copy(sorted.begin(), sorted.end(), FList.get());
}

void TPlCustomBoList::Pack() {
  const TAlive alive(this);
  for (int i = FCount - 1; alive && i >= 0; --i) {
    if (i < FCount && Get(i) == nullptr) Delete(i);
  }
}

void TPlCustomBoList::ClearWithCycles(bool) {
  const TAlive alive(this);
  const auto isAlive = [](TObjectHandle entry) { return entry.IsAlive(); };
  do {
    for (int i = 0; i < FCount; ++i) {
      auto* const object = static_cast<TplPerObject*>(FList[i].Get());
      if (object == nullptr) continue;
      FList[i] = TObjectHandle();  // so that nobody lets go of it once more
      try {
        object->Release(this);
      } catch (...) {
        // One bad object does not keep the others: its entry goes with them.
      }
      if (!alive) return;
    }
    // A release may have put others in, in front of the walk.
  } while (std::any_of(FList.get(), FList.get() + FCount, isAlive));
  ForceClear();
  CallNotifyAction(this, TIBaseObjectAction::paModified, nullptr);
}

void TPlCustomBoList::ForceClear() {
  SetCount(0);
  SetCapacity(0);
}

// --- members ---

bool TPlCustomBoList::GetModified() {
  const TAlive alive(this);
  for (int i = 0; alive && i < FCount; ++i) {
    TplPerObject* const object = Get(i);
    if (object != nullptr && object->GetModified()) return true;
  }
  return false;
}

void TPlCustomBoList::RefreshLockGroup(const std::string& ALockGroup) {
  SetNeedToRefresh(true);
  const TAlive alive(this);
  for (int i = 0; alive && i < FCount; ++i) {
    if (TplPerObject* const object = Get(i)) object->RefreshLockGroup(ALockGroup);
  }
}

void TPlCustomBoList::NotifyRefresh(const std::string& ALockGroup) {
  const TAlive alive(this);
  TplDomainObject::NotifyRefresh(ALockGroup);
  for (int i = 0; alive && i < FCount; ++i) {
    if (TplPerObject* const object = Get(i)) object->NotifyRefresh(ALockGroup);
  }
}

void TPlCustomBoList::LogNotifyDetails(std::string_view which) {
  ILog(Format("%s count: %d", which, FCount));
  if (FCount == 0) return;
  TplPerObject* const first = FirstObject();
  if (first == nullptr) return;
  ILog(Format("%s 1st element: %s %s", which, first->ClassName(), first->GetGID()));
}

// --- the cursor ---

TplPerObject* TPlCustomBoList::LastObject() {
  TplPerObject* const last = Get(FCount - 1);
  if (last == nullptr) return nullptr;
  const TAlive alive(this);
  const TObjectHandle entry(last);
  if (IsObjectFiltered(last) && alive) Prior();
  return static_cast<TplPerObject*>(entry.Get());
}

void TPlCustomBoList::Next() {
  const TAlive alive(this);
  if (FCurrIndex < FCount) ++FCurrIndex;
  while (FCurrIndex < FCount && IsCurrObjectFiltered() && alive) ++FCurrIndex;
}

void TPlCustomBoList::Prior() {
  const TAlive alive(this);
  if (FCurrIndex > -1) --FCurrIndex;
  while (FCurrIndex >= 0 && IsCurrObjectFiltered() && alive) --FCurrIndex;
}

TplPerObject* TPlCustomBoList::NSCurrObject() {
  if (FCount == 0) return nullptr;
  if (FCurrIndex == -1) return FirstObject();
  if (FCurrIndex == FCount) return LastObject();
  return Get(FCurrIndex);
}

TplPerObject* TPlCustomBoList::CurrObject() {
  const TAlive alive(this);
  if (IsCurrObjectFiltered() && alive) Next();
  if (!alive || FCount == 0 || IsCurrObjectFiltered() || !alive) return nullptr;
  const int index = GetCurrIndex();
  if (index == -1) return FirstObject();
  if (index == FCount) return LastObject();
  return Get(index);
}

TPlCustomBoList::TFiltering& TPlCustomBoList::NeedFiltering() {
  if (FFiltering == nullptr) FFiltering = std::make_unique<TFiltering>();
  return *FFiltering;
}

const std::string& TPlCustomBoList::aiListFilter() const {
  static const std::string kNone;
  return FFiltering == nullptr ? kNone : FFiltering->text;
}

void TPlCustomBoList::SetListFilter(const std::string& AFilter) {
  if (FFiltering != nullptr || !AFilter.empty()) NeedFiltering().text = AFilter;
  if (FCount > 0) ResyncCurrPosition();
}

bool TPlCustomBoList::EvaluateFilterExpression(TplPerObject* AObject, std::string_view AFilter) {
  return NeedFiltering().filter.Evaluate(AObject, AFilter);
}

bool TPlCustomBoList::IsObjectFiltered(TplPerObject* AObject) {
  if (AObject == nullptr) return true;
  if (FFiltering != nullptr) {
    const TAlive objectAlive(AObject);
    const bool accepted = FFiltering->filter.Evaluate(AObject, FFiltering->text);
    if (!accepted || !objectAlive) return true;
  }
  return !AObject->HasRights({TIAccessRight::arScan});
}

bool TPlCustomBoList::IsCurrObjectFiltered() { return IsObjectFiltered(NSCurrObject()); }

int TPlCustomBoList::CountWithFilter() {
  const TAlive alive(this);
  int count = 0;
  for (int i = 0; alive && i < FCount; ++i) {
    if (!IsObjectFiltered(Get(i))) ++count;
  }
  return count;
}

void TPlCustomBoList::ResyncCurrPosition() {
  const TAlive alive(this);
  if (FCount > 0) GetCurrIndex();  // which may set the cursor
  if (!alive) return;
  if (!EOL()) {
    Next();
    if (alive) Prior();
  } else {
    Prior();
    if (alive) Next();
  }
}

void TPlCustomBoList::GoToBookmark(std::string_view ABookmark) {
  std::int64_t index = 0;
  if (!TryStrToInt(ABookmark, index)) index = 0;
  if (index == -1) index = FCount - 1;
  if (index < 0) index = 0;
  if (index >= FCount) index = FCount - 1;
  FCurrIndex = static_cast<int>(index);
}

// --- events ---

TPlCustomBoList::TEvents& TPlCustomBoList::NeedEvents() {
  if (FEvents == nullptr) FEvents = std::make_unique<TEvents>();
  return *FEvents;
}

const TIBoListEvent& TPlCustomBoList::aiOnBeforeAddItemToList() const {
  return FEvents == nullptr ? kNoEvent : FEvents->beforeAdd;
}
void TPlCustomBoList::aiOnBeforeAddItemToList(TIBoListEvent event) {
  NeedEvents().beforeAdd = std::move(event);
}
const TIBoListEvent& TPlCustomBoList::aiOnBeforeDeleteItemFromList() const {
  return FEvents == nullptr ? kNoEvent : FEvents->beforeDelete;
}
void TPlCustomBoList::aiOnBeforeDeleteItemFromList(TIBoListEvent event) {
  NeedEvents().beforeDelete = std::move(event);
}

std::size_t TPlCustomBoList::MemoryUsed() const {
  return ClassType().InstanceSize() + static_cast<std::size_t>(FCapacity) * sizeof(TObjectHandle);
}

}  // namespace perlayer

#include "perlayer/platform/TList.h"

#include <algorithm>

#include "perlayer/platform/TTextList.h"

namespace perlayer {

void TList::RaiseIndex(int index) { detail::RaiseListIndex(index); }

void TList::Items(int index, TObject* object) {
  TObjectHandle& entry = FItems[Checked(index)];
  const TObjectHandle added(object);
  if (entry == added) return;
  const TObjectHandle old = std::exchange(entry, added);
  Left(old.Get());
}

int TList::Add(TObject* object) {
  FItems.emplace_back(object);
  return Count() - 1;
}

void TList::Insert(int index, TObject* object) {
  if (index != Count()) Checked(index);
  FItems.emplace(FItems.begin() + index, object);
}

void TList::Delete(int index) {
  const auto entry = FItems.begin() + Checked(index);
  const TObjectHandle old = *entry;
  FItems.erase(entry);
  Left(old.Get());
}

int TList::Remove(TObject* object) {
  const int index = IndexOf(object);
  if (index >= 0) Delete(index);
  return index;
}

TObject* TList::Extract(TObject* object) {
  const int index = IndexOf(object);
  if (index < 0) return nullptr;
  FItems.erase(FItems.begin() + index);
  return object;
}

void TList::Clear() {
  const TAlive alive(this);
  while (alive && !FItems.empty()) Delete(Count() - 1);
}

int TList::IndexOf(const TObject* object) const {
  const auto entry = std::find(FItems.begin(), FItems.end(), TObjectHandle(object));
  return entry == FItems.end() ? -1 : static_cast<int>(entry - FItems.begin());
}

void TList::Exchange(int a, int b) { std::swap(FItems[Checked(a)], FItems[Checked(b)]); }

void TList::Move(int from, int to) {
  const auto source = FItems.begin() + Checked(from);
  const auto target = FItems.begin() + Checked(to);
  if (from < to) {
    std::rotate(source, source + 1, target + 1);
  } else {
    std::rotate(target, source, source + 1);
  }
}

void TList::Pack() {
  std::erase_if(FItems, [](const TObjectHandle& entry) { return !entry.IsAlive(); });
}

void TList::Sort(const std::function<bool(TObject*, TObject*)>& less) {
  std::vector<TObjectHandle> items = FItems;
  std::stable_sort(items.begin(), items.end(),
                   [&](TObjectHandle a, TObjectHandle b) { return less(a.Get(), b.Get()); });
  FItems = std::move(items);
}

void TList::Assign(const TList& other) {
  if (&other == this) return;
  std::vector<TObjectHandle> items = other.FItems;  // what Clear frees may take `other` along
  const TAlive alive(this);
  Clear();
  if (alive) FItems = std::move(items);
}

void TList::Capacity(int count) { FItems.reserve(static_cast<std::size_t>(std::max(count, 0))); }

void TList::Left(TObject*) {}

void TObjectList::Destroy() {
  Clear();
  Inherited::Destroy();
}

void TObjectList::Left(TObject* object) {
  if (FOwnsObjects && object != nullptr) object->Free();
}

}  // namespace perlayer

#include "perlayer/corekit/IInterfaceList.h"

#include "perlayer/platform/TTextList.h"

namespace perlayer {

std::span<const TInterfaceEntry> TInterfaceList::InterfaceTable() {
  static constexpr TInterfaceEntry kTable[] = {
      {IInterface::IID,
       [](TObject* object) -> void* {
         return static_cast<IInterface*>(static_cast<TInterfaceList*>(object));
       }},
      InterfaceEntry<TInterfaceList, IInterfaceList>()};
  return kTable;
}

HResult TInterfaceList::QueryInterface(const TGuid& iid, void** object) {
  const HResult result = FindInterface(this, iid, object);
  if (result == S_OK) _AddRef();
  return result;
}

int TInterfaceList::_Release() {
  const int left = --FHolders;
  if (left == 0) {
    FHolders = 1;  // whoever takes and gives back the list while it ends does not end it again
    Free();
  }
  return left;
}

std::size_t TInterfaceList::Checked(int index) const {
  if (index < 0 || index >= Count()) detail::RaiseListIndex(index);
  return static_cast<std::size_t>(index);
}

// In all that follows, what goes is taken out of the list first and given back at the end of the
// scope: by then the list is whole, and it may be gone.

void TInterfaceList::Put(int index, IInterface* item) {
  TInterfaceRef<IInterface> other(item);
  std::swap(FItems[Checked(index)], other);
}

int TInterfaceList::Add(IInterface* item) {
  FItems.emplace_back(item);
  return Count() - 1;
}

void TInterfaceList::Insert(int index, IInterface* item) {
  if (index != Count()) Checked(index);
  FItems.emplace(FItems.begin() + index, item);
}

void TInterfaceList::Delete(int index) {
  const TInterfaceRef<IInterface> going = std::move(FItems[Checked(index)]);
  FItems.erase(FItems.begin() + index);
}

int TInterfaceList::Remove(IInterface* item) {
  const int index = IndexOf(item);
  if (index >= 0) Delete(index);
  return index;
}

int TInterfaceList::IndexOf(IInterface* item) const {
  for (int i = 0; i < Count(); ++i) {
    if (FItems[static_cast<std::size_t>(i)].Get() == item) return i;
  }
  return -1;
}

void TInterfaceList::Exchange(int a, int b) { std::swap(FItems[Checked(a)], FItems[Checked(b)]); }

void TInterfaceList::Clear() {
  const std::vector<TInterfaceRef<IInterface>> going = std::exchange(FItems, {});
}

void TInterfaceList::Destroy() {
  Clear();
  Inherited::Destroy();
}

}  // namespace perlayer

#include "perlayer/foundation/TplRetainerList.h"

#include <algorithm>
#include <memory>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Format.h"

namespace perlayer {

const TplRetainerList::TEntry& TplRetainerList::At(int index) const {
  if (index < 0 || index >= Count()) {
    throw EListError(Format("List index out of bounds (%d)", index));
  }
  return FCapacity == kIndexed ? FIndex->At(index) : Entries()[index];
}

int TplRetainerList::IndexOfObject(const TObject* retainer) const {
  const TObjectHandle handle(retainer);
  if (FCapacity == kIndexed) return FIndex->IndexOf(handle);
  const TEntry* begin = Entries();
  const TEntry* end = begin + FCount;
  const TEntry* found =
      std::find_if(begin, end, [&](const TEntry& entry) { return entry.retainer == handle; });
  return found == end ? -1 : static_cast<int>(found - begin);
}

// Room for one entry more than there are.
void TplRetainerList::Grow() {
  if (FCount < kShortList) {
    const std::uint32_t capacity = FCapacity == 0 ? 4 : 2 * FCapacity;
    auto* entries = new TEntry[capacity];
    std::copy_n(Entries(), FCount, entries);
    if (FCapacity != 0) delete[] FEntries;
    FEntries = entries;
    FCapacity = capacity;
  } else {
    auto index = std::make_unique<TRetainerIndex>();
    std::for_each_n(FEntries, FCount, [&](const TEntry& entry) { index->Add(entry); });
    delete[] FEntries;
    FIndex = index.release();
    FCapacity = kIndexed;
  }
}

void TplRetainerList::AddWithGrowth(const TObject* retainer) {
  const TEntry entry = {&retainer->ClassType(), retainer};
  if (FCount == std::max(FCapacity, kFirst)) Grow();
  if (FCapacity == kIndexed) {
    FIndex->Add(entry);
  } else {
    Entries()[FCount] = entry;
  }
  ++FCount;
}

void TplRetainerList::Replace(int index, const TObject* retainer) {
  const TEntry entry = {&retainer->ClassType(), retainer};
  At(index);
  if (FCapacity == kIndexed) {
    FIndex->Replace(index, entry);
  } else {
    Entries()[index] = entry;
  }
}

void TplRetainerList::Delete(int index) {
  At(index);
  if (FCapacity == kIndexed) {
    FIndex->Delete(index);
    if (--FCount == 0) Clear();
  } else {
    TEntry* entry = Entries() + index;
    std::copy(entry + 1, Entries() + FCount, entry);
    --FCount;
  }
}

bool TplRetainerList::DeleteIndexed(const TObject* retainer) {
  if (retainer == nullptr || !FIndex->DeleteObject(*retainer)) return false;
  if (--FCount == 0) Clear();
  return true;
}

void TplRetainerList::Clear() {
  if (FCapacity == kIndexed) {
    delete FIndex;
  } else if (FCapacity != 0) {
    delete[] FEntries;
  }
  FCapacity = 0;
  FCount = 0;
  std::fill_n(FFirst, kFirst, TEntry{});
}

}  // namespace perlayer

#include "perlayer/foundation/TplRetainerList.h"

#include <algorithm>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Format.h"

namespace perlayer {

TplRetainerList::TEntry& TplRetainerList::At(int index) const {
  if (index < 0 || index >= Count()) {
    throw EListError(Format("List index out of bounds (%d)", index));
  }
  return Entries()[index];
}

int TplRetainerList::IndexOfObject(const TObject* retainer) const {
  const TObjectHandle handle(retainer);
  const TEntry* begin = Entries();
  const TEntry* end = begin + FCount;
  const TEntry* found =
      std::find_if(begin, end, [&](const TEntry& entry) { return entry.retainer == handle; });
  return found == end ? -1 : static_cast<int>(found - begin);
}

void TplRetainerList::Add(const TObject* retainer) {
  if (FCount == (FCapacity == 0 ? 1 : FCapacity)) {
    const std::uint32_t capacity = FCapacity == 0 ? 4 : 2 * FCapacity;
    auto* entries = new TEntry[capacity];
    std::copy_n(Entries(), FCount, entries);
    if (FCapacity != 0) delete[] FEntries;
    FEntries = entries;
    FCapacity = capacity;
  }
  Entries()[FCount] = {&retainer->ClassType(), retainer};
  ++FCount;
}

void TplRetainerList::Replace(int index, const TObject* retainer) {
  At(index) = {&retainer->ClassType(), retainer};
}

void TplRetainerList::Delete(int index) {
  TEntry* entry = &At(index);
  std::copy(entry + 1, Entries() + FCount, entry);
  --FCount;
}

void TplRetainerList::Clear() {
  if (FCapacity != 0) delete[] FEntries;
  FCapacity = 0;
  FCount = 0;
  FFirst = {nullptr, {}};
}

}  // namespace perlayer

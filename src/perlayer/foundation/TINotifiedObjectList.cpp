#include "perlayer/foundation/TINotifiedObjectList.h"

#include <algorithm>
#include <bit>

#include "perlayer/foundation/TplDomainObject.h"

namespace perlayer {

std::size_t TSequenceSet::Probe(std::uint64_t number) const {
  const std::size_t mask = FTable.size() - 1;
  std::size_t place = (number * 0x9E3779B97F4A7C15ull) >> (64 - std::countr_zero(FTable.size()));
  while (FTable[place] != 0 && FTable[place] != number) place = (place + 1) & mask;
  return place;
}

bool TSequenceSet::Contains(std::uint64_t number) const {
  if (!FTable.empty()) return FTable[Probe(number)] == number;
  return std::find(FInline, FInline + FCount, number) != FInline + FCount;
}

void TSequenceSet::Insert(std::uint64_t number) {
  if (Contains(number)) return;
  if (FTable.empty()) {
    if (FCount < kInline) {
      FInline[FCount++] = number;
      return;
    }
    Grow();
  } else if (2 * (FCount + 1) > FTable.size()) {
    Grow();
  }
  FTable[Probe(number)] = number;
  ++FCount;
}

void TSequenceSet::Grow() {
  std::vector<std::uint64_t> numbers;
  if (FTable.empty()) {
    numbers.assign(FInline, FInline + FCount);
  } else {
    numbers.swap(FTable);
  }
  FTable.assign(std::max<std::size_t>(4 * kInline, 2 * numbers.size()), 0);
  for (const std::uint64_t number : numbers) {
    if (number != 0) FTable[Probe(number)] = number;
  }
}

void TSequenceSet::Clear() {
  FTable.clear();
  FCount = 0;
}

void TINotifiedObjectList::AddObject(const TplDomainObject* object) {
  FSortedList.Insert(object->MemorySequenceNumber());
}

int TINotifiedObjectList::IndexOfObject(const TplDomainObject* object) const {
  return FSortedList.Contains(object->MemorySequenceNumber()) ? 0 : -1;
}

TObject* TINotifiedObjectList::Living(TObject* party) {
  if (party == nullptr) return nullptr;
  for (const TParty& known : FParties) {
    if (known.object == party) return known.handle.Get();
  }
  FParties.push_back({party, party});
  return party;
}

}  // namespace perlayer

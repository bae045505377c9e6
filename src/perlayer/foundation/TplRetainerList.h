#pragma once
// TplRetainerList: who holds an object. One entry per outstanding AddRef, the creator's included,
// in the order of AddRef; a retainer that holds three times stands here three times.
//
// An entry is the retainer's class, as it was at AddRef, and a handle to the retainer. A retainer
// that was destroyed without letting go is thus told from a living one without its memory being
// read, and its class can still be named. The first two entries need no memory of their own.
//
// A list that has grown past kShortList entries indexes itself, until it is empty again: from then
// on adding takes constant time on the average, as does deleting a retainer's first entry, and what
// goes by index O(log n) at most. The order stays that of AddRef. An operation that raises leaves
// the list as it was; deleting needs no memory.
//
// Main thread only.

#include <algorithm>
#include <cstdint>
#include <string>

#include "perlayer/foundation/TRetainerIndex.h"
#include "perlayer/platform/TObject.h"

namespace perlayer {

class TplRetainerList {
 public:
  TplRetainerList() = default;
  ~TplRetainerList() { Clear(); }
  TplRetainerList(const TplRetainerList&) = delete;
  TplRetainerList& operator=(const TplRetainerList&) = delete;

  int Count() const { return static_cast<int>(FCount); }
  // The retainer's class name at the moment of AddRef.
  std::string Strings(int index) const { return std::string(At(index).cls->Name()); }
  const TClass& ClassAt(int index) const { return *At(index).cls; }
  // The retainer; nullptr when it was destroyed without letting go.
  TObject* Objects(int index) const { return At(index).retainer.Get(); }
  TObjectHandle HandleAt(int index) const { return At(index).retainer; }
  // The first entry of that retainer, or -1.
  int IndexOfObject(const TObject* retainer) const;

  // Whether some retainer was of that class, or one derived from it, at the moment of AddRef.
  bool HasClass(const TClass& cls) const {
    const auto isOne = [&](const TEntry& entry) { return entry.cls->InheritsFrom(cls); };
    if (FCapacity != kIndexed) return std::any_of(Entries(), Entries() + FCount, isOne);
    for (int i = 0; i < Count(); ++i) {
      if (isOne(At(i))) return true;
    }
    return false;
  }

  // REQUIRES, here and in Replace: retainer != nullptr
  void Add(const TObject* retainer) {
    // Room in the array that nearly every longer list is; the room in FFirst is Grow's.
    if (FCount >= FCapacity || FCapacity == kIndexed) return AddWithGrowth(retainer);
    FEntries[FCount++] = {&retainer->ClassType(), retainer};
  }
  // Puts a living retainer in the place of the entry's own.
  void Replace(int index, const TObject* retainer);
  void Delete(int index);
  // Deletes the first entry of that retainer; false when it has none.
  bool DeleteObject(const TObject* retainer) {
    if (FCapacity == kIndexed) return DeleteIndexed(retainer);
    const TObjectHandle handle(retainer);
    TEntry* const end = Entries() + FCount;
    TEntry* const found =
        std::find_if(Entries(), end, [&](const TEntry& entry) { return entry.retainer == handle; });
    if (found == end) return false;
    std::copy(found + 1, end, found);
    --FCount;
    return true;
  }
  void Clear();

 private:
  using TEntry = TRetainerIndex::TEntry;
  // One holds what is only read, a transaction too what is saved.
  static constexpr std::uint32_t kFirst = 2;
  static constexpr std::uint32_t kShortList = 128;
  static constexpr std::uint32_t kIndexed = UINT32_MAX;

  const TEntry& At(int index) const;  // raises EListError outside
  TEntry* Entries() { return FCapacity == 0 ? FFirst : FEntries; }
  const TEntry* Entries() const { return FCapacity == 0 ? FFirst : FEntries; }
  void Grow();
  void AddWithGrowth(const TObject* retainer);
  bool DeleteIndexed(const TObject* retainer);

  std::uint32_t FCount = 0;
  // Which storage is in use. 0: FFirst; kIndexed: FIndex; otherwise FEntries.
  std::uint32_t FCapacity = 0;
  union {
    TEntry FFirst[kFirst] = {};
    TEntry* FEntries;
    TRetainerIndex* FIndex;
  };
};

}  // namespace perlayer

#pragma once
// TRetainerIndex: the entries of a long retainer list. Used by TplRetainerList only.
//
// Entries stand in the order of adding. Taking one out leaves a hole, and when there are more holes
// than entries all are moved together. A set of the places that are taken leads from an index to
// its place and back. A hash table with linear probing leads from a retainer to its first entry,
// and each entry to the same retainer's next.
//
// Retainers that let go in no order find nothing in the cache. Beside what must be read of the
// retainer itself, one with a single entry costs a line of the hash table, which is fetched at the
// same time: its entry is taken out without being read.
//
// Reading changes nothing. What raises, only for want of memory, leaves everything as it was.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "perlayer/foundation/TPlaceSet.h"
#include "perlayer/platform/TObjectHandle.h"

namespace perlayer {

class TRetainerIndex {
 public:
  struct TEntry {
    const TClass* cls;
    TObjectHandle retainer;
  };

  std::uint32_t Count() const { return FCount; }
  // REQUIRES, in all: 0 <= index < Count()
  const TEntry& At(int index) const { return FPlaces[PlaceOf(index)].entry; }
  // The first entry of that retainer, or -1.
  int IndexOf(TObjectHandle retainer) const;

  void Add(const TEntry& entry);
  void Replace(int index, const TEntry& entry);
  void Delete(int index) noexcept;
  // Takes out the first entry of that retainer; false when it has none. REQUIRES: it lives
  bool DeleteObject(const TObject& retainer) noexcept;

 private:
  static constexpr std::uint32_t kNone = UINT32_MAX;
  static constexpr std::size_t kMinPlaces = 256;

  struct TPlace {
    TEntry entry;
    std::uint32_t next;  // the same retainer's next place, or kNone
  };
  struct TBucket {
    TObjectHandle retainer;  // nil: free
    std::uint32_t first;
    std::uint32_t last;
  };

  bool HasHoles() const { return FCount != FPlaces.size(); }
  std::uint32_t PlaceOf(int index) const {
    const auto count = static_cast<std::uint32_t>(index);
    return HasHoles() ? FTaken.Find(count) : count;
  }
  std::size_t HomeOf(std::uint32_t slot) const;
  // The retainer's bucket, or the free one where it belongs.
  std::size_t BucketOf(TObjectHandle retainer) const;
  void FreeBucket(std::size_t bucket) noexcept;
  void ReserveBucket();
  void Link(std::uint32_t place) noexcept;
  void Unlink(std::size_t bucket, std::uint32_t place) noexcept;
  void Remove(std::size_t bucket, std::uint32_t place) noexcept;
  void Compact() noexcept;

  std::uint32_t FCount = 0;       // entries, without holes
  std::uint32_t FRetainers = 0;   // buckets in use
  std::vector<TPlace> FPlaces;    // in order
  TPlaceSet FTaken;               // the places that are no holes
  std::vector<TBucket> FBuckets;  // a power of two, at most half of them in use
};

}  // namespace perlayer

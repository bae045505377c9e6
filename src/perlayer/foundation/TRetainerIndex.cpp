#include "perlayer/foundation/TRetainerIndex.h"

#include <algorithm>

namespace perlayer {

namespace {

std::uint32_t SlotOf(TObjectHandle handle) {
  return static_cast<std::uint32_t>(handle.Value() >> 32);
}

}  // namespace

int TRetainerIndex::IndexOf(TObjectHandle retainer) const {
  const TBucket& bucket = FBuckets[BucketOf(retainer)];
  if (retainer.IsNil() || bucket.retainer != retainer) return -1;
  return static_cast<int>(HasHoles() ? FTaken.CountBefore(bucket.first) : bucket.first);
}

std::size_t TRetainerIndex::HomeOf(std::uint32_t slot) const {
  // Retainers made one after another have slots in a row, and are often released so: four of them
  // share a cache line of buckets. The lines are scattered by Fibonacci hashing.
  const std::uint64_t line = (slot >> 2) * 0x9E3779B97F4A7C15u >> 32;
  return static_cast<std::size_t>(line << 2 | (slot & 3)) & (FBuckets.size() - 1);
}

std::size_t TRetainerIndex::BucketOf(TObjectHandle retainer) const {
  std::size_t bucket = HomeOf(SlotOf(retainer));
  while (!FBuckets[bucket].retainer.IsNil() && FBuckets[bucket].retainer != retainer) {
    bucket = (bucket + 1) & (FBuckets.size() - 1);
  }
  return bucket;
}

// Those behind it move up where they would not be found otherwise.
void TRetainerIndex::FreeBucket(std::size_t bucket) noexcept {
  const std::size_t mask = FBuckets.size() - 1;
  for (std::size_t i = (bucket + 1) & mask; !FBuckets[i].retainer.IsNil(); i = (i + 1) & mask) {
    if (((i - HomeOf(SlotOf(FBuckets[i].retainer))) & mask) >= ((i - bucket) & mask)) {
      FBuckets[bucket] = FBuckets[i];
      bucket = i;
    }
  }
  FBuckets[bucket].retainer = {};
  --FRetainers;
}

// Sees to it that one more retainer finds a bucket.
void TRetainerIndex::ReserveBucket() {
  if (2 * (FRetainers + 1) <= FBuckets.size()) return;
  std::vector<TBucket> old(std::max<std::size_t>(2 * FBuckets.size(), 512));
  old.swap(FBuckets);
  for (const TBucket& bucket : old) {
    if (!bucket.retainer.IsNil()) FBuckets[BucketOf(bucket.retainer)] = bucket;
  }
}

// A retainer's places are chained in ascending order. Most are added at the end and taken from the
// front, which both take no search.
void TRetainerIndex::Link(std::uint32_t place) noexcept {
  TPlace& added = FPlaces[place];
  TBucket& bucket = FBuckets[BucketOf(added.entry.retainer)];
  added.next = kNone;
  if (bucket.retainer.IsNil()) {
    bucket = {added.entry.retainer, place, place};
    ++FRetainers;
  } else if (bucket.last < place) {
    FPlaces[bucket.last].next = place;
    bucket.last = place;
  } else {
    std::uint32_t* link = &bucket.first;
    while (*link < place) link = &FPlaces[*link].next;
    added.next = *link;
    *link = place;
  }
}

void TRetainerIndex::Unlink(std::size_t at, std::uint32_t place) noexcept {
  TBucket& bucket = FBuckets[at];
  if (bucket.first == bucket.last) {
    FreeBucket(at);
    return;
  }
  std::uint32_t before = kNone;
  std::uint32_t* link = &bucket.first;
  while (*link != place) {
    before = *link;
    link = &FPlaces[before].next;
  }
  *link = FPlaces[place].next;
  if (bucket.last == place) bucket.last = before;
}

void TRetainerIndex::Add(const TEntry& entry) {
  ReserveBucket();
  if (FPlaces.size() == FPlaces.capacity()) {
    const std::size_t places = std::max(2 * FPlaces.size(), kMinPlaces);
    FTaken.Reserve(places);
    FPlaces.reserve(places);
  }
  FPlaces.push_back({entry, kNone});
  FTaken.Append();
  Link(static_cast<std::uint32_t>(FPlaces.size() - 1));
  ++FCount;
}

void TRetainerIndex::Replace(int index, const TEntry& entry) {
  ReserveBucket();
  const std::uint32_t place = PlaceOf(index);
  Unlink(BucketOf(FPlaces[place].entry.retainer), place);
  FPlaces[place].entry = entry;
  Link(place);
}

void TRetainerIndex::Delete(int index) noexcept {
  const std::uint32_t place = PlaceOf(index);
  Remove(BucketOf(FPlaces[place].entry.retainer), place);
}

bool TRetainerIndex::DeleteObject(const TObject& retainer) noexcept {
  __builtin_prefetch(&FBuckets[HomeOf(retainer.Slot())]);
  const TObjectHandle handle(&retainer);
  const std::size_t bucket = BucketOf(handle);
  if (FBuckets[bucket].retainer != handle) return false;
  Remove(bucket, FBuckets[bucket].first);
  return true;
}

void TRetainerIndex::Remove(std::size_t bucket, std::uint32_t place) noexcept {
  Unlink(bucket, place);
  FTaken.Remove(place);
  --FCount;
  if (FPlaces.size() > 2 * static_cast<std::size_t>(FCount) + kMinPlaces) Compact();
}

void TRetainerIndex::Compact() noexcept {
  std::uint32_t end = 0;
  for (std::uint32_t place = 0; place < FPlaces.size(); ++place) {
    if (FTaken.Has(place)) FPlaces[end++] = FPlaces[place];
  }
  FPlaces.resize(end, TPlace{});
  FTaken.Fill(end);
  std::fill(FBuckets.begin(), FBuckets.end(), TBucket{});
  FRetainers = 0;
  for (std::uint32_t place = 0; place < end; ++place) Link(place);
}

}  // namespace perlayer

#include "perlayer/foundation/TRetainerIndex.h"

#include <algorithm>
#include <bit>

namespace perlayer {

std::uint32_t TRetainerIndex::PlaceOf(int index) const {
  auto rest = static_cast<std::uint32_t>(index);
  if (FCount == FPlaces.size()) return rest;  // no holes
  // The last block before which at most `rest` entries stand.
  std::size_t block = 0;
  for (std::size_t step = std::bit_floor(FCounts.size()); step > 0; step /= 2) {
    if (block + step <= FCounts.size() && FCounts[block + step - 1] <= rest) {
      block += step;
      rest -= FCounts[block - 1];
    }
  }
  auto place = static_cast<std::uint32_t>(block) * kBlock;
  for (;; ++place) {
    if (FPlaces[place].entry.cls == nullptr) continue;
    if (rest-- == 0) return place;
  }
}

int TRetainerIndex::IndexOf(TObjectHandle retainer) const {
  const TBucket& bucket = FBuckets[BucketOf(retainer)];
  if (retainer.IsNil() || bucket.retainer != retainer) return -1;
  const std::uint32_t place = bucket.first;
  if (FCount == FPlaces.size()) return static_cast<int>(place);
  std::uint32_t index = 0;
  for (std::uint32_t block = place / kBlock; block > 0; block &= block - 1) {
    index += FCounts[block - 1];
  }
  for (std::uint32_t i = place / kBlock * kBlock; i < place; ++i) {
    index += FPlaces[i].entry.cls != nullptr;
  }
  return static_cast<int>(index);
}

std::size_t TRetainerIndex::HomeOf(TObjectHandle retainer) const {
  // Retainers made one after another have slots in a row, and are often released so: four of them
  // share a cache line of buckets. The lines are scattered by Fibonacci hashing.
  const std::uint64_t slot = retainer.Value() >> 32;
  const std::uint64_t line = (slot >> 2) * 0x9E3779B97F4A7C15u >> 32;
  return static_cast<std::size_t>(line << 2 | (slot & 3)) & (FBuckets.size() - 1);
}

std::size_t TRetainerIndex::BucketOf(TObjectHandle retainer) const {
  std::size_t bucket = HomeOf(retainer);
  while (!FBuckets[bucket].retainer.IsNil() && FBuckets[bucket].retainer != retainer) {
    bucket = (bucket + 1) & (FBuckets.size() - 1);
  }
  return bucket;
}

// Those behind it move up where they would not be found otherwise.
void TRetainerIndex::FreeBucket(std::size_t bucket) noexcept {
  const std::size_t mask = FBuckets.size() - 1;
  for (std::size_t i = (bucket + 1) & mask; !FBuckets[i].retainer.IsNil(); i = (i + 1) & mask) {
    if (((i - HomeOf(FBuckets[i].retainer)) & mask) >= ((i - bucket) & mask)) {
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

void TRetainerIndex::Unlink(std::uint32_t place) noexcept {
  const TPlace& gone = FPlaces[place];
  const std::size_t at = BucketOf(gone.entry.retainer);
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
  *link = gone.next;
  if (bucket.last == place) bucket.last = before;
}

void TRetainerIndex::CountIn(std::uint32_t place, std::uint32_t change) noexcept {
  for (std::size_t node = place / kBlock + 1; node <= FCounts.size(); node += node & (0 - node)) {
    FCounts[node - 1] += change;  // a change of -1 wraps around
  }
}

void TRetainerIndex::Add(const TEntry& entry) {
  ReserveBucket();
  const auto place = static_cast<std::uint32_t>(FPlaces.size());
  if (FPlaces.size() == FPlaces.capacity())
    FPlaces.reserve(std::max(2 * FPlaces.size(), kMinPlaces));
  if (place % kBlock == 0 && place / kBlock == FCounts.size()) {
    // A new node sums the blocks that end with its own, which has no entry yet.
    const std::size_t node = FCounts.size() + 1;
    std::uint32_t sum = 0;
    for (std::size_t part = node - 1; part > (node & (node - 1)); part &= part - 1) {
      sum += FCounts[part - 1];
    }
    FCounts.push_back(sum);
  }
  FPlaces.push_back({entry, kNone});
  CountIn(place, 1);
  Link(place);
  ++FCount;
}

void TRetainerIndex::Replace(int index, const TEntry& entry) {
  ReserveBucket();
  const std::uint32_t place = PlaceOf(index);
  Unlink(place);
  FPlaces[place].entry = entry;
  Link(place);
}

bool TRetainerIndex::Delete(TObjectHandle retainer) noexcept {
  const TBucket& bucket = FBuckets[BucketOf(retainer)];
  if (retainer.IsNil() || bucket.retainer != retainer) return false;
  Remove(bucket.first);
  return true;
}

void TRetainerIndex::Remove(std::uint32_t place) noexcept {
  Unlink(place);
  FPlaces[place].entry = {nullptr, {}};
  CountIn(place, static_cast<std::uint32_t>(-1));
  --FCount;
  if (FPlaces.size() > 2 * static_cast<std::size_t>(FCount) + kMinPlaces) Compact();
}

void TRetainerIndex::Compact() noexcept {
  std::erase_if(FPlaces, [](const TPlace& place) { return place.entry.cls == nullptr; });
  std::fill(FBuckets.begin(), FBuckets.end(), TBucket{});
  FRetainers = 0;
  for (std::uint32_t place = 0; place < FPlaces.size(); ++place) Link(place);
  FCounts.resize((FPlaces.size() + kBlock - 1) / kBlock);
  for (std::size_t node = 1; node <= FCounts.size(); ++node) {
    // The nodes sum (node & (node - 1), node]; all places are taken, but some of the last block.
    const std::size_t first = (node & (node - 1)) * kBlock;
    FCounts[node - 1] =
        static_cast<std::uint32_t>(std::min<std::size_t>(node * kBlock, FPlaces.size()) - first);
  }
}

}  // namespace perlayer

#include "perlayer/foundation/TPlaceSet.h"

#include <algorithm>
#include <bit>

namespace perlayer {

void TPlaceSet::Reserve(std::size_t places) {
  FBits.reserve((places + 63) / 64);
  FCounts.reserve((places + kBlock - 1) / kBlock);
}

void TPlaceSet::CountIn(std::uint32_t place, std::uint32_t change) noexcept {
  for (std::size_t node = place / kBlock + 1; node <= FCounts.size(); node += node & (0 - node)) {
    FCounts[node - 1] += change;  // a change of -1 wraps around
  }
}

void TPlaceSet::Append() noexcept {
  const std::uint32_t place = FPlaces++;
  if (place % kBlock == 0) {
    // A new node sums the blocks that end with its own, in which nothing is taken yet.
    const std::size_t node = FCounts.size() + 1;
    std::uint32_t sum = 0;
    for (std::size_t part = node - 1; part > (node & (node - 1)); part &= part - 1) {
      sum += FCounts[part - 1];
    }
    FCounts.push_back(sum);
  }
  if (place % 64 == 0) FBits.push_back(0);
  FBits[place / 64] |= std::uint64_t{1} << place % 64;
  CountIn(place, 1);
}

void TPlaceSet::Remove(std::uint32_t place) noexcept {
  FBits[place / 64] &= ~(std::uint64_t{1} << place % 64);
  CountIn(place, static_cast<std::uint32_t>(-1));
}

void TPlaceSet::Fill(std::uint32_t places) noexcept {
  FPlaces = places;
  FBits.assign((places + 63) / 64, ~std::uint64_t{0});
  if (places % 64 != 0) FBits.back() >>= 64 - places % 64;
  FCounts.resize((places + kBlock - 1) / kBlock);
  for (std::size_t node = 1; node <= FCounts.size(); ++node) {
    // The nodes sum the blocks (node & (node - 1), node].
    const std::size_t first = (node & (node - 1)) * kBlock;
    FCounts[node - 1] =
        static_cast<std::uint32_t>(std::min<std::size_t>(node * kBlock, places) - first);
  }
}

std::uint32_t TPlaceSet::CountBefore(std::uint32_t place) const {
  std::uint32_t count = 0;
  const std::uint32_t block = place / kBlock;
  for (std::uint32_t node = block; node > 0; node &= node - 1) count += FCounts[node - 1];
  for (std::uint32_t word = block * (kBlock / 64); word < place / 64; ++word) {
    count += static_cast<std::uint32_t>(std::popcount(FBits[word]));
  }
  const std::uint64_t before = FBits[place / 64] & ((std::uint64_t{1} << place % 64) - 1);
  return count + static_cast<std::uint32_t>(std::popcount(before));
}

std::uint32_t TPlaceSet::Find(std::uint32_t count) const {
  // The last block before which at most `count` are taken.
  std::size_t block = 0;
  for (std::size_t step = std::bit_floor(FCounts.size()); step > 0; step /= 2) {
    if (block + step <= FCounts.size() && FCounts[block + step - 1] <= count) {
      block += step;
      count -= FCounts[block - 1];
    }
  }
  auto word = static_cast<std::uint32_t>(block) * (kBlock / 64);
  for (;; ++word) {
    const auto taken = static_cast<std::uint32_t>(std::popcount(FBits[word]));
    if (count < taken) break;
    count -= taken;
  }
  std::uint64_t bits = FBits[word];
  for (; count > 0; --count) bits &= bits - 1;
  return word * 64 + static_cast<std::uint32_t>(std::countr_zero(bits));
}

}  // namespace perlayer

#pragma once
// TPlaceSet: which places of a growing row are taken. Counts those before a place, and finds the
// place of the n-th. Used by TRetainerIndex only.
//
// A bit for each place, and for each block of places how many of them are taken, kept as a binary
// indexed tree (Fenwick, "A New Data Structure for Cumulative Frequency Tables", 1994). A row of
// 100,000 has 12 KB of bits and less than 1 KB of counts, which stay in the cache.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace perlayer {

class TPlaceSet {
 public:
  // Room for that many places, so that Append needs no memory up to there.
  void Reserve(std::size_t places);
  // One more place at the end, taken. REQUIRES: it was reserved
  void Append() noexcept;
  // REQUIRES: the place is taken
  void Remove(std::uint32_t place) noexcept;
  // That many places, all taken. REQUIRES: no more than there were
  void Fill(std::uint32_t places) noexcept;

  bool Has(std::uint32_t place) const { return (FBits[place / 64] >> place % 64 & 1) != 0; }
  // How many are taken before `place`.
  std::uint32_t CountBefore(std::uint32_t place) const;
  // The place before which `count` are taken. REQUIRES: there are more than that
  std::uint32_t Find(std::uint32_t count) const;

 private:
  static constexpr std::uint32_t kBlock = 512;
  void CountIn(std::uint32_t place, std::uint32_t change) noexcept;

  std::uint32_t FPlaces = 0;
  std::vector<std::uint64_t> FBits;    // 0 behind the last place
  std::vector<std::uint32_t> FCounts;  // the binary indexed tree, a node for each block
};

}  // namespace perlayer

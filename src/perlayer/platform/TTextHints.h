#pragma once
// TTextHints: the numbers that a sorted list keeps beside its texts, so that most comparisons need
// not read the texts: where the hints of two texts differ, the texts compare as they do.
//
// A hint is sixteen bytes of the text's key: of its folded characters, or of its bytes where case
// counts. Texts of one list often begin alike ("PATIENT0017"), and their first bytes tell
// nothing; hints begin behind what all texts of the list have in common, up to a limit, and within
// a node of the list's tree (see TCountedTree) as much deeper as the texts of that node do.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace perlayer {

class TTextHints {
 public:
  __extension__ typedef unsigned __int128 THint;

  // The beginning of a text's key, from which its hints of all depths are read.
  class TProbe {
   public:
    // Sixteen bytes as a number that orders as they do. A key that ends sooner is filled up with
    // zeros: it then comes before all longer ones, or has the same hint.
    THint At(unsigned depth) const {
      return static_cast<THint>(Word(FCommon + depth)) << 64 | Word(FCommon + depth + 8);
    }

   private:
    friend class TTextHints;
    std::uint64_t Word(std::size_t at) const {
      std::uint64_t word;
      std::memcpy(&word, FBytes.data() + at, sizeof word);
      return __builtin_bswap64(word);
    }

    std::size_t FCommon;
    std::size_t FSize;
    std::array<char, 112> FBytes;  // zeros behind the last
  };

  explicit TTextHints(bool caseSensitive = false) : FCaseSensitive(caseSensitive) {}

  TProbe Probe(std::string_view text) const;
  // Where the text stands to all that begin like the texts of the list: 0 among them; below or
  // above 0 before or behind all of them, and it has no hint here.
  int Side(const TProbe& probe) const;
  // A text comes to a list of `count` others. True: the texts have less in common than before, and
  // the hints of all of them must be made anew. However many texts come, that is so a few times
  // while the list is short and at most kMaxCommon times, each time half as often, from then on.
  bool Admit(std::string_view text, int count);

  // What the tree asks for.
  template <class TItem>
  TProbe ProbeOf(const TItem& item) const {
    return Probe(item.Text());
  }
  static constexpr unsigned kMaxDepth = 48;
  static unsigned Common(THint low, THint high) {
    if (low >> 64 != high >> 64) return 0;
    return low == high ? 16 : 8;
  }
  static THint Deeper(THint hint, unsigned by, bool upper) {
    const THint unknown = upper ? static_cast<THint>(-1) : 0;
    return by == 0 ? hint : by >= 16 ? unknown : hint << 64 | (unknown >> 64);
  }

 private:
  static constexpr std::size_t kMaxCommon = 48;
  static_assert(kMaxCommon + kMaxDepth + sizeof(THint) <= sizeof(TProbe::FBytes));

  bool FCaseSensitive;
  std::size_t FCommon = 0;  // bytes of FBeginning
  std::array<char, kMaxCommon> FBeginning{};
};

}  // namespace perlayer

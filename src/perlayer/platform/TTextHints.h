#pragma once
// TTextHints: the numbers that a sorted list keeps beside its texts, so that most comparisons need
// not read the texts: where the hints of two texts differ, the texts compare as they do.
//
// A hint is sixteen bytes of the text's key: of its folded characters, or of its bytes where case
// counts. Texts of one list often begin alike ("PATIENT0017"), and their first bytes tell
// nothing; the hint begins behind what all texts of the list have in common, up to a limit.

#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "perlayer/platform/Text.h"

namespace perlayer {

class TTextHints {
 public:
  __extension__ typedef unsigned __int128 THint;

  explicit TTextHints(bool caseSensitive = false) : FCaseSensitive(caseSensitive) {}

  // Where the text stands to all that begin like the texts of the list: 0 among them, with its
  // hint; below or above 0 before or behind all of them.
  int Place(std::string_view text, THint& hint) const;
  // The hint of a text that begins like the others.
  THint Of(std::string_view text) const {
    THint hint = 0;
    Place(text, hint);
    return hint;
  }
  // A text comes to a list of `count` others. True: the texts have less in common than before, and
  // the hints of all of them must be made anew. However many texts come, that is so a few times
  // while the list is short and at most kMaxCommon times, each time half as often, from then on.
  bool Admit(std::string_view text, int count);

 private:
  static constexpr std::size_t kSize = sizeof(THint);
  static constexpr std::size_t kMaxCommon = 48;
  struct TKey {
    std::array<char, kMaxCommon + kSize> bytes;
    std::size_t size;
  };
  TKey KeyOf(std::string_view text) const;

  bool FCaseSensitive;
  std::size_t FCommon = 0;  // bytes of FBeginning
  std::array<char, kMaxCommon> FBeginning{};
};

inline TTextHints::TKey TTextHints::KeyOf(std::string_view text) const {
  TKey key;
  if (FCaseSensitive) {
    key.size = text.copy(key.bytes.data(), FCommon + kSize);
  } else {
    key.size = FoldedKey(text, key.bytes.data(), FCommon + kSize);
  }
  return key;
}

}  // namespace perlayer

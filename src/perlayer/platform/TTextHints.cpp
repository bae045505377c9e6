#include "perlayer/platform/TTextHints.h"

#include <algorithm>

namespace perlayer {

// The bytes as a number that orders as they do. A key that ends sooner is filled up with zeros:
// it then comes before all longer ones, or has the same hint.
int TTextHints::Place(std::string_view text, THint& hint) const {
  const TKey key = KeyOf(text);
  const int order = std::memcmp(key.bytes.data(), FBeginning.data(), std::min(key.size, FCommon));
  if (order != 0) return order;
  if (key.size < FCommon) return -1;
  hint = 0;
  for (std::size_t i = FCommon; i < FCommon + kSize; ++i) {
    hint = hint << 8 | (i < key.size ? static_cast<unsigned char>(key.bytes[i]) : 0);
  }
  return 0;
}

bool TTextHints::Admit(std::string_view text, int count) {
  constexpr int kShortList = 64;
  if (count == 0) {
    FCommon = kMaxCommon;
    const TKey key = KeyOf(text);
    FCommon = std::min(key.size, kMaxCommon);
    std::copy_n(key.bytes.begin(), FCommon, FBeginning.begin());
    return false;
  }
  const TKey key = KeyOf(text);
  std::size_t common = 0;
  while (common < FCommon && common < key.size && key.bytes[common] == FBeginning[common]) {
    ++common;
  }
  if (common == FCommon) return false;
  FCommon = count <= kShortList ? common : std::min(common, FCommon / 2);
  return true;
}

}  // namespace perlayer

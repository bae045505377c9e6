#include "perlayer/platform/TTextHints.h"

#include <algorithm>

#include "perlayer/platform/Text.h"

namespace perlayer {

TTextHints::TProbe TTextHints::Probe(std::string_view text) const {
  TProbe probe;
  probe.FCommon = FCommon;
  probe.FBytes.fill(0);
  probe.FSize = FCaseSensitive ? text.copy(probe.FBytes.data(), probe.FBytes.size())
                               : FoldedKey(text, probe.FBytes.data(), probe.FBytes.size());
  return probe;
}

int TTextHints::Side(const TProbe& probe) const {
  const std::size_t size = std::min(probe.FSize, FCommon);
  const int order = std::memcmp(probe.FBytes.data(), FBeginning.data(), size);
  return order != 0 || size == FCommon ? order : -1;
}

bool TTextHints::Admit(std::string_view text, int count) {
  constexpr int kShortList = 64;
  const TProbe key = Probe(text);
  if (count == 0) {
    FCommon = std::min(key.FSize, kMaxCommon);
    std::copy_n(key.FBytes.begin(), FCommon, FBeginning.begin());
    return false;
  }
  std::size_t common = 0;
  while (common < FCommon && common < key.FSize && key.FBytes[common] == FBeginning[common]) {
    ++common;
  }
  if (common == FCommon) return false;
  FCommon = count <= kShortList ? common : std::min(common, FCommon / 2);
  return true;
}

}  // namespace perlayer

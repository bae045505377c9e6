#include "perlayer/platform/TFoldedKey.h"

#include <algorithm>

#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

// Whether a character may begin in one and end in the other.
bool SplitsCharacter(std::string_view beginning, std::string_view rest) {
  return !beginning.empty() && !rest.empty() && static_cast<signed char>(beginning.back()) < 0 &&
         (rest.front() & 0xC0) == 0x80;
}

}  // namespace

void TFoldedKey::Fold(std::string_view beginning, std::string_view rest) {
  if (SplitsCharacter(beginning, rest)) return Fold(std::string(beginning).append(rest), {});
  const std::size_t size = beginning.size() + rest.size();
  if (size > kUsual) FLong.resize(kGrowth * size);
  char* bytes = FLong.empty() ? FUsual.data() : FLong.data();
  FSize = FoldedKey(beginning, bytes, kGrowth * beginning.size());
  FSize += FoldedKey(rest, bytes + FSize, kGrowth * rest.size());
  FWords = {};
  if (FSize <= kShort) {
    std::memcpy(FWords.data(), bytes, FSize);
    return Finish(FSize);
  }
  FBytes = bytes;
  std::uint64_t hash = FSize;
  for (std::size_t i = 0; i < FSize; i += sizeof(TWords)) {
    TWords words{};
    std::memcpy(words.data(), bytes + i, std::min(sizeof words, FSize - i));
    hash = Mix(hash ^ HashOf(words), 0x8EBC6AF09C88C6E3u);
  }
  FHash = static_cast<std::uint32_t>(hash ^ hash >> 32);
}

}  // namespace perlayer

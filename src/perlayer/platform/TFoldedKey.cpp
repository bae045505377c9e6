#include "perlayer/platform/TFoldedKey.h"

#include <cstring>

#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

// Both halves of the product; after Wang Yi, "wyhash" (public domain).
std::uint64_t Mix(std::uint64_t a, std::uint64_t b) {
  __extension__ typedef unsigned __int128 TProduct;
  const TProduct product = static_cast<TProduct>(a) * b;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

// Whether a character may begin in one and end in the other.
bool SplitsCharacter(std::string_view beginning, std::string_view rest) {
  return !beginning.empty() && !rest.empty() && static_cast<signed char>(beginning.back()) < 0 &&
         (rest.front() & 0xC0) == 0x80;
}

}  // namespace

TFoldedKey::TFoldedKey(std::string_view beginning, std::string_view rest) {
  const std::size_t size = beginning.size() + rest.size();
  if (size > kUsual) {
    FLong.resize(kGrowth * size + kWord);
  }
  FBytes = FLong.empty() ? FUsual.data() : FLong.data();
  if (SplitsCharacter(beginning, rest)) {
    Append(std::string(beginning).append(rest));
  } else {
    Append(beginning);
    Append(rest);
  }
  MakeHash();
}

void TFoldedKey::Append(std::string_view text) {
  FSize += FoldedKey(text, FBytes + FSize, kGrowth * text.size());
}

void TFoldedKey::MakeHash() {
  std::memset(FBytes + FSize, 0, kWord);
  std::uint64_t hash = FSize * 0xE7037ED1A0B428DBu;
  for (std::size_t i = 0; i < FSize; i += kWord) {
    std::uint64_t word;
    std::memcpy(&word, FBytes + i, kWord);
    hash = Mix(hash ^ word ^ 0xA0761D6478BD642Fu, 0x8EBC6AF09C88C6E3u);
  }
  FHash = static_cast<std::uint32_t>(hash ^ hash >> 32);
}

}  // namespace perlayer

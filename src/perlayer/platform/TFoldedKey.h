#pragma once
// TFoldedKey: a key as it is looked up in any case: its folded bytes and their hash, made once for
// a look-up. A key of usual length takes no memory beside the object itself.
//
// A short key is three words: up to 23 folded bytes, zeros behind them, and in the last byte the
// length plus one. So it is compared and hashed without a loop.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace perlayer {

class TFoldedKey {
 public:
  using TWords = std::array<std::uint64_t, 3>;
  static constexpr std::size_t kShort = sizeof(TWords) - 1;  // bytes

  TFoldedKey(std::string_view text) : TFoldedKey(text, {}) {}
  TFoldedKey(const std::string& text) : TFoldedKey(std::string_view(text)) {}
  TFoldedKey(const char* text) : TFoldedKey(std::string_view(text)) {}
  // The key of `beginning` followed by `rest`, which nobody has to put together.
  TFoldedKey(std::string_view beginning, std::string_view rest) {
    const std::size_t size = beginning.size() + rest.size();
    if (size <= kShort && FoldShort(beginning, rest)) {
      Finish(size);
    } else {
      Fold(beginning, rest);
    }
  }
  TFoldedKey(const TFoldedKey&) = delete;
  TFoldedKey& operator=(const TFoldedKey&) = delete;

  // As FoldedKey gives them: texts that differ in case only have the same.
  std::string_view Bytes() const {
    return {IsShort() ? reinterpret_cast<const char*>(FWords.data()) : FBytes, FSize};
  }
  bool IsShort() const { return FBytes == nullptr; }
  const TWords& Words() const { return FWords; }  // REQUIRES: IsShort()
  std::uint32_t Hash() const { return FHash; }
  // The hash of a short key.
  static std::uint32_t HashOf(const TWords& words) {
    const std::uint64_t hash = Mix(words[0] ^ 0xA0761D6478BD642Fu, words[1] ^ 0xE7037ED1A0B428DBu) ^
                               Mix(words[2] ^ 0x8EBC6AF09C88C6E3u, 0x589965CC75374CC3u);
    return static_cast<std::uint32_t>(hash ^ hash >> 32);
  }

 private:
  static constexpr std::size_t kUsual = 64;  // bytes of a text that needs no memory
  // Folding makes a text so many times longer at the most.
  static constexpr std::size_t kGrowth = 2;

  // Both halves of the product; after Wang Yi, "wyhash" (public domain).
  static std::uint64_t Mix(std::uint64_t a, std::uint64_t b) {
    __extension__ typedef unsigned __int128 TProduct;
    const TProduct product = static_cast<TProduct>(a) * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
  }
  // Up to eight bytes as a word, zeros behind them. Never through memory: a word that is read where
  // bytes have just been written waits for them.
  static std::uint64_t Tail(const char* bytes, std::size_t size) {
    const auto byte = [&](std::size_t i) {
      return std::uint64_t{static_cast<unsigned char>(bytes[i])} << 8 * i;
    };
    if (size == 0) return 0;
    if (size < 4) return byte(0) | byte(size / 2) | byte(size - 1);
    std::uint32_t first;
    std::uint32_t last;
    std::memcpy(&first, bytes, 4);
    std::memcpy(&last, bytes + size - 4, 4);
    return first | std::uint64_t{last} << 8 * (size - 4);
  }
  static TWords Load(std::string_view text) {
    const char* bytes = text.data();
    const std::size_t size = text.size();
    std::uint64_t first;
    std::uint64_t second;
    if (size <= 8) return {Tail(bytes, size), 0, 0};
    std::memcpy(&first, bytes, 8);
    if (size <= 16) return {first, Tail(bytes + 8, size - 8), 0};
    std::memcpy(&second, bytes + 8, 8);
    return {first, second, Tail(bytes + 16, size - 16)};
  }
  // The words moved up by so many bytes.
  static TWords Shifted(const TWords& words, std::size_t by) {
    auto [first, second, third] = words;
    if (const std::size_t bits = 8 * (by % 8); bits != 0) {
      third = third << bits | second >> (64 - bits);
      second = second << bits | first >> (64 - bits);
      first <<= bits;
    }
    return by < 8    ? TWords{first, second, third}
           : by < 16 ? TWords{0, first, second}
                     : TWords{0, 0, first};
  }
  // Puts an ASCII key into the words, folded; false for any other.
  bool FoldShort(std::string_view beginning, std::string_view rest) {
    constexpr std::uint64_t kEach = 0x0101010101010101u;
    TWords words = Load(beginning);
    if (!rest.empty()) {
      const TWords more = Shifted(Load(rest), beginning.size());
      words = {words[0] | more[0], words[1] | more[1], words[2] | more[2]};
    }
    if (((words[0] | words[1] | words[2]) & 0x80 * kEach) != 0) return false;
    const auto fold = [&](std::uint64_t word) {
      // The upper bit of each byte: set from 'A' on, and from behind 'Z' on.
      const std::uint64_t fromA = word + (0x80 - 'A') * kEach;
      const std::uint64_t behindZ = word + (0x7F - 'Z') * kEach;
      return word | ((fromA ^ behindZ) & 0x80 * kEach) >> 2;  // 'a' is 'A' and that bit
    };
    FWords = {fold(words[0]), fold(words[1]), fold(words[2])};
    return true;
  }
  void Finish(std::size_t size) {
    FSize = size;
    FWords[2] |= std::uint64_t{size + 1} << 56;
    FHash = HashOf(FWords);
  }
  void Fold(std::string_view beginning, std::string_view rest);

  TWords FWords;
  const char* FBytes = nullptr;  // of a key that is not short
  std::size_t FSize = 0;
  std::uint32_t FHash = 0;
  std::array<char, kGrowth * kUsual> FUsual;
  std::string FLong;  // in its place for a longer text
};

}  // namespace perlayer

#pragma once
// TFoldedKey: a key as it is looked up in any case: its folded bytes and their hash, made once for
// a look-up. A key of usual length takes no memory beside the object itself.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace perlayer {

class TFoldedKey {
 public:
  TFoldedKey(std::string_view text) : TFoldedKey(text, {}) {}
  TFoldedKey(const std::string& text) : TFoldedKey(std::string_view(text)) {}
  TFoldedKey(const char* text) : TFoldedKey(std::string_view(text)) {}
  // The key of `beginning` followed by `rest`, which nobody has to put together.
  TFoldedKey(std::string_view beginning, std::string_view rest);
  TFoldedKey(const TFoldedKey&) = delete;
  TFoldedKey& operator=(const TFoldedKey&) = delete;

  // As FoldedKey gives them: texts that differ in case only have the same.
  std::string_view Bytes() const { return {FBytes, FSize}; }
  std::uint32_t Hash() const { return FHash; }

 private:
  static constexpr std::size_t kUsual = 64;  // bytes of a text that needs no memory
  static constexpr std::size_t kGrowth =
      2;                                   // folding makes a text so many times longer at the most
  static constexpr std::size_t kWord = 8;  // the bytes are read in words
  void Append(std::string_view text);
  void MakeHash();

  char* FBytes = nullptr;
  std::size_t FSize = 0;
  std::uint32_t FHash = 0;
  std::array<char, kGrowth * kUsual + kWord> FUsual;
  std::string FLong;  // in its place for a longer text
};

}  // namespace perlayer

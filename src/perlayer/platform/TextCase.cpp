// Text.h: UTF-8, case and comparison. These run for every key that is looked up, so that each
// begins with a loop over ASCII and only falls back on code points where it must. Code points up to
// kDirectSize (Latin, Greek, Cyrillic) are mapped by a table that the compiler fills from the
// ranges.

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>

#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

// Every code point first, first + step, ... last moves by delta.
struct TCaseRange {
  std::uint32_t first, last, step;
  std::int32_t delta;
};

#include "perlayer/platform/CaseTables.inc"

constexpr char32_t kDirectSize = 0x600;

template <std::size_t N>
constexpr auto DirectTable(const TCaseRange (&ranges)[N]) {
  std::array<char16_t, kDirectSize> table{};
  for (char32_t c = 0; c < kDirectSize; ++c) table[c] = static_cast<char16_t>(c);
  for (const TCaseRange& range : ranges) {
    for (std::uint32_t c = range.first; c <= range.last && c < kDirectSize; c += range.step) {
      table[c] = static_cast<char16_t>(static_cast<std::int32_t>(c) + range.delta);
    }
  }
  return table;
}

// One case mapping for all code points. Of ASCII it changes the letters from First to Last.
template <const auto& Ranges, char First, char Last>
struct TCaseMap {
  static constexpr auto kDirect = DirectTable(Ranges);

  // Maps what stands in front of the text in whole words of ASCII; answers how many bytes that are.
  static std::size_t MapAsciiWords(std::string_view text, char* mapped) {
    constexpr std::uint64_t kEach = 0x0101010101010101u;
    std::size_t done = 0;
    for (std::uint64_t word; done + sizeof word <= text.size(); done += sizeof word) {
      std::memcpy(&word, text.data() + done, sizeof word);
      if ((word & 0x80 * kEach) != 0) break;
      // The upper bit of each byte: set from the first letter on, and from behind the last one on.
      const std::uint64_t fromFirst = word + (0x80 - First) * kEach;
      const std::uint64_t behindLast = word + (0x7F - Last) * kEach;
      word ^= ((fromFirst ^ behindLast) & 0x80 * kEach) >> 2;  // 'a' is 'A' and that bit
      std::memcpy(mapped + done, &word, sizeof word);
    }
    return done;
  }
  // The same for all ASCII in front of the text.
  static std::size_t MapAscii(std::string_view text, char* mapped) {
    std::size_t i = MapAsciiWords(text, mapped);
    for (; i < text.size() && static_cast<unsigned char>(text[i]) < 0x80; ++i) {
      mapped[i] = static_cast<char>(kDirect[static_cast<unsigned char>(text[i])]);
    }
    return i;
  }

  static char32_t Map(char32_t c) {
    if (c < kDirectSize) return kDirect[c];
    const auto range = std::lower_bound(std::begin(Ranges), std::end(Ranges), c,
                                        [](const TCaseRange& r, char32_t x) { return r.last < x; });
    if (range == std::end(Ranges) || c < range->first || (c - range->first) % range->step != 0) {
      return c;
    }
    return static_cast<char32_t>(static_cast<std::int32_t>(c) + range->delta);
  }

  static std::string MapText(std::string_view text) {
    std::string result(text);
    std::size_t i = MapAscii(text, result.data());
    result.resize(i);
    while (i < text.size()) AppendUtf8(result, Map(DecodeUtf8(text, i)));
    return result;
  }
};

using TFold = TCaseMap<kFoldRanges, 'A', 'Z'>;
using TUpper = TCaseMap<kUpperRanges, 'a', 'z'>;
using TLower = TCaseMap<kLowerRanges, 'A', 'Z'>;

// Moves both positions over what is equal when folded. Answers how the texts differ there: below 0,
// above 0, or 0 when at least one of them is at its end.
int SkipEqual(std::string_view a, std::size_t& i, std::string_view b, std::size_t& j) {
  while (i < a.size() && j < b.size()) {
    char32_t x = static_cast<unsigned char>(a[i]);
    char32_t y = static_cast<unsigned char>(b[j]);
    if ((x | y) < 0x80) {
      if (x != y && (x = TFold::kDirect[x]) != (y = TFold::kDirect[y])) return x < y ? -1 : 1;
      ++i, ++j;
    } else {
      x = TFold::Map(DecodeUtf8(a, i));
      y = TFold::Map(DecodeUtf8(b, j));
      if (x != y) return x < y ? -1 : 1;
    }
  }
  return 0;
}

}  // namespace

std::string AsciiUpperCase(std::string_view text) {
  std::string result(text);
  for (char& c : result) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - ('a' - 'A'));
  }
  return result;
}

std::string UpperCase(std::string_view text) { return TUpper::MapText(text); }
bool UpperCaseOfAscii(std::string_view text, char* result) {
  return TUpper::MapAscii(text, result) == text.size();
}
std::string LowerCase(std::string_view text) { return TLower::MapText(text); }
std::string FoldCase(std::string_view text) { return TFold::MapText(text); }
char32_t FoldCodePoint(char32_t c) { return TFold::Map(c); }

int CompareText(std::string_view a, std::string_view b) {
  std::size_t i = 0, j = 0;
  const int difference = SkipEqual(a, i, b, j);
  if (difference != 0) return difference;
  return static_cast<int>(i < a.size()) - static_cast<int>(j < b.size());
}

bool SameText(std::string_view a, std::string_view b) { return a == b || CompareText(a, b) == 0; }

bool StartsText(std::string_view prefix, std::string_view text) {
  std::size_t i = 0, j = 0;
  return SkipEqual(prefix, i, text, j) == 0 && i == prefix.size();
}

// Folded UTF-8, whose bytes order as its code points do. A stray byte orders behind all code
// points, and is written as itself behind 0xFF, which no character begins with.
std::size_t FoldedKey(std::string_view text, char* key, std::size_t size) {
  std::size_t length = TFold::MapAsciiWords(text.substr(0, size), key);
  for (std::size_t i = length; i < text.size() && length < size;) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (byte < 0x80) {
      key[length++] = static_cast<char>(TFold::kDirect[byte]);
      ++i;
      continue;
    }
    const char32_t c = TFold::Map(DecodeUtf8(text, i));
    std::string character;
    if (c >= kStrayByte) character = '\xFF';
    AppendUtf8(character, c);
    length += character.copy(key + length, size - length);
  }
  return length;
}

char32_t DecodeUtf8(std::string_view text, std::size_t& position) {
  const auto lead = static_cast<unsigned char>(text[position]);
  if (lead < 0x80) {
    ++position;
    return lead;
  }
  const std::size_t length = lead < 0xC2 || lead > 0xF4 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  if (length > 1 && length <= text.size() - position) {
    char32_t c = lead & (0x7Fu >> length);
    bool wellFormed = true;
    for (std::size_t k = 1; k < length; ++k) {
      const auto byte = static_cast<unsigned char>(text[position + k]);
      wellFormed = wellFormed && (byte & 0xC0) == 0x80;
      c = (c << 6) | (byte & 0x3F);
    }
    constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (wellFormed && c >= kSmallest[length] && c <= 0x10FFFF && (c < 0xD800 || c > 0xDFFF)) {
      position += length;
      return c;
    }
  }
  ++position;
  return kStrayByte + lead;
}

void AppendUtf8(std::string& text, char32_t c) {
  const auto tail = [&](int shift) { text += static_cast<char>(0x80 | ((c >> shift) & 0x3F)); };
  if (c >= kStrayByte + 0x80 && c <= kStrayByte + 0xFF) {
    text += static_cast<char>(c - kStrayByte);
    return;
  }
  if (c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) c = 0xFFFD;
  if (c < 0x80) {
    text += static_cast<char>(c);
  } else if (c < 0x800) {
    text += static_cast<char>(0xC0 | (c >> 6));
    tail(0);
  } else if (c < 0x10000) {
    text += static_cast<char>(0xE0 | (c >> 12));
    tail(6), tail(0);
  } else {
    text += static_cast<char>(0xF0 | (c >> 18));
    tail(12), tail(6), tail(0);
  }
}

std::size_t Utf8Length(std::string_view text) {
  std::size_t length = 0;
  for (std::size_t i = 0; i < text.size(); ++length) DecodeUtf8(text, i);
  return length;
}

std::string_view CutToBytes(std::string_view text, std::size_t bytes) {
  if (text.size() <= bytes) return text;
  // A lead byte never stands inside another character: if one of the three bytes before the cut
  // begins a character that reaches over it, the cut moves there.
  for (std::size_t back = 1; back <= 3 && back <= bytes; ++back) {
    std::size_t end = bytes - back;
    DecodeUtf8(text, end);
    if (end > bytes) return text.substr(0, bytes - back);
  }
  return text.substr(0, bytes);
}

}  // namespace perlayer

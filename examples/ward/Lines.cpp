#include "Lines.h"

#include <algorithm>
#include <iostream>
#include <iterator>

#include "perlayer/platform/Text.h"

namespace ward {

using namespace perlayer;

namespace {

struct TRange {
  char32_t first;
  char32_t last;
};

// Marks of the scripts of Europe, and characters that have no shape. All three tables are coarse
// and of blocks, by the Unicode Standard and its Annex 11 on the widths of East Asian characters.
constexpr TRange kMarks[] = {{0x300, 0x36F},   {0x483, 0x489},   {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF},
                             {0x200B, 0x200F}, {0x202A, 0x202E}, {0x20D0, 0x20FF}, {0xFE00, 0xFE0F},
                             {0xFE20, 0xFE2F}, {0xFEFF, 0xFEFF}};
constexpr TRange kWide[] = {{0x1100, 0x115F},   {0x2E80, 0x303E},   {0x3041, 0xA4CF},
                            {0xA960, 0xA97F},   {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},
                            {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},   {0xFFE0, 0xFFE6},
                            {0x1F300, 0x1F64F}, {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD}};
constexpr TRange kControls[] = {{0, 0x1F}, {0x7F, 0x9F}, {0x2028, 0x2029}};

template <std::size_t N>
bool IsIn(const TRange (&ranges)[N], char32_t c) {
  return std::any_of(std::begin(ranges), std::end(ranges),
                     [c](const TRange& range) { return c >= range.first && c <= range.last; });
}

std::size_t WidthOf(char32_t c) { return IsIn(kMarks, c) ? 0 : IsIn(kWide, c) ? 2 : 1; }

}  // namespace

std::vector<std::string> Lines(std::string_view text) {
  const std::string plain = StringReplaceAll(StringReplaceAll(text, "\r\n", "\n"), "\r", "\n");
  std::vector<std::string> lines = SplitText(plain, "\n");
  while (!lines.empty() && lines.back().empty()) lines.pop_back();
  return lines;
}

std::vector<std::string> WrapLine(std::string_view line, std::size_t width) {
  if (DisplayWidth(line) <= width) return {std::string(line)};
  std::vector<std::string> lines;
  std::string current;
  for (const std::string& word : SplitText(line, " ")) {
    if (!current.empty() && DisplayWidth(current) + 1 + DisplayWidth(word) > width) {
      lines.push_back(std::move(current));
      current.clear();
    }
    if (!current.empty()) current += ' ';
    current += word;
  }
  lines.push_back(std::move(current));
  return lines;
}

void PrintLines(const std::vector<std::string>& lines) {
  for (const std::string& line : lines) std::cout << line << '\n';
}

std::size_t DisplayWidth(std::string_view text) {
  std::size_t width = 0;
  for (std::size_t at = 0; at < text.size();) width += WidthOf(DecodeUtf8(text, at));
  return width;
}

std::string OneLine(std::string_view text) {
  std::string line;
  line.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const char32_t c = DecodeUtf8(text, at);
    if (c == '\n') {
      line += "\u21B5";
    } else if (c == '\t') {
      line += ' ';
    } else if (c == '\r' && at < text.size() && text[at] == '\n') {
      continue;
    } else if (IsIn(kControls, c)) {
      line += "\u00B7";
    } else {
      AppendUtf8(line, c < kStrayByte ? c : 0xFFFD);
    }
  }
  return line;
}

std::string CutToWidth(std::string_view text, std::size_t width) {
  if (DisplayWidth(text) <= width) return std::string(text);
  std::size_t taken = 0;
  std::size_t end = 0;
  for (std::size_t at = 0; at < text.size(); end = at) {
    taken += WidthOf(DecodeUtf8(text, at));
    if (taken + 1 > width) break;
  }
  return std::string(text.substr(0, end)) + "\u2026";
}

std::string JoinFilled(const std::string& a, std::string_view separator, const std::string& b) {
  if (a.empty() || b.empty()) return a + b;
  return a + std::string(separator) + b;
}

}  // namespace ward

#include "Lines.h"

#include "perlayer/platform/Text.h"

namespace ward {

using namespace perlayer;

std::vector<std::string> Lines(std::string_view text) {
  const std::string plain = StringReplaceAll(StringReplaceAll(text, "\r\n", "\n"), "\r", "\n");
  std::vector<std::string> lines = SplitText(plain, "\n");
  while (!lines.empty() && lines.back().empty()) lines.pop_back();
  return lines;
}

std::vector<std::string> WrapLine(std::string_view line, std::size_t width) {
  if (Utf8Length(line) <= width) return {std::string(line)};
  std::vector<std::string> lines;
  std::string current;
  for (const std::string& word : SplitText(line, " ")) {
    if (!current.empty() && Utf8Length(current) + 1 + Utf8Length(word) > width) {
      lines.push_back(std::move(current));
      current.clear();
    }
    if (!current.empty()) current += ' ';
    current += word;
  }
  lines.push_back(std::move(current));
  return lines;
}

}  // namespace ward

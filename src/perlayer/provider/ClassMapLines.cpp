#include "perlayer/provider/ClassMapLines.h"

#include <algorithm>

#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/TClassMapDefinition.h"

namespace perlayer {

std::string ExpectedText(std::string_view expected, std::string_view found) {
  return Format("expected %s, found %s", expected, found);
}

void RaiseExpected(std::string_view place, std::string_view expected, std::string_view found) {
  throw EClassMapError(Format("%s: %s", place, ExpectedText(expected, found)));
}

std::string Quoted(std::string_view text) {
  const std::string_view shown = CutToBytes(text, 60);
  std::string result = "\"" + std::string(shown) + (shown.size() < text.size() ? "...\"" : "\"");
  for (char& c : result) {
    if (static_cast<unsigned char>(c) < ' ') c = ' ';
  }
  return result;
}

std::vector<std::string_view> TextLines(std::string_view text) {
  std::vector<std::string_view> lines;
  while (true) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    if (end == text.npos) {
      lines.push_back(line);
      return lines;
    }
    if (line.ends_with('\r')) line.remove_suffix(1);
    lines.push_back(line);
    text.remove_prefix(end + 1);
  }
}

std::string LineFault(std::string_view line) {
  for (std::size_t position = 0; position < line.size();) {
    const std::size_t start = position;
    const int byte = static_cast<unsigned char>(line[start]);
    if ((byte < ' ' && byte != '\t') || byte == 0x7F) {
      return Format("control character 0x%.2x in column %d", byte, start + 1);
    }
    DecodeUtf8(line, position);
    if (byte >= 0x80 && position == start + 1) {
      return Format("byte 0x%.2x in column %d, which is no UTF-8", byte, start + 1);
    }
  }
  return "";
}

std::string_view Indentation(std::string_view line) {
  return line.substr(0, std::min(line.find_first_not_of(" \t"), line.size()));
}

bool IsSql(std::string_view line) {
  const std::string_view text = line.substr(Indentation(line).size());
  return !text.empty() && !text.starts_with("--");
}

bool HasSql(const std::vector<std::string>& lines) {
  return std::any_of(lines.begin(), lines.end(), [](const auto& line) { return IsSql(line); });
}

std::string_view Unindented(std::string_view line, std::string_view indentation) {
  const auto end = std::mismatch(line.begin(), line.end(), indentation.begin(), indentation.end());
  return line.substr(static_cast<std::size_t>(end.first - line.begin()));
}

}  // namespace perlayer

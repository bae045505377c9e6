#include "perlayer/corekit/TIValidInfo.h"

#include <array>
#include <charconv>
#include <cstddef>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

// Position 3 of `text`. A blank one is 0.
int SizeOf(std::string_view size, std::string_view text) {
  const std::string_view digits = Trim(size);
  if (digits.empty()) return 0;
  int result = 0;
  const char* end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, result);
  if (error != std::errc() || stop != end || result < 0) {
    throw EConvertError("The size \"" + std::string(size) + "\" in the validation string \"" +
                        std::string(text) + "\" is no number from 0 up");
  }
  return result;
}

void AppendOnePosition(std::string& text, std::string_view value) {
  for (const char c : value) text += static_cast<unsigned char>(c) < ' ' ? ' ' : c;
}

}  // namespace

TIValInfoRec ValidString2ValidInfo(std::string_view text) {
  std::array<std::string_view, 8> positions;
  std::string_view rest = text;
  for (std::string_view& position : positions) {
    const std::size_t end = rest.find('\t');
    position = rest.substr(0, end);
    if (end == std::string_view::npos) break;
    rest.remove_prefix(end + 1);
  }
  TIValInfoRec info;
  info.kind = Trim(positions[0]);
  info.displayLabel = positions[1];
  info.size = SizeOf(positions[2], text);
  info.required = Trim(positions[3]) == "*";
  info.codeList = Trim(positions[4]);
  return info;
}

std::string ValidInfo2ValidString(const TIValInfoRec& info) {
  std::string text;
  AppendOnePosition(text, Trim(info.kind));
  text += '\t';
  AppendOnePosition(text, info.displayLabel);
  text += '\t';
  text += std::to_string(info.size);
  text += info.required ? "\t*\t" : "\t \t";
  AppendOnePosition(text, Trim(info.codeList));
  text += "\t\t \t";
  return text;
}

std::string_view ValidKindOfCodeList(std::string_view codeList) {
  const std::string_view code = Trim(codeList);
  if (code.empty()) return {};
  return Utf8Length(code) == 3 ? "MS" : "S";
}

}  // namespace perlayer

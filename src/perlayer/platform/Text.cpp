// Text.h: trimming, splitting, padding, names and values. TextCase.cpp and TextNumbers.cpp have the
// rest.

#include "perlayer/platform/Text.h"

#include <algorithm>

namespace perlayer {

namespace {

bool IsBlank(char c) { return static_cast<unsigned char>(c) <= ' '; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// The byte position behind the first `width` characters, and how many characters are missing.
std::size_t PositionOf(std::string_view text, std::size_t width, std::size_t& missing) {
  std::size_t position = 0;
  for (missing = width; missing > 0 && position < text.size(); --missing) {
    DecodeUtf8(text, position);
  }
  return position;
}

// Calls found(piece) for each piece between separators until it answers true.
template <class TFound>
void ForEachPiece(std::string_view text, std::string_view separator, TFound found) {
  if (text.empty()) return;
  for (;;) {
    const std::size_t end = separator.empty() ? text.npos : text.find(separator);
    if (found(text.substr(0, end)) || end == text.npos) return;
    text.remove_prefix(end + separator.size());
  }
}

}  // namespace

std::string_view TrimLeft(std::string_view text) {
  const auto first = std::find_if_not(text.begin(), text.end(), IsBlank);
  return text.substr(static_cast<std::size_t>(first - text.begin()));
}

std::string_view TrimRight(std::string_view text) {
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

std::string_view Trim(std::string_view text) { return TrimRight(TrimLeft(text)); }

bool Empty(std::string_view text) { return std::all_of(text.begin(), text.end(), IsBlank); }

std::string StringReplaceAll(std::string_view text, std::string_view from, std::string_view to) {
  if (from.empty()) return std::string(text);
  std::string result;
  bool first = true;
  ForEachPiece(text, from, [&](std::string_view piece) {
    if (!first) result += to;
    first = false;
    result += piece;
    return false;
  });
  return result;
}

std::vector<std::string> SplitText(std::string_view text, std::string_view separator) {
  std::vector<std::string> parts;
  ForEachPiece(text, separator, [&](std::string_view piece) {
    parts.emplace_back(piece);
    return false;
  });
  return parts;
}

std::string JoinText(const std::vector<std::string>& parts, std::string_view separator) {
  std::string result;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (i > 0) result += separator;
    result += parts[i];
  }
  return result;
}

std::string IPadL(std::string_view text, std::size_t width, char pad) {
  std::size_t missing = 0;
  const std::size_t end = PositionOf(text, width, missing);
  return std::string(missing, pad).append(text.substr(0, end));
}

std::string IPadR(std::string_view text, std::size_t width, char pad) {
  std::size_t missing = 0;
  const std::size_t end = PositionOf(text, width, missing);
  return std::string(text.substr(0, end)).append(missing, pad);
}

bool IsNumeric(std::string_view text) {
  if (!text.empty() && (text[0] == '+' || text[0] == '-')) text.remove_prefix(1);
  const auto digits = std::count_if(text.begin(), text.end(), IsDigit);
  const auto points = std::count(text.begin(), text.end(), '.');
  return digits > 0 && points <= 1 && static_cast<std::size_t>(digits + points) == text.size();
}

bool StringInSet(std::string_view part, std::string_view text) {
  return text.find(part) != text.npos;
}

std::string GetValueFromString(std::string_view text, std::string_view separator,
                               std::string_view name) {
  std::string value;
  ForEachPiece(text, separator, [&](std::string_view piece) {
    const std::size_t equals = piece.find('=');
    if (equals == piece.npos || !SameText(Trim(piece.substr(0, equals)), name)) return false;
    value = piece.substr(equals + 1);
    return true;
  });
  return value;
}

std::string FirstName(std::string_view fullName) {
  fullName = Trim(fullName);
  return std::string(fullName.begin(), std::find_if(fullName.begin(), fullName.end(), IsBlank));
}

std::string LastName(std::string_view fullName) {
  fullName = Trim(fullName);
  return std::string(Trim(fullName.substr(FirstName(fullName).size())));
}

}  // namespace perlayer

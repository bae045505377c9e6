#include "perlayer/corekit/TStatementText.h"

#include <algorithm>
#include <functional>
#include <list>
#include <unordered_map>

#include "perlayer/platform/TLayer.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

constexpr std::size_t kKeptTexts = 512;

bool IsNameByte(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
         (byte >= 'a' && byte <= 'z') || byte == '_' || byte == '$' || byte == '#' || byte >= 0x80;
}

// The position behind the quoted piece, comment or single character that begins at `i`.
std::size_t SkipOpaque(std::string_view text, std::size_t i) {
  const auto behind = [&](std::size_t found, std::size_t length) {
    return found == std::string_view::npos ? text.size() : found + length;
  };
  if (text[i] == '\'' || text[i] == '"') return behind(text.find(text[i], i + 1), 1);
  if (text.substr(i, 2) == "--") return behind(text.find('\n', i), 1);
  if (text.substr(i, 2) == "/*") return behind(text.find("*/", i + 2), 2);
  return i + 1;
}

bool FindCommentLine(std::string_view text) {
  if (text.find("--") == std::string_view::npos) return false;
  for (std::size_t line = 0; line < text.size();) {
    const std::size_t end = std::min(text.find_first_of("\r\n", line), text.size());
    if (Trim(text.substr(line, end - line)).substr(0, 2) == "--") return true;
    line = end + 1;
  }
  return false;
}

// The parameters of a text while it is parsed, by folded name: a text may have thousands.
class TParameterNames {
 public:
  explicit TParameterNames(std::vector<std::string>& names) : FNames(names) {}
  // The index of the name, which is added when it is new.
  std::uint32_t IndexOf(std::string_view name) {
    const auto [known, isNew] =
        FIndexes.try_emplace(FoldCase(name), static_cast<std::uint32_t>(FNames.size()));
    if (isNew) FNames.emplace_back(name);
    return known->second;
  }

 private:
  std::vector<std::string>& FNames;
  std::unordered_map<std::string, std::uint32_t> FIndexes;
};

// The most recently used parses, by text.
class TStatementTexts {
 public:
  TStatementTextPtr Of(std::string_view text) {
    if (const auto found = FByText.find(text); found != FByText.end()) {
      FUsed.splice(FUsed.begin(), FUsed, found->second);
      return FUsed.front();
    }
    FUsed.push_front(std::make_shared<const TStatementText>(text));
    try {
      FByText.emplace(FUsed.front()->Text(), FUsed.begin());
    } catch (...) {
      FUsed.pop_front();
      throw;
    }
    if (FUsed.size() > kKeptTexts) {
      FByText.erase(FUsed.back()->Text());
      FUsed.pop_back();
    }
    return FUsed.front();
  }

 private:
  std::list<TStatementTextPtr> FUsed;  // most recent first
  std::unordered_map<std::string_view, std::list<TStatementTextPtr>::iterator> FByText;
};

}  // namespace

TStatementTextPtr TStatementText::Of(std::string_view text) {
  return TLayer::Part<TStatementTexts>(TLayerPart::statements).Of(text);
}

TStatementText::TStatementText(std::string_view text)
    : FText(text),
      FHash(std::hash<std::string_view>{}(text)),
      FHasCommentLine(FindCommentLine(text)) {
  TParameterNames names(FParameters);
  for (std::size_t i = 0; i < FText.size();) {
    if (FText[i] != ':') {
      i = SkipOpaque(FText, i);
      continue;
    }
    std::size_t end = i + 1;
    if (end < FText.size() && FText[end] == ':') {
      i += 2;
      continue;
    }
    while (end < FText.size() && IsNameByte(FText[end])) ++end;
    if (end == i + 1) {  // ":=" or a colon by itself
      i = end;
      continue;
    }
    const std::string_view name = std::string_view(FText).substr(i + 1, end - i - 1);
    FPlaces.push_back(
        {static_cast<std::uint32_t>(i), static_cast<std::uint32_t>(end - i), names.IndexOf(name)});
    i = end;
  }
}

int TStatementText::IndexOfParameter(std::string_view name) const {
  for (std::size_t i = 0; i < FParameters.size(); ++i) {
    if (SameText(FParameters[i], name)) return static_cast<int>(i);
  }
  return -1;
}

}  // namespace perlayer

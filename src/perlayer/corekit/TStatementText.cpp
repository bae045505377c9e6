#include "perlayer/corekit/TStatementText.h"

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
  for (std::size_t i = text.find("--"); i != std::string_view::npos; i = text.find("--", i + 2)) {
    const std::string_view before = text.substr(0, i);
    const std::size_t lineEnd = before.find_last_of("\r\n");
    if (Trim(before.substr(lineEnd == std::string_view::npos ? 0 : lineEnd + 1)).empty())
      return true;
  }
  return false;
}

// The most recently used parses, by text.
class TStatementTexts {
 public:
  TStatementTextPtr Of(std::string_view text) {
    if (const auto found = FByText.find(text); found != FByText.end()) {
      FUsed.splice(FUsed.begin(), FUsed, found->second);
      return FUsed.front();
    }
    FUsed.push_front(std::make_shared<const TStatementText>(text));
    FByText.emplace(FUsed.front()->Text(), FUsed.begin());
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
    int parameter = IndexOfParameter(name);
    if (parameter < 0) {
      parameter = static_cast<int>(FParameters.size());
      FParameters.emplace_back(name);
    }
    FPlaces.push_back({static_cast<std::uint32_t>(i), static_cast<std::uint32_t>(end - i),
                       static_cast<std::uint32_t>(parameter)});
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

#include "perlayer/provider/TMapStatement.h"

#include <algorithm>
#include <array>

#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

using TKind = TMapToken::TKind;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool IsNameByte(char c) {
  return IsDigit(c) || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == '$' ||
         c == '#' || static_cast<unsigned char>(c) >= 0x80;
}

// Words that may stand right behind a table and are no alias of it.
bool EndsTable(std::string_view upper) {
  static constexpr std::array<std::string_view, 18> kWords = {
      "ON",    "USING", "JOIN",  "LEFT",  "RIGHT",   "FULL",  "INNER", "CROSS",     "NATURAL",
      "OUTER", "WHERE", "ORDER", "GROUP", "CONNECT", "START", "UNION", "INTERSECT", "MINUS"};
  return std::find(kWords.begin(), kWords.end(), upper) != kWords.end();
}

}  // namespace

TMapStatement::TMapStatement(std::string title, const std::vector<std::string>& lines, int line)
    : FTitle(std::move(title)), FText(JoinText(lines, "\n")), FFirstLine(line) {
  FUpper = AsciiUpperCase(FText);
  FLineBegins.push_back(0);
  for (std::size_t i = 0; i < FText.size(); ++i) {
    if (FText[i] == '\n') FLineBegins.push_back(i + 1);
  }
  for (std::size_t at = 0; at < FText.size();) at = ReadToken(at);
  int depth = 0;
  for (TMapToken& token : FTokens) {
    const char c = token.kind == TKind::symbol ? FText[token.begin] : ' ';
    if (c == ')') --depth;
    token.depth = depth;
    if (c == '(') ++depth;
    if (depth < 0) break;
  }
  if (depth != 0 && FOpenEnd.empty()) FOpenEnd = "a parenthesis";
}

// Reads what begins at `at`; answers the position behind it.
std::size_t TMapStatement::ReadToken(std::size_t at) {
  const char c = FText[at];
  const std::string_view text = FText;
  const auto upTo = [&](std::string_view end, std::size_t from, const char* what) {
    const std::size_t found = text.find(end, from);
    if (found == text.npos) FOpenEnd = what;
    return found == text.npos ? text.size() : found + end.size();
  };
  const auto token = [&](TKind kind, std::size_t end) {
    FTokens.push_back({kind, at, end, 0});
    return end;
  };
  const auto names = [&](std::size_t from) {
    while (from < text.size() && IsNameByte(text[from])) ++from;
    return from;
  };
  if (static_cast<unsigned char>(c) <= ' ') return at + 1;
  if (text.substr(at, 2) == "--" || text.substr(at, 2) == "/*") {
    const std::size_t end =
        c == '-' ? std::min(text.find('\n', at), text.size()) : upTo("*/", at + 2, "a comment");
    FComments.emplace_back(at, end);
    return end;
  }
  if (c == '\'') return token(TKind::literal, upTo("'", at + 1, "a quote"));
  if (c == '"') return token(TKind::quoted, upTo("\"", at + 1, "a quote"));
  if (IsDigit(c)) {
    std::size_t end = at;
    while (end < text.size() && (IsNameByte(text[end]) || text[end] == '.')) ++end;
    return token(TKind::number, end);
  }
  if (IsNameByte(c)) return token(TKind::word, names(at));
  if (c == ':' && names(at + 1) > at + 1) return token(TKind::parameter, names(at + 1));
  return token(TKind::symbol, at + 1);
}

int TMapStatement::LineOf(std::size_t offset) const {
  const auto behind = std::upper_bound(FLineBegins.begin(), FLineBegins.end(), offset);
  return static_cast<int>(behind - FLineBegins.begin()) - 1;
}

std::size_t TMapStatement::FirstTokenIn(int line) const {
  std::size_t i = 0;
  while (i < Count() && LineOf(FTokens[i].begin) < line) ++i;
  return i;
}

std::string_view TMapStatement::Source(std::size_t index) const {
  return std::string_view(FText).substr(FTokens[index].begin,
                                        FTokens[index].end - FTokens[index].begin);
}

bool TMapStatement::IsKind(std::size_t index, TKind kind) const {
  return index < Count() && FTokens[index].kind == kind;
}

bool TMapStatement::Is(std::size_t index, std::string_view wordOrSymbol) const {
  if (!IsKind(index, TKind::word) && !IsKind(index, TKind::symbol)) return false;
  const TMapToken& token = FTokens[index];
  return std::string_view(FUpper).substr(token.begin, token.end - token.begin) == wordOrSymbol;
}

std::size_t TMapStatement::Find(std::string_view wordOrSymbol, std::size_t index) const {
  while (index < Count() && (FTokens[index].depth != 0 || !Is(index, wordOrSymbol))) ++index;
  return index;
}

std::string_view TMapStatement::Parameter(std::size_t index) const {
  return IsKind(index, TKind::parameter) ? Source(index).substr(1) : std::string_view();
}

bool TMapStatement::HasComment(std::size_t begin, std::size_t end) const {
  return std::any_of(FComments.begin(), FComments.end(),
                     [&](const auto& c) { return c.first < end && c.second > begin; });
}

std::string_view TMapStatement::NameAround(std::size_t offset) const {
  std::size_t begin = offset, end = offset;
  while (begin > 0 && IsNameByte(FText[begin - 1])) --begin;
  while (end < FText.size() && IsNameByte(FText[end])) ++end;
  return std::string_view(FText).substr(begin, end - begin);
}

std::optional<TMapTable> TMapStatement::TableAt(std::size_t index) const {
  if (!IsKind(index, TKind::word)) return std::nullopt;
  TMapTable table;
  table.offset = FTokens[index].begin;
  const bool qualified = Is(index + 1, ".") && IsKind(index + 2, TKind::word) &&
                         FTokens[index + 2].begin == FTokens[index].end + 1;
  if (qualified) table.owner = Source(index);
  const std::size_t name = qualified ? index + 2 : index;
  table.name = Source(name);
  table.end = FTokens[name].end;
  return table;
}

std::vector<TMapStatement::TRange> TMapStatement::Pieces(std::size_t first,
                                                         std::size_t behind) const {
  std::vector<TRange> pieces;
  const int depth = first < behind ? FTokens[first].depth : 0;
  for (std::size_t i = first; i <= behind; ++i) {
    if (i < behind && (FTokens[i].depth != depth || !Is(i, ","))) continue;
    pieces.emplace_back(first, i);
    first = i + 1;
  }
  return pieces;
}

TMapColumn TMapStatement::ColumnOf(TRange piece) const {
  TMapColumn result;
  const std::size_t first = piece.first, behind = piece.second;
  result.offset = first < Count() ? FTokens[first].begin : FText.size();
  if (first >= behind) return result;
  const std::size_t last = behind - 1;
  const auto isName = [&](std::size_t i) {
    return i < behind && (IsKind(i, TKind::word) || IsKind(i, TKind::quoted));
  };
  const auto name = [&](std::size_t i) {
    const std::string_view text = Source(i);
    return std::string(IsKind(i, TKind::quoted) && text.size() > 1 ? text.substr(1, text.size() - 2)
                                                                   : text);
  };
  // A name, with up to two names and points ahead of it.
  std::size_t plain = first;
  while (isName(plain) && plain + 1 < behind && Is(plain + 1, ".")) plain += 2;
  if (plain == last && Is(last, "*")) {
    result.all = true;
    return result;
  }
  const bool aliased = isName(last) && last > first && !Is(last - 1, ".");
  const std::size_t behindValue = !aliased ? behind : Is(last - 1, "AS") ? last - 1 : last;
  if (isName(plain) && plain + 1 == behindValue) {
    result.column = name(plain);
    for (std::size_t i = first; i < plain; i += 2) {
      result.qualifier += (i > first ? "." : "") + name(i);
    }
  }
  if (aliased && !(Is(last, "END") && Is(first, "CASE"))) result.name = name(last);
  if (!aliased) result.name = result.column;
  return result;
}

std::vector<TMapColumn> TMapStatement::SelectedColumns(std::size_t from) const {
  std::size_t first = 1;
  while (Is(first, "DISTINCT") || Is(first, "UNIQUE") || Is(first, "ALL")) ++first;
  std::vector<TMapColumn> columns;
  for (const TRange& piece : Pieces(first, from)) columns.push_back(ColumnOf(piece));
  return columns;
}

std::vector<TMapTable> TMapStatement::TablesOfFrom(std::size_t from, bool& known) const {
  std::vector<TMapTable> tables;
  known = true;
  const std::size_t behind = Find("WHERE", from);
  for (std::size_t i = from; i < behind; ++i) {
    if (FTokens[i].depth != 0 || !(i == from || Is(i, ",") || Is(i, "JOIN"))) continue;
    auto table = TableAt(i + 1);
    if (!table) {
      known = false;
      continue;
    }
    std::size_t alias = i + (table->owner.empty() ? 2 : 4);
    if (Is(alias, "AS")) ++alias;
    if (alias < behind && IsKind(alias, TKind::word) && !EndsTable(AsciiUpperCase(Source(alias)))) {
      table->alias = Source(alias);
    }
    tables.push_back(std::move(*table));
  }
  return tables;
}

}  // namespace perlayer

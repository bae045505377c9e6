#include "perlayer/drivers/sqlite/TSqlTokens.h"

#include <algorithm>

#include "perlayer/corekit/EDatabaseError.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

constexpr int kRefused = 1;  // the database's own code for a statement that makes no sense

bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool IsWordStart(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' ||
         static_cast<unsigned char>(c) >= 0x80;
}

bool IsWordByte(char c) { return IsWordStart(c) || IsDigit(c) || c == '$' || c == '#'; }

[[noreturn]] void RefuseAt(const std::string& text, std::size_t offset,
                           const std::string& message) {
  throw EDatabaseError(TDatabaseErrorKind::other, kRefused, SqlPlace(text, offset) + ": " + message,
                       text);
}

// The end of the number that begins at `at`: digits, a fraction, an exponent.
std::size_t NumberEnd(std::string_view text, std::size_t at) {
  const auto digits = [&] {
    while (at < text.size() && IsDigit(text[at])) ++at;
  };
  digits();
  if (at < text.size() && text[at] == '.') {
    ++at;
    digits();
  }
  if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
    std::size_t exponent = at + 1;
    if (exponent < text.size() && (text[exponent] == '+' || text[exponent] == '-')) ++exponent;
    if (exponent < text.size() && IsDigit(text[exponent])) {
      at = exponent;
      digits();
    }
  }
  return at;
}

}  // namespace

std::string SqlPlace(std::string_view text, std::size_t offset) {
  const std::string_view before = text.substr(0, offset);
  const auto line = 1 + std::count(before.begin(), before.end(), '\n');
  const std::size_t lineStart = before.rfind('\n') + 1;  // npos + 1 is the text's beginning
  return "line " + std::to_string(line) + ", column " +
         std::to_string(1 + Utf8Length(before.substr(lineStart)));
}

TSqlTokens::TSqlTokens(const TStatementText& text) : FText(text) {
  const std::string& source = text.Text();
  std::size_t place = 0;
  for (std::size_t at = 0;;) {
    std::string gap;
    ReadGap(at, gap);
    if (at >= source.size()) break;
    ReadToken(at, place);
    FTokens.back().gap = std::move(gap);
    const std::size_t count = FTokens.size();
    FHasOuterMarks |= count > 2 && IsOuterMark(count - 3);
    FHasRownum |= FTokens.back().kind == TSqlTokenKind::word && FTokens.back().name == "ROWNUM";
  }
  PairParentheses();
}

void TSqlTokens::ReadGap(std::size_t& at, std::string& gap) {
  const std::string_view text = FText.Text();
  while (at < text.size()) {
    if (IsBlank(text[at])) {
      gap += text[at++];
    } else if (text.substr(at, 2) == "--") {
      at = std::min(text.find('\n', at), text.size());
      gap += ' ';
    } else if (text.substr(at, 2) == "/*") {
      const std::size_t end = text.find("*/", at + 2);
      if (end == std::string_view::npos) {
        RefuseAt(FText.Text(), at, "the comment has no end");
      }
      at = end + 2;
      gap += ' ';
    } else {
      return;
    }
  }
}

void TSqlTokens::ReadToken(std::size_t& at, std::size_t& place) {
  static constexpr std::string_view kPairs[] = {"||", "<=", ">=", "<>", "!=", "^="};
  const std::string_view text = FText.Text();
  const char c = text[at];
  std::size_t end = at + 1;
  TSqlToken token;
  if (c == '\'' || c == '"') {
    do {  // a doubled quote is part of the text
      end = text.find(c, end);
      if (end == std::string_view::npos) RefuseAt(FText.Text(), at, "the quote has no end");
      end += 2;
    } while (end - 1 < text.size() && text[end - 1] == c);
    --end;
    token.kind = c == '"' ? TSqlTokenKind::quoted : TSqlTokenKind::text;
    if (c == '"') token.name = text.substr(at + 1, end - at - 2);
  } else if (IsWordStart(c)) {
    while (end < text.size() && IsWordByte(text[end])) ++end;
    token.kind = TSqlTokenKind::word;
    token.name = UpperCase(text.substr(at, end - at));
  } else if (IsDigit(c) || (c == '.' && end < text.size() && IsDigit(text[end]))) {
    end = NumberEnd(text, at);
    token.kind = TSqlTokenKind::number;
  } else if (c == ':') {
    const auto& places = FText.Places();
    while (place < places.size() && places[place].offset < at) ++place;
    if (place == places.size() || places[place].offset != at) {
      RefuseAt(FText.Text(), at,
               text.substr(at, 2) == ":=" ? "assignments are not supported by this database"
                                          : "a colon without a parameter's name");
    }
    end = at + places[place].length;
    token.kind = TSqlTokenKind::parameter;
    token.parameter = static_cast<int>(places[place].parameter);
  } else {
    const bool isPair =
        std::find(std::begin(kPairs), std::end(kPairs), text.substr(at, 2)) != std::end(kPairs);
    if (isPair) {
      end = at + 2;
    } else if (std::string_view("(),.;+-*/=<>").find(c) == std::string_view::npos) {
      RefuseAt(FText.Text(), at, "this character means nothing here");
    }
    token.name = text.substr(at, end - at);
  }
  token.offset = static_cast<std::uint32_t>(at);
  token.length = static_cast<std::uint32_t>(end - at);
  token.out = text.substr(at, end - at);
  FTokens.push_back(std::move(token));
  at = end;
}

void TSqlTokens::PairParentheses() {
  std::vector<std::size_t> open;
  for (std::size_t i = 0; i < FTokens.size(); ++i) {
    if (FTokens[i].Is("(")) {
      open.push_back(i);
    } else if (FTokens[i].Is(")")) {
      if (open.empty()) Refuse(i, "the parenthesis closes nothing");
      FTokens[i].partner = open.back();
      FTokens[open.back()].partner = i;
      open.pop_back();
    }
  }
  if (!open.empty()) Refuse(open.back(), "the parenthesis is not closed");
}

void TSqlTokens::Refuse(std::size_t index, const std::string& message) const {
  const std::size_t offset = index < FTokens.size() ? FTokens[index].offset : FText.Text().size();
  RefuseAt(FText.Text(), offset, message);
}

void TSqlTokens::Wrap(std::size_t first, std::size_t last, std::string_view before,
                      std::string_view after) {
  std::string outer(before);
  outer += FTokens[first].before;
  FTokens[first].before = std::move(outer);
  FTokens[last].after += after;
}

std::size_t TSqlTokens::FindOwn(std::string_view word, std::size_t at, std::size_t end) const {
  for (; at < end; ++at) {
    if (IsSubquery(at)) {
      at = FTokens[at].partner;
    } else if (FTokens[at].kind == TSqlTokenKind::word && FTokens[at].name == word) {
      return at;
    }
  }
  return end;
}

void TSqlTokens::Reorder(std::size_t first, const std::vector<std::size_t>& order) {
  std::vector<std::size_t> places(order.size());  // where the token of each old place goes
  for (std::size_t i = 0; i < order.size(); ++i) places[order[i] - first] = first + i;
  std::vector<TSqlToken> moved;
  moved.reserve(order.size());
  for (const std::size_t from : order) {
    TSqlToken& token = FTokens[from];
    if (token.kind == TSqlTokenKind::symbol && (token.name == "(" || token.name == ")")) {
      token.partner = places[token.partner - first];
    }
    moved.push_back(std::move(token));
  }
  std::move(moved.begin(), moved.end(), FTokens.begin() + static_cast<std::ptrdiff_t>(first));
}

void TSqlTokens::Render(std::size_t first, std::size_t behind, std::string& sql,
                        TOrigins& origins) const {
  const std::size_t start = sql.size();
  std::string_view hiddenGap;  // what is hidden still keeps its neighbours apart
  for (std::size_t i = first; i < behind; ++i) {
    const TSqlToken& token = FTokens[i];
    if (token.hidden) {
      if (hiddenGap.empty()) hiddenGap = token.gap;
      sql.append(token.before).append(token.after);  // of the operand that it is a part of
      continue;
    }
    if (token.gap.empty() && !hiddenGap.empty() && !token.Is(")")) {
      sql += hiddenGap;
    } else if (sql.size() > start) {
      sql += token.gap;
    }
    hiddenGap = {};
    origins.emplace_back(static_cast<std::uint32_t>(sql.size()), token.offset);
    sql.append(token.before).append(token.out).append(token.after);
  }
}

}  // namespace perlayer

#include "perlayer/list/TFilterTokens.h"

#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

constexpr char kQuote = '\'';

bool IsBlank(char c) { return static_cast<unsigned char>(c) <= ' '; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool BeginsSymbol(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }

}  // namespace

bool TFilterTokens::Next() {
  FStart = FEnd;
  while (FStart < FText.size() && IsBlank(FText[FStart])) ++FStart;
  FEnd = FStart;
  if (FStart == FText.size()) {
    FKind = TFilterToken::end;
    return true;
  }
  const char first = FText[FStart];
  if (BeginsSymbol(first)) {
    FKind = TFilterToken::symbol;
    while (BeginsSymbol(At(FEnd)) || IsDigit(At(FEnd))) ++FEnd;
  } else if (first == '-' || IsDigit(first)) {
    FKind = NumberAt(FEnd);
  } else if (first == kQuote) {
    FKind = TFilterToken::string;
    for (++FEnd;; FEnd += 2) {
      FEnd = FText.find(kQuote, FEnd);
      if (FEnd == FText.npos) {
        FEnd = FText.size();
        return false;
      }
      if (At(FEnd + 1) != kQuote) break;
    }
    ++FEnd;
  } else {
    FKind = TFilterToken::character;
    DecodeUtf8(FText, FEnd);
  }
  return true;
}

TFilterToken TFilterTokens::NumberAt(std::size_t& end) const {
  TFilterToken kind = TFilterToken::integer;
  if (FText[end] == '-') ++end;
  if (!IsDigit(At(end))) return kind;
  const auto skipDigits = [&] {
    while (IsDigit(At(end))) ++end;
  };
  skipDigits();
  if (At(end) == '.') {
    kind = TFilterToken::floating;
    ++end;
    skipDigits();
  }
  if (At(end) == 'e' || At(end) == 'E') {
    const std::size_t sign = At(end + 1) == '+' || At(end + 1) == '-' ? 1 : 0;
    if (IsDigit(At(end + 1 + sign))) {
      kind = TFilterToken::floating;
      end += 1 + sign;
      skipDigits();
    }
  }
  return kind;
}

std::string TFilterTokens::Value() const {
  if (FKind != TFilterToken::string) return std::string(Text());
  return StringReplaceAll(Text().substr(1, Text().size() - 2), "''", "'");
}

bool TFilterTokens::IsSymbol(std::string_view word) const {
  return FKind == TFilterToken::symbol && SameText(Text(), word);
}

std::size_t TFilterTokens::Position() const { return Utf8Length(FText.substr(0, FStart)) + 1; }

}  // namespace perlayer

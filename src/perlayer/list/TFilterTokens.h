#pragma once
// TFilterTokens: the words of a filter text, one after the other.
//
//   symbol     a letter or underscore, then letters, digits, underscores (ASCII)
//   string     between single quotes; a doubled quote stands for one
//   integer    digits, with a minus sign before them or not; also a minus sign alone, which is an
//              integer that nobody can read
//   floating   the same with a point behind the digits, an exponent, or both
//   end        behind the last token, for ever
//   character  any other character
//
// Blanks are the characters up to 32.

#include <cstddef>
#include <string>
#include <string_view>

namespace perlayer {

enum class TFilterToken { end, symbol, string, integer, floating, character };

class TFilterTokens {
 public:
  // Before the first token. The text must outlive the tokens.
  explicit TFilterTokens(std::string_view text) : FText(text) {}

  // Goes to the next token; false where a string begins that does not end.
  bool Next();
  TFilterToken Kind() const { return FKind; }
  std::string_view Text() const { return FText.substr(FStart, FEnd - FStart); }
  // The text of a string; of other tokens as Text().
  std::string Value() const;
  bool IsSymbol(std::string_view word) const;  // in any case
  bool IsCharacter(char c) const { return FKind == TFilterToken::character && Text()[0] == c; }
  // Counted in characters, from 1.
  std::size_t Position() const;

 private:
  TFilterToken NumberAt(std::size_t& end) const;
  char At(std::size_t place) const { return place < FText.size() ? FText[place] : '\0'; }

  const std::string_view FText;
  TFilterToken FKind = TFilterToken::end;
  std::size_t FStart = 0;
  std::size_t FEnd = 0;
};

}  // namespace perlayer

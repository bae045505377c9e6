#include "perlayer/platform/DatePattern.h"

#include <algorithm>

#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

char AsciiLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; }

}  // namespace

TPatternToken NextToken(std::string_view& pattern) {
  const char first = pattern[0];
  TPatternToken token{AsciiLower(first), {}};
  std::size_t length = 1;
  switch (token.letter) {
    case 'd':
    case 'm':
    case 'y':
    case 'h':
    case 'n':
    case 's':
    case 'z':
    case 't':
      while (length < pattern.size() && AsciiLower(pattern[length]) == token.letter) ++length;
      break;
    case 'a':
      if (StartsText("am/pm", pattern)) {
        length = 5;
      } else if (StartsText("a/p", pattern)) {
        length = 3;
      } else {
        token.letter = 0;
      }
      break;
    case '\'':
    case '"': {
      const std::size_t end = std::min(pattern.find(first, 1), pattern.size());
      token = {'"', pattern.substr(1, end - 1)};
      pattern.remove_prefix(std::min(end + 1, pattern.size()));
      return token;
    }
    default:
      break;
  }
  token.text = pattern.substr(0, length);
  pattern.remove_prefix(length);
  return token;
}

}  // namespace perlayer

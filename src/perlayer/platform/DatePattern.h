#pragma once
// The pieces of a date pattern, for those who write by it and those who read by it. Not for
// applications.

#include <string_view>

namespace perlayer {

// One piece of a pattern: equal letters in a row, a quoted text, am/pm, or any other single byte.
struct TPatternToken {
  char letter = 0;        // lower case; '"' for quoted text, 'a' for am/pm and a/p
  std::string_view text;  // the piece itself, quoted text without its quotes
};

// Cuts the next piece off the pattern.
// REQUIRES: !pattern.empty()
TPatternToken NextToken(std::string_view& pattern);

}  // namespace perlayer

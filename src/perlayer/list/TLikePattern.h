#pragma once
// TLikePattern: the pattern of a LIKE. It is never anchored: without its first character where that
// is "%", and without its last "%", it is looked for anywhere in the value; a "%" that is left
// splits it into two texts that are both looked for, in any order. No text holds an empty one, so
// that "%" matches nothing.

#include <string>
#include <string_view>

namespace perlayer {

class TLikePattern {
 public:
  // Values that are matched come in upper case, like the pattern.
  explicit TLikePattern(std::string upperCase);
  bool Matches(std::string_view upperCase) const {
    return Holds(upperCase, FLeft) && (!FSplit || Holds(upperCase, FRight));
  }

 private:
  static bool Holds(std::string_view text, std::string_view part) {
    return !part.empty() && text.find(part) != text.npos;
  }

  bool FSplit;
  std::string FLeft;
  std::string FRight;
};

inline TLikePattern::TLikePattern(std::string pattern) {
  constexpr char kAny = '%';
  if (pattern.starts_with(kAny)) pattern.erase(0, 1);
  if (const std::size_t last = pattern.rfind(kAny); last != pattern.npos) pattern.erase(last, 1);
  const std::size_t split = pattern.find(kAny);
  FSplit = split != pattern.npos;
  if (FSplit) FRight = pattern.substr(split + 1);
  FLeft = pattern.substr(0, split);
}

}  // namespace perlayer

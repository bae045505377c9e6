#include "perlayer/corekit/StringLists.h"

#include <vector>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TStringList.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

void String2StringListSep(std::string_view text, std::string_view separator, TStringList& list) {
  std::vector<std::string> pieces;
  if (!separator.empty()) {
    pieces = SplitText(text, separator);
  } else if (!text.empty()) {
    pieces.emplace_back(text);
  }
  list.BeginUpdate();
  TryFinally(
      [&] {
        list.Clear();
        list.AddStrings(pieces);
      },
      [&] { list.EndUpdate(); });
}

std::string StringList2StringSep(const TStringList& list, std::string_view separator) {
  std::string text;
  for (int i = 0; i < list.Count(); ++i) {
    if (i > 0) text += separator;
    text += list.Strings(i);
  }
  return text;
}

}  // namespace perlayer

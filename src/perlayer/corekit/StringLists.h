#pragma once
// Texts with separators to string lists and back.

#include <string>
#include <string_view>

namespace perlayer {

class TStringList;

// The list becomes what stands between the separators, empty pieces included: "a,,b," gives four.
// An empty text gives an empty list; without a separator the whole text is one piece.
void String2StringListSep(std::string_view text, std::string_view separator, TStringList& list);
// The texts in list order, the separator between them and not at the end.
std::string StringList2StringSep(const TStringList& list, std::string_view separator);

}  // namespace perlayer

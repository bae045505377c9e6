#pragma once
// TCollation: the order of texts that people see, as in a list on the screen. Names and keys have
// another one that never changes; see Text.h.
//
// The collation that stands until another is installed knows the Latin letters of Slovene,
// Croatian, German, Italian and Hungarian: a b c č ć d đ ... s š ... z ž are letters of their own,
// every other accent only decides between texts that are alike without it, ß counts as ss, and case
// decides last, small letters first. Controls, blanks, punctuation and digits stand before letters,
// all other characters behind them by code point. An accent that is a character of its own counts
// as such.
//
// Main thread only.

#include <memory>
#include <string>
#include <string_view>

namespace perlayer {

class Variant;

class TCollation {
 public:
  virtual ~TCollation() = default;
  // Appends the text's key. Keys compare, as unsigned bytes, as their texts are ordered.
  virtual void AppendKey(std::string& key, std::string_view text, bool ignoreCase) const = 0;
  // Below 0, 0 or above 0, as the keys compare.
  virtual int Compare(std::string_view a, std::string_view b, bool ignoreCase) const;
};

// The collation of the loaded layer.
const TCollation& Collation();
// Replaces it; nullptr puts the one that the layer begins with back.
void InstallCollation(std::unique_ptr<TCollation> collation);

int AnsiCompareStr(std::string_view a, std::string_view b);
int AnsiCompareText(std::string_view a, std::string_view b);  // without regard to case
// Orders any two values: Unassigned, then Null, then numbers and dates by size, then texts by
// AnsiCompareStr. Raises EVariantError for arrays.
int AnsiCompareVariant(const Variant& a, const Variant& b);

}  // namespace perlayer

#pragma once
// What is known of a value beside its type: label, size, whether it must be given, and the code
// list it comes from. As text it is one line of eight positions separated by TAB:
//
//   1  kind: empty, "S" or "MS" (the value is a code of a list), or the application's own
//   2  display label
//   3  size in decimal
//   4  "*" when a value is required, else one blank
//   5  code list
//   6  empty
//   7  one blank
//   8  empty

#include <string>
#include <string_view>

#include "perlayer/corekit/TComponent.h"

namespace perlayer {

struct TIValInfoRec {
  std::string kind;
  std::string displayLabel;
  int size = 0;
  bool required = false;
  std::string codeList;
  friend bool operator==(const TIValInfoRec&, const TIValInfoRec&) = default;
};

// Positions that are missing at the end are empty, those behind the eighth are passed over, an
// empty size is 0. Raises EConvertError when the size is no number from 0 up.
TIValInfoRec ValidString2ValidInfo(std::string_view text);
// Control characters inside a text become blanks, so that positions hold. The code list is trimmed.
std::string ValidInfo2ValidString(const TIValInfoRec& info);

// The kind of values from that code list: empty without one, "MS" for a code of three characters,
// else "S".
std::string_view ValidKindOfCodeList(std::string_view codeList);

// A component that carries one such record. Main thread only.
class TIValidInfo : public TComponent {
  TCLASS(TIValidInfo, TComponent)
 public:
  const TIValInfoRec& Info() const { return FInfo; }
  void Info(const TIValInfoRec& info) { FInfo = info; }
  std::string ValidString() const { return ValidInfo2ValidString(FInfo); }
  // Raises EConvertError as ValidString2ValidInfo, and keeps what it had then.
  void ValidString(std::string_view text) { FInfo = ValidString2ValidInfo(text); }

 private:
  TIValInfoRec FInfo;
};

}  // namespace perlayer

#pragma once
// TIFieldInfo: reads and writes the validation info of the field that it is bound to, and keeps the
// field's own display label in agreement with it. Main thread only.

#include <string>
#include <string_view>

#include "perlayer/corekit/TField.h"
#include "perlayer/corekit/TIValidInfo.h"

namespace perlayer {

class TIFieldInfo : public TObject {
  TCLASS(TIFieldInfo, TObject)
 public:
  TField* Field() const { return FField; }
  void Field(TField* field) { FField = field; }  // not owned

  // All of these REQUIRE a bound field.
  TIValInfoRec Info() const;
  std::string Kind() const { return Info().kind; }
  std::string CodeList() const { return Info().codeList; }
  // Writes the label into the field and into its validation string.
  void SetDisplayLabel(std::string_view label);
  // Sets the whole validation string; the field takes over its label and its required flag.
  void SetInfoString(std::string_view validString);

 private:
  TField* FField = nullptr;
};

}  // namespace perlayer

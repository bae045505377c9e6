#include "perlayer/corekit/TIFieldInfo.h"

#include "perlayer/platform/Exception.h"

namespace perlayer {

TIValInfoRec TIFieldInfo::Info() const {
  Assert(FField != nullptr, "TIFieldInfo: no field is bound");
  return ValidString2ValidInfo(FField->ValidString());
}

void TIFieldInfo::SetDisplayLabel(std::string_view label) {
  TIValInfoRec info = Info();
  info.displayLabel = label;
  FField->DisplayLabel(label);
  FField->ValidString(ValidInfo2ValidString(info));
}

void TIFieldInfo::SetInfoString(std::string_view validString) {
  Assert(FField != nullptr, "TIFieldInfo: no field is bound");
  const TIValInfoRec info = ValidString2ValidInfo(validString);  // before anything changes
  FField->ValidString(validString);
  FField->DisplayLabel(info.displayLabel);
  FField->Required(info.required);
}

}  // namespace perlayer

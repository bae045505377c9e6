#include "Discharge.h"

#include "Lines.h"

namespace ward {

namespace {
constexpr const char* kLetter = "LETTER";
}

std::string TpoDischarge::GetTextDescription() {
  return JoinFilled(GetAttrValue("WRITTEN"), ": ", GetAttrValue("SUBJECT"));
}

void TpoDischarge::LoadLetter() {
  LoadClob(kLetter);
  FLetterLoaded = true;
}

void TpoDischarge::DoAfterSave() {
  TpoWardObject::DoAfterSave();
  if (FLetterLoaded || !GetAttrValue(kLetter).empty()) SaveClob(kLetter);
}

}  // namespace ward

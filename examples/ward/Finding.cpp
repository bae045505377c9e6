#include "Finding.h"

#include "Lines.h"
#include "perlayer/platform/Text.h"

namespace ward {

std::string TpoFinding::GetTextDescription() {
  const std::string started = DateToStr(GetAttrValueAsDate("STARTED"));
  const TDateTime stopped = GetAttrValueAsDate("STOPPED");
  const std::string period =
      stopped == kNoDate ? "since " + started : started + " to " + DateToStr(stopped);
  return period + ": " + GetAttrValue("NAME");
}

std::string TpoFinding::GetCalcAttrValue(const std::string& AName) {
  if (!SameText(AName, "DAYS")) return TpoWardObject::GetCalcAttrValue(AName);
  const TDateTime started = GetAttrValueAsDate("STARTED");
  const TDateTime stopped = GetAttrValueAsDate("STOPPED");
  if (started == kNoDate || stopped == kNoDate) return "";
  return FloatToStr(DatePart(stopped) - DatePart(started));
}

std::string TpoMedication::GetTextDescription() {
  return JoinFilled(TpoFinding::GetTextDescription(), ", for ", GetAttrValue("REASON"));
}

}  // namespace ward

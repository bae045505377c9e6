#include "Patient.h"

#include "perlayer/foundation/BoMessageDlg.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"

namespace ward {

namespace {
int WholeYears(TDateTime from, TDateTime to) {
  const TDateParts begin = DecodeDate(from);
  const TDateParts end = DecodeDate(to);
  const bool birthdayPassed =
      end.month != begin.month ? end.month > begin.month : end.day >= begin.day;
  return end.year - begin.year - (birthdayPassed ? 0 : 1);
}
}  // namespace

std::string TpoPatient::GetTextDescription() {
  return Format("%s (%s)", GetAttrValue("FULLNAME"), GetAttrValue("BIRTHDATE"));
}

std::string TpoPatient::GetCalcAttrValue(const std::string& AName) {
  if (SameText(AName, "FULLNAME")) {
    return GetAttrValue("FIRST") + " " + GetAttrValue("LAST");
  }
  if (SameText(AName, "AGE")) {
    const TDateTime born = GetAttrValueAsDate("BIRTHDATE");
    const TDateTime died = GetAttrValueAsDate("DEATHDATE");
    if (born == kNoDate) return "";
    return IntToStr(WholeYears(born, died == kNoDate ? IWorkingDate() : died));
  }
  return TplPerObject::GetCalcAttrValue(AName);
}

}  // namespace ward

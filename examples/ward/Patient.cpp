#include "Patient.h"

#include "Encounter.h"
#include "Finding.h"
#include "perlayer/foundation/BoMessageDlg.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"

namespace ward {

namespace {

constexpr int kOldest = 122;  // years that anybody is known to have reached

int WholeYears(TDateTime from, TDateTime to) {
  const TDateParts begin = DecodeDate(from);
  const TDateParts end = DecodeDate(to);
  const bool birthdayPassed =
      end.month != begin.month ? end.month > begin.month : end.day >= begin.day;
  return end.year - begin.year - (birthdayPassed ? 0 : 1);
}

}  // namespace

void TpoPatient::Create(TPlBaseObject* AOwner, TObject* ARetainer) {
  TpoWardObject::Create(AOwner, ARetainer);
  RegisterAgregatedObjects({&FEncounters, &FConditions});
}

TPlBoList* TpoPatient::Encounters() {
  return GetOne2ManyRelation(FEncounters, "PATIENT_ID", Provider<TplEncounter>(), "ID", "",
                             "-STARTED");
}

TPlBoList* TpoPatient::Conditions() {
  return GetOne2ManyRelation(FConditions, "PATIENT_ID", Provider<TplCondition>(), "ID", "",
                             "-STARTED");
}

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
  return TpoWardObject::GetCalcAttrValue(AName);
}

bool TpoPatient::DoValidateObject() {
  const TDateTime born = GetAttrValueAsDate("BIRTHDATE");
  const TDateTime died = GetAttrValueAsDate("DEATHDATE");
  if (born > IWorkingDate()) {
    SetAttrError("BIRTHDATE", "Datum rojstva ne sme biti v prihodnosti.", TIErrorLevel::elError);
    return false;
  }
  if (died != kNoDate && died < born) {
    SetAttrError("DEATHDATE", "Datum smrti ne sme biti pred datumom rojstva.",
                 TIErrorLevel::elError);
    return false;
  }
  const std::string age = GetAttrValue("AGE");
  if (StrToIntDef(age, 0) <= kOldest) return true;
  SetAttrError("BIRTHDATE", Format("Bolnik bi bil star %s let: preveri datum rojstva.", age),
               TIErrorLevel::elWarning);
  return false;  // so that what there is to say is shown
}

void TpoPatient::DoBeforeSave() {
  const std::string died = GetAttrValue("DEATHDATE");
  if (!died.empty() && GetAttrOldValue("DEATHDATE").empty()) {
    const int answer =
        BoMessageDlg(Format("%s: vpiše se smrt, %s. Shranim?", GetAttrValue("FULLNAME"), died),
                     TMsgDlgType::mtConfirmation, {TMsgDlgBtn::mbYes, TMsgDlgBtn::mbNo},
                     TMsgDlgBtn::mbNo, TMsgDlgBtn::mbNo);
    if (answer != mrYes) throw Exception("Shranjevanje je preklicano.");
  }
  TpoWardObject::DoBeforeSave();
}

}  // namespace ward

#include "Encounter.h"

#include <algorithm>
#include <array>

#include "Patient.h"
#include "perlayer/corekit/TDataSet.h"
#include "perlayer/corekit/TField.h"
#include "perlayer/corekit/TIQuery.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"

namespace ward {

namespace {

constexpr const char* kClass = "ENCOUNTERCLASS";

// The stays stand behind the visits.
const std::array<std::string, 6> kClasses = {"ambulatory", "outpatient", "urgentcare",
                                             "wellness",   "emergency",  "inpatient"};
constexpr std::size_t kVisits = 4;
const std::span<const std::string> kStays = std::span(kClasses).subspan(kVisits);

std::string ClassOf(TDataSet* dataSet) { return dataSet->FieldByName(kClass)->AsString(); }

bool Holds(std::span<const std::string> classes, const std::string& name) {
  return std::find(classes.begin(), classes.end(), name) != classes.end();
}

}  // namespace

void TpoEncounter::Create(TPlBaseObject* AOwner, TObject* ARetainer) {
  TpoWardObject::Create(AOwner, ARetainer);
  RegisterAgregatedObjects({&FPatient});
}

TpoPatient* TpoEncounter::Patient() {
  return GetOne2OneRelation(FPatient, "ID", Provider<TplPatient>(), "PATIENT_ID");
}

std::string TpoEncounter::GetTextDescription() {
  return Format("%s, %s: %s", GetAttrValueAsFormatedDate("STARTED"), GetAttrValue(kClass),
                GetAttrValue("NAME"));
}

std::string TpoEncounter::GetCalcAttrValue(const std::string& AName) {
  if (!SameText(AName, "HOURS")) return TpoWardObject::GetCalcAttrValue(AName);
  const TDateTime started = GetAttrValueAsDate("STARTED");
  const TDateTime stopped = GetAttrValueAsDate("STOPPED");
  if (started == kNoDate || stopped == kNoDate) return "";
  return Format("%.2f", (stopped - started) * 24);
}

std::string TpoStay::GetTextDescription() {
  return Format("%s, %s", TpoEncounter::GetTextDescription(), GetAttrValue("HOSPITAL"));
}

TplProvider* TplEncounter::GetProviderFromDataSet(TDataSet* ASourceDataSet, TIQuery*& AObjectSQL) {
  const std::string name = ClassOf(ASourceDataSet);
  if (!Holds(kClasses, name)) return CannotDetermineProvider(this, kClass, name, kClasses);
  if (!Holds(kStays, name)) return this;
  auto* const stays = Provider<TplStay>();
  stays->GetQueryForObject(ASourceDataSet->FieldByName(GetIDAttrName())->AsString(), AObjectSQL,
                           false);
  return stays;
}

TplPerObject* TplEncounter::InternalCreateObject(TObject* ARetainer) {
  return New<TpoEncounter>(this, ARetainer);
}

TplProvider* TplStay::GetProviderFromDataSet(TDataSet* ASourceDataSet, TIQuery*&) {
  const std::string name = ClassOf(ASourceDataSet);
  if (!Holds(kStays, name)) return CannotDetermineProvider(this, kClass, name, kStays);
  return this;
}

TplPerObject* TplStay::InternalCreateObject(TObject* ARetainer) {
  return New<TpoStay>(this, ARetainer);
}

}  // namespace ward

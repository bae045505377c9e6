#pragma once
// Patients: TpoPatient is one, TplPatient fetches and makes them.

#include <string>

#include "WardObject.h"
#include "perlayer/list/TPlBoList.h"
#include "perlayer/object/TplMember.h"

namespace ward {

using namespace perlayer;

class TpoPatient : public TpoWardObject {
  TCLASS(TpoPatient, TpoWardObject)
 public:
  std::string GetTextDescription() override;  // "Romona686 Ankunding277 (19.02.1988)"
  // FULLNAME, and AGE in whole years, today or at death.
  std::string GetCalcAttrValue(const std::string& AName) override;
  // Nobody is born after today or dies before birth; a patient older than anybody was is a warning.
  bool DoValidateObject() override;
  void Create(TPlBaseObject* AOwner, TObject* ARetainer) override;
  // Its encounters and conditions, the latest first; fetched when they are first asked for.
  TPlBoList* Encounters();
  TPlBoList* Conditions();
  // Asks before a death is recorded. The answer without a user interface is no: saving raises.
  void DoBeforeSave() override;

 private:
  TplMember<TPlBoList> FEncounters;
  TplMember<TPlBoList> FConditions;
};

WARD_PROVIDER(TplPatient, TpoPatient)

}  // namespace ward

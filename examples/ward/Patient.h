#pragma once
// Patients: TpoPatient is one, TplPatient fetches and makes them.

#include <string>

#include "WardObject.h"

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
  // Asks before a death is recorded. The answer without a user interface is no: saving raises.
  void DoBeforeSave() override;
};

WARD_PROVIDER(TplPatient, TpoPatient)

}  // namespace ward

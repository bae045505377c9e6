#pragma once
// Patients: TpoPatient is one, TplPatient fetches them.

#include <string>

#include "perlayer/object/TplPerObject.h"
#include "perlayer/provider/TPROVIDER.h"

namespace ward {

using namespace perlayer;

class TpoPatient : public TplPerObject {
  TCLASS(TpoPatient, TplPerObject)
 public:
  std::string GetTextDescription() override;  // "Romona686 Ankunding277 (19.02.1988)"
  // FULLNAME, and AGE in whole years, today or at death.
  std::string GetCalcAttrValue(const std::string& AName) override;
};

TPROVIDER(TplPatient, TpoPatient)

}  // namespace ward

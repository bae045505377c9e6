#pragma once
// What an encounter finds or prescribes: conditions of a patient and medications, each with the
// time for which it holds.

#include <string>

#include "WardObject.h"

namespace ward {

using namespace perlayer;

// What both have in common; there is no row of this class.
class TpoFinding : public TpoWardObject {
  TCLASS(TpoFinding, TpoWardObject)
 public:
  // "27.01.2023 to 09.02.2023: Acute viral pharyngitis", "since 09.08.2011: ..." while it lasts.
  std::string GetTextDescription() override;
  // DAYS from beginning to end, of whole days; empty while it lasts.
  std::string GetCalcAttrValue(const std::string& AName) override;
};

class TpoCondition : public TpoFinding {
  TCLASS(TpoCondition, TpoFinding)
};

class TpoMedication : public TpoFinding {
  TCLASS(TpoMedication, TpoFinding)
 public:
  std::string GetTextDescription() override;  // the same, with the reason where there is one
};

WARD_PROVIDER(TplCondition, TpoCondition)
WARD_PROVIDER(TplMedication, TpoMedication)

}  // namespace ward

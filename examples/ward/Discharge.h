#pragma once
// Discharge letters of patients. Their row goes when they are deleted: nothing counts as deleted.

#include <string>

#include "WardObject.h"

namespace ward {

using namespace perlayer;

class TpoDischarge : public TpoWardObject {
  TCLASS(TpoDischarge, TpoWardObject)
 public:
  std::string GetTextDescription() override;  // "03.02.2023: Odpust iz bolnišnice"
};

WARD_PROVIDER(TplDischarge, TpoDischarge)

}  // namespace ward

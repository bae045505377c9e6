#include "Discharge.h"

#include "Lines.h"

namespace ward {

std::string TpoDischarge::GetTextDescription() {
  return JoinFilled(GetAttrValue("WRITTEN"), ": ", GetAttrValue("SUBJECT"));
}

}  // namespace ward

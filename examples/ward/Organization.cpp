#include "Organization.h"

#include "Lines.h"

namespace ward {

std::string TpoOrganization::GetTextDescription() {
  return JoinFilled(GetAttrValue("NAME"), ", ", GetAttrValue("CITY"));
}

std::string TpoClinician::GetTextDescription() {
  return JoinFilled(GetAttrValue("NAME"), ", ", GetAttrValue("SPECIALITY"));
}

}  // namespace ward

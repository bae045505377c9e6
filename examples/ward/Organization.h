#pragma once
// Organizations that treat patients, and the clinicians who work there.

#include <string>

#include "WardObject.h"

namespace ward {

using namespace perlayer;

class TpoOrganization : public TpoWardObject {
  TCLASS(TpoOrganization, TpoWardObject)
 public:
  std::string GetTextDescription() override;  // "STURDY MEMORIAL HOSPITAL, ATTLEBORO"
};

class TpoClinician : public TpoWardObject {
  TCLASS(TpoClinician, TpoWardObject)
 public:
  std::string GetTextDescription() override;  // "Ludivina884 Steuber698, GENERAL PRACTICE"
};

WARD_PROVIDER(TplOrganization, TpoOrganization)
WARD_PROVIDER(TplClinician, TpoClinician)

}  // namespace ward

#pragma once
// Organizations that treat patients, and the clinicians who work there.

#include <string>

#include "perlayer/object/TplPerObject.h"
#include "perlayer/provider/TPROVIDER.h"

namespace ward {

using namespace perlayer;

class TpoOrganization : public TplPerObject {
  TCLASS(TpoOrganization, TplPerObject)
 public:
  std::string GetTextDescription() override;  // "STURDY MEMORIAL HOSPITAL, ATTLEBORO"
};

class TpoClinician : public TplPerObject {
  TCLASS(TpoClinician, TplPerObject)
 public:
  std::string GetTextDescription() override;  // "Ludivina884 Steuber698, GENERAL PRACTICE"
};

TPROVIDER(TplOrganization, TpoOrganization)
TPROVIDER(TplClinician, TpoClinician)

}  // namespace ward

#pragma once
// What a data set over an object shows for an attribute, without making the data set. Main thread
// only.

#include <string>

#include "perlayer/corekit/TIValidInfo.h"

namespace perlayer {

class TplPerObject;

struct TFieldText {
  std::string text;   // as the attribute's field has it
  TIValInfoRec info;  // what is known of the field
};

// Raises EDatabaseError when the object has no field of that name, and what reading the attribute
// raises.
TFieldText FieldTextOf(TplPerObject* AObject, const std::string& AName);

}  // namespace perlayer

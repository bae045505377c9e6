#pragma once
// TplAttrProperties: the description of one attribute.

#include <string>

#include "perlayer/corekit/TField.h"

namespace perlayer {

struct TplAttrProperties {
  TFieldType iType = TFieldType::ftUnknown;
  int iSize = 0;
  std::string sDispLabel;
  std::string sSifrant;    // code list that the values come from, or empty
  std::string sValidInfo;  // validation string; see TIValidInfo.h
  bool bReadOnly = false;
};
using TplAttrPropertiesPtr = TplAttrProperties*;

}  // namespace perlayer

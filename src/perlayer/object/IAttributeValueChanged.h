#pragma once
// Whoever wants to hear of changed attributes of an object; see
// TplPerObject.RegisterForAttributeValueChanged. Main thread only.

#include <string>

#include "perlayer/corekit/IInterface.h"

namespace perlayer {

class TplPerObject;

class IAttributeValueChanged : public IInterface {
 public:
  static constexpr TGuid IID = "{6F2B7C0E-4C1D-4B7B-9C55-1E0B4E0C7A31}"_guid;
  virtual void AttributeValueChanged(TplPerObject* AObject, int AIndex, const std::string& AName,
                                     const std::string& AValue) = 0;

 protected:
  ~IAttributeValueChanged() = default;
};

}  // namespace perlayer

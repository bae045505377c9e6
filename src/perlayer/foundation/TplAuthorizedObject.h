#pragma once
// TplAuthorizedObject: an object that can be asked for rights. Main thread only.

#include <string>
#include <string_view>

#include "perlayer/foundation/TPlBaseObject.h"

namespace perlayer {

class TplAuthorizedObject : public TPlBaseObject {
  TCLASS(TplAuthorizedObject, TPlBaseObject)
 public:
  // The rights that the class offers at all; all six here.
  virtual TIAccessRights GetRights();
  virtual int GetImageIndex() = 0;
  virtual std::string GetTextDescription();
  // Whether the user may perform the named action on this object.
  virtual bool HasActionRight(const std::string& AsActionName);

  // Whether GetRights() holds all of these.
  bool HasRights(TIAccessRights AR);

  TIAccessRights aiRights() { return GetRights(); }
  int aiImageIndex() { return GetImageIndex(); }
  std::string aiTextDescription() { return GetTextDescription(); }
};

}  // namespace perlayer

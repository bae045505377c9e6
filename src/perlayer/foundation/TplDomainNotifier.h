#pragma once
// TplDomainNotifier: a domain object whose only job is to pass notifications on to its retainers.
// Main thread only.

#include "perlayer/foundation/TplDomainObject.h"

namespace perlayer {

class TplDomainNotifier : public TplDomainObject {
  TCLASS(TplDomainNotifier, TplDomainObject)
 public:
  int GetImageIndex() override { return 276; }
  bool GetModified() override { return false; }
  bool GetReadOnly() override { return false; }
  // Names the class of the first retainer.
  std::string GetHint() override;
};

}  // namespace perlayer

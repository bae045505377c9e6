#pragma once
// TISifranti: the code-list service. So far it knows the owner of the tables that no class map
// names one for. Main thread only.

#include <string>
#include <string_view>

#include "perlayer/platform/TObject.h"

namespace perlayer {

class TISifranti : public TObject {
  TCLASS(TISifranti, TObject)
 public:
  const std::string& DefaultOwner() const { return FDefaultOwner; }
  void DefaultOwner(std::string_view owner) { FDefaultOwner = owner; }

 private:
  std::string FDefaultOwner = "OMRA";
};

// The service of the loaded layer.
TISifranti& Sifranti();

}  // namespace perlayer

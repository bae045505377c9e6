#include "perlayer/corekit/TISifBuffer.h"

namespace perlayer {

void TISifBuffer::Add(std::string_view ACode, std::string_view AShortDesc, std::string_view ADesc,
                      bool ADeactivated, std::string_view AParams) {
  TISifCode code{std::string(AShortDesc), std::string(ADesc), std::string(AParams), ADeactivated};
  const int index = FCodes.IndexOf(ACode);
  if (index >= 0) {
    FCodes.PayloadAt(index) = std::move(code);
  } else {
    FCodes.Add(ACode, std::move(code));
  }
}

const TISifCode* TISifBuffer::Find(std::string_view ACode) const {
  const int index = FCodes.IndexOf(ACode);
  return index < 0 ? nullptr : &FCodes.PayloadAt(index);
}

}  // namespace perlayer

#include "perlayer/platform/TLayer.h"

#include "perlayer/platform/Exception.h"

namespace perlayer {

constinit TLayer* TLayer::FCurrent = nullptr;

TLayer::TLayer() {
  Assert(FCurrent == nullptr, "TLayer: a layer is loaded already");
  FCurrent = this;
}

TLayer::~TLayer() {
  // From the first rank again after each part: what ends may have asked for a part that had gone.
  for (std::size_t i = 0; i < FParts.size();) {
    TSlot& slot = FParts[i++];
    if (slot.object == nullptr) continue;
    slot.destroy(slot.object);  // the slot answers its part while that goes
    slot.object = nullptr;
    i = 0;
  }
  FCurrent = nullptr;
}

void TLayer::RaiseNotLoaded() { throw EAssertionFailed("TLayer: no layer is loaded"); }

}  // namespace perlayer

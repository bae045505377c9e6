#pragma once
// The process-wide state of this folder, kept by the loaded layer. Main thread only.

#include <cstdint>
#include <string>

#include "perlayer/platform/TLayer.h"

namespace perlayer {

struct TFoundationState {
  bool notificationsEnabled = true;
  bool layerFinalizing = false;
  std::string lastBoMessageText;
  std::uint64_t memorySequence = 0;
};

inline TFoundationState& FoundationState() {
  return TLayer::Part<TFoundationState>(TLayerPart::foundationState);
}

// False turns all notification off for the process; true at start.
inline bool aiNotificationsEnabled() { return FoundationState().notificationsEnabled; }
inline void aiNotificationsEnabled(bool enabled) {
  FoundationState().notificationsEnabled = enabled;
}

// True from the start of the orderly shutdown: what holds objects does not keep its books any more.
inline bool LayerFinalizing() { return FoundationState().layerFinalizing; }
inline void LayerFinalizing(bool finalizing) { FoundationState().layerFinalizing = finalizing; }

// The text of the last message that was answered without a user interface; empty at start.
inline const std::string& aiLastBoMessageText() { return FoundationState().lastBoMessageText; }

}  // namespace perlayer

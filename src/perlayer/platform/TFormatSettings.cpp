#include "perlayer/platform/TFormatSettings.h"

#include <optional>

#include "perlayer/platform/TLayer.h"

namespace perlayer {

namespace {

struct TSettingsPart {
  TFormatSettings current;
  std::optional<TFormatSettings> frozen;
};

TSettingsPart& Part() { return TLayer::Part<TSettingsPart>(TLayerPart::formatSettings); }

}  // namespace

TFormatSettings& FormatSettings() { return Part().current; }

const TFormatSettings& FrozenFormatSettings() {
  TSettingsPart& part = Part();
  if (!part.frozen) part.frozen = part.current;
  return *part.frozen;
}

}  // namespace perlayer

#include "perlayer/corekit/TDriver.h"

#include "perlayer/platform/Text.h"

namespace perlayer {

std::string TCell::AsText() const {
  switch (kind) {
    case TCellKind::null:
      return {};
    case TCellKind::integer:
      return IntToStr(integer);
    case TCellKind::number:
      return FloatToStr(number);
    case TCellKind::text:
    case TCellKind::blob:
      break;
  }
  return std::string(text);
}

int TColumnLayout::IndexOf(std::string_view name) const {
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (SameText(columns[i].name, name)) return static_cast<int>(i);
  }
  return -1;
}

}  // namespace perlayer

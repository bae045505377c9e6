#include "perlayer/corekit/TDriver.h"

#include "perlayer/platform/Text.h"

namespace perlayer {

int TColumnLayout::IndexOf(std::string_view name) const {
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (SameText(columns[i].name, name)) return static_cast<int>(i);
  }
  return -1;
}

}  // namespace perlayer

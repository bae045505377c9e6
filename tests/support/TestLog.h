#pragma once
// The log that a test's layer writes to.

#include <algorithm>
#include <string_view>

#include "perlayer/corekit/ILog.h"

namespace perlayer {

// Lives until the test ends or installs another log.
TMemoryLog& TestLog();

// Whether some line of the log contains `text`.
inline bool Logged(std::string_view text) {
  const auto lines = TestLog().Lines();
  return std::any_of(lines.begin(), lines.end(),
                     [&](const auto& line) { return line.find(text) != line.npos; });
}

}  // namespace perlayer

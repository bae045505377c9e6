#pragma once
// What an action raises, for tests of messages.

#include <string>

#include "perlayer/platform/Exception.h"

namespace perlayer {

// The message of the Exception that `action` raises, or "" when it raises none.
template <class T>
std::string Raised(T action) {
  try {
    action();
    return "";
  } catch (const Exception& e) {
    return e.Message();
  }
}

}  // namespace perlayer

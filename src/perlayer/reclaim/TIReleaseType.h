#pragma once
// TIReleaseType: how objects that nobody needs any more are found. The first decision of an
// application about memory; what it may change to later is little.

#include <cstdint>

namespace perlayer {

enum class TIReleaseType : std::uint8_t {
  rtUndefined,     // as rtAllAtOnce, until the application has decided
  rtAllAtOnce,     // every Release looks whether the object and its group are held by themselves
  rtDLL,           // no looking; what is left goes in the final sweep
  rtTimer,         // a collector looks while the application is idle
  rtThreadSimple,  // the same, with a thread's help
  rtReleaserThread
};

// Whether a process that runs under one type may go over to another.
constexpr bool MayFollow(TIReleaseType current, TIReleaseType next) {
  using enum TIReleaseType;
  return next == rtDLL || current == rtDLL || current == rtUndefined ||
         (current == rtTimer && next == rtAllAtOnce);
}

}  // namespace perlayer

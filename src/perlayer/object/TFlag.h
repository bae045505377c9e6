#pragma once
// TFlag: sets a flag of an object for the length of a scope, unless the object ends before.

#include "perlayer/platform/TObject.h"

namespace perlayer {

class TFlag {
 public:
  TFlag(const TObject* object, bool& flag) : FAlive(object), FFlag(flag) { FFlag = true; }
  ~TFlag() {
    if (FAlive) FFlag = false;
  }
  TFlag(const TFlag&) = delete;
  TFlag& operator=(const TFlag&) = delete;

 private:
  const TAlive FAlive;
  bool& FFlag;
};

}  // namespace perlayer

#pragma once
// TIStringAndResult: what a notification of a lock carries: the lock group, and whether it worked,
// which a listener may overrule. Main thread only.

#include "perlayer/corekit/TIString.h"

namespace perlayer {

class TIStringAndResult : public TIString {
  TCLASS(TIStringAndResult, TIString)
 public:
  using TIString::Create;
  void Create(std::string_view value, bool result) {
    TIString::Create(value);
    FResult = result;
  }
  bool Result() const { return FResult; }
  void Result(bool result) { FResult = result; }

 private:
  bool FResult = false;
};

}  // namespace perlayer

#pragma once
// TIString: a text as an object, for notifications whose data is an object. Belongs to the thread
// that made it.

#include <string>
#include <string_view>

#include "perlayer/platform/TObject.h"

namespace perlayer {

class TIString : public TObject {
  TCLASS(TIString, TObject)
 public:
  void Create() {}
  void Create(std::string_view value) { FValue = value; }

  const std::string& Value() const { return FValue; }
  void Value(std::string_view value) { FValue = value; }

 private:
  std::string FValue;
};

}  // namespace perlayer

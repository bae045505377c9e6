#pragma once
// TBoundAttribute: one attribute, read from many objects. Where it stands is found once and again
// whenever an object of another class comes by; where the class leaves reading to the layer, values
// are taken from the store without a copy. Main thread only.

#include <cstdint>
#include <string>
#include <string_view>

#include "perlayer/platform/Variant.h"

namespace perlayer {

class TplPerObject;

// A value as Variant has it, whose text belongs to somebody else. Never an array.
struct TValueView {
  TVariantKind kind = TVariantKind::Unassigned;
  bool inStore = false;      // the text is an object's, and lives until that is written to
  std::int64_t integer = 0;  // of Boolean (0 or 1) and Integer
  double number = 0;         // of Float and Date
  std::string_view text{};   // of String
};

class TBoundAttribute {
 public:
  explicit TBoundAttribute(std::string_view name) : FName(name) {}
  const std::string& Name() const { return FName; }

  // Puts what GetAttrValueAsVariant(Name()) would answer into `value`, without calling anybody.
  // False, with `value` untouched, where the object itself must be asked: its class reads values in
  // its own way, has no such stored attribute, or has to say something about what is stored.
  bool ReadStored(TplPerObject* object, TValueView& value);

 private:
  std::string FName;
  std::uint64_t FMetaData = 0;  // handle of the class that it is bound to
  int FCount = 0;               // attributes that this class had then
  int FIndex = -1;
};

}  // namespace perlayer

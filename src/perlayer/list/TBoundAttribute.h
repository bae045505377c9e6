#pragma once
// TBoundAttribute: one attribute, read from many objects. Where it stands is found once and again
// whenever an object of another class comes by; where the class leaves reading to the layer, values
// are taken from the store without a copy. Main thread only.

#include <cstdint>
#include <string>
#include <string_view>

#include "perlayer/platform/TObjectHandle.h"
#include "perlayer/platform/Variant.h"

namespace perlayer {

class TField;
class TPlClassMetaData;
class TplPerObject;

// A value as Variant has it, whose text belongs to somebody else. Never an array. What does not
// belong to the kind says nothing.
struct TValueView {
  TVariantKind kind = TVariantKind::Unassigned;
  bool inStore = false;      // the text is an object's, and lives until that is written to
  std::int64_t integer = 0;  // of Boolean (0 or 1) and Integer
  double number = 0;         // of Float and Date
  std::string_view text{};   // of String
};

// What reading an object's stored values needs to know of its class. Holds until somebody is called
// who may do anything.
struct TObjectShape {
  explicit TObjectShape(TplPerObject* object);
  TPlClassMetaData* metaData = nullptr;  // nullptr: the class reads values in its own way
  std::uint64_t handle = 0;              // of the metadata
  int attributes = 0;
};

class TBoundAttribute {
 public:
  explicit TBoundAttribute(std::string_view name) : FName(name) {}
  const std::string& Name() const { return FName; }

  // Puts what GetAttrValueAsVariant(Name()) would answer into `value`, without calling anybody.
  // False where the object itself must be asked: its class reads values in its own way, has no such
  // stored attribute, or has to say something about what is stored.
  bool ReadStored(const TObjectShape& shape, TplPerObject* object, TValueView& value);

 private:
  TField* Bind(const TObjectShape& shape);  // nullptr without such a field

  std::string FName;
  std::uint64_t FMetaData = 0;  // handle of the class that it is bound to
  int FAttributes = 0;          // that this class had then
  int FIndex = -1;
  TObjectHandle FField;  // which knows the type
};

}  // namespace perlayer

#pragma once
// TBoundAttribute: one attribute, read from many objects. Where it stands is found once and again
// whenever an object of another class comes by; where the class leaves reading to the layer, values
// are taken from the store without a copy. Main thread only.

#include <cstdint>
#include <string>
#include <string_view>

#include "perlayer/corekit/TField.h"
#include "perlayer/object/TplPerObject.h"
#include "perlayer/platform/TFormatSettings.h"
#include "perlayer/platform/Text.h"
#include "perlayer/platform/Variant.h"
#include "perlayer/provider/TPlClassMetaData.h"

namespace perlayer {

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
class TObjectShape {
 public:
  explicit TObjectShape(TplPerObject* object);

 private:
  friend class TBoundAttribute;
  const TFormatSettings& StoredFormats() {
    if (FFormats == nullptr) FFormats = &FrozenFormatSettings();
    return *FFormats;
  }
  TPlClassMetaData* FMetaData = nullptr;  // nullptr: the class reads values in its own way
  TPlClassMetaData::TVersion FVersion;
  const TFormatSettings* FFormats = nullptr;  // looked up once a value needs them
};

class TBoundAttribute {
 public:
  explicit TBoundAttribute(std::string_view name) : FName(name) {}
  const std::string& Name() const { return FName; }

  // Puts what GetAttrValueAsVariant(Name()) would answer into `value`, without calling anybody.
  // False where the object itself must be asked: its class reads values in its own way, has no such
  // stored attribute, or has to say something about what is stored.
  bool ReadStored(TObjectShape& shape, TplPerObject* object, TValueView& value);

 private:
  bool Bind(TObjectShape& shape);

  std::string FName;
  TPlClassMetaData::TVersion FVersion;  // of the class that it is bound to
  int FIndex = -1;                      // -1: no stored attribute
  TFieldType FType{};
};

// Every value that a filter looks at comes through here.
[[gnu::always_inline]] inline bool TBoundAttribute::ReadStored(TObjectShape& shape,
                                                               TplPerObject* object,
                                                               TValueView& value) {
  if (FVersion != shape.FVersion && !Bind(shape)) return false;
  if (FIndex < 0) return false;
  const std::string_view text = object->StoredValue(FIndex);
  value.inStore = false;
  switch (FType) {
    case TFieldType::ftString:
    case TFieldType::ftMemo:
      value.kind = TVariantKind::String;
      value.inStore = true;
      value.text = text;
      break;
    case TFieldType::ftFloat: {
      // The object logs a text that is no number.
      double number = 0;
      if (!text.empty() && !TryStrToFloat(text, number, shape.StoredFormats())) return false;
      value.kind = TVariantKind::Float;
      value.number = number == TplPerObject::kNoFloat ? 0 : number;
      break;
    }
    case TFieldType::ftDateTime: {
      const TDateTime date = TplPerObject::DateOfText(text);
      const bool none = date == TplPerObject::kNoDate || date < MinDateTime || date > MaxDateTime;
      value.kind = none ? TVariantKind::Null : TVariantKind::Date;
      value.number = date;
      break;
    }
    default:
      value.kind = TVariantKind::Unassigned;
      break;
  }
  return true;
}

}  // namespace perlayer

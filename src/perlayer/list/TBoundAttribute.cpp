#include "perlayer/list/TBoundAttribute.h"

#include "perlayer/object/TplPerObject.h"
#include "perlayer/platform/TFormatSettings.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/TPlClassMetaData.h"
#include "perlayer/provider/TplProvider.h"

namespace perlayer {

TObjectShape::TObjectShape(TplPerObject* object) {
  if (!object->TellsStoredValues()) return;
  metaData = object->aiProvider()->GetMetaData();
  handle = metaData->HandleValue();
  attributes = metaData->GetAttrNames()->Count();
}

TField* TBoundAttribute::Bind(const TObjectShape& shape) {
  FIndex = shape.metaData->GetAttrIndex(FName);
  FMetaData = shape.handle;
  FAttributes = shape.attributes;
  FField = FIndex < 0 ? nullptr : shape.metaData->GetFieldByIndex(FIndex);
  return static_cast<TField*>(FField.Get());
}

bool TBoundAttribute::ReadStored(const TObjectShape& shape, TplPerObject* object,
                                 TValueView& value) {
  if (shape.metaData == nullptr) return false;
  const bool bound = shape.handle == FMetaData && shape.attributes == FAttributes;
  const TField* field = bound ? static_cast<TField*>(FField.Get()) : nullptr;
  if (field == nullptr && (field = Bind(shape)) == nullptr) return false;
  const TFieldType type = field->DataType();
  const std::string_view text = object->StoredValue(FIndex);
  value.inStore = false;
  switch (type) {
    case TFieldType::ftString:
    case TFieldType::ftMemo:
      value.kind = TVariantKind::String;
      value.inStore = true;
      value.text = text;
      break;
    case TFieldType::ftFloat: {
      // The object logs a text that is no number.
      double number = 0;
      if (!text.empty() && !TryStrToFloat(text, number, FrozenFormatSettings())) return false;
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

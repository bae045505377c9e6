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

bool TBoundAttribute::Bind(const TObjectShape& shape) {
  FIndex = shape.metaData->GetAttrIndex(FName);
  FMetaData = shape.handle;
  FAttributes = shape.attributes;
  FField = FIndex < 0 ? nullptr : shape.metaData->GetFieldByIndex(FIndex);
  return FField.IsAlive();
}

bool TBoundAttribute::ReadStored(const TObjectShape& shape, TplPerObject* object,
                                 TValueView& value) {
  if (shape.metaData == nullptr) return false;
  const bool bound = shape.handle == FMetaData && shape.attributes == FAttributes;
  if ((!bound || !FField.IsAlive()) && !Bind(shape)) return false;
  const TFieldType type = static_cast<TField*>(FField.Get())->DataType();
  const std::string_view text = object->StoredValue(FIndex);
  TValueView read;
  switch (type) {
    case TFieldType::ftString:
    case TFieldType::ftMemo:
      read.kind = TVariantKind::String;
      read.inStore = true;
      read.text = text;
      break;
    case TFieldType::ftFloat:
      read.kind = TVariantKind::Float;
      // The object logs a text that is no number.
      if (!text.empty() && !TryStrToFloat(text, read.number, FrozenFormatSettings())) return false;
      if (read.number == TplPerObject::kNoFloat) read.number = 0;
      break;
    case TFieldType::ftDateTime:
      read.number = TplPerObject::DateOfText(text);
      read.kind = read.number == TplPerObject::kNoDate || read.number < MinDateTime ||
                          read.number > MaxDateTime
                      ? TVariantKind::Null
                      : TVariantKind::Date;
      break;
    default:
      break;
  }
  value = read;
  return true;
}

}  // namespace perlayer

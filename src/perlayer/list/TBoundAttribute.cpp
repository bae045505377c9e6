#include "perlayer/list/TBoundAttribute.h"

#include "perlayer/object/TplPerObject.h"
#include "perlayer/platform/TFormatSettings.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/TPlClassMetaData.h"

namespace perlayer {

bool TBoundAttribute::ReadStored(TplPerObject* object, TValueView& value) {
  if (!object->TellsStoredValues()) return false;
  TPlClassMetaData* const metaData = object->GetMetaData();
  const int count = metaData->GetAttrNames()->Count();
  if (metaData->HandleValue() != FMetaData || count != FCount) {
    FIndex = metaData->GetAttrIndex(FName);
    FMetaData = metaData->HandleValue();
    FCount = count;
  }
  if (FIndex < 0) return false;
  const TFieldType type = metaData->AttrTypeOf(FIndex);
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

#include "perlayer/object/FieldText.h"

#include <cstring>

#include "perlayer/corekit/EDatabaseError.h"
#include "perlayer/object/TplPerObject.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/TPlClassMetaData.h"

namespace perlayer {

namespace {

// A record holds the number's first bytes, as many as a whole number has: such fields show those.
std::string WholeNumberText(double value) {
  std::int32_t bytes = 0;
  std::memcpy(&bytes, &value, sizeof bytes);
  return IntToStr(bytes);
}

std::string TextOf(TplPerObject* object, const std::string& name, TFieldType type, int size) {
  switch (type) {
    case TFieldType::ftString: {
      constexpr int kBytesOfCharacter = 4;
      const auto room = static_cast<std::size_t>(size) * kBytesOfCharacter;
      return std::string(CutToBytes(object->GetAttrValue(name), room));
    }
    case TFieldType::ftMemo:
    case TFieldType::ftBlob:
      return object->GetAttrValue(name);
    case TFieldType::ftInteger:
    case TFieldType::ftFloat: {
      const double value = object->GetAttrValueAsFloat(name);
      if (value == TplPerObject::kNoFloat) return {};
      return type == TFieldType::ftFloat ? FloatToStr(value) : WholeNumberText(value);
    }
    case TFieldType::ftDateTime: {
      const TDateTime value = object->GetAttrValueAsDate(name);
      return value == TplPerObject::kNoDate ? std::string() : DateTimeToStr(value);
    }
    default:  // no class map declares another type; a provider's own fields may have one
      throw Exception("Field type not implemented");
  }
}

}  // namespace

TFieldText FieldTextOf(TplPerObject* AObject, const std::string& AName) {
  TPlClassMetaData* const metaData = AObject->GetMetaData();
  const int index = metaData->GetAttrIndex(AName);
  if (index >= 0) {
    TFieldText field{{}, metaData->ValInfoOf(index)};
    const TplAttrProperties& properties = metaData->AttrPropertiesOf(index);
    field.text = TextOf(AObject, AName, properties.iType, properties.iSize);
    return field;
  }
  if (!metaData->IsCalcAttr(AName)) {
    throw EDatabaseError(TDatabaseErrorKind::other, 0,
                         Format("TboDataSet: Field '%s' not found", AName), "");
  }
  // A calculated field is not in the record: it shows the attribute itself.
  const std::string validInfo = metaData->GetCalcAttrProperties(AName).sValidInfo;
  return {AObject->GetAttrValue(AName), ValidString2ValidInfo(validInfo)};
}

}  // namespace perlayer

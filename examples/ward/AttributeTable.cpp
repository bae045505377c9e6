#include "AttributeTable.h"

#include "TextTable.h"
#include "perlayer/object/TplPerObject.h"
#include "perlayer/platform/Format.h"
#include "perlayer/provider/TClassMapDefinition.h"
#include "perlayer/provider/TPlClassMetaData.h"

namespace ward {

using namespace perlayer;

namespace {

std::string TypeName(const TplAttrProperties& properties) {
  switch (properties.iType) {
    case TFieldType::ftString:
      return Format("string(%d)", properties.iSize);
    case TFieldType::ftMemo:
      return "memo";
    case TFieldType::ftFloat:
      return "float";
    case TFieldType::ftInteger:
      return "integer";
    case TFieldType::ftDateTime:
      return "datetime";
    default:
      return "blob";
  }
}

// A date as its days.
std::string TypedValue(const Variant& value) {
  switch (value.Kind()) {
    case TVariantKind::Float:
    case TVariantKind::Date:
      return Format("%.10g", value.AsFloat());
    case TVariantKind::String:
      return "";
    default:
      return VariantKindName(value.Kind());
  }
}

}  // namespace

std::vector<std::string> AttributeTable(TplPerObject* object, std::size_t width) {
  TPlClassMetaData* metaData = object->aiObjectMetaData();
  std::vector<std::string> names;
  for (int i = 0; i < object->AttrCount(); ++i) names.push_back(object->AttrName(i));
  const auto& calculated = metaData->CalcAttributes();
  for (int i = 0; i < calculated.Count(); ++i) names.push_back(calculated.TextAt(i));

  TTextTable table({{"attribute"},
                    {"label"},
                    {"type"},
                    {"typed value", TTextTable::TContent::number},
                    {"text"}});
  for (const std::string& name : names) {
    const TplAttrProperties properties = metaData->GetAttrProperties(name);
    table.Add({name, properties.sDispLabel, TypeName(properties),
               TypedValue(object->GetAttrValueAsVariant(name)), object->GetAttrValue(name)});
  }
  return table.Lines(width);
}

}  // namespace ward

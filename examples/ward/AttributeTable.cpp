#include "AttributeTable.h"

#include "perlayer/object/TplPerObject.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"
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

std::string TypedValue(const Variant& value) {
  switch (value.Kind()) {
    case TVariantKind::Float:
    case TVariantKind::Date:
      return Format("%s %.10g", VariantKindName(value.Kind()), value.AsFloat());
    case TVariantKind::String:
      return "";
    default:
      return VariantKindName(value.Kind());
  }
}

std::string Line(const std::string& name, const std::string& label, const std::string& type,
                 const std::string& text, const std::string& typed) {
  const std::string line = IPadR(name, 16) + IPadR(label, 18) + IPadR(type, 12) +
                           (typed.empty() ? text : IPadR(text, 20) + " " + typed);
  return std::string(TrimRight(line));
}

}  // namespace

std::vector<std::string> AttributeTable(TplPerObject* object) {
  TPlClassMetaData* metaData = object->aiObjectMetaData();
  std::vector<std::string> names;
  for (int i = 0; i < object->AttrCount(); ++i) names.push_back(object->AttrName(i));
  const auto& calculated = metaData->CalcAttributes();
  for (int i = 0; i < calculated.Count(); ++i) names.push_back(calculated.TextAt(i));

  std::vector<std::string> lines = {Line("attribute", "label", "type", "text", "typed value")};
  for (const std::string& name : names) {
    const TplAttrProperties properties = metaData->GetAttrProperties(name);
    lines.push_back(Line(name, properties.sDispLabel, TypeName(properties),
                         object->GetAttrValue(name),
                         TypedValue(object->GetAttrValueAsVariant(name))));
  }
  return lines;
}

}  // namespace ward

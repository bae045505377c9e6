#include "perlayer/provider/TPlClassMetaData.h"

#include "perlayer/corekit/TIQuery.h"
#include "perlayer/corekit/TIValidInfo.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/TcmpClassMap.h"
#include "perlayer/provider/TplProvider.h"

namespace perlayer {

namespace {
constexpr int kDescriptionSize = 150;
}

void TPlClassMetaData::Create(TplProvider* AOwner, TObject* ARetainer) {
  TPlBaseObject::Create(AOwner, ARetainer);
  FProvider = AOwner;
  TcmpClassMap* map = AOwner->aiClassMap();
  FData = map->GetQuery(AOwner->aiQueryName());
  FCalcAttr.Sorted(true);
  AddCalcAttribute("DESCRIPTION", "Opis", TFieldType::ftString, kDescriptionSize, "");
  for (const TClassMapField& field : map->CalculatedFields(AOwner->aiQueryName())) {
    AddCalcAttribute(field.name, field.label.empty() ? field.name : field.label,
                     TcmpClassMap::FieldTypeOf(field.type), field.size, field.codeList);
  }
}

void TPlClassMetaData::Destroy() {
  FreeAndNil(FAttrNames);
  FCalcAttr.Clear();
  TPlBaseObject::Destroy();
}

std::string TPlClassMetaData::ProviderName() const {
  const TObject* provider = FProvider.Get();
  return provider == nullptr ? "[Unknown]" : provider->ClassName();
}

TDataSet* TPlClassMetaData::Data() const {
  if (auto* data = FData.GetAs<TDataSet>()) return data;
  throw Exception(Format("No class map defined for provider %s", ProviderName()));
}

TStringList* TPlClassMetaData::GetAttrNames() {
  if (FAttrNames == nullptr) {
    TOwned<TStringList> names = Make<TStringList>();
    const TDataSet* data = Data();
    for (int i = 0; i < data->FieldCount(); ++i) names->Add(data->Fields(i)->FieldName());
    FAttrNames = names.Release();
  }
  return FAttrNames;
}

int TPlClassMetaData::AttrCount() { return Data()->FieldCount(); }

int TPlClassMetaData::GetAttrIndex(std::string_view sName) {
  const TStringList* names = GetAttrNames();
  if (FIndexed != names->Count()) {
    FIndex.clear();
    for (int i = 0; i < names->Count(); ++i) FIndex.emplace(FoldCase(names->Strings(i)), i);
    FIndexed = names->Count();
  }
  const auto found = FIndex.find(FoldCase(sName));
  return found == FIndex.end() ? -1 : found->second;
}

bool TPlClassMetaData::HasAttribute(std::string_view AsName) {
  return GetAttrIndex(AsName) >= 0 || IsCalcAttr(AsName);
}

bool TPlClassMetaData::IsCalcAttr(std::string_view AAttr) {
  int index;
  return FCalcAttr.Find(AAttr, index);
}

void TPlClassMetaData::AddAttribute(std::string_view sName, int, int) {
  GetAttrNames()->Add(sName);
}

TplAttrProperties TPlClassMetaData::GetAttrProperties(std::string_view sName) {
  const int index = GetAttrIndex(sName);
  return index >= 0 ? GetAttrPropertiesByIndex(index) : GetCalcAttrProperties(sName);
}

TplAttrProperties TPlClassMetaData::GetAttrPropertiesByIndex(int AAttributeIndex) {
  return AttrPropertiesOf(AAttributeIndex);
}

const TplAttrProperties& TPlClassMetaData::AttrPropertiesOf(int AAttributeIndex) {
  return Described(AAttributeIndex).properties;
}

const TIValInfoRec& TPlClassMetaData::ValInfoOf(int AAttributeIndex) {
  return Described(AAttributeIndex).info;
}

const TPlClassMetaData::TDescribed& TPlClassMetaData::Described(int AAttributeIndex) {
  const TField* field = Data()->Fields(AAttributeIndex);
  const auto index = static_cast<std::size_t>(AAttributeIndex);
  if (FDescribed.size() <= index) FDescribed.resize(index + 1);
  TDescribed& described = FDescribed[index];
  TplAttrProperties& properties = described.properties;
  if (properties.iType != field->DataType() || properties.iSize != field->Size() ||
      properties.sValidInfo != field->ValidString()) {
    described.info = ValidString2ValidInfo(field->ValidString());
    properties.sDispLabel = described.info.displayLabel;
    properties.sSifrant = described.info.codeList;
    properties.iSize = field->Size();
    properties.sValidInfo = field->ValidString();
    properties.iType = field->DataType();  // last: it marks the description as made
  }
  return described;
}

TplAttrProperties TPlClassMetaData::GetCalcAttrProperties(std::string_view sName) {
  int index;
  if (FCalcAttr.Find(sName, index)) return *FCalcAttr.PayloadAt(index);
  // "found" where a miss is meant: applications look for this text.
  throw Exception(
      Format("CalcAttributes: Provider %s: Attribute %s found.", ProviderName(), sName));
}

void TPlClassMetaData::AddCalcAttribute(std::string_view sName, std::string_view AsDispLabel,
                                        TFieldType AiType, int AiSize, std::string_view AsSifrant) {
  int index;
  if (!FCalcAttr.Find(sName, index)) {
    index = FCalcAttr.Add(sName, std::make_unique<TplAttrProperties>());
  }
  TplAttrProperties& properties = *FCalcAttr.PayloadAt(index);
  properties.sDispLabel = AsDispLabel;
  properties.iType = AiType;
  properties.iSize = AiSize;
  properties.sSifrant = AsSifrant;
  properties.bReadOnly = false;
  properties.sValidInfo =
      ValidInfo2ValidString({std::string(ValidKindOfCodeList(AsSifrant)), std::string(AsDispLabel),
                             AiSize, false, std::string(AsSifrant)});
}

TField* TPlClassMetaData::GetField(std::string_view sName) { return Data()->FindField(sName); }

TField* TPlClassMetaData::GetFieldByIndex(int AAttributeIndex) {
  const TDataSet* data = Data();
  return AAttributeIndex < 0 || AAttributeIndex >= data->FieldCount()
             ? nullptr
             : data->Fields(AAttributeIndex);
}

}  // namespace perlayer

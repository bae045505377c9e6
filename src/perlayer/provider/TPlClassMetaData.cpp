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

void TPlClassMetaData::RaiseNoMap() const {
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

// Takes in the names that have come since.
void TPlClassMetaData::IndexNames() {
  FRecent.Clear();
  const TStringList* names = GetAttrNames();
  for (; FIndexed < names->Count(); ++FIndexed) {
    const std::string& name = names->Strings(FIndexed);
    FNames.resize(static_cast<std::size_t>(FIndexed));  // one that was left over by a failure goes
    FNames.push_back(std::make_unique<const std::string>(name));
    const TFoldedKey key(name);
    if (TFound* known = FIndex.Find(key); known == nullptr) {
      FIndex.Insert(key, {FIndexed, false});
    } else if (known->index < 0) {
      known->index = FIndexed;
    }
  }
}

TPlClassMetaData::TFound TPlClassMetaData::FindFolded(std::string_view name) {
  const TFound* known = FIndex.Find(name);
  const TFound found = known == nullptr ? TFound{-1, false} : *known;
  FRecent.Keep(name, found);
  return found;
}

bool TPlClassMetaData::HasAttribute(std::string_view AsName) {
  return GetAttrIndex(AsName) >= 0 || IsCalcAttr(AsName);
}

bool TPlClassMetaData::IsCalcAttr(std::string_view AAttr) { return Find(AAttr).calculated; }

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

const TIValInfoRec& TPlClassMetaData::ValInfoOf(int AAttributeIndex) {
  return Described(AAttributeIndex).info;
}

const TPlClassMetaData::TDescribed& TPlClassMetaData::Describe(const TDataSet& data,
                                                               int AAttributeIndex) {
  const TField* field = data.Fields(AAttributeIndex);
  const auto index = static_cast<std::size_t>(AAttributeIndex);
  if (FDescribed.size() <= index) FDescribed.resize(index + 1);
  TDescribed& described = FDescribed[index];
  described.made = 0;
  described.info = ValidString2ValidInfo(field->ValidString());
  const bool isCode = described.info.kind == "S" || described.info.kind == "MS";
  described.check = isCode                    ? TCheck::codeList
                    : described.info.required ? TCheck::required
                                              : TCheck::none;
  TplAttrProperties& properties = described.properties;
  properties.sDispLabel = described.info.displayLabel;
  properties.sSifrant = described.info.codeList;
  properties.iSize = field->Size();
  properties.sValidInfo = field->ValidString();
  properties.iType = field->DataType();
  described.made = data.FieldChanges();
  return described;
}

const std::vector<int>& TPlClassMetaData::CheckedAttributes() {
  const TDataSet* data = Data();
  if (FCheckedMade == data->FieldChanges()) return FChecked;
  FCheckedMade = 0;
  FChecked.clear();
  for (int i = 0; i < data->FieldCount(); ++i) {
    if (CheckOf(i) != TCheck::none) FChecked.push_back(i);
  }
  FCheckedMade = data->FieldChanges();
  return FChecked;
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
    const TFoldedKey key(sName);
    TFound* known = FIndex.Find(key);
    if (known == nullptr) {
      FIndex.Insert(key, {-1, false});
      known = FIndex.Find(key);
    }
    index = FCalcAttr.Add(sName, std::make_unique<TplAttrProperties>());
    known->calculated = true;
    FRecent.Clear();
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

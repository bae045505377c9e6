#pragma once
// TPlClassMetaData: what the attributes of a class are. Real attributes are the fields of its query
// in the class map, in their order: the position of an attribute is its field index and its index
// in the value store. Calculated attributes exist in code only; every class has "DESCRIPTION".
//
// Held by its provider. Main thread only.

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "perlayer/corekit/TDataSet.h"
#include "perlayer/corekit/TIValidInfo.h"
#include "perlayer/foundation/TPlBaseObject.h"
#include "perlayer/platform/TKeyHash.h"
#include "perlayer/platform/TStringList.h"
#include "perlayer/provider/TNameCache.h"
#include "perlayer/provider/TplAttrProperties.h"

namespace perlayer {

class TplProvider;

class TPlClassMetaData : public TPlBaseObject {
  TCLASS(TPlClassMetaData, TPlBaseObject)
 public:
  using TCalcAttributes = TTextList<std::unique_ptr<TplAttrProperties>>;

  using TPlBaseObject::Create;
  void Create(TplProvider* AOwner, TObject* ARetainer);
  void Destroy() override;

  // Names of the real attributes. The list is this object's.
  TStringList* GetAttrNames();
  int AttrCount();
  // Any case; -1 when it is no real attribute.
  int GetAttrIndex(std::string_view sName) { return Find(sName).index; }
  // The name of a real attribute; it stays where it is for as long as this object lives. Raises
  // EListError outside.
  const std::string& NameOf(int AAttributeIndex) {
    TakeInNames();
    if (static_cast<unsigned>(AAttributeIndex) < static_cast<unsigned>(FIndexed)) {
      return *FNames[static_cast<std::size_t>(AAttributeIndex)];
    }
    return GetAttrNames()->Strings(AAttributeIndex);  // raises
  }
  bool HasAttribute(std::string_view AsName);
  virtual bool IsCalcAttr(std::string_view AAttr);
  // What a name is, in any case: a real attribute's index, else -1, and whether there is a
  // calculated one; a name may be both.
  struct TFound {
    int index;
    bool calculated;
  };
  [[gnu::always_inline]] TFound Find(std::string_view name) {
    TakeInNames();
    const TFound* recent = FRecent.Find(name);
    return recent != nullptr ? *recent : FindFolded(name);
  }
  // As IsCalcAttr, of a name that Find has looked up.
  bool IsCalcAttr(const TFound& AFound, std::string_view AAttr) {
    return FIsPlain ? AFound.calculated : IsCalcAttr(AAttr);
  }

  // Adds the name alone; the numbers are not used.
  void AddAttribute(std::string_view sName, int iType, int iSize);
  // Raise an exception when a calculated attribute is not known either.
  TplAttrProperties GetAttrProperties(std::string_view sName);
  TplAttrProperties GetAttrPropertiesByIndex(int AAttributeIndex);  // real attributes only
  // The same without a copy, and what its validation string says; both live until the next call.
  const TplAttrProperties& AttrPropertiesOf(int AAttributeIndex) {
    return Described(AAttributeIndex).properties;
  }
  const TIValInfoRec& ValInfoOf(int AAttributeIndex);
  // Whether the attribute's own description lets every value pass, or every one but the empty one.
  enum class TCheck : std::uint8_t { none, required, codeList };
  TCheck CheckOf(int AAttributeIndex) { return Described(AAttributeIndex).check; }
  // The attributes that have one, in their order; lives until the next call.
  const std::vector<int>& CheckedAttributes();
  // Which attributes there are, where and of which types. What has been found out about them holds
  // as long as this answers the same; false when the class map has gone.
  struct TVersion {
    std::uint64_t metaData = 0;  // which one
    std::uint32_t fieldChanges = 0;
    int names = 0;
    bool operator==(const TVersion&) const = default;
  };
  bool GetVersion(TVersion& AVersion) {
    const TObject* const data = FData.Get();
    if (data == nullptr) return false;
    if (FAttrNames == nullptr) GetAttrNames();
    AVersion = {HandleValue(), static_cast<const TDataSet*>(data)->FieldChanges(),
                FAttrNames->Count()};
    return true;
  }
  // The data set whose fields describe the attributes.
  const TDataSet* Fields() const { return Data(); }
  TplAttrProperties GetCalcAttrProperties(std::string_view sName);
  // A name that is there already gets the new description.
  void AddCalcAttribute(std::string_view sName, std::string_view AsDispLabel, TFieldType AiType,
                        int AiSize, std::string_view AsSifrant);
  const TCalcAttributes& CalcAttributes() const { return FCalcAttr; }

  TField* GetField(std::string_view sName);      // nullptr when absent
  TField* GetFieldByIndex(int AAttributeIndex);  // nullptr outside
  int BookmarkSize() const { return 10; }

 private:
  TDataSet* Data() const {  // raises when the class map has gone
    if (TObject* data = FData.Get()) return static_cast<TDataSet*>(data);
    RaiseNoMap();
  }
  [[noreturn]] void RaiseNoMap() const;

  struct TDescribed {
    TplAttrProperties properties;
    TIValInfoRec info;
    TCheck check = TCheck::none;
    std::uint32_t made = 0;  // the number of the fields' changes then
  };
  const TDescribed& Described(int AAttributeIndex) {
    const TDataSet* data = Data();
    const auto index = static_cast<std::size_t>(AAttributeIndex);
    if (index < FDescribed.size() && FDescribed[index].made == data->FieldChanges()) {
      return FDescribed[index];
    }
    return Describe(*data, AAttributeIndex);
  }
  const TDescribed& Describe(const TDataSet& data, int AAttributeIndex);

  std::string ProviderName() const;  // "[Unknown]" when the provider has gone

  TObjectHandle FProvider;                             // not owned: it holds this object
  TStringList* FAttrNames = nullptr;                   // owned; made on first use
  TCalcAttributes FCalcAttr;                           // sorted
  TObjectHandle FData;                                 // the class map's query
  const bool FIsPlain = &ClassType() == &ClassInfo();  // IsCalcAttr is the one of this class
  void IndexNames();
  void TakeInNames() {
    if (FAttrNames == nullptr || FIndexed != FAttrNames->Count()) IndexNames();
  }
  TFound FindFolded(std::string_view name);

  TKeyHash<TFound> FIndex;
  std::vector<std::unique_ptr<const std::string>> FNames;  // those that FIndex knows, by index
  int FIndexed = 0;                                        // their number
  TNameCache<TFound> FRecent;
  std::vector<TDescribed> FDescribed;  // by attribute; made again when fields have changed
  std::vector<int> FChecked;
  std::uint32_t FCheckedMade = 0;  // the number of the fields' changes then
};

}  // namespace perlayer

#pragma once
// TPlClassMetaData: what the attributes of a class are. Real attributes are the fields of its query
// in the class map, in their order: the position of an attribute is its field index and its index
// in the value store. Calculated attributes exist in code only; every class has "DESCRIPTION".
//
// Held by its provider. Main thread only.

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "perlayer/corekit/TIValidInfo.h"
#include "perlayer/foundation/TPlBaseObject.h"
#include "perlayer/platform/TStringList.h"
#include "perlayer/provider/TplAttrProperties.h"

namespace perlayer {

class TDataSet;
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
  int GetAttrIndex(std::string_view sName);  // any case; -1 when it is no real attribute
  bool HasAttribute(std::string_view AsName);
  virtual bool IsCalcAttr(std::string_view AAttr);

  // Adds the name alone; the numbers are not used.
  void AddAttribute(std::string_view sName, int iType, int iSize);
  // Raise an exception when a calculated attribute is not known either.
  TplAttrProperties GetAttrProperties(std::string_view sName);
  TplAttrProperties GetAttrPropertiesByIndex(int AAttributeIndex);  // real attributes only
  // The same without a copy, and what its validation string says; both live until the next call.
  const TplAttrProperties& AttrPropertiesOf(int AAttributeIndex);
  const TIValInfoRec& ValInfoOf(int AAttributeIndex);
  TplAttrProperties GetCalcAttrProperties(std::string_view sName);
  // A name that is there already gets the new description.
  void AddCalcAttribute(std::string_view sName, std::string_view AsDispLabel, TFieldType AiType,
                        int AiSize, std::string_view AsSifrant);
  const TCalcAttributes& CalcAttributes() const { return FCalcAttr; }

  TField* GetField(std::string_view sName);      // nullptr when absent
  TField* GetFieldByIndex(int AAttributeIndex);  // nullptr outside
  int BookmarkSize() const { return 10; }

 private:
  TDataSet* Data() const;  // raises when the class map has gone

  struct TDescribed {
    TplAttrProperties properties;
    TIValInfoRec info;
  };
  const TDescribed& Described(int AAttributeIndex);

  std::string ProviderName() const;  // "[Unknown]" when the provider has gone

  TObjectHandle FProvider;            // not owned: it holds this object
  TStringList* FAttrNames = nullptr;  // owned; made on first use
  TCalcAttributes FCalcAttr;          // sorted
  TObjectHandle FData;                // the class map's query
  // Folded name to index; made anew when names have come since.
  std::unordered_map<std::string, int> FIndex;
  int FIndexed = -1;
  std::vector<TDescribed> FDescribed;  // by attribute; made again when its field says otherwise
};

}  // namespace perlayer

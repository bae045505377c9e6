#pragma once
// TIChangesCachePerObject: merges what a user has changed in an object with what others have
// committed to its row in the meantime, attribute by attribute: what only others changed is taken
// over, what the user changed stays the user's, and the save writes both.
//
// The application's object calls OnSetAttrValue from SetAttrValue, OnDoSaveData before its
// statement, and OnDoCancelData from CancelData. Main thread only.

#include <string>
#include <string_view>

#include "perlayer/platform/TObject.h"
#include "perlayer/platform/TStringList.h"

namespace perlayer {

class TIQuery;
class TplPerObject;

class TIChangesCachePerObject : public TObject {
  TCLASS(TIChangesCachePerObject, TObject)
 public:
  // Stands for an empty value: a name=value list drops those.
  static constexpr std::string_view kEmpty = "#empty#";

  // The object is not owned, and outlives this.
  void Create(TObject* APerObject);
  void Destroy() override;

  // Reads the row: the attributes whose value there differs from the object's old value.
  virtual void GetChangedAttributes();
  // Takes these values over, unvalidated and not as modifications. One that the object refuses is
  // told in the log.
  void ChangeAttributes();
  // Lays the user's changes over them, and forgets them.
  void ReSetChangedAttributes();
  // A query on the object's row, the caller's to free.
  TIQuery* GetQuery();

  void OnSetAttrValue(const std::string& AName, const std::string& AValue);
  void OnDoSaveData();
  void OnDoCancelData();

  const TStringList& Attributes() const { return *FAttributes; }
  const TStringList& ChangedAttributes() const { return *FChangedAttributes; }

 private:
  TplPerObject* PerObject() const;
  static void Note(TStringList& list, const std::string& name, const std::string& value);
  static std::string Noted(const TStringList& list, int index);

  TStringList* FAttributes = nullptr;         // owned
  TStringList* FChangedAttributes = nullptr;  // owned
  bool FEnableTracking = true;
  TObject* FPerObject = nullptr;
};

}  // namespace perlayer

#pragma once
// TISystemAttributes: who last changed a row, and when. One instance can serve many objects whose
// classes name these columns alike. Main thread only.

#include <string>

#include "perlayer/corekit/TIQuery.h"
#include "perlayer/platform/TDateTime.h"

namespace perlayer {

class TplPerObject;
class TplProvider;

class TISystemAttributes : public TObject {
  TCLASS(TISystemAttributes, TObject)
 public:
  // Nothing is read yet. Given nullptr, there is nothing to read before UpdateForObject.
  void Create(TplPerObject* APerObject);
  void Destroy() override;

  void CreateSQL(TplProvider* AProvider, const std::string& AId);
  // Reads the row; raises what the database raises.
  void Update() { DoUpdate(); }
  void DoUpdate();
  void UpdateForObject(TplPerObject* APerObject);
  void ClearValues();
  std::string GetDatabaseName() const;

  TDateTime aiDatumIPL() const { return FDatumIPL; }         // 0 when not known
  const std::string& aiUserIPL() const { return FUserIPL; }  // "/" when not known

 private:
  void TakeFieldNames(TplProvider* AProvider);

  TDateTime FDatumIPL = 0;
  std::string FUserIPL = "/";
  TIQuery* FQuery = nullptr;  // owned
  std::string FUserField;
  std::string FDateField;
};

}  // namespace perlayer

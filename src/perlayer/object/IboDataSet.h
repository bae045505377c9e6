#pragma once
// What an object knows of the data set that shows it, which lives further up. A class of data sets
// registers how one is made; until then there are none. Main thread only.

#include <memory>
#include <string>
#include <string_view>

namespace perlayer {

class TField;
class TplPerObject;

class IboDataSet {
 public:
  virtual ~IboDataSet() = default;
  // The attribute has another value.
  virtual void UpdateAttribute(const std::string& AName) = 0;
  // Any attribute may have another value.
  virtual void RefreshFromBo() = 0;
  virtual void Edit() = 0;
  virtual void Cancel() = 0;
  virtual void Refresh() = 0;
  virtual bool IsEditing() const = 0;  // in its edit or insert state
  virtual TField* FieldByName(std::string_view AName) = 0;
};

// Makes the data set of an object, which owns it.
using TboDataSetFactory = std::unique_ptr<IboDataSet> (*)(TplPerObject* AObject);
// Holds for the whole process; nullptr takes it back.
void RegisterboDataSet(TboDataSetFactory AFactory);
// Raises "Not implemented yet: %s" while no class has registered.
std::unique_ptr<IboDataSet> MakeboDataSet(TplPerObject* AObject);

}  // namespace perlayer

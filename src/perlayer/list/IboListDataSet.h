#pragma once
// What a list knows of the data set that shows it, which lives further up. A class of data sets
// registers how one is made; until then there are none. Main thread only.

#include <memory>
#include <string>

namespace perlayer {

class TDataSet;
class TPlBoList;

class IboListDataSet {
 public:
  virtual ~IboListDataSet() = default;
  // Reads the list anew and stays at its row.
  virtual void Refresh() = 0;
  virtual void Cancel() = 0;
  // The place of its active row in the list, as TPlCustomBoList::GoToBookmark takes it.
  virtual std::string Bookmark() = 0;
  virtual TDataSet* DataSet() = 0;
};

// Makes the data set of a list, which owns it.
using TboListDataSetFactory = std::unique_ptr<IboListDataSet> (*)(TPlBoList* AList);
// Holds for the whole process; nullptr takes it back.
void RegisterboListDataSet(TboListDataSetFactory AFactory);
// Raises "Not implemented yet: %s" while no class has registered.
std::unique_ptr<IboListDataSet> MakeboListDataSet(TPlBoList* AList);

}  // namespace perlayer

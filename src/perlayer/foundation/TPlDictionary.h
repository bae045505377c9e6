#pragma once
// TPlDictionary: a string list that maps texts to objects. TPlList: a list of objects. What they
// add is FreeWithContents. Main thread only.

#include "perlayer/platform/TList.h"
#include "perlayer/platform/TStringList.h"

namespace perlayer {

class TPlDictionary : public TStringList {
  TCLASS(TPlDictionary, TStringList)
 public:
  void Delete(int index) override { TStringList::Delete(index); }
  // Frees every object in index order, then the list itself.
  void FreeWithContents();
};

class TPlList : public TList {
  TCLASS(TPlList, TList)
 public:
  // Frees every object in index order, then the list itself.
  void FreeWithContents();
};

}  // namespace perlayer

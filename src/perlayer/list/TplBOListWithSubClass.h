#pragma once
// TplBOListWithSubClass: a list of objects of several providers, with a sub-list beside it for each
// provider that somebody has asked for. A relation that points to a base class loads once and hands
// out lists of one class each.
//
// The sub-lists belong to who asked. This list knows the variables that hold them, by address: they
// live as long as it does. One that is cleared, or whose list has been destroyed, counts as empty.
//
// Adding to and deleting from this list reaches the first sub-list that has the object's very
// provider. Filling a sub-list goes by class and by rights, and takes derived providers' objects,
// too; what has come in that way does not follow later.
//
// Main thread only.

#include <vector>

#include "perlayer/list/TPlBoList.h"
#include "perlayer/object/TplMember.h"

namespace perlayer {

class TplBOListWithSubClass : public TPlBoList {
  TCLASS(TplBOListWithSubClass, TPlBoList)
 public:
  int Add(TplPerObject* AObject) override;
  // Raises "TplBOListWithSubClass.Delete: Same provider but not in SubList!" for an object that its
  // sub-list lacks, for want of rights; it then stays in this list.
  void Delete(int AIndex) override;

  // The sub-list of that variable: filled when it is asked for first, later as it is. A new one is
  // held by ARetainer; one that the variable holds already is told in the log, emptied and used.
  TPlBoList* GetBOSubList(TplMember<TPlBoList>& ASubList, TplProvider* AProvider,
                          TplPerObject* ARetainer, TIAccessRights ARights);
  // Adds the members of that provider, or of one derived from its class, that have the rights.
  void FillSubList(TPlBoList* ASubList, TplProvider* AProvider, TIAccessRights ARights);

 private:
  TPlBoList* SubListOf(const TplPerObject* object) const;

  std::vector<TplMember<TPlBoList>*> FSubListPointerList;  // not owned
};

}  // namespace perlayer

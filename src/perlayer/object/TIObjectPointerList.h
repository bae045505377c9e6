#pragma once
// TIObjectPointerList: the variables through which an object holds others, by their addresses. What
// they hold is a TplPerObject or a TPlBoList; anything else raises in every walk.
//
// A walk goes by registration. What it calls may fill and clear variables, register more of them,
// and end the owner: then the walk ends too.
//
// Main thread only.

#include <initializer_list>
#include <vector>

#include "perlayer/object/TplMember.h"

namespace perlayer {

class TList;
class TPlBoList;
class TStringList;
class TplPerObject;

class TIObjectPointerList {
 public:
  // The owner, in whose name references are given back, outlives the list.
  explicit TIObjectPointerList(TplPerObject* AOwner) : FOwner(AOwner) {}
  TIObjectPointerList(const TIObjectPointerList&) = delete;
  TIObjectPointerList& operator=(const TIObjectPointerList&) = delete;

  // Enters the variables and sets them to nil, one after the other. Raises
  // "TplPerObject.RegisterAgregatedObjects: Podvojena registracija objekta v %s!" at the first one
  // that is there already.
  void Register(std::initializer_list<TplBaseObjectPointer*> APointers);
  void Clear() { FPointers.clear(); }
  int Count() const { return static_cast<int>(FPointers.size()); }
  TplBaseObjectPointer& Items(int index) const { return *FPointers[index]; }  // REQUIRES: within
  bool Has(const TplBaseObjectPointer* APointer) const;

  // Writes a line to the log when no variable of the list holds the object: a relation that its
  // class has not registered is neither released nor cancelled. nullptr passes.
  void Test(TObject* AObject) const;

  // Clears each variable, then gives the reference back, in the owner's name whoever asks. The
  // failure of one ends the walk; what stands behind it goes with the next call.
  void Release(TObject* ARetainer);
  // Whether something held is modified. What cannot answer is logged, and is not.
  bool Modified();
  // Of objects; lists cancel their members. A failure ends the walk. Does nothing within itself:
  // objects that hold each other are cancelled once.
  void CancelData();

  // The objects that are held, directly or as members of lists, in the order of registration; one
  // that is held twice stands there twice.
  TOwned<TList> GetObjectList() const;
  // The same, added under their keys of the dictionary.
  void GetObjectListIntoStrings(TStringList& AStrings) const;

 private:
  template <class TAction>
  void ForEachObject(const char* unknown, TAction&& action) const;
  template <class TAction>
  void Walk(TAction&& action);

  TplPerObject* const FOwner;
  std::vector<TplBaseObjectPointer*> FPointers;
  bool FCancelling = false;
};

}  // namespace perlayer

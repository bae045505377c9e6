#pragma once
// TObjectRelations: what an object keeps once its class registers variables through which it holds
// others. Private to TplPerObject.

#include <memory>
#include <string>
#include <vector>

#include "perlayer/object/TIObjectPointerList.h"

namespace perlayer {

struct TObjectRelations {
  explicit TObjectRelations(TplPerObject* owner)
      : FboAgregatedObjectList(owner), FliObjectsModified(owner) {}

  struct TLockGroup {
    std::string name;
    std::unique_ptr<TIObjectPointerList> pointers;
  };

  TIObjectPointerList FboAgregatedObjectList;
  TIObjectPointerList FliObjectsModified;
  std::vector<TLockGroup> slLockGroupStringList;
  // Inside a walk that asks what the object holds: objects that hold each other are asked once.
  bool asking = false;
  bool refreshing = false;
};

}  // namespace perlayer

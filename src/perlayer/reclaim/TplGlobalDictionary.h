#pragma once
// TplGlobalDictionary: the place of the identity map, in its off state: every question has the
// answer that the map gives while its switch is off, and turning it on is refused. See
// docs/architecture.md. Main thread only.

#include <string>

#include "perlayer/foundation/TPlDictionary.h"
#include "perlayer/platform/TLayer.h"

namespace perlayer {

class TplPerObject;
class TplProvider;

class TplGlobalDictionary : public TPlDictionary {
  TCLASS(TplGlobalDictionary, TPlDictionary)
 public:
  void Create() { Sorted(true); }

  bool aiUSEDICTIONARY() const { return false; }
  // Raises "Not implemented yet: %s" for true.
  void aiUSEDICTIONARY(bool use);

  // nullptr: the caller goes to the database.
  TplPerObject* GetObject(TObject*, TplProvider*, const std::string&, bool) { return nullptr; }
  TplPerObject* FetchObject(TObject*, TplProvider*, const std::string&) { return nullptr; }
  // nullptr: nothing is in memory.
  TplPerObject* TakeObject(TplProvider*, const std::string&) { return nullptr; }
  // True, with nothing added.
  bool AddPerObject(TplProvider*, TplPerObject*, TObject*) { return true; }
  // There is no key to change.
  void ChangeID(TplProvider*, const std::string&, TplPerObject*, const std::string&) {}
  // Leaves the object as it is.
  void ConsultDictionary(TObject*, TplPerObject*&) {}
};

// The one instance, made on first call.
inline TplGlobalDictionary* GlobalDictionary() {
  return TLayer::ObjectPart<TplGlobalDictionary>(TLayerPart::dictionary);
}

}  // namespace perlayer

// Whether a reference that is let go of brings its object down.

#include "perlayer/object/TplPerObject.h"
#include "perlayer/provider/TplCachableProvider.h"
#include "perlayer/reclaim/TplGlobalDictionary.h"

namespace perlayer {

bool TplGlobalDictionary::Decide(TplPerObject* AObject, TObject* ARetainer) {
  // A cache lets go of what it has just handed on: its hold never ends an object.
  if (ARetainer == AObject->aiProvider() && Is<TplCachableProvider>(ARetainer)) return false;
  return AObject->ReleaseCountWillBecomeZero(ARetainer);
}

// Objects that hold each other are not told from others yet: they stay.
bool TplPerObject::ReleaseCountWillBecomeZero(TObject* ARetainer) {
  if (GlobalDictionary()->aiReleaseType() == TIReleaseType::rtDLL) return false;
  return RefCount() == 1 && ARetainer != nullptr;
}

}  // namespace perlayer

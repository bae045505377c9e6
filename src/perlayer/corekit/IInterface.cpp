#include "perlayer/corekit/IInterface.h"

namespace perlayer {

HResult FindInterface(TObject* object, const TGuid& iid, void** found) {
  *found = nullptr;
  if (object == nullptr) return E_NOINTERFACE;
  const TInterfaceEntry* entry = object->ClassType().FindInterface(iid);
  if (entry == nullptr) return E_NOINTERFACE;
  *found = entry->cast(object);
  return S_OK;
}

}  // namespace perlayer

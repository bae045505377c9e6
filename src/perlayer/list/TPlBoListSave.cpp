// TPlBoList: saving and cancelling of all members.

#include "perlayer/corekit/TICustomOracleArrayDMLExecuter.h"
#include "perlayer/foundation/BoMessageDlg.h"
#include "perlayer/list/TPlBoList.h"

namespace perlayer {

void TPlBoList::SaveObjects(bool AbUseArray) {
  const TAlive alive(this);
  DoSaveObjects();
  if (!alive) return;
  if (AbUseArray && CanSaveBoListAsArray()) return SaveBoListAsArray();
  std::string errors;
  for (int i = 0; alive && i < Count();) {
    TplPerObject* const object = Get(i);
    const TAlive objectAlive(object);
    const int count = Count();
    try {
      if (object != nullptr) object->SaveData();
    } catch (const EIPostException& e) {
      if (!errors.empty()) errors += "\r\n\r\n";
      errors += e.Message();
    }
    // Where the save has changed the list, whoever stands at this index now is next.
    if (!alive || Count() != count) continue;
    if (objectAlive && object->aiObjectMarkedDeleted()) {
      Delete(i);
    } else {
      ++i;
    }
  }
  if (!errors.empty()) throw EIPostException(errors);
}

bool TPlBoList::CanSaveBoListAsArray() {
  if (!TICustomOracleArrayDMLExecuter::Enabled()) return false;
  for (TplPerObject* object : *this) {
    if (object != nullptr && (object->aiNewObject() || object->aiObjectMarkedDeleted())) {
      return false;
    }
  }
  return true;
}

void TPlBoList::SaveBoListAsArray() { NotImplemented("TPlBoList.SaveBoListAsArray"); }

void TPlBoList::CancelObjects() {
  const TAlive alive(this);
  for (int i = 0; alive && i < Count(); ++i) {
    if (TplPerObject* const object = Get(i)) object->CancelData();
  }
}

void TPlBoList::CancelData() {
  const TAlive alive(this);
  for (int i = 0; alive && i < Count();) {
    TplPerObject* const object = Get(i);
    if (object == nullptr || !object->aiNewObject()) {
      if (object != nullptr) object->CancelData();
      ++i;
      continue;
    }
    const bool hasOthers = object->RefCount() > 1;
    const TAlive objectAlive(object);
    Delete(i);
    if (hasOthers && objectAlive) object->SetObjectMarkedDeleted(true);
  }
}

}  // namespace perlayer

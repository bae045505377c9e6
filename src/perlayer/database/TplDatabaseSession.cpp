#include "perlayer/database/TplDatabaseSession.h"

#include <utility>

#include "perlayer/platform/TLayer.h"

namespace perlayer {

void TplDatabaseSessionList::Destroy() {
  if (TplDatabaseSession* session = std::exchange(FCurrSession, nullptr)) session->Release(this);
  TObject::Destroy();
}

void TplDatabaseSessionList::AddSession(TplDatabaseSession* ADatabaseSession) {
  if (FCurrSession != nullptr) {
    throw Exception("TplDatabaseSessionList.AddSession: FCurrSession already assigned!");
  }
  FCurrSession = ADatabaseSession;
}

TILockingMode TplDatabaseSessionList::LockingMode() const {
  return FCurrSession == nullptr ? TILockingMode::lmNone : FCurrSession->GetLockingMode();
}

TplDatabaseSessionList* IDatabaseSessionList() {
  return TLayer::ObjectPart<TplDatabaseSessionList>(TLayerPart::databaseSessions);
}

}  // namespace perlayer

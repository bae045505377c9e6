#include "perlayer/database/TplDatabaseSession.h"

#include <utility>

#include "perlayer/foundation/BoMessageDlg.h"
#include "perlayer/platform/TLayer.h"

namespace perlayer {

void TplDatabaseSession::CheckLockingMessages() {
  if (GetLockingMode() == TILockingMode::lmNew) {
    NotImplemented("TplDatabaseSession.CheckLockingMessages");
  }
}

void TplDatabaseSession::FlushLockingMessages() {
  if (GetLockingMode() == TILockingMode::lmNew) {
    NotImplemented("TplDatabaseSession.FlushLockingMessages");
  }
}

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

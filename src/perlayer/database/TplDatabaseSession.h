#pragma once
// TplDatabaseSession: this client's side of locks and notifications between clients; abstract, and
// so far only what objects ask of it. All of it belongs to mode lmNew: in every other mode nothing
// happens. TplDatabaseSessionList: the one session of the process.
//
// Main thread only.

#include <cstdint>

#include "perlayer/foundation/TPlBaseObject.h"

namespace perlayer {

enum class TILockingMode : std::uint8_t { lmNone, lmOld, lmNew, lmError, lmUndefined };

class TplDatabaseSession : public TPlBaseObject {
  TCLASS(TplDatabaseSession, TPlBaseObject)
 public:
  virtual TILockingMode GetLockingMode() = 0;
  TILockingMode aiLockingMode() { return GetLockingMode(); }
  // Takes in what other clients have sent. Raises "Not implemented yet: %s" in mode lmNew.
  void CheckLockingMessages();
  // Sends what other clients are to be told. Raises "Not implemented yet: %s" in mode lmNew.
  void FlushLockingMessages();
};

class TplDatabaseSessionList : public TObject {
  TCLASS(TplDatabaseSessionList, TObject)
 public:
  void Create() {}
  void Destroy() override;

  // nullptr until the application has added one.
  TplDatabaseSession* GetCurrentSession() const { return FCurrSession; }
  TplDatabaseSession* aiCurrentSession() const { return FCurrSession; }
  // The caller's reference becomes the list's. Raises "TplDatabaseSessionList.AddSession:
  // FCurrSession already assigned!".
  void AddSession(TplDatabaseSession* ADatabaseSession);
  // That of the current session; lmNone without one.
  TILockingMode LockingMode() const;

 private:
  TplDatabaseSession* FCurrSession = nullptr;  // one reference is this list's
};

// The one list, made on first call.
TplDatabaseSessionList* IDatabaseSessionList();

}  // namespace perlayer

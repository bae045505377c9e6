#pragma once
// TPlBaseObject: a counted lifetime. Whoever needs the object calls AddRef(retainer) and, when
// done, Release(retainer); nothing frees it directly. The count is 1 after creation, for the
// creator, and -1 once Destroy has run.
//
// Also the entry of notifications: CallNotifyAction starts a walk, NotifyAction is one step of it.
//
// Main thread only.

#include "perlayer/corekit/IInterface.h"
#include "perlayer/foundation/FoundationTypes.h"
#include "perlayer/platform/TObject.h"

namespace perlayer {

class TplDomainObject;
class TINotifiedObjectList;

class TPlBaseObject : public TObject, public IInterface {
  TCLASS(TPlBaseObject, TObject)
 public:
  static std::span<const TInterfaceEntry> InterfaceTable();

  // What the object does with a notification that reaches it. Sender and Data are nullptr when a
  // listener that was told before has ended them.
  virtual void DoNotifyAction(TplDomainObject* Sender, TIBaseObjectAction ActionType, TObject* Data,
                              TINotifiedObjectList* AVisitedObjectList);
  // The last holder has gone. Frees the object here; a class may hold it back instead.
  virtual void RefCountIsZero();
  // The owner is nothing to this class; persistent objects get their provider through it.
  virtual void Create(TPlBaseObject* AOwner, TObject* ARetainer);
  // One more holder; returns the new count.
  virtual int AddRef(TObject* ARetainer);
  // One holder less; the object may be gone afterwards.
  virtual void Release(TObject* ARetainer);

  // Holders through an interface reference stand under the application object.
  int _AddRef() override;
  int _Release() override;
  HResult QueryInterface(const TGuid& iid, void** object) override;

  int RefCount() const { return FRefCount; }
  // The shared decrement. Raises when the count is below 1 already.
  void DoFree();

  // Takes part in notification: own switch and that of the process.
  bool GetDoNotify() const;
  bool aiDoNotify() const { return FDoNotify; }
  void aiDoNotify(bool notify) { FDoNotify = notify; }

  // Tells this object and everybody upward along the retainers, each once. ELockException passes;
  // any other exception of a listener is logged and the walk goes on.
  void CallNotifyAction(TplDomainObject* Sender, TIBaseObjectAction ActionType, TObject* Data);
  // One step of a walk. A step into an object that is in a step already is dropped silently.
  void NotifyAction(TplDomainObject* Sender, TIBaseObjectAction ActionType, TObject* Data,
                    TINotifiedObjectList* AVisitedObjectList);

  void BeforeDestruction() override;  // raises while the object is held
  void Destroy() override;

 protected:
  void AbandonCreation() override { FRefCount = 0; }
  // Further lines that a failed step of a walk writes about this object; `which` tells whether it
  // is the object that was notified ("List 1") or the sender ("List 2"). Lists answer what they
  // hold.
  virtual void LogNotifyDetails(std::string_view which);

  int FRefCount = 0;
  bool FDoNotify = true;
  bool FNotifying = false;  // inside a step of a walk
};

}  // namespace perlayer

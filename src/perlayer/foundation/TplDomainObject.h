#pragma once
// TplDomainObject: an object that knows who holds it. Everything that lives in the layer descends
// from it: persistent objects and lists of them.
//
// Invariant: FRetainerList holds one entry per outstanding AddRef, so its Count equals RefCount().
//
// Notification walks from an object to its retainers that are domain objects, and on from them;
// other retainers (forms, the application, providers) are passed over.
//
// Belongs to the main thread. The releaser thread reads references under the LockRefs protocol
// below; everything else is the main thread's alone.

#include <cstdint>
#include <string>

#include "perlayer/foundation/TplAuthorizedObject.h"
#include "perlayer/foundation/TplRetainerList.h"

namespace perlayer {

class TplDomainObject : public TplAuthorizedObject {
  TCLASS(TplDomainObject, TplAuthorizedObject)
 public:
  // REQUIRES: ARetainer != nullptr; raises EAssertionFailed.
  void Create(TPlBaseObject* AOwner, TObject* ARetainer) override;
  void Destroy() override;

  virtual bool GetModified() = 0;
  virtual bool GetReadOnly() = 0;
  virtual std::string GetReadOnlyReason();
  virtual std::string GetHint() = 0;
  // Where a class keeps the mark of the thread that works on its references; nowhere here.
  virtual void SetLockedBy(TplLockedBy ALockedBy);
  virtual TplLockedBy GetLockedBy();
  // The main thread is about to change references that the releaser thread is reading.
  virtual void CancelReleaserThread(TplDomainObject* AObject);
  // Marks what belongs to the lock group as changed in the database.
  virtual void RefreshLockGroup(const std::string& ALockGroup);
  // Tells the retainers that the object needs a refresh: once per change of that state.
  virtual void NotifyRefresh(const std::string& ALockGroup);
  virtual void Reload();

  void DoNotifyAction(TplDomainObject* Sender, TIBaseObjectAction ActionType, TObject* Data,
                      TINotifiedObjectList* AVisitedObjectList) override;
  // REQUIRES: ARetainer != nullptr
  int AddRef(TObject* ARetainer) override;
  // A stranger's release changes nothing and shows a warning.
  void Release(TObject* ARetainer) override;

  // The next number of the process-wide counter; the first is 1.
  static std::uint64_t GetNextMemorySequence();
  // Decimal text, unique for the life of the process.
  std::string GetMemorySequence() const { return std::to_string(FMemorySequence); }
  std::uint64_t MemorySequenceNumber() const { return FMemorySequence; }

  bool GetNeedToRefresh() const { return FNeedToRefresh; }
  void SetNeedToRefresh(bool ANeedToRefresh) { FNeedToRefresh = ANeedToRefresh; }

  // The upward walk from this object to its retainers.
  void NotifyNotifiers(TplDomainObject* Sender, TIBaseObjectAction ActionType, TObject* Data,
                       TINotifiedObjectList* AVisitedObjectList);

  // Whether somebody holds this object who passes notifications on.
  bool HasNotifiers() const { return FRetainerList.HasClass(TplDomainObject::ClassInfo()); }

  // The right to read or change the references, for the main thread (true) or the releaser thread
  // (false). A main-thread reader takes nothing; a main-thread writer cancels the releaser thread
  // and waits for it; the releaser thread never waits: false tells it to give up.
  bool LockRefsRead(bool AbMainThread);
  bool LockRefsWrite(bool AbMainThread);
  bool UnlockRefsRead(bool AbMainThread);
  bool UnlockRefsWrite(bool AbMainThread);
  void LockRetainer(TObject* ARetainer, bool AbMainThread);
  void UnlockRetainer(TObject* ARetainer, bool AbMainThread);

  bool aiNeedToRefresh() const { return FNeedToRefresh; }
  void aiNeedToRefresh(bool need) { SetNeedToRefresh(need); }
  bool aiCanEditObjectChangedInDatabase() const { return FCanEditObjectChangedInDatabase; }
  void aiCanEditObjectChangedInDatabase(bool can) { FCanEditObjectChangedInDatabase = can; }
  // nullptr once the object has been destroyed.
  TplRetainerList* aiRetainerList() { return FHasRetainerList ? &FRetainerList : nullptr; }
  bool aiModified() { return GetModified(); }
  bool aiReadOnly() { return GetReadOnly(); }
  std::string aiHint() { return GetHint(); }
  std::string aiMemorySequence() const { return GetMemorySequence(); }

 protected:
  void AbandonCreation() override;

 private:
  TplRetainerList& NeedRetainerList();
  // The first entry from `position` on whose retainer is a domain object that the walk has not
  // visited, or -1.
  int FindNotifier(int position, const TINotifiedObjectList* AVisitedObjectList);

  bool FNeedToRefresh = false;
  bool FNeedToRefreshLastNotified = false;
  bool FCanEditObjectChangedInDatabase = true;
  bool FHasRetainerList = false;
  std::uint64_t FMemorySequence = 0;
  TplRetainerList FRetainerList;
};

}  // namespace perlayer

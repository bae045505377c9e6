#include "perlayer/foundation/TplDomainObject.h"

#include "perlayer/corekit/ILog.h"
#include "perlayer/foundation/BoMessageDlg.h"
#include "perlayer/foundation/FoundationState.h"
#include "perlayer/foundation/TINotifiedObjectList.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TClock.h"
#include "perlayer/reclaim/TIPerLayerStatistics.h"

namespace perlayer {

namespace {
constexpr const char* RSObjectReadOnly = "Objekt pripravljen samo za branje!";
}  // namespace

void TplDomainObject::Create(TPlBaseObject* AOwner, TObject* ARetainer) {
  Assert(ARetainer != nullptr, "TplDomainObject.Create: a retainer is required");
  TplAuthorizedObject::Create(AOwner, ARetainer);
  FHasRetainerList = true;
  FRetainerList.Add(ARetainer);
  FNeedToRefreshLastNotified = false;
  FNeedToRefresh = false;
  FCanEditObjectChangedInDatabase = true;
  FMemorySequence = GetNextMemorySequence();
}

void TplDomainObject::AbandonCreation() {
  FRetainerList.Clear();
  TplAuthorizedObject::AbandonCreation();
}

void TplDomainObject::Destroy() {
  if (FHasRetainerList && FRetainerList.Count() > 0) {
    // Misspelt as applications know it.
    throw Exception(
        Format("TplDomainObject.Destry error: Class = %s, RefCount = %s, Owner list size = %s !",
               ClassName(), RefCount(), FRetainerList.Count()));
  }
  FHasRetainerList = false;
  TplAuthorizedObject::Destroy();
}

std::string TplDomainObject::GetReadOnlyReason() { return RSObjectReadOnly; }
void TplDomainObject::SetLockedBy(TplLockedBy) {}
TplLockedBy TplDomainObject::GetLockedBy() { return TplLockedBy::lbNone; }
void TplDomainObject::CancelReleaserThread(TplDomainObject*) {}
void TplDomainObject::RefreshLockGroup(const std::string&) {}
void TplDomainObject::Reload() { FNeedToRefresh = false; }

void TplDomainObject::NotifyRefresh(const std::string&) {
  const TAlive alive(this);
  if (!FNeedToRefreshLastNotified && FNeedToRefresh) {
    CallNotifyAction(this, TIBaseObjectAction::paNotifyRefresh, nullptr);
    if (!alive) return;
  }
  FNeedToRefreshLastNotified = FNeedToRefresh;
}

void TplDomainObject::DoNotifyAction(TplDomainObject* Sender, TIBaseObjectAction ActionType,
                                     TObject* Data, TINotifiedObjectList* AVisitedObjectList) {
  if (AVisitedObjectList->IndexOfObject(this) >= 0) return;
  AVisitedObjectList->AddObject(this);
  NotifyNotifiers(Sender, ActionType, Data, AVisitedObjectList);
}

int TplDomainObject::AddRef(TObject* ARetainer) {
  Assert(ARetainer != nullptr, "TplDomainObject.AddRef: a retainer is required");
  // The entry first: when there is no memory for it, the count has not moved.
  FRetainerList.Add(ARetainer);
  const int count = TplAuthorizedObject::AddRef(ARetainer);
  PerLayerStatistics()->ReferenceEvent(this, TIReferenceEventType::reAddRef, ARetainer);
  return count;
}

namespace {
// Out of the way: chains of releases go through the frame of the one that calls this.
[[gnu::noinline]] void WarnOfStranger(const TObject& object, const TObject* stranger) {
  BoMessageDlg(Format("%s.Release: Retainer of class %s is not in retainer list!",
                      object.ClassName(), stranger == nullptr ? "nil" : stranger->ClassName()),
               TMsgDlgType::mtWarning, {TMsgDlgBtn::mbOK}, TMsgDlgBtn::mbOK, TMsgDlgBtn::mbOK);
}
}  // namespace

void TplDomainObject::Release(TObject* ARetainer) {
  if (ARetainer == nullptr || !FRetainerList.DeleteObject(ARetainer)) {
    return WarnOfStranger(*this, ARetainer);
  }
  const TAlive alive(this);
  // A monitor that raises must not leave the count above the list: the object could never go.
  TryFinally(
      [&] {
        PerLayerStatistics()->ReferenceEvent(this, TIReferenceEventType::reRelease, ARetainer);
      },
      [&] {
        if (alive) TplAuthorizedObject::Release(ARetainer);
      });
}

std::uint64_t TplDomainObject::GetNextMemorySequence() {
  return ++FoundationState().memorySequence;
}

TplRetainerList& TplDomainObject::NeedRetainerList() {
  if (!FHasRetainerList) {
    const std::string message =
        Format("Objekt razreda %s nima določene liste lastnikov!", ClassName());
    ILog(message);
    throw Exception(message);
  }
  return FRetainerList;
}

int TplDomainObject::FindNotifier(int position, const TINotifiedObjectList* AVisitedObjectList) {
  const TplRetainerList& retainers = NeedRetainerList();
  // A handler may have added or removed retainers: the size is read as it stands now.
  for (int i = position; i < retainers.Count(); ++i) {
    if (!retainers.ClassAt(i).InheritsFrom(TplDomainObject::ClassInfo())) continue;
    const auto* retainer = static_cast<const TplDomainObject*>(retainers.Objects(i));
    // A dead retainer cannot have been visited; the walk tells it in the log.
    if (retainer == nullptr || AVisitedObjectList->IndexOfObject(retainer) < 0) return i;
  }
  return -1;
}

void TplDomainObject::NotifyNotifiers(TplDomainObject* Sender, TIBaseObjectAction ActionType,
                                      TObject* Data, TINotifiedObjectList* AVisitedObjectList) {
  if (!GetDoNotify()) return;
  const TAlive alive(this);
  LockRefsRead(true);
  TryFinally(
      [&] {
        for (int i = FindNotifier(0, AVisitedObjectList); i >= 0;
             i = FindNotifier(i + 1, AVisitedObjectList)) {
          TplRetainerList& retainers = NeedRetainerList();
          if (auto* retainer = static_cast<TplDomainObject*>(retainers.Objects(i))) {
            retainer->NotifyAction(Sender, ActionType, Data, AVisitedObjectList);
          } else {
            ILog(Format("Objekt razreda %s ima neveljavnega lastnika (retainer) razreda %s!",
                        ClassName(), retainers.Strings(i)));
          }
          if (!alive) return;
        }
      },
      [&] {
        if (alive) UnlockRefsRead(true);
      });
}

bool TplDomainObject::LockRefsRead(bool AbMainThread) {
  if (AbMainThread) return true;
  if (GetLockedBy() == TplLockedBy::lbMainThread) return false;
  SetLockedBy(TplLockedBy::lbReleaserThread);
  return true;
}

bool TplDomainObject::LockRefsWrite(bool AbMainThread) {
  if (AbMainThread) {
    if (GetLockedBy() == TplLockedBy::lbReleaserThread) {
      CancelReleaserThread(this);
      while (GetLockedBy() == TplLockedBy::lbReleaserThread) TClock::Current().Sleep(5);
    }
    SetLockedBy(TplLockedBy::lbMainThread);
    return true;
  }
  if (GetLockedBy() == TplLockedBy::lbMainThread) return false;
  SetLockedBy(TplLockedBy::lbReleaserThread);
  return true;
}

bool TplDomainObject::UnlockRefsRead(bool AbMainThread) {
  if (!AbMainThread) SetLockedBy(TplLockedBy::lbNone);
  return true;
}

bool TplDomainObject::UnlockRefsWrite(bool) {
  SetLockedBy(TplLockedBy::lbNone);
  return true;
}

void TplDomainObject::LockRetainer(TObject*, bool) {}
void TplDomainObject::UnlockRetainer(TObject*, bool) {}

}  // namespace perlayer

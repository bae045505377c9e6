// TplPerObject: how it ends. The order, when its last holder lets go:
//
//   BeforeDestroy     aiOnBeforeFree; no more notification of changes; out of the dictionary; what
//                     it holds is released, which may end whole chains before this object goes on
//   the count         the holder's entry goes, the count is 0: RefCountIsZero
//   BeforeDestruction
//   Destroy           from the class down: HeadIntoDestruction frees what stands beside the values
//   FreeInstance
//
// A chain of ten thousand objects that hold each other ends nested, one in the other's
// BeforeDestroy: what stands on that road keeps its frames small.

#include <string>
#include <utility>

#include "perlayer/object/TObjectEdits.h"
#include "perlayer/object/TObjectRelations.h"
#include "perlayer/object/TplPerObject.h"
#include "perlayer/reclaim/TplGlobalDictionary.h"

namespace perlayer {

namespace {

// On the list of what is being released, for the length of a scope.
class TReleasing {
 public:
  explicit TReleasing(TplPerObject* object) {
    GlobalDictionary()->AddToReleasingList(object, FKey);
  }
  ~TReleasing() { GlobalDictionary()->RemoveFromReleasingList(FKey); }
  TReleasing(const TReleasing&) = delete;
  TReleasing& operator=(const TReleasing&) = delete;

 private:
  std::string FKey;
};

// The last holder was held by the object itself, as a list of its own is, and has ended with what
// the object held: its reference goes all the same.
[[gnu::noinline]] void ReleaseForWhoIsGone(TplPerObject* object, TObjectHandle holder) {
  TplRetainerList* retainers = object->aiRetainerList();
  for (int i = 0; i < retainers->Count(); ++i) {
    if (retainers->HandleAt(i) != holder) continue;
    retainers->Replace(i, GlobalDictionary());
    return object->inheritedRelease(GlobalDictionary());
  }
}

bool IsDLL() { return GlobalDictionary()->aiReleaseType() == TIReleaseType::rtDLL; }

}  // namespace

void TplPerObject::Release(TObject* ARetainer) {
  if (IsDLL()) return ReleaseInDLL(ARetainer);
  // Somebody who holds nothing ends nothing, whatever the count says.
  if (!GlobalDictionary()->Decide(this, ARetainer) ||
      aiRetainerList()->IndexOfObject(ARetainer) < 0) {
    return inheritedRelease(ARetainer);
  }
  if (FDestroying) return;
  const TAlive alive(this);
  const TObjectHandle retainer(ARetainer);
  const TReleasing releasing(this);
  BeforeDestroy();
  if (!alive) return;
  if (retainer.IsAlive()) return inheritedRelease(ARetainer);
  ReleaseForWhoIsGone(this, retainer);
}

// Nothing but the count. What stands in the dictionary stays for the final sweep.
void TplPerObject::ReleaseInDLL(TObject* ARetainer) {
  if (!aiRetainerList()->DeleteObject(ARetainer)) return inheritedRelease(ARetainer);
  if (--FRefCount == 0 && GlobalDictionary()->TakeObject(FProvider, GetGID()) != this) Free();
}

void TplPerObject::BeforeDestroy() {
  const TAlive alive(this);
  const int holders = RefCount();
  if (FEdits != nullptr) TellBeforeFree();
  if (alive && RefCount() > holders) return;  // somebody holds it anew: it stays as it is
  const bool notified = FbNotify;
  if (alive && !FNewObject) SetNotify(false);
  const bool known = alive && GlobalDictionary()->RemoveFromDictionary(this);
  if (alive && FRelations != nullptr) {
    try {
      ReleaseHeld();
    } catch (...) {
      if (alive) ComeBack(known, notified);
      throw;
    }
  }
  if (alive) FFinalized = true;
}

// It is still held: it stays the live object of its row, which hears of changes. Where that fails,
// too, what has failed first is what the caller must see.
void TplPerObject::ComeBack(bool known, bool notified) {
  try {
    if (known) GlobalDictionary()->AddPerObject(FProvider, this, this);
    if (notified) SetNotify(true);
  } catch (...) {
  }
}

// The event as it is now: it may be replaced while it runs.
void TplPerObject::TellBeforeFree() {
  if (const TNotifyEvent event = aiOnBeforeFree()) event(this);
}

// What ends by it leaves the dictionary, also where the switch is off for a while.
void TplPerObject::ReleaseHeld() {
  const TAlive alive(this);
  const TUseDictionary on(true);
  FRelations->FboAgregatedObjectList.Release(this);
  if (alive && FRelations != nullptr) FRelations->FboAgregatedObjectList.Clear();
}

// The count reached 0 by a release that asks nothing: what the object holds goes all the same, in
// the order in which it always does.
void TplPerObject::RefCountIsZero() {
  if (FFinalized || IsDLL()) {
    Free();
  } else {
    TakeDown(this);
  }
}

bool TplPerObject::Remove() {
  if (!ReleaseCountWillBecomeZero(nullptr)) return false;
  TakeDown(GlobalDictionary());
  return true;
}

// Held meanwhile by `holder`, for what it holds may hold it.
void TplPerObject::TakeDown(TObject* holder) {
  const TAlive alive(this);
  AddRef(holder);
  try {
    BeforeDestroy();
  } catch (...) {
    // The last reference stays: the object is alive, and its end can be tried again.
    if (alive && RefCount() > 1) inheritedRelease(holder);
    throw;
  }
  if (!alive) return;
  if (RefCount() == 1) FFinalized = true;
  inheritedRelease(holder);
}

// What fails leaves the reference with whose it was.
void TplPerObject::ForceKillRef(TObject* ARetainer) {
  const TAlive alive(this);
  const bool last = RefCount() == 1 && aiRetainerList()->IndexOfObject(ARetainer) == 0;
  try {
    inheritedRelease(ARetainer);
  } catch (...) {
    if (alive && last && RefCount() == 1) aiRetainerList()->Replace(0, ARetainer);
    throw;
  }
}

void TplPerObject::BeforeDestruction() {
  if (!IsDLL()) TplDomainObject::BeforeDestruction();
}

void TplPerObject::AbandonCreation() {
  // What Create has raised is what its caller must see; one variable goes with each failure.
  for (int left = FRelations == nullptr ? 0 : FRelations->FboAgregatedObjectList.Count(); left > 0;
       --left) {
    try {
      ReleaseHeld();
    } catch (...) {
    }
  }
  TplDomainObject::AbandonCreation();
}

void TplPerObject::Destroy() {
  FDestroying = true;
  TryFinally([this] { HeadIntoDestruction(); }, [this] { TplDomainObject::Destroy(); });
}

void TplPerObject::HeadIntoDestruction() {
  TryFinally(
      [this] {
        if (FModified) UnLock(this, GetLockGroup());
      },
      [this] {
        // What this frees may ask the object once more: it finds nothing any more.
        ReleaseEditing();
        const auto relations = std::exchange(FRelations, nullptr);
      });
}

}  // namespace perlayer

#include "perlayer/foundation/TPlBaseObject.h"

#include "perlayer/corekit/ILog.h"
#include "perlayer/foundation/FoundationState.h"
#include "perlayer/foundation/TINotifiedObjectList.h"
#include "perlayer/foundation/TplDomainObject.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TApplication.h"

namespace perlayer {

namespace {
constexpr const char* kUnknownException = "Unknown exception";

// Out of the way: chains of releases go through the frame of the one that calls this.
[[noreturn, gnu::noinline]] void RaiseFreedAlready(const TObject& object) {
  throw Exception(
      Format("Attempting to release allready freed object of class %s.", object.ClassName()));
}
}  // namespace

std::span<const TInterfaceEntry> TPlBaseObject::InterfaceTable() {
  static constexpr TInterfaceEntry kTable[] = {InterfaceEntry<TPlBaseObject, IInterface>()};
  return kTable;
}

void TPlBaseObject::DoNotifyAction(TplDomainObject*, TIBaseObjectAction, TObject*,
                                   TINotifiedObjectList*) {}

void TPlBaseObject::RefCountIsZero() { Free(); }

void TPlBaseObject::Create(TPlBaseObject*, TObject*) {
  FDoNotify = true;
  FRefCount = 1;
  FNotifying = false;
}

int TPlBaseObject::AddRef(TObject*) { return ++FRefCount; }

void TPlBaseObject::Release(TObject*) { DoFree(); }

int TPlBaseObject::_AddRef() { return AddRef(Application()); }

int TPlBaseObject::_Release() {
  const int before = RefCount();
  Release(Application());
  return before - 1;  // the object may be gone
}

HResult TPlBaseObject::QueryInterface(const TGuid& iid, void** object) {
  const HResult result = FindInterface(this, iid, object);
  if (result == S_OK) _AddRef();
  return result;
}

void TPlBaseObject::DoFree() {
  if (FRefCount < 1) RaiseFreedAlready(*this);
  if (--FRefCount == 0) RefCountIsZero();
}

bool TPlBaseObject::GetDoNotify() const { return FDoNotify && aiNotificationsEnabled(); }

void TPlBaseObject::CallNotifyAction(TplDomainObject* Sender, TIBaseObjectAction ActionType,
                                     TObject* Data) {
  // Nobody hears of an object that nobody holds: its end needs no memory for a walk.
  if (FNotifying || FRefCount <= 0 || !GetDoNotify()) return;
  const TOwned<TINotifiedObjectList> visited = Make<TINotifiedObjectList>();
  NotifyAction(Sender, ActionType, Data, visited.Get());
}

void TPlBaseObject::NotifyAction(TplDomainObject* Sender, TIBaseObjectAction ActionType,
                                 TObject* Data, TINotifiedObjectList* AVisitedObjectList) {
  if (FNotifying) return;
  if (!GetDoNotify()) return;
  // A listener of an earlier step may have ended the sender, one of this step may end it or this
  // object: what a log line needs is taken beforehand.
  Sender = static_cast<TplDomainObject*>(AVisitedObjectList->Living(Sender));
  Data = AVisitedObjectList->Living(Data);
  const TAlive alive(this);
  const TObjectHandle sender(Sender);
  const TClass& ownClass = ClassType();
  const TClass* senderClass = Sender == nullptr ? nullptr : &Sender->ClassType();

  const auto contain = [&](const char* message) {
    if (alive) FNotifying = false;
    try {
      ILog(Format("%s while notifying %s from %s", message, ownClass.Name(),
                  senderClass == nullptr ? std::string_view("nil") : senderClass->Name()));
      ILogBuffer();
      if (alive) LogNotifyDetails("List 1");
      if (auto* living = sender.GetAs<TPlBaseObject>()) living->LogNotifyDetails("List 2");
    } catch (const std::exception& e) {
      ILog(e.what());
    } catch (...) {
      ILog(kUnknownException);
    }
  };

  FNotifying = true;
  try {
    if (RefCount() > 0) DoNotifyAction(Sender, ActionType, Data, AVisitedObjectList);
  } catch (const ELockException&) {
    if (alive) FNotifying = false;
    throw;
  } catch (const std::exception& e) {
    contain(e.what());
  } catch (...) {
    contain(kUnknownException);
  }
  if (alive) FNotifying = false;
}

void TPlBaseObject::BeforeDestruction() {
  // Misspelt as applications know it.
  if (FRefCount >= 1) throw Exception("Wrong call do destruction. RefCount>0");
  TObject::BeforeDestruction();
}

void TPlBaseObject::Destroy() {
  FRefCount = -1;
  TObject::Destroy();
}

void TPlBaseObject::LogNotifyDetails(std::string_view) {}

}  // namespace perlayer

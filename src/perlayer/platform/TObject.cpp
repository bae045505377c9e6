#include "perlayer/platform/TObject.h"

#include <cassert>
#include <cstdio>
#include <cstdlib>

#include "perlayer/platform/Exception.h"

namespace perlayer {

TClass::TClass(const char* name, const TClass* parent, const std::type_info& info, std::size_t size,
               TObject* (*factory)(), std::span<const TInterfaceEntry> (*interfaces)(),
               std::uint32_t facts)
    : FName(name),
      FInfo(&info),
      FSize(size),
      FFactory(factory),
      FInterfaces(interfaces),
      FFacts(facts),
      FDepth(parent == nullptr ? 0 : parent->FDepth + 1),
      FLine{} {
  if (FDepth > kMaxDepth) {
    std::fprintf(stderr, "perlayer: class %s has more than %d ancestors\n", name, kMaxDepth);
    std::abort();
  }
  for (int i = 0; i < FDepth; ++i) FLine[i] = parent->FLine[i];
  FLine[FDepth] = this;
}

const TInterfaceEntry* TClass::FindInterface(const TGuid& iid) const {
  for (const TClass* cls = this; cls != nullptr; cls = cls->Parent()) {
    for (const TInterfaceEntry& entry : cls->FInterfaces()) {
      if (entry.iid == iid) return &entry;
    }
  }
  return nullptr;
}

TObject* TClass::Allocate() const {
  if (FFactory == nullptr) {
    throw EAbstractError("Cannot create an object of the abstract class " + std::string(FName));
  }
  return FFactory();
}

const TClass& TObject::ClassInfo() {
  static const TClass info = TClass::Describe<TObject, void>("TObject");
  return info;
}

TObject::TObject() : FSlot(std::exchange(detail::PendingSlot, 0)) {
  if (FSlot == 0) {
    std::fputs("perlayer: a TObject was constructed without New<T>()\n", stderr);
    std::abort();
  }
  TSlotTable::At(FSlot).object.store(this, std::memory_order_release);
}

TObject::~TObject() { TSlotTable::GiveBack(FSlot); }

void TObject::Free() {
  BeforeDestruction();
  Destroy();
  assert(TSlotTable::At(FSlot).word.load() % 4 == static_cast<std::uint32_t>(TSlotState::shell) &&
         "a Destroy override did not call Inherited::Destroy()");
  FreeInstance();
}

void TObject::Destroy() { TSlotTable::SetState(FSlot, TSlotState::shell); }

void TObject::FreeInstance() { delete this; }

// Create has raised. Its exception is the one that the caller must see, so what Destroy may raise
// on a half-made object ends here; the memory then stays, as after any Destroy that raises.
void TObject::DestroyHalfMade() noexcept {
  try {
    AbandonCreation();
    Destroy();
    FreeInstance();
  } catch (...) {  // told above: the first exception goes on
  }
}

namespace detail {
const TClass* DynamicClassOf(const TObject* object) {
  return object == nullptr ? nullptr : &object->ClassType();
}

void RaiseInvalidCast(const TClass* from, const TClass& to) {
  throw EInvalidCast("Invalid class typecast: " +
                     (from == nullptr ? std::string("nil") : std::string(from->Name())) +
                     " is no " + std::string(to.Name()));
}
}  // namespace detail

}  // namespace perlayer

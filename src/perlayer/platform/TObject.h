#pragma once
// TObject: the root of every class that can retain, be retained, own, or be asked its class name.
//
// Life of an object, in two phases at either end:
//   New<T>(args...)   C++ constructors set fields, then the virtual Create(args...) does the work,
//                     then AfterConstruction() where T has one
//   Free()            BeforeDestruction(), Destroy(), FreeInstance()
//
// A class states its name once, by TCLASS(Self, Base) in its body; New refuses a class that forgot
// it. C++ destructors release plain members only and run no domain logic; what a class does when it
// ends stands in Destroy(), which ends with the base's Destroy().
//
// An object belongs to the thread that made it unless its class says otherwise. Its handle may be
// kept and asked by any thread.

#include <cstdint>
#include <new>
#include <span>
#include <string>
#include <type_traits>
#include <utility>

#include "perlayer/platform/TClass.h"
#include "perlayer/platform/TSlotTable.h"

// Ties a class to its TClass. Leaves the access at `private`, as a class body begins.
#define TCLASS(Self, Base)           \
  TCLASS_WITH_DESTRUCTOR(Self, Base) \
 protected:                          \
  ~Self() override = default;        \
                                     \
 private:

// The same for a class whose members' types are incomplete in its header: it declares a protected
// destructor and defaults it in its source file.
#define TCLASS_WITH_DESTRUCTOR(Self, Base)                                                  \
 public:                                                                                    \
  using TSelf [[maybe_unused]] = Self;                                                      \
  using Inherited [[maybe_unused]] = Base;                                                  \
  static const ::perlayer::TClass& ClassInfo() {                                            \
    static const ::perlayer::TClass info = ::perlayer::TClass::Describe<Self, Base>(#Self); \
    return info;                                                                            \
  }                                                                                         \
  friend class ::perlayer::TClass;                                                          \
                                                                                            \
 private:

namespace perlayer {

namespace detail {
// The slot that the next TObject constructor on this thread takes over; 0 when none is pending.
inline constinit thread_local std::uint32_t PendingSlot = 0;

// Reserves a slot for one construction and takes it back when no constructor claimed it.
class TPendingSlot {
 public:
  explicit TPendingSlot(const TClass& cls)
      : FOuter(std::exchange(PendingSlot, TSlotTable::Take(cls))) {}
  ~TPendingSlot() {
    if (PendingSlot != 0) TSlotTable::GiveBack(PendingSlot);
    PendingSlot = FOuter;
  }
  TPendingSlot(const TPendingSlot&) = delete;
  TPendingSlot& operator=(const TPendingSlot&) = delete;

 private:
  // Pending already when a base that stands before TObject creates an object of its own.
  const std::uint32_t FOuter;
};

struct TCreation;
}  // namespace detail

class TObject {
 public:
  using TSelf = TObject;
  static const TClass& ClassInfo();
  static std::span<const TInterfaceEntry> InterfaceTable() { return {}; }

  TObject(const TObject&) = delete;
  TObject& operator=(const TObject&) = delete;

  // The most derived class, at every moment from the first constructor to the end of FreeInstance.
  const TClass& ClassType() const {
    return *TSlotTable::At(FSlot).cls.load(std::memory_order_relaxed);
  }
  std::string ClassName() const { return std::string(ClassType().Name()); }
  bool InheritsFrom(const TClass& other) const { return ClassType().InheritsFrom(other); }

  // Ends the object: BeforeDestruction(), Destroy(), FreeInstance(). When Destroy raises, the
  // exception passes and the memory stays.
  void Free();

  // Raises when the object must not go now; nothing has happened to it then.
  virtual void BeforeDestruction() {}
  // What the class does when it ends. Overrides finish with Inherited::Destroy().
  virtual void Destroy();
  // Runs the C++ destructors and gives the memory back.
  virtual void FreeInstance();

  // Of all living objects no other has that number.
  std::uint32_t Slot() const { return FSlot; }
  // The bare slot and generation; see TObjectHandle.
  std::uint64_t HandleValue() const {
    const std::uint64_t word = TSlotTable::At(FSlot).word.load(std::memory_order_relaxed);
    return std::uint64_t{FSlot} << 32 | word >> 32;
  }

 protected:
  TObject();
  virtual ~TObject();

  // Create raised: forget whatever counts holders, so that Destroy can run on the half-made object.
  virtual void AbandonCreation() {}

 private:
  friend class TClass;
  friend struct detail::TCreation;
  void DestroyHalfMade() noexcept;

  std::uint32_t FSlot;
};

namespace detail {
template <class T, class... TArgs>
concept THasCreate = requires(T& object, TArgs&&... args) {
  object.Create(std::forward<TArgs>(args)...);
};
// Classes that act once Create has returned, however far it is overridden.
template <class T>
concept THasAfterConstruction = requires(T& object) {
  object.AfterConstruction();
};

// The two phases of making an object.
struct TCreation {
  template <class T>
  static T* Construct() {
    const TPendingSlot pending(T::ClassInfo());
    return new T();
  }
  template <class T, class... TArgs>
  static T* Finish(T* object, TArgs&&... args) {
    if constexpr (sizeof...(TArgs) > 0 || THasCreate<T>) {
      try {
        object->Create(std::forward<TArgs>(args)...);
        if constexpr (THasAfterConstruction<T>) object->AfterConstruction();
      } catch (...) {
        static_cast<TObject*>(object)->DestroyHalfMade();
        throw;
      }
    }
    return object;
  }
};
}  // namespace detail

// Makes an object and runs its Create with `args`. When Create raises, the half-made object is
// destroyed and the exception goes on. The new object is the caller's to release or free.
template <class T, class... TArgs>
T* New(TArgs&&... args) {
  static_assert(std::is_same_v<typename T::TSelf, T>, "the class lacks TCLASS(Self, Base)");
  return detail::TCreation::Finish(detail::TCreation::Construct<T>(), std::forward<TArgs>(args)...);
}

template <class T>
T* As(TObject* object) {
  return object != nullptr && object->InheritsFrom(T::ClassInfo()) ? static_cast<T*>(object)
                                                                   : nullptr;
}
template <class T>
const T* As(const TObject* object) {
  return As<T>(const_cast<TObject*>(object));
}
template <class T>
bool Is(const TObject* object) {
  return object != nullptr && object->InheritsFrom(T::ClassInfo());
}
// The object as a T; raises EInvalidCast when it is none.
template <class T>
T* Cast(TObject* object);

// Frees what the variable points to, if anything, after clearing the variable.
template <class T>
void FreeAndNil(T*& object) {
  if (T* going = std::exchange(object, nullptr)) going->Free();
}

// Owns an object that has one owner and no retainers: frees it at the end of the scope. Freeing
// must not raise there; call Reset() first where it may.
template <class T>
class TOwned {
 public:
  TOwned() = default;
  explicit TOwned(T* object) : FObject(object) {}
  TOwned(TOwned&& other) noexcept : FObject(std::exchange(other.FObject, nullptr)) {}
  TOwned& operator=(TOwned&& other) noexcept {
    if (this != &other) Reset(std::exchange(other.FObject, nullptr));
    return *this;
  }
  ~TOwned() { Reset(); }
  T* operator->() const { return FObject; }
  T& operator*() const { return *FObject; }
  T* Get() const { return FObject; }
  explicit operator bool() const { return FObject != nullptr; }
  T* Release() { return std::exchange(FObject, nullptr); }
  void Reset(T* object = nullptr) {
    if (T* old = std::exchange(FObject, object)) old->Free();
  }

 private:
  T* FObject = nullptr;
};

// New, held by a TOwned.
template <class T, class... TArgs>
TOwned<T> Make(TArgs&&... args) {
  return TOwned<T>(New<T>(std::forward<TArgs>(args)...));
}

}  // namespace perlayer

#include "perlayer/platform/TObjectHandle.h"

#pragma once
// TObjectHandle: a reference that may outlive its object. It never dangles: once the object is
// destroyed it answers nullptr. TAlive is the same for the length of a call out.
//
// Copying and asking are safe on every thread; using the answered object is not, unless its class
// says so.

#include "perlayer/platform/TObject.h"

namespace perlayer {

class TObjectHandle {
 public:
  constexpr TObjectHandle() = default;
  TObjectHandle(const TObject* object) : FValue(object == nullptr ? 0 : object->HandleValue()) {}

  // The object while it lives; nullptr for nil, for a destroyed shell and for a freed object.
  TObject* Get() const {
    if (FValue == 0) return nullptr;
    const TSlotTable::TRecord& record = Record();
    // The object before the word: whoever reads a later object here also reads its later word.
    TObject* object = record.object.load(std::memory_order_acquire);
    const std::uint64_t word = record.word.load(std::memory_order_acquire);
    return word == (FValue << 32 | static_cast<std::uint32_t>(TSlotState::alive)) ? object
                                                                                  : nullptr;
  }
  template <class T>
  T* GetAs() const {
    return As<T>(Get());
  }
  // The class of the living object, read without touching the object itself; nullptr when gone.
  const TClass* Class() const {
    if (FValue == 0) return nullptr;
    const TSlotTable::TRecord& record = Record();
    const TClass* cls = record.cls.load(std::memory_order_acquire);
    const std::uint64_t word = record.word.load(std::memory_order_acquire);
    return word == (FValue << 32 | static_cast<std::uint32_t>(TSlotState::alive)) ? cls : nullptr;
  }
  bool IsNil() const { return FValue == 0; }
  bool IsAlive() const { return Get() != nullptr; }
  std::uint64_t Value() const { return FValue; }

  friend bool operator==(TObjectHandle, TObjectHandle) = default;

 private:
  const TSlotTable::TRecord& Record() const {
    return TSlotTable::At(static_cast<std::uint32_t>(FValue >> 32));
  }

  std::uint64_t FValue = 0;  // slot << 32 | generation; 0 is nil
};

// Tells after a call out whether an object still lives:
//   TAlive alive(this); handler(this); if (!alive) return;
class TAlive {
 public:
  explicit TAlive(const TObject* object) : FHandle(object) {}
  explicit operator bool() const { return FHandle.IsAlive(); }

 private:
  TObjectHandle FHandle;
};

namespace detail {
[[noreturn]] void RaiseInvalidCast(const TClass* from, const TClass& to);
}

// A class known only at run time, of which all that is known at compile time is that it is a T.
template <class T>
class TClassRef {
 public:
  TClassRef() = default;
  TClassRef(const TClass& cls);  // Raises EInvalidCast when `cls` is no T.
  template <class U>
  static TClassRef Of() {
    static_assert(std::is_base_of_v<T, U>);
    return TClassRef(U::ClassInfo());
  }

  const TClass* Get() const { return FClass; }
  explicit operator bool() const { return FClass != nullptr; }

  // As New<T>, of the referred class. Raises EAbstractError for an abstract class and
  // EInvalidCast when no class is referred to.
  template <class... TArgs>
  T* New(TArgs&&... args) const {
    if (FClass == nullptr) detail::RaiseInvalidCast(nullptr, T::ClassInfo());
    T* object;
    {
      const detail::TPendingSlot pending(*FClass);
      object = static_cast<T*>(FClass->Allocate());
    }
    return detail::TCreation::Finish(object, std::forward<TArgs>(args)...);
  }

 private:
  const TClass* FClass = nullptr;
};

template <class T>
TClassRef<T>::TClassRef(const TClass& cls) : FClass(&cls) {
  if (!cls.InheritsFrom(T::ClassInfo())) detail::RaiseInvalidCast(&cls, T::ClassInfo());
}

template <class T>
T* Cast(TObject* object) {
  if (T* result = As<T>(object)) return result;
  detail::RaiseInvalidCast(object == nullptr ? nullptr : &object->ClassType(), T::ClassInfo());
}

}  // namespace perlayer

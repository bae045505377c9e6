#pragma once
// TplMember<T>: a member variable through which a persistent object holds another one, or a list.
// It reads like a T* and takes as much room. The object that has it registers it by its address
// (TplPerObject::RegisterAgregatedObjects), and relation getters fill it:
//
//   TplMember<TPlBoList> FEncounters;
//
// It keeps a handle: one whose object has been destroyed reads as nullptr, and freed memory is
// never looked at. Assigning takes and gives back no reference.
//
// Main thread only.

#include <type_traits>

#include "perlayer/platform/TObject.h"

namespace perlayer {

class TPlBaseObject;

// What lists of such variables know of them.
class TplBaseObjectPointer {
 public:
  TplBaseObjectPointer() = default;
  TplBaseObjectPointer(const TplBaseObjectPointer&) = delete;  // it is known by its address
  TplBaseObjectPointer& operator=(const TplBaseObjectPointer&) = delete;

  TObject* Object() const { return FHandle.Get(); }
  bool IsNil() const { return FHandle.IsNil(); }
  // What it held was destroyed without the variable being cleared.
  bool IsStale() const { return !FHandle.IsNil() && !FHandle.IsAlive(); }

 protected:
  friend class TIObjectPointerList;
  friend class TplPerObject;
  // REQUIRES: the object is of the class that the variable is declared with, or nullptr
  void Set(const TObject* object) { FHandle = TObjectHandle(object); }

 private:
  TObjectHandle FHandle;
};

template <class T>
class TplMember : public TplBaseObjectPointer {
 public:
  TplMember& operator=(T* object) {
    static_assert(std::is_base_of_v<TPlBaseObject, T>, "only what counts its holders is held");
    Set(object);
    return *this;
  }
  T* Get() const { return static_cast<T*>(Object()); }
  operator T*() const { return Get(); }
  T* operator->() const { return Get(); }
  T& operator*() const { return *Get(); }
};

}  // namespace perlayer

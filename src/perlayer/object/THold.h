#pragma once
// THold<T>: holds an object for the length of a scope. It is the retainer itself, so that the
// object's retainer list names it. A hold ends before the layer is unloaded: letting go needs it.
// Main thread only.
//
//   THold<TpoPatient> patient(Provider<TplPatient>(), "17");
//   if (patient) Print(patient->GetAttrValue("CITY"));

#include <string>
#include <utility>

#include "perlayer/corekit/ILog.h"
#include "perlayer/object/TplPerObject.h"
#include "perlayer/provider/TplProvider.h"

namespace perlayer {

// The retainer that stands for a scope.
class TScopeRetainer : public TObject {
  TCLASS(TScopeRetainer, TObject)
};

template <class T = TplPerObject>
class THold {
 public:
  THold() : FRetainer(New<TScopeRetainer>()) {}
  // Fetches by ID, subclasses included. Raises EInvalidCast when the row's object is no T.
  THold(TplProvider* provider, const std::string& id) : THold() {
    Take(provider->GetObject(FRetainer.Get(), id, true));
  }
  // One more reference to an object that somebody holds; nullptr holds nothing.
  explicit THold(T* object) : THold() {
    if (object != nullptr) object->AddRef(FRetainer.Get());
    FObject = object;
  }
  // As FetchObject with that condition.
  static THold Where(TplProvider* provider, const std::string& condition) {
    THold result;
    result.Take(provider->FetchObject(result.FRetainer.Get(), condition, true));
    return result;
  }
  THold(THold&& other) noexcept
      : FRetainer(std::move(other.FRetainer)), FObject(std::exchange(other.FObject, nullptr)) {}
  THold& operator=(THold&& other) noexcept {
    std::swap(FRetainer, other.FRetainer);
    std::swap(FObject, other.FObject);
    return *this;
  }
  // What letting go raises goes into the log: whom it concerns calls Reset.
  ~THold() {
    try {
      Reset();
    } catch (const std::exception& e) {
      ILog(std::string("THold: ") + e.what());
    }
  }

  // Lets go of the object now.
  void Reset() {
    if (T* object = std::exchange(FObject, nullptr)) object->Release(FRetainer.Get());
  }
  T* Get() const { return FObject; }
  T* operator->() const { return FObject; }
  T& operator*() const { return *FObject; }
  explicit operator bool() const { return FObject != nullptr; }
  TObject* Retainer() const { return FRetainer.Get(); }

 private:
  void Take(TplPerObject* object) {
    FObject = As<T>(object);
    if (object != nullptr && FObject == nullptr) {
      const TClass& cls = object->ClassType();
      object->Release(FRetainer.Get());
      detail::RaiseInvalidCast(&cls, T::ClassInfo());
    }
  }

  TOwned<TScopeRetainer> FRetainer;
  T* FObject = nullptr;
};

// Deletes the row of an object that ARetainer holds, lets go of it and forgets it; nothing for
// nullptr. When the deletion raises, the object stays held.
template <class T>
void DeleteReleaseAndSetToNil(T*& AObject, TObject* ARetainer) {
  if (AObject == nullptr) return;
  AObject->DeleteObject();
  std::exchange(AObject, nullptr)->Release(ARetainer);
}

}  // namespace perlayer

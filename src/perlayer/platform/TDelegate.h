#pragma once
// TDelegate: an event, that is a function to call back or nothing. Two delegates are equal when
// they call the same code on the same object; SameCode compares the code alone.
//
//   TNotifyEvent event = TNotifyEvent::Bind<&TForm::Changed>(form);
//   if (event) event(sender);
//
// The object is not owned: whoever binds sees to it that the event is cleared before the object
// goes. A delegate belongs to the thread that owns the object that holds it.

#include <memory>
#include <type_traits>
#include <utility>

namespace perlayer {

class TObject;
class TClass;

namespace detail {
const TClass* DynamicClassOf(const TObject* object);

template <class TMethod>
struct TMethodOwner;
template <class TMember, class TOwner>
struct TMethodOwner<TMember TOwner::*> {
  using type = TOwner;
};
}  // namespace detail

template <class TSignature>
class TDelegate;

template <class TResult, class... TArgs>
class TDelegate<TResult(TArgs...)> {
 public:
  TDelegate() = default;
  TDelegate(std::nullptr_t) {}

  // A member function of `object`. The identity is that of the class that declares the function,
  // whatever descendant's pointer is given.
  template <auto Method, class T>
  static TDelegate Bind(T* object) {
    using TOwner = typename detail::TMethodOwner<decltype(Method)>::type;
    return BindMethod<Method, TOwner>(object);
  }

  // A virtual member function of `object`: the class that overrides it is part of the identity.
  template <auto Method, class T>
  static TDelegate BindVirtual(T* object) {
    TDelegate result = Bind<Method>(object);
    result.FClass = detail::DynamicClassOf(object);
    return result;
  }

  // A free function.
  template <auto Function>
  static TDelegate Bind() {
    TDelegate result;
    result.FCode = [](void*, TArgs... args) -> TResult {
      return Function(std::forward<TArgs>(args)...);
    };
    return result;
  }

  // Any callable, kept by the delegate. Each call of From makes an identity of its own on the
  // instance side; its code is that of the callable's type.
  template <class TCallable>
  static TDelegate From(TCallable callable) {
    auto kept = std::make_shared<TCallable>(std::move(callable));
    TDelegate result;
    result.FCode = [](void* self, TArgs... args) -> TResult {
      return (*static_cast<TCallable*>(self))(std::forward<TArgs>(args)...);
    };
    result.FObject = kept.get();
    result.FKept = std::move(kept);
    return result;
  }

  explicit operator bool() const { return FCode != nullptr; }

  // REQUIRES: the delegate is set.
  TResult operator()(TArgs... args) const {
    // A handler may clear or replace the event it is called through; the callable stays for the
    // call.
    const auto kept = FKept;
    return FCode(FObject, std::forward<TArgs>(args)...);
  }

  bool SameCode(const TDelegate& other) const {
    return FCode == other.FCode && FClass == other.FClass;
  }
  friend bool operator==(const TDelegate& a, const TDelegate& b) {
    return a.SameCode(b) && a.FObject == b.FObject;
  }

 private:
  template <auto Method, class TOwner>
  static TDelegate BindMethod(TOwner* object) {
    TDelegate result;
    result.FCode = [](void* self, TArgs... args) -> TResult {
      return (static_cast<TOwner*>(self)->*Method)(std::forward<TArgs>(args)...);
    };
    result.FObject = object;
    return result;
  }

  TResult (*FCode)(void*, TArgs...) = nullptr;
  void* FObject = nullptr;
  const TClass* FClass = nullptr;
  std::shared_ptr<void> FKept;
};

using TNotifyEvent = TDelegate<void(TObject* Sender)>;

}  // namespace perlayer

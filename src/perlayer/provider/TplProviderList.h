#pragma once
// TplProviderList: the process-wide registry of providers, in the order of their creation.
// TIProviderCallBacks: the application's hooks for objects of all providers. Main thread only.

#include <string>
#include <string_view>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TDelegate.h"
#include "perlayer/platform/TList.h"
#include "perlayer/platform/Variant.h"

namespace perlayer {

class TIIheMessageObList;
class TplPerObject;
class TplProvider;

class TplProviderList : public TList {
  TCLASS(TplProviderList, TList)
 public:
  // The one instance, made on first call.
  static TplProviderList* Instance();

  int GetCount() const { return Count(); }
  TplProvider* GetProvider(int AIndex) const;  // nullptr for one that has gone
  // The first provider that makes objects of that class, or nullptr.
  TplProvider* GetProviderFor(std::string_view AClassName) const;

  // Empties the caches of those that have one.
  void ClearCache();
  void FinalizeProviders();
  // Lets go of every provider in its class map's name. One that somebody else still holds is told
  // in the log and lives on.
  void FreeProviders();
};

// The live provider of exactly that class, or nullptr.
TplProvider* FindProvider(const TClass& cls);

// The live provider of class T. Raises Exception when its class map has not made one.
template <class T>
T* Provider() {
  if (TplProvider* provider = FindProvider(T::ClassInfo())) return static_cast<T*>(provider);
  throw Exception("There is no provider of class " + std::string(T::ClassInfo().Name()));
}

using TIOnPerObjectValidateAttribute = TDelegate<void(
    TplPerObject* APerObject, bool& AResult, const std::string& AAttribute, const Variant& AValue)>;
using TIOnPerObjectEvent = TDelegate<void(TplPerObject* APerObject)>;
// The messages that the handler gives back go into the list.
using TIOnProcessIheMessage =
    TDelegate<void(const std::string& Amessage, const std::string& ARemoteHost,
                   TIIheMessageObList* AIIheMessageObList)>;

class TIProviderCallBacks {
 public:
  // Each calls its event when one is set.
  void DoValidateAttribute(TplPerObject* APerObject, bool& AResult, const std::string& AAttribute,
                           const Variant& AValue) {
    if (FOnPerObjectValidateAttribute) {
      FOnPerObjectValidateAttribute(APerObject, AResult, AAttribute, AValue);
    }
  }
  bool ValidatesAttributes() const { return static_cast<bool>(FOnPerObjectValidateAttribute); }
  void DoSaveData(TplPerObject* APerObject) {
    if (FOnPerObjectDoSaveData) FOnPerObjectDoSaveData(APerObject);
  }
  void DoDeleteObject(TplPerObject* APerObject) {
    if (FOnPerObjectDoDeleteObject) FOnPerObjectDoDeleteObject(APerObject);
  }

  const TIOnPerObjectValidateAttribute& aiOnValidateAttribute() const {
    return FOnPerObjectValidateAttribute;
  }
  void aiOnValidateAttribute(TIOnPerObjectValidateAttribute event) {
    FOnPerObjectValidateAttribute = std::move(event);
  }
  const TIOnPerObjectEvent& aiOnDoSaveData() const { return FOnPerObjectDoSaveData; }
  void aiOnDoSaveData(TIOnPerObjectEvent event) { FOnPerObjectDoSaveData = std::move(event); }
  const TIOnPerObjectEvent& aiOnDoDeleteObject() const { return FOnPerObjectDoDeleteObject; }
  void aiOnDoDeleteObject(TIOnPerObjectEvent event) {
    FOnPerObjectDoDeleteObject = std::move(event);
  }
  // For the application: whoever receives such messages calls it.
  const TIOnProcessIheMessage& aiOnProcessIheMessage() const { return FOnProcessIheMessage; }
  void aiOnProcessIheMessage(TIOnProcessIheMessage event) {
    FOnProcessIheMessage = std::move(event);
  }

 private:
  TIOnPerObjectValidateAttribute FOnPerObjectValidateAttribute;
  TIOnPerObjectEvent FOnPerObjectDoSaveData;
  TIOnPerObjectEvent FOnPerObjectDoDeleteObject;
  TIOnProcessIheMessage FOnProcessIheMessage;
};

}  // namespace perlayer

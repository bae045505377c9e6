#pragma once
// What all classes of the ward have in common: new rows take their key from a sequence of their
// table, every row tells who wrote it last and when, a value has the form of its attribute, and
// only those with the right make new objects.

#include <string>

#include "perlayer/object/THold.h"
#include "perlayer/object/TplPerObject.h"
#include "perlayer/provider/TplProvider.h"
#include "perlayer/provider/TplProviderList.h"

namespace ward {

using namespace perlayer;

class TpoWardObject : public TplPerObject {
  TCLASS(TpoWardObject, TplPerObject)
 public:
  // Also that a number is one, a date as well, and that a text is not too long.
  bool ValidateAttribute(const std::string& AName, const Variant& AValue) override;
  void SetObjectTypeForNewObject() override;  // its UUID, for classes with one
  void DoBeforeSave() override;               // the key of a new row; DATUMIPL and USER_IPL
};

class TplWardProvider : public TplProvider {
  TCLASS(TplWardProvider, TplProvider)
 public:
  TIAccessRights GetRights() override;  // as the rights manager says
};

// A provider whose only job is to make objects of its class.
#define WARD_PROVIDER(ProviderClass, ObjectClass)                     \
  class ProviderClass : public TplWardProvider {                      \
    TCLASS(ProviderClass, TplWardProvider)                            \
   public:                                                            \
    TplPerObject* InternalCreateObject(TObject* ARetainer) override { \
      return New<ObjectClass>(this, ARetainer);                       \
    }                                                                 \
  };

// A new object, held. Raises when the user may not make one.
template <class T = TplPerObject>
THold<T> NewOf(TplProvider* provider) {
  const TOwned<TScopeRetainer> maker = Make<TScopeRetainer>();
  auto* const object = Cast<T>(provider->NewObject(maker.Get()));
  THold<T> hold(object);
  object->Release(maker.Get());
  return hold;
}

}  // namespace ward

#pragma once
// TPROVIDER(TplPatient, TpoPatient): a provider whose only job is to make objects of its class.

#include "perlayer/provider/TplProvider.h"
#include "perlayer/provider/TplProviderList.h"

#define TPROVIDER(ProviderClass, ObjectClass)                                                 \
  class ProviderClass : public ::perlayer::TplProvider {                                      \
    TCLASS(ProviderClass, ::perlayer::TplProvider)                                            \
   public:                                                                                    \
    ::perlayer::TplPerObject* InternalCreateObject(::perlayer::TObject* ARetainer) override { \
      return ::perlayer::New<ObjectClass>(this, ARetainer);                                   \
    }                                                                                         \
  };

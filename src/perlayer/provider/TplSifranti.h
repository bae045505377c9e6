#pragma once
// TplSifranti: the code-list service that knows the providers of code lists. The application tells
// which provider makes the objects of a list; until it does, no list has one. Main thread only.

#include <string>

#include "perlayer/corekit/TISifranti.h"
#include "perlayer/platform/TDelegate.h"

namespace perlayer {

class TplProvider;

// What shows a code list, and the provider of its objects. The classes are empty where there is no
// such view or form.
struct TCatalogProvider {
  TplProvider* provider = nullptr;
  TClassRef<TObject> view;
  TClassRef<TObject> viewForm;
  TClassRef<TObject> editForm;
};

// AEdit: the codes are to be edited, or read as objects.
using TGetCatalogProviderProc =
    TDelegate<void(const std::string& ASifrantName, TCatalogProvider& ACatalog, bool AEdit)>;

class TplSifranti : public TISifranti {
  TCLASS(TplSifranti, TISifranti)
 public:
  // What the application's event answers; nothing without one.
  TCatalogProvider GetCatalogProvider(const std::string& AName, bool AEdit) {
    TCatalogProvider catalog;
    if (FOnGetCatalogProvider) FOnGetCatalogProvider(AName, catalog, AEdit);
    return catalog;
  }
  const TGetCatalogProviderProc& OnGetCatalogProvider() const { return FOnGetCatalogProvider; }
  void OnGetCatalogProvider(TGetCatalogProviderProc event) {
    FOnGetCatalogProvider = std::move(event);
  }

 private:
  TGetCatalogProviderProc FOnGetCatalogProvider;
};

// What the installed code-list service knows of the list: nothing when it is no TplSifranti.
inline TCatalogProvider CatalogProvider(const std::string& AName, bool AEdit) {
  auto* service = As<TplSifranti>(&Sifranti());
  return service == nullptr ? TCatalogProvider() : service->GetCatalogProvider(AName, AEdit);
}

}  // namespace perlayer

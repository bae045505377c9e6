#pragma once
// TplCachableProvider: a provider of a small table that is read often, such as a code list. It is
// to keep the objects that it has read alive in a buffer list, so that later reads find them in the
// dictionary. There are no buffer lists yet: every question has the answer of a provider whose
// cache is off, and giving it a list is refused. See docs/architecture.md. Main thread only.

#include <string>
#include <vector>

#include "perlayer/provider/TplProvider.h"

namespace perlayer {

class TPlBoList;

class TplCachableProvider : public TplProvider {
  TCLASS(TplCachableProvider, TplProvider)
 public:
  // Also known to the layer's settings, which dispose of it when the making fails.
  TplPerObject* NewObject(TObject* ARetainer) override;
  // The object with that short text of the code list that the provider's table is, or nullptr.
  TplPerObject* GetByCode(TObject* ARetainer, const std::string& ACode, bool AIncludeSubclasses);

  // The list that keeps the objects; nullptr takes it back. Raises "Not implemented yet: %s".
  void SetFetchBufferList(TPlBoList* AList);
  virtual TPlBoList* GetFetchBufferList() { return FFetchBufferList; }
  virtual void AddToCache(TplPerObject*) {}
  virtual void CheckCacheSize() {}
  void ClearCache(int /*AFrom*/) {}
  bool CatalogueExitstInGlobalCache(const std::string&) { return false; }
  // The object while it is cached, without a reference.
  virtual TplPerObject* TakeObject(const std::string&) { return nullptr; }
  // Read what is not in the cache: by IDs, or by a condition (SQL) that finds those IDs; nothing
  // while the cache is off. A class whose sets are read at once does that in ReadInCache.
  void ReadSingleValueInCache(const std::string&) {}
  void ReadValuesInCache(const std::vector<std::string>& AIDs);
  void ReadFetchSpecInCache(const std::string& ASpec, const std::vector<std::string>& AIDs);
  virtual void ReadInCache(const std::string& /*ASpec*/, const std::vector<std::string>& /*AIDs*/) {
  }
  bool DeleteFromCache(TplPerObject*) { return false; }
  TplPerObject* ObjectCachedWithAttrValue(const std::string&, const std::string&) {
    return nullptr;
  }

  // Off for the length of a reload.
  bool aiCacheEnabled() const { return FCacheEnabled; }
  void aiCacheEnabled(bool enabled) { FCacheEnabled = enabled; }

 private:
  void ReadSet(const std::string& condition, const std::vector<std::string>& ids);

  TPlBoList* FFetchBufferList = nullptr;  // the application's, which keeps this provider by it
  bool FCacheEnabled = true;
};

}  // namespace perlayer

#include "perlayer/provider/TplCachableProvider.h"

#include "perlayer/corekit/TISifranti.h"
#include "perlayer/foundation/BoMessageDlg.h"

namespace perlayer {

TplPerObject* TplCachableProvider::NewObject(TObject* ARetainer) {
  TplPerObject* object = TplProvider::NewObject(ARetainer);
  PerLayerSettings()->AddNewlyCreatedCachableObject(object);
  return object;
}

TplPerObject* TplCachableProvider::GetByCode(TObject* ARetainer, const std::string& ACode,
                                             bool AIncludeSubclasses) {
  const std::string table = GetTableName();
  if (!Sifranti().ExistsShortDesc(table, ACode, false)) return nullptr;
  return GetObject(ARetainer, Sifranti().ShortDescToCode(table, ACode), AIncludeSubclasses);
}

void TplCachableProvider::ReadValuesInCache(const std::vector<std::string>& AIDs) {
  if (FCacheEnabled) ReadSet("", AIDs);
}

void TplCachableProvider::ReadFetchSpecInCache(const std::string& ASpec,
                                               const std::vector<std::string>& AIDs) {
  if (FCacheEnabled && !ASpec.empty()) ReadSet(ASpec, AIDs);
}

void TplCachableProvider::ReadSet(const std::string& condition,
                                  const std::vector<std::string>& ids) {
  if (ids.size() == 1 && !ids[0].empty()) return ReadSingleValueInCache(ids[0]);
  ReadInCache(condition, ids);
}

void TplCachableProvider::SetFetchBufferList(TPlBoList* AList) {
  if (AList != nullptr) NotImplemented("TplCachableProvider.SetFetchBufferList");
}

}  // namespace perlayer

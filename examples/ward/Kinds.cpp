#include "Kinds.h"

#include "Discharge.h"
#include "perlayer/platform/Format.h"
#include "perlayer/provider/TplProviderList.h"

namespace ward {

TplProvider* ProviderOf(const TWardTable& table) {
  TplProvider* provider =
      TplProvider::GetProviderList()->GetProviderFor(Format("Tpo%s", table.name));
  Assert(provider != nullptr, "a table of the ward has no class");
  return provider;
}

THold<> FetchObject(const TWardTable& table, const std::string& id) {
  TplProvider* provider = ProviderOf(table);
  THold<> object(provider, id);
  if (auto* const discharge = As<TpoDischarge>(object.Get())) discharge->LoadLetter();
  if (object) return object;
  const bool deactivated =
      provider->ExistsInDatabase(id) == TIObjectExistsInDatabaseResult::edDeleted;
  throw Exception(
      Format(deactivated ? "%s %s is deactivated" : "there is no %s %s", KindName(table), id));
}

THold<TPlBoList> FetchedList(TplProvider* provider, const std::string& condition) {
  const TOwned<TScopeRetainer> fetcher = Make<TScopeRetainer>();
  TPlBoList* list = provider->FetchObjectList(fetcher.Get(), condition, "", true);
  THold<TPlBoList> hold(list);
  list->Release(fetcher.Get());
  return hold;
}

}  // namespace ward

// TplProvider: fetching lists.

#include "perlayer/list/TPlBoList.h"
#include "perlayer/list/TplBOListWithSubClass.h"
#include "perlayer/provider/FetchSteps.h"
#include "perlayer/provider/TplProvider.h"
#include "perlayer/reclaim/TplGlobalDictionary.h"

namespace perlayer {

TPlBoList* TplProvider::GetObjectList(TObject* ARetainer) {
  return New<TPlBoList>(this, ARetainer);
}

void TplProvider::InternalFetchObjectList(TPlBoList* AboList, const std::string& AFetchSpec,
                                          const std::string& AOrder, bool AbIncludeSubClasses) {
  const TAlive alive(AboList);
  const TOwned<TIQuery> query = Make<TIQuery>();
  GetQuery(query.Get());
  FetchSpecToSQL(query.Get(), AFetchSpec, AOrder);
  query->SetQueryAllRecords(true);
  AboList->LoadFromDataSet(query.Get(), AbIncludeSubClasses);
  if (alive) AboList->OrderBy(AOrder);
  if (alive) AboList->SetFetchSpec(AFetchSpec);
}

// The list is the caller's; when the fetch fails nobody has it.
TPlBoList* TplProvider::FillList(TPlBoList* list, const TFetch& fetch, const std::string& order) {
  const TAlive alive(list);
  const TFetchFailure failure;
  try {
    InternalFetchObjectList(list, fetch.condition, order, fetch.includeSubclasses);
    if (alive) GlobalDictionary()->ConsultDictionaryForList(list, fetch.retainer);
  } catch (...) {
    if (alive) failure.LetGo(list, fetch.retainer);
    throw;
  }
  return alive ? list : nullptr;
}

TPlBoList* TplProvider::FetchObjectList(TObject* ARetainer, const std::string& FetchSpec,
                                        const std::string& Order, bool bIncludeSubclasses) {
  return FillList(GetObjectList(ARetainer), {ARetainer, FetchSpec, bIncludeSubclasses}, Order);
}

TplBOListWithSubClass* TplProvider::FetchObjectListWithSubClass(TObject* ARetainer,
                                                                const std::string& FetchSpec,
                                                                const std::string& Order,
                                                                bool bIncludeSubclasses) {
  return static_cast<TplBOListWithSubClass*>(FillList(New<TplBOListWithSubClass>(this, ARetainer),
                                                      {ARetainer, FetchSpec, bIncludeSubclasses},
                                                      Order));
}

TPlBoList* TplProvider::FetchObjectListWithReplacementSELECTandFROM(
    TObject* ARetainer, const std::string& FetchSpec, const std::string& Order,
    bool bIncludeSubclasses, const std::string& AReplacementSELECT,
    const std::string& AReplacementFROM) {
  FReplacementSELECT = AReplacementSELECT;
  FReplacementFROM = AReplacementFROM;
  return TryFinally(
      [&] { return FetchObjectList(ARetainer, FetchSpec, Order, bIncludeSubclasses); },
      [&] {
        FReplacementSELECT.clear();
        FReplacementFROM.clear();
      });
}

TPlBoList* TplProvider::GetListFor(TObject* ARetainer, const std::string& sAttrName,
                                   const std::string& sAttrValue, const std::string& sOrder,
                                   bool bIncludeSubclasses) {
  return FetchObjectList(ARetainer, sAttrName + "='" + sAttrValue + "'", sOrder,
                         bIncludeSubclasses);
}

TPlBoList* TplProvider::FetchObjectListFromIDList(TObject* ARetainer, const TStringList* AIDList,
                                                  int AMaxObjectsInOneFetch) {
  TPlBoList* const result = GetObjectList(ARetainer);
  const TAlive alive(result);
  const TFetchFailure failure;
  try {
    std::string column = GetIDAttrName();
    if (!FTablePrefix.empty()) column = FTablePrefix + "." + column;
    const int count = AIDList->Count();
    for (int i = 0; alive && i < count;) {
      const int end =
          AMaxObjectsInOneFetch > 0 ? std::min(count, i + AMaxObjectsInOneFetch) : count;
      std::string condition = column + " in ( ";
      for (int first = i; i < end; ++i) {
        if (i > first) condition += ", ";
        condition += AIDList->Strings(i);
      }
      TPlBoList* const part = FetchObjectList(this, condition + " ) ", "", true);
      const TAlive partAlive(part);
      TryFinally(
          [&] {
            if (alive) result->UnionWithList(part, "");
          },
          [&] {
            if (partAlive) part->Release(this);
          });
    }
  } catch (...) {
    if (alive) failure.LetGo(result, ARetainer);
    throw;
  }
  return alive ? result : nullptr;
}

void TplProvider::ReloadObjectsInGlobalDictionary(
    TDataSet* ADataSet, const TIOnReloadObjectsInDictionary& AOnReloadEvent,
    const TIOnReloadObjectsInDictionary& AOnFetchEvent) {
  constexpr int kObjectsInOneFetch = 100;
  if (!ADataSet->Active()) return;
  const auto reload = [&] {
    const TOwned<TStringList> ids = Make<TStringList>();
    for (ADataSet->First(); !ADataSet->Eof(); ADataSet->Next()) {
      TObjectSql sql(ADataSet);
      TplProvider* const provider = GetProviderFromDataSet(ADataSet, sql.query);
      Assert(provider != nullptr, "Wrong class in provider");
      TplPerObject* const object =
          GlobalDictionary()->TakeObject(provider, RowText(ADataSet, GetIDAttrName()));
      if (object == nullptr) continue;
      ids->Add(object->GetGID());
      if (AOnReloadEvent) AOnReloadEvent(object);
    }
    if (ids->Count() == 0) return;
    TPlBoList* const list = FetchObjectListFromIDList(this, ids.Get(), kObjectsInOneFetch);
    const TAlive alive(list);
    TryFinally(
        [&] {
          for (int i = 0; AOnFetchEvent && alive && i < list->Count(); ++i) {
            if (TplPerObject* const object = list->Get(i)) AOnFetchEvent(object);
          }
        },
        [&] {
          if (alive) list->Release(this);
        });
  };
  ADataSet->DisableControls();
  TryFinally(
      [&] {
        const TBookmark bookmark = ADataSet->GetBookmark();
        TryFinally(reload, [&] {
          if (ADataSet->BookmarkValid(bookmark)) ADataSet->GotoBookmark(bookmark);
        });
      },
      [&] { ADataSet->EnableControls(); });
}

}  // namespace perlayer

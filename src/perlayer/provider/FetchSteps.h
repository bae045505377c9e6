#pragma once
// What the fetches of TplProvider have in common. Private to its source files.

#include <utility>

#include "perlayer/corekit/TIQuery.h"
#include "perlayer/object/TplPerObject.h"
#include "perlayer/reclaim/TplGlobalDictionary.h"

namespace perlayer {

// Puts a switch back at the end of a scope.
template <class T>
class TRestore {
 public:
  TRestore(T& variable, T value)
      : FVariable(variable), FOld(std::exchange(variable, std::move(value))) {}
  ~TRestore() { FVariable = std::move(FOld); }
  TRestore(const TRestore&) = delete;
  TRestore& operator=(const TRestore&) = delete;

 private:
  T& FVariable;
  T FOld;
};

// The query that GetProviderFromDataSet is asked with. Another one that it puts there is freed at
// the end of the scope, also when it raises.
struct TObjectSql {
  explicit TObjectSql(TDataSet* ds) : source(As<TIQuery>(ds)), query(source) {}
  ~TObjectSql() {
    if (query != source) FreeAndNil(query);
  }
  TObjectSql(const TObjectSql&) = delete;
  TObjectSql& operator=(const TObjectSql&) = delete;

  TIQuery* const source;
  TIQuery* query;
};

// A fetch, which may fail and leave the map off: who ends by that leaves the map all the same.
class TFetchFailure {
 public:
  TFetchFailure() : FUse(GlobalDictionary()->aiUSEDICTIONARY()) {}
  void LetGo(TplDomainObject* made, TObject* retainer) const {
    const TUseDictionary use(FUse);
    made->Release(retainer);
  }

 private:
  const bool FUse;
};

// Runs a step of a fetch. When it raises, the object, which nobody has been given yet, is let go:
// the one that the variable holds by then.
template <class TStep>
void LetGoOnFailure(TplPerObject* const& object, TObject* retainer, TStep&& step) {
  const TplPerObject* const before = object;
  const TAlive alive(before);
  const TFetchFailure failure;
  try {
    step();
  } catch (...) {
    if (object != before || alive) failure.LetGo(object, retainer);
    throw;
  }
}

}  // namespace perlayer

// TplGlobalDictionary: what has been fetched and what is in memory become one.

#include "perlayer/list/TPlBoList.h"
#include "perlayer/platform/Format.h"
#include "perlayer/provider/TplProvider.h"
#include "perlayer/reclaim/TIPerLayerStatistics.h"
#include "perlayer/reclaim/TplGlobalDictionary.h"

namespace perlayer {

// The twin's values become the entry's, and the entry comes where the twin was: put(object) is told
// who AHolder holds now. The entry is held before the twin goes, which may have been the last to
// hold what holds it. Whatever is raised, what was put last is held.
template <class TPut>
void TplGlobalDictionary::Merge(TplPerObject* AEntry, TplPerObject* ATwin, TObject* AHolder,
                                TPut&& put) {
  if (AEntry == ATwin) return;
  const TAlive alive(AEntry);
  TIPerLayerStatistics* statistics = PerLayerStatistics();
  const bool events = statistics->aiEnableEvents();
  statistics->aiEnableEvents(false);
  TryFinally(
      [&] {
        // The switch has no guard: what raises in between leaves it off, and whoever catches that
        // knows that the object may not be what its row is.
        SetUSEDICTIONARY(false);
        AEntry->AssignFieldswithReloadFlag(ATwin, true);
        if (alive) {
          AEntry->AddRef(AHolder);
          put(AEntry);
          ATwin->Release(AHolder);
        }
        SetUSEDICTIONARY(true);
      },
      [&] { statistics->aiEnableEvents(events); });
  if (!alive) {
    AddPerObject(ATwin->aiProvider(), ATwin, AHolder);
    return;
  }
  // What the twin did as it went may have put another object there.
  TplPerObject* live = TakeObject(AEntry->aiProvider(), AEntry->GetGID());
  if (live == nullptr || live == AEntry) return;
  live->AddRef(AHolder);
  put(live);
  AEntry->Release(AHolder);
}

void TplGlobalDictionary::ConsultDictionary(TObject* ARetainer, TplPerObject*& AObject) {
  if (!FUSEDICTIONARY || AObject == nullptr || AObject->aiProvider() == nullptr) return;
  const std::string key = Key(AObject->aiProvider(), AObject->GetGID());
  TplPerObject* entry = Live(key, {});
  if (entry == nullptr) {
    Enter(key, AObject, ARetainer);
  } else {
    Merge(entry, AObject, ARetainer, [&](TplPerObject* object) { AObject = object; });
  }
}

void TplGlobalDictionary::ConsultDictionaryForList(TPlBoList*& AList, TObject* ARetainer) {
  if (!FUSEDICTIONARY || AList == nullptr || AList->Count() == 0) return;
  TPlBoList* list = AList;
  TplProvider* provider = list->aiProvider();
  if (provider == nullptr) return;
  const TAlive alive(list);
  // By the list's provider, though a member may have another key by its own.
  std::string key = provider->GetTableNameKeyForDict();
  const std::size_t beginning = key.size();
  const int count = list->Count();
  for (int i = 0; alive && i < count && i < list->Count(); ++i) {
    TplPerObject* member = list->Get(i);
    if (member == nullptr) continue;
    key.replace(beginning, std::string::npos, member->GetGID());
    TplPerObject* entry = Live(key, {});
    if (entry == nullptr) {
      if (member->aiProvider() == provider) {
        Enter(key, member, ARetainer);
      } else {
        AddPerObject(provider, member, ARetainer);
      }
      continue;
    }
    if (!member->InheritsFrom(entry->ClassType()) && !entry->InheritsFrom(member->ClassType())) {
      throw Exception(
          Format("TplGlobalDictionary.ConsultDictionaryForList: Wrong class while putting fetched "
                 "object into global dictionary: Object in dictionary is %s and fetched object is "
                 "%s!",
                 entry->ClassName(), member->ClassName()));
    }
    Merge(entry, member, list, [&](TplPerObject* object) { list->Put(i, object); });
  }
}

}  // namespace perlayer

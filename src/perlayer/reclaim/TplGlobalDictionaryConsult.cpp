// TplGlobalDictionary: what has been fetched and what is in memory become one.

#include <algorithm>

#include "perlayer/list/TPlBoList.h"
#include "perlayer/platform/Format.h"
#include "perlayer/provider/TplProvider.h"
#include "perlayer/reclaim/TIPerLayerStatistics.h"
#include "perlayer/reclaim/TplGlobalDictionary.h"

namespace perlayer {

// The twin's values become the entry's, and the entry comes where the twin was: put(from, to) puts
// one in the other's place, unless that is gone, and answers whether it did. The entry is held
// before the twin goes, which may have been the last to hold what holds it. Whatever is raised,
// what was put last is held. What the entry asks as it is copied into may end any of the three.
template <class TPut>
void TplGlobalDictionary::Merge(TplPerObject* AEntry, TplPerObject* ATwin, TObject* AHolder,
                                TPut&& put) {
  if (AEntry == ATwin) return;
  const TAlive alive(AEntry);
  const TAlive twinAlive(ATwin);
  const TAlive holderAlive(AHolder);
  const auto replace = [&](TplPerObject* from, TplPerObject* to) {
    to->AddRef(AHolder);
    (put(from, to) ? from : to)->Release(AHolder);
  };
  TIPerLayerStatistics* statistics = PerLayerStatistics();
  const bool events = statistics->aiEnableEvents();
  statistics->aiEnableEvents(false);
  TryFinally(
      [&] {
        // The switch has no guard: what raises in between leaves it off, and whoever catches that
        // knows that the object may not be what its row is.
        SetUSEDICTIONARY(false);
        AEntry->AssignFieldswithReloadFlag(ATwin, true);
        if (alive && twinAlive && holderAlive) replace(ATwin, AEntry);
        SetUSEDICTIONARY(true);
      },
      [&] { statistics->aiEnableEvents(events); });
  // What has been called may have put another object there, or have left none.
  TplPerObject* const now = alive ? AEntry : twinAlive ? ATwin : nullptr;
  if (now == nullptr) return;
  TplPerObject* live = TakeObject(now->aiProvider(), now->GetGID());
  if (live == nullptr && now == ATwin) {
    AddPerObject(now->aiProvider(), now, holderAlive ? AHolder : nullptr);
  } else if (live != nullptr && live != now && holderAlive) {
    replace(now, live);
  }
}

void TplGlobalDictionary::ConsultDictionary(TObject* ARetainer, TplPerObject*& AObject) {
  if (!FUSEDICTIONARY || AObject == nullptr || AObject->aiProvider() == nullptr) return;
  const std::string key = Key(AObject->aiProvider(), AObject->GetGID());
  if (TryEnter(key, AObject, ARetainer)) return;
  TplPerObject* entry = Live(key, {});
  if (entry == nullptr) {
    Enter(key, AObject, ARetainer);
  } else {
    const TAlive alive(AObject);
    TplPerObject* const twin = AObject;
    Merge(entry, twin, ARetainer, [&](TplPerObject*, TplPerObject* to) {
      AObject = to;
      return true;
    });
    if (AObject == twin && !alive) AObject = nullptr;
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
  constexpr int kSample = 32;
  int entered = 0;
  for (int i = 0; alive && i < count && i < list->Count(); ++i) {
    TplPerObject* member = list->Get(i);
    if (member == nullptr) continue;
    key.replace(beginning, std::string::npos, member->GetGID());
    const bool ownKey = member->aiProvider() == provider;
    if (ownKey && TryEnter(key, member, ARetainer)) {
      // A list that begins with new ones goes on with new ones.
      if (++entered == kSample && i + 1 == kSample) Expect(count - kSample);
      continue;
    }
    TplPerObject* entry = Live(key, {});
    if (entry == nullptr) {
      if (ownKey) {
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
    const int members = list->Count();
    Merge(entry, member, list, [&](TplPerObject* from, TplPerObject* to) {
      const int place = i < list->Count() && list->Get(i) == from ? i : list->IndexOf(from);
      if (place >= 0) list->Put(place, to);
      return place >= 0;
    });
    // Members may have gone meanwhile; those that come a second time are entries already.
    if (alive) i = std::max(-1, i - std::max(0, members - list->Count()));
  }
}

}  // namespace perlayer

#pragma once
// What LayerModel_test knows of lists and objects: maps and vectors beside the real ones, who holds
// whom by them, and what they make of a step that has failed half way.

#include <gtest/gtest.h>

#include <array>
#include <list>
#include <random>

#include "perlayer/database/TplDatabaseProvider.h"
#include "perlayer/foundation/FoundationState.h"
#include "perlayer/foundation/TplDomainNotifier.h"
#include "perlayer/reclaim/TplGlobalDictionary.h"
#include "support/Departments.h"
#include "support/ModelTest.h"
#include "support/PlainSort.h"
#include "support/TransactionModel.h"

namespace perlayer {

inline constexpr int kIds = 12;  // some keys begin like others
inline constexpr std::array kAttributes = {"PARENT_ID", "NAME", "PARTNER"};
using TIds = std::vector<std::string>;

// Who holds the lists, and hears of them; now and then it refuses to.
class TListener : public TplDomainNotifier {
  TCLASS(TListener, TplDomainNotifier)
 public:
  void DoNotifyAction(TplDomainObject*, TIBaseObjectAction ActionType, TObject* Data,
                      TINotifiedObjectList*) override {
    Heard.push_back(std::string(BaseObjectActionName(ActionType)) + (Data == nullptr ? "" : "*"));
    if (Refuses) throw ELockException("refused");
  }
  std::vector<std::string> Heard;
  bool Refuses = false;
};

struct TEntity;

struct TListModel {
  explicit TListModel(TPlBoList* list) : object(list), handle(list) {}
  TPlBoList* object;
  TObjectHandle handle;
  std::vector<TEntity*> entries;
  int cursor = 0;
  std::size_t filter = 0;
  std::string order;
  std::string condition;  // that it was fetched with
  bool isStale = false;   // to be read anew
  bool isHeard = false;   // held by the listener

  int Count() const { return static_cast<int>(entries.size()); }
  TEntity* At(int index) const { return entries[static_cast<std::size_t>(index)]; }
  int IndexOf(const TEntity* entity) const {
    const auto found = std::find(entries.begin(), entries.end(), entity);
    return found == entries.end() ? -1 : static_cast<int>(found - entries.begin());
  }
  TEntity* ById(const std::string& id) const;
  bool Shows(const TEntity& entity) const;
  // The entry at the cursor, by the rule for what is before the first and behind the last one.
  int Current() {
    if (entries.empty()) return -1;
    if (cursor == Count() && !Shows(*entries.back())) {
      Go(-1);
      return Count() - 1;
    }
    return cursor == -1 ? 0 : std::min(cursor, Count() - 1);
  }
  bool ShowsCurrent() {
    const int current = Current();
    return current >= 0 && Shows(*At(current));
  }
  void Go(int step) {
    const int limit = step > 0 ? Count() : -1;
    if (cursor != limit && (step < 0 || cursor < limit)) cursor += step;
    while (cursor >= 0 && cursor < Count() && !Shows(*At(cursor))) cursor += step;
  }
};

struct TEntity : TObjectModel {
  TpoDepartment* object = nullptr;
  TObjectHandle handle;
  bool isKnown = false;          // to the dictionary
  std::map<TObject*, int> held;  // by holders of the test's own
  TEntity* parent = nullptr;
  TEntity* partner = nullptr;
  TListModel* parts = nullptr;
  mutable bool isAsked = false;
};

inline TEntity* TListModel::ById(const std::string& id) const {
  const auto isIt = [&](const TEntity* entity) { return entity->id == id; };
  const auto found = std::find_if(entries.begin(), entries.end(), isIt);
  return found == entries.end() ? nullptr : *found;
}

inline double Number(const std::string& text) { return text.empty() ? 0 : std::stod(text); }

struct TFilterCase {
  const char* text;
  bool (*accepts)(const TEntity&);
};
inline constexpr TFilterCase kFilters[] = {
    {"", [](const TEntity&) { return true; }},
    {"NAME <> 'B'", [](const TEntity& e) { return e.value.at("NAME") != "B"; }},
    {"PARENT_ID > 5", [](const TEntity& e) { return Number(e.value.at("PARENT_ID")) > 5; }},
    {"(ID <= 8) AND (PARTNER LIKE 'a')",
     [](const TEntity& e) { return Number(e.id) <= 8 && e.value.at("PARTNER") == "A"; }}};

inline bool TListModel::Shows(const TEntity& entity) const {
  return !entity.object->Hidden && kFilters[filter].accepts(entity);
}

using TCompare = int (*)(const TEntity*, const TEntity*);
template <class T>
int Sign(const T& a, const T& b) {
  return a < b ? -1 : b < a ? 1 : 0;
}
inline int ByName(const TEntity* a, const TEntity* b) {
  return Sign(a->value.at("NAME"), b->value.at("NAME"));
}
struct TOrderCase {
  const char* text;
  TCompare compare;
};
inline constexpr TOrderCase kOrders[] = {
    {"NAME", ByName},
    {"-PARENT_ID,NAME",
     [](const TEntity* a, const TEntity* b) {
       const int parent = Sign(Number(b->value.at("PARENT_ID")), Number(a->value.at("PARENT_ID")));
       return parent != 0 ? parent : ByName(a, b);
     }},
    {"PARTNER,-ID", [](const TEntity* a, const TEntity* b) {
       const int partner = Sign(a->value.at("PARTNER"), b->value.at("PARTNER"));
       return partner != 0 ? partner : Sign(Number(b->id), Number(a->id));
     }}};

// By no order at all equal entries are swapped like any.
inline void Sort(std::vector<TEntity*>& entries, const std::string& order) {
  TCompare compare = [](const TEntity*, const TEntity*) { return 0; };
  for (const TOrderCase& known : kOrders) {
    if (order == known.text) compare = known.compare;
  }
  PlainQuickSort(entries, compare);
}

class TLayerModelState : public TDepartments, public testing::WithParamInterface<unsigned> {
 public:
  TLayerModelState() {
    TpoDepartment::EndMayFail = false;
    GlobalDictionary()->aiUSEDICTIONARY(true);
    FOutside =
        Make<TIDatabase>("OUTSIDE", std::make_unique<TSqliteSession>(FDir.File("hospital.db")));
    FListener = New<TListener>(nullptr, FForm.Get());
    for (TOwned<TScopeRetainer>& holder : FHolders) holder = Make<TScopeRetainer>();
    FTransaction.IsModified = [](const TObjectModel& object) {
      return IsModified(static_cast<const TEntity&>(object));
    };
  }

  int Below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(FRandom); }
  bool Rarely(int one) { return Below(one) == 0; }
  std::string SomeId() { return std::to_string(1 + Below(kIds)); }
  std::string SomeName() { return std::string(1, static_cast<char>('A' + Below(10))); }
  std::string SomeValue(const std::string& attribute) {
    return Rarely(8) ? "" : attribute == "PARENT_ID" ? SomeId() : SomeName();
  }
  TObject* SomeHolder() { return FHolders[static_cast<std::size_t>(Below(kHolders))].Get(); }
  template <class T>
  T& Some(std::list<T>& all) {
    return *std::next(all.begin(), Below(static_cast<int>(all.size())));
  }

  // --- the model ---

  static bool IsModified(const TEntity& entity) {
    if (entity.modified || entity.isAsked) return entity.modified;
    entity.isAsked = true;
    bool modified = false;
    if (entity.parts != nullptr) {
      const auto& parts = entity.parts->entries;
      modified = std::any_of(parts.begin(), parts.end(),
                             [](const TEntity* part) { return IsModified(*part); });
    }
    if (!modified && entity.partner != nullptr) modified = IsModified(*entity.partner);
    entity.isAsked = false;
    return modified;
  }
  std::map<TObject*, int> HoldersOf(const TEntity& entity) const {
    std::map<TObject*, int> holders = entity.held;
    for (const TListModel& list : FLists) {
      const auto entries = std::count(list.entries.begin(), list.entries.end(), &entity);
      if (entries > 0) holders[list.object] += static_cast<int>(entries);
    }
    for (const TEntity& other : FLive) {
      if (other.parent == &entity) ++holders[other.object];
      if (other.partner == &entity) ++holders[other.object];
    }
    const int told = FTransaction.References(entity);
    if (told > 0) holders[dbProvider()] += told;
    return holders;
  }
  // Whom nobody holds is gone, and with it what it holds.
  void Collect() {
    for (auto entity = FLive.begin(); entity != FLive.end();) {
      if (!HoldersOf(*entity).empty()) {
        ++entity;
        continue;
      }
      if (entity->parts != nullptr) Forget(entity->parts);
      FGone.push_back(entity->handle);
      FLive.erase(entity);
      entity = FLive.begin();
    }
  }
  void Forget(TListModel* list) {
    FGone.push_back(list->handle);
    FLists.remove_if([&](const TListModel& other) { return &other == list; });
  }
  template <class T>
  static bool Has(const std::list<T>& all, const T* one) {
    return std::any_of(all.begin(), all.end(), [&](const T& other) { return &other == one; });
  }
  TEntity* Known(const std::string& id) {
    for (TEntity& entity : FLive) {
      if (entity.isKnown && entity.id == id) return &entity;
    }
    return nullptr;
  }
  TEntity& NewEntity(TplPerObject* object) {
    TEntity& entity = FLive.emplace_back();
    entity.object = static_cast<TpoDepartment*>(object);
    entity.handle = object;
    entity.id = object->GetGID();
    return entity;
  }
  // The object of that row that is live, or is now.
  TEntity& Given(const std::string& id, TplPerObject* object) {
    TEntity* entity = Known(id);
    if (object == nullptr || object->GetGID() != id || (entity == nullptr && !HasRow(id))) {
      throw Exception("no object of " + id);
    }
    if (entity == nullptr) {
      entity = &NewEntity(object);
      entity->isNew = false;
      entity->isKnown = true;
      entity->Load(Rows()[id]);
    }
    EXPECT_EQ(entity->object, object) << "a second live object of " << id;
    return *entity;
  }
  TEntity& Created(TplPerObject* object) {
    TEntity& entity = NewEntity(object);
    for (const char* name : kAttributes) entity.value[name] = "";
    entity.old = entity.value;  // the ID was written
    entity.changed = true;
    EXPECT_TRUE(entity.IsTemporary());
    return entity;
  }
  // A row was fetched: an object that nobody edits takes its values.
  void Fetched(const std::string& id) {
    TEntity* entity = Known(id);
    if (entity != nullptr && !IsModified(*entity)) entity->Load(Rows()[id]);
  }
  TTransactionModel::TRows& Rows() { return FTransaction.rows; }
  bool HasRow(const std::string& id) { return Rows().count(id) != 0; }

  // What the database has, in its order.
  std::vector<std::pair<std::string, TModelValues>> Select(const std::string& condition) {
    const TOwned<TIQuery> query = Make<TIQuery>();
    query->DatabaseName(TcmpClassMap::kDatabaseName);
    query->SQLText("select ID, PARENT_ID, NAME, PARTNER\nfrom OMRA.DEPARTMENT\nwhere\n" +
                   condition);
    std::vector<std::pair<std::string, TModelValues>> rows;
    for (query->Open(); !query->Eof(); query->Next()) {
      rows.emplace_back(query->Fields(0)->AsString(), TModelValues());
      for (const char* name : kAttributes) {
        rows.back().second[name] = query->FieldByName(name)->AsString();
      }
    }
    return rows;
  }
  TIds SelectIds(const std::string& condition) {
    TIds ids;
    for (const auto& [id, row] : Select(condition)) ids.push_back(id);
    return ids;
  }

  // --- trouble ---

  enum class TEnd { done, raised, troubled };
  enum class TTrouble { list, fetch, edit };

  // What the action fetches it puts into FObject.
  template <class TAction>
  TEnd Do(TTrouble trouble, TAction&& action) {
    static constexpr const char* kCalls[] = {"Take", "Step", "Layout", "Cell",
                                             "CanAssignFieldsWithReloadFlag"};
    const bool isFetch = trouble == TTrouble::fetch;
    FScarce = Rarely(8);
    if (isFetch && Rarely(10)) Faults.FailOn(kCalls[Below(5)], Below(4));
    FListener->Heard.clear();
    FListener->Refuses = trouble == TTrouble::list && Rarely(10);
    FRaised.clear();
    FObject = nullptr;
    TEnd end = TEnd::troubled;
    try {
      const TOutOfMemory scarce(FScarce ? Below(isFetch ? 60 : 4) : -1, isFetch);
      action();
      end = TEnd::done;
    } catch (const EPlannedFault&) {
    } catch (const std::bad_alloc&) {
    } catch (const ELockException&) {
    } catch (const Exception& e) {
      end = TEnd::raised;
      FRaised = e.Message();
    }
    Faults.FailAt(0);
    FListener->Refuses = false;
    if (end == TEnd::troubled) TakeOver(trouble);
    return end;
  }
  // What a failed step may have left either way. A fetch changes no value of an object or all of
  // them, and a step on a list none.
  void TakeOver(TTrouble trouble) {
    ++FTroubles;
    GlobalDictionary()->aiUSEDICTIONARY(true);
    FForced = DefaultSortParam();
    FLists.remove_if([](const TListModel& list) { return !list.handle.IsAlive(); });
    FLive.remove_if([](const TEntity& entity) {
      EXPECT_TRUE(entity.handle.IsAlive() || entity.held.empty()) << entity.id;
      return !entity.handle.IsAlive();
    });
    const auto member = [&](TplPerObject* object) -> TEntity* {
      if (object == nullptr) return nullptr;
      for (TEntity& entity : FLive) {
        if (entity.object == object) return &entity;
      }
      return object->aiNewObject() ? &Created(object) : &Given(object->GetGID(), object);
    };
    for (TEntity& entity : FLive) {  // what is found on the way comes at the end
      entity.parent = member(entity.object->FParent);
      entity.partner = member(entity.object->FPartner);
      entity.parts = ListOf(entity.object->FParts);
      for (TListModel& list : FLists) {
        list.entries.clear();
        for (TplPerObject* object : *list.object) list.entries.push_back(member(object));
        list.cursor = list.object->NSCurrIndex();
        list.order = list.object->aiOrder();
        list.condition = list.object->aiFetchSpec();
        list.isStale = list.object->GetNeedToRefresh();
      }
    }
    for (TEntity& entity : FLive) TakeOver(entity, trouble);
  }
  void TakeOver(TEntity& entity, TTrouble trouble) {
    TpoDepartment* object = entity.object;
    const TModelValues before = entity.value;
    for (const char* name : kAttributes) {
      entity.value[name] = object->GetAttrValue(name);
      entity.old[name] = object->GetAttrOldValue(name);
    }
    EXPECT_TRUE(entity.value == before || trouble == TTrouble::edit ||
                (trouble == TTrouble::fetch && entity.value == Rows()[entity.id]))
        << entity.id;
    entity.changed = object->Store().DataModified();
    entity.whole = object->Store().DisableOptimizingUpdateQueries();
    entity.modified = IsEdited(object);
    // A reload may fail once it has told that the row is gone.
    EXPECT_TRUE(entity.marked == object->aiObjectMarkedDeleted() ||
                (trouble == TTrouble::fetch && !HasRow(entity.id)))
        << entity.id;
    entity.marked = object->aiObjectMarkedDeleted();
    entity.id = object->GetGID();
    const bool isKnown = GlobalDictionary()->TakeObject(FDepartments, entity.id) == object;
    EXPECT_TRUE(isKnown || !entity.isKnown) << entity.id;
    entity.isKnown = isKnown;
  }
  static bool IsEdited(const TplPerObject* object) {
    const TIPersistentObjectState state = object->GetEditState();
    return state == TIPersistentObjectState::posEdit || state == TIPersistentObjectState::posInsert;
  }
  TListModel* ListOf(TPlBoList* object) {
    for (TListModel& list : FLists) {
      if (list.object == object) return &list;
    }
    return object == nullptr ? nullptr : &FLists.emplace_back(object);
  }

  static constexpr int kHolders = 3;
  std::mt19937 FRandom{GetParam()};
  TOwned<TIDatabase> FOutside;  // of another program, so to speak
  std::array<TOwned<TScopeRetainer>, kHolders> FHolders;
  TListener* FListener;
  TTransactionModel FTransaction;  // and the rows
  std::list<TEntity> FLive;
  std::list<TListModel> FLists;
  TEntity* FChosen = nullptr;
  std::vector<TObjectHandle> FGone;  // to be seen to be dead
  std::vector<TplPerObject*> FStrangers;
  std::string FForced;  // the order last forced on any list
  // Of the last step:
  TplPerObject* FObject = nullptr;
  std::string FRaised;
  bool FScarce = false;
  bool FWrote = false;
  int FTroubles = 0;
};

}  // namespace perlayer

// Random use of everything that keeps objects in memory, together: lists, relations, the identity
// map, transactions and a real database, against maps and vectors. Rows change from outside,
// statements fail, memory runs out, listeners refuse.
//
// The model says what is where: lists and variables hold objects, and so do a few holders of the
// test. Who holds an object follows from that, and so does who is still alive. After each step
// every object, list and entry of the map is compared. Where a step has failed half way, what may
// be either way is taken over as it is; who holds whom must add up all the same.

#include <gtest/gtest.h>

#include <variant>

#include "reclaim/LayerModelState.h"
#include "support/ModelTest.h"
#include "support/TestLog.h"

namespace perlayer {
namespace {

class TLayerModel : public TLayerModelState {
 public:
  // --- rows, fetching and letting go ---

  void ChangeRow() {
    if (FTransaction.Count() > 0) return;  // its writer would be in the way
    const auto outside = [&](const std::string& sql) {
      const TOwned<TIQuery> query = Make<TIQuery>();
      query->DatabaseName("OUTSIDE");
      query->SQLText(sql);
      query->ExecSQL();
    };
    const std::string id = SomeId();
    outside("delete from OMRA.DEPARTMENT where ID = " + id);
    Rows().erase(id);
    if (!Rarely(4)) {
      TModelValues& row = Rows()[id];
      for (const char* name : kAttributes) row[name] = SomeValue(name);
      outside("insert into OMRA.DEPARTMENT (ID, PARENT_ID, NAME, PARTNER) values (" + id + ", " +
              (row["PARENT_ID"].empty() ? "null" : row["PARENT_ID"]) + ", '" + row["NAME"] +
              "', '" + row["PARTNER"] + "')");
    }
    FOutside->Commit("outside");
    FTransaction.committed = Rows();
    FWrote = true;
  }
  void Get() {
    const std::string id = SomeId();
    TObject* holder = SomeHolder();
    const bool byRow = Rarely(3);
    const TEnd end = Do(TTrouble::fetch, [&] {
      FObject = byRow ? FDepartments->FetchObject(holder, "ID = " + id + " and ID > 0", false)
                      : FDepartments->GetObject(holder, id, true);
    });
    if (end == TEnd::troubled) return;
    const bool isThere = HasRow(id) || (!byRow && Known(id) != nullptr);
    EXPECT_EQ(FObject != nullptr, isThere);
    if (isThere && byRow) Fetched(id);
    if (isThere) ++Given(id, FObject).held[holder];
  }
  // What a fetch by name has found: in memory, in the order of the keys, or else in a row.
  TEntity* FoundByName(const std::string& name, TEnd end) {
    TIds ids;
    for (const TEntity& entity : FLive) {
      if (entity.isKnown && entity.value.at("NAME") == name) ids.push_back(entity.id);
    }
    if (!ids.empty()) return &Given(*std::min_element(ids.begin(), ids.end()), FObject);
    for (const auto& [id, row] : Rows()) {
      if (row.at("NAME") == name) ids.push_back(id);
    }
    EXPECT_EQ(end == TEnd::raised, ids.size() > 1) << FRaised;
    EXPECT_EQ(FObject != nullptr, ids.size() == 1);
    if (ids.size() != 1) return nullptr;
    Fetched(ids[0]);
    return &Given(ids[0], FObject);
  }
  void FetchByName() {
    const std::string name = SomeName();
    TObject* holder = SomeHolder();
    const TEnd end = Do(TTrouble::fetch, [&] {
      FObject = FDepartments->FetchObject(holder, "NAME = '" + name + "'", true);
    });
    if (end == TEnd::troubled) return;
    if (TEntity* entity = FoundByName(name, end)) ++entity->held[holder];
  }
  void Release(TEntity& entity) {
    TObject* holder = SomeHolder();
    const auto held = entity.held.find(holder);
    if (held == entity.held.end()) {
      if (Rarely(20)) entity.object->Release(holder);  // who holds nothing changes nothing
      return;
    }
    entity.object->Release(holder);
    if (--held->second == 0) entity.held.erase(held);
    Collect();
  }
  void Create() {
    if (FLive.size() > 18) return;
    TObject* holder = SomeHolder();
    Created(FDepartments->NewObject(holder)).held[holder] = 1;
  }
  // One that was made past the map does not disturb it; its reload is that of the live one.
  void Stranger() {
    if (!FStrangers.empty() && Rarely(2)) {
      TEntity* live = Known(FStrangers.back()->GetGID());
      if (live == nullptr || !live->isNew) {
        FStrangers.back()->Reload();
        // The mark of a row that is gone goes as any: the live object does not know of a reload.
        if (live != nullptr && !HasRow(live->id)) Mark(*live, true);
        if (live != nullptr) Reread(*live);
      }
      FStrangers.back()->Release(FForm.Get());
      return FStrangers.pop_back();
    }
    const TUseDictionary off(false);
    const std::string id = SomeId();
    TplPerObject* object = FDepartments->GetObject(FForm.Get(), id, true);
    EXPECT_EQ(object != nullptr, HasRow(id));
    if (object != nullptr) FStrangers.push_back(object);
  }

  // --- values ---

  void Edit(TEntity& entity) {
    const std::string name = kAttributes[static_cast<std::size_t>(Below(3))];
    const std::string value = SomeValue(name);
    const TEnd end = Do(TTrouble::edit, [&] { entity.object->SetAttrValue(name, value); });
    if (end == TEnd::done) entity.Edit(name, value);
  }
  void ChangeId(TEntity& entity) {
    const std::string id = SomeId();
    if (Known(id) != nullptr) return;
    const TEnd end = Do(TTrouble::edit, [&] { entity.object->SetAttrValue("ID", id); });
    if (end != TEnd::done) return;
    if (!entity.modified) entity.Touch();
    Renamed(entity, id);
    entity.isKnown = true;
  }
  static void Renamed(TEntity& entity, const std::string& id) {
    if (!entity.changed) entity.old = entity.value;
    entity.changed = true;
    entity.id = id;
  }
  void Dispose(TEntity& entity) {
    entity.object->DiposeNewlyCreatedMe();
    Renamed(entity, entity.object->GetGID());
    entity.isNew = true;
    entity.isKnown = false;
    EXPECT_TRUE(entity.IsTemporary());
  }
  void Cancel(TEntity& entity) {
    if (Rarely(4)) {
      entity.object->Touch();
      entity.Touch();
    }
    entity.object->CancelData();
    FTransaction.Cancel(entity);
  }
  void Hide(TEntity& entity) { entity.object->Hidden = Rarely(3); }
  void Reload(TEntity& entity) {
    const TEnd end = Do(TTrouble::fetch, [&] {
      if (entity.isKnown && Rarely(2)) {
        FDepartments->ReloadObjectInGlobalDictionary(entity.id, nullptr);
      } else {
        entity.object->Reload();
      }
    });
    if (end == TEnd::troubled) return;
    EXPECT_EQ(end == TEnd::raised, entity.isNew) << FRaised;
    if (end == TEnd::done) Reread(entity);
  }
  void Reread(TEntity& entity) {
    if (entity.isKnown && HasRow(entity.id)) return entity.Load(Rows()[entity.id]);
    entity.modified = false;
    if (!entity.isKnown) return;  // it is nobody's live object
    entity.marked = true;
    entity.changed = false;
  }

  // --- writing ---

  // Writes, and so does the model, which answers whether it has worked. Now and then the first
  // statement fails.
  template <class TAction, class TModelAction>
  bool Write(TAction&& action, TModelAction&& model) {
    FWrote = true;
    FTransaction.statementFails = Rarely(8);
    if (FTransaction.statementFails) Faults.FailOn("Step");
    const std::string message = Raised(action);
    Faults.FailAt(0);
    const bool done = model();
    EXPECT_EQ(message.empty(), done) << message;
    FTransaction.statementFails = false;
    EXPECT_EQ(dbProvider()->aiTransactionCount(), FTransaction.Count());
    Collect();
    return done;
  }
  void Save(TEntity& entity) {
    Write([&] { entity.object->SaveData(); }, [&] { return FTransaction.Save(entity); });
  }
  void Delete(TEntity& entity) {
    Write([&] { entity.object->DeleteObject(); }, [&] { return FTransaction.Delete(entity); });
  }
  void Mark(TEntity& entity) {
    const bool mark = !Rarely(3);
    entity.object->SetObjectMarkedDeleted(mark);
    Mark(entity, mark);
  }
  void Mark(TEntity& entity, bool mark) {
    if (entity.marked == mark) return;
    if (!entity.modified) entity.Touch();
    entity.marked = mark;
  }
  void Start() {
    if (FTransaction.Count() > 2) return;
    dbProvider()->StartTransaction("");
    FTransaction.Start();
  }
  void Commit() {
    if (FTransaction.Count() == 0) return;
    if (!Write([] { dbProvider()->Commit(""); }, [&] { return FTransaction.Commit(); })) Rollback();
  }
  void Rollback() {
    Write([] { dbProvider()->Rollback(""); },
          [&] {
            FTransaction.Rollback();
            return true;
          });
  }
  void SaveList(TListModel& list) {
    const auto save = [&] {
      for (int i = 0; i < list.Count();) {
        if (!FTransaction.Save(*list.At(i))) return false;
        if (!list.At(i)->marked) {
          ++i;
          continue;
        }
        list.entries.erase(list.entries.begin() + i);
        Collect();
        if (!Has(FLists, &list)) return true;  // the list of one that it alone held
      }
      return true;
    };
    Write([&] { list.object->SaveObjects(false); }, save);
  }
  void CancelList(TListModel& list) {
    const bool keeps = Rarely(2);
    if (keeps) {
      list.object->CancelObjects();
    } else {
      list.object->CancelData();
    }
    for (int i = 0; i < list.Count();) {
      TEntity& entity = *list.At(i);
      if (keeps || !entity.isNew) {
        FTransaction.Cancel(entity);
        ++i;
        continue;
      }
      list.entries.erase(list.entries.begin() + i);
      Collect();
      if (Has(FLive, &entity)) Mark(entity, true);
      if (!Has(FLists, &list)) return;
    }
  }

  // --- relations ---

  template <class T>
  static auto ObjectOf(const T* model) {
    return model == nullptr ? nullptr : model->object;
  }
  void Parent(TEntity& entity) {
    const std::string value = entity.value["PARENT_ID"];
    const TEnd end = Do(TTrouble::fetch, [&] { FObject = entity.object->Parent(); });
    const bool isOther = entity.parent != nullptr && entity.parent->id != value;
    if (end == TEnd::troubled || !Relates(entity, entity.parent, isOther, value)) return;
    if (entity.parent == nullptr && (Known(value) != nullptr || HasRow(value))) {
      entity.parent = &Given(value, FObject);
    }
    EXPECT_EQ(FObject, ObjectOf(entity.parent));
  }
  void Partner(TEntity& entity) {
    const std::string value = entity.value["PARTNER"];
    const TEnd end = Do(TTrouble::fetch, [&] { FObject = entity.object->Partner(); });
    const bool isOther = entity.partner != nullptr && entity.partner->value["NAME"] != value;
    if (end == TEnd::troubled || !Relates(entity, entity.partner, isOther, value)) return;
    if (entity.partner == nullptr) entity.partner = FoundByName(value, end);
    EXPECT_EQ(FObject, ObjectOf(entity.partner));
  }
  // Whether there is something to relate to, and somebody left who does.
  bool Relates(TEntity& entity, TEntity*& variable, bool isOther, const std::string& value) {
    if (isOther) {
      variable = nullptr;
      Collect();
      if (!Has(FLive, &entity)) return false;
    }
    if (!value.empty()) return true;
    EXPECT_FALSE(FObject);
    // The reference of one that has no value either is never given back: here somebody does.
    if (TEntity* lost = std::exchange(variable, nullptr)) {
      EXPECT_GE(lost->object->aiRetainerList()->IndexOfObject(entity.object), 0);
      lost->object->Release(entity.object);
    }
    Collect();
    return false;
  }
  void Parts(TEntity& entity) {
    const std::string condition = "PARENT_ID='" + entity.id + "'";
    const TIds ids = entity.isNew && entity.IsTemporary() ? TIds() : SelectIds(condition);
    if (entity.parts != nullptr && Rarely(4)) {
      entity.parts->object->SetNeedToRefresh(true);
      entity.parts->isStale = true;
    }
    TPlBoList* object = nullptr;
    if (Do(TTrouble::fetch, [&] { object = entity.object->Parts(); }) != TEnd::done) return;
    if (entity.parts != nullptr && entity.parts->Count() > 0 &&
        entity.parts->At(0)->value["PARENT_ID"] != entity.id) {
      Forget(std::exchange(entity.parts, nullptr));
      Collect();
      if (!Has(FLive, &entity)) return;
    }
    if (entity.parts == nullptr) {
      TListModel& fetched = FLists.emplace_back(object);
      Filled(fetched, ids);
      entity.parts = &fetched;
    }
    TListModel* list = entity.parts;
    list->condition = condition;
    if (list->isStale) Reloaded(list, ids);
    EXPECT_TRUE(!Has(FLive, &entity) || object == list->object);
  }
  void LetGo(TEntity& entity) {
    const int what = Below(4);
    TpoDepartment* object = entity.object;
    if (what == 0) {
      int errors = 0;
      object->ForgetSubobjects(errors);
      EXPECT_EQ(errors, 0);
    } else {
      TplBaseObjectPointer* const variables[] = {&object->FParent, &object->FPartner,
                                                 &object->FParts};
      object->ReleaseAgregatedObejct(variables[what - 1]);
    }
    if (what < 2) entity.parent = nullptr;
    if (what % 2 == 0) entity.partner = nullptr;
    if (what % 3 == 0 && entity.parts != nullptr) Forget(std::exchange(entity.parts, nullptr));
    Collect();
  }

  // --- lists ---

  // The list has been fetched with those rows, in that order.
  void Filled(TListModel& list, const TIds& ids) {
    ASSERT_EQ(list.object->Count(), static_cast<int>(ids.size()));
    for (const std::string& id : ids) {
      Fetched(id);
      list.entries.push_back(&Given(id, list.object->Get(list.Count())));
    }
  }
  void FetchList() {
    if (FLists.size() > 5) return;
    static constexpr const char* kConditions[] = {"ID <= ", "PARENT_ID = ", "ID > "};
    const std::string condition = Rarely(6) ? "" : kConditions[Below(3)] + SomeId();
    const std::string order = Rarely(2) || condition.empty() ? "" : kOrders[Below(3)].text;
    std::list<TEntity> rows;
    std::vector<TEntity*> sorted;
    if (!condition.empty()) {
      for (auto& [id, row] : Select(condition)) {
        sorted.push_back(&rows.emplace_back());
        rows.back().id = id;
        rows.back().value = row;
      }
    }
    if (!order.empty()) Sort(sorted, order);
    TPlBoList* object = nullptr;
    const TEnd end = Do(TTrouble::fetch, [&] {
      object = condition.empty() ? FDepartments->GetObjectList(FListener)
                                 : FDepartments->FetchObjectList(FListener, condition, order, true);
    });
    if (end == TEnd::troubled) return;
    TListModel& list = FLists.emplace_back(object);
    list.isHeard = true;
    TIds ids;
    for (const TEntity* row : sorted) ids.push_back(row->id);
    Filled(list, ids);
    list.condition = condition;
    list.order = order;
    if (!order.empty()) FForced = order;
  }
  void ReleaseList(TListModel& list) {
    if (!list.isHeard) return;
    list.object->Release(FListener);
    Forget(&list);
    Collect();
  }
  void ReloadList(TListModel& list) {
    std::string condition = list.condition;
    if (condition.empty() && list.Count() > 0) {
      for (const TEntity* entry : list.entries) {
        condition += (condition.empty() ? "ID in (" : ", ") + entry->id;
      }
      condition += ")";
    }
    const TIds ids = condition.empty() ? TIds() : SelectIds(condition);
    if (Do(TTrouble::fetch, [&] { list.object->Reload(); }) != TEnd::done) return;
    list.isStale = false;
    if (!condition.empty()) Reloaded(&list, ids);
  }
  // Rows have come and gone, and edits given way.
  void Reloaded(TListModel* list, const TIds& ids) {
    std::erase_if(list->entries, [&](const TEntity* entry) {
      return std::find(ids.begin(), ids.end(), entry->id) == ids.end();
    });
    Collect();
    if (!Has(FLists, list)) return;
    list->isStale = false;
    for (const std::string& id : ids) {
      TEntity* const live = Known(id);
      TEntity* const member = list->ById(id);
      if (member != nullptr) {
        member->Load(Rows()[id]);
        continue;
      }
      if (live != nullptr && live->isNew && live->modified) {
        for (const char* name : kAttributes) {
          if (live->value[name] != Rows()[id][name]) live->Write(name, Rows()[id][name]);
        }
        live->whole = true;
      } else if (live != nullptr) {
        live->Load(Rows()[id]);
      }
      TPlBoList* real = list->object;
      const int index = real->IndexOfObjectWithAttrValue("ID", id, 0, false);
      list->entries.push_back(&Given(id, index < 0 ? nullptr : real->Get(index)));
      Resort(*list, *list->entries.back());
    }
  }
  void Resort(TListModel& list, const TEntity& entity) {
    if (!list.order.empty()) {
      FForced = list.order;
      perlayer::Sort(list.entries, list.order);
    }
    if (list.Shows(entity)) list.cursor = list.IndexOf(&entity);
  }
  void ChangeList(TListModel& list) {
    if (FLive.empty()) return;
    TEntity* const entity = &Some(FLive);
    TPlBoList* const real = list.object;
    TpoDepartment* const object = entity->object;
    const TListModel& from = Some(FLists);
    TObject* const holder = SomeHolder();
    const int count = list.Count();
    const int at = count == 0 ? 0 : Below(count);
    const int other = count == 0 ? 0 : Below(count);
    TListModel after = list;
    const auto place = [&](int index) { return after.entries.begin() + index; };
    std::vector<std::string> heard;
    const auto add = [&](TEntity* one) {
      after.entries.push_back(one);
      heard.emplace_back("paAddToList*");
      Resort(after, *one);
    };
    std::function<void()> operation;
    const int what = count > 20 ? 6 + Below(6) : Below(14);
    if (what > 5 && what < 11 && count == 0) return;
    switch (what) {
      case 0:
      case 1:
        add(entity);
        operation = [&] { EXPECT_EQ(real->Add(object), after.IndexOf(entity)); };
        break;
      case 2:
        after.entries.insert(place(at), entity);
        heard = {"paAddToList*"};
        operation = [&] { real->Insert(at, object); };
        break;
      case 3:
        if (list.IndexOf(entity) < 0) add(entity);
        operation = [&] { EXPECT_EQ(real->AddToSet(object), list.IndexOf(entity) < 0); };
        break;
      case 4:
        if (Rarely(2)) {
          for (TEntity* each : from.entries) {
            if (after.ById(each->id) == nullptr) after.entries.push_back(each);
          }
          operation = [&] { real->UnionWithList(from.object, "ID"); };
        } else {
          for (TEntity* each : from.entries) add(each);
          operation = [&] { real->Merge(from.object); };
        }
        break;
      case 5:
        if (FLive.size() > 18) return;
        heard = {"paAddToList*"};
        operation = [&] { FObject = real->NewObject(holder); };
        break;
      case 6:
        after.entries.erase(place(at));
        heard = {"paDeleteFromList*"};
        operation = [&] { real->Delete(at); };
        break;
      case 7:
        if (list.IndexOf(entity) >= 0) {
          after.entries.erase(place(list.IndexOf(entity)));
          heard = {"paDeleteFromList*"};
        }
        operation = [&] { EXPECT_EQ(real->Remove(object), list.IndexOf(entity)); };
        break;
      case 8:
        after.entries.erase(place(at));
        after.entries.insert(place(other), list.At(at));
        if (at != other) heard = {"paDeleteFromList*", "paAddToList*", "paSort*"};
        operation = [&] { real->Move(at, other); };
        break;
      case 9:
        std::swap(*place(at), *place(other));
        operation = [&] { real->Exchange(at, other); };
        break;
      case 10:
        *place(at) = entity;
        operation = [&] {
          object->AddRef(real);
          real->Put(at, object);
        };
        break;
      case 11:
        if (!Rarely(10)) return;
        after.entries.clear();
        heard = {"paModified"};
        operation = [&] { real->Clear(); };
        break;
      case 12:
        // By the order last forced on any list, or a comparison of the caller's.
        if (Rarely(2)) {
          perlayer::Sort(after.entries, FForced);
          operation = [&] { real->Sort(&CompareByOrder, ""); };
        } else {
          PlainQuickSort(after.entries, ByName);
          operation = [&] {
            real->Sort(
                [](TplPerObject* a, TplPerObject* b, const std::string& attribute) {
                  return a->GetAttrValue(attribute).compare(b->GetAttrValue(attribute));
                },
                "NAME");
          };
        }
        break;
      default: {
        const std::string order = Rarely(4) ? "" : kOrders[Below(3)].text;
        const bool isForced = Rarely(2);
        if (!order.empty() && (isForced || order != list.order)) {
          perlayer::Sort(after.entries, order);
          FForced = after.order = order;
        } else if (isForced) {
          FForced = after.order = "";
        }
        operation = [&, isForced, order] {
          if (isForced) return real->ForcedOrderBy(order);
          real->OrderBy(order);
        };
      }
    }
    const TEnd end = Do(TTrouble::list, operation);
    if (end == TEnd::troubled) return;
    EXPECT_EQ(end, TEnd::done) << FRaised;
    EXPECT_TRUE(!list.isHeard || FScarce || FListener->Heard == heard) << what;
    if (what == 10) list.At(at)->object->Release(real);
    if (what == 5) {
      TEntity& added = Created(FObject);
      added.held[holder] = 1;
      add(&added);
    }
    list = after;
    Collect();
  }
  void MoveCursor(TListModel& list) {
    TPlBoList* real = list.object;
    const int count = list.Count();
    const int what = Below(7);
    if (what == 0) {
      real->First();
      list.cursor = -1;
    } else if (what == 1) {
      real->Last();
      list.cursor = count - 1;
    } else if (what == 2) {
      const int at = Below(count + 1);
      real->GoToBookmark(std::to_string(at));
      list.cursor = std::min(at, count - 1);
    } else if (what == 3) {
      list.filter = static_cast<std::size_t>(Below(4));
      real->SetListFilter(kFilters[list.filter].text);
      const int turn = list.cursor == count ? -1 : 1;
      if (count == 0) return;
      list.Go(turn);
      list.Go(-turn);
    } else if (what == 4) {
      TplPerObject* const found = real->CurrObject();
      if (!list.ShowsCurrent()) list.Go(1);
      EXPECT_EQ(found, list.ShowsCurrent() ? list.At(list.Current())->object : nullptr);
    } else if (what == 5) {
      real->Next();
      list.Go(1);
    } else {
      real->Prior();
      list.Go(-1);
    }
  }

  // --- what is true ---

  void Check(int step) {
    for (const TObjectHandle& gone : FGone) ASSERT_FALSE(gone.IsAlive());
    FGone.clear();
    for (TListModel& list : FLists) CheckList(list, step % 8 == 0);
    TplGlobalDictionary* dictionary = GlobalDictionary();
    ASSERT_TRUE(dictionary->aiUSEDICTIONARY() && aiNotificationsEnabled() &&
                PerLayerStatistics()->aiEnableEvents());
    std::map<std::string, TplPerObject*> known;
    for (const TEntity& entity : FLive) {
      CheckEntity(entity);
      if (entity.isKnown) known["DEPARTMENT" + entity.id] = entity.object;
    }
    ASSERT_EQ(dictionary->Count(), static_cast<int>(known.size()));
    int index = 0;
    for (const auto& [key, object] : known) {
      ASSERT_EQ(dictionary->GetPerObjectWithIndex(index), object) << key;
      ASSERT_EQ(dictionary->Strings(index++), key);
    }
    if (!std::exchange(FWrote, false) && step % 64 != 0) return;
    TTransactionModel::TRows rows;
    for (auto& [id, row] : Select("ID > 0")) rows[id] = row;
    ASSERT_EQ(rows, Rows());
    ASSERT_TRUE(FSession->Taken() == 0 || FTransaction.Count() > 0);
  }
  void CheckList(TListModel& list, bool isWhole) {
    ASSERT_TRUE(list.handle.IsAlive());
    ASSERT_EQ(list.object->Count(), list.Count());
    int seen = 0;
    for (int i = 0; i < list.Count(); ++i) {
      ASSERT_EQ(list.object->Get(i), list.At(i)->object) << i;
      seen += list.Shows(*list.At(i)) ? 1 : 0;
    }
    ASSERT_EQ(list.object->NSCurrIndex(), list.cursor);
    ASSERT_EQ(list.object->aiOrder(), list.order);
    ASSERT_EQ(list.object->aiFetchSpec(), list.condition);
    ASSERT_EQ(list.object->RefCount(), 1);
    ASSERT_TRUE(!isWhole || list.object->CountWithFilter() == seen);
    if (list.cursor <= list.Count()) return;
    list.object->First();  // deleting has left it outside
    list.cursor = -1;
  }
  void CheckEntity(const TEntity& entity) {
    SCOPED_TRACE(entity.id);
    ASSERT_TRUE(entity.handle.IsAlive());
    TpoDepartment* object = entity.object;
    std::map<TObject*, int> holders;
    const TplRetainerList* retainers = object->aiRetainerList();
    for (int i = 0; i < retainers->Count(); ++i) ++holders[retainers->Objects(i)];
    ASSERT_EQ(object->RefCount(), retainers->Count());
    ASSERT_EQ(holders, HoldersOf(entity));
    ASSERT_EQ(object->GetGID(), entity.id);
    for (const char* name : kAttributes) {
      const std::string& value = entity.value.at(name);
      ASSERT_EQ(object->GetAttrValue(name), value);
      ASSERT_EQ(object->GetAttrOldValue(name), entity.changed ? entity.old.at(name) : value);
    }
    ASSERT_EQ(IsEdited(object), entity.modified);
    ASSERT_EQ(object->GetModified(), IsModified(entity));
    ASSERT_EQ(object->aiNewObject(), entity.isNew);
    ASSERT_EQ(object->aiObjectMarkedDeleted(), entity.marked);
    ASSERT_EQ(object->aiObjectDeleted(), entity.deleted);
    ASSERT_EQ(object->Store().DisableOptimizingUpdateQueries(), entity.whole);
    ASSERT_EQ(object->FParent.Get(), ObjectOf(entity.parent));
    ASSERT_EQ(object->FPartner.Get(), ObjectOf(entity.partner));
    ASSERT_EQ(object->FParts.Get(), ObjectOf(entity.parts));
  }
  // Everybody lets go.
  void End() {
    while (FTransaction.Count() > 0) Rollback();
    for (TplPerObject* stranger : FStrangers) stranger->Release(FForm.Get());
    int errors = 0;
    // What another held alone ends with that one's forgetting.
    for (const TEntity& entity : FLive) {
      if (entity.handle.IsAlive()) entity.object->ForgetSubobjects(errors);
    }
    for (const TListModel& list : FLists) {
      if (list.isHeard) list.object->Release(FListener);
    }
    for (const TEntity& entity : FLive) {
      for (const auto& [holder, count] : entity.held) {
        for (int i = 0; i < count; ++i) entity.object->Release(holder);
      }
      EXPECT_FALSE(entity.handle.IsAlive());
    }
    FListener->Release(FForm.Get());
    EXPECT_EQ(errors, 0);
    EXPECT_EQ(GlobalDictionary()->Count(), 0);
  }
};

TEST_P(TLayerModel, AgreesWithMapsAndVectors) {
  using T = TLayerModel;
  struct TOperation {
    int weight;
    std::variant<void (T::*)(), void (T::*)(TEntity&), void (T::*)(TListModel&)> run;
  };
  void (T::*const mark)(TEntity&) = &T::Mark;
  const TOperation operations[] = {{30, &T::ChangeList}, {12, &T::MoveCursor}, {8, &T::Get},
                                   {4, &T::FetchByName}, {3, &T::FetchList},   {2, &T::ReleaseList},
                                   {16, &T::Release},    {4, &T::ReloadList},  {4, &T::Reload},
                                   {6, &T::Edit},        {3, &T::ChangeId},    {1, &T::Dispose},
                                   {3, &T::Cancel},      {2, &T::Create},      {2, &T::Hide},
                                   {4, &T::Save},        {1, &T::Delete},      {1, mark},
                                   {2, &T::Start},       {2, &T::Commit},      {1, &T::Rollback},
                                   {1, &T::SaveList},    {1, &T::CancelList},  {3, &T::Parent},
                                   {3, &T::Partner},     {4, &T::Parts},       {4, &T::LetGo},
                                   {1, &T::Stranger},    {6, &T::ChangeRow}};
  std::vector<const TOperation*> choice;
  for (const TOperation& each : operations) {
    choice.insert(choice.end(), static_cast<std::size_t>(each.weight), &each);
  }
  const int steps = ModelSteps(2500);
  for (int step = 0; step < steps; ++step) {
    const TOperation& each =
        *choice[static_cast<std::size_t>(Below(static_cast<int>(choice.size())))];
    if (const auto* plain = std::get_if<0>(&each.run)) {
      (this->**plain)();
    } else if (const auto* one = std::get_if<1>(&each.run)) {
      // Often the same as before: much shows only where several things befall one.
      if (!Has(FLive, FChosen) || Rarely(2)) FChosen = FLive.empty() ? nullptr : &Some(FLive);
      if (FChosen != nullptr) (this->**one)(*FChosen);
    } else if (!FLists.empty()) {
      (this->*std::get<2>(each.run))(Some(FLists));
    }
    if (!HasFailure()) Check(step);
    ASSERT_FALSE(HasFailure()) << "step " << step << ", operation " << &each - operations;
    TestLog().Clear();
    TpoDepartment::Ended.clear();
  }
  End();
  RecordProperty("troubles", FTroubles);
}
INSTANTIATE_TEST_SUITE_P(Seeds, TLayerModel, testing::Range(1u, 5u));

}  // namespace
}  // namespace perlayer

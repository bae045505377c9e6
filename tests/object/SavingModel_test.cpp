// Random sequences of nested transactions of several objects against a model of
// them, on a real database. PERLAYER_MODEL_STEPS=10 runs ten times as many.

#include <algorithm>
#include <map>
#include <optional>
#include <random>

#include "perlayer/platform/Format.h"
#include "support/ModelTest.h"
#include "support/SavingFixture.h"

namespace perlayer {
namespace {

using SavingModel = TSavingTest;

// What one object and its row are to be.
struct TModel {
  using TValues = std::map<std::string, std::string>;

  explicit TModel(bool isLogical) : logical(isLogical) {
    if (logical) Write("ACTIVE", "1");
    modified = false;
  }
  void Write(const std::string& name, const std::string& text) {
    if (!changed) old = value;
    changed = true;
    if (value[name] != text) modified = true;
    value[name] = text;
  }
  void Touch() { modified = whole = true; }
  void Cancel() {
    marked = false;
    if (modified && changed) value = old;
    modified = false;
  }

  bool logical;  // deleting deactivates
  TValues value{{"NAME", ""}, {"ACTIVE", ""}};
  TValues old;           // from before the first change
  bool changed = false;  // there are old values
  bool whole = true;     // the next statement writes all columns
  bool isNew = true;
  bool modified = false;
  bool oldModified = false;
  bool oldNew = false;
  bool unconfirmed = false;
  bool marked = false;
  bool deleting = false;
  bool deleted = false;
  std::string oldActive;
  std::optional<TValues> row, committed;
};

class TTransactionModel {
 public:
  explicit TTransactionModel(std::vector<TModel>& objects) : FObjects(objects) {}

  void Start() { ++FCount; }
  // False when a save of the commit's own has failed: the transaction stays
  // open.
  bool Commit() {
    if (FCount > 1) {
      --FCount;
      return true;
    }
    const std::size_t told = FCount == 1 ? FList.size() : 0;
    for (std::size_t i = 0; i < told; ++i) {
      if (FList[i]->modified && !Save(*FList[i])) return false;
    }
    for (TModel& object : FObjects) object.committed = object.row;
    for (TModel* object : FList) {
      object->modified = object->isNew = object->changed = object->unconfirmed = false;
      if (object->deleting) object->deleted = true;
    }
    FList.clear();
    FCount = 0;
    return true;
  }
  void Rollback() {
    if (FCount != 1) {
      FCount = std::max(FCount - 1, 0);
      return;
    }
    for (TModel& object : FObjects) object.row = object.committed;
    for (TModel* object : FList) {
      object->modified = object->oldModified;
      object->isNew = object->oldNew;
      if (object->logical && !object->oldActive.empty()) object->Write("ACTIVE", object->oldActive);
      object->unconfirmed = false;
    }
    FList.clear();
    FCount = 0;
  }
  bool Save(TModel& object) {
    if (!object.modified && !object.isNew) return true;
    Start();
    if (object.marked) object.modified = true;
    if ((object.marked ? Delete(object) : Statement(object)) && Commit()) {
      object.modified = false;
      return true;
    }
    Rollback();
    return false;
  }
  bool Delete(TModel& object) {
    if (!object.isNew && !object.logical) Keep(object);
    const bool cancels = !object.isNew && !object.modified;
    if (cancels) object.Touch();
    object.deleting = true;
    Start();
    bool done = true;
    if (!object.isNew && object.logical) {
      object.oldActive = object.value["ACTIVE"];
      object.Write("ACTIVE", "0");
      done = Statement(object);
      if (!done) object.Write("ACTIVE", object.oldActive);
    } else if (!object.isNew) {
      FList.push_back(&object);
      object.row.reset();
    }
    done = done && Commit();
    if (!done) {
      Rollback();
      if (cancels) object.Cancel();
    }
    object.deleting = false;
    if (done) object.marked = true;
    return done;
  }
  bool HookFails = false;  // the next one behind a statement
  int Count() const { return FCount; }
  int References(const TModel& object) const {
    return static_cast<int>(std::count(FList.begin(), FList.end(), &object));
  }

 private:
  static void Keep(TModel& object) {
    if (object.unconfirmed) return;
    object.oldModified = object.modified;
    object.oldNew = object.isNew;
  }
  bool Statement(TModel& object) {
    if (!object.modified && !object.isNew) return true;
    const bool unchecked = object.logical && object.value["ACTIVE"] == "0";
    if (!unchecked && object.value["NAME"].empty()) return false;
    Keep(object);
    FList.push_back(&object);
    if (object.isNew) {
      object.row = object.value;
    } else if (object.row) {
      TModel::TValues narrowed = *object.row;
      bool any = false;
      for (const auto& [name, text] : object.value) {
        if (!object.changed || object.old[name] == text) continue;
        narrowed[name] = text;
        any = true;
      }
      object.row = object.whole || !any ? object.value : narrowed;
    }
    object.modified = object.isNew = false;
    object.unconfirmed = true;
    if (std::exchange(HookFails, false)) return false;
    object.whole = false;
    return true;
  }

  std::vector<TModel>& FObjects;
  std::vector<TModel*> FList;
  int FCount = 0;
};

TEST_F(SavingModel, RandomNestedTransactionsAgreeWithAModel) {
  const int sequences = ModelSteps(500);
  constexpr int kObjects = 4;
  std::mt19937 random(20261122);
  const auto pick = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
  std::vector<THold<TpoPrescription>> objects;
  std::vector<TModel> models;
  int nextId = 1;
  std::optional<TTransactionModel> model;
  // What fails here is validation, and now and then the hook behind a
  // statement.
  const auto fails = [&](auto action) {
    bool failed = false;
    if (model->HookFails) Faults.FailOn("DoAfterSave");
    try {
      action();
    } catch (const EIPostException&) {
      failed = true;
    } catch (const EPlannedFault&) {
      failed = true;
    }
    Faults.FailAt(0);
    return failed;
  };
  const auto rows = [&] {
    std::map<std::string, std::string> found;
    const TOwned<TIQuery> query = Make<TIQuery>();
    query->DatabaseName(TcmpClassMap::kDatabaseName);
    query->SQLText(
        "select ID, NAME || '/' || ACTIVE from OMRA.PRESCRIPTION "
        "where ID >= :FIRST union all "
        "select ID, NAME || '/' from OMRA.DOSE where ID >= :FIRST");
    query->Params(0).AsFloat(nextId - kObjects);
    for (query->Open(); !query->Eof(); query->Next()) {
      found[query->Fields(0)->AsString()] = query->Fields(1)->AsString();
    }
    return found;
  };
  int left = 0;
  for (int sequence = 0, step = 0; sequence <= sequences; ++step) {
    if (left-- == 0) {
      ++sequence;
      left = 3 + pick(16);
      while (model && model->Count() > 0) {
        dbProvider()->Rollback("");
        model->Rollback();
      }
      objects.clear();
      models.clear();
      for (int i = 0; i < kObjects; ++i) {
        const bool logical = i % 2 == 0;
        objects.push_back(NewOf(logical ? static_cast<TplProvider*>(FPrescriptions) : FDoses,
                                std::to_string(nextId++)));
        models.emplace_back(logical);
        models.back().modified = models.back().whole = true;  // the ID was written
      }
      model.emplace(models);
    }
    const int at = pick(kObjects);
    TpoPrescription* object = objects[static_cast<std::size_t>(at)].Get();
    TModel& expected = models[static_cast<std::size_t>(at)];
    const int what = pick(20);
    model->HookFails = pick(12) == 0;
    std::string op;
    if (what < 3) {
      op = "start";
      if (model->Count() < 4) {
        dbProvider()->StartTransaction("");
        model->Start();
      }
    } else if (what < 6) {
      op = "commit";
      const bool failed = fails([] { dbProvider()->Commit(""); });
      ASSERT_EQ(failed, !model->Commit()) << step;
      if (failed) {
        dbProvider()->Rollback("");
        model->Rollback();
      }
    } else if (what < 7) {
      op = "rollback";
      dbProvider()->Rollback("");
      model->Rollback();
    } else if (what < 12) {
      op = "write";
      const std::string name = pick(6) == 0 ? "" : "n" + std::to_string(pick(3));
      if (expected.value["NAME"] != name && !expected.modified) expected.Touch();
      expected.Write("NAME", name);
      object->SetAttrValue("NAME", name);
    } else if (what < 17) {
      op = "save";
      const bool failed = fails([&] { object->SaveData(); });
      ASSERT_EQ(failed, !model->Save(expected)) << step;
    } else if (what < 18) {
      op = "delete";
      const bool failed = fails([&] { object->DeleteObject(); });
      ASSERT_EQ(failed, !model->Delete(expected)) << step;
    } else {
      op = "cancel";
      object->CancelData();
      expected.Cancel();
    }
    ASSERT_EQ(dbProvider()->aiTransactionCount(), model->Count()) << op << " at " << step;
    auto found = rows();
    for (int i = 0; i < kObjects; ++i) {
      TpoPrescription* real = objects[static_cast<std::size_t>(i)].Get();
      TModel& wanted = models[static_cast<std::size_t>(i)];
      const std::string where =
          op + " at " + std::to_string(step) + ", object " + std::to_string(i);
      ASSERT_EQ(real->GetModified(), wanted.modified) << where;
      ASSERT_EQ(real->aiNewObject(), wanted.isNew) << where;
      ASSERT_EQ(real->aiObjectMarkedDeleted(), wanted.marked) << where;
      ASSERT_EQ(real->aiObjectDeleted(), wanted.deleted) << where;
      ASSERT_EQ(real->RefCount(), 1 + model->References(wanted)) << where;
      ASSERT_EQ(real->GetAttrValue("NAME"), wanted.value["NAME"]) << where;
      if (wanted.logical) {
        ASSERT_EQ(real->GetAttrValue("ACTIVE"), wanted.value["ACTIVE"]) << where;
      }
      ASSERT_EQ(found[real->GetGID()],
                wanted.row ? (*wanted.row)["NAME"] + "/" + (*wanted.row)["ACTIVE"] : "")
          << where;
    }
  }
  while (dbProvider()->aiTransactionCount() > 0) dbProvider()->Rollback("");
}

}  // namespace
}  // namespace perlayer

// Random sequences of nested transactions of several objects against a model of
// them, on a real database. PERLAYER_MODEL_STEPS=10 runs ten times as many.

#include <optional>
#include <random>

#include "perlayer/platform/Format.h"
#include "support/ModelTest.h"
#include "support/SavingFixture.h"
#include "support/TransactionModel.h"

namespace perlayer {
namespace {

using SavingModel = TSavingInBothPositions;

TEST_P(SavingModel, RandomNestedTransactionsAgreeWithAModel) {
  const int sequences = ModelSteps(250);
  constexpr int kObjects = 4;
  std::mt19937 random(20261122);
  const auto pick = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
  std::vector<THold<TpoPrescription>> objects;
  std::vector<TObjectModel> models;
  int nextId = 1;
  std::optional<TTransactionModel> model;
  // What fails here is validation, and now and then the hook behind a
  // statement.
  const auto fails = [&](auto action) {
    bool failed = false;
    if (model->hookFails) Faults.FailOn("DoAfterSave");
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
  const auto check = [&](const std::string& op, int step) {
    ASSERT_EQ(dbProvider()->aiTransactionCount(), model->Count()) << op << " at " << step;
    auto found = rows();
    for (int i = 0; i < kObjects; ++i) {
      TpoPrescription* real = objects[static_cast<std::size_t>(i)].Get();
      TObjectModel& wanted = models[static_cast<std::size_t>(i)];
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
      const auto row = model->rows.find(wanted.id);
      ASSERT_EQ(found[wanted.id],
                row == model->rows.end() ? "" : row->second["NAME"] + "/" + row->second["ACTIVE"])
          << where;
      ASSERT_EQ(GlobalDictionary()->TakeObject(real->aiProvider(), wanted.id),
                GetParam() ? real : nullptr)
          << where;
    }
  };
  int left = 0;
  for (int sequence = 0, step = 0; sequence <= sequences; ++step) {
    if (left-- == 0) {
      ++sequence;
      left = 3 + pick(16);
      while (model && model->Count() > 0) {
        dbProvider()->Rollback("");
        model->Rollback();
        check("rollback", step);
      }
      objects.clear();
      models.clear();
      for (int i = 0; i < kObjects; ++i) {
        const bool logical = i % 2 == 0;
        objects.push_back(NewOf(logical ? static_cast<TplProvider*>(FPrescriptions) : FDoses,
                                std::to_string(nextId++)));
        TObjectModel& created = models.emplace_back();
        created.id = objects.back()->GetGID();
        created.value = {{"NAME", ""}, {"ACTIVE", ""}};
        created.logical = logical;
        if (logical) created.Write("ACTIVE", "1");
        created.required = created.modified = true;  // the ID was written
      }
      model.emplace();
    }
    const int at = pick(kObjects);
    TpoPrescription* object = objects[static_cast<std::size_t>(at)].Get();
    TObjectModel& expected = models[static_cast<std::size_t>(at)];
    const int what = pick(20);
    model->hookFails = pick(12) == 0;
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
      expected.Edit("NAME", name);
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
      model->Cancel(expected);
    }
    check(op, step);
    if (HasFailure()) break;
  }
  while (dbProvider()->aiTransactionCount() > 0) dbProvider()->Rollback("");
}
INSTANTIATE_TEST_SUITE_P(Dictionary, SavingModel, testing::Bool());

}  // namespace
}  // namespace perlayer

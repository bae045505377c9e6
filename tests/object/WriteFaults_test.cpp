// Scripts of writes of which one call of the driver, one hook or one allocation fails, or all from
// one on. Whatever fails, afterwards objects, transaction and database agree, and the user can
// correct and save. PERLAYER_MODEL_STEPS=10 runs ten times as many random scripts, and leaves out
// no allocation.

#include <iostream>
#include <map>
#include <random>
#include <set>

#include "perlayer/corekit/ILog.h"
#include "perlayer/corekit/TISifranti.h"
#include "perlayer/platform/Text.h"
#include "support/ModelTest.h"
#include "support/SavingFixture.h"

namespace perlayer {
namespace {

using TMode = TFaultPlan::TMode;
using TRows = std::map<std::string, std::string>;  // by ID

// s start, c commit, r rollback; then with the number of an object: w write, e empty a required
// value, k write a code or a number, t touch, S save, m mark as deleted, D delete, x cancel.
struct TScript {
  std::string steps;
  bool climbs = true;  // a failed save ends the whole transaction; else it goes on
};

// The objects, by number.
constexpr int kObjects = 6;
constexpr const char* kClasses[kObjects] = {"new prescription", "prescription", "new dose", "dose",
                                            "new reading",      "reading"};

const TScript kScripts[] = {
    {"S0 w0 S0"},
    {"w1 k1 S1 w1 x1"},
    {"S2 w3 S3 k3 S3"},
    {"k4 S4 k5 S5"},
    {"e1 S1 w1 S1"},
    {"s S0 s w3 S3 c w1 S1 c"},
    {"s w1 S1 w1 S1 r S1"},
    {"s S2 s D3 c r w3 S3"},
    {"D1 D3 D5"},
    {"s D1 r w1 S1"},
    {"m3 S3 m1 x1 S1"},
    {"s S2 w2 S2 D2 c"},
    {"s s S4 r w5 S5 c"},
    {"s e3 S3 w1 S1 c", false},
    {"s S0 w3 S3 S2 c", false},
};

TScript RandomScript(unsigned seed) {
  std::mt19937 random(seed);
  const auto below = [&](unsigned limit) { return random() % limit; };
  TScript script{"w1 ", below(3) > 0};
  for (unsigned i = 4 + below(6); i > 0; --i) {
    const char what = "sscrwwweektSSSSSmDx"[below(19)];
    script.steps += what;
    if (std::string_view("scr").find(what) == std::string_view::npos) {
      script.steps += std::to_string(below(kObjects));
    }
    script.steps += ' ';
  }
  return script;
}

class TSilentLog : public TLogSink {
  void Line(std::string_view) override {}
};

class WriteFaults : public TSavingTest {
 protected:
  WriteFaults() {
    InstallLog(std::make_unique<TSilentLog>());
    Faults.OnFault = [this](const char* where, const std::string& statement, int parameter) {
      FPoints[where].insert(statement + std::to_string(parameter) + FState());
    };
  }
  ~WriteFaults() override { Faults.OnFault = nullptr; }

  // Runs the script with its nth call failing. False when it did not get that far.
  bool Run(const TScript& script, int call, TMode mode) {
    FWhere = script.steps + ", call " + std::to_string(call) +
             (mode == TMode::once ? "" : " and all behind it");
    SetUpObjects(script);
    Faults.FailAt(call, mode);
    RunSteps(script);
    const bool failed = Faults.Failed();
    Faults.FailAt(0);
    Recover();
    return failed && !FBad;
  }
  // The same with its nth allocation.
  bool RunWithoutMemory(const TScript& script, int allocation, TMode mode) {
    FWhere = script.steps + ", allocation " + std::to_string(allocation) +
             (mode == TMode::once ? "" : " and all behind it");
    SetUpObjects(script);
    FMemory = allocation;
    FMemoryOnce = mode == TMode::once;
    FRefused = false;
    RunSteps(script);
    FMemory = -1;
    Recover();
    return FRefused && !FBad;
  }

  std::map<std::string, std::set<std::string>> FPoints;  // by kind of call

 private:
  struct TObjectOfScript {
    THold<TpoPrescription> object;
    bool isDeleted = false;  // as far as the transaction has got
  };

  TpoPrescription& At(int i) { return *FObjects[static_cast<std::size_t>(i)].object; }
  bool& IsDeleted(int i) { return FObjects[static_cast<std::size_t>(i)].isDeleted; }
  bool IsPhysical(int i) { return At(i).aiProvider()->aiActiveFieldName().empty(); }

  // Those that the script names.
  void SetUpObjects(const TScript& script) {
    FBad = false;
    while (dbProvider()->aiTransactionCount() > 0)
      dbProvider()->Rollback("of a run that has ended");
    FObjects.clear();
    FObjects.resize(kObjects);
    FUsed.clear();
    for (const char* table : {"PRESCRIPTION", "DOSE", "DOSE_NOTE", "READING"}) {
      Execute(std::string("delete from OMRA.") + table);
    }
    Execute("insert into OMRA.PRESCRIPTION (ID, NAME, AMOUNT, ACTIVE) values (1, 'row', 1, '1')");
    Execute("insert into OMRA.DOSE (ID, NAME) values (3, 'row')");
    Execute("insert into OMRA.DOSE_NOTE (ID, NOTE) values (3, 'note')");
    Execute("insert into OMRA.READING (ID, NAME, KIND, DATUMIPL) values (5, 'row', 'T', 45000)");
    FDatabase->Commit("rows");
    Sifranti().DropBuffer("MER");
    TplProvider* const providers[] = {FPrescriptions, FDoses, FReadings};
    for (int i = 0; i < kObjects; ++i) {
      if (script.steps.find(static_cast<char>('0' + i)) == std::string::npos) continue;
      FUsed.push_back(i);
      TplProvider* provider = providers[i / 2];
      const std::string id = std::to_string(i % 2 == 0 ? 10 + i : i);
      THold<TpoPrescription>& object = FObjects[static_cast<std::size_t>(i)].object;
      if (i % 2 == 0) {
        object = NewOf(provider, id);
        object->SetAttrValue("NAME", "new");
      } else {
        object = THold<TpoPrescription>(provider, id);
      }
      At(i).aiLockGroup("REC");
      At(i).SetBOMasterDBNotifyGlobalID(id);
    }
    FCommitted = Rows();
  }

  // What the row of the object is when it is saved.
  std::string RowOf(int i) {
    constexpr const char* kSecond[] = {"AMOUNT", "NOTE", "KIND"};
    std::string row = At(i).GetAttrValue("NAME") + "/" + At(i).GetAttrValue(kSecond[i / 2]);
    return IsPhysical(i) ? row : row + "/" + At(i).GetAttrValue("ACTIVE");
  }
  TRows Rows() {
    TRows rows;
    const TOwned<TIQuery> query = Make<TIQuery>();
    query->DatabaseName(TcmpClassMap::kDatabaseName);
    query->SQLText(
        "select ID, NAME || '/' || AMOUNT || '/' || ACTIVE from OMRA.PRESCRIPTION union all "
        "select D.ID, D.NAME || '/' || N.NOTE from OMRA.DOSE D, OMRA.DOSE_NOTE N where N.ID = "
        "D.ID union all select ID, NAME || '/' || KIND from OMRA.READING");
    for (query->Open(); !query->Eof(); query->Next()) {
      rows[query->Fields(0)->AsString()] = query->Fields(1)->AsString();
    }
    return rows;
  }

  // What somebody's program does: what fails is told in `error`. Faults happen here alone.
  template <class TAction>
  bool Try(const TAction& action) {
    try {
      if (FMemory < 0) {
        action();
      } else {
        const TOutOfMemory scarce(FMemory, FMemoryOnce);
        TryFinally(action, [&] {
          FMemory = scarce.Left();
          FRefused = FRefused || scarce.Refused();
        });
      }
      return true;
    } catch (const EIPostException&) {
      return false;
    } catch (const std::exception& e) {
      FError = e.what();
      // Without memory the reactivation of an object may fail, and the others are not told.
      FLeavesHeld = FReactivates && dynamic_cast<const std::bad_alloc*>(&e) != nullptr;
      return false;
    }
  }

  void RunSteps(const TScript& script) {
    FReactivates = script.steps.find_first_of("Dm") != std::string::npos;
    for (const std::string& step : SplitText(script.steps, " ")) {
      if (!step.empty()) Step(script, step[0], step.size() > 1 ? step[1] - '0' : FUsed[0]);
      if (FBad) return;
    }
    Climb();
  }

  void Step(const TScript& script, char what, int i) {
    TplDatabaseProvider* provider = dbProvider();
    const int outside = provider->aiTransactionCount();
    TpoPrescription& object = At(i);
    FStep = what;
    FObject = i;
    FError.clear();
    FLeavesHeld = false;
    FFailedCommits = FSession->FailedCommits();
    bool& isDeleted = IsDeleted(i);
    if (isDeleted && std::string_view("scr").find(what) == std::string_view::npos) return;
    bool done = true;
    int after = outside;
    switch (what) {
      case 's':
        done = Try([&] { provider->StartTransaction("script"); });
        after += done ? 1 : 0;
        break;
      case 'c':
        if (outside == 0) return;
        done = Try([&] { provider->Commit("script"); });
        if (!done && provider->aiTransactionCount() == outside) return Climb();
        --after;
        break;
      case 'r':
        if (outside == 0) return;
        done = Try([&] { provider->Rollback("script"); });
        --after;
        break;
      case 'w':
        done = Try([&] { object.SetAttrValue("NAME", "w" + std::to_string(++FWritten)); });
        break;
      case 'e':
        done = Try([&] { object.SetAttrValue("NAME", ""); });
        break;
      case 'k':
        done = Try([&] {
          const bool odd = ++FWritten % 2 == 1;
          if (i / 2 == 0) object.SetAttrValueAsFloat("AMOUNT", FWritten);
          if (i / 2 == 1) object.SetAttrValue("NOTE", "note " + std::to_string(FWritten));
          if (i / 2 == 2) object.SetAttrValue("KIND", odd ? "P" : "T");
        });
        break;
      case 't':
        done = Try([&] { object.Touch(); });
        break;
      case 'S':
        isDeleted = object.aiObjectMarkedDeleted();
        done = Try([&] { object.SaveData(); });
        break;
      case 'm':
        done = Try([&] { object.SetObjectMarkedDeleted(true); });
        break;
      case 'D':
        isDeleted = true;
        done = Try([&] { object.DeleteObject(); });
        break;
      case 'x':
        // The values from before the transaction would come back.
        if (Entries(i) > 0) return;
        done = Try([&] { object.CancelData(); });
        break;
    }
    if (!Check(provider->aiTransactionCount() == after, "the count")) return;
    if (after == 0) {
      CheckAtRest(done, what == 'r');
    } else {
      CheckReferences();
      if (!done && (what == 'D' || isDeleted || (what == 'S' && script.climbs))) Climb();
    }
  }

  // The exception goes to the outermost level.
  void Climb() {
    for (int left = dbProvider()->aiTransactionCount(); left > 0; --left) {
      FStep = 'r';
      Try([] { dbProvider()->Rollback("script"); });
      if (!Check(dbProvider()->aiTransactionCount() == left - 1, "the count")) return;
      if (left == 1) CheckAtRest(false, true);
    }
  }

  int Entries(int i) {
    const TPlList* list = dbProvider()->TransactionObjects();
    int count = 0;
    for (int at = 0; list != nullptr && at < list->Count(); ++at) {
      if (list->Items(at) == &At(i)) ++count;
    }
    return count;
  }
  void CheckReferences() {
    const TFaultPlan::TPause pause(Faults);
    Check(dbProvider()->TransactionObjects() != nullptr, "no list");
    for (const int i : FUsed) {
      Check(At(i).RefCount() == 1 + Entries(i), "references", i);
    }
  }

  // No transaction is open. What has been rolled back, or failed, has left the rows as they were.
  void CheckAtRest(bool done, bool rolledBack) {
    const TFaultPlan::TPause pause(Faults);
    Check(dbProvider()->TransactionObjects() == nullptr, "a list");
    Check(!FDatabase->InTransaction(), "an open transaction");
    Check(FSession->Taken() == 0, "a statement not given back");
    const TRows rows = Rows();
    Check(rows == FCommitted || !(rolledBack || CommitFailed()), "rows of what failed");
    for (const int i : FUsed) CheckObject(i, rows, done, rolledBack);
    FCommitted = rows;
  }

  static std::string RowIn(const TRows& rows, const std::string& id) {
    const auto found = rows.find(id);
    return found == rows.end() ? "" : found->second;
  }

  void CheckObject(int i, const TRows& rows, bool done, bool rolledBack) {
    TpoPrescription& object = At(i);
    const std::string row = RowIn(rows, object.GetGID());
    const bool isGone = row.empty() || (!IsPhysical(i) && row.ends_with("/0"));
    bool& isDeleted = IsDeleted(i);
    if (object.RefCount() > 1) {
      // What the failed end has left held and as it was, the application has to bring in order.
      Check(!done && (FLeavesHeld || CommitFailed()), "still held", i);
      while (object.RefCount() > 1) object.Release(dbProvider());
      object.SetNewObject(row.empty());
      object.Touch();
      isDeleted = false;
    } else if (object.aiNewObject() || object.GetModified()) {
      Check(row.empty() || !object.aiNewObject(), "a new object has row " + row, i);
      // A failed write has written nothing.
      Check(done || row == RowIn(FCommitted, object.GetGID()), "half written: " + row, i);
    } else if (!row.empty()) {
      Check(row == RowOf(i), "seems saved as " + RowOf(i) + ", has row " + row, i);
    } else {
      Check(IsPhysical(i) && (isDeleted || object.aiObjectMarkedDeleted()), "lost", i);
    }
    Check(isGone || !done || !isDeleted || rolledBack, "not deleted: " + row, i);
    isDeleted = isGone && isDeleted && !object.aiNewObject();
    // Whoever rolls a deletion back takes the mark back.
    if (rolledBack && object.aiObjectMarkedDeleted()) object.CancelData();
  }

  // Whatever has happened, the user corrects and saves.
  void Recover() {
    if (FBad) return;
    FStep = 'R';
    for (const int i : FUsed) {
      if (IsDeleted(i)) continue;
      FObject = i;
      TpoPrescription& object = At(i);
      const std::string refusal = Raised([&] {
        if (object.aiObjectMarkedDeleted()) object.CancelData();
        object.SetAttrValue("NAME", "right");
        if (!IsPhysical(i)) object.SetAttrValue("ACTIVE", "1");
        object.Touch();
        object.SaveData();
      });
      Check(refusal.empty(), "cannot be corrected: " + refusal, i);
      Check(!object.GetModified() && !object.aiNewObject(), "not saved", i);
      Check(!object.IsLocked, "locked", i);
      Check(object.RefCount() == 1, "still held", i);
    }
    Check(dbProvider()->aiTransactionCount() == 0, "the count");
    const TRows rows = Rows();
    for (const int i : FUsed) {
      if (!IsDeleted(i)) Check(RowIn(rows, At(i).GetGID()) == RowOf(i), "corrected row", i);
    }
  }

  bool CommitFailed() const { return FSession->FailedCommits() != FFailedCommits; }
  // A run ends with the first thing that is not as it must be.
  bool Check(bool isTrue, const std::string& what, int i = -1) {
    if (isTrue || FBad) return isTrue;
    FBad = true;
    ADD_FAILURE() << FWhere << ", at " << FStep << FObject << " " << FError << ": " << what
                  << (i < 0 ? "" : std::string(" of ") + kClasses[i]);
    return false;
  }
  // The state that the call met: depth and list, what is being done, the flags of its object, and
  // whether others have something unsaved.
  std::string FState() {
    TpoPrescription& object = At(FObject);
    const TPlList* list = dbProvider()->TransactionObjects();
    int unsaved = 0;
    for (const int i : FUsed) unsaved += i != FObject && At(i).GetModified() ? 1 : 0;
    std::string state = Format(" %d %d %d %d ", dbProvider()->aiTransactionCount(),
                               list == nullptr ? 0 : std::min(list->Count(), 3),
                               std::min(Entries(FObject), 2), std::min(unsaved, 2));
    state += FStep;
    for (const bool flag : {object.aiNewObject(), object.GetModified(), object.aiWasNewObject(),
                            object.aiObjectMarkedDeleted(), object.aiDeletingObject()}) {
      state += flag ? '1' : '0';
    }
    return state;
  }

  std::vector<TObjectOfScript> FObjects;
  std::vector<int> FUsed;
  TRows FCommitted;
  bool FBad = false;
  std::string FWhere, FError;
  char FStep = ' ';
  int FObject = 0;
  int FWritten = 0;
  int FMemory = -1;
  bool FMemoryOnce = false;
  bool FRefused = false;
  bool FReactivates = false;  // the script has deletions
  bool FLeavesHeld = false;
  int FFailedCommits = 0;
};

TEST_F(WriteFaults, OfTheDriverAndOfHooks) {
  const int random = ModelSteps(3);
  const int written = static_cast<int>(std::size(kScripts));
  for (int s = 0; s < written + random; ++s) {
    const TScript script =
        s < written ? kScripts[s] : RandomScript(static_cast<unsigned>(s - written));
    for (int call = 1; Run(script, call, TMode::once); ++call) {
    }
    for (int call = 1; Run(script, call, TMode::fromThereOn); call += random > 3 ? 1 : 3) {
    }
  }
  std::size_t points = 0;
  for (const auto& [kind, found] : FPoints) {
    points += found.size();
    std::cout << "[  points  ] " << kind << ": " << found.size() << "\n";
  }
  std::cout << "[  points  ] all: " << points << std::endl;
}

TEST_F(WriteFaults, OfMemory) {
  const int step = ModelSteps(1) > 1 ? 1 : 17;
  int points = 0;
  for (const TScript& script : kScripts) {
    for (const TMode mode : {TMode::once, TMode::fromThereOn}) {
      for (int n = points % step; RunWithoutMemory(script, n, mode); n += step) ++points;
    }
  }
  std::cout << "[  points  ] allocations: " << points << std::endl;
}

}  // namespace
}  // namespace perlayer

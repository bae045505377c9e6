// How objects end: order, failures, chains.

#include <algorithm>
#include <array>
#include <numeric>
#include <random>

#include "perlayer/platform/TSlotTable.h"
#include "perlayer/reclaim/TplGlobalDictionary.h"
#include "support/Departments.h"
#include "support/TestLog.h"

namespace perlayer {
namespace {

#ifdef NDEBUG
constexpr int kChain = 10000;  // links whose nested end must fit a stack of 8 MiB
#else
constexpr int kChain = 1000;  // other builds have bigger frames
#endif

class TplPerObjectLifeTest : public TDepartments {
 protected:
  // A chain of objects that hold each other, the first held by the form: by variables, or by lists
  // of one member each.
  TpoDepartment* Chain(int links, bool byLists) {
    TpoDepartment* inner = NewDepartment();
    while (--links > 0) {
      TpoDepartment* outer = NewDepartment();
      if (byLists) {
        outer->FParts = FDepartments->GetObjectList(outer);
        outer->FParts->Add(inner);
      } else {
        outer->Link(0, inner);
      }
      inner->Release(FForm.Get());
      inner = outer;
    }
    return inner;
  }
};

TEST_F(TplPerObjectLifeTest, EndsInOrder) {
  const auto told = [](TObject* object) {
    TpoDepartment::Ended += "!" + static_cast<TpoDepartment*>(object)->GetGID();
  };
  TpoDepartment* clinic = NewDepartment("1");
  TpoDepartment* ward = NewDepartment("2");
  TpoDepartment* room = NewDepartment("3");
  TpoDepartment* shared = NewDepartment("4");
  clinic->Link(2, ward);
  clinic->Link(0, shared);
  ward->FParts = FDepartments->GetObjectList(ward);
  ward->FParts->Add(room);
  room->Link(1, shared);
  for (TpoDepartment* inner : {ward, room, shared}) inner->Release(FForm.Get());
  EXPECT_EQ(TpoDepartment::Ended, "");
  const TOwned<TScopeRetainer> stranger = Make<TScopeRetainer>();
  clinic->Release(stranger.Get());
  clinic->Release(nullptr);
  EXPECT_EQ(TpoDepartment::Ended, "");
  EXPECT_EQ(Raised([&] { clinic->Free(); }), "Wrong call do destruction. RefCount>0");
  EXPECT_FALSE(clinic->Remove());
  ward->aiOnBeforeFree(TNotifyEvent::From(told));
  clinic->Release(FForm.Get());
  // What is held goes before its holder, in the order of registration; the shared one last.
  EXPECT_EQ(TpoDepartment::Ended, "(1(2!2(3(44)3)2)1)");
}

// Every order in which the holders of a small graph can let go: what nobody holds any more is gone
// at once, and nothing else is.
TEST_F(TplPerObjectLifeTest, EveryOrderOfReleasesEndsWhatNobodyHolds) {
  constexpr int kNodes = 5;
  std::mt19937 random(7);
  const std::int64_t live = TSlotTable::LiveCount();
  for (int graph = 0; graph < 12; ++graph) {
    // Edges lead from lower to higher numbers; those of the second kind go by the list.
    std::array<std::array<int, kNodes>, kNodes> edges{};
    for (int from = 0; from < kNodes; ++from) {
      int links = 0;
      for (int to = from + 1; to < kNodes; ++to) {
        const int kind = static_cast<int>(random() % 4);
        edges[from][to] = kind == 1 && links++ >= 3 ? 0 : kind;
      }
    }
    std::array<int, kNodes> order;
    std::iota(order.begin(), order.end(), 0);
    do {
      std::array<TObjectHandle, kNodes> nodes;
      for (TObjectHandle& node : nodes) node = NewDepartment();
      const auto node = [&](int i) { return static_cast<TpoDepartment*>(nodes[i].Get()); };
      for (int from = 0; from < kNodes; ++from) {
        int links = 0;
        for (int to = from + 1; to < kNodes; ++to) {
          if (edges[from][to] == 1) node(from)->Link(links++, node(to));
          if (edges[from][to] != 2) continue;
          if (node(from)->FParts == nullptr) {
            node(from)->FParts = FDepartments->GetObjectList(node(from));
          }
          node(from)->FParts->Add(node(to));
        }
      }
      std::array<bool, kNodes> held;
      held.fill(true);
      for (const int going : order) {
        node(going)->Release(FForm.Get());
        held[going] = false;
        std::array<bool, kNodes> alive = held;
        for (int from = 0; from < kNodes; ++from) {
          for (int to = from + 1; alive[from] && to < kNodes; ++to) {
            if (edges[from][to] == 1 || edges[from][to] == 2) alive[to] = true;
          }
          ASSERT_EQ(node(from) != nullptr, alive[from]) << graph << ": " << going << " " << from;
        }
      }
    } while (std::next_permutation(order.begin(), order.end()));
  }
  EXPECT_EQ(TSlotTable::LiveCount(), live);
}

// The failure of one ends the walk: those before it are gone, those behind it are still held, and
// nothing that is alive has lost count of its holders.
TEST_F(TplPerObjectLifeTest, FailureOfOneHeldObjectEndsTheWalk) {
  const std::int64_t live = TSlotTable::LiveCount();
  for (int failing = 0; failing < 3; ++failing) {
    SCOPED_TRACE(failing);
    TpoDepartment* owner = NewDepartment("9");
    std::array<TObjectHandle, 3> items;
    for (int i = 0; i < 3; ++i) {
      auto* item = NewDepartment(std::to_string(i));
      items[i] = item;
      owner->Link(i, item);
      item->Release(FForm.Get());
    }
    const std::string text =
        "TIObjectPointerList.ReleaseObjects: Access violation releasing objects of TpoDepartment "
        "(counter=" +
        std::to_string(3 + failing) + ")!";
    Faults.FailAt(1 + failing);
    EXPECT_EQ(Raised([&] { owner->aiLiAgregatedObjectList()->CancelData(); }), text);
    EXPECT_EQ(Faults.Calls(), 1 + failing);
    Faults.FailAt(2 + failing);  // the owner's own comes first
    EXPECT_EQ(Raised([&] { owner->Release(FForm.Get()); }), text);
    Faults.FailAt(0);
    EXPECT_EQ(owner->aiRetainerList()->IndexOfObject(FForm.Get()), 0);
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(items[i].IsAlive(), i >= failing);
      EXPECT_EQ(owner->FLinks[i].IsNil(), i <= failing);
    }
    items[failing].GetAs<TpoDepartment>()->Release(owner);
    owner->Release(FForm.Get());
    EXPECT_EQ(TSlotTable::LiveCount(), live);
  }
}

TEST_F(TplPerObjectLifeTest, ReleaseFindsItsVariableEmptyAlready) {
  TpoDepartment* owner = NewDepartment("1");
  TpoDepartment* item = NewDepartment("2");
  owner->Link(0, item);
  item->Link(0, owner);  // it lets go of its owner while the owner lets go of it
  item->Release(FForm.Get());
  owner->ReleaseAgregatedObejct(&owner->FLinks[0]);
  EXPECT_EQ(TpoDepartment::Ended, "(22)");
  EXPECT_EQ(owner->RefCount(), 1);
  owner->Release(FForm.Get());
  EXPECT_EQ(TpoDepartment::Ended, "(22)(11)");
}

TEST_F(TplPerObjectLifeTest, EndsThoughItsLastHolderWasItsOwn) {
  TpoDepartment* ward = NewDepartment("1");
  TPlBoList* parts = FDepartments->GetObjectList(ward);
  ward->FParts = parts;
  parts->Add(ward);
  ward->Release(FForm.Get());
  parts->Put(0, nullptr);
  ward->Release(parts);
  EXPECT_EQ(TpoDepartment::Ended, "(11)");
}

// A cycle goes once it is cut; what reaches zero by a kill ends as everything else does.
TEST_F(TplPerObjectLifeTest, ForgettingCutsCycles) {
  int errors = -1;
  TpoDepartment* first = NewDepartment("1");
  TpoDepartment* second = NewDepartment("2");
  first->Link(1, second);
  second->FParts = FDepartments->GetObjectList(second);
  second->FParts->Add(first);
  second->Link(0, second);
  second->Release(FForm.Get());
  first->Release(FForm.Get());
  EXPECT_EQ(TpoDepartment::Ended, "");
  first->ForgetSubobjects(errors);
  EXPECT_EQ(errors, 0);
  EXPECT_TRUE(first->FLinks[1].IsNil());
  EXPECT_EQ(TpoDepartment::Ended, "");  // it holds itself still
  second->ForgetSubobjects(errors);
  EXPECT_EQ(TpoDepartment::Ended, "(11)(22)");

  TpoDepartment* owner = NewDepartment("3");
  owner->Link(0, NewDepartment("4"));
  owner->Link(1, NewDepartment("5"));
  static_cast<TpoDepartment*>(owner->FLinks[0].Get())->Link(1, owner->FLinks[1]);
  for (int i = 0; i < 2; ++i) owner->FLinks[i]->Release(FForm.Get());
  TPlBoList* stale = FDepartments->GetObjectList(FForm.Get());
  owner->FParts = stale;
  stale->Release(FForm.Get());
  EXPECT_TRUE(owner->FParts.IsStale());
  const TOwned<TStringList> nested = Make<TStringList>();
  EXPECT_EQ(Raised([&] { owner->GetNestedObjectList(nested.Get()); }),
            "TplPerObject(TpoDepartment).GetNestedObjectList: Podobjekt ne obstaja več!");
  TpoDepartment::Ended.clear();
  owner->ForgetSubobjects(errors);
  EXPECT_EQ(errors, 1);
  EXPECT_TRUE(Logged("[1] ForgetSubobjects: "));
  EXPECT_EQ(TpoDepartment::Ended, "(44)(55)");
  EXPECT_EQ(Raised([&] { owner->Release(FForm.Get()); }),
            "TIObjectPointerList.ReleaseObjects: Access violation releasing objects of "
            "TpoDepartment (counter=1)!");
  owner->Release(FForm.Get());
  EXPECT_EQ(TpoDepartment::Ended, "(44)(55)(3(33)");
}

TEST_F(TplPerObjectLifeTest, EndThatFailsCanBeTriedAgain) {
  const std::int64_t live = TSlotTable::LiveCount();
  TpoDepartment* owner = NewDepartment("1");
  TpoDepartment* item = NewDepartment("2");
  owner->Link(0, item);
  item->Release(FForm.Get());
  Faults.FailAt(1);
  EXPECT_EQ(Raised([&] { owner->Release(FForm.Get()); }), "BeforeDestroy");
  EXPECT_EQ(owner->RefCount(), 1);
  // A kill that fails leaves the reference, and can be tried again.
  int errors = 0;
  Faults.FailAt(1);
  owner->ForgetSubobjects(errors);
  EXPECT_EQ(errors, 1);
  EXPECT_TRUE(Logged("[2] ForgetSubobjects: BeforeDestroy"));
  EXPECT_EQ(owner->FLinks[0].Get(), item);
  EXPECT_EQ(item->aiRetainerList()->Objects(0), owner);
  owner->ForgetSubobjects(errors);
  EXPECT_EQ(errors, 0);
  {
    const THold<TpoDepartment> hold(owner);
    owner->Release(FForm.Get());
    Faults.FailAt(1);
  }
  EXPECT_TRUE(Logged("THold: BeforeDestroy"));
  owner->aiRetainerList()->Replace(0, FForm.Get());
  owner->Release(FForm.Get());
  EXPECT_EQ(TpoDepartment::Ended, "(22)(11)");
  EXPECT_EQ(TSlotTable::LiveCount(), live);
}

// Create has filled a variable and raises then.
class TpoHalfMade : public TpoDepartment {
  TCLASS(TpoHalfMade, TpoDepartment)
 public:
  void Create(TPlBaseObject* AOwner, TObject* ARetainer) override {
    TpoDepartment::Create(AOwner, ARetainer);
    for (int i = 0; i < 3; ++i) Link(i, Linked);
    throw Exception("half made");
  }
  static inline TpoDepartment* Linked = nullptr;
};

TEST_F(TplPerObjectLifeTest, HalfMadeObjectLetsGoOfWhatItHolds) {
  TpoHalfMade::Linked = NewDepartment("1");
  EXPECT_EQ(Raised([&] { New<TpoHalfMade>(FDepartments, FForm.Get()); }), "half made");
  EXPECT_EQ(TpoHalfMade::Linked->RefCount(), 1);
  TpoHalfMade::Linked->Release(FForm.Get());
}

TEST_F(TplPerObjectLifeTest, ObjectThatIsHeldAnewStaysTheLiveOne) {
  GlobalDictionary()->aiUSEDICTIONARY(true);
  AddDepartment(1, 0, "Klinika");
  AddDepartment(2, 1, "Kirurgija");
  THold<TpoDepartment> again;
  Department("2")->aiOnBeforeFree(TNotifyEvent::From([&](TObject*) { again = Department("2"); }));
  ASSERT_TRUE(again);
  EXPECT_EQ(GlobalDictionary()->TakeObject(FDepartments, "2"), again.Get());
  EXPECT_FALSE(again->aiFinalized());
  again->aiOnBeforeFree(nullptr);
  EXPECT_EQ(again->Parent()->GetGID(), "1");
  GlobalDictionary()->aiUSEDICTIONARY(false);
  again.Reset();
  GlobalDictionary()->aiUSEDICTIONARY(true);
  // The switch was off for it, but not for what it held.
  EXPECT_EQ(GlobalDictionary()->TakeObject(FDepartments, "1"), nullptr);
  EXPECT_EQ(TpoDepartment::Ended, "(2(2(11)2)");
}

// Without any looking: what the dictionary knows stays at a count of 0, and nothing that is held is
// let go.
TEST_F(TplPerObjectLifeTest, InALibraryOnlyTheCountIsKept) {
  GlobalDictionary()->aiReleaseType(TIReleaseType::rtDLL);
  AddEncounter(1, "V");
  const TObjectHandle visit(THold<>(FEncounters, "1").Get());
  EXPECT_FALSE(visit.IsAlive());  // no class without a key is asked for one
  GlobalDictionary()->aiUSEDICTIONARY(true);
  AddDepartment(1, 0, "Klinika");
  TpoDepartment* known = Department("1").Get();
  EXPECT_EQ(known->RefCount(), 0);
  EXPECT_EQ(Department("1").Get(), known);
  TpoDepartment* fresh = NewDepartment();
  TpoDepartment* held = NewDepartment();
  fresh->Link(0, held);
  fresh->Release(held);  // who holds nothing ends nothing
  const std::string id = fresh->GetGID();
  fresh->Release(FForm.Get());
  EXPECT_EQ(TpoDepartment::Ended, id + ")");
  EXPECT_EQ(held->RefCount(), 2);
  for (TpoDepartment* left : {known, held}) {
    left->aiRetainerList()->Clear();
    left->ForceRelease();
  }
}

TEST_F(TplPerObjectLifeTest, LongChainsEndNested) {
  const std::int64_t live = TSlotTable::LiveCount();
  for (const bool byLists : {false, true}) {
    TpoDepartment* first = Chain(kChain, byLists);
    EXPECT_FALSE(first->GetModified());  // which asks them all
    first->Release(FForm.Get());
    EXPECT_EQ(TSlotTable::LiveCount(), live);
  }
}

}  // namespace
}  // namespace perlayer

#include "perlayer/foundation/TplDomainObject.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <vector>

#include "perlayer/foundation/FoundationState.h"
#include "perlayer/foundation/TAuthManager.h"
#include "perlayer/foundation/TINotifiedObjectList.h"
#include "perlayer/foundation/TplDomainNotifier.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TClock.h"
#include "perlayer/reclaim/TIPerLayerSettings.h"
#include "perlayer/reclaim/TIPerLayerStatistics.h"
#include "support/Raised.h"
#include "support/TestLog.h"

namespace perlayer {
namespace {

constexpr auto kModified = TIBaseObjectAction::paModified;

class TForm : public TObject {
  TCLASS(TForm, TObject)
};

// A domain object whose listening is a callable, run before the walk goes on.
class TNode : public TplDomainNotifier {
  TCLASS(TNode, TplDomainNotifier)
 public:
  void DoNotifyAction(TplDomainObject* Sender, TIBaseObjectAction ActionType, TObject* Data,
                      TINotifiedObjectList* AVisitedObjectList) override {
    const TAlive alive(this);
    for (TObject* carried : {static_cast<TObject*>(Sender), Data}) {
      // Reading a freed one is what the address sanitizer stops.
      EXPECT_TRUE(carried == nullptr || carried->InheritsFrom(TNode::ClassInfo()));
    }
    if (listen) listen(this);
    if (alive) {
      TplDomainNotifier::DoNotifyAction(Sender, ActionType, Data, AVisitedObjectList);
    }
  }
  void RefCountIsZero() override {
    if (!keep) TplDomainNotifier::RefCountIsZero();
  }
  bool Notifying() const { return FNotifying; }
  void SetRefCount(int count) { FRefCount = count; }

  TNotifyEvent listen;
  bool keep = false;
};

class TplDomainObjectTest : public testing::Test {
 protected:
  ~TplDomainObjectTest() override { FForm->Free(); }

  TNode* NewNode() { return New<TNode>(nullptr, FForm); }
  static std::string Retainers(TplDomainObject* object) {
    std::string text;
    for (int i = 0; i < object->aiRetainerList()->Count(); ++i) {
      text += object->aiRetainerList()->Strings(i) + " ";
    }
    return text;
  }

  TForm* FForm = New<TForm>();
};

TEST_F(TplDomainObjectTest, EveryHolderStandsInTheListOncePerAddRef) {
  std::string events;
  PerLayerStatistics()->aiOnRefChangedEvent(TIPerLayerRefereceCountChangedNotifyEvent::From(
      [&](TPlBaseObject* object, TIReferenceEventType type, TObject* other) {
        events += Format("%s %d %s %d;", object->ClassName(), static_cast<int>(type),
                         other->ClassName(), object->RefCount());
      }));
  auto* object = NewNode();
  auto* list = NewNode();
  EXPECT_EQ(object->RefCount(), 1);
  EXPECT_EQ(object->GetHint(), "Object notifier. Listening TForm.");
  EXPECT_EQ(object->AddRef(FForm), 2);
  object->AddRef(list);
  EXPECT_EQ(object->AddRef(FForm), 4);
  EXPECT_EQ(Retainers(object), "TForm TForm TNode TForm ");
  object->Release(FForm);
  EXPECT_EQ(Retainers(object), "TForm TNode TForm ") << "the first entry goes";
  EXPECT_EQ(events, "TNode 1 TForm 2;TNode 1 TNode 3;TNode 1 TForm 4;TNode 2 TForm 4;");
  void* reference = nullptr;
  object->QueryInterface(IInterface::IID, &reference);
  EXPECT_EQ(Retainers(object), "TForm TNode TForm TApplication ");
  static_cast<IInterface*>(reference)->_Release();
  object->Release(list);
  object->Release(FForm);
  object->Release(FForm);
  list->Release(FForm);
  EXPECT_EQ(Raised([] { New<TNode>(nullptr, nullptr); }),
            "TplDomainObject.Create: a retainer is required");
}

TEST_F(TplDomainObjectTest, ReleaseByAStrangerShowsAWarningAndChangesNothing) {
  auto* object = NewNode();
  auto* stranger = NewNode();
  object->AddRef(stranger);
  object->Release(stranger);
  for (TObject* other : {static_cast<TObject*>(stranger), static_cast<TObject*>(nullptr)}) {
    object->Release(other);
    EXPECT_EQ(object->RefCount(), 1);
    EXPECT_EQ(aiLastBoMessageText(),
              Format("TNode.Release: Retainer of class %s is not in retainer list!",
                     other == nullptr ? "nil" : "TNode"));
    EXPECT_EQ(TestLog().Lines().back(), "BoMessageDlg: " + aiLastBoMessageText() + " returned 1");
  }
  stranger->Release(FForm);
  object->Release(FForm);
}

// A monitor that fails leaves count and list in agreement, and one that ends the object is no
// fault.
TEST_F(TplDomainObjectTest, AMonitorCannotPutCountAndListAtOdds) {
  const auto monitor = [](auto body) {
    PerLayerStatistics()->aiOnRefChangedEvent(TIPerLayerRefereceCountChangedNotifyEvent::From(
        [body](TPlBaseObject* object, TIReferenceEventType type, TObject*) {
          PerLayerStatistics()->aiOnRefChangedEvent(nullptr);
          body(object, type);
        }));
  };
  const auto fail = [](TPlBaseObject*, TIReferenceEventType) { throw Exception("monitor"); };
  auto* object = NewNode();
  auto* other = NewNode();
  monitor(fail);
  EXPECT_EQ(Raised([&] { object->AddRef(other); }), "monitor");
  EXPECT_EQ(object->RefCount(), object->aiRetainerList()->Count());
  if (object->RefCount() == 1) object->AddRef(other);
  monitor(fail);
  EXPECT_EQ(Raised([&] { object->Release(other); }), "monitor");
  EXPECT_EQ(object->RefCount(), 1);
  EXPECT_EQ(Retainers(object), "TForm ");

  const TObjectHandle handle(object);
  object->AddRef(other);
  monitor([&](TPlBaseObject* released, TIReferenceEventType) {
    static_cast<TNode*>(released)->aiRetainerList()->Clear();
    static_cast<TNode*>(released)->SetRefCount(0);
    released->Free();
  });
  object->Release(other);
  EXPECT_FALSE(handle.IsAlive());
  other->Release(FForm);
}

TEST_F(TplDomainObjectTest, DestructionWithRetainersLeftIsStopped) {
  auto* object = NewNode();
  object->SetRefCount(0);
  EXPECT_EQ(Raised([&] { object->Free(); }),
            "TplDomainObject.Destry error: Class = TNode, RefCount = 0, Owner list size = 1 !");
  object->SetRefCount(1);
  EXPECT_EQ(Retainers(object), "TForm ") << "it lives on as it was";
  object->Release(FForm);
}

// In a staged destruction the shell of an object may still be asked.
TEST_F(TplDomainObjectTest, AWalkWithoutARetainerListIsLoggedAndRaises) {
  auto* object = NewNode();
  object->keep = true;
  object->Release(FForm);
  object->Destroy();
  const auto visited = Make<TINotifiedObjectList>();
  const std::string message = "Objekt razreda TNode nima določene liste lastnikov!";
  EXPECT_EQ(Raised([&] { object->NotifyNotifiers(nullptr, kModified, nullptr, visited.Get()); }),
            message);
  EXPECT_EQ(TestLog().Lines(), std::vector<std::string>{message});
  object->FreeInstance();
}

TEST_F(TplDomainObjectTest, NotifyRefreshTellsEachChangeOnce) {
  auto* object = NewNode();
  int told = 0;
  object->listen = TNotifyEvent::From([&](TObject*) { ++told; });
  const auto poll = [&](bool need) {
    object->SetNeedToRefresh(need);
    object->NotifyRefresh("GROUP");
    object->NotifyRefresh("GROUP");
    return told;
  };
  EXPECT_EQ(poll(false), 0);
  EXPECT_EQ(poll(true), 1);
  object->Reload();
  EXPECT_FALSE(object->aiNeedToRefresh());
  object->NotifyRefresh("GROUP");
  object->listen = TNotifyEvent::From([&](TObject*) { object->Release(FForm); });
  object->SetNeedToRefresh(true);
  object->NotifyRefresh("GROUP");  // ends the object
}

class TScanOnly : public TplDomainNotifier {
  TCLASS(TScanOnly, TplDomainNotifier)
 public:
  TIAccessRights GetRights() override { return {TIAccessRight::arScan, TIAccessRight::arRead}; }
};

TEST_F(TplDomainObjectTest, RightsAreThoseThatTheClassOffersButForALibrary) {
  SetAuthManagerClass(TAuthManagerClass::Of<TOpenAuthManager>());
  auto* object = New<TScanOnly>(nullptr, FForm);
  EXPECT_TRUE(object->HasRights({TIAccessRight::arRead}));
  EXPECT_FALSE(object->HasRights({TIAccessRight::arRead, TIAccessRight::arUpdate}));
  PerLayerSettings()->aiRunningInDLL(true);
  EXPECT_TRUE(object->HasRights({TIAccessRight::arUpdate}));
  object->Release(FForm);
}

// --- which thread has the references ---

class TLockable : public TNode {
  TCLASS(TLockable, TNode)
 public:
  void SetLockedBy(TplLockedBy ALockedBy) override { by = ALockedBy; }
  TplLockedBy GetLockedBy() override { return by; }
  void CancelReleaserThread(TplDomainObject* AObject) override {
    EXPECT_EQ(AObject, this);
    ++cancelled;
  }
  TplLockedBy by = TplLockedBy::lbNone;
  int cancelled = 0;
};

// A clock during whose sleep the other thread lets go, the third time.
class TLettingGo : public TManualClock {
 public:
  explicit TLettingGo(TLockable* object) : TManualClock(45000), FObject(object) {}
  void Sleep(std::int64_t milliseconds) override {
    TManualClock::Sleep(milliseconds);
    if (Ticks() == 15) FObject->by = TplLockedBy::lbNone;
  }

 private:
  TLockable* FObject;
};

TEST_F(TplDomainObjectTest, TheReleaserThreadGivesWayAndTheMainThreadWaits) {
  using enum TplLockedBy;
  auto* object = New<TLockable>(nullptr, FForm);
  TClock::Install(std::make_unique<TLettingGo>(object));
  struct TCase {
    bool (TplDomainObject::*operation)(bool);
    bool mainThread;
    TplLockedBy before;
    bool answer;
    TplLockedBy after;
  };
  using TOp = TplDomainObject;
  const TCase cases[] = {
      {&TOp::LockRefsRead, true, lbReleaserThread, true, lbReleaserThread},
      {&TOp::LockRefsRead, true, lbNone, true, lbNone},
      {&TOp::LockRefsRead, false, lbNone, true, lbReleaserThread},
      {&TOp::LockRefsRead, false, lbReleaserThread, true, lbReleaserThread},
      {&TOp::LockRefsRead, false, lbMainThread, false, lbMainThread},
      {&TOp::UnlockRefsRead, true, lbReleaserThread, true, lbReleaserThread},
      {&TOp::UnlockRefsRead, false, lbReleaserThread, true, lbNone},
      {&TOp::LockRefsWrite, true, lbNone, true, lbMainThread},
      {&TOp::LockRefsWrite, false, lbNone, true, lbReleaserThread},
      {&TOp::LockRefsWrite, false, lbMainThread, false, lbMainThread},
      {&TOp::UnlockRefsWrite, true, lbMainThread, true, lbNone},
      {&TOp::UnlockRefsWrite, false, lbReleaserThread, true, lbNone},
  };
  int number = 0;
  for (const TCase& c : cases) {
    SCOPED_TRACE(number++);
    object->by = c.before;
    EXPECT_EQ((object->*c.operation)(c.mainThread), c.answer);
    EXPECT_EQ(object->by, c.after);
  }
  EXPECT_EQ(object->cancelled, 0);
  EXPECT_EQ(TClock::Current().Ticks(), 0);

  object->by = lbReleaserThread;
  EXPECT_TRUE(object->LockRefsWrite(true));
  EXPECT_EQ(object->by, lbMainThread);
  EXPECT_EQ(object->cancelled, 1);
  EXPECT_EQ(TClock::Current().Ticks(), 15) << "waits in steps of 5 ms until the other lets go";

  object->by = lbNone;
  object->Release(FForm);
}

// --- the walk ---

// Random graphs in which listeners raise, let go of retainers, end objects and add holders, beside
// a model of the same walk. Entries of a list are numbers: a node, or kForm.
class TWalkTest : public TplDomainObjectTest {
 protected:
  static constexpr int kForm = -1;
  static constexpr int kNodes = 9;
  enum class TDeed { nothing, raise, refuse, add, drop, dropAndRaise };
  struct TAct {
    TDeed deed = TDeed::nothing;
    int object = 0;    // add, drop: whose retainers change
    int retainer = 0;  // and who comes or goes
  };
  struct TModelNode {
    std::vector<int> retainers;
    bool alive = true;
    bool notify = true;
    bool notifying = false;
    TAct act;
  };
  struct TRefused {};

  // The model.
  bool Alive(int entry) const { return entry == kForm || FModel[entry].alive; }

  void ModelAct(int node) {
    const TAct act = FModel[node].act;
    if (act.deed == TDeed::refuse) throw TRefused();
    if (act.deed >= TDeed::add) ModelChange(act);
    if (act.deed == TDeed::raise || act.deed == TDeed::dropAndRaise) throw Exception("raised");
  }
  void ModelChange(const TAct& act) {
    if (!FModel[act.object].alive || !Alive(act.retainer)) return;
    auto& retainers = FModel[act.object].retainers;
    if (act.deed == TDeed::add) {
      retainers.push_back(act.retainer);
      return;
    }
    const auto entry = std::find(retainers.begin(), retainers.end(), act.retainer);
    if (entry == retainers.end()) return;
    retainers.erase(entry);
    if (retainers.empty()) FModel[act.object].alive = false;
  }

  int ModelSearch(int node, std::size_t position) const {
    const auto& retainers = FModel[node].retainers;
    for (std::size_t i = position; i < retainers.size(); ++i) {
      const int entry = retainers[i];
      if (entry == kForm) continue;
      if (!FModel[entry].alive ||
          std::find(FVisited.begin(), FVisited.end(), entry) == FVisited.end()) {
        return static_cast<int>(i);
      }
    }
    return -1;
  }

  void ModelNotify(int node) {
    if (FModel[node].notifying || !FModel[node].notify) return;
    FModel[node].notifying = true;
    try {
      FExpected += std::to_string(node);
      ModelAct(node);
      if (FModel[node].alive) {
        FVisited.push_back(node);
        for (int i = ModelSearch(node, 0); i >= 0;
             i = ModelSearch(node, static_cast<std::size_t>(i) + 1)) {
          const int entry = FModel[node].retainers[static_cast<std::size_t>(i)];
          if (FModel[entry].alive) {
            ModelNotify(entry);
          } else {
            ++FExpectedDead;
          }
          if (!FModel[node].alive) break;
        }
      }
    } catch (const TRefused&) {
      FModel[node].notifying = false;
      throw;
    } catch (const Exception&) {
    }
    FModel[node].notifying = false;
  }

  // The same on the real objects.
  TObject* Real(int entry) const {
    return entry == kForm ? static_cast<TObject*>(FForm) : FHandles[entry].Get();
  }
  TNode* Node(int node) const { return FHandles[node].GetAs<TNode>(); }

  void Listen(int node) {
    FTrace += std::to_string(node);
    const TAct act = FModel[node].act;
    if (act.deed == TDeed::refuse) throw ELockException("refused");
    if (Node(act.object) != nullptr && Real(act.retainer) != nullptr) {
      if (act.deed == TDeed::add) Node(act.object)->AddRef(Real(act.retainer));
      if (act.deed >= TDeed::drop) Node(act.object)->Release(Real(act.retainer));
    }
    if (act.deed == TDeed::raise || act.deed == TDeed::dropAndRaise) throw Exception("raised");
  }

  void Build(unsigned seed) {
    std::mt19937 random(seed);
    const auto below = [&](unsigned n) { return static_cast<int>(random() % n); };
    FStart = static_cast<int>(seed % kNodes);
    FModel.assign(kNodes, {});
    FHandles.clear();
    FVisited.clear();
    FTrace = FExpected = "";
    FExpectedDead = 0;
    for (int i = 0; i < kNodes; ++i) {
      TNode* node = NewNode();
      node->listen = TNotifyEvent::From([this, i](TObject*) { Listen(i); });
      FHandles.emplace_back(node);
      FModel[i].retainers = {kForm};
    }
    const auto add = [&](int object, int retainer) {
      Node(object)->AddRef(Real(retainer));
      FModel[object].retainers.push_back(retainer);
    };
    for (int edges = below(3 * kNodes); edges-- > 0;) add(below(kNodes), below(kNodes + 1) - 1);
    for (int i = 0; i < kNodes; ++i) {
      if (below(2) == 0) {  // held by others only, if at all
        Node(i)->Release(FForm);
        FModel[i].retainers.erase(FModel[i].retainers.begin());
        if (FModel[i].retainers.empty()) FModel[i].alive = false;
      }
      if (!FModel[i].alive) continue;
      FModel[i].notify = below(8) != 0;
      Node(i)->aiDoNotify(FModel[i].notify);
      if (below(3) == 0) {
        TAct& act = FModel[i].act;
        const int object = below(2) == 0 ? FStart : below(kNodes);
        act = {static_cast<TDeed>(1 + below(5)), object, below(kNodes + 1) - 1};
        if (act.deed == TDeed::refuse && below(3) != 0) act.deed = TDeed::drop;
        if (act.deed >= TDeed::drop && FModel[act.object].alive) {
          const auto& retainers = FModel[act.object].retainers;
          act.retainer = retainers[below(static_cast<unsigned>(retainers.size()))];
        }
      }
    }
  }

  // Lets every living object go, whoever still stands in its list.
  void TearDownGraph() {
    for (int i = 0; i < kNodes; ++i) {
      while (TNode* node = Node(i)) {
        node->aiRetainerList()->Replace(0, FForm);
        node->Release(FForm);
      }
    }
  }

  int FStart = 0;  // the node that the walk begins at
  std::vector<TModelNode> FModel;
  std::vector<TObjectHandle> FHandles;
  std::vector<int> FVisited;
  std::string FTrace, FExpected;
  int FExpectedDead = 0;
};

TEST_F(TWalkTest, GoesThroughEveryGraphAsTheModelDoes) {
  std::map<std::string, int> met;
  for (unsigned seed = 1; seed <= 3000; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Build(seed);
    if (FModel[FStart].alive) {
      TestLog().Clear();
      bool refused = false;
      try {
        ModelNotify(FStart);
      } catch (const TRefused&) {
        refused = true;
      }
      if (refused) {
        ASSERT_THROW(Node(FStart)->CallNotifyAction(Node(FStart), kModified, Node(FStart)),
                     ELockException);
        ++met["refused"];
      } else {
        ASSERT_NO_THROW(Node(FStart)->CallNotifyAction(Node(FStart), kModified, Node(FStart)));
      }
      ASSERT_EQ(FTrace, FExpected);
      const auto lines = TestLog().Lines();
      const auto dead =
          std::count(lines.begin(), lines.end(),
                     "Objekt razreda TNode ima neveljavnega lastnika (retainer) razreda TNode!");
      ASSERT_EQ(dead, FExpectedDead);
      if (dead > 0) ++met["dead retainer"];
      if (!FModel[FStart].alive) ++met["sender gone"];
      if (FTrace.size() > 4) ++met["long walk"];
    }
    for (int i = 0; i < kNodes; ++i) {
      ASSERT_EQ(Node(i) != nullptr, FModel[i].alive) << i;
      if (Node(i) == nullptr) continue;
      ASSERT_FALSE(Node(i)->Notifying()) << i;
      ASSERT_EQ(Node(i)->aiRetainerList()->Count(), static_cast<int>(FModel[i].retainers.size()));
      ASSERT_EQ(Node(i)->RefCount(), Node(i)->aiRetainerList()->Count());
    }
    TearDownGraph();
  }
  for (const char* what : {"refused", "dead retainer", "sender gone", "long walk"}) {
    EXPECT_GT(met[what], 20) << what;
  }
}

// In the release build a chain of 10,000 fits the stack; other builds have bigger frames.
TEST_F(TplDomainObjectTest, ALongChainIsWalkedWhole) {
#ifdef NDEBUG
  constexpr int kChain = 10000;
#else
  constexpr int kChain = 1000;
#endif
  int heard = 0;
  std::vector<TNode*> nodes;
  for (int i = 0; i < kChain; ++i) {
    nodes.push_back(NewNode());
    nodes.back()->listen = TNotifyEvent::From([&](TObject*) { ++heard; });
    if (i > 0) nodes[i - 1]->AddRef(nodes[i]);
  }
  nodes[0]->CallNotifyAction(nodes[0], kModified, nullptr);
  EXPECT_EQ(heard, kChain);
  for (int i = 1; i < kChain; ++i) nodes[i - 1]->Release(nodes[i]);
  for (TNode* node : nodes) node->Release(FForm);
}

}  // namespace
}  // namespace perlayer

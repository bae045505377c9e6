// Random operations on a list of objects against a plain vector of them.

#include "perlayer/list/TPlCustomBoList.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <vector>

#include "perlayer/corekit/MessageDialogs.h"
#include "perlayer/foundation/TplDomainNotifier.h"
#include "perlayer/list/TPlBoList.h"
#include "perlayer/platform/Format.h"
#include "support/HospitalFixture.h"
#include "support/ModelTest.h"
#include "support/PlainSort.h"

namespace perlayer {
namespace {

// A member that the user may not always see.
class TpoMember : public TplPerObject {
  TCLASS(TpoMember, TplPerObject)
 public:
  TIAccessRights GetRights() override {
    return Hidden ? TIAccessRights{} : TIAccessRights{TIAccessRight::arScan};
  }
  void Name(const std::string& name) {
    data.InitData();
    data.SetAttrValue("NAME", name);
  }
  bool Hidden = false;
};

// Who holds the list, and hears of it; now and then it refuses to.
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

class TPlCustomBoListTest : public THospital {
 protected:
  TPlCustomBoListTest() {
    FListener = New<TListener>(nullptr, FForm.Get());
    FList = New<TPlCustomBoList>(nullptr, FListener);
    for (int i = 0; i < 8; ++i) {
      FMembers.push_back(New<TpoMember>(FPatients, FForm.Get()));
      FMembers.back()->Name(std::string(1, static_cast<char>('A' + i % 3)));
    }
  }
  ~TPlCustomBoListTest() override {
    FList->Release(FListener);
    FListener->Release(FForm.Get());
    for (TpoMember* member : FMembers) {
      EXPECT_EQ(member->RefCount(), 1);
      member->Release(FForm.Get());
    }
  }
  std::vector<TplPerObject*> Entries() const {
    std::vector<TplPerObject*> entries;
    for (TplPerObject* object : *FList) entries.push_back(object);
    return entries;
  }

  TListener* FListener;
  TPlCustomBoList* FList;
  std::vector<TpoMember*> FMembers;
};

// The plain list: its entries, and where the cursor is by the rule of what is to be seen.
struct TModelList {
  std::vector<TplPerObject*> entries;
  int cursor = 0;
  std::string but;  // the filter hides that name

  int Count() const { return static_cast<int>(entries.size()); }
  bool Seen(int index) const {
    TplPerObject* const entry = entries[static_cast<std::size_t>(index)];
    return !static_cast<TpoMember*>(entry)->Hidden && entry->GetAttrValue("NAME") != but;
  }
  void Go(int step) {
    const int limit = step > 0 ? Count() : -1;
    if (cursor != limit && (step < 0 || cursor < limit)) cursor += step;
    while (cursor >= 0 && cursor < Count() && !Seen(cursor)) cursor += step;
  }
};

class TListModel : public TPlCustomBoListTest, public testing::WithParamInterface<unsigned> {};

TEST_P(TListModel, AgreesWithAPlainVector) {
  std::mt19937 random(GetParam());
  const auto below = [&](int limit) {
    return std::uniform_int_distribution<int>(0, limit - 1)(random);
  };
  TModelList model;
  const int steps = ModelSteps(4000);
  for (int step = 0; step < steps; ++step) {
    const int count = model.Count();
    TpoMember* const member = FMembers[static_cast<std::size_t>(below(8))];
    const int at = count == 0 ? 0 : below(count);
    const int other = count == 0 ? 0 : below(count);
    std::vector<TplPerObject*> expected = model.entries;
    std::vector<std::string> heard;
    std::function<void()> operation = [] {};
    switch (count > 20 ? 5 + below(7) : below(19)) {
      case 0:
      case 1:
        expected.push_back(member);
        heard = {"paAddToList*"};
        operation = [&] { EXPECT_EQ(FList->Add(member), count); };
        break;
      case 2:
        expected.insert(expected.begin() + at, member);
        heard = {"paAddToList*"};
        operation = [&] { FList->Insert(at, member); };
        break;
      case 3:
        expected.push_back(member);
        operation = [&] {
          member->AddRef(FList);
          try {
            FList->SimpleAdd(member);
          } catch (...) {
            member->Release(FList);
            throw;
          }
        };
        break;
      case 4:
        member->Hidden = !member->Hidden;
        break;
      case 5:
        if (count == 0) break;
        expected.erase(expected.begin() + at);
        heard = {"paDeleteFromList*"};
        operation = [&] { FList->Delete(at); };
        break;
      case 6: {
        const auto found = std::find(expected.begin(), expected.end(), member);
        const int index = found == expected.end() ? -1 : static_cast<int>(found - expected.begin());
        if (index >= 0) {
          expected.erase(found);
          heard = {"paDeleteFromList*"};
        }
        operation = [&, index] { EXPECT_EQ(FList->Remove(member), index); };
        break;
      }
      case 7: {
        if (count == 0) break;
        TplPerObject* const moved = expected[static_cast<std::size_t>(at)];
        expected.erase(expected.begin() + at);
        expected.insert(expected.begin() + other, moved);
        if (at != other) heard = {"paDeleteFromList*", "paAddToList*", "paSort*"};
        operation = [&] { FList->Move(at, other); };
        break;
      }
      case 8:
        if (count == 0) break;
        std::swap(expected[static_cast<std::size_t>(at)],
                  expected[static_cast<std::size_t>(other)]);
        operation = [&] { FList->Exchange(at, other); };
        break;
      case 9:
        if (below(10) > 0) break;
        expected.clear();
        heard = {"paModified"};
        operation = [&] { FList->Clear(); };
        break;
      case 10:
        FList->First();
        model.cursor = -1;
        break;
      case 11:
        FList->Last();
        model.cursor = count - 1;
        break;
      case 13:
      case 14: {
        // By an order, the one last forced, or a comparison of the caller's.
        const auto byName = [](TplPerObject* a, TplPerObject* b, const std::string&) {
          return a->GetAttrValue("NAME").compare(b->GetAttrValue("NAME"));
        };
        DefaultSortParam() = "NAME";
        PlainQuickSort(expected,
                       [&](TplPerObject* a, TplPerObject* b) { return byName(a, b, ""); });
        operation = [&, byName] {
          if (below(2) == 0) return FList->Sort(byName, "");
          FList->Sort(&CompareByOrder, below(2) == 0 ? "NAME" : "");
        };
        break;
      }
      case 15: {
        model.but = below(3) == 0 ? "none" : std::string(1, static_cast<char>('A' + below(3)));
        FList->SetListFilter(model.but == "none" ? "" : "NAME <> '" + model.but + "'");
        if (count == 0) break;
        const int turn = model.cursor == count ? -1 : 1;
        model.Go(turn);
        model.Go(-turn);
        break;
      }
      case 12:
        FList->GoToBookmark(std::to_string(at));
        model.cursor = count == 0 ? -1 : at;
        break;
      default:
        if (below(2) == 0) {
          FList->Next();
          model.Go(1);
        } else {
          FList->Prior();
          model.Go(-1);
        }
    }
    // A listener that refuses, or memory that runs out, leaves whole entries.
    FListener->Heard.clear();
    FListener->Refuses = !heard.empty() && below(8) == 0;
    bool done = true;
    const int memory = below(6) == 0 ? below(4) : -1;
    try {
      const TOutOfMemory scarce(memory);
      operation();
    } catch (const std::bad_alloc&) {
      done = false;
    } catch (const ELockException&) {
      done = false;
    }
    FListener->Refuses = false;
    if (done) {
      ASSERT_EQ(Entries(), expected) << "step " << step;
      // A walk that has no memory is told in the log and ends.
      if (memory < 0) {
        ASSERT_EQ(FListener->Heard, heard) << "step " << step;
      }
    }
    model.entries = Entries();
    for (TpoMember* each : FMembers) {
      ASSERT_EQ(each->RefCount(), 1 + std::count(model.entries.begin(), model.entries.end(), each))
          << "step " << step;
    }
    ASSERT_EQ(FList->NSCurrIndex(), model.cursor) << "step " << step;
    int seen = 0;
    for (int i = 0; i < model.Count(); ++i) seen += model.Seen(i) ? 1 : 0;
    ASSERT_EQ(FList->CountWithFilter(), seen) << "step " << step;
    if (model.cursor > model.Count()) {
      FList->First();  // deleting has left it outside
      model.cursor = -1;
    }
  }
}
INSTANTIATE_TEST_SUITE_P(Seeds, TListModel, testing::Range(1u, 5u));

TEST_F(TPlCustomBoListTest, CursorAtItsEnds) {
  EXPECT_EQ(FList->CurrIndex(), 0);
  EXPECT_FALSE(FList->BOL());
  FList->First();
  EXPECT_TRUE(FList->BOL());
  EXPECT_FALSE(FList->EOL());
  EXPECT_EQ(FList->CurrObject(), nullptr);
  FList->GoToBookmark("5");
  EXPECT_EQ(FList->GetBookmark(), "-1");
  for (TpoMember* member : FMembers) FList->Add(member);
  FList->First();
  EXPECT_EQ(FList->CurrObject(), FMembers[0]);
  EXPECT_TRUE(FList->BOL());
  FList->Next();
  EXPECT_EQ(FList->CurrIndex(), 0);
  // The last object, hidden, is answered all the same; the cursor leaves it.
  FMembers[7]->Hidden = true;
  FList->Last();
  EXPECT_EQ(FList->LastObject(), FMembers[7]);
  EXPECT_EQ(FList->CurrIndex(), 6);
  FMembers[0]->Hidden = true;
  FList->First();
  EXPECT_EQ(FList->CurrObject(), FMembers[1]);
  EXPECT_EQ(FList->CurrIndex(), 1);
  FMembers[1]->Hidden = true;
  FList->ResyncCurrPosition();
  EXPECT_EQ(FList->CurrIndex(), -1);  // nobody to be seen before the one that it went to
  for (TpoMember* member : FMembers) member->Hidden = true;
  FList->Next();
  EXPECT_TRUE(FList->EOL());
  EXPECT_EQ(FList->CurrObject(), nullptr);
  FList->GoToBookmark("-1");
  EXPECT_EQ(FList->GetBookmark(), "7");
  FList->GoToBookmark("-7");
  EXPECT_EQ(FList->GetBookmark(), "0");
  FList->GoToBookmark("no number");
  EXPECT_EQ(FList->GetBookmark(), "0");
  FList->Clear();
  EXPECT_EQ(FList->GetBookmark(), "0");
}

TEST_F(TPlCustomBoListTest, IndicesAndSizes) {
  const auto index = [&](auto action) { return Raised([&] { action(); }); };
  EXPECT_EQ(index([&] { FList->Get(-1); }), "List index out of bounds (0)");
  for (int i = 0; i < 3; ++i) FList->Add(FMembers[static_cast<std::size_t>(i)]);
  EXPECT_EQ(FList->Get(-1), FMembers[0]);
  EXPECT_EQ(index([&] { FList->Get(-2); }), "List index out of bounds (-2)");
  EXPECT_EQ(index([&] { FList->Get(3); }), "List index out of bounds (3)");
  EXPECT_EQ(index([&] { FList->Delete(3); }), "List index out of bounds (3)");
  EXPECT_EQ(index([&] { FList->Insert(4, FMembers[0]); }), "List index out of bounds (4)");
  EXPECT_EQ(index([&] { FList->Exchange(7, 9); }), "List index out of bounds (7)");
  EXPECT_EQ(index([&] { FList->Move(0, 3); }), "List index out of bounds (3)");
  EXPECT_EQ(index([&] { FList->SetCapacity(2); }), "List capacity out of bounds (2)");
  EXPECT_EQ(index([&] { FList->SetCapacity(134217728); }),
            "List capacity out of bounds (134217728)");
  EXPECT_EQ(index([&] { FList->SetCount(-1); }), "List count out of bounds (-1)");
  std::string sizes;
  for (int i = 0, last = 0; i < 100; ++i) {
    FList->Insert(FList->Count(), FMembers[7]);
    if (FList->Capacity() == last) continue;
    last = FList->Capacity();
    sizes += std::to_string(last) + " ";
  }
  EXPECT_EQ(sizes, "4 8 12 28 44 60 76 95 118 ");
  FList->SetCount(105);
  EXPECT_EQ(FList->Get(104), nullptr);
  FList->Last();
  EXPECT_EQ(FList->LastObject(), nullptr);
  EXPECT_EQ(FList->NSCurrIndex(), 104);  // an empty entry moves nobody
  FList->Pack();
  EXPECT_EQ(FList->Count(), 103);
  // An entry that is overwritten keeps its reference, and nobody reads one whose object has gone.
  auto* const passing = New<TpoMember>(FPatients, FForm.Get());
  FList->Put(0, passing);
  EXPECT_EQ(passing->RefCount(), 1);
  EXPECT_EQ(FMembers[0]->RefCount(), 2);
  passing->Release(FForm.Get());
  EXPECT_EQ(FList->Get(0), nullptr);
  FMembers[0]->Release(FList);
  FList->Clear();
  EXPECT_EQ(FList->Capacity(), 0);
}

// Nothing that a list or an object needs for its end is allocated then; what somebody puts in while
// a list lets go of its members is let go of, too.
TEST_F(TPlCustomBoListTest, EndsWithoutMemoryAndWithAllItsMembers) {
  const auto fill = [&](TPlCustomBoList* list) {
    for (const char* id : {"1", "2"}) {
      THold<TpoPatient> patient = Patient(id);
      list->Add(patient.Get());
    }
    list->Add(FMembers[3]);
  };
  AddPatient(1, "Ana");
  AddPatient(2, "Bor");
  const std::int64_t live = TSlotTable::LiveCount();
  for (const bool ofProvider : {false, true}) {
    TPlCustomBoList* list = nullptr;
    if (ofProvider) {
      list = FPatients->GetObjectList(FForm.Get());
    } else {
      list = New<TPlCustomBoList>(nullptr, FForm.Get());
    }
    fill(list);
    {
      const TOutOfMemory none(0);
      list->Release(FForm.Get());
    }
    EXPECT_EQ(TSlotTable::LiveCount(), live);
    EXPECT_EQ(FMembers[3]->RefCount(), 1);
  }
  fill(FList);
  FList->Get(1)->aiOnBeforeFree(TNotifyEvent::From([&](TObject*) {
    FList->Insert(0, FMembers[4]);
    FList->Add(FMembers[5]);
  }));
  FList->Clear();
  EXPECT_TRUE(FList->IsEmpty());
  EXPECT_EQ(TSlotTable::LiveCount(), live);
}

// Events may do anything to the list that they speak of.
TEST_F(TPlCustomBoListTest, EventsThatChangeTheList) {
  struct TMeddler {
    TPlCustomBoList* list;
    std::vector<TpoMember*>* members;
    std::string log;
    void BeforeAdd(TObject* sender, TplPerObject* item) {
      EXPECT_EQ(sender, list);
      log += "add" +
             std::to_string(std::find(members->begin(), members->end(), item) - members->begin()) +
             " ";
    }
    void BeforeDelete(TObject*, TplPerObject* item) {
      list->aiOnBeforeDeleteItemFromList(nullptr);
      list->Insert(0, (*members)[5]);  // the entry moves
      if (item == (*members)[2]) list->Remove(item);
      if (item == (*members)[3]) throw Exception("no");
    }
  } meddler{FList, &FMembers, ""};
  FList->aiOnBeforeAddItemToList(TIBoListEvent::Bind<&TMeddler::BeforeAdd>(&meddler));
  for (int i = 1; i < 5; ++i) FList->Add(FMembers[static_cast<std::size_t>(i)]);
  FList->Insert(0, FMembers[0]);  // without the event
  EXPECT_EQ(meddler.log, "add1 add2 add3 add4 ");
  const auto meddle = [&](int index) {
    FList->aiOnBeforeDeleteItemFromList(TIBoListEvent::Bind<&TMeddler::BeforeDelete>(&meddler));
    FList->Delete(index);
    std::string text;
    for (TplPerObject* object : *FList) {
      text +=
          std::to_string(std::find(FMembers.begin(), FMembers.end(), object) - FMembers.begin());
    }
    return text;
  };
  EXPECT_EQ(meddle(1), "50234");
  EXPECT_EQ(meddle(2), "55034");
  EXPECT_EQ(Raised([&] { meddle(3); }), "no");
  EXPECT_EQ(Entries().size(), 6u);
}

}  // namespace
}  // namespace perlayer

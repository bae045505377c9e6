#include "perlayer/foundation/TplRetainerList.h"

#include <algorithm>
#include <vector>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TObjectHandle.h"
#include "support/ModelTest.h"

namespace perlayer {
namespace {

class TForm : public TObject {
  TCLASS(TForm, TObject)
};
class TDialog : public TForm {
  TCLASS(TDialog, TForm)
};

class TRetainerListModel : public TModelTest {
 protected:
  struct TEntry {
    const TClass* cls;
    TObjectHandle retainer;
    friend bool operator==(const TEntry&, const TEntry&) = default;
  };

  int Count() const { return static_cast<int>(model.size()); }
  TObject* Retainer() { return retainers[static_cast<std::size_t>(Below(kRetainers))]; }
  static TObject* MakeRetainer(bool dialog) {
    return dialog ? static_cast<TObject*>(New<TDialog>()) : New<TForm>();
  }
  void SetUp() override {
    for (int i = 0; i < kRetainers; ++i) retainers.push_back(MakeRetainer(i % 2 == 0));
  }
  void TearDown() override {
    for (TObject* retainer : retainers) retainer->Free();
    TModelTest::TearDown();
  }

  int IndexOf(const TObject* retainer) const {
    const auto found = std::find_if(model.begin(), model.end(), [&](const TEntry& entry) {
      return entry.retainer == TObjectHandle(retainer);
    });
    return found == model.end() ? -1 : static_cast<int>(found - model.begin());
  }
  void Step(bool growing) {
    TObject* retainer = Retainer();
    const int kind = Below(100);
    if (kind < (growing ? 60 : 20)) {
      if (!Attempt([&] { list.Add(retainer); })) return;
      model.push_back({&retainer->ClassType(), retainer});
    } else if (kind < 80) {
      // As a release does it; now and then any entry.
      const int index = Below(8) == 0 ? Below(Count() + 1) : IndexOf(retainer);
      if (index < 0 || index == Count()) {
        EXPECT_THROW(list.Delete(index), EListError);
        if (index < 0) {
          EXPECT_FALSE(list.DeleteObject(retainer));
        }
        return;
      }
      if (index == IndexOf(retainer)) {
        ASSERT_TRUE(list.DeleteObject(retainer));
      } else {
        list.Delete(index);
      }
      model.erase(model.begin() + index);
    } else if (kind < 90) {
      const int index = Below(Count() + 1);
      if (index == Count()) {
        EXPECT_THROW(list.Replace(index, retainer), EListError);
        return;
      }
      if (!Attempt([&] { list.Replace(index, retainer); })) return;
      model[static_cast<std::size_t>(index)] = {&retainer->ClassType(), retainer};
    } else if (kind == 99) {
      // A retainer goes without letting go. Its slot may come back with another object.
      const auto at = static_cast<std::size_t>(Below(kRetainers));
      retainers[at]->Free();
      retainers[at] = MakeRetainer(Below(2) == 0);
      retainer = retainers[at];
    }
    ASSERT_EQ(list.IndexOfObject(retainer), IndexOf(retainer));
    ASSERT_EQ(list.IndexOfObject(nullptr), -1) << "a dead retainer is not nil";
  }
  void Check() const {
    ASSERT_EQ(list.Count(), Count());
    for (int i = 0; i < Count(); ++i) {
      const TEntry& entry = model[static_cast<std::size_t>(i)];
      ASSERT_EQ((TEntry{&list.ClassAt(i), list.HandleAt(i)}), entry);
      ASSERT_EQ(list.Objects(i), entry.retainer.Get());
    }
    ASSERT_THROW(list.ClassAt(Count()), EListError);
    ASSERT_THROW(list.HandleAt(-1), EListError);
  }

  static constexpr int kRetainers = 150;
  std::vector<TObject*> retainers;
  TplRetainerList list;
  std::vector<TEntry> model;
};

// Short and long by turns, through both ways of being kept, with retainers that hold many times.
TEST_P(TRetainerListModel, AnswersAsAPlainVectorDoes) {
  for (int round = 0; round < ModelSteps(8); ++round) {
    SCOPED_TRACE("seed " + std::to_string(GetParam()) + ", round " + std::to_string(round));
    const int steps = 10 + Below(round % 2 == 0 ? 8000 : 300);
    for (int step = 0; step < 3 * steps && !HasFatalFailure(); ++step) {
      Step(step < steps);
      if (step % 256 == 0) Check();
    }
    Check();
    while (Count() > 0) {
      const int index = Below(Count());
      list.Delete(index);
      model.erase(model.begin() + index);
    }
    Check();
  }
  EXPECT_GT(refused, 0);
}

INSTANTIATE_TEST_SUITE_P(Seeds, TRetainerListModel, testing::Range(1u, 7u));

class TLeaving : public TObject {
  TCLASS(TLeaving, TObject)
 public:
  void Destroy() override {
    TObject::Destroy();
    found = list->IndexOfObject(this);
    cls = list->Strings(found);
  }
  TplRetainerList* list = nullptr;
  int found = -1;
  std::string cls;
};

// A retainer lets go while it is being destroyed: its entry is still found, and its class is still
// the one that it came with.
TEST(TplRetainerList, ARetainerFindsItselfDuringItsDestruction) {
  TplRetainerList list;
  auto form = Make<TForm>();
  list.Add(form.Get());
  auto* leaving = New<TLeaving>();
  leaving->list = &list;
  list.Add(leaving);
  leaving->Destroy();
  EXPECT_EQ(leaving->found, 1);
  EXPECT_EQ(leaving->cls, "TLeaving");
  leaving->FreeInstance();
}

}  // namespace
}  // namespace perlayer

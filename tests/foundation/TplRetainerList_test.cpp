#include "perlayer/foundation/TplRetainerList.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "perlayer/platform/Exception.h"

namespace perlayer {
namespace {

class TForm : public TObject {
  TCLASS(TForm, TObject)
};
class TDialog : public TForm {
  TCLASS(TDialog, TForm)
};

// Random adds, removals and deaths of retainers beside a plain vector.
TEST(TplRetainerList, AnswersAsAPlainVectorDoes) {
  struct TEntry {
    TObject* retainer;
    std::string cls;
    bool alive;
  };
  for (unsigned seed = 1; seed <= 20; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 random(seed);
    const auto below = [&](std::size_t n) { return static_cast<int>(random() % n); };
    std::vector<TObject*> pool;
    std::vector<TEntry> model;
    TplRetainerList list;
    for (int step = 0; step < 300; ++step) {
      const int action = below(10);
      if (pool.size() < 2 || action == 0) {
        pool.push_back(below(2) == 0 ? New<TForm>() : static_cast<TObject*>(New<TDialog>()));
      } else if (action == 1) {
        const int victim = below(pool.size());
        for (TEntry& entry : model) {
          if (entry.retainer == pool[victim]) entry.alive = false;
        }
        for (TEntry& entry : model) {
          if (!entry.alive) entry.retainer = nullptr;
        }
        pool[victim]->Free();
        pool.erase(pool.begin() + victim);
      } else if (action == 2 && !model.empty()) {
        const int index = below(model.size());
        TObject* retainer = pool[below(pool.size())];
        list.Replace(index, retainer);
        model[index] = {retainer, retainer->ClassName(), true};
      } else if (action < 6 && !model.empty()) {
        const int index = below(model.size());
        list.Delete(index);
        model.erase(model.begin() + index);
      } else if (step == 150) {
        list.Clear();
        model.clear();
      } else {
        TObject* retainer = pool[below(pool.size())];
        list.Add(retainer);
        model.push_back({retainer, retainer->ClassName(), true});
      }

      ASSERT_EQ(list.Count(), static_cast<int>(model.size()));
      for (int i = 0; i < list.Count(); ++i) {
        ASSERT_EQ(list.Strings(i), model[i].cls);
        ASSERT_EQ(list.Objects(i), model[i].retainer);
      }
      for (TObject* retainer : pool) {
        int first = -1;
        for (int i = list.Count(); i-- > 0;) {
          if (model[i].retainer == retainer) first = i;
        }
        ASSERT_EQ(list.IndexOfObject(retainer), first);
      }
      ASSERT_EQ(list.IndexOfObject(nullptr), -1) << "a dead retainer is not nil";
    }
    for (const int outside : {-1, list.Count()}) {
      EXPECT_THROW(list.Strings(outside), EListError);
      EXPECT_THROW(list.Delete(outside), EListError);
    }
    for (TObject* retainer : pool) retainer->Free();
  }
}

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

#include "perlayer/platform/TList.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>

#include "perlayer/platform/Exception.h"

namespace perlayer {
namespace {

// An item that does something when it goes.
class TListItem : public TObject {
  TCLASS(TListItem, TObject)
 public:
  void Create(int number, std::function<void()> onDestroy = {}) {
    FNumber = number;
    FOnDestroy = std::move(onDestroy);
  }
  void Destroy() override {
    if (FOnDestroy) FOnDestroy();
    Inherited::Destroy();
  }
  int Number() const { return FNumber; }

 private:
  int FNumber = 0;
  std::function<void()> FOnDestroy;
};

class TListModel : public testing::TestWithParam<unsigned> {
 protected:
  // One of the items that live, or nil.
  TObject* AnyItem() {
    const int pick = Below(static_cast<int>(living.size()) + 1);
    return pick == 0 ? nullptr : living[pick - 1].Get();
  }
  int Below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random); }

  // A slot of the model keeps a dead item apart from nil, as the list does.
  static constexpr int kNil = -1;
  static int NumberOf(TObject* item) {
    return item == nullptr ? kNil : Cast<TListItem>(item)->Number();
  }
  bool IsAlive(int number) const {
    return std::any_of(living.begin(), living.end(),
                       [&](const auto& item) { return item->Number() == number; });
  }

  void Step() {
    const int count = static_cast<int>(model.size());
    const int a = Below(count + 2) - 1;
    const int b = Below(count + 2) - 1;
    const auto within = [&](int index, int end) { return index >= 0 && index < end; };
    const auto expect = [&](bool allowed, auto operation, auto onModel) {
      if (allowed) {
        operation();
        onModel();
      } else {
        EXPECT_THROW(operation(), EListError);
      }
    };
    TObject* item = AnyItem();
    const int number = NumberOf(item);
    const auto entry = std::find(model.begin(), model.end(), number);
    const int index = entry == model.end() ? -1 : static_cast<int>(entry - model.begin());
    switch (Below(14)) {
      case 0:
        living.push_back(Make<TListItem>(next++));
        break;
      case 1:  // an item dies without leaving the list
        if (!living.empty()) living.erase(living.begin() + Below(static_cast<int>(living.size())));
        break;
      case 2:
        expect(
            within(a, count + 1), [&] { list->Insert(a, item); },
            [&] { model.insert(model.begin() + a, number); });
        break;
      case 3:
        expect(
            within(a, count), [&] { list->Items(a, item); }, [&] { model[a] = number; });
        break;
      case 4:
        expect(
            within(a, count), [&] { list->Delete(a); }, [&] { model.erase(model.begin() + a); });
        break;
      case 5:
        EXPECT_EQ(list->Remove(item), index);
        if (index >= 0) model.erase(entry);
        break;
      case 6:
        EXPECT_EQ(list->Extract(item), index >= 0 ? item : nullptr);
        if (index >= 0) model.erase(entry);
        break;
      case 7:
        expect(
            within(a, count) && within(b, count), [&] { list->Exchange(a, b); },
            [&] { std::swap(model[a], model[b]); });
        break;
      case 8:
        expect(
            within(a, count) && within(b, count), [&] { list->Move(a, b); },
            [&] {
              const int moving = model[a];
              model.erase(model.begin() + a);
              model.insert(model.begin() + b, moving);
            });
        break;
      case 9:
        EXPECT_EQ(list->IndexOf(item), index);
        break;
      case 10:
        if (Below(5) == 0) {
          list->Pack();
          std::erase_if(model, [&](int each) { return !IsAlive(each); });
        }
        break;
      case 11: {
        if (Below(5) != 0) break;
        const auto key = [&](int each) { return IsAlive(each) ? each % 3 : kNil; };
        list->Sort([&](TObject* x, TObject* y) { return key(NumberOf(x)) < key(NumberOf(y)); });
        std::stable_sort(model.begin(), model.end(), [&](int x, int y) { return key(x) < key(y); });
        break;
      }
      default:
        EXPECT_EQ(list->Add(item), count);
        model.push_back(number);
    }
  }

  std::mt19937 random{GetParam()};
  TOwned<TList> list = Make<TList>();
  std::vector<TOwned<TListItem>> living;
  std::vector<int> model;  // numbers, those of dead items included
  int next = 0;
};

TEST_P(TListModel, AnswersAsAPlainVectorDoes) {
  for (int step = 0; step < 2000 && !HasFailure(); ++step) {
    SCOPED_TRACE("seed " + std::to_string(GetParam()) + ", step " + std::to_string(step));
    Step();
    ASSERT_EQ(list->Count(), static_cast<int>(model.size()));
    for (int i = 0; i < list->Count(); ++i) {
      ASSERT_EQ(NumberOf(list->Items(i)), IsAlive(model[i]) ? model[i] : kNil) << i;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, TListModel, testing::Range(1u, 9u));

TEST(TList, RangeForSeesEntriesThatComeAndGo) {
  auto list = Make<TList>();
  std::vector<TOwned<TListItem>> items;
  for (int i = 0; i < 6; ++i) {
    items.push_back(Make<TListItem>(i));
    if (i < 5) list->Add(items.back().Get());
  }
  std::vector<int> seen;
  for (TObject* item : *list) {
    seen.push_back(Cast<TListItem>(item)->Number());
    if (seen.back() == 1) list->Delete(4);
    if (seen.back() == 2) list->Add(items[5].Get());
  }
  EXPECT_EQ(seen, (std::vector{0, 1, 2, 3, 5}));
  list->Clear();
  for (TObject* item : *list) FAIL() << item;
  EXPECT_THROW(list->Last(), EListError);
}

TEST(TList, SortThatRaisesLeavesTheOrder) {
  auto list = Make<TList>();
  std::vector<TOwned<TListItem>> items;
  for (int i = 0; i < 20; ++i) {
    items.push_back(Make<TListItem>(i));
    list->Add(items.back().Get());
  }
  int calls = 0;
  EXPECT_THROW(list->Sort([&](TObject* a, TObject* b) {
    if (++calls == 15) throw EAbort("enough");
    return Cast<TListItem>(a)->Number() > Cast<TListItem>(b)->Number();
  }),
               EAbort);
  for (int i = 0; i < 20; ++i) EXPECT_EQ(list->Items(i), items[i].Get());
}

class TObjectListTest : public testing::Test {
 protected:
  TListItem* Item(int number, std::function<void()> also = {}) {
    return New<TListItem>(number, [this, number, also] {
      freed.push_back(number);
      if (also) also();
    });
  }
  std::vector<int> freed;
};

TEST_F(TObjectListTest, FreesWhatLeavesIt) {
  TOwned<TListItem> outsider(Item(9));
  auto list = Make<TObjectList>();
  for (int i = 0; i < 6; ++i) list->Add(Item(i));
  list->Delete(1);
  list->Remove(list->Items(1));
  EXPECT_EQ(freed, (std::vector{1, 2}));
  list->Items(0, list->Items(0));
  EXPECT_EQ(freed.size(), 2u) << "an entry replaced by itself stays";
  list->Items(0, Item(7));
  EXPECT_EQ(freed.back(), 0);
  TOwned<TObject> extracted(list->Extract(list->Items(1)));
  EXPECT_EQ(freed.size(), 3u);
  list->Add(list->Items(0));  // twice in the list, freed once
  list.Reset();
  EXPECT_EQ(freed, (std::vector{1, 2, 0, 7, 5, 4}));
  extracted.Reset();

  auto borrowing = Make<TObjectList>(false);
  borrowing->Add(outsider.Get());
  borrowing->Clear();
  EXPECT_EQ(freed.back(), 3);
}

TEST_F(TObjectListTest, ItemsMayUseTheListWhileTheyGo) {
  auto list = Make<TObjectList>();
  TOwned<TObject> rescued;
  list->Add(Item(0));
  list->Add(Item(1));
  list->Add(Item(2, [&] { rescued.Reset(list->Extract(list->Items(0))); }));
  TListItem* child = Item(3);
  list->Add(child);
  list->Add(Item(4, [&] {
    EXPECT_EQ(list->Count(), 4) << "the entry is out before its object goes";
    list->Remove(child);
    list->Add(Item(5));
  }));
  list->Clear();
  EXPECT_EQ(freed, (std::vector{4, 3, 5, 2, 1}));
  EXPECT_EQ(list->Count(), 0);
  EXPECT_EQ(Cast<TListItem>(rescued.Get())->Number(), 0);
}

TEST_F(TObjectListTest, AnItemMayFreeTheListThatIsCleared) {
  auto list = Make<TObjectList>();
  list->Add(Item(0));
  list->Add(Item(1, [&] { list.Reset(); }));
  list->Clear();
  EXPECT_EQ(freed, (std::vector{1, 0}));
}

TEST_F(TObjectListTest, AnItemThatRaisesIsOutAndTheOthersStay) {
  auto list = Make<TObjectList>();
  list->Add(Item(0));
  TListItem* wicked = Item(1, [raise = true]() mutable {
    if (std::exchange(raise, false)) throw EAbort("not now");
  });
  list->Add(wicked);
  EXPECT_THROW(list->Clear(), EAbort);
  EXPECT_EQ(list->Count(), 1);
  EXPECT_EQ(freed, std::vector{1});
  wicked->Free();
}

TEST_F(TObjectListTest, AssignReplacesAndFreesTheOldItems) {
  auto source = Make<TList>();
  TOwned<TListItem> item(Item(1));
  source->Add(item.Get());
  auto list = Make<TObjectList>();
  list->Add(Item(0, [&] { source.Reset(); }));  // takes the source along
  list->Assign(*source);
  EXPECT_EQ(freed, std::vector{0});
  ASSERT_EQ(list->Count(), 1);
  EXPECT_EQ(list->Items(0), item.Get());
  list->Assign(*list);
  EXPECT_EQ(list->Extract(item.Get()), item.Get());
}

}  // namespace
}  // namespace perlayer

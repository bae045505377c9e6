#include "perlayer/platform/TList.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

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

TEST(TList, EveryChangeLeavesTheOtherEntriesAsTheyWere) {
  auto list = Make<TList>();
  std::vector<TOwned<TListItem>> items;
  for (int i = 0; i < 5; ++i) items.push_back(Make<TListItem>(i));
  const auto told = [&] {  // "-" for nil and for an item that has gone
    std::string text;
    for (int i = 0; i < list->Count(); ++i) {
      const auto* item = As<TListItem>(list->Items(i));
      text += item == nullptr ? "-" : std::to_string(item->Number());
    }
    return text;
  };
  for (const auto& item : items) list->Add(item.Get());
  EXPECT_EQ(list->Add(items[1].Get()), 5);
  list->Insert(0, items[4].Get());
  list->Insert(7, nullptr);
  list->Items(3, items[0].Get());
  EXPECT_EQ(told(), "4010341-");
  list->Move(1, 5);
  EXPECT_EQ(told(), "4103401-");
  list->Move(6, 0);
  EXPECT_EQ(told(), "1410340-");
  list->Exchange(0, 3);
  EXPECT_EQ(told(), "0411340-");
  list->Delete(1);
  EXPECT_EQ(list->Remove(items[1].Get()), 1) << "the first of two";
  EXPECT_EQ(told(), "01340-");
  EXPECT_EQ(list->Extract(items[3].Get()), items[3].Get());
  EXPECT_EQ(list->Extract(items[3].Get()), nullptr);
  EXPECT_EQ(list->Remove(items[3].Get()), -1);
  items.pop_back();
  EXPECT_EQ(told(), "01-0-");
  EXPECT_EQ(list->IndexOf(nullptr), 4) << "an entry whose item has gone is not nil";
  list->Add(items[2].Get());
  const auto key = [](TObject* item) {
    return item == nullptr ? -1 : Cast<TListItem>(item)->Number() / 2;
  };
  list->Sort([&](TObject* a, TObject* b) { return key(a) < key(b); });
  EXPECT_EQ(told(), "--0102") << "equal entries stay in order";
  list->Pack();
  EXPECT_EQ(told(), "0102");
  for (const int outside : {-1, 4}) {
    EXPECT_THROW(list->Items(outside), EListError);
    EXPECT_THROW(list->Items(outside, nullptr), EListError);
    EXPECT_THROW(list->Delete(outside), EListError);
    EXPECT_THROW(list->Exchange(0, outside), EListError);
    EXPECT_THROW(list->Move(0, outside), EListError);
    EXPECT_THROW(list->Move(outside, 0), EListError);
    EXPECT_THROW(list->Insert(outside < 0 ? -1 : 5, nullptr), EListError);
  }
  EXPECT_EQ(told(), "0102");
}

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
  EXPECT_THROW(list->Last(), EListError);
}

TEST(TList, SortThatRaisesLeavesTheOrder) {
  auto list = Make<TObjectList>();
  for (int i = 0; i < 20; ++i) list->Add(New<TListItem>(i));
  int calls = 0;
  EXPECT_THROW(list->Sort([&](TObject* a, TObject* b) {
    if (++calls == 15) throw EAbort("enough");
    return Cast<TListItem>(a)->Number() > Cast<TListItem>(b)->Number();
  }),
               EAbort);
  for (int i = 0; i < 20; ++i) EXPECT_EQ(Cast<TListItem>(list->Items(i))->Number(), i);
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

TEST_F(TObjectListTest, AnItemMayRaiseOrFreeTheListThatIsCleared) {
  auto list = Make<TObjectList>();
  list->Add(Item(0));
  TListItem* wicked = Item(1, [raise = true]() mutable {
    if (std::exchange(raise, false)) throw EAbort("not now");
  });
  list->Add(wicked);
  EXPECT_THROW(list->Clear(), EAbort);
  EXPECT_EQ(list->Count(), 1);
  EXPECT_EQ(freed, std::vector{1}) << "it is out and the others stay";
  wicked->Free();
  list->Add(Item(2, [&] { list.Reset(); }));
  list->Clear();
  EXPECT_EQ(freed, (std::vector{1, 1, 2, 0}));
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

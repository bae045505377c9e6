#include "perlayer/corekit/IInterfaceList.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>

#include "perlayer/platform/Exception.h"

namespace perlayer {
namespace {

class TItem : public TObject, public IInterface {
  TCLASS(TItem, TObject)
 public:
  HResult QueryInterface(const TGuid&, void** object) override {
    *object = nullptr;
    return E_NOINTERFACE;
  }
  int _AddRef() override { return ++FHolders; }
  int _Release() override {
    const int left = --FHolders;
    if (left == 0) Free();
    return left;
  }
  void Destroy() override {
    if (FOnDestroy) FOnDestroy();
    Inherited::Destroy();
  }

  int FHolders = 0;
  std::function<void()> FOnDestroy;
};

TEST(IInterfaceList, CountsEachEntryThroughAllChanges) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  std::vector<TInterfaceRef<TItem>> items(5);
  for (auto& item : items) item = TInterfaceRef<TItem>(New<TItem>());
  TInterfaceRef<IInterfaceList> list(New<TInterfaceList>());
  std::vector<TItem*> model;
  const auto indexOf = [&](TItem* item) {
    const auto found = std::find(model.begin(), model.end(), item);
    return found == model.end() ? -1 : static_cast<int>(found - model.begin());
  };
  for (int i = 0; i < 3000; ++i) {
    const std::size_t which = random() % (items.size() + 1);
    TItem* const item = which < items.size() ? items[which].Get() : nullptr;
    const int size = static_cast<int>(model.size());
    const int at = static_cast<int>(random() % 20) - 1;
    const bool inside = at >= 0 && at < size;
    switch (random() % 7) {
      case 0:
        EXPECT_EQ(list->Add(item), size);
        model.push_back(item);
        break;
      case 1:
        if (inside || at == size) {
          list->Insert(at, item);
          model.insert(model.begin() + at, item);
        } else {
          EXPECT_THROW(list->Insert(at, item), EListError);
        }
        break;
      case 2:
        if (inside) {
          list->Put(at, item);
          model[static_cast<std::size_t>(at)] = item;
        } else {
          EXPECT_THROW(list->Put(at, item), EListError);
        }
        break;
      case 3:
        if (inside) {
          list->Delete(at);
          model.erase(model.begin() + at);
        } else {
          EXPECT_THROW(list->Delete(at), EListError);
        }
        break;
      case 4: {
        const int index = indexOf(item);
        EXPECT_EQ(list->Remove(item), index);
        if (index >= 0) model.erase(model.begin() + index);
        break;
      }
      case 5:
        if (inside) {
          list->Exchange(at, 0);
          std::swap(model[static_cast<std::size_t>(at)], model[0]);
        } else {
          EXPECT_THROW(list->Exchange(0, at), EListError);
        }
        break;
      default:
        if (random() % 50 > 0) break;
        list->Clear();
        model.clear();
    }
    ASSERT_EQ(list->Count(), static_cast<int>(model.size()));
    for (std::size_t j = 0; j < model.size(); ++j) {
      ASSERT_EQ(list->Get(static_cast<int>(j)), static_cast<IInterface*>(model[j]));
    }
    ASSERT_EQ(list->IndexOf(item), indexOf(item));
    for (const auto& held : items) {
      ASSERT_EQ(held->FHolders, 1 + std::count(model.begin(), model.end(), held.Get()));
    }
  }
  list = {};
  for (const auto& held : items) EXPECT_EQ(held->FHolders, 1);
}

TEST(IInterfaceList, EndsWithItsLastHolder) {
  TInterfaceRef<IInterfaceList> list(New<TInterfaceList>());
  void* found = nullptr;
  EXPECT_EQ(list->QueryInterface(IInterfaceList::IID, &found), S_OK);
  EXPECT_EQ(found, list.Get());
  EXPECT_EQ(list->_Release(), 1);
  EXPECT_EQ(list->QueryInterface(IInterface::IID, &found), S_OK);
  list = {};
  EXPECT_EQ(static_cast<IInterface*>(found)->_Release(), 0);
}

// An entry that ends calls the list, changes it, and takes its last holder away.
TEST(IInterfaceList, AnEntryMayCallTheListWhileItEnds) {
  TInterfaceRef<IInterfaceList> list(New<TInterfaceList>());
  std::vector<int> counts;
  for (int i = 0; i < 4; ++i) {
    TItem* const item = New<TItem>();
    item->FOnDestroy = [&, i] {
      if (!list) return;
      counts.push_back(list->Count());
      list->Add(nullptr);
      if (i == 3) list = {};
    };
    list->Add(item);
  }
  list->Delete(0);
  list->Put(0, nullptr);
  list->Clear();
  EXPECT_EQ(counts, (std::vector<int>{3, 4, 0, 1}));
  EXPECT_FALSE(list);
}

}  // namespace
}  // namespace perlayer

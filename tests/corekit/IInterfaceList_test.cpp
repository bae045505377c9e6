#include "perlayer/corekit/IInterfaceList.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "perlayer/platform/Exception.h"

namespace perlayer {
namespace {

class TItem : public TObject, public IInterface {
  TCLASS(TItem, TObject)
 public:
  void Create(char name) { FName = name; }
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

  char FName = ' ';
  int FHolders = 0;
  std::function<void()> FOnDestroy;
};

TEST(IInterfaceList, CountsEachEntryThroughAllChanges) {
  const TInterfaceRef<TItem> a(New<TItem>('a')), b(New<TItem>('b')), c(New<TItem>('c'));
  TInterfaceRef<IInterfaceList> list(New<TInterfaceList>());
  const auto told = [&] {  // the entries, then how often each item is held by the list
    std::string text;
    for (int i = 0; i < list->Count(); ++i) {
      auto* item = static_cast<TItem*>(list->Get(i));
      text += item == nullptr ? '-' : item->FName;
    }
    for (const auto& item : {a, b, c}) text += " " + std::to_string(item->FHolders - 2);
    return text;
  };
  EXPECT_EQ(list->Add(a.Get()), 0);
  EXPECT_EQ(list->Add(nullptr), 1);
  EXPECT_EQ(list->Add(a.Get()), 2);
  list->Insert(0, b.Get());
  EXPECT_EQ(told(), "ba-a 2 1 0");
  list->Put(2, c.Get());
  list->Put(2, c.Get());
  list->Exchange(0, 3);
  EXPECT_EQ(told(), "aacb 2 1 1");
  EXPECT_EQ(list->Remove(a.Get()), 0);
  EXPECT_EQ(list->Remove(nullptr), -1);
  EXPECT_EQ(list->IndexOf(b.Get()), 2);
  list->Delete(1);
  for (const int outside : {-1, 2}) {
    EXPECT_THROW(list->Get(outside), EListError);
    EXPECT_THROW(list->Put(outside, c.Get()), EListError);
    EXPECT_THROW(list->Delete(outside), EListError);
    EXPECT_THROW(list->Exchange(0, outside), EListError);
    EXPECT_THROW(list->Insert(outside < 0 ? -1 : 3, c.Get()), EListError);
  }
  EXPECT_EQ(told(), "ab 1 1 0");
  list->Clear();
  EXPECT_EQ(told(), " 0 0 0");
}

// An entry that ends calls the list, changes it, and takes its last holder away.
TEST(IInterfaceList, AnEntryMayCallTheListWhileItEnds) {
  TInterfaceRef<IInterfaceList> list(New<TInterfaceList>());
  void* found = nullptr;
  EXPECT_EQ(list->QueryInterface(IInterfaceList::IID, &found), S_OK);
  EXPECT_EQ(found, list.Get());
  EXPECT_EQ(list->_Release(), 1);
  EXPECT_EQ(list->QueryInterface(IInterface::IID, &found), S_OK);
  EXPECT_EQ(static_cast<IInterface*>(found)->_Release(), 1);
  std::vector<int> counts;
  for (int i = 0; i < 4; ++i) {
    TItem* const item = New<TItem>('x');
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

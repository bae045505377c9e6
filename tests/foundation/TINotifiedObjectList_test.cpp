#include "perlayer/foundation/TINotifiedObjectList.h"

#include <gtest/gtest.h>

#include <random>
#include <set>

#include "perlayer/foundation/TplDomainNotifier.h"

namespace perlayer {
namespace {

// Numbers as walks meet them (dense), far apart, and alike in their low bits.
TEST(TINotifiedObjectList, TheSetAnswersAsStdSetDoes) {
  for (const std::uint64_t stride :
       {std::uint64_t{1}, std::uint64_t{1} << 32, std::uint64_t{4096}}) {
    std::mt19937 random(static_cast<unsigned>(stride % 1000 + 1));
    TSequenceSet numbers;
    for (int round = 0; round < 3; ++round) {
      std::set<std::uint64_t> model;
      for (int step = 0; step < 3000; ++step) {
        const std::uint64_t number = (1 + random() % 2000) * stride;
        ASSERT_EQ(numbers.Contains(number), model.count(number) == 1) << number;
        if (random() % 2 == 0) {
          numbers.Insert(number);
          model.insert(number);
        }
      }
      numbers.Clear();
      for (const std::uint64_t number : model) ASSERT_FALSE(numbers.Contains(number));
    }
  }
}

TEST(TINotifiedObjectList, AnObjectAtTheAddressOfAnotherIsANewOne) {
  auto form = Make<TObject>();
  auto list = Make<TINotifiedObjectList>();
  std::set<const void*> addresses;
  int reused = 0;
  for (int i = 0; i < 100; ++i) {
    auto* object = New<TplDomainNotifier>(nullptr, form.Get());
    if (!addresses.insert(object).second) ++reused;
    ASSERT_EQ(list->IndexOfObject(object), -1);
    list->AddObject(object);
    ASSERT_GE(list->IndexOfObject(object), 0);
    object->Release(form.Get());
  }
  RecordProperty("addressesUsedAgain", reused);
  EXPECT_EQ(list->Count(), 0) << "the storage of the base list stays unused";
}

}  // namespace
}  // namespace perlayer

#include "perlayer/platform/TCountedTree.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <random>
#include <string>
#include <vector>

// The items below are aligned more strictly than operator new promises, so that leaves, and nothing
// else in this program, take their memory here: it can be made to run out.
namespace {
constexpr std::size_t kAlignment = 2 * __STDCPP_DEFAULT_NEW_ALIGNMENT__;
int LeavesLeft = -1;  // how many more there is memory for; below 0 for any number
}  // namespace

void* operator new(std::size_t size, std::align_val_t alignment) {
  if (LeavesLeft == 0) throw std::bad_alloc();
  if (LeavesLeft > 0) --LeavesLeft;
  const auto unit = static_cast<std::size_t>(alignment);
  if (void* memory = std::aligned_alloc(unit, (size + unit - 1) / unit * unit)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }

namespace perlayer {
namespace {

struct alignas(kAlignment) TItem {
  std::string text;  // owns memory, so that the sanitizer sees an item lost or given back twice
  int value;
  explicit TItem(int v) : text("a text with memory of its own: " + std::to_string(v)), value(v) {}
  TItem(TItem&&) noexcept = default;
  TItem(const TItem& other) : text(other.text), value(other.value) {
    if (CopiesLeft == 0) throw std::runtime_error("no copy");
    if (CopiesLeft > 0) --CopiesLeft;
  }
  static inline int CopiesLeft = -1;
};

using TTree = TCountedTree<TItem>;

// Hints repeat, so that many neighbours share one.
std::uint64_t HintOf(int value) { return static_cast<std::uint64_t>(value) / 8; }

std::vector<int> ValuesOf(const TTree& tree) {
  std::vector<int> values;
  tree.ForEach([&](const TItem& item, std::uint64_t) { values.push_back(item.value); });
  return values;
}

class TCountedTreeModel : public testing::TestWithParam<unsigned> {
 protected:
  int Below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random); }
  int Count() const { return static_cast<int>(model.size()); }

  int PartitionPoint(int value) const {
    bool asked = false;
    const int found = tree.PartitionPoint(HintOf(value), [&](const TItem& item) {
      EXPECT_EQ(HintOf(item.value), HintOf(value));
      asked = asked || item.value == value;
      return item.value < value;
    });
    const bool there = found < Count() && model[static_cast<std::size_t>(found)] == value;
    EXPECT_EQ(asked, there);
    return found;
  }
  void InsertInOrder(int value) {
    const auto place = std::lower_bound(model.begin(), model.end(), value);
    const int index = static_cast<int>(place - model.begin());
    ASSERT_EQ(PartitionPoint(value), index);
    // Now and then there is no memory; the sequence must not show it.
    LeavesLeft = Below(4) == 0 ? 0 : -1;
    TItem item(value);
    try {
      tree.Insert(index, HintOf(value), std::move(item));
      model.insert(place, value);
    } catch (const std::bad_alloc&) {
      EXPECT_FALSE(item.text.empty());
      ++refused;
    }
    LeavesLeft = -1;
  }
  void Check() const {
    ASSERT_TRUE(tree.IsSound());
    ASSERT_EQ(tree.Count(), Count());
    ASSERT_EQ(ValuesOf(tree), model);
  }

  std::mt19937 random{GetParam()};
  TTree tree;
  std::vector<int> model;  // ascending
  int refused = 0;
};

// Grows to a tree of three levels and back to nothing, over and over: at random places, at the end
// only, at the front only.
TEST_P(TCountedTreeModel, AnswersAsAPlainVectorDoes) {
  for (int round = 0; round < 9; ++round) {
    SCOPED_TRACE("seed " + std::to_string(GetParam()) + ", round " + std::to_string(round));
    const int size = 1 + Below(round % 3 == 0 ? 6000 : 2500);
    for (int step = 0; step < 2 * size; ++step) {
      const bool growing = step < size;
      if (Count() == 0 || Below(10) < (growing ? 8 : 2)) {
        const int last = model.empty() ? 1000000 : model.back();
        const int first = model.empty() ? 1000000 : model.front();
        InsertInOrder(round % 3 == 0   ? Below(2000000)
                      : round % 3 == 1 ? last + Below(3)
                                       : first - Below(3));
      } else {
        const int index = round % 3 == 0 ? Below(Count()) : Below(2) == 0 ? 0 : Count() - 1;
        ASSERT_EQ(tree.At(index).value, model[static_cast<std::size_t>(index)]);
        tree.Erase(index);
        model.erase(model.begin() + index);
      }
      ASSERT_EQ(tree.Count(), Count());
      if (step % 512 == 0) Check();
    }
    Check();
    const TTree copy(tree);
    EXPECT_TRUE(copy.IsSound());
    EXPECT_EQ(ValuesOf(copy), model);
    while (Count() > 0) {
      const int index = Below(Count());
      tree.Erase(index);
      model.erase(model.begin() + index);
      if (Count() % 64 == 0) Check();
    }
  }
  EXPECT_GT(refused, 0);
}

INSTANTIATE_TEST_SUITE_P(Seeds, TCountedTreeModel, testing::Range(1u, 7u));

TEST(TCountedTree, ACopyThatFailsLeavesNothingBehind) {
  TTree tree;
  for (int i = 0; i < 200; ++i) tree.Insert(i, 0, TItem(i));
  TTree target;
  target.Insert(0, 0, TItem(7));
  for (const int copies : {0, 1, 31, 32, 33, 199}) {
    TItem::CopiesLeft = copies;
    EXPECT_THROW(target = tree, std::runtime_error);
    EXPECT_EQ(ValuesOf(target), std::vector<int>{7});
  }
  TItem::CopiesLeft = -1;
  target = tree;
  EXPECT_EQ(ValuesOf(target), ValuesOf(tree));
}

TEST(TCountedTree, NewHintsAreWhatSearchesGoBy) {
  TTree tree;
  for (int i = 0; i < 5000; ++i) tree.Insert(tree.Count(), 0, TItem(i));
  tree.Rehint([](const TItem& item) { return static_cast<std::uint64_t>(item.value) * 2; });
  EXPECT_TRUE(tree.IsSound());
  const auto never = [](const TItem&) { return false; };
  for (int i = 0; i < 5000; ++i) {
    ASSERT_EQ(tree.PartitionPoint(static_cast<std::uint64_t>(i) * 2, never), i);
    ASSERT_EQ(tree.PartitionPoint(static_cast<std::uint64_t>(i) * 2 + 1, never), i + 1);
  }
}

}  // namespace
}  // namespace perlayer

#include "perlayer/platform/TCountedTree.h"

#include <string>
#include <vector>

#include "support/ModelTest.h"

namespace perlayer {
namespace {

struct TItem {
  std::string text;  // owns memory, so that the sanitizer sees an item lost or given back twice
  std::uint32_t value;
  const void* leaf = nullptr;

  explicit TItem(std::uint32_t v)
      : text("a text with memory of its own: " + std::to_string(v)), value(v) {}
  void StandsIn(const void* here) { leaf = here; }
  bool operator==(const TItem& other) const { return value == other.value; }
};

// Of a value's four bytes the last three bits tell nothing, so that many neighbours share a hint. A
// hint is two of the bytes: few enough that nodes go as deep as they may.
struct THints {
  using THint = std::uint16_t;
  struct TProbe {
    THint At(unsigned depth) const { return static_cast<THint>(bytes << 8 * depth >> 16); }
    std::uint32_t bytes;
  };
  static constexpr unsigned kMaxDepth = 2;
  static TProbe ProbeOf(const TItem& item) { return ProbeOf(item.value); }
  static TProbe ProbeOf(std::uint32_t value) { return {value & ~7u}; }
  static unsigned Common(THint low, THint high) {
    return low == high ? 2 : low >> 8 == high >> 8 ? 1 : 0;
  }
  static THint Deeper(THint hint, unsigned by, bool upper) {
    const unsigned bytes = unsigned{hint} << 16 | (upper ? 0xFFFF : 0);
    return static_cast<THint>(bytes << 8 * by >> 16);
  }
};

using TTree = TCountedTree<TItem, THints>;

class TCountedTreeModel : public TModelTest {
 protected:
  int Count() const { return static_cast<int>(model.size()); }

  int PartitionPoint(std::uint32_t value) const {
    bool asked = false;
    const int found = tree.PartitionPoint(THints::ProbeOf(value), [&](const TItem& item) {
      asked = asked || item.value == value;
      return item.value < value;
    });
    const bool there = found < Count() && model[static_cast<std::size_t>(found)] == value;
    EXPECT_EQ(asked, there);
    return found;
  }
  void InsertInOrder(std::uint32_t value) {
    const auto place = std::lower_bound(model.begin(), model.end(), value);
    const int index = static_cast<int>(place - model.begin());
    ASSERT_EQ(PartitionPoint(value), index);
    TItem item(value);
    if (Attempt([&] { tree.Insert(index, std::move(item)); })) {
      model.insert(place, value);
    } else {
      ASSERT_FALSE(item.text.empty());
    }
  }
  void Check() const {
    ASSERT_TRUE(tree.IsSound());
    std::vector<std::uint32_t> values;
    tree.ForEach([&](const TItem& item) { values.push_back(item.value); });
    ASSERT_EQ(values, model);
    for (int i = 0; i < Count(); i += 7) {
      const TItem& item = tree.At(i);
      const auto first = std::lower_bound(model.begin(), model.end(), item.value) - model.begin();
      const int index = tree.IndexIn(item.leaf, item);
      ASSERT_LE(index, i);
      ASSERT_GE(index, first) << "equal items are not told apart";
    }
  }
  // Far apart, or close together behind one of a few beginnings.
  std::uint32_t RandomValue() {
    const auto value = static_cast<std::uint32_t>(Below(0x7FFFFFFF));
    return Below(2) == 0 ? value : (value % 7) << 24 | 0x00ABC000 | (value >> 8 & 0xFFF);
  }

  TTree tree;
  std::vector<std::uint32_t> model;  // ascending
};

// Grows to a tree of three levels and back to nothing, over and over: at random places, at the end
// only, at the front only.
TEST_P(TCountedTreeModel, AnswersAsAPlainVectorDoes) {
  for (int round = 0; round < ModelSteps(9); ++round) {
    SCOPED_TRACE("seed " + std::to_string(GetParam()) + ", round " + std::to_string(round));
    const int size = 1 + Below(round % 3 == 0 ? 6000 : 2500);
    for (int step = 0; step < 2 * size && !HasFatalFailure(); ++step) {
      const bool growing = step < size;
      if (Count() == 0 || Below(10) < (growing ? 8 : 2)) {
        const std::uint32_t last = model.empty() ? 1000000 : model.back();
        const std::uint32_t first = model.empty() ? 1000000 : model.front();
        const auto stride = static_cast<std::uint32_t>(Below(3));
        InsertInOrder(round % 3 == 0   ? RandomValue()
                      : round % 3 == 1 ? last + stride
                                       : first - stride);
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
    TTree copy;
    if (!Attempt([&] { copy = tree; })) {
      ASSERT_EQ(copy.Count(), 0);
      copy = tree;
    }
    std::swap(tree, copy);
    tree.Hints(THints());
    Check();
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

}  // namespace
}  // namespace perlayer

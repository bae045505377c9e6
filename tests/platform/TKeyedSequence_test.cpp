#include "perlayer/platform/TKeyedSequence.h"

#include <vector>

#include "perlayer/platform/Exception.h"
#include "support/ModelTest.h"

namespace perlayer {
namespace {

class TKeyedSequenceModel : public TModelTest {
 protected:
  struct TEntry {
    std::string text;
    int value;
  };
  int Count() const { return static_cast<int>(model.size()); }
  // Few enough that texts repeat, in any case.
  std::string RandomText() {
    return (Below(2) == 0 ? "Sequence-" : "SEQUENCE-") + std::to_string(Below(texts));
  }
  int IndexOf(const std::string& text) const {
    for (int i = 0; i < Count(); ++i) {
      if (SameText(model[static_cast<std::size_t>(i)].text, text)) return i;
    }
    return -1;
  }
  void Step(bool growing) {
    const int kind = Below(100);
    const int index = Below(20) == 0 ? Below(Count() + 2) - 1 : Below(Count() + 1);
    if (kind < (growing ? 50 : 20)) {
      const std::string text = RandomText();
      if (index < 0 || index > Count()) {
        ASSERT_THROW(sequence.Insert(index, text, next), EListError);
      } else if (Attempt([&] { sequence.Insert(index, text, next); })) {
        model.insert(model.begin() + index, {text, next++});
      }
    } else if (kind < 70) {
      if (index < 0 || index >= Count()) {
        ASSERT_THROW(sequence.Delete(index), EListError);
        ASSERT_THROW(sequence.TextAt(index), EListError);
        return;
      }
      sequence.Delete(index);
      model.erase(model.begin() + index);
    } else if (kind < 85) {
      const std::string text = RandomText();
      ASSERT_EQ(sequence.IndexOf(text), IndexOf(text));
      ASSERT_EQ(sequence.Contains(text), IndexOf(text) >= 0);
    } else if (kind < 87) {
      const std::string prefix = "SequencE-" + std::to_string(Below(30));
      std::vector<int> expected;
      for (const TEntry& entry : model) {
        if (StartsText(prefix, entry.text)) expected.push_back(entry.value);
      }
      std::vector<int> found;
      int rank = sequence.FindFirstPrefix(prefix);
      ASSERT_EQ(rank < 0, expected.empty());
      for (; rank >= 0 && rank < Count() && StartsText(prefix, sequence.SortedTextAt(rank));
           ++rank) {
        found.push_back(sequence.SortedPayloadAt(rank));
      }
      std::sort(expected.begin(), expected.end());
      std::sort(found.begin(), found.end());
      ASSERT_EQ(found, expected);
    } else if (index >= 0 && index < Count()) {
      sequence.PayloadAt(index) = next;
      model[static_cast<std::size_t>(index)].value = next++;
    }
  }
  void Check() const {
    ASSERT_TRUE(sequence.IsSound());
    ASSERT_EQ(sequence.Count(), Count());
    for (int i = 0; i < Count(); ++i) {
      ASSERT_EQ(sequence.TextAt(i), model[static_cast<std::size_t>(i)].text);
      ASSERT_EQ(sequence.PayloadAt(i), model[static_cast<std::size_t>(i)].value);
    }
  }

  TKeyedSequence<int> sequence;
  std::vector<TEntry> model;
  int texts = 0;
  int next = 0;
};

// With texts that seldom repeat, often, or nearly always.
TEST_P(TKeyedSequenceModel, AnswersAsAPlainVectorDoes) {
  for (const int different : {100000, 300, 5}) {
    texts = different;
    const int steps = ModelSteps(12000);
    for (int step = 0; step < steps && !HasFatalFailure(); ++step) {
      SCOPED_TRACE(testing::Message() << "seed " << GetParam() << ", step " << step);
      Step(step < steps / 2);
      if (step % 1000 == 0) Check();
    }
    Check();
    sequence.Clear();
    model.clear();
  }
  EXPECT_GT(refused, 0);
}

INSTANTIATE_TEST_SUITE_P(Seeds, TKeyedSequenceModel, testing::Range(1u, 4u));

}  // namespace
}  // namespace perlayer

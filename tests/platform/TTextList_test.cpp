#include "perlayer/platform/TTextList.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <functional>
#include <memory>
#include <random>

#include "perlayer/platform/Exception.h"

namespace perlayer {
namespace {

// The list once more, as simple as it can be said: a vector that is stably sorted where the list
// keeps itself sorted, and linear search. Texts are ASCII, so that folding is std::tolower.
struct TModel {
  struct TEntry {
    std::string text;
    int value;
    friend bool operator==(const TEntry&, const TEntry&) = default;
  };

  std::string Key(std::string text) const {
    if (!caseSensitive) {
      for (char& c : text) c = static_cast<char>(std::tolower(c));
    }
    return text;
  }
  void Sort() {
    std::stable_sort(entries.begin(), entries.end(), [this](const TEntry& a, const TEntry& b) {
      return Key(a.text) < Key(b.text);
    });
  }
  // The first entry that is not below the text.
  int LowerBound(const std::string& text) const {
    int index = 0;
    while (index < Count() && Key(entries[index].text) < Key(text)) ++index;
    return index;
  }
  int IndexOf(const std::string& text) const {
    int index = 0;
    while (index < Count() && Key(entries[index].text) != Key(text)) ++index;
    return index == Count() ? -1 : index;
  }
  int Count() const { return static_cast<int>(entries.size()); }

  std::vector<TEntry> entries;
  bool sorted = false;
  bool caseSensitive = false;
  TDuplicates duplicates = TDuplicates::dupIgnore;
};

using TPayload = std::unique_ptr<int>;  // a payload need only be movable

class TTextListModel : public testing::TestWithParam<unsigned> {
 protected:
  int Below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random); }
  std::string RandomText() {
    std::string text;
    for (int length = Below(3); length >= 0; --length) text += "abABz"[Below(5)];
    return text;
  }
  static TPayload Payload(int value) { return std::make_unique<int>(value); }

  // Runs an operation that the list must refuse when it is sorted, an index is outside, or both.
  template <class TOperation>
  void Change(bool inRange, const TOperation& operation, const std::function<void()>& onModel) {
    if (model.sorted || !inRange) {
      EXPECT_THROW(operation(), EListError);
    } else {
      operation();
      onModel();
    }
  }

  void Add() {
    const std::string text = RandomText();
    const int old = model.IndexOf(text);
    if (model.sorted && old >= 0 && model.duplicates == TDuplicates::dupError) {
      EXPECT_THROW(list.Add(text, Payload(next)), EListError);
      return;
    }
    const int index = list.Add(text, Payload(next));
    if (model.sorted && old >= 0 && model.duplicates == TDuplicates::dupIgnore) {
      EXPECT_EQ(model.Key(model.entries.at(index).text), model.Key(text));
      return;
    }
    const int expected = model.sorted ? model.LowerBound(text) : model.Count();
    EXPECT_EQ(index, expected);
    model.entries.insert(model.entries.begin() + expected, {text, next++});
  }

  void Find() {
    const std::string text = RandomText();
    const int first = model.IndexOf(text);
    int index = -7;
    if (!model.sorted) {
      EXPECT_THROW(list.Find(text, index), EListError);
      EXPECT_EQ(list.IndexOf(text), first);
      return;
    }
    ASSERT_EQ(list.Find(text, index), first >= 0);
    if (first < 0 || model.duplicates == TDuplicates::dupAccept) {
      EXPECT_EQ(index, model.LowerBound(text));
    } else {
      EXPECT_EQ(model.Key(model.entries.at(index).text), model.Key(text));
    }
    EXPECT_EQ(list.IndexOf(text), first < 0 ? -1 : index);
  }

  void Step() {
    // One beyond either end, now and then.
    const int a = Below(model.Count() + 2) - 1;
    const int b = Below(model.Count() + 2) - 1;
    const auto within = [&](int index, int end) { return index >= 0 && index < end; };
    const bool both = within(a, model.Count()) && within(b, model.Count());
    auto& entries = model.entries;
    switch (Below(16)) {
      case 0: {
        const std::string text = RandomText();
        Change(
            within(a, model.Count() + 1), [&] { list.Insert(a, text, Payload(next)); },
            [&] {
              entries.insert(entries.begin() + a, {text, next++});
            });
        break;
      }
      case 1: {
        const std::string text = RandomText();
        Change(
            within(a, model.Count()), [&] { list.SetText(a, text); },
            [&] { entries[a].text = text; });
        break;
      }
      case 2:
        Change(
            both, [&] { list.Exchange(a, b); }, [&] { std::swap(entries[a], entries[b]); });
        break;
      case 3:
        Change(
            both, [&] { list.Move(a, b); },
            [&] {
              const TModel::TEntry moving = entries[a];
              entries.erase(entries.begin() + a);
              entries.insert(entries.begin() + b, moving);
            });
        break;
      case 4:
      case 5:
        if (within(a, model.Count())) {
          list.Delete(a);
          entries.erase(entries.begin() + a);
        } else {
          EXPECT_THROW(list.Delete(a), EListError);
          EXPECT_THROW(list.TextAt(a), EListError);
          EXPECT_THROW(list.PayloadAt(a), EListError);
        }
        break;
      case 6:
        list.Sort();
        model.Sort();
        break;
      case 7:
        model.sorted = Below(2) == 0;
        list.Sorted(model.sorted);
        if (model.sorted) model.Sort();
        break;
      case 8:
        model.caseSensitive = Below(2) == 0;
        list.CaseSensitive(model.caseSensitive);
        if (model.sorted) model.Sort();
        break;
      case 9:
        model.duplicates = static_cast<TDuplicates>(Below(3));
        list.Duplicates(model.duplicates);
        break;
      case 10:
        if (Below(20) == 0) {
          list.Clear();
          entries.clear();
        }
        break;
      case 11:
      case 12:
        Find();
        break;
      default:
        Add();
    }
  }

  std::mt19937 random{GetParam()};
  TTextList<TPayload> list;
  TModel model;
  int next = 0;
};

TEST_P(TTextListModel, AnswersAsAPlainVectorDoes) {
  for (int step = 0; step < 3000 && !HasFailure(); ++step) {
    SCOPED_TRACE("seed " + std::to_string(GetParam()) + ", step " + std::to_string(step));
    Step();
    std::vector<TModel::TEntry> found;
    for (int i = 0; i < list.Count(); ++i) found.push_back({list.TextAt(i), *list.PayloadAt(i)});
    ASSERT_EQ(found, model.entries);
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, TTextListModel, testing::Range(1u, 13u));

// The sorted body against the array that it stands for: bisection as it is written in books, over
// texts that begin alike, differ in case only, repeat, or are no proper UTF-8.
class TSortedTextsModel : public testing::TestWithParam<unsigned> {
 protected:
  struct TEntry {
    std::string text;
    int value;
  };

  int Below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random); }
  int Count() const { return static_cast<int>(model.size()); }
  const TEntry& At(int index) const { return model[static_cast<std::size_t>(index)]; }

  // Beginnings change from time to time, as does what all texts have in common.
  std::string RandomText() {
    static const std::string kBeginnings[] = {"", "Patient000", "PATIENT0", "Пациент-"};
    static const std::string kPieces[] = {"a", "A", "k", "K", "ſ",    "s",
                                          "č", "Č", "1", "2", "\xC4", std::string(1, 0)};
    std::string text = kBeginnings[Below(100) == 0 ? 0 : beginning];
    for (int length = Below(5); length > 0; --length) text += kPieces[Below(12)];
    return text;
  }
  bool Find(const std::string& text, int& index) const {
    bool found = false;
    int low = 0;
    int high = Count() - 1;
    while (low <= high) {
      const int probe = low + (high - low) / 2;
      const int order = list.Compare(At(probe).text, text);
      if (order < 0) {
        low = probe + 1;
      } else {
        high = probe - 1;
        if (order == 0) {
          found = true;
          if (list.Duplicates() != TDuplicates::dupAccept) low = probe;
        }
      }
    }
    index = low;
    return found;
  }
  void Sort() {
    std::stable_sort(model.begin(), model.end(), [this](const TEntry& a, const TEntry& b) {
      return list.Compare(a.text, b.text) < 0;
    });
  }
  void Add(const std::string& text) {
    int index;
    if (Find(text, index) && list.Duplicates() != TDuplicates::dupAccept) {
      if (list.Duplicates() == TDuplicates::dupIgnore) {
        ASSERT_EQ(list.Add(text, next), index);
      } else {
        ASSERT_THROW(list.Add(text, next), EListError);
      }
      return;
    }
    ASSERT_EQ(list.Add(text, next), index);
    model.insert(model.begin() + index, {text, next++});
  }
  void Look(const std::string& text) {
    int expected;
    int index = -7;
    const bool there = Find(text, expected);
    ASSERT_EQ(list.Find(text, index), there);
    ASSERT_EQ(index, expected);
    ASSERT_EQ(list.IndexOf(text), there ? index : -1);
  }
  void LookForPrefix(std::string text) {
    text.resize(static_cast<std::size_t>(Below(static_cast<int>(text.size()) + 1)));
    int expected = 0;
    while (expected < Count() && !StartsText(text, At(expected).text)) ++expected;
    ASSERT_EQ(list.FindFirstPrefix(text), expected == Count() ? -1 : expected);
  }
  void ChangeSettings() {
    switch (Below(40)) {
      case 0:
        list.Sorted(false);  // and texts out of order, equal ones too
        for (int i = Below(100); i > 0; --i) {
          const int index = Below(Count() + 1);
          const std::string text = RandomText();
          list.Insert(index, text, next);
          model.insert(model.begin() + index, {text, next++});
        }
        list.Sorted(true);
        Sort();
        break;
      case 1:
        list.CaseSensitive(!list.CaseSensitive());
        Sort();
        break;
      case 2:
        if (Below(4) == 0) {
          list.Clear();
          model.clear();
        }
        beginning = Below(4);
        break;
      default:
        list.Duplicates(static_cast<TDuplicates>(Below(3)));
    }
  }
  void Check() const {
    ASSERT_EQ(list.Count(), Count());
    for (int i = 0; i < Count(); ++i) {
      ASSERT_EQ(list.TextAt(i), At(i).text);
      ASSERT_EQ(list.PayloadAt(i), At(i).value);
    }
  }

  std::mt19937 random{GetParam()};
  TTextList<int> list;
  std::vector<TEntry> model;
  int beginning = 1;
  int next = 0;
};

TEST_P(TSortedTextsModel, AnswersAsABisectedArrayDoes) {
  list.Sorted(true);
  for (int step = 0; step < 170000 && !HasFailure(); ++step) {
    SCOPED_TRACE(testing::Message() << "seed " << GetParam() << ", step " << step);
    const int kind = Below(100);
    if (kind < 45) {
      Add(RandomText());
    } else if (kind < 70) {
      Look(RandomText());
    } else if (kind < 71) {
      LookForPrefix(RandomText());
    } else if (kind < 98) {
      if (Count() == 0) continue;
      const int index = Below(Count());
      list.Delete(index);
      model.erase(model.begin() + index);
    } else {
      ChangeSettings();
    }
    if (step % 1000 == 0) Check();
  }
  Check();
  const TTextList<int> copy(list);
  list.Clear();
  list = copy;
  Check();
}

INSTANTIATE_TEST_SUITE_P(Seeds, TSortedTextsModel, testing::Range(1u, 13u));

// Of five equal texts among seven, which are met: the middle one first, unless duplicates count.
TEST(TTextList, TieRuleFollowsDuplicates) {
  TTextList<int> list;
  for (const char* text : {"a", "k", "K", "k", "K", "k", "z"}) list.Add(text, list.Count());
  list.Sorted(true);
  int index;
  for (const TDuplicates strict : {TDuplicates::dupIgnore, TDuplicates::dupError}) {
    list.Duplicates(strict);
    EXPECT_TRUE(list.Find("k", index));
    EXPECT_EQ(index, 3);
  }
  list.Duplicates(TDuplicates::dupAccept);
  EXPECT_TRUE(list.Find("k", index));
  EXPECT_EQ(index, 1);
  EXPECT_EQ(list.Add("k", 99), 1) << "a new text goes before those equal to it";
  EXPECT_EQ(list.PayloadAt(1), 99);
}

// Prefixes stay neighbours, and bytes beyond ASCII sort behind all ASCII letters.
TEST(TTextList, OrdersUnsignedAndFoldsLettersBeyondAscii) {
  TTextList<int> list;
  list.Sorted(true);
  for (const char* text : {"Čas", "PATIENT10", "zima", "ČAS", "PATIENT1", "patient2"}) {
    list.Add(text, 0);
  }
  std::string texts;
  for (int i = 0; i < list.Count(); ++i) texts += list.TextAt(i) + " ";
  EXPECT_EQ(texts, "PATIENT1 PATIENT10 patient2 zima Čas ");
  list.CaseSensitive(true);
  EXPECT_EQ(list.IndexOf("ČAS"), -1);
}

TEST(TTextList, TakesViewsIntoItself) {
  TTextList<int> list;
  const std::string text = "a text too long to stand inside the string object";
  list.Add(text, 0);
  for (int i = 0; i < 100; ++i) list.Insert(0, list.TextAt(list.Count() - 1), i);  // reallocates
  list.SetText(0, std::string_view(list.TextAt(0)).substr(2, 4));
  EXPECT_EQ(list.TextAt(0), "text");
  for (int i = 1; i < list.Count(); ++i) ASSERT_EQ(list.TextAt(i), text);
}

}  // namespace
}  // namespace perlayer

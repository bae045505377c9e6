#include "perlayer/platform/TTextList.h"

#include <algorithm>

#include "perlayer/platform/Exception.h"
#include "support/ModelTest.h"

namespace perlayer {
namespace {

// The list against the plain array that it stands for, with bisection as it is written in books
// while it is sorted, over texts that begin alike, differ in case only, repeat, or are no proper
// UTF-8.
class TTextListModel : public TModelTest {
 protected:
  struct TEntry {
    std::string text;
    int value;
  };

  int Count() const { return static_cast<int>(model.size()); }
  const TEntry& At(int index) const { return model[static_cast<std::size_t>(index)]; }

  // Beginnings change from time to time, as does what all texts have in common.
  std::string RandomText() {
    static const std::string kBeginnings[] = {
        "", "Patient000", "PATIENT0", "Пациент-",
        // Several classes, known by more letters than a hint has, of which one begins another.
        "TpoEncounterDiagnosis:00", "TpoEncounterDiagnosisOfAWard:", "TpoEncounter:"};
    static const std::string kPieces[] = {"a", "A", "k", "K", "ſ",    "s",
                                          "č", "Č", "1", "2", "\xC4", std::string(1, 0)};
    std::string text = kBeginnings[Below(100) == 0 ? 0 : beginning < 4 ? beginning : 4 + Below(3)];
    for (int length = Below(beginning < 4 ? 5 : 9); length > 0; --length)
      text += kPieces[Below(12)];
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
    int added = -1;
    if (!Attempt([&] { added = list.Add(text, next); })) return;
    ASSERT_EQ(added, index);
    model.insert(model.begin() + index, {text, next++});
  }
  // Any operation of a list that is not sorted, one beyond either end now and then.
  void ChangeUnsorted() {
    const int a = Below(Count() + 2) - 1, b = Below(Count() + 2) - 1;
    const std::string text = RandomText();
    const auto expect = [&](bool allowed, auto operation, auto onModel) {
      if (allowed) {
        operation();
        onModel();
      } else {
        ASSERT_THROW(operation(), EListError);
      }
    };
    const auto place = model.begin() + std::max(a, 0);
    const bool there = a >= 0 && a < Count(), both = there && b >= 0 && b < Count();
    switch (Below(8)) {
      case 0:
        ASSERT_EQ(list.Add(text, next), Count());
        model.push_back({text, next++});
        break;
      case 1:
        expect(
            there, [&] { list.SetText(a, text); }, [&] { place->text = text; });
        break;
      case 2:
        expect(
            both, [&] { list.Exchange(a, b); }, [&] { std::swap(*place, model[b]); });
        break;
      case 3:
        expect(
            both, [&] { list.Move(a, b); },
            [&] {
              const TEntry moving = *place;
              model.erase(place);
              model.insert(model.begin() + b, moving);
            });
        break;
      case 4:
        expect(
            there, [&] { list.Delete(a); }, [&] { model.erase(place); });
        break;
      case 5: {
        const auto found = std::find_if(model.begin(), model.end(), [&](const TEntry& entry) {
          return list.Compare(entry.text, text) == 0;
        });
        ASSERT_EQ(list.IndexOf(text), found == model.end() ? -1 : found - model.begin());
        ASSERT_THROW(list.TextAt(Count()), EListError);
        break;
      }
      case 6:
        if (Below(20) > 0) break;
        list.Sort();
        Sort();
        break;
      default:
        expect(
            a >= 0 && a <= Count(), [&] { list.Insert(a, text, next); },
            [&] {
              model.insert(place, {text, next++});
            });
    }
  }
  // Texts that come, and some that go, before anybody asks about order.
  void ComeAndGo() {
    for (int i = Below(100); i > 0 && !HasFailure(); --i) {
      const std::string text = RandomText();
      int index;
      if (!Find(text, index) && !text.empty()) {
        if (!Attempt([&] { list.AddLater(text, next); })) continue;
        model.insert(model.begin() + index, {text, next++});
      } else if (Count() > 0) {
        const auto place = model.begin() + Below(Count());
        if (place->text.empty() || !list.DeleteWaiting(place->text, place->value)) continue;
        model.erase(place);
        ++gone;
      }
      ASSERT_EQ(list.Count(), Count());
    }
    Attempt([&] { list.IndexOf(""); });
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
        for (int i = Below(100); i > 0; --i) ChangeUnsorted();
        Check();
        ASSERT_THROW(list.Find("", next), EListError);
        list.Sorted(true);
        ASSERT_THROW(list.Insert(0, "", 0), EListError);
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
        beginning = Below(5);
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

  TTextList<int> list;
  std::vector<TEntry> model;
  int beginning = static_cast<int>(GetParam() % 5);
  int next = 0;
  int gone = 0;  // of those that waited
};

TEST_P(TTextListModel, AnswersAsAPlainArrayDoes) {
  list.Sorted(true);
  for (int step = 0; step < ModelSteps(30000) && !HasFailure(); ++step) {
    SCOPED_TRACE(testing::Message() << "seed " << GetParam() << ", step " << step);
    const int kind = Below(100);
    if (kind < 45) {
      Add(RandomText());
    } else if (kind < 70) {
      Look(RandomText());
    } else if (kind < 71) {
      LookForPrefix(RandomText());
    } else if (kind < 72) {
      ComeAndGo();
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
  EXPECT_GT(gone, 100);
  ComeAndGo();
  const TTextList<int> copy(list);
  list.Clear();
  list = copy;
  Check();
}

INSTANTIATE_TEST_SUITE_P(Seeds, TTextListModel, testing::Range(1u, 13u));

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

#pragma once
// TSortedTexts<T>: items in the order of their texts, which an item tells by Text(). The sorted
// body of TTextList and the index of TKeyedSequence: a counted tree with hints, in which adding,
// deleting, finding and access by index take O(log n).
//
// Texts compare by CompareText unless case counts. Invariant: no text compares above its successor;
// where equal ones stand is the caller's to say. Belongs to one thread at a time.

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include "perlayer/platform/TCountedTree.h"
#include "perlayer/platform/TTextHints.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

template <class T>
class TSortedTexts {
 public:
  // Where a text is, or would go.
  struct TPlace {
    int index;   // of the first text that is not below
    bool found;  // that one is equal
    TTextHints::TProbe probe;
  };

  explicit TSortedTexts(bool caseSensitive = false)
      : FTree(TTextHints(caseSensitive)), FCaseSensitive(caseSensitive) {}

  int Count() const { return FTree.Count(); }
  // REQUIRES: 0 <= index < Count(), here and in Erase
  const T& At(int index) const { return FTree.At(index); }
  T& At(int index) { return FTree.At(index); }
  static int Compare(bool caseSensitive, std::string_view a, std::string_view b) {
    return caseSensitive ? a.compare(b) : CompareText(a, b);
  }
  int Compare(std::string_view a, std::string_view b) const {
    return Compare(FCaseSensitive, a, b);
  }

  TPlace Locate(std::string_view text) const;
  // Behind the last of the texts equal to it. REQUIRES: place is where Locate found the text
  int EndOfEqual(const TPlace& place, std::string_view text) const;
  // The lowest index whose text begins with `prefix`, in any case, or -1; the other matches follow
  // it. REQUIRES: case does not count
  int FindFirstPrefix(std::string_view prefix) const;

  // Brings items into the order of their texts; equal ones in any.
  static void Order(bool caseSensitive, std::vector<T*>& items);

  // Puts the item where its text was located. REQUIRES: place.index, which may have been moved
  // among equal texts, keeps the order. Where memory runs out the item stays with the caller.
  void Insert(TPlace& place, T&& item);
  // Behind all others. REQUIRES: no text is above, and it was to be expected
  void Append(T&& item) {
    const TTextHints::TProbe probe = FTree.Hints().Probe(item.Text());
    FTree.Insert(Count(), probe, std::move(item));
  }
  void Erase(int index) noexcept { FTree.Erase(index); }
  void Clear() noexcept { FTree.Clear(); }
  template <class TVisit>
  void ForEach(TVisit visit) const {
    FTree.ForEach(visit);
  }
  bool IsSound() const { return FTree.IsSound(); }  // for tests
  // Those that are to be appended are all between these two.
  void Expect(std::string_view first, std::string_view last) {
    TTextHints hints = FTree.Hints();
    hints.Admit(first, 0);
    hints.Admit(last, 1);
    FTree.Hints(hints);
  }

 private:
  TCountedTree<T, TTextHints> FTree;
  bool FCaseSensitive;
};

template <class T>
typename TSortedTexts<T>::TPlace TSortedTexts<T>::Locate(std::string_view text) const {
  TPlace place{0, false, FTree.Hints().Probe(text)};
  const int side = FTree.Hints().Side(place.probe);
  if (side != 0) {
    place.index = side < 0 ? 0 : Count();
    return place;
  }
  place.index = FTree.PartitionPoint(place.probe, [&](const T& item) {
    const int order = Compare(item.Text(), text);
    place.found = place.found || order == 0;
    return order < 0;
  });
  return place;
}

template <class T>
int TSortedTexts<T>::EndOfEqual(const TPlace& place, std::string_view text) const {
  const int next = place.index + 1;
  if (next == Count() || Compare(FTree.At(next).Text(), text) != 0) return next;
  return FTree.PartitionPoint(place.probe,
                              [&](const T& item) { return Compare(item.Text(), text) <= 0; });
}

template <class T>
int TSortedTexts<T>::FindFirstPrefix(std::string_view prefix) const {
  const int index = Locate(prefix).index;
  return index < Count() && StartsText(prefix, At(index).Text()) ? index : -1;
}

// Hints of what all of them do not have in common tell nearly all apart.
template <class T>
void TSortedTexts<T>::Order(bool caseSensitive, std::vector<T*>& items) {
  struct THinted {
    TTextHints::THint hint;
    T* item;
  };
  TTextHints hints(caseSensitive);
  for (const T* item : items) hints.Admit(item->Text(), item == items.front() ? 0 : 1);
  std::vector<THinted> hinted;
  hinted.reserve(items.size());
  for (T* item : items) hinted.push_back({hints.Probe(item->Text()).At(0), item});
  std::sort(hinted.begin(), hinted.end(), [&](const THinted& a, const THinted& b) {
    return a.hint != b.hint ? a.hint < b.hint
                            : Compare(caseSensitive, a.item->Text(), b.item->Text()) < 0;
  });
  std::transform(hinted.begin(), hinted.end(), items.begin(),
                 [](const THinted& one) { return one.item; });
}

template <class T>
void TSortedTexts<T>::Insert(TPlace& place, T&& item) {
  if (Count() == 0 || FTree.Hints().Side(place.probe) != 0) {
    TTextHints hints = FTree.Hints();
    const bool anew = hints.Admit(item.Text(), Count());
    if (anew || Count() == 0) FTree.Hints(hints);
    place.probe = hints.Probe(item.Text());
  }
  FTree.Insert(place.index, place.probe, std::move(item));
}

}  // namespace perlayer

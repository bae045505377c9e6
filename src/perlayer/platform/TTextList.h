#pragma once
// TTextList<T>: texts with a value of type T beside each: the body of TStringList, and by itself
// the list for records that are no TObject. See TStringList for order, look-up and duplicates.
//
// Unsorted, the body is an array. Sorted, it is a counted tree (TCountedTree), where adding,
// deleting, finding and access by index take O(log n); what a bisection of an array would find
// among equal texts is found all the same. Invariant: while Sorted(), no text compares above its
// successor; this is why texts of a sorted list can neither be replaced nor moved.
//
// T need only be movable, and must not raise when it moves. Texts given may be views into the list
// itself. A reference from TextAt or PayloadAt lives until the list's next change. An operation
// that raises leaves the list as it was.
//
// Belongs to the thread that made it.

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "perlayer/platform/TCountedTree.h"
#include "perlayer/platform/TTextHints.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

enum class TDuplicates { dupIgnore, dupAccept, dupError };

namespace detail {
[[noreturn]] void RaiseListIndex(int index);
[[noreturn]] void RaiseListDuplicate();
[[noreturn]] void RaiseListSorted();
[[noreturn]] void RaiseListUnsorted();
}  // namespace detail

template <class T>
class TTextList {
 public:
  int Count() const { return FSorted ? FTree.Count() : static_cast<int>(FItems.size()); }
  const std::string& TextAt(int index) const { return At(index).text; }
  const T& PayloadAt(int index) const { return At(index).payload; }
  T& PayloadAt(int index) { return const_cast<T&>(At(index).payload); }

  // Index of the new entry. When sorted: where order wants it, before texts equal to it; a text
  // that is there already raises EListError under dupError, and under dupIgnore the index of the
  // old entry is returned and `payload` dropped.
  int Add(std::string_view text, T payload);
  // Raise EListError on a sorted list.
  void Insert(int index, std::string_view text, T payload);
  void SetText(int index, std::string_view text);
  void Exchange(int a, int b);
  void Move(int from, int to);

  void Delete(int index);
  void Clear();

  // -1 when absent. By bisection when sorted, otherwise the first.
  int IndexOf(std::string_view text) const;
  // As TStringList::Find. Raises EListError on an unsorted list.
  bool Find(std::string_view text, int& index) const;
  // The lowest index whose text begins with `prefix`, in any case, or -1. By search when sorted and
  // not case-sensitive; the other matches then follow it.
  int FindFirstPrefix(std::string_view prefix) const;
  // Room for that many entries; a sorted list needs none.
  void Reserve(int count);

  bool Sorted() const { return FSorted; }
  void Sorted(bool sorted);
  void Sort();  // once, stably; an unsorted list stays so
  TDuplicates Duplicates() const { return FDuplicates; }
  void Duplicates(TDuplicates duplicates) { FDuplicates = duplicates; }
  bool CaseSensitive() const { return FCaseSensitive; }
  void CaseSensitive(bool sensitive);

  // Below 0, 0 or above 0, as the list compares its texts.
  int Compare(std::string_view a, std::string_view b) const { return Order(FCaseSensitive, a, b); }
  // An empty list with the settings of this one.
  TTextList EmptyCopy() const;

 private:
  struct TItem {
    std::string text;
    T payload;
  };
  using TTree = TCountedTree<TItem, TTextHints::THint>;
  // Where a text is in a sorted list, or would go.
  struct TPlace {
    int index;               // of the first text that is not below
    bool found;              // that one is equal
    bool among;              // the text begins like those of the list, so that
    TTextHints::THint hint;  // this is its hint
  };

  std::ptrdiff_t Checked(int index) const {
    if (static_cast<unsigned>(index) >= static_cast<unsigned>(Count())) {
      detail::RaiseListIndex(index);
    }
    return index;
  }
  const TItem& At(int index) const {
    Checked(index);
    return FSorted ? FTree.At(index) : FItems[static_cast<std::size_t>(index)];
  }
  void RequireUnsorted() const {
    if (FSorted) detail::RaiseListSorted();
  }
  static int Order(bool caseSensitive, std::string_view a, std::string_view b) {
    return caseSensitive ? a.compare(b) : CompareText(a, b);
  }
  TPlace Locate(std::string_view text) const;
  int ProbeOfEqual(const TPlace& place, std::string_view text) const;
  std::vector<TItem*> Pointers();
  void BuildTree(std::vector<TItem*> items, bool caseSensitive);

  std::vector<TItem> FItems;  // while unsorted
  TTree FTree;                // while sorted
  TTextHints FHints;          // of FTree
  bool FSorted = false;
  bool FCaseSensitive = false;
  TDuplicates FDuplicates = TDuplicates::dupIgnore;
};

template <class T>
int TTextList<T>::Add(std::string_view text, T payload) {
  if (!FSorted) {
    FItems.push_back(TItem{std::string(text), std::move(payload)});
    return Count() - 1;
  }
  TPlace place = Locate(text);
  if (place.found && FDuplicates == TDuplicates::dupIgnore) return ProbeOfEqual(place, text);
  if (place.found && FDuplicates == TDuplicates::dupError) detail::RaiseListDuplicate();
  TItem item{std::string(text), std::move(payload)};
  if (!place.among) {
    if (FHints.Admit(item.text, Count())) {
      FTree.Rehint([this](const TItem& other) { return FHints.Of(other.text); });
    }
    place.hint = FHints.Of(item.text);
  }
  FTree.Insert(place.index, place.hint, std::move(item));
  return place.index;
}

template <class T>
void TTextList<T>::Insert(int index, std::string_view text, T payload) {
  RequireUnsorted();
  if (index != Count()) Checked(index);
  FItems.insert(FItems.begin() + index, TItem{std::string(text), std::move(payload)});
}

template <class T>
void TTextList<T>::SetText(int index, std::string_view text) {
  RequireUnsorted();
  FItems[Checked(index)].text = std::string(text);
}

template <class T>
void TTextList<T>::Exchange(int a, int b) {
  RequireUnsorted();
  TItem& first = FItems[Checked(a)];
  TItem& second = FItems[Checked(b)];
  if (a != b) std::swap(first, second);
}

template <class T>
void TTextList<T>::Move(int from, int to) {
  RequireUnsorted();
  const auto source = FItems.begin() + Checked(from);
  const auto target = FItems.begin() + Checked(to);
  if (from < to) {
    std::rotate(source, source + 1, target + 1);
  } else {
    std::rotate(target, source, source + 1);
  }
}

template <class T>
int TTextList<T>::IndexOf(std::string_view text) const {
  if (FSorted) {
    int index;
    return Find(text, index) ? index : -1;
  }
  for (int i = 0; i < Count(); ++i) {
    if (Compare(FItems[i].text, text) == 0) return i;
  }
  return -1;
}

template <class T>
void TTextList<T>::Delete(int index) {
  Checked(index);
  if (FSorted) {
    FTree.Erase(index);
  } else {
    FItems.erase(FItems.begin() + index);
  }
}

template <class T>
void TTextList<T>::Clear() {
  FItems.clear();
  FTree.Clear();
}

template <class T>
void TTextList<T>::Reserve(int count) {
  if (!FSorted) FItems.reserve(static_cast<std::size_t>(std::max(count, 0)));
}

template <class T>
typename TTextList<T>::TPlace TTextList<T>::Locate(std::string_view text) const {
  TPlace place{0, false, false, 0};
  if (Count() == 0) return place;
  const int side = FHints.Place(text, place.hint);
  if (side != 0) {
    place.index = side < 0 ? 0 : Count();
    return place;
  }
  place.among = true;
  place.index = FTree.PartitionPoint(place.hint, [&](const TItem& item) {
    const int order = Compare(item.text, text);
    place.found = place.found || order == 0;
    return order < 0;
  });
  return place;
}

// Which of equal texts a bisection of an array meets first. Where Duplicates does not accept them
// there is but one, unless it was changed later.
template <class T>
int TTextList<T>::ProbeOfEqual(const TPlace& place, std::string_view text) const {
  const int first = place.index;
  if (first + 1 == Count() || Compare(FTree.At(first + 1).text, text) != 0) return first;
  const int end = FTree.PartitionPoint(
      place.hint, [&](const TItem& item) { return Compare(item.text, text) <= 0; });
  int low = 0;
  int high = Count() - 1;
  for (;;) {
    const int probe = low + (high - low) / 2;
    if (probe < first) {
      low = probe + 1;
    } else if (probe >= end) {
      high = probe - 1;
    } else {
      return probe;
    }
  }
}

// With dupAccept it is the first of equal texts that is found, otherwise the one that bisection
// meets first.
template <class T>
bool TTextList<T>::Find(std::string_view text, int& index) const {
  if (!FSorted) detail::RaiseListUnsorted();
  const TPlace place = Locate(text);
  const bool any = place.found && FDuplicates != TDuplicates::dupAccept;
  index = any ? ProbeOfEqual(place, text) : place.index;
  return place.found;
}

template <class T>
int TTextList<T>::FindFirstPrefix(std::string_view prefix) const {
  const bool ordered = FSorted && !FCaseSensitive;
  const int first = ordered ? Locate(prefix).index : 0;
  const int end = ordered ? std::min(first + 1, Count()) : Count();
  for (int i = first; i < end; ++i) {
    if (StartsText(prefix, TextAt(i))) return i;
  }
  return -1;
}

template <class T>
std::vector<typename TTextList<T>::TItem*> TTextList<T>::Pointers() {
  std::vector<TItem*> items;
  items.reserve(static_cast<std::size_t>(Count()));
  if (FSorted) {
    FTree.ForEach(
        [&](const TItem& item, TTextHints::THint) { items.push_back(const_cast<TItem*>(&item)); });
  } else {
    for (TItem& item : FItems) items.push_back(&item);
  }
  return items;
}

// Moves these items, which are all there are, to a new tree that becomes the list's; when that
// raises they move back to where they stood.
template <class T>
void TTextList<T>::BuildTree(std::vector<TItem*> items, bool caseSensitive) {
  std::stable_sort(items.begin(), items.end(), [&](const TItem* a, const TItem* b) {
    return Order(caseSensitive, a->text, b->text) < 0;
  });
  TTextHints hints(caseSensitive);
  if (!items.empty()) {
    hints.Admit(items.front()->text, 0);
    hints.Admit(items.back()->text, 1);
  }
  TTree tree;
  try {
    for (TItem* item : items) {
      tree.Insert(tree.Count(), hints.Of(item->text), std::move(*item));
    }
  } catch (...) {
    for (int i = tree.Count() - 1; i >= 0; --i) {
      std::destroy_at(items[i]);
      std::construct_at(items[i], std::move(tree.At(i)));
    }
    throw;
  }
  FTree = std::move(tree);
  FHints = hints;
  std::vector<TItem>().swap(FItems);
  FSorted = true;
  FCaseSensitive = caseSensitive;
}

template <class T>
void TTextList<T>::Sorted(bool sorted) {
  if (sorted == FSorted) return;
  if (sorted) {
    BuildTree(Pointers(), FCaseSensitive);
    return;
  }
  std::vector<TItem> items;
  items.reserve(static_cast<std::size_t>(Count()));
  for (TItem* item : Pointers()) items.push_back(std::move(*item));
  FItems = std::move(items);
  FTree.Clear();
  FSorted = false;
}

template <class T>
void TTextList<T>::Sort() {
  if (FSorted) return;
  std::stable_sort(FItems.begin(), FItems.end(),
                   [this](const TItem& a, const TItem& b) { return Compare(a.text, b.text) < 0; });
}

template <class T>
void TTextList<T>::CaseSensitive(bool sensitive) {
  if (sensitive == FCaseSensitive) return;
  if (FSorted) BuildTree(Pointers(), sensitive);
  FCaseSensitive = sensitive;
}

template <class T>
TTextList<T> TTextList<T>::EmptyCopy() const {
  TTextList result;
  result.FSorted = FSorted;
  result.FCaseSensitive = FCaseSensitive;
  result.FHints = TTextHints(FCaseSensitive);
  result.FDuplicates = FDuplicates;
  return result;
}

}  // namespace perlayer

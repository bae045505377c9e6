#pragma once
// TTextList<T>: texts with a value of type T beside each: the body of TStringList, and by itself
// the list for records that are no TObject. See TStringList for order, look-up and duplicates.
//
// The sorted body is an array searched by bisection. Invariant: while Sorted(), no text compares
// above its successor; this is why texts of a sorted list can neither be replaced nor moved.
//
// T need only be movable. Texts given may be views into the list itself. A reference from TextAt or
// PayloadAt lives until the list's next change. An operation that raises leaves the list as it was.
//
// Belongs to the thread that made it.

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

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
  int Count() const { return static_cast<int>(FItems.size()); }
  const std::string& TextAt(int index) const { return FItems[Checked(index)].text; }
  const T& PayloadAt(int index) const { return FItems[Checked(index)].payload; }
  T& PayloadAt(int index) { return FItems[Checked(index)].payload; }

  // Index of the new entry. When sorted: where order wants it, before texts equal to it; a text
  // that is there already raises EListError under dupError, and under dupIgnore the index of the
  // old entry is returned and `payload` dropped.
  int Add(std::string_view text, T payload);
  // Raise EListError on a sorted list.
  void Insert(int index, std::string_view text, T payload);
  void SetText(int index, std::string_view text);
  void Exchange(int a, int b);
  void Move(int from, int to);

  void Delete(int index) { FItems.erase(FItems.begin() + Checked(index)); }
  void Clear() { FItems.clear(); }

  // -1 when absent. By bisection when sorted, otherwise the first.
  int IndexOf(std::string_view text) const;
  // As TStringList::Find. Raises EListError on an unsorted list.
  bool Find(std::string_view text, int& index) const;
  void Reserve(int count) { FItems.reserve(static_cast<std::size_t>(std::max(count, 0))); }

  bool Sorted() const { return FSorted; }
  void Sorted(bool sorted);
  void Sort();  // once, stably; an unsorted list stays so
  TDuplicates Duplicates() const { return FDuplicates; }
  void Duplicates(TDuplicates duplicates) { FDuplicates = duplicates; }
  bool CaseSensitive() const { return FCaseSensitive; }
  void CaseSensitive(bool sensitive);

  // Below 0, 0 or above 0, as the list compares its texts.
  int Compare(std::string_view a, std::string_view b) const {
    return FCaseSensitive ? a.compare(b) : CompareText(a, b);
  }
  // An empty list with the settings of this one.
  TTextList EmptyCopy() const;

 private:
  struct TItem {
    std::string text;
    T payload;
  };

  std::ptrdiff_t Checked(int index) const {
    if (static_cast<std::size_t>(index) >= FItems.size()) detail::RaiseListIndex(index);
    return index;
  }
  void RequireUnsorted() const {
    if (FSorted) detail::RaiseListSorted();
  }
  void Put(int index, std::string_view text, T&& payload) {
    FItems.insert(FItems.begin() + index, TItem{std::string(text), std::move(payload)});
  }
  void SortItems() {
    std::stable_sort(FItems.begin(), FItems.end(), [this](const TItem& a, const TItem& b) {
      return Compare(a.text, b.text) < 0;
    });
  }

  std::vector<TItem> FItems;
  bool FSorted = false;
  bool FCaseSensitive = false;
  TDuplicates FDuplicates = TDuplicates::dupIgnore;
};

template <class T>
int TTextList<T>::Add(std::string_view text, T payload) {
  int index = Count();
  if (FSorted && Find(text, index)) {
    if (FDuplicates == TDuplicates::dupIgnore) return index;
    if (FDuplicates == TDuplicates::dupError) detail::RaiseListDuplicate();
  }
  Put(index, text, std::move(payload));
  return index;
}

template <class T>
void TTextList<T>::Insert(int index, std::string_view text, T payload) {
  RequireUnsorted();
  if (index != Count()) Checked(index);
  Put(index, text, std::move(payload));
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

// An equal probe does not end the search: it goes on to the left of it, so that with dupAccept the
// first of equal texts is found. Otherwise equal texts are not expected, and the search answers the
// probe itself; where they do exist (Duplicates was changed later), that need not be the first.
template <class T>
bool TTextList<T>::Find(std::string_view text, int& index) const {
  if (!FSorted) detail::RaiseListUnsorted();
  bool found = false;
  int low = 0;
  int high = Count() - 1;
  while (low <= high) {
    const int probe = low + (high - low) / 2;
    const int order = Compare(FItems[probe].text, text);
    if (order < 0) {
      low = probe + 1;
    } else {
      high = probe - 1;
      if (order == 0) {
        found = true;
        if (FDuplicates != TDuplicates::dupAccept) low = probe;
      }
    }
  }
  index = low;
  return found;
}

template <class T>
void TTextList<T>::Sorted(bool sorted) {
  if (sorted && !FSorted) SortItems();
  FSorted = sorted;
}

template <class T>
void TTextList<T>::Sort() {
  if (!FSorted) SortItems();
}

template <class T>
void TTextList<T>::CaseSensitive(bool sensitive) {
  if (sensitive == FCaseSensitive) return;
  FCaseSensitive = sensitive;
  if (FSorted) SortItems();
}

template <class T>
TTextList<T> TTextList<T>::EmptyCopy() const {
  TTextList result;
  result.FSorted = FSorted;
  result.FCaseSensitive = FCaseSensitive;
  result.FDuplicates = FDuplicates;
  return result;
}

}  // namespace perlayer

#pragma once
// TTextList<T>: texts with a value of type T beside each: the body of TStringList, and by itself
// the list for records that are no TObject. See TStringList for order, look-up and duplicates.
//
// Unsorted, the body is an array. Sorted, it is a counted tree (TSortedTexts), where adding,
// deleting, finding and access by index take O(log n); what a bisection of an array would find
// among equal texts is found all the same. Invariant: while Sorted(), no text compares above its
// successor; this is why texts of a sorted list can neither be replaced nor moved.
//
// A sorted list may be told of texts that nobody looks for by order yet (AddLater): they wait in an
// array and come to the tree, all at once, with the first question that has to do with order.
// Nobody can tell, but that such a question may raise std::bad_alloc then, having changed nothing.
// Those that go before anybody asks cost nothing.
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

#include "perlayer/platform/TSortedTexts.h"
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
  int Count() const { return FTexts.Count() + static_cast<int>(FItems.size()) - FGone; }
  const std::string& TextAt(int index) const { return At(index).text; }
  const T& PayloadAt(int index) const { return At(index).payload; }
  T& PayloadAt(int index) { return const_cast<T&>(At(index).payload); }

  // Index of the new entry. When sorted: where order wants it, before texts equal to it; a text
  // that is there already raises EListError under dupError, and under dupIgnore the index of the
  // old entry is returned and `payload` dropped.
  int Add(std::string_view text, T payload);
  // The same for a text that the caller knows to be new, without telling its index.
  // REQUIRES: Sorted(), the text is not empty and compares equal to none
  void AddLater(std::string_view text, T payload);
  // Room for so many more of those.
  void ReserveLater(int count) { FItems.reserve(FItems.size() + static_cast<std::size_t>(count)); }
  // Deletes an entry that still waits; false when it does not, or cannot be found at once. Those
  // that came first are found first. Takes no memory. REQUIRES: Sorted(), the text is not empty
  bool DeleteWaiting(std::string_view text, const T& payload) noexcept;
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
  int Compare(std::string_view a, std::string_view b) const {
    return TTexts::Compare(FCaseSensitive, a, b);
  }
  // An empty list with the settings of this one.
  TTextList EmptyCopy() const;

 private:
  struct TItem {
    const std::string& Text() const { return text; }
    std::string text;
    T payload;
  };
  using TTexts = TSortedTexts<TItem>;
  using TPlace = typename TTexts::TPlace;

  std::ptrdiff_t Checked(int index) const {
    if (static_cast<unsigned>(index) >= static_cast<unsigned>(Count())) {
      detail::RaiseListIndex(index);
    }
    return index;
  }
  const TItem& At(int index) const {
    Checked(index);
    return FSorted ? Texts().At(index) : FItems[static_cast<std::size_t>(index)];
  }
  // The tree, with all texts in it.
  TTexts& Texts() const {
    if (!FItems.empty()) Settle();
    return FTexts;
  }
  void Settle() const;
  void DropWaiting() const noexcept;
  void RequireUnsorted() const {
    if (FSorted) detail::RaiseListSorted();
  }
  int ProbeOfEqual(const TPlace& place, std::string_view text) const;
  std::vector<TItem*> Pointers();
  void BuildTree(std::vector<TItem*> items, bool caseSensitive);

  // Mutable, since Settle changes nothing that anybody can ask for.
  mutable std::vector<TItem> FItems;  // while unsorted; while sorted, those that wait
  mutable TTexts FTexts;              // while sorted
  mutable int FGone = 0;              // so many of those that wait have gone: their texts are empty
  mutable std::size_t FOldest = 0;    // all before this one have
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
  TPlace place = Texts().Locate(text);
  if (place.found && FDuplicates == TDuplicates::dupIgnore) return ProbeOfEqual(place, text);
  if (place.found && FDuplicates == TDuplicates::dupError) detail::RaiseListDuplicate();
  FTexts.Insert(place, TItem{std::string(text), std::move(payload)});
  return place.index;
}

template <class T>
void TTextList<T>::AddLater(std::string_view text, T payload) {
  TItem item{std::string(text), std::move(payload)};
  constexpr int kFew = 64;
  if (FGone > kFew && FGone > static_cast<int>(FItems.size() / 2)) {
    std::erase_if(FItems, [](const TItem& waiting) { return waiting.text.empty(); });
    FGone = 0;
    FOldest = 0;
  }
  FItems.push_back(std::move(item));
}

template <class T>
bool TTextList<T>::DeleteWaiting(std::string_view text, const T& payload) noexcept {
  constexpr std::size_t kNear = 16;
  const auto goes = [&](TItem& item) {
    if (item.text.empty() || item.payload != payload || Compare(item.text, text) != 0) return false;
    item.text = std::string();
    ++FGone;
    return true;
  };
  const std::size_t count = FItems.size();
  bool gone = false;
  for (std::size_t i = FOldest; !gone && i < std::min(count, FOldest + kNear); ++i) {
    gone = goes(FItems[i]);
  }
  for (std::size_t i = count; !gone && i > FOldest && i + kNear > count; --i) {
    gone = goes(FItems[i - 1]);
  }
  if (!gone) return false;
  if (FGone == static_cast<int>(count)) {
    DropWaiting();
    return true;
  }
  while (FItems[FOldest].text.empty()) ++FOldest;
  for (; FItems.back().text.empty(); --FGone) FItems.pop_back();
  return true;
}

template <class T>
void TTextList<T>::DropWaiting() const noexcept {
  std::vector<TItem>().swap(FItems);
  FGone = 0;
  FOldest = 0;
}

// Many make a tree in order, each behind the last one; to one that is there they come one by one.
// Where memory runs out those that have come there wait no more.
template <class T>
void TTextList<T>::Settle() const {
  constexpr std::size_t kMany = 16;
  std::vector<TItem*> items;
  if (FTexts.Count() == 0 && FItems.size() >= kMany + static_cast<std::size_t>(FGone)) {
    for (TItem& item : FItems) {
      if (!item.text.empty()) items.push_back(&item);
    }
    TTexts::Order(FCaseSensitive, items);
    FTexts.Expect(items.front()->text, items.back()->text);
  }
  const auto waitsNoMore = [&](TItem& item) {
    item.text.clear();
    ++FGone;
  };
  for (TItem* item : items) {
    FTexts.Append(std::move(*item));
    waitsNoMore(*item);
  }
  for (TItem& item : FItems) {
    if (item.text.empty()) continue;
    TPlace place = FTexts.Locate(item.text);
    FTexts.Insert(place, std::move(item));
    waitsNoMore(item);
  }
  DropWaiting();
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
    Texts().Erase(index);
  } else {
    FItems.erase(FItems.begin() + index);
  }
}

template <class T>
void TTextList<T>::Clear() {
  FItems.clear();
  FGone = 0;
  FOldest = 0;
  FTexts.Clear();
}

template <class T>
void TTextList<T>::Reserve(int count) {
  if (!FSorted) FItems.reserve(static_cast<std::size_t>(std::max(count, 0)));
}

// Which of equal texts a bisection of an array meets first. Where Duplicates does not accept them
// there is but one, unless it was changed later.
template <class T>
int TTextList<T>::ProbeOfEqual(const TPlace& place, std::string_view text) const {
  const int first = place.index;
  const int end = FTexts.EndOfEqual(place, text);
  if (end == first + 1) return first;
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
  const TPlace place = Texts().Locate(text);
  const bool any = place.found && FDuplicates != TDuplicates::dupAccept;
  index = any ? ProbeOfEqual(place, text) : place.index;
  return place.found;
}

template <class T>
int TTextList<T>::FindFirstPrefix(std::string_view prefix) const {
  if (FSorted && !FCaseSensitive) return Texts().FindFirstPrefix(prefix);
  for (int i = 0; i < Count(); ++i) {
    if (StartsText(prefix, TextAt(i))) return i;
  }
  return -1;
}

template <class T>
std::vector<typename TTextList<T>::TItem*> TTextList<T>::Pointers() {
  std::vector<TItem*> items;
  items.reserve(static_cast<std::size_t>(Count()));
  if (FSorted) {
    Texts().ForEach([&](const TItem& item) { items.push_back(const_cast<TItem*>(&item)); });
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
    return TTexts::Compare(caseSensitive, a->text, b->text) < 0;
  });
  TTexts texts(caseSensitive);
  if (!items.empty()) texts.Expect(items.front()->text, items.back()->text);
  try {
    for (TItem* item : items) texts.Append(std::move(*item));
  } catch (...) {
    for (int i = texts.Count() - 1; i >= 0; --i) {
      std::destroy_at(items[i]);
      std::construct_at(items[i], std::move(texts.At(i)));
    }
    throw;
  }
  FTexts = std::move(texts);
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
  FTexts.Clear();
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
  result.FTexts = TTexts(FCaseSensitive);
  result.FDuplicates = FDuplicates;
  return result;
}

}  // namespace perlayer

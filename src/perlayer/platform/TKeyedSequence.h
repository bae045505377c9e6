#pragma once
// TKeyedSequence<T>: texts with a value of type T beside each, in the order that the caller gives
// them, and found by text. Inserting and deleting at any index, finding, and telling the index of
// what was found take O(log n) each.
//
// Two counted trees hold the same entries, one in list order, one sorted by text; entries of equal
// text stand in list order there too, so that the first found is the first of the list. An entry
// knows its leaf in the first tree, from which its index is counted. Texts compare by CompareText.
//
// T need only be movable, and must not raise when it moves. Texts given may be views into the
// sequence itself; entries do not move in memory, and a reference lives until its entry is deleted.
// An operation that raises leaves everything as it was. Indices outside raise EListError "List
// index out of bounds (%d)". Belongs to one thread at a time.

#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "perlayer/platform/TCountedTree.h"
#include "perlayer/platform/TSortedTexts.h"
#include "perlayer/platform/TTextList.h"

namespace perlayer {

template <class T>
class TKeyedSequence {
 public:
  int Count() const { return FOrder.Count(); }
  const std::string& TextAt(int index) const { return At(index).text; }
  const T& PayloadAt(int index) const { return At(index).payload; }
  T& PayloadAt(int index) { return At(index).payload; }

  void Add(std::string_view text, T payload) { Insert(Count(), text, std::move(payload)); }
  void Insert(int index, std::string_view text, T payload);
  void Delete(int index);
  void Clear() noexcept {
    FOrder.Clear();
    FSorted.Clear();
  }

  // The first in list order, or -1.
  int IndexOf(std::string_view text) const {
    const TPlace place = FSorted.Locate(text);
    return place.found ? IndexOf(*FSorted.At(place.index).entry) : -1;
  }
  bool Contains(std::string_view text) const { return FSorted.Locate(text).found; }

  // The same entries sorted by text, by rank.
  const std::string& SortedTextAt(int rank) const { return SortedAt(rank).text; }
  const T& SortedPayloadAt(int rank) const { return SortedAt(rank).payload; }
  // The list index of the entry with that rank.
  int IndexOfSorted(int rank) const { return IndexOf(SortedAt(rank)); }
  // The lowest rank whose text begins with `prefix`, in any case, or -1; the other matches follow.
  int FindFirstPrefix(std::string_view prefix) const { return FSorted.FindFirstPrefix(prefix); }

  // Whether the two orders agree. For tests.
  bool IsSound() const;

 private:
  struct TEntry {
    TEntry(std::string_view t, T&& p) : text(t), payload(std::move(p)) {}
    std::string text;
    T payload;
    const void* leaf = nullptr;  // of FOrder
  };
  struct TInOrder {
    void StandsIn(const void* leaf) { entry->leaf = leaf; }
    friend bool operator==(TInOrder, TInOrder) = default;
    TEntry* entry;
  };
  struct TSorted {
    const std::string& Text() const { return entry->text; }
    std::unique_ptr<TEntry> entry;
  };
  using TPlace = typename TSortedTexts<TSorted>::TPlace;

  static void Check(int index, int count) {
    if (static_cast<unsigned>(index) >= static_cast<unsigned>(count)) {
      detail::RaiseListIndex(index);
    }
  }
  TEntry& At(int index) const {
    Check(index, Count());
    return *FOrder.At(index).entry;
  }
  const TEntry& SortedAt(int rank) const {
    Check(rank, Count());
    return *FSorted.At(rank).entry;
  }
  int IndexOf(const TEntry& entry) const {
    return FOrder.IndexIn(entry.leaf, {const_cast<TEntry*>(&entry)});
  }
  // The rank that an entry of the located text has, or would have, at that index of the list.
  int RankOf(const TPlace& place, std::string_view text, int index) const;

  TCountedTree<TInOrder> FOrder;
  TSortedTexts<TSorted> FSorted;  // owns the entries
};

template <class T>
int TKeyedSequence<T>::RankOf(const TPlace& place, std::string_view text, int index) const {
  int low = place.index;
  int high = place.found ? FSorted.EndOfEqual(place, text) : low;
  while (low < high) {
    const int middle = low + (high - low) / 2;
    if (IndexOf(*FSorted.At(middle).entry) < index) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return low;
}

template <class T>
void TKeyedSequence<T>::Insert(int index, std::string_view text, T payload) {
  if (index != Count()) Check(index, Count());
  TSorted added{std::make_unique<TEntry>(text, std::move(payload))};
  TEntry* entry = added.entry.get();
  TPlace place = FSorted.Locate(entry->text);
  place.index = RankOf(place, entry->text, index);
  FOrder.Insert(index, TInOrder{entry});
  try {
    FSorted.Insert(place, std::move(added));
  } catch (...) {
    FOrder.Erase(index);
    throw;
  }
}

template <class T>
void TKeyedSequence<T>::Delete(int index) {
  const TEntry& entry = At(index);
  const int rank = RankOf(FSorted.Locate(entry.text), entry.text, index);
  FOrder.Erase(index);
  FSorted.Erase(rank);
}

template <class T>
bool TKeyedSequence<T>::IsSound() const {
  bool sound = FOrder.IsSound() && FSorted.IsSound() && FOrder.Count() == FSorted.Count();
  for (int rank = 0; sound && rank < Count(); ++rank) {
    const int index = IndexOfSorted(rank);
    sound = &At(index) == &SortedAt(rank);
    if (!sound || rank == 0) continue;
    const int order = CompareText(SortedTextAt(rank - 1), SortedTextAt(rank));
    sound = order < 0 || (order == 0 && IndexOfSorted(rank - 1) < index);
  }
  return sound;
}

}  // namespace perlayer

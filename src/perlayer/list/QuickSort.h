#pragma once
// The sort of lists. It is not stable, but what it does with equal items is fixed, and callers
// count on it: the pivot is the middle item; from both sides the items that belong on the other
// side, or are equal to the pivot, are found and exchanged, until the searches meet; then the left
// part is sorted, then the right one.
//
// `compare` answers below 0, 0 or above 0. One that contradicts itself gives some order; no search
// ever leaves the part that is being sorted. The parts that wait are kept in a list of our own, so
// that no order of items goes deep into the stack.

#include <cstddef>
#include <span>
#include <utility>
#include <vector>

namespace perlayer {

struct TSortRange {
  std::ptrdiff_t first;
  std::ptrdiff_t last;
};

// Parts the range in two: [first, result.last] and [result.first, last], each of which is still to
// be sorted if it has two items or more.
template <class T, class TCompare>
TSortRange QuickPartition(std::span<T> items, TSortRange range, TCompare& compare) {
  const auto at = [&](std::ptrdiff_t i) -> T& { return items[static_cast<std::size_t>(i)]; };
  const T pivot = at((range.first + range.last) >> 1);
  std::ptrdiff_t i = range.first;
  std::ptrdiff_t j = range.last;
  do {
    while (compare(std::as_const(at(i)), pivot) < 0 && i < range.last) ++i;
    while (compare(std::as_const(at(j)), pivot) > 0 && j > range.first) --j;
    if (i <= j) std::swap(at(i++), at(j--));
  } while (i <= j);
  return {i, j};
}

template <class T, class TCompare>
void QuickSort(std::span<T> items, TSortRange whole, TCompare& compare) {
  std::vector<TSortRange> waiting = {whole};
  while (!waiting.empty()) {
    const TSortRange range = waiting.back();
    waiting.pop_back();
    const TSortRange parts = QuickPartition(items, range, compare);
    if (parts.first < range.last) waiting.push_back({parts.first, range.last});
    if (range.first < parts.last) waiting.push_back({range.first, parts.last});
  }
}

template <class T, class TCompare>
void QuickSort(std::span<T> items, TCompare compare) {
  if (items.empty()) return;
  QuickSort(items, {0, static_cast<std::ptrdiff_t>(items.size()) - 1}, compare);
}

}  // namespace perlayer

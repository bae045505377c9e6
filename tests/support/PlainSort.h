#pragma once
// The sort of lists as it is defined, by recursion and without bounds.

#include <utility>
#include <vector>

namespace perlayer {

template <class T, class TCompare>
void PlainQuickSort(std::vector<T>& items, int left, int right, TCompare compare) {
  const auto at = [&](int i) -> T& { return items[static_cast<std::size_t>(i)]; };
  int i;
  do {
    i = left;
    int j = right;
    const T pivot = at((left + right) >> 1);
    do {
      while (compare(at(i), pivot) < 0) ++i;
      while (compare(at(j), pivot) > 0) --j;
      if (i <= j) std::swap(at(i++), at(j--));
    } while (i <= j);
    if (left < j) PlainQuickSort(items, left, j, compare);
    left = i;
  } while (i < right);
}

template <class T, class TCompare>
void PlainQuickSort(std::vector<T>& items, TCompare compare) {
  if (!items.empty()) PlainQuickSort(items, 0, static_cast<int>(items.size()) - 1, compare);
}

}  // namespace perlayer

#pragma once
// TIndexIterator: the walk of `for (auto* item : *list)` over a list that may change on the way. It
// goes by index and reads Count anew at each step: the body may add and delete entries. The list
// itself must stay.

#include <cstddef>

namespace perlayer {

template <class TItems>
class TIndexIterator {
 public:
  explicit TIndexIterator(const TItems* items) : FItems(items) {}
  auto* operator*() const { return (*FItems)[FIndex]; }
  TIndexIterator& operator++() {
    ++FIndex;
    return *this;
  }
  bool operator!=(std::nullptr_t) const { return FIndex < FItems->Count(); }

 private:
  const TItems* FItems;
  int FIndex = 0;
};

}  // namespace perlayer

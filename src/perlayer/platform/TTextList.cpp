#include "perlayer/platform/TTextList.h"

#include "perlayer/platform/Exception.h"

namespace perlayer::detail {

void RaiseListIndex(int index) {
  throw EListError("List index out of bounds (" + std::to_string(index) + ")");
}

void RaiseListDuplicate() { throw EListError("String list does not allow duplicates"); }

void RaiseListSorted() { throw EListError("Operation not allowed on sorted list"); }

void RaiseListUnsorted() { throw EListError("Operation not allowed on unsorted list"); }

}  // namespace perlayer::detail

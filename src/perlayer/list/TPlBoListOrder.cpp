// TPlBoList: order, and what goes by it.

#include <algorithm>

#include "perlayer/list/TPlBoList.h"
#include "perlayer/platform/TCollation.h"

namespace perlayer {

void TPlBoList::OrderBy(const std::string& AOrder) {
  if (AOrder != FsOrder && !AOrder.empty()) ForcedOrderBy(AOrder);
}

void TPlBoList::ForcedOrderBy(const std::string& AOrder) {
  const std::string order = AOrder;  // which may be the list's own
  const TAlive alive(this);
  FsOrder = order;
  DefaultSortParam() = order;
  if (!order.empty()) Sort(&CompareByOrder, order);
  if (alive) Refresh();
}

void TPlBoList::ResortAndSetCurrentItem(TplPerObject* AObject) {
  const TAlive alive(this);
  const TAlive objectAlive(AObject);
  if (!FsOrder.empty()) ForcedOrderBy(FsOrder);
  if (!alive || !objectAlive || IsObjectFiltered(AObject)) return;
  if (alive) FCurrIndex = IndexOf(AObject);
}

void TPlBoList::SetListFilter(const std::string& AFilter) {
  const TAlive alive(this);
  TPlCustomBoList::SetListFilter(AFilter);
  if (alive) Refresh();
}

bool TPlBoList::Find(const std::string& AAttr, const std::string& AValue, int& AIndex) {
  const TAlive alive(this);
  bool found = false;
  int low = 0;
  int high = Count() - 1;
  while (low <= high) {
    const int middle = (low + high) >> 1;
    TplPerObject* const object = Get(middle);
    const std::string value = object == nullptr ? std::string() : object->GetAttrValue(AAttr);
    if (!alive) break;
    const int order = AnsiCompareText(value, AValue);
    if (order < 0) {
      low = middle + 1;
    } else {
      found = found || order == 0;
      high = middle - 1;
    }
    high = std::min(high, Count() - 1);  // who was asked may have made the list shorter
  }
  AIndex = low;
  return found;
}

}  // namespace perlayer

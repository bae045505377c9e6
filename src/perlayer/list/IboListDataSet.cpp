#include "perlayer/list/IboListDataSet.h"

#include <atomic>

#include "perlayer/foundation/BoMessageDlg.h"

namespace perlayer {

namespace {
// The code of a class, not state of a layer.
std::atomic<TboListDataSetFactory> Factory{nullptr};
}  // namespace

void RegisterboListDataSet(TboListDataSetFactory AFactory) { Factory = AFactory; }

std::unique_ptr<IboListDataSet> MakeboListDataSet(TPlBoList* AList) {
  const TboListDataSetFactory factory = Factory;
  if (factory == nullptr) NotImplemented("TPlBoList.aiDataSet");
  return factory(AList);
}

}  // namespace perlayer

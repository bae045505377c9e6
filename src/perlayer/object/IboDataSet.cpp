#include "perlayer/object/IboDataSet.h"

#include <atomic>

#include "perlayer/foundation/BoMessageDlg.h"

namespace perlayer {

namespace {
// The code of a class, not state of a layer.
std::atomic<TboDataSetFactory> Factory{nullptr};
}  // namespace

void RegisterboDataSet(TboDataSetFactory AFactory) { Factory = AFactory; }

std::unique_ptr<IboDataSet> MakeboDataSet(TplPerObject* AObject) {
  const TboDataSetFactory factory = Factory;
  if (factory == nullptr) NotImplemented("TplPerObject.GetDataSet");
  return factory(AObject);
}

}  // namespace perlayer

#include "perlayer/corekit/TISifranti.h"

#include "perlayer/platform/TLayer.h"

namespace perlayer {

namespace {
struct TSifrantiPart {
  TOwned<TISifranti> object = Make<TISifranti>();
};
}  // namespace

TISifranti& Sifranti() { return *TLayer::Part<TSifrantiPart>(TLayerPart::codeLists).object; }

}  // namespace perlayer

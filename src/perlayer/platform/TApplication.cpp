#include "perlayer/platform/TApplication.h"

#include "perlayer/platform/TLayer.h"

namespace perlayer {

namespace {
struct TApplicationPart {
  TOwned<TApplication> object = Make<TApplication>();
};
}  // namespace

TApplication* Application() {
  return TLayer::Part<TApplicationPart>(TLayerPart::application).object.Get();
}

}  // namespace perlayer

#include "perlayer/corekit/TdmIBaseModule.h"

namespace perlayer {

void TdmIBaseModule::Create(TComponent* AOwner) {
  TComponent::Create(AOwner);
  InternalLoadComponents();
  FCreated = true;
  dmIBaseModuleCreate(this);
}

void TdmIBaseModule::Destroy() {
  if (FCreated) {
    FCreated = false;
    dmIBaseModuleDestroy(this);
  }
  TComponent::Destroy();
}

void TdmIBaseModule::dmIBaseModuleCreate(TObject* Sender) {
  if (FOnModuleCreate) FOnModuleCreate(Sender);
}

void TdmIBaseModule::dmIBaseModuleDestroy(TObject* Sender) {
  if (FOnModuleDestroy) FOnModuleDestroy(Sender);
}

}  // namespace perlayer

#pragma once
// TdmIBaseModule: the base of modules, which are containers of named components. A module is
// created with its components, then its create handler runs; its destroy handler runs before they
// go.
//
// Main thread only.

#include "perlayer/corekit/TComponent.h"
#include "perlayer/platform/TDelegate.h"

namespace perlayer {

class TdmIBaseModule : public TComponent {
  TCLASS(TdmIBaseModule, TComponent)
 public:
  void Create() { Create(nullptr); }
  // Makes the components, then runs the create handler.
  virtual void Create(TComponent* AOwner);
  void Destroy() override;

  const TNotifyEvent& OnModuleCreate() const { return FOnModuleCreate; }
  void OnModuleCreate(TNotifyEvent event) { FOnModuleCreate = std::move(event); }
  const TNotifyEvent& OnModuleDestroy() const { return FOnModuleDestroy; }
  void OnModuleDestroy(TNotifyEvent event) { FOnModuleDestroy = std::move(event); }

 protected:
  // Makes the module's components.
  virtual void InternalLoadComponents() {}
  virtual void dmIBaseModuleCreate(TObject* Sender);
  virtual void dmIBaseModuleDestroy(TObject* Sender);

 private:
  TNotifyEvent FOnModuleCreate;
  TNotifyEvent FOnModuleDestroy;
  bool FCreated = false;
};

}  // namespace perlayer

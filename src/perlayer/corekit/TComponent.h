#pragma once
// TComponent: an object with a name that may own other components. Owned components go with their
// owner, last made first.
//
// Main thread only.

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "perlayer/platform/TObject.h"

namespace perlayer {

class TComponent : public TObject {
  TCLASS(TComponent, TObject)
 public:
  void Create() {}
  void Create(TComponent* AOwner);  // the owner may be nullptr
  void Destroy() override;

  TComponent* Owner() const { return FOwner; }
  const std::string& Name() const { return FName; }
  // Raises EComponentError when the name is no identifier or the owner has another of that
  // name, in any case.
  void Name(std::string_view name);

  int ComponentCount() const { return static_cast<int>(FComponents.size()); }
  TComponent* Components(int index) const;  // in the order of being made
  // The first component whose name differs at most in case; nullptr when absent.
  TComponent* FindComponent(std::string_view name) const;

 private:
  void InsertComponent(TComponent* component);
  void RemoveComponent(TComponent* component);

  TComponent* FOwner = nullptr;  // not owned
  std::string FName;
  std::vector<TComponent*> FComponents;  // owned
  // Folded name to component, made anew by the first search after a change.
  mutable std::unordered_map<std::string, TComponent*> FIndex;
  mutable bool FIndexed = false;
};

}  // namespace perlayer

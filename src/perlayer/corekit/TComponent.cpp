#include "perlayer/corekit/TComponent.h"

#include <algorithm>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {
bool IsIdentifier(std::string_view name) {
  const auto isLetter = [](char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
  };
  return !name.empty() && isLetter(name[0]) && std::all_of(name.begin(), name.end(), [&](char c) {
    return isLetter(c) || (c >= '0' && c <= '9');
  });
}
}  // namespace

void TComponent::Create(TComponent* AOwner) {
  if (AOwner != nullptr) AOwner->InsertComponent(this);
  FOwner = AOwner;
}

void TComponent::Destroy() {
  while (!FComponents.empty()) {
    TComponent* last = FComponents.back();
    RemoveComponent(last);
    last->FOwner = nullptr;
    last->Free();
  }
  if (FOwner != nullptr) FOwner->RemoveComponent(this);
  FOwner = nullptr;
  TObject::Destroy();
}

void TComponent::Name(std::string_view name) {
  if (!IsIdentifier(name)) {
    throw EComponentError(Format("'%s' is not a valid component name", name));
  }
  if (FOwner != nullptr && FName != name) {
    for (const TComponent* other : FOwner->FComponents) {
      if (other != this && SameText(other->FName, name)) {
        throw EComponentError(Format("A component named %s already exists", name));
      }
    }
    FOwner->FIndexed = false;
  }
  FName = name;
}

TComponent* TComponent::Components(int index) const {
  if (index < 0 || index >= ComponentCount()) {
    throw EListError(Format("Component index out of bounds (%d)", index));
  }
  return FComponents[static_cast<std::size_t>(index)];
}

TComponent* TComponent::FindComponent(std::string_view name) const {
  if (!FIndexed) {
    FIndex.clear();
    for (TComponent* component : FComponents) FIndex.emplace(FoldCase(component->FName), component);
    FIndexed = true;
  }
  const auto found = FIndex.find(FoldCase(name));
  return found == FIndex.end() || name.empty() ? nullptr : found->second;
}

void TComponent::InsertComponent(TComponent* component) {
  FComponents.push_back(component);
  FIndexed = false;
}

void TComponent::RemoveComponent(TComponent* component) {
  FComponents.erase(std::find(FComponents.begin(), FComponents.end(), component));
  FIndexed = false;
}

}  // namespace perlayer

#pragma once
// TAuthManager: answers whether the user has a right on an object, or may perform an action on it.
//
// In its off state so far: no action is controlled, so every action is granted; what a class's own
// GetRights leaves out is refused. See docs/architecture.md. Main thread only.

#include <string>

#include "perlayer/foundation/FoundationTypes.h"
#include "perlayer/platform/TObject.h"

namespace perlayer {

class TplAuthorizedObject;

inline constexpr TIAccessRights kAllAccessRights = TIAccessRights::FromMask(63);

class TAuthManager : public TObject {
  TCLASS(TAuthManager, TObject)
 public:
  TIAccessRights GetObjectRights(TplAuthorizedObject* AObject);
  bool HasObjectRights(TplAuthorizedObject* AObject, TIAccessRights AR);
  bool HasObjectActionRight(TplAuthorizedObject* AObject, const std::string& AsActionName);
  // True when ARSourceRights holds all of ARights, and always when the layer runs inside a library.
  bool HasObjectRightsFromSourceRights(TplAuthorizedObject* AObject, TIAccessRights ARSourceRights,
                                       TIAccessRights ARights);
};

// The one instance, made on first call.
TAuthManager* AuthManager();

}  // namespace perlayer

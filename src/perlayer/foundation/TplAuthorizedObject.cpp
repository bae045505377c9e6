#include "perlayer/foundation/TplAuthorizedObject.h"

#include "perlayer/foundation/TAuthManager.h"

namespace perlayer {

TIAccessRights TplAuthorizedObject::GetRights() { return kAllAccessRights; }

std::string TplAuthorizedObject::GetTextDescription() { return {}; }

bool TplAuthorizedObject::HasActionRight(const std::string& AsActionName) {
  return AuthManager()->HasObjectActionRight(this, AsActionName);
}

bool TplAuthorizedObject::HasRights(TIAccessRights AR) {
  return AuthManager()->HasObjectRightsFromSourceRights(this, GetRights(), AR);
}

}  // namespace perlayer

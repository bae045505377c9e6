#include "perlayer/foundation/TAuthManager.h"

#include "perlayer/platform/TLayer.h"
#include "perlayer/reclaim/TIPerLayerSettings.h"

namespace perlayer {

TIAccessRights TAuthManager::GetObjectRights(TplAuthorizedObject*) { return kAllAccessRights; }

bool TAuthManager::HasObjectRights(TplAuthorizedObject* AObject, TIAccessRights AR) {
  return HasObjectRightsFromSourceRights(AObject, GetObjectRights(AObject), AR);
}

bool TAuthManager::HasObjectActionRight(TplAuthorizedObject*, const std::string&) { return true; }

bool TAuthManager::HasObjectRightsFromSourceRights(TplAuthorizedObject*,
                                                   TIAccessRights ARSourceRights,
                                                   TIAccessRights ARights) {
  return (ARights - ARSourceRights).empty() || PerLayerSettings()->aiRunningInDLL();
}

TAuthManager* AuthManager() { return TLayer::ObjectPart<TAuthManager>(TLayerPart::authManager); }

}  // namespace perlayer

#include "perlayer/foundation/TAuthManager.h"

#include <utility>

#include "perlayer/corekit/ILog.h"
#include "perlayer/corekit/ILoginInfo.h"
#include "perlayer/object/TplPerObject.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TLayer.h"
#include "perlayer/provider/TplProvider.h"
#include "perlayer/reclaim/TIPerLayerSettings.h"

namespace perlayer {

namespace {

constexpr std::string_view kMine = " Mine";

struct TAuthManagerPart {
  TAuthManagerClass cls = TAuthManagerClass::Of<TAuthManager>();
  TOwned<TAuthManager> object;
  bool logRights = false;
  bool logMissingRights = false;
};

TAuthManagerPart& Part() { return TLayer::Part<TAuthManagerPart>(TLayerPart::authManager); }

std::string RightName(TIAccessRight right) {
  static constexpr const char* kNames[] = {"|arScan|",   "|arRead|",   "|arUpdate|",
                                           "|arDelete|", "|arInsert|", "|arPrint|"};
  return kNames[static_cast<std::size_t>(right)];
}

bool Holds(int code) { return code == TAuthManager::kNotControlled || ILoginInfo().Has(code); }

}  // namespace

TAuthManager* AuthManager() {
  TAuthManagerPart& part = Part();
  if (part.object) [[likely]]
    return part.object.Get();
  part.object.Reset(part.cls.New());
  return part.object.Get();
}

void SetAuthManagerClass(TAuthManagerClass AClass) {
  Assert(!Part().object, "SetAuthManagerClass: the manager has been made already");
  Part().cls = AClass;
}

bool FbLogRights() { return Part().logRights; }
void FbLogRights(bool log) { Part().logRights = log; }
bool FbLogMissingRights() { return Part().logMissingRights; }
void FbLogMissingRights(bool log) { Part().logMissingRights = log; }

std::string TAuthManager::GetObjectBaseClassName(TplAuthorizedObject*) {
  throw Exception("TAuthManager: Using wrong class!");
}

int TAuthManager::GetActionCode(const std::string&) {
  throw Exception("TAuthManager: Using wrong class!");
}

bool TAuthManager::IsOpen() const { return FIsOpen && !FbLogRights(); }

bool TAuthManager::IsOpenTo(const TplAuthorizedObject* AObject) const {
  return IsOpen() && !Is<TplProvider>(AObject);
}

TIAccessRights TAuthManager::GetObjectRights(TplAuthorizedObject* AObject) {
  using enum TIAccessRight;
  static constexpr std::pair<TIAccessRight, const char*> kActions[] = {{arScan, " Scan"},
                                                                       {arRead, " Read"},
                                                                       {arUpdate, " Update"},
                                                                       {arDelete, " Delete"},
                                                                       {arPrint, " Print"}};
  const bool isLogged = FbLogRights();
  if (IsOpenTo(AObject)) return kAllAccessRights;
  TIAccessRights rights;
  std::string granted;
  const auto ask = [&](TIAccessRight right, const char* action) {
    if (!HasObjectActionRight(AObject, action)) return;
    if (right == arPrint && !(rights.has(arRead) && rights.has(arScan))) return;
    rights += {right};
    if (isLogged) granted += RightName(right);
  };
  if (!Is<TplProvider>(AObject)) {
    for (const auto& [right, action] : kActions) ask(right, action);
  }
  ask(arInsert, " Insert");
  if (isLogged) {
    ILog(Format("OBJECT rights check: Classname: %s, Rights: %s",
                AObject == nullptr ? "nil" : AObject->ClassName(), granted));
  }
  return rights;
}

bool TAuthManager::HasObjectActionRight(TplAuthorizedObject* AObject,
                                        const std::string& AsActionName) {
  std::string action;
  bool hasOwn = false;
  auto* object = As<TplPerObject>(AObject);
  if (object != nullptr || Is<TplProvider>(AObject)) {
    action.append("O ").append(GetObjectBaseClassName(AObject)).append(AsActionName);
  } else {
    action = AsActionName;
  }
  if (object != nullptr) {
    const bool allowed = AllowedSP(AObject, action);
    const std::size_t mine = action.find(kMine);
    hasOwn = allowed && mine == std::string::npos;
    if (!allowed && mine != std::string::npos) action.erase(mine, kMine.size());
  }
  // Most rights are granted at once and looked at by nobody: the other name is made when it counts.
  const auto own = [&] { return hasOwn ? action + std::string(kMine) : std::string(); };
  const int code = GetActionCode(action);
  int ownCode = 0;
  bool granted = Holds(code);
  if (!granted && hasOwn && IsSPDependant(object->aiProvider())) {
    ownCode = GetActionCode(own());
    granted = Holds(ownCode);
  }
  const auto log = [&](const char* what) {
    ILog(Format("ACTION %s: Action: %s, ActionSP: %s, Right: %d, RightSP: %d", what, action, own(),
                code, ownCode));
  };
  if (FbLogRights()) log("rights check");
  if (!granted && FbLogMissingRights()) log("missing rights");
  return granted;
}

bool TAuthManager::HasObjectRights(TplAuthorizedObject* AObject, TIAccessRights AR) {
  return IsOpenTo(AObject) ||
         HasObjectRightsFromSourceRights(AObject, GetObjectRights(AObject), AR);
}

bool TAuthManager::HasObjectRightsFromSourceRights(TplAuthorizedObject* AObject,
                                                   TIAccessRights ARSourceRights,
                                                   TIAccessRights ARights) {
  const TIAccessRights missing = ARights - ARSourceRights;
  if (missing.empty() || PerLayerSettings()->aiRunningInDLL()) return true;
  if (FbLogMissingRights()) {
    std::string names;
    for (int bit = 0; bit <= static_cast<int>(TIAccessRight::arPrint); ++bit) {
      const auto right = static_cast<TIAccessRight>(bit);
      if (missing.has(right)) names += RightName(right);
    }
    ILog(Format("OBJECT missing rights: Classname: %s, Rights: %s",
                AObject == nullptr ? "nil" : AObject->ClassName(), names));
  }
  return false;
}

}  // namespace perlayer

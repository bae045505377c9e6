#pragma once
// TAuthManager: answers whether the user has a right on an object, or may perform an action on it.
// Rights are numbered codes that the login knows (ILoginInfo); which object and action has which
// code is the application's knowledge: it derives its manager and registers the class. The base
// class refuses to be used by itself.
//
// An action's name is "O ", the object's base class name and " Update" or the like; with " Mine"
// behind it, it is the right on what is the user's own.
//
// Main thread only.

#include <cstdint>
#include <string>
#include <type_traits>

#include "perlayer/foundation/FoundationTypes.h"
#include "perlayer/platform/TObjectHandle.h"

namespace perlayer {

class TplAuthorizedObject;
class TplProvider;

inline constexpr TIAccessRights kAllAccessRights = TIAccessRights::FromMask(63);

class TOpenAuthManager;

class TAuthManager : public TObject {
  TCLASS(TAuthManager, TObject)
 public:
  // The open manager is known for what it is; a class derived from it is not.
  template <class T>
  static constexpr std::uint32_t ClassFacts() {
    return std::is_same_v<T, TOpenAuthManager> ? 1 : 0;
  }
  static constexpr int kNotControlled = -1;

  // The class's name in the names of actions. Raises "TAuthManager: Using wrong class!" here.
  virtual std::string GetObjectBaseClassName(TplAuthorizedObject* AObject);
  // The code of a right; kNotControlled where everybody may. Raises as above here.
  virtual int GetActionCode(const std::string& AsActionName);
  // Whether the object may be the user's own, as far as that action goes.
  virtual bool AllowedSP(TplAuthorizedObject*, const std::string&) { return true; }
  // Whether the right on one's own counts for objects of that class.
  virtual bool IsSPDependant(TplProvider*) { return false; }
  virtual void Create() {}

  // Everybody has every right on every object that is no provider, and nobody wants to read of
  // that.
  bool IsOpen() const;
  TIAccessRights GetObjectRights(TplAuthorizedObject* AObject);
  bool HasObjectRights(TplAuthorizedObject* AObject, TIAccessRights AR);
  bool HasObjectActionRight(TplAuthorizedObject* AObject, const std::string& AsActionName);
  // True when ARSourceRights holds all of ARights, and always when the layer runs inside a library.
  bool HasObjectRightsFromSourceRights(TplAuthorizedObject* AObject, TIAccessRights ARSourceRights,
                                       TIAccessRights ARights);

 private:
  bool IsOpenTo(const TplAuthorizedObject* AObject) const;

  const bool FIsOpen = ClassType().Facts() != 0;
};

// For programs that control no action: whoever gets that far may do everything.
class TOpenAuthManager : public TAuthManager {
  TCLASS(TOpenAuthManager, TAuthManager)
 public:
  std::string GetObjectBaseClassName(TplAuthorizedObject*) override { return ""; }
  int GetActionCode(const std::string&) override { return kNotControlled; }
};

using TAuthManagerClass = TClassRef<TAuthManager>;

// The one instance, made on first call of the registered class.
TAuthManager* AuthManager();
// To be called before the first AuthManager(); raises EAssertionFailed after it.
void SetAuthManagerClass(TAuthManagerClass AClass);

// Log every check, and every refusal; off at start.
bool FbLogRights();
void FbLogRights(bool log);
bool FbLogMissingRights();
void FbLogMissingRights(bool log);

}  // namespace perlayer

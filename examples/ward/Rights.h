#pragma once
// Who may do what on the ward: actions have numbered rights in OMRA.ACTION_RIGHT, and users hold
// those in OMRA.USER_RIGHT.

#include <map>
#include <string>

#include "perlayer/foundation/TAuthManager.h"

namespace ward {

using namespace perlayer;

class TWardRights : public TAuthManager {
  TCLASS(TWardRights, TAuthManager)
 public:
  void Create() override;  // reads the table
  // "Patient", of TpoPatient and TplPatient alike.
  std::string GetObjectBaseClassName(TplAuthorizedObject* AObject) override;
  int GetActionCode(const std::string& AsActionName) override;

 private:
  std::map<std::string, int> FCodes;
};

// Rights are asked of a TWardRights from now on. To be called before any right is asked.
void UseWardRights();

// Logs the user in, with the rights that the database gives. Raises for one that it does not know;
// who was logged in before stays.
void LogInToWard(const std::string& user);

}  // namespace ward

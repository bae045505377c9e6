#include "Rights.h"

#include <utility>
#include <vector>

#include "perlayer/corekit/ILoginInfo.h"
#include "perlayer/corekit/TField.h"
#include "perlayer/corekit/TIQuery.h"
#include "perlayer/foundation/TplAuthorizedObject.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/TcmpClassMap.h"

namespace ward {

namespace {

// The rows of a select of two columns, a text and a number.
std::vector<std::pair<std::string, int>> Numbered(const std::string& select) {
  const TOwned<TIQuery> query = Make<TIQuery>();
  query->DatabaseName(TcmpClassMap::kDatabaseName);
  query->SQLText(select);
  std::vector<std::pair<std::string, int>> rows;
  for (query->Open(); !query->Eof(); query->Next()) {
    rows.emplace_back(query->Fields(0)->AsString(),
                      static_cast<int>(query->Fields(1)->AsInteger()));
  }
  return rows;
}

}  // namespace

void TWardRights::Create() {
  for (auto& [action, code] : Numbered("select ACTION, CODE from OMRA.ACTION_RIGHT")) {
    FCodes.emplace(std::move(action), code);
  }
}

std::string TWardRights::GetObjectBaseClassName(TplAuthorizedObject* AObject) {
  const std::string name = AObject->ClassName();
  return name == "TpoStay" || name == "TplStay" ? "Encounter" : name.substr(3);
}

int TWardRights::GetActionCode(const std::string& AsActionName) {
  const auto found = FCodes.find(AsActionName);
  return found == FCodes.end() ? kNotControlled : found->second;
}

void UseWardRights() { SetAuthManagerClass(TAuthManagerClass::Of<TWardRights>()); }

void LogInToWard(const std::string& user) {
  std::vector<int> rights;
  std::string users;
  std::string last;
  for (const auto& [name, code] :
       Numbered("select USER_NAME, CODE from OMRA.USER_RIGHT order by USER_NAME")) {
    if (name == user) rights.push_back(code);
    if (name != last) users += (users.empty() ? "" : ", ") + name;
    last = name;
  }
  if (rights.empty()) {
    throw Exception(Format("the ward knows no user \"%s\"; there are %s", user, users));
  }
  ILoginInfo().LogIn(user, "");
  for (const int code : rights) ILoginInfo().Grant(code);
}

}  // namespace ward

#pragma once
// Who is logged in, and what that user may do. Rights are numbered codes that the application gives
// out. Main thread only.
//
// The password is handed to nobody who does not ask for it by WithPassword; it is overwritten in
// memory when it changes and at the end. Do not log it.

#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace perlayer {

class TILoginInfo {
 public:
  TILoginInfo() = default;
  ~TILoginInfo() { WipePassword(); }
  TILoginInfo(const TILoginInfo&) = delete;
  TILoginInfo& operator=(const TILoginInfo&) = delete;

  // Another user begins without any right.
  void LogIn(std::string_view user, std::string_view password);
  void LogOut() { LogIn({}, {}); }

  const std::string& User() const { return FUser; }  // empty: nobody is logged in
  bool PasswordMatches(std::string_view password) const;
  // Calls `use` with the password, which is valid for the call only. Answers what `use` answers.
  template <class F>
  decltype(auto) WithPassword(F&& use) const {
    return std::forward<F>(use)(std::string_view(FPassword.data(), FPassword.size()));
  }

  // Whether the user holds the right with that code.
  bool Has(int code) const { return FRights.count(code) != 0; }
  void Grant(int code) { FRights.insert(code); }
  void Revoke(int code) { FRights.erase(code); }
  void RevokeAll() { FRights.clear(); }

 private:
  void WipePassword();

  std::string FUser;
  std::vector<char> FPassword;  // allocated at its size, so that no copy stays behind
  std::set<int> FRights;
};

// The login of the loaded layer.
TILoginInfo& ILoginInfo();

}  // namespace perlayer

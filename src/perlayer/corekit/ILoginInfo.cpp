#include "perlayer/corekit/ILoginInfo.h"

#include <algorithm>

#include "perlayer/platform/TLayer.h"

namespace perlayer {

void TILoginInfo::LogIn(std::string_view user, std::string_view password) {
  std::string newUser(user);
  std::vector<char> newPassword(password.begin(), password.end());
  WipePassword();
  FUser.swap(newUser);
  FPassword.swap(newPassword);
  RevokeAll();
}

bool TILoginInfo::PasswordMatches(std::string_view password) const {
  return std::equal(FPassword.begin(), FPassword.end(), password.begin(), password.end());
}

void TILoginInfo::WipePassword() {
  // Stores to memory that is about to be given back are dropped unless they are volatile.
  volatile char* bytes = FPassword.data();
  for (std::size_t i = 0; i < FPassword.size(); ++i) bytes[i] = 0;
}

TILoginInfo& ILoginInfo() { return TLayer::Part<TILoginInfo>(TLayerPart::loginInfo); }

}  // namespace perlayer

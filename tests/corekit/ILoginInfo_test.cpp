#include "perlayer/corekit/ILoginInfo.h"

#include <gtest/gtest.h>

namespace perlayer {
namespace {

TEST(ILoginInfo, AnotherUserHasAnotherPasswordAndNoRights) {
  TILoginInfo& login = ILoginInfo();
  login.LogIn("ana", "skrivnost");
  EXPECT_TRUE(login.PasswordMatches("skrivnost"));
  EXPECT_FALSE(login.PasswordMatches("skrivnosti"));
  login.Grant(-1);
  EXPECT_TRUE(login.Has(-1));

  // The new password may come out of the old one.
  login.WithPassword([&](std::string_view old) { login.LogIn("bor", old.substr(0, 4)); });
  EXPECT_EQ(login.User(), "bor");
  EXPECT_EQ(login.WithPassword([](std::string_view p) { return std::string(p); }), "skri");
  EXPECT_FALSE(login.Has(-1));
  login.LogOut();
  EXPECT_FALSE(login.PasswordMatches("skri"));
}

}  // namespace
}  // namespace perlayer

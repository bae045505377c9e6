#include "perlayer/platform/TApplication.h"

#include <gtest/gtest.h>

namespace perlayer {
namespace {

TEST(TApplication, ThereIsOneAndItForgetsAMainFormThatIsGone) {
  EXPECT_EQ(Application(), Application());
  EXPECT_EQ(Application()->ClassName(), "TApplication");
  EXPECT_EQ(Application()->MainForm(), nullptr);
  {
    const auto form = Make<TObject>();
    Application()->MainForm(form.Get());
    EXPECT_EQ(Application()->MainForm(), form.Get());
  }
  EXPECT_EQ(Application()->MainForm(), nullptr);
}

}  // namespace
}  // namespace perlayer

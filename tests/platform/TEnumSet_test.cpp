#include "perlayer/platform/TEnumSet.h"

#include <gtest/gtest.h>

namespace perlayer {
namespace {

enum class TColour { red, green, blue = 31, violet, last = 63 };
using TColours = TEnumSet<TColour>;

static_assert(TColours{TColour::red, TColour::last}.mask() == 0x8000000000000001);
static_assert(TColours::FromMask(3) == TColours{TColour::green, TColour::red});

constexpr TColours Changed() {
  TColours colours = TColours{TColour::red} + TColour::blue + TColour::blue;
  colours += {TColour::last, TColour::green};
  colours -= {TColour::red, TColour::violet};
  return colours - TColour::green;
}

TEST(TEnumSet, AddsAndTakesAwayEachEnumerator) {
  EXPECT_EQ(Changed(), (TColours{TColour::blue, TColour::last}));
  EXPECT_TRUE(Changed().has(TColour::last));
  EXPECT_FALSE(Changed().has(TColour::red));
  EXPECT_TRUE((Changed() - TColour::blue - TColour::last).empty());
}

}  // namespace
}  // namespace perlayer

#include "perlayer/platform/TEnumSet.h"

#include <gtest/gtest.h>

#include <random>
#include <set>

namespace perlayer {
namespace {

enum class TColour { red, green, blue = 31, violet, last = 63 };
using TColours = TEnumSet<TColour>;

static_assert(TColours{TColour::red, TColour::last}.mask() == 0x8000000000000001);
static_assert(TColours::FromMask(3) == TColours{TColour::green, TColour::red});

TEST(TEnumSet, AgreesWithASetOfEnumerators) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  constexpr TColour kAll[] = {TColour::red, TColour::green, TColour::blue, TColour::violet,
                              TColour::last};
  TColours colours;
  std::set<TColour> model;
  for (int i = 0; i < 1000; ++i) {
    const TColour a = kAll[random() % 5], b = kAll[random() % 5];
    switch (random() % 4) {
      case 0:
        colours = colours + a;
        model.insert(a);
        break;
      case 1:
        colours = colours - a;
        model.erase(a);
        break;
      case 2:
        colours += {a, b};
        model.insert({a, b});
        break;
      default:
        colours -= {a, b};
        model.erase(a);
        model.erase(b);
    }
    for (const TColour c : kAll) ASSERT_EQ(colours.has(c), model.count(c) != 0);
    ASSERT_EQ(colours.empty(), model.empty());
    ASSERT_EQ(TColours::FromMask(colours.mask()), colours);
  }
}

}  // namespace
}  // namespace perlayer

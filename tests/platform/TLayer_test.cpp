#include "perlayer/platform/TLayer.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "perlayer/platform/Exception.h"

namespace perlayer {
namespace {

std::string Story;

// A part that tells when it is made and when it goes, and then looks at the part of that rank.
template <char kName, TLayerPart kAsks>
struct TPart {
  TPart() { Story += kName; }
  ~TPart() {
    Story += '-';
    Story += kName;
    TLayer::Part<TPart<'x', TLayerPart::clock>>(kAsks);
  }
};
template <>
struct TPart<'x', TLayerPart::clock> {
  TPart() { Story += "x"; }
  ~TPart() { Story += "-x"; }
};

// Runs the scenario in a process of its own, in which no layer is loaded, and fails unless it
// answers true. The test's own layer, of which the child has a copy, is unloaded there.
template <class TScenario>
void ExpectWithoutLayer(const TScenario& scenario) {
  EXPECT_EXIT(
      {
        std::destroy_at(&TLayer::Current());
        const bool good = scenario();
        std::fprintf(stderr, "story: %s\n", Story.c_str());
        _exit(good ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST(TLayer, PartsAreMadeOnFirstUseAndOnce) {
  using TNumber = int;
  EXPECT_EQ(TLayer::PartIfMade<TNumber>(TLayerPart::statistics), nullptr);
  TLayer::Part<TNumber>(TLayerPart::statistics) = 5;
  EXPECT_EQ(*TLayer::PartIfMade<TNumber>(TLayerPart::statistics), 5);
  EXPECT_THROW(TLayer(), EAssertionFailed) << "one layer at a time";
}

TEST(TLayer, WithoutALayerNothingIsMade) {
  ExpectWithoutLayer([] {
    if (TLayer::IsLoaded() || TLayer::PartIfMade<int>(TLayerPart::log) != nullptr) return false;
    try {
      TLayer::Part<int>(TLayerPart::log);
      return false;
    } catch (const EAssertionFailed&) {
      return true;
    }
  });
}

TEST(TLayer, UnloadsInTheOrderOfRanksAndAPartMayAskLaterOnesAndItself) {
  ExpectWithoutLayer([] {
    {
      TLayer layer;
      TLayer::Part<TPart<'d', TLayerPart::clock>>(TLayerPart::databases);
      TLayer::Part<TPart<'m', TLayerPart::clock>>(TLayerPart::classMaps);
    }
    return Story == "dm-mx-d-x" && !TLayer::IsLoaded();
  });
}

// The late part asks for one whose rank has been passed.
TEST(TLayer, APartMadeWhileUnloadingGoesToo) {
  ExpectWithoutLayer([] {
    {
      TLayer layer;
      TLayer::Part<TPart<'l', TLayerPart::statistics>>(TLayerPart::log);
    }
    const std::string first = std::exchange(Story, "");
    {
      TLayer layer;  // loads and unloads afresh
      if (TLayer::PartIfMade<int>(TLayerPart::statistics) != nullptr) return false;
    }
    return first == "l-lx-x" && Story.empty();
  });
}

}  // namespace
}  // namespace perlayer

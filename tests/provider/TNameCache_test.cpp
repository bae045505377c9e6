#include "perlayer/provider/TNameCache.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

namespace perlayer {
namespace {

// Names of all lengths that differ in one or two bytes: what is found is what was kept.
TEST(TNameCache, NeverAnswersForAnotherName) {
  std::mt19937 random(1);
  TNameCache<int> cache;
  std::map<std::string, int> kept;
  int found = 0;
  for (int step = 0; step < 20000; ++step) {
    std::string name(random() % 24, 'a');
    for (int i = 0; i < 2 && !name.empty(); ++i) name[random() % name.size()] = 'b';
    if (const int* value = cache.Find(name)) {
      ++found;
      ASSERT_TRUE(kept.count(name)) << name;
      ASSERT_EQ(*value, kept[name]) << name;
    }
    kept[name] = step;
    cache.Keep(name, step);
    ASSERT_EQ(*cache.Find(name), step) << name;
  }
  EXPECT_GT(found, 1000);
  cache.Clear();
  EXPECT_EQ(cache.Find(""), nullptr);
}

TEST(TNameCache, NamesThatShareAPlaceAreAllKept) {
  TNameCache<int> cache;
  const auto name = [](int i) { return "COLUMN_" + std::to_string(i); };
  for (int i = 0; i < 20; ++i) cache.Keep(name(i), i);
  for (int i = 0; i < 20; ++i) {
    ASSERT_NE(cache.Find(name(i)), nullptr) << i;
    EXPECT_EQ(*cache.Find(name(i)), i);
  }
}

}  // namespace
}  // namespace perlayer

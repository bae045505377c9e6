#include <gtest/gtest.h>

#include <limits>
#include <map>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Variant.h"
#include "support/Raised.h"

namespace perlayer {
namespace {

TEST(VariantArray, EveryElementHasItsPlace) {
  Variant v = VarArrayCreate({{-2, 1}, {0, 4}, {7, 8}});
  EXPECT_FALSE(v.IsEmpty());
  int number = 0;
  std::map<std::array<int, 3>, int> model;
  for (int k = 7; k <= 8; ++k) {
    for (int i = -2; i <= 1; ++i) {
      for (int j = 0; j <= 4; ++j) {
        EXPECT_TRUE((v[{i, j, k}].IsUnassigned()));
        v[{i, j, k}] = model[{i, j, k}] = ++number;
      }
    }
  }
  const Variant copy = v;
  v[{0, 0, 7}] = "changed";
  for (const auto& [at, value] : model) EXPECT_EQ((copy[{at[0], at[1], at[2]}]), value);
  EXPECT_EQ(VarArrayDimCount(v), 3);
  EXPECT_EQ(VarArrayLowBound(v, 1), -2);
  EXPECT_EQ(VarArrayHighBound(v, 2), 4);
  EXPECT_EQ(VarArrayLowBound(v, 3), 7);
}

TEST(VariantArray, EqualsByBoundsAndElements) {
  const Variant v = VarArrayOf({1, "a", Variant::Null()});
  EXPECT_EQ(v, VarArrayOf({1.0, "a", Variant::Null()}));
  EXPECT_NE(v, VarArrayOf({1, "b", Variant::Null()}));
  EXPECT_NE(VarArrayCreate({{0, 1}}), VarArrayCreate({{1, 2}}));
  EXPECT_EQ(VarArrayHighBound(VarArrayOf({}), 1), -1);
}

TEST(VariantArray, AnElementMayTakeTheArrayAndTheArrayTheElement) {
  Variant v = VarArrayOf({"first", 2});
  v[1] = v;
  EXPECT_EQ(v[1], VarArrayOf({"first", 2}));
  v = v[1];
  EXPECT_EQ(v, VarArrayOf({"first", 2}));
  v[1] = v;
  v = std::move(v[1]);
  EXPECT_EQ(v, VarArrayOf({"first", 2}));
  const Variant taken = std::move(v);
  EXPECT_TRUE(v.IsUnassigned());  // NOLINT: what a move leaves is promised
  EXPECT_EQ(taken[0], "first");
}

TEST(VariantArray, WhatIsOutsideRaises) {
  Variant v = VarArrayCreate({{1, 3}, {0, 0}});
  constexpr int kMost = std::numeric_limits<int>::max(), kLeast = std::numeric_limits<int>::min();
  const auto create = [](auto... bounds) { return Raised([&] { VarArrayCreate({bounds...}); }); };
  const std::pair<std::string, const char*> cases[] = {
      {Raised([&] {
         (v[{0, 0}]) = 1;
       }),
       ": index 0 of dimension 1 of an Array is outside 1 to 3"},
      {Raised([&] {
         (v[{3, 1}]) = 1;
       }),
       ": index 1 of dimension 2 of an Array is outside 0 to 0"},
      {Raised([&] { v[1] = 1; }), ": 1 indices for an Array of 2 dimensions"},
      {Raised([&] { Variant("text")[0] = 1; }), " of kind String cannot be read as Array"},
      {Raised([&] { VarArrayLowBound(v, 3); }), " of kind Array has no dimension 3"},
      {Raised([&] { VarArrayHighBound(v, 0); }), " of kind Array has no dimension 0"},
      {Raised([&] { VarArrayHighBound(1, 1); }), " of kind Integer has no dimension 1"},
      {create(), ": an Array needs a dimension"},
      {create(TVariantBounds{3, 1}), ": an Array cannot have the bounds 3 to 1"},
      {create(TVariantBounds{kLeast, kMost}), ": too many elements for an Array"},
      {create(TVariantBounds{1, 65536}, TVariantBounds{1, 65536}, TVariantBounds{1, 65536},
              TVariantBounds{1, 65536}),
       ": too many elements for an Array"}};
  for (const auto& [raised, expected] : cases) EXPECT_EQ(raised, std::string("Variant") + expected);
  EXPECT_EQ(VarArrayDimCount(VarArrayCreate({{kLeast, kMost}, {1, 0}})), 2);
}

}  // namespace
}  // namespace perlayer

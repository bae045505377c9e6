#include <gtest/gtest.h>

#include <limits>
#include <map>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Variant.h"

namespace perlayer {
namespace {

TEST(VariantArray, EveryElementHasItsPlace) {
  Variant v = VarArrayCreate({{-2, 1}, {0, 4}, {7, 8}});
  EXPECT_EQ(v.Kind(), TVariantKind::Array);
  EXPECT_TRUE(v.IsArray());
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
  EXPECT_EQ((v[{0, 0, 7}]), "changed");
  EXPECT_EQ(VarArrayDimCount(v), 3);
  EXPECT_EQ(VarArrayLowBound(v, 1), -2);
  EXPECT_EQ(VarArrayHighBound(v, 2), 4);
  EXPECT_EQ(VarArrayLowBound(v, 3), 7);
}

TEST(VariantArray, EqualsByBoundsAndElements) {
  const Variant v = VarArrayOf({1, "a", Variant::Null()});
  EXPECT_EQ(v, VarArrayOf({1.0, "a", Variant::Null()}));
  EXPECT_NE(v, VarArrayOf({1, "b", Variant::Null()}));
  EXPECT_NE(v, VarArrayOf({1, "a"}));
  EXPECT_NE(VarArrayCreate({{0, 1}}), VarArrayCreate({{1, 2}}));
  EXPECT_NE(v, Variant::Null());
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

template <class TAction>
std::string Error(TAction action) {
  try {
    action();
  } catch (const EVariantError& e) {
    return e.Message();
  }
  return "no error";
}

TEST(VariantArray, WhatIsOutsideRaises) {
  Variant v = VarArrayCreate({{1, 3}, {0, 0}});
  const int most = std::numeric_limits<int>::max();
  const int least = std::numeric_limits<int>::min();
  const std::string index = " of an Array is outside ";
  EXPECT_EQ(Error([&] { (v[{0, 0}]) = 1; }), "Variant: index 0 of dimension 1" + index + "1 to 3");
  EXPECT_EQ(Error([&] { (v[{3, 1}]) = 1; }), "Variant: index 1 of dimension 2" + index + "0 to 0");
  EXPECT_EQ(Error([&] { v[1] = 1; }), "Variant: 1 indices for an Array of 2 dimensions");
  EXPECT_EQ(Error([&] { Variant("text")[0] = 1; }),
            "Variant of kind String cannot be read as Array");
  EXPECT_EQ(Error([&] { VarArrayOf({})[0] = 1; }),
            "Variant: index 0 of dimension 1" + index + "0 to -1");
  EXPECT_EQ(Error([&] { VarArrayLowBound(v, 3); }), "Variant of kind Array has no dimension 3");
  EXPECT_EQ(Error([&] { VarArrayHighBound(v, 0); }), "Variant of kind Array has no dimension 0");
  EXPECT_EQ(Error([&] { VarArrayHighBound(1, 1); }), "Variant of kind Integer has no dimension 1");
  EXPECT_EQ(Error([] { VarArrayCreate({}); }), "Variant: an Array needs a dimension");
  EXPECT_EQ(Error([] {
              VarArrayCreate({{3, 1}});
            }),
            "Variant: an Array cannot have the bounds 3 to 1");
  EXPECT_EQ(Error([&] {
              VarArrayCreate({{least, most}});
            }),
            "Variant: too many elements for an Array");
  EXPECT_EQ(Error([] {
              VarArrayCreate({{1, 65536}, {1, 65536}, {1, 65536}, {1, 65536}});
            }),
            "Variant: too many elements for an Array");
  EXPECT_EQ(VarArrayDimCount(VarArrayCreate({{least, most}, {1, 0}})), 2);
}

}  // namespace
}  // namespace perlayer

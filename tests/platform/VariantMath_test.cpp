#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <random>
#include <vector>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Variant.h"
#include "support/Raised.h"

namespace perlayer {
namespace {

using TOperator = std::function<Variant(const Variant&, const Variant&)>;

// The kinds that the operators answer for every pair of operands: a row for the left operand, a
// block for each operator with a column for the right one, each a letter of its kind; "-" where
// the operator raises. W, T and X are texts: a whole number, another number, a word.
std::string KindTable(const std::vector<TOperator>& operators) {
  const std::pair<char, Variant> operands[] = {
      {'U', Variant()}, {'N', Variant::Null()},      {'B', true}, {'I', 7},
      {'F', 2.5},       {'D', Variant::Date(36526)}, {'W', "4"},  {'T', "1.5"},
      {'X', "abc"},     {'A', VarArrayOf({1})}};
  std::string table;
  for (const auto& [name, left] : operands) {
    table += name;
    for (const TOperator& compute : operators) {
      table += ' ';
      for (const auto& operand : operands) {
        try {
          table += VariantKindName(compute(left, operand.second).Kind())[0];
        } catch (const EVariantError&) {
          table += '-';
        }
      }
    }
    table += '\n';
  }
  return table;
}

TEST(VariantMath, EachPairOfKindsHasItsResult) {
  const std::string expected = R"(
  +          -          *          /          % div      & ^        |
  UNBIFDWTXA UNBIFDWTXA UNBIFDWTXA UNBIFDWTXA UNBIFDWTXA UNBIFDWTXA UNBIFDWTXA
U ---------- ---------- ---------- ---------- ---------- ---------- ----------
N -NNNNNNNN- -NNNNNNNN- -NNNNNNNN- -NNNNNNNN- -NNNNNNNN- -NNNNNNNN- -NBNNNNNN-
B -NIIFDIF-- -NIIFFIF-- -NIIFFIF-- -NFFFFFF-- -NIIIIII-- -NBBBBBB-- -BBBBBBB--
I -NIIFDIF-- -NIIFFIF-- -NIIFFIF-- -NFFFFFF-- -NIIIIII-- -NBIIIII-- -NBIIIII--
F -NFFFDFF-- -NFFFFFF-- -NFFFFFF-- -NFFFFFF-- -NIIIIII-- -NBIIIII-- -NBIIIII--
D -NDDDDDD-- -NDDDFDD-- -NFFFFFF-- -NFFFFFF-- -NIIIIII-- -NBIIIII-- -NBIIIII--
W -NIIFDSSS- -NIIFFIF-- -NIIFFIF-- -NFFFFFF-- -NIIIIII-- -NBIIIII-- -NBIIIII--
T -NFFFDSSS- -NFFFFFF-- -NFFFFFF-- -NFFFFFF-- -NIIIIII-- -NBIIIII-- -NBIIIII--
X -N----SSS- -N-------- -N-------- -N-------- -N-------- -N-------- -N--------
A ---------- ---------- ---------- ---------- ---------- ---------- ----------
)";
  EXPECT_EQ(KindTable({std::plus<>(), std::minus<>(), std::multiplies<>(), std::divides<>(),
                       std::modulus<>(), std::bit_and<>(), std::bit_or<>()}),
            expected.substr(expected.find("\nU") + 1));
  EXPECT_EQ(KindTable({VarDiv}), KindTable({std::modulus<>()}));
  EXPECT_EQ(KindTable({std::bit_xor<>()}), KindTable({std::bit_and<>()}));
}

// 128 bits hold every sum and product of two Integers.
TEST(VariantMath, WholeNumbersAreExactOrAFloat) {
  __extension__ using TWide = __int128;
  const unsigned seed = std::random_device()();
  SCOPED_TRACE(seed);
  std::mt19937_64 random(seed);
  constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
  constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
  const auto draw = [&]() -> std::int64_t {
    const std::int64_t edges[] = {kMin, kMin + 1, -1, 0, 1, kMax - 1, kMax};
    if (random() % 4 == 0) return edges[random() % std::size(edges)];
    return static_cast<std::int64_t>(random()) >> (random() % 63);
  };
  const auto expect = [](const Variant& result, TWide wanted) {
    if (wanted < kMin || wanted > kMax) {
      ASSERT_EQ(result.Kind(), TVariantKind::Float);
      ASSERT_DOUBLE_EQ(result.AsFloat(), static_cast<double>(wanted));
    } else {
      ASSERT_EQ(result.Kind(), TVariantKind::Integer);
      ASSERT_EQ(result.AsInteger(), static_cast<std::int64_t>(wanted));
    }
  };
  for (int i = 0; i < 20000; ++i) {
    const std::int64_t a = draw();
    const std::int64_t b = draw();
    SCOPED_TRACE(std::to_string(a) + ", " + std::to_string(b));
    const Variant x = a;
    const Variant y = random() % 2 == 0 ? Variant(b) : Variant(std::to_string(b));
    expect(x + y, TWide{a} + b);
    expect(x - y, TWide{a} - b);
    expect(x * y, TWide{a} * b);
    expect(-x, -TWide{a});
    ASSERT_EQ((x & y).AsInteger(), a & b);
    ASSERT_EQ((x | y).AsInteger(), a | b);
    ASSERT_EQ((x ^ y).AsInteger(), a ^ b);
    ASSERT_EQ((~x).AsInteger(), ~a);
    ASSERT_EQ(Variant(a) < Variant(b), a < b);
    if (b == 0 || (a == kMin && b == -1)) {
      ASSERT_THROW(VarDiv(x, y), EVariantError);
    } else {
      ASSERT_EQ(VarDiv(x, y).AsInteger(), a / b);
      ASSERT_EQ((x % y).AsInteger(), b == -1 ? 0 : a % b);
    }
    if (b == 0) {
      ASSERT_THROW(x / y, EVariantError);
    }
  }
}

TEST(VariantMath, ValuesFollowTheKinds) {
  const Variant null = Variant::Null();
  const std::pair<Variant, Variant> results[] = {
      {Variant("1") + "2", "12"},
      {Variant(true) + true, 2},
      {Variant("7") / "2", 3.5},
      {Variant::Date(2) + 0.5, Variant::Date(2.5)},
      {Variant::Date(2.5) - Variant::Date(2), 0.5},
      {Variant(false) & null, false},
      {null & false, false},
      {Variant(true) & null, null},
      {Variant(true) | null, true},
      {Variant(false) | null, null},
      {Variant(0) & null, null},
      {Variant(true) ^ true, false},
      {Variant(true) & 2, true},
      {~null, null},
  };
  for (std::size_t i = 0; i < std::size(results); ++i) {
    EXPECT_EQ(results[i].first.Kind(), results[i].second.Kind()) << i;
    EXPECT_EQ(results[i].first, results[i].second) << i;
  }
}

TEST(VariantMath, ErrorsNameKindsAndNoValues) {
  EXPECT_EQ(Raised([] { Variant(1) + Variant("secret"); }),
            "Variant of kind String cannot be read as Float");
  EXPECT_EQ(Raised([] { Variant(1) + Variant(); }),
            "Variant of kind Unassigned cannot be read as an operand");
  EXPECT_EQ(Raised([] { Variant("1") / Variant("0"); }),
            "Variant of kind String cannot be divided by a zero of kind String");
  EXPECT_EQ(Raised([] { static_cast<void>(VarArrayOf({}) < Variant(1)); }),
            "Variant of kind Array cannot be read as a value with an order");
  EXPECT_EQ(Raised([] { static_cast<void>(VarArrayOf({}) == Variant("secret")); }),
            "Variant of kind String cannot be read as Array");
}

// In each row every value stands before all that follow it.
TEST(VariantMath, OrderAgreesWithEquality) {
  const std::int64_t large = std::int64_t{1} << 53;
  const std::vector<Variant> rows[] = {
      {Variant(), Variant::Null(), -3, -2.5, "-2", 0.5, 1, "2", large, large + 1},
      {Variant(), Variant::Null(), "", "1", "10", "9", "B", "a", "č"},
      {Variant::Null(), Variant::Date(-1), 0, Variant::Date(0.5), Variant::Date(36526)},
      {Variant::Date(36525), "1.1.2000", Variant::Date(36526.5)},
      {false, "True"}};
  for (const auto& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      for (std::size_t j = 0; j < row.size(); ++j) {
        const Variant& a = row[i];
        const Variant& b = row[j];
        SCOPED_TRACE(a.AsText() + " and " + b.AsText());
        EXPECT_EQ(a < b, i < j);
        EXPECT_EQ(a <= b, i <= j);
        EXPECT_EQ(a > b, i > j);
        EXPECT_EQ(a >= b, i >= j);
        EXPECT_EQ(a == b, i == j);
      }
    }
  }
  const Variant noNumber = std::numeric_limits<double>::quiet_NaN();
  EXPECT_FALSE(noNumber < 1 || noNumber >= 1 || noNumber == noNumber);
}

}  // namespace
}  // namespace perlayer

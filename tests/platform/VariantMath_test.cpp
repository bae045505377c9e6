#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <random>
#include <sstream>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Variant.h"

namespace perlayer {
namespace {

using TOperator = std::function<Variant(const Variant&, const Variant&)>;

// The kinds that an operator answers for every pair of operands: a row for the left operand, a
// column for the right one, each a letter of its kind; "-" where the operator raises.
std::string KindTable(const TOperator& compute) {
  const std::pair<char, Variant> operands[] = {
      {'U', Variant()}, {'N', Variant::Null()},      {'B', true}, {'I', 7},
      {'F', 2.5},       {'D', Variant::Date(36526)}, {'W', "4"},  {'T', "1.5"},
      {'X', "abc"},     {'A', VarArrayOf({1})}};
  std::string table = "\n  U N B I F D W T X A\n";
  for (const auto& [name, left] : operands) {
    table += name;
    for (const auto& operand : operands) {
      table += ' ';
      try {
        table += VariantKindName(compute(left, operand.second).Kind())[0];
      } catch (const EVariantError&) {
        table += '-';
      }
    }
    table += '\n';
  }
  return table;
}

// W, T and X are texts: a whole number, another number, a word.
TEST(VariantMath, EachPairOfKindsHasItsResult) {
  EXPECT_EQ(KindTable(std::plus<>()), R"(
  U N B I F D W T X A
U - - - - - - - - - -
N - N N N N N N N N -
B - N I I F D I F - -
I - N I I F D I F - -
F - N F F F D F F - -
D - N D D D D D D - -
W - N I I F D S S S -
T - N F F F D S S S -
X - N - - - - S S S -
A - - - - - - - - - -
)");
  EXPECT_EQ(KindTable(std::minus<>()), R"(
  U N B I F D W T X A
U - - - - - - - - - -
N - N N N N N N N N -
B - N I I F F I F - -
I - N I I F F I F - -
F - N F F F F F F - -
D - N D D D F D D - -
W - N I I F F I F - -
T - N F F F F F F - -
X - N - - - - - - - -
A - - - - - - - - - -
)");
  EXPECT_EQ(KindTable(std::multiplies<>()), R"(
  U N B I F D W T X A
U - - - - - - - - - -
N - N N N N N N N N -
B - N I I F F I F - -
I - N I I F F I F - -
F - N F F F F F F - -
D - N F F F F F F - -
W - N I I F F I F - -
T - N F F F F F F - -
X - N - - - - - - - -
A - - - - - - - - - -
)");
  EXPECT_EQ(KindTable(std::divides<>()), R"(
  U N B I F D W T X A
U - - - - - - - - - -
N - N N N N N N N N -
B - N F F F F F F - -
I - N F F F F F F - -
F - N F F F F F F - -
D - N F F F F F F - -
W - N F F F F F F - -
T - N F F F F F F - -
X - N - - - - - - - -
A - - - - - - - - - -
)");
  const std::string whole = R"(
  U N B I F D W T X A
U - - - - - - - - - -
N - N N N N N N N N -
B - N I I I I I I - -
I - N I I I I I I - -
F - N I I I I I I - -
D - N I I I I I I - -
W - N I I I I I I - -
T - N I I I I I I - -
X - N - - - - - - - -
A - - - - - - - - - -
)";
  EXPECT_EQ(KindTable(std::modulus<>()), whole);
  EXPECT_EQ(KindTable(VarDiv), whole);
  const std::string logic = R"(
  U N B I F D W T X A
U - - - - - - - - - -
N - N N N N N N N N -
B - N B B B B B B - -
I - N B I I I I I - -
F - N B I I I I I - -
D - N B I I I I I - -
W - N B I I I I I - -
T - N B I I I I I - -
X - N - - - - - - - -
A - - - - - - - - - -
)";
  EXPECT_EQ(KindTable(std::bit_and<>()), logic);
  EXPECT_EQ(KindTable(std::bit_xor<>()), logic);
  std::string either = logic;  // true | Null is true
  either[either.find("\nN") + 7] = 'B';
  either[either.find("\nB") + 5] = 'B';
  EXPECT_EQ(KindTable(std::bit_or<>()), either);
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
      ASSERT_THROW(x % y, EVariantError);
    }
  }
  EXPECT_EQ((Variant(kMin) % -1).AsInteger(), 0);
}

TEST(VariantMath, ValuesFollowTheKinds) {
  const Variant null = Variant::Null();
  const std::pair<Variant, Variant> results[] = {
      {Variant("1") + "2", "12"},
      {Variant(1) + "2", 3},
      {Variant(true) + true, 2},
      {Variant(7) / 2, 3.5},
      {Variant("7") / "2", 3.5},
      {VarDiv(-7, 2), -3},
      {Variant(-7) % 2, -1},
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
      {Variant("False") | false, false},
      {~Variant(true), false},
      {~Variant(0), -1},
      {~null, null},
      {-Variant(2.5), -2.5},
  };
  for (std::size_t i = 0; i < std::size(results); ++i) {
    EXPECT_EQ(results[i].first.Kind(), results[i].second.Kind()) << i;
    EXPECT_EQ(results[i].first, results[i].second) << i;
  }
}

std::string Error(const std::function<void()>& action) {
  try {
    action();
  } catch (const EVariantError& e) {
    return e.Message();
  }
  return "no error";
}

TEST(VariantMath, ErrorsNameKindsAndNoValues) {
  EXPECT_EQ(Error([] { Variant(1) + Variant("secret"); }),
            "Variant of kind String cannot be read as Float");
  EXPECT_EQ(Error([] { Variant(1) & Variant("secret"); }),
            "Variant of kind String cannot be read as Integer");
  EXPECT_EQ(Error([] { Variant(1) + Variant(); }),
            "Variant of kind Unassigned cannot be read as an operand");
  EXPECT_EQ(Error([] { Variant("1") / Variant("0"); }),
            "Variant of kind String cannot be divided by a zero of kind String");
  EXPECT_EQ(Error([] { static_cast<void>(VarArrayOf({}) < Variant(1)); }),
            "Variant of kind Array cannot be read as a value with an order");
  EXPECT_EQ(Error([] { static_cast<void>(VarArrayOf({}) == Variant("secret")); }),
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
      {false, true},
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

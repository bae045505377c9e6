#include "perlayer/platform/Variant.h"

#include <gtest/gtest.h>

#include <limits>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TFormatSettings.h"

namespace perlayer {
namespace {

static_assert(!std::is_constructible_v<Variant, int*> && !std::is_constructible_v<Variant, void*>);
static_assert(!std::is_constructible_v<Variant, decltype(nullptr)>);
static_assert(!std::is_constructible_v<Variant, char>);

TEST(Variant, IsEmptyWithoutAVisibleCharacter) {
  EXPECT_THROW(Variant{std::numeric_limits<std::uint64_t>::max()}, EVariantError);
  for (const Variant& empty : {Variant(), Variant::Null(), Variant(""), Variant(" \n")}) {
    EXPECT_TRUE(empty.IsEmpty());
  }
  for (const Variant& filled : {Variant(0), Variant(false), Variant(0.0), Variant("0")}) {
    EXPECT_FALSE(filled.IsEmpty());
  }
}

// What each conversion answers, as text; "error" where it raises.
struct TRow {
  const char* name;
  Variant value;
  const char* text;
  const char* boolean;
  const char* integer;
  const char* number;
  const char* date;
};

template <class TConvert>
std::string Answer(const char* wanted, const Variant& value, TConvert convert) {
  try {
    return Variant(convert()).AsText();
  } catch (const EVariantError& e) {
    EXPECT_EQ(e.Message(), std::string("Variant of kind ") + VariantKindName(value.Kind()) +
                               " cannot be read as " + wanted);
    return "error";
  }
}

TEST(Variant, ConvertsByFixedRules) {
  FormatSettings().DecimalSeparator = ',';
  const double big = 1e19;
  const TRow rows[] = {
      {"unassigned", Variant(), "", "error", "error", "error", "error"},
      {"null", Variant::Null(), "", "error", "error", "error", "error"},
      {"true", Variant(true), "True", "True", "1", "1", "error"},
      {"zero", Variant(0), "0", "False", "0", "0", "0"},
      {"float", Variant(2.5), "2,5", "True", "2", "2,5", "2,5"},
      {"big float", Variant(big), "1e+19", "True", "error", "1e+19", "1e+19"},
      {"date", Variant::Date(36526.5), "01.01.2000 12:00:00", "True", "36526", "36526,5",
       "36526,5"},
      {"word", Variant("abc"), "abc", "error", "error", "error", "error"},
      {"blank text", Variant(" "), " ", "error", "error", "error", "error"},
      {"number text", Variant(" 3,5"), " 3,5", "True", "4", "3,5", "error"},
      {"long text", Variant("9223372036854775807"), "9223372036854775807", "True",
       "9223372036854775807", "9,223372036854776e+18", "error"},
      {"false text", Variant(" fALSE"), " fALSE", "False", "error", "error", "error"},
      {"date text", Variant("1.1.2000"), "1.1.2000", "error", "error", "error", "36526"},
      {"array", VarArrayOf({1}), "error", "error", "error", "error", "error"},
  };
  for (const TRow& row : rows) {
    SCOPED_TRACE(row.name);
    const Variant& v = row.value;
    EXPECT_EQ(Answer("String", v, [&] { return v.AsText(); }), row.text);
    EXPECT_EQ(Answer("Boolean", v, [&] { return v.AsBoolean(); }), row.boolean);
    EXPECT_EQ(Answer("Integer", v, [&] { return v.AsInteger(); }), row.integer);
    EXPECT_EQ(Answer("Float", v, [&] { return v.AsFloat(); }), row.number);
    EXPECT_EQ(Answer("Date", v, [&] { return v.AsDate(); }), row.date);
  }
}

TEST(Variant, EqualsByValue) {
  const std::pair<Variant, Variant> equal[] = {
      {1, 1.0}, {1, "1.0"}, {true, 2.5}, {Variant::Date(36526), "1.1.2000"}, {false, "false"}};
  for (const auto& [a, b] : equal) {
    EXPECT_EQ(a, b) << a.AsText();
    EXPECT_EQ(b, a) << a.AsText();
  }
  EXPECT_NE(Variant("abc"), Variant("ABC"));
  EXPECT_NE(Variant("1"), Variant("1.0"));
  EXPECT_THROW(static_cast<void>(Variant(1) == Variant("abc")), EVariantError);
  EXPECT_THROW(static_cast<void>(Variant("") == Variant(0)), EVariantError);
}

}  // namespace
}  // namespace perlayer

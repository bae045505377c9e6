#include "perlayer/platform/TCollation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "perlayer/platform/Text.h"
#include "perlayer/platform/Variant.h"

namespace perlayer {
namespace {

// Those of one line differ in case alone.
const std::vector<std::vector<const char*>> kOrdered = {
    {""},         {"\n"},       {" "},
    {" a", " A"}, {"!"},        {"-"},
    {"0"},        {"00"},       {"10"},
    {"9"},        {"a", "A"},   {"á", "Á"},
    {"ä"},        {"a b"},      {"aa"},
    {"ab"},       {"áb"},       {"æ", "Æ"},
    {"af"},       {"b"},        {"ç"},
    {"cz"},       {"ča", "ČA"}, {"ć"},
    {"d"},        {"đ"},        {"e"},
    {"kos"},      {"koš"},      {"košara"},
    {"l"},        {"ł"},        {"novak", "Novak", "NOVAK"},
    {"novák"},    {"o"},        {"ö", "Ö"},
    {"ő"},        {"p"},        {"strasse"},
    {"straße"},   {"š"},        {"t"},
    {"z"},        {"ž"},        {"\xC3"},
    {"а", "А"},   {"日本"}};

TEST(TCollation, OrdersTextsAsPeopleDo) {
  std::vector<std::string> texts;
  for (const auto& line : kOrdered) texts.insert(texts.end(), line.begin(), line.end());
  // The stray byte counts as a character above all others.
  std::iter_swap(std::find(texts.begin(), texts.end(), "\xC3"), texts.end() - 1);
  std::rotate(std::find(texts.begin(), texts.end(), "日本"), texts.end() - 3, texts.end() - 1);
  std::vector<std::string> sorted = texts;
  std::shuffle(sorted.begin(), sorted.end(), std::mt19937(1));
  std::sort(sorted.begin(), sorted.end(),
            [](const std::string& a, const std::string& b) { return AnsiCompareStr(a, b) < 0; });
  EXPECT_EQ(sorted, texts);
  for (const auto& line : kOrdered) {
    for (const char* text : line) {
      EXPECT_EQ(AnsiCompareText(text, line[0]), 0);
      EXPECT_EQ(AnsiCompareStr(text, line[0]) == 0, text == line[0]);
    }
  }
  EXPECT_LT(AnsiCompareText("novak", "novák"), 0);
}

TEST(TCollation, OrdersValuesOfDifferentKinds) {
  const std::vector<Variant> ordered = {Variant(),
                                        Variant::Null(),
                                        -1.5,
                                        false,
                                        std::int64_t{1} << 60,
                                        (std::int64_t{1} << 60) + 1,
                                        "",
                                        "10",
                                        "9",
                                        "b",
                                        "Č"};
  for (std::size_t i = 0; i < ordered.size(); ++i) {
    for (std::size_t j = 0; j < ordered.size(); ++j) {
      const int expected = i < j ? -1 : i > j ? 1 : 0;
      const int found = AnsiCompareVariant(ordered[i], ordered[j]);
      EXPECT_EQ((found > 0) - (found < 0), expected) << i << " " << j;
    }
  }
  EXPECT_EQ(AnsiCompareVariant(Variant::Date(2), 2), 0);
}

TEST(TCollation, AnotherOneCanBeInstalled) {
  struct TBackward : TCollation {
    void AppendKey(std::string& key, std::string_view text, bool) const override {
      for (const char c : text) key += static_cast<char>(~c);
    }
  };
  InstallCollation(std::make_unique<TBackward>());
  EXPECT_GT(AnsiCompareStr("a", "b"), 0);
  InstallCollation(nullptr);
  EXPECT_LT(AnsiCompareStr("a", "b"), 0);
}

}  // namespace
}  // namespace perlayer

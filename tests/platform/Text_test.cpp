#include "perlayer/platform/Text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <random>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TFormatSettings.h"
#include "support/Raised.h"

namespace perlayer {
namespace {

std::string Utf8(char32_t c) {
  std::string text;
  AppendUtf8(text, c);
  return text;
}

template <class TVisit>
void ForEachCodePoint(TVisit visit) {
  for (char32_t c = 0; c <= 0x10FFFF; ++c) {
    if (c < 0xD800 || c > 0xDFFF) visit(c);
  }
}

TEST(Text, EveryCodePointSurvivesUtf8AndOneFoldIsEnough) {
  ForEachCodePoint([](char32_t c) {
    const std::string text = Utf8(c);
    std::size_t position = 0;
    ASSERT_EQ(DecodeUtf8(text, position), c);
    ASSERT_EQ(position, text.size());
    const char32_t fold = FoldCodePoint(c);
    ASSERT_EQ(FoldCodePoint(fold), fold) << std::hex << static_cast<std::uint32_t>(c);
    ASSERT_EQ(FoldCase(text), Utf8(fold));
    // The dotless i rises to the plain I, which every other language reads as the plain i's.
    if (c != U'ı') {
      ASSERT_TRUE(SameText(UpperCase(text), text)) << text;
    }
    ASSERT_TRUE(SameText(LowerCase(text), text)) << text;
  });
}

TEST(Text, CaseMapsOneCharacterToOne) {
  EXPECT_EQ(UpperCase("čšž đ äß ω ж ɐ ꭰ 𐐨"), "ČŠŽ Đ Äß Ω Ж Ɐ Ꭰ 𐐀");
  EXPECT_EQ(LowerCase("ČŠŽ Đ ÄẞÓŐ Ω Ж 𐐀"), "čšž đ äßóő ω ж 𐐨");
  EXPECT_EQ(FoldCase("ẞ ς ſ K ᾈ"), "ß σ s k ᾀ");
  EXPECT_EQ(AsciiUpperCase("select č from é_z"), "SELECT č FROM é_Z");
  // Eight bytes at once and what is left over.
  std::string text;
  for (char c = 1; text.size() < 150; c = static_cast<char>(c % 127 + 1)) {
    std::string upper(text.size(), ' ');
    ASSERT_TRUE(UpperCaseOfAscii(text, upper.data()));
    ASSERT_EQ(upper, AsciiUpperCase(text));
    ASSERT_EQ(UpperCase(text + "č"), upper + "Č");
    ASSERT_EQ(LowerCase(upper), FoldCase(text));
    text += c;
  }
  for (std::size_t i = 0; i < text.size(); ++i) {
    std::string other = text, upper = text;
    other[i] = '\xC4';
    ASSERT_FALSE(UpperCaseOfAscii(other, upper.data()));
  }
}

TEST(Text, NamesCompareByFoldedCodePoints) {
  EXPECT_EQ(CompareText("Čačak", "čAČAK"), 0);
  EXPECT_LT(CompareText("abc", "ABCD"), 0);
  EXPECT_LT(CompareText("z", "č"), 0);  // a letter beyond ASCII is no negative number
  EXPECT_LT(CompareText("_", "A"), 0);  // "_" stands between the cases; the small letters decide
  EXPECT_LT(CompareText("Žzz", "𐐀"), 0);
  EXPECT_TRUE(StartsText("ŠK", "škof"));
  EXPECT_FALSE(StartsText("škofja", "Škof"));
}

// Random bytes and characters: whatever comes in, texts are taken apart and put together without
// loss, and comparing agrees with folding.
TEST(Text, MalformedTextIsNeverAnError) {
  std::mt19937 random(20240131);
  const std::vector<std::string> pieces = SplitText(
      "a A Z z [ K ſ č Č Ž ẞ € 𐐀 𐐨 \xC3 \xC4 \xE2 \xE2\x82 \xFF \xED\xA0\x80 \xEF\xBF\xBF "
      "\x80 \xF0\x90 \xF4\x8F\xBF\xBF",
      " ");
  const auto text = [&] {
    std::string result;
    for (auto count = random() % 8; count > 0; --count) result += pieces[random() % pieces.size()];
    return result;
  };
  for (int round = 0; round < 50000; ++round) {
    const std::string a = text(), b = text();
    std::string copy;
    std::vector<std::size_t> ends = {0};
    for (std::size_t i = 0; i < a.size(); ends.push_back(i)) AppendUtf8(copy, DecodeUtf8(a, i));
    ASSERT_EQ(copy, a);
    ASSERT_EQ(Utf8Length(a), ends.size() - 1);
    for (std::size_t bytes = 0; bytes <= a.size(); ++bytes) {
      ASSERT_EQ(CutToBytes(a, bytes).size(), *--std::upper_bound(ends.begin(), ends.end(), bytes));
    }
    const std::string foldA = FoldCase(a), foldB = FoldCase(b);
    ASSERT_EQ(FoldCase(foldA), foldA);
    ASSERT_EQ(SameText(a, b), foldA == foldB);
    ASSERT_EQ(CompareText(a, b), -CompareText(b, a));
    ASSERT_EQ(CompareText(a, b), CompareText(foldA, foldB));
    // Keys order as their texts compare, also where a key is cut short.
    char x[128], y[128], cut[4];
    const std::string_view keyA(x, FoldedKey(a, x, 128)), keyB(y, FoldedKey(b, y, 128));
    ASSERT_EQ(keyA < keyB, CompareText(a, b) < 0);
    ASSERT_EQ(keyA == keyB, CompareText(a, b) == 0);
    const std::size_t size = random() % 5;
    ASSERT_EQ(std::string_view(cut, FoldedKey(a, cut, size)), keyA.substr(0, size));
    ASSERT_EQ(StartsText(a, b), CutToBytes(foldB, foldA.size()) == foldA);
  }
  for (const char* bad : {"\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE0\x80\x80"}) {
    std::size_t position = 0;
    EXPECT_EQ(DecodeUtf8(bad, position), kStrayByte + static_cast<unsigned char>(bad[0]));
    EXPECT_EQ(position, 1u);
  }
  EXPECT_FALSE(SameText("\xE8", "è"));
}

TEST(Text, TrimsSplitsAndPads) {
  EXPECT_EQ(Trim("\t č \r\n"), "č");
  EXPECT_EQ(StringReplaceAll("aXbX", "X", "XX"), "aXXbXX");
  EXPECT_EQ(StringReplaceAll("abc", "", "x"), "abc");
  using TParts = std::vector<std::string>;
  EXPECT_EQ(SplitText("a,,b", ","), (TParts{"a", "", "b"}));
  EXPECT_EQ(SplitText("", ","), TParts{});
  EXPECT_EQ(SplitText("a,b", ""), TParts{"a,b"});
  EXPECT_EQ(JoinText(SplitText(";a;;b;", ";"), ";"), ";a;;b;");
  EXPECT_EQ(IPadL("č", 3), "  č");
  EXPECT_EQ(IPadR("č", 3, '.'), "č..");
  EXPECT_EQ(IPadL("čšž", 2), "čš");
}

TEST(Text, AnswersQuestionsAboutNamesAndValues) {
  for (const char* number : {"0", "-1", "+1.5", ".5", "5."}) EXPECT_TRUE(IsNumeric(number));
  for (const char* word : {"", "-", ".", "1.2.3", "1e5", " 1", "1 ", "--1", "1-", "1,5"}) {
    EXPECT_FALSE(IsNumeric(word)) << word;
  }
  EXPECT_FALSE(StringInSet("set", "UPDATE X SET Y"));
  EXPECT_EQ(GetValueFromString("A=1; b =x=y;B=3", ";", "B"), "x=y");
  EXPECT_EQ(GetValueFromString("A=1;B", ";", "B"), "");
  EXPECT_EQ(LastName(" Janez  Novak Horvat "), "Novak Horvat");
}

TEST(Numbers, FloatsReadBackAsTheSameNumber) {
  std::mt19937_64 random(7);
  const auto check = [](double value) {
    const std::string text = FloatToStr(value);
    ASSERT_EQ(StrToFloat(text), value) << text;
    ASSERT_EQ(text.find("e") == text.npos,
              value == 0 || (std::fabs(value) >= 1e-5 && std::fabs(value) < 1e17))
        << text;
  };
  for (int round = 0; round < 200000; ++round) {
    const double anything = std::bit_cast<double>(random());
    if (std::isfinite(anything)) check(anything);
    check(std::ldexp(static_cast<double>(random() % 2000000) - 1000000,
                     -static_cast<int>(random() % 40)));
    check(static_cast<double>(random() % 1000000000) / 100);
  }
  using TLimits = std::numeric_limits<double>;
  for (double value : {TLimits::max(), TLimits::min(), TLimits::denorm_min(), 9999999999999998.0,
                       1e17, 1e-5, std::nextafter(1e15, 2e15), 9007199254740993.0}) {
    check(value);
    check(-value);
  }
}

TEST(Numbers, AreWrittenPlainly) {
  EXPECT_EQ(FloatToStr(-0.0), "0");
  EXPECT_EQ(FloatToStr(-2147483647.0), "-2147483647");
  EXPECT_EQ(FloatToStr(0.00001), "0.00001");
  EXPECT_EQ(FloatToStr(1e16), "10000000000000000");
  EXPECT_EQ(IntToStr(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
}

TEST(Numbers, OnlyNumbersAreRead) {
  EXPECT_EQ(StrToFloat(" +1.5e2\n"), 150);
  EXPECT_EQ(StrToFloat(".5") - StrToFloat("-5."), 5.5);
  EXPECT_EQ(StrToFloat("123456789.012345678"), 123456789.012345678);
  EXPECT_EQ(StrToInt(" -9223372036854775808 "), std::numeric_limits<std::int64_t>::min());
  for (const char* word :
       {"",    " ",   "+",    "-",    ".",  "e5",    "1 2", "1,5", "+-1",   "--1",
        "nan", "inf", "-inf", "0x10", "1e", "1e999", "12a", "č",   "1.2.3", "-."}) {
    double value = 42;
    EXPECT_FALSE(TryStrToFloat(word, value)) << word;
    EXPECT_EQ(value, 42);
    EXPECT_EQ(StrToIntDef(word, -3), -3) << word;
  }
  EXPECT_THROW(StrToInt("1.0"), EConvertError);
  EXPECT_THROW(StrToInt("9223372036854775808"), EConvertError);
  EXPECT_EQ(Raised([] { StrToFloat(" 1,5"); }), "' 1,5' is not a valid floating point value");
}

TEST(Numbers, TheDecimalSeparatorIsASetting) {
  FormatSettings().DecimalSeparator = ',';
  EXPECT_EQ(FloatToStr(-1234.5), "-1234,5");
  EXPECT_EQ(StrToFloat("-1234,5"), -1234.5);
  EXPECT_THROW(StrToFloat("1.5"), EConvertError);
  EXPECT_THROW(StrToFloat("1,5,5"), EConvertError);
  std::string text = "x=";
  AppendFloat(text, 1.5);
  EXPECT_EQ(text, "x=1.5");
}

}  // namespace
}  // namespace perlayer

#include "perlayer/corekit/TStatementText.h"

#include <gtest/gtest.h>

namespace perlayer {
namespace {

// The parameters and where each place stands: "ID,N|:ID :N :id".
std::string Parsed(std::string_view text) {
  const TStatementText statement(text);
  std::string result;
  for (const std::string& name : statement.Parameters()) {
    result += (result.empty() ? "" : ",") + name;
  }
  result += "|";
  for (const TStatementText::TPlace& place : statement.Places()) {
    const auto written = text.substr(place.offset, place.length);
    EXPECT_EQ(statement.IndexOfParameter(written.substr(1)), static_cast<int>(place.parameter));
    result += (result.back() == '|' ? "" : " ") + std::string(written);
  }
  return result;
}

TEST(TStatementText, ParametersStandOutsideQuotesAndComments) {
  const std::pair<const char*, const char*> cases[] = {
      {"a = :ID and b=:N or c>:id", "ID,N|:ID :N :id"},
      {":a_b$c#1.x :Ž2 :ž2 :a-1", "a_b$c#1,Ž2,a|:a_b$c#1 :Ž2 :ž2 :a"},
      {"':a' \":b\" ':a'':b' :c", "c|:c"},
      {"-- :a\r\n:b --:c\n:d", "b,d|:b :d"},
      {"/* :a \n ' */ :b /* :c", "b|:b"},
      {"/*/ :a */ :b", "b|:b"},
      {"a := :b; c::d : e :", "b|:b"},
      {":::a", "a|:a"},
      {":1,:2,:1,:10", "1,2,10|:1 :2 :1 :10"},
      {"'it''s :a' || :b || ''", "b|:b"},
      {"x - :a -- ' \r\n:b", "a,b|:a :b"},
      {"'never closed :a", "|"},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(Parsed(text), expected) << text;
}

TEST(TStatementText, EqualTextsShareOneParseAndOldOnesAreForgotten) {
  const TStatementTextPtr first = TStatementText::Of("select :a");
  EXPECT_EQ(TStatementText::Of("select :a"), first);
  EXPECT_NE(TStatementText::Of("select :A"), first);
  std::weak_ptr<const TStatementText> forgotten = TStatementText::Of("select 'forgotten'");
  for (int i = 0; i < 2000; ++i) {
    TStatementText::Of("select " + std::to_string(i));
    TStatementText::Of("select :a");
  }
  EXPECT_EQ(TStatementText::Of("select :a"), first) << "used all the time";
  EXPECT_TRUE(forgotten.expired());
}

TEST(TStatementText, CommentLinesBeginWithDashes) {
  for (const char* text : {"--", "a\r\n -- b", "a\n\t--b\nc", "x -- y\r\n--z"}) {
    EXPECT_TRUE(TStatementText(text).HasCommentLine()) << text;
  }
  for (const char* text : {"", "a -- b", "a - - b\r\n- -", "č --"}) {
    EXPECT_FALSE(TStatementText(text).HasCommentLine()) << text;
  }
}

}  // namespace
}  // namespace perlayer

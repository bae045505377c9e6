#include "perlayer/database/SQLText.h"

#include <gtest/gtest.h>

#include "perlayer/corekit/TIQuery.h"
#include "perlayer/corekit/TIUpdateSQL.h"
#include "perlayer/drivers/sqlite/TSqliteDatabase.h"
#include "perlayer/platform/Exception.h"
#include "support/Raised.h"
#include "support/TempDir.h"

namespace perlayer {
namespace {

class SQLText : public testing::Test {
 protected:
  SQLText() { FQuery->SQLText("select ID\r\nfrom T\r\nwhere\r\nID = :ID\r\nand 1 = 1"); }

  // The line behind "where" after the condition has been put in, then the values: "A =:1|x".
  std::string Where(const std::string& text, bool bind = true) {
    SetWhereClause(FQuery.Get(), text, bind);
    std::string result = FQuery->SQL()->Strings(3);
    for (int i = 0; i < FQuery->ParamCount(); ++i) result += "|" + FQuery->Params(i).AsString();
    return result;
  }
  std::string Lines() const {
    std::string lines;
    for (int i = 0; i < FQuery->SQL()->Count(); ++i) {
      lines += (i == 0 ? "" : "/") + FQuery->SQL()->Strings(i);
    }
    return lines;
  }
  std::string Order(std::string_view text) {
    SetOrderClause(FQuery.Get(), text);
    return Lines();
  }

  TOwned<TIQuery> FQuery = Make<TIQuery>();
};

TEST_F(SQLText, LiteralsBehindAnEqualSignBecomeParameters) {
  const std::pair<const char*, const char*> cases[] = {
      {"A='O''Brien'", "A=:1|O''Brien"},
      {"A = 'ab''' and B = ''''", "A =:1 and B =:2|ab''|''"},
      {"A = 1.5", "A =:1.5|1"},
      {"A < 10 OR B > '2'", "A < 10 OR B > '2'"},
      {"A = 'x'\r\nor (Š =  'č' )\tAND ŠT=7", "A =:1\r\nor (Š =:2 )\tAND ŠT=:3|x|č|7"},
      {"A <= 10 OR B >=  '2' OR C != 'x'", "A <=:1 OR B >=:2 OR C !=:3|10|2|x"},
      {"A = -5 AND B = 007", "A =-5 AND B =:1|007"},
      {"A =   B", "A =B"},
      {"A =", "A ="},
      {"= 5", "=:1|5"},
      {"A == 5", "A ==:1|5"},
      {"A =\t5", "A =\t5"},
      {"A = ''", "A =:1|"},
      {"A = 'like' AND B = 'x'", "A =:1 AND B =:2|like|x"},
      {"NAME LIKE 'X%' AND B = 5", "NAME LIKE 'X%' AND B = 5"},
      {"A = 1 AND NAME like 'X%' AND B =  2", "A =:1 AND NAME like 'X%' AND B =  2|1"},
      {"LIK = 1 AND L = 'I'", "LIK =:1 AND L =:2|1|I"},
      {"A = LiKe = 1", "A =LiKe = 1"},
      // A parameter inside a literal is none: the condition stays as it came.
      {"B = 5 AND X IN ('A = 1')", "B = 5 AND X IN ('A = 1')"},
  };
  for (const auto& [condition, expected] : cases) {
    EXPECT_EQ(Where(condition), expected) << condition;
    EXPECT_EQ(Where(condition, false), condition) << "without binding it goes in as it is";
  }
  EXPECT_EQ(Lines(), "select ID/from T/where/B = 5 AND X IN ('A = 1')/and 1 = 1");
}

TEST_F(SQLText, AWholeStatementReplacesTheQuery) {
  SetWhereClause(FQuery.Get(), "select A, 'ž' from T, U Where A = 5", true);
  EXPECT_EQ(Lines(), "select A, 'ž' from T, U /Where/ A =:1");
  EXPECT_EQ(FQuery->Params(0).AsString(), "5");
  SetWhereClause(FQuery.Get(), "SELECT A from T start with A = 'x' connect by prior A = B", true);
  EXPECT_EQ(Lines(), "SELECT A from T /start/ with A =:1 connect by prior A =B");
  SetWhereClause(FQuery.Get(), "select A from T where A = 5\r\nand B = 6\r\norder by A", true);
  EXPECT_EQ(FQuery->SQLText(),
            "select A from T \r\nwhere\r\n A =:1\r\nand B =:2\r\norder by A\r\n");
  SetWhereClause(FQuery.Get(), "Select STARTED from T where A = 'x'", false);
  EXPECT_EQ(Lines(), "Select STARTED from T /where/ A = 'x'") << "WHERE goes before START";
}

TEST_F(SQLText, TheKeywordIsSoughtAtTheBeginningOfLines) {
  FQuery->SQLText("select A /* where */\r\nfrom T\r\n  where\r\nWheReas");
  SetWhereClause(FQuery.Get(), "A = 1", true);
  EXPECT_EQ(Lines(), "select A /* where *//from T/  where/WheReas/A =:1");
  FQuery->SQLText("select A\r\nstart with");
  SetWhereClause(FQuery.Get(), "A = 1", false);
  EXPECT_EQ(Lines(), "select A/start with/A = 1") << "a line is added behind the last";
  for (const char* text : {"", "select A from T\r\nwher\r\n where"}) {
    FQuery->SQLText(text);
    EXPECT_EQ(Raised([&] { SetWhereClause(FQuery.Get(), "A = 1", true); }),
              "SetWhereClause: No where or start clouse in query");
    EXPECT_EQ(FQuery->SQLText(), TStatementText(FQuery->SQL()->Text()).Text());
  }
}

TEST_F(SQLText, ALiteralWithoutAnEndChangesNothing) {
  const std::string before = Lines();
  for (const char* text : {"A = '", "A = 'x''", "A = 5 and B = 'x"}) {
    EXPECT_EQ(Raised([&] { Where(text); }), "[sInternalFetchSpec] Missign right quote") << text;
    EXPECT_EQ(Lines(), before);
  }
  EXPECT_EQ(Where("A > 'x"), "A > 'x") << "not one that would be bound";
}

// Callers may pass a line of the query itself.
TEST_F(SQLText, TheConditionMayBeALineOfTheQuery) {
  const std::string condition = "IN_A_LONG_ENOUGH_COLUMN = 5 AND X IN ('A=1')";
  FQuery->SQL()->Strings(3, condition);
  SetWhereClause(FQuery.Get(), FQuery->SQL()->Strings(3), true);
  EXPECT_EQ(FQuery->SQL()->Strings(3), condition);
}

TEST_F(SQLText, TheOrderStandsBehindItsKeyword) {
  const std::string body = "select ID/from T/where/ID = :ID/and 1 = 1";
  EXPECT_EQ(Order(" \t"), body);
  EXPECT_EQ(Order("NAME"), body + "/ORDER BY/NAME");
  FQuery->SQLText("select ID from T\r\nOrder by");
  EXPECT_EQ(Order("NAME"), "select ID from T/Order by/NAME");
  FQuery->SQLText("select ID\r\norder_no\r\nfrom T");
  EXPECT_EQ(Order("NAME"), "select ID/order_no/NAME") << "five letters make the keyword";
}

TEST_F(SQLText, BoundValuesFindTheirRows) {
  const TTempDir directory;
  TSqliteDatabase database("_QOR", directory.File("test.db"));
  database.Execute("create table T (ID NUMBER, NAME VARCHAR2(20))");
  database.Execute("insert into T values (5, 'x')");
  database.Execute("insert into T values (6, 'O''''Brien')");
  FQuery->DatabaseName("_QOR");
  const auto found = [&](const std::string& condition) {
    Where(condition);
    FQuery->Open();
    return FQuery->IsEmpty() ? "" : FQuery->Fields(0)->AsString();
  };
  EXPECT_EQ(found("ID = 5 and NAME = 'x'"), "5") << "a number travels as text and is one";
  EXPECT_EQ(found("ID = '6'"), "6");
  EXPECT_EQ(found("NAME = 'O''Brien'"), "6") << "the quotes of the value stay doubled";
  EXPECT_EQ(found("NAME = ''"), "");
}

TEST_F(SQLText, ACopyHasTheTextTheDatabaseAndItsOwnUpdates) {
  FQuery->DatabaseName("_QOR");
  FQuery->ParamByName("ID").AsString("17");
  auto* update = New<TIUpdateSQL>(FQuery.Get());
  for (int i = 0; i < TIUpdateSQL::kStatements; ++i) {
    update->SQL(i)->Text("statement " + std::to_string(i) + "\r\nline 2");
  }
  FQuery->UpdateObject(update);
  const auto copy = Make<TIQuery>();
  const auto checkCopy = [&] {
    EXPECT_EQ(copy->SQLText(), FQuery->SQLText());
    EXPECT_EQ(copy->DatabaseName(), "_QOR");
    EXPECT_TRUE(copy->QueryAllRecords() && copy->RequestLive());
    ASSERT_NE(copy->UpdateObject(), nullptr);
    EXPECT_EQ(copy->UpdateObject()->Owner(), copy.Get());
    EXPECT_EQ(copy->UpdateObject()->Text(2), "statement 2\r\nline 2");
    EXPECT_EQ(copy->ComponentCount(), 1) << "the one of an earlier copy has gone";
  };
  CopyQueryWithFields(copy.Get(), FQuery.Get());
  checkCopy();
  CopyQuery(copy.Get(), copy.Get());
  checkCopy();
  EXPECT_TRUE(copy->Params(0).IsNull());
  copy->SQL()->Strings(0, "select NAME");
  EXPECT_EQ(FQuery->SQL()->Strings(0), "select ID");

  const auto plain = Make<TIQuery>();
  CopyQuery(copy.Get(), plain.Get());
  EXPECT_EQ(copy->UpdateObject(), nullptr);
  EXPECT_EQ(copy->SQLText(), "");
  copy->UpdateObject(update);
  CopyQuery(copy.Get(), plain.Get());
  EXPECT_EQ(FQuery->UpdateObject(), update) << "another owner's is not freed";
}

}  // namespace
}  // namespace perlayer

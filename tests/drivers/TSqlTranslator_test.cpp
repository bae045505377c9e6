#include "perlayer/drivers/sqlite/TSqlTranslator.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "perlayer/corekit/EDatabaseError.h"
#include "perlayer/platform/Text.h"

namespace perlayer {
namespace {

class TKnownTables : public TSqlSchema {
 public:
  std::vector<TSqlColumn> Columns(const std::string& table) override {
    static const std::map<std::string, std::vector<TSqlColumn>> kTables = {
        {"OMRA.PATIENT",
         {{"ID", TSqlType::number},
          {"LAST", TSqlType::text},
          {"CODE", TSqlType::text},
          {"BORN", TSqlType::date},
          {"WEIGHT", TSqlType::number}}},
        {"OMRA.VISIT",
         {{"ID", TSqlType::number}, {"PATIENT_ID", TSqlType::number}, {"STARTED", TSqlType::date}}},
    };
    const auto found = kTables.find(table);
    return found == kTables.end() ? std::vector<TSqlColumn>() : found->second;
  }
};

TSqlTranslation Translate(const std::string& statement, TSqlNumberBinds numbers = 0) {
  TKnownTables tables;
  const TStatementText text(statement);
  return TSqlTranslator(text, &tables, numbers).Translate();
}

TEST(TSqlTranslator, KindOfABindChangesTheTranslationOnlyWhereItMatters) {
  const std::string statement =
      "select 1 from omra.patient where id = :id and born = :b and code = :c and :c = :x";
  const TSqlTranslation asTexts = Translate(statement);
  EXPECT_EQ(asTexts.bindsThatMatter, 0b1100u);
  EXPECT_NE(asTexts.sql.find("CODE = ?3 and ?3 = ?4"), std::string::npos) << asTexts.sql;
  const TSqlTranslation asNumber = Translate(statement, 0b0111);
  EXPECT_NE(asNumber.sql.find("ID = ?1 and BORN = to_date(?2) and to_number(CODE) = ?3 and "
                              "?3 = to_number(?4)"),
            std::string::npos)
      << asNumber.sql;
}

TEST(TSqlTranslator, PlacesInTheTranslationLeadBackToTheStatement) {
  const std::string statement = "select '' || a,\n  nvl(b, 1) c from dual d, t";
  const TSqlTranslation translation = Translate(statement);
  const std::pair<const char*, const char*> kPairs[] = {
      {"NULL", "''"}, {"ifnull", "nvl"}, {"C from", "c from"}};
  for (const auto& [out, in] : kPairs) {
    const std::size_t at = translation.sql.find(out);
    ASSERT_NE(at, std::string::npos) << out << " in " << translation.sql;
    EXPECT_EQ(translation.SourceOffset(at), statement.find(in)) << out;
  }
  EXPECT_EQ(translation.SourceOffset(translation.sql.size() - 1), statement.size() - 1);
  EXPECT_EQ(SqlPlace(statement, statement.find("nvl")), "line 2, column 3");
}

TEST(TSqlTranslator, DeepNestingIsRefused) {
  for (const std::string open : {"(", "-(", "not (", "nvl(1,", "(select "}) {
    std::string statement = "select ";
    for (int i = 0; i < 20000; ++i) statement += open;
    statement += "1";
    for (int i = 0; i < 20000; ++i) statement += ")";
    EXPECT_THROW(Translate(statement), EDatabaseError) << open;
  }
}

}  // namespace
}  // namespace perlayer

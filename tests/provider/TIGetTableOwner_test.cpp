#include "perlayer/provider/TIGetTableOwner.h"

#include <gtest/gtest.h>

#include "perlayer/corekit/TISifranti.h"
#include "perlayer/provider/TClassMapBuilder.h"
#include "perlayer/provider/TcmpClassMap.h"

namespace perlayer {
namespace {

TEST(TIGetTableOwner, ReadsTheFirstTableBehindFrom) {
  const std::pair<const char*, const char*> cases[] = {
      {"select A from OMRA.T1, OMRA.T2 where", "OMRA|T1"},
      {"select A\r\nfrom omra.t1\r\nwhere", "OMRA|T1"},
      {"select A from   \t OMRA.T1 P", "OMRA|T1"},
      {"select A from klinika.šifrant x", "KLINIKA|ŠIFRANT"},
      {"select A from OMRA.T.X y", "OMRA|T.X"},
      {"select A from T1 where OMRA.X = 1", "|"},
      {"select A from OMRA.T1", "|"},  // ends the text
      {"select A", "|"},
      {"select A from   ", "|"},
      {"select DATE_FROM, B from OMRA.T1 x", "|"},  // the letters in a name are taken
      {"select A from (select B from OMRA.T1 x)", "|"},
      {"select 'č' from OMRA.T1 x", "OMRA|T1"}};
  for (const auto& [select, expected] : cases) {
    std::string owner = "old", table = "old";
    TIGetTableOwner::GetOwnerFromSelect(select, owner, table);
    EXPECT_EQ(owner + "|" + table, expected) << select;
  }
}

TEST(TIGetTableOwner, LearnsFromClassMapsAndFallsBackToTheDefault) {
  const auto owner = [](const char* table) {
    std::string answer = "old";
    TIGetTableOwner::GetTableOwner(nullptr, table, answer);
    return answer;
  };
  EXPECT_EQ(owner("T1"), "OMRA");
  const auto load = [](const char* from) {
    AddClassMap(TClassMapBuilder("map").Query("quA").Sql(from).Build());
  };
  load("select A\nfrom KLINIKA.T1\nwhere");
  load("select A\nfrom T2\nwhere");
  EXPECT_EQ(owner("t1"), "KLINIKA");
  EXPECT_EQ(owner("T2"), "OMRA");
  load("select A\nfrom BOLNICA.T1\nwhere");
  EXPECT_EQ(owner("T1"), "BOLNICA");
  load("select A\nfrom OMRA.T1\nwhere");  // the default owner is not recorded
  EXPECT_EQ(owner("T1"), "BOLNICA");
  Sifranti().DefaultOwner("BOLNICA");
  EXPECT_EQ(owner("T3"), "BOLNICA");
}

}  // namespace
}  // namespace perlayer

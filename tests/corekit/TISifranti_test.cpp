#include "perlayer/corekit/TISifranti.h"

#include <gtest/gtest.h>

#include "perlayer/corekit/TField.h"
#include "perlayer/corekit/TIQuery.h"
#include "perlayer/drivers/sqlite/TSqliteDatabase.h"
#include "support/Raised.h"
#include "support/TempDir.h"

namespace perlayer {
namespace {

class TISifrantiTest : public testing::Test {
 protected:
  TISifrantiTest() : FDatabase("_QOR", FDir.File("codes.db")) {
    for (const char* sql :
         {"create table OMRA.SIFRANTI (NAME varchar2(30), TABLE_NAME varchar2(30), LIST_FIELD "
          "varchar2(30), CODE_FIELD varchar2(30), SHORT_FIELD varchar2(30), DESC_FIELD "
          "varchar2(30), "
          "PARAMS_FIELD varchar2(30), ACTIVE_FIELD varchar2(30), TRASHOLD number(3), START_ORDER "
          "varchar2(30))",
          "create table OMRA.WARDS (ID varchar2(5), CODE varchar2(5), NAZIV varchar2(30), ACTIVE "
          "char(1))",
          "create table OMRA.COMMON (LIST char(3), CODE varchar2(5), OPIS varchar2(30), PARAMS "
          "varchar2(50))",
          "insert into OMRA.SIFRANTI values ('ODD', 'WARDS', null, 'ID', 'CODE', 'NAZIV', null, "
          "'ACTIVE', 3, 'NAZIV')",
          "insert into OMRA.SIFRANTI values ('SPO', 'COMMON', 'LIST', 'CODE', null, 'OPIS', "
          "'PARAMS', null, null, null)",
          "insert into OMRA.WARDS values ('1', 'KIR', 'Kirurgija', '1')",
          "insert into OMRA.WARDS values ('2', 'PED', 'Pediatrija', '0')",
          "insert into OMRA.COMMON values ('SPO', 'M', 'Moški', 'A=1;NI_VNOSA=TRUE')",
          "insert into OMRA.COMMON values ('ZAK', 'P', 'Poročen', null)"}) {
      FDatabase.Execute(sql);
    }
    FDatabase->Commit("codes");
  }

  TTempDir FDir;
  TSqliteDatabase FDatabase;
};

TEST_F(TISifrantiTest, CodesAreReadOnceAndDeactivatedOnesAreKnown) {
  TISifranti& lists = Sifranti();
  EXPECT_TRUE(lists.Exists("ODD", "1", false));
  EXPECT_TRUE(lists.Exists("odd", "2", true));
  EXPECT_FALSE(lists.Exists("ODD", "2", false));
  EXPECT_FALSE(lists.Exists("ODD", "3", true));
  EXPECT_FALSE(lists.Exists("ODD", "", true));
  EXPECT_EQ(lists.ShortDesc("ODD", "1") + lists.Desc("ODD", "2"), "KIRPediatrija");
  EXPECT_EQ(lists.ShortDescToCode("ODD", "PED"), "2");
  EXPECT_TRUE(lists.ExistsShortDesc("ODD", "PED", true));
  EXPECT_FALSE(lists.ExistsShortDesc("ODD", "PED", false));
  EXPECT_FALSE(lists.ExistsShortDesc("SPO", "M", true)) << "it has no short texts";
  EXPECT_FALSE(lists.ExistsShortDesc("ODD", "'", true));
  EXPECT_EQ(lists.GetTrashold("ODD"), 3);
  EXPECT_EQ(lists.GetOkrajsava("ODD") + lists.GetOkrajsava("SPO"), "CODE");

  FDatabase.Execute("update OMRA.WARDS set NAZIV = 'Urgenca' where ID = '1'");
  EXPECT_EQ(lists.Desc("ODD", "1"), "Kirurgija");
  lists.DropBuffer("Odd");
  EXPECT_EQ(lists.Desc("ODD", "1"), "Urgenca");
  EXPECT_EQ(Raised([&] { lists.Desc("UNKNOWN", "1"); }),
            "There is no code list UNKNOWN in OMRA.SIFRANTI");
}

TEST_F(TISifrantiTest, ListsThatShareATableAreKeptApart) {
  TISkupSifranti& lists = SkupSifranti();
  EXPECT_TRUE(lists.Exists("SPO", "M", true, "", false));
  EXPECT_FALSE(lists.Exists("SPO", "P", true, "", false));
  EXPECT_EQ(lists.Params("SPO", "M"), "A=1;NI_VNOSA=TRUE");
  EXPECT_TRUE(lists.Exists("SPO", "M", false, "OPIS like 'M%'", false));
  EXPECT_FALSE(lists.Exists("SPO", "M", true, "OPIS like 'Ž%'", false));
}

// Comes back to the service for another code of the list while a row of it is being read.
class TNestedLists : public TISifranti {
  TCLASS(TNestedLists, TISifranti)
 public:
  bool LoadFromDataSet(const std::string& AName, const std::string& ACode, TIQuery* AQuery,
                       TISifBuffer* ABuffer) override {
    if (ACode == "1") Nested = Desc(AName, "2");
    return TISifranti::LoadFromDataSet(AName, ACode, AQuery, ABuffer);
  }
  std::string Nested;
};

TEST_F(TISifrantiTest, AnApplicationsServiceMayComeBackWhileItReads) {
  InstallSifranti(TOwned<TISifranti>(New<TNestedLists>()));
  auto& lists = static_cast<TNestedLists&>(Sifranti());
  EXPECT_EQ(lists.Desc("ODD", "1"), "Kirurgija");
  EXPECT_EQ(lists.Nested, "Pediatrija");
  TISifBuffer* buffer = nullptr;
  const TOwned<TIQuery> query(lists.GetPreparedQuery("S_DESCODD", buffer));
  query->ParamByName("CODE").AsString("KIR");
  query->Open();
  EXPECT_EQ(TISifranti::ISSifra(query.Get()) + TISifranti::ISOpis(query.Get()), "IDNAZIV");
  EXPECT_TRUE(TISifranti::ISHasShortDesc(query.Get()));
  EXPECT_NE(Raised([&] { lists.GetPreparedQuery("S_DESCSPO", buffer); }), "");
}

}  // namespace
}  // namespace perlayer

#include <gtest/gtest.h>

#include "perlayer/provider/TIboData.h"
#include "perlayer/provider/TplProvider.h"
#include "support/HospitalFixture.h"

namespace perlayer {
namespace {

class TpoDrug : public TpoPatient {
  TCLASS(TpoDrug, TpoPatient)
};
TPROVIDER(TplDrug, TpoDrug)
class TpoNothing : public TpoPatient {
  TCLASS(TpoNothing, TpoPatient)
};
TPROVIDER(TplNothing, TpoNothing)

constexpr const char* kInsert =
    "insert into\r\nOMRA.PATIENT\r\n(ID, NAME)\r\nvalues\r\n(:ID, :NAME)";

// A class of two tables, and one that is written to none.
TClassMapDefinition DrugMap() {
  return TClassMapBuilder("drugs")
      .Query("quDrug")
      .Sql("select ID, NAME, DOSE, UNIT\nfrom OMRA.DRUG\nwhere\nID = :ID\nand 1 = 1")
      .Float("ID")
      .String("NAME", 60)
      .Float("DOSE")
      .String("UNIT", 10)
      .Query("quNothing")
      .Sql("select ID from OMRA.NOTHING where ID = :ID")
      .Float("ID")
      .Update("usDrug")
      .Insert("insert into OMRA.DRUG\n(ID, NAME)\nvalues\n(:ID, :NAME)")
      .Modify("update OMRA.DRUG\nset ID = :ID, NAME = :NAME\nwhere ID = :ID")
      .Delete("delete from OMRA.DRUG\nwhere ID = :ID")
      .Update("usDrug_2")
      .Insert("insert into OMRA.DOSE\n(ID, DOSE, UNIT)\nvalues\n(:ID, :DOSE, :UNIT)")
      .Modify("update OMRA.DOSE\nset ID = :ID, DOSE = :DOSE, UNIT = :UNIT\nwhere ID = :ID")
      .Delete("delete from OMRA.DOSE\nwhere ID = :ID")
      .Build();
}

class TplProviderStatementsTest : public THospital {
 protected:
  TplProviderStatementsTest() {
    TcmpClassMap* map = AddClassMap(DrugMap());
    FDrugs = New<TplDrug>(nullptr, map);
    FNothing = New<TplNothing>(nullptr, map);
    FDrugs->SetOptimizationSet(
        {TIProviderOptimization::poSQLInsert, TIProviderOptimization::poSQLModify});
    FDrug = New<TpoDrug>(FDrugs, FForm.Get());
    FDrug->Store().InitData();
  }
  ~TplProviderStatementsTest() override { FDrug->Release(FForm.Get()); }

  TplDrug* FDrugs;
  TplNothing* FNothing;
  TpoDrug* FDrug;
};

TEST_F(TplProviderStatementsTest, TablesGoInOrderAndDeletesTheOtherWayRound) {
  EXPECT_EQ(FDrugs->aiInsertStatement(),
            "begin\r\ninsert into OMRA.DRUG\r\n(ID, NAME)\r\nvalues\r\n(:ID, :NAME);\r\n"
            "insert into OMRA.DOSE\r\n(ID, DOSE, UNIT)\r\nvalues\r\n(:ID, :DOSE, :UNIT);\r\n"
            "end ;\r\n");
  EXPECT_EQ(FDrugs->aiModifyStatement(),
            "begin\r\nupdate OMRA.DRUG\r\nset  NAME = :NAME\r\nwhere ID = :ID;\r\n"
            "update OMRA.DOSE\r\nset  DOSE = :DOSE, UNIT = :UNIT\r\nwhere ID = :ID;\r\nend ;\r\n");
  EXPECT_EQ(FDrugs->aiDeleteStatement(),
            "begin\r\ndelete from OMRA.DOSE\r\nwhere ID = :ID;\r\n"
            "delete from OMRA.DRUG\r\nwhere ID = :ID;\r\nend ;\r\n");
  EXPECT_EQ(FPatients->aiInsertStatement(), kInsert);
  EXPECT_EQ(FPatients->aiDeleteStatement(), "");

  EXPECT_EQ(Raised([&] { FNothing->GetModifyStatement(); }), "No UpdateSQL for quNothing");
  EXPECT_EQ(Raised([&] { FNothing->GetTableName(); }), "No UpdateSQL for quNothing");
  FNothing->SetTableName("NOTHING");
  EXPECT_EQ(FNothing->GetTableName(), "NOTHING");
}

TEST_F(TplProviderStatementsTest, SelectLosesTheLineBelowWhere) {
  EXPECT_EQ(FDrugs->aiSelectStatementWithoutParameters(),
            "select ID, NAME, DOSE, UNIT\r\nfrom OMRA.DRUG\r\nwhere\r\nand 1 = 1");
  EXPECT_EQ(FDrugs->aiSelectStatement(),
            "select ID, NAME, DOSE, UNIT\r\nfrom OMRA.DRUG\r\nwhere\r\nID = :ID\r\nand 1 = 1\r\n");
  EXPECT_EQ(Raised([&] { FNothing->GetSelectStatementWithoutParameters(); }),
            "TplProvider.GetSelectStatementWithoutParameters: SQL stavek ni v običajni obliki "
            "(iščem \"where\")!");
}

TEST_F(TplProviderStatementsTest, TheIdIsCutOutOfAModifyWhereItFirstStands) {
  const struct {
    const char* sql;
    const char* without;
  } cases[] = {
      {"update T set ID = :ID, A = :A where X", "update T set  A = :A where X"},
      {"update T set A = :A, ID = :ID, B = :B where X", "update T set A = :A,  B = :B where X"},
      {"update T set A = :A, ID = :ID where ID = :ID", "update T set A = :A  where ID = :ID"},
      {"update T set A = :A where ID = :ID", "update T set A = :A where "},
      {"update T set A = :A where X = :ID", "update T set A = :A where X = :ID"},
      {"update T set A = :A", "update T set A = :A"},
      {"update T set UUID = :U, ID = :ID, A = :A", "update T set UU A = :A"},  // the first "ID"
      {"", ""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(FDrugs->RemoveIdFieldFromModifyStatement(c.sql, "ID"), c.without) << c.sql;
  }
  EXPECT_EQ(FDrugs->RemoveIdFieldFromModifyStatement("set ID = :ID", ""), "set ID = :ID");
}

TEST_F(TplProviderStatementsTest, StatementsNarrowToWhatHasChanged) {
  TIboData& store = FDrug->Store();
  store.SetAttrValue("NAME", "Aspirin");
  EXPECT_EQ(store.GetInsertStatement(),
            "begin \ninsert into OMRA.DRUG\r\n( NAME)\r\nvalues\r\n( :NAME) ; end ;");
  EXPECT_EQ(store.GetModifyStatement(),
            "begin \nupdate OMRA.DRUG\r\nset   NAME = :NAME\r\n where ID = :ID ; end ;");
  store.SetAttrValue("UNIT", "mg");
  EXPECT_EQ(store.GetModifyStatement(),
            "begin \nupdate OMRA.DRUG\r\nset   NAME = :NAME\r\n where ID = :ID; "
            "\r\nupdate OMRA.DOSE\r\nset  UNIT = :UNIT\r\n where ID = :ID ; end ;");
  EXPECT_EQ(store.GetDeleteStatement(), FDrugs->GetDeleteStatement());

  // Nothing has changed: the whole statement.
  store.SetAttrValue("NAME", "");
  store.SetAttrValue("UNIT", "");
  EXPECT_EQ(store.GetModifyStatement(), FDrugs->GetModifyStatement());
  EXPECT_EQ(FDrugs->OptimizeModifyStatement(FDrug, "update T set NAME = :NAME where X"), "");
  EXPECT_EQ(FDrugs->OptimizeInsertStatement(FDrug, "insert into T (NAME) values (:NAME)"), "");

  // What keeps a statement whole.
  store.SetAttrValue("NAME", "Aspirin");
  const std::string returning = "update T set NAME = :NAME, UNIT = :UNIT Returning ID into :ID";
  EXPECT_EQ(FDrugs->GetOptimizedModifyStatementForBo(returning, FDrug), returning);
  EXPECT_EQ(FDrugs->OptimizeModifyStatement(FDrug, returning), returning);
  store.DisableOptimizingUpdateQueries(true);
  EXPECT_EQ(store.GetModifyStatement(), FDrugs->GetModifyStatement());
  EXPECT_EQ(store.GetInsertStatement(), FDrugs->GetInsertStatement());
  store.DisableOptimizingUpdateQueries(false);
  FDrugs->SetOptimizationSet({});
  EXPECT_EQ(store.GetModifyStatement(), FDrugs->GetModifyStatement());
}

TEST_F(TplProviderStatementsTest, StatementsOfAnotherShape) {
  TIboData& store = FDrug->Store();
  store.SetAttrValue("NAME", "Aspirin");
  const auto insert = [&](const char* sql) {
    return FDrugs->GetOptimizedInsertStatementForBo(sql, FDrug);
  };
  EXPECT_EQ(insert("insert into T"), "insert into T");
  EXPECT_EQ(insert("begin ; end ;"), "begin ; end ;");
  EXPECT_EQ(insert("begin"), "begin");
  EXPECT_EQ(insert("insert into T ( NAME , DOSE ) values ( :N , 1 ) log ( x )"),
            "insert into T ( NAME ) values ( :N ) log (");
  EXPECT_EQ(Raised([&] { insert("insert into T (NAME, DOSE) values (:N)"); }),
            "TplDrug: the INSERT statement has 2 columns and 1 values");
  EXPECT_EQ(Raised([&] { insert("insert into T (NAME, SIZE) values (:N, 1)"); }),
            "Attribute not defined SIZE [TplDrug]");
  const std::string everywhere = "update T set NAME = :N, DOSE = 1";
  EXPECT_EQ(FDrugs->GetOptimizedModifyStatementForBo(everywhere, FDrug), everywhere);
}

}  // namespace
}  // namespace perlayer

// What a save works out once and keeps: statements, descriptions of attributes, what a class
// overrides.

#include <gtest/gtest.h>

#include "perlayer/database/TplDatabaseProvider.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/TplProviderList.h"
#include "support/HospitalFixture.h"

namespace perlayer {
namespace {

// Every row is written by a statement of its own.
class TpoStamped : public TplPerObject {
  TCLASS(TpoStamped, TplPerObject)
 public:
  std::string GetModifyStatement() override {
    return "update OMRA.STAMPED set NAME = :NAME, BORN = :BORN, STAMP = " + GetGID() +
           " where ID = :OLD_ID";
  }
  bool ValidateAttribute(const std::string& AName, const Variant& AValue) override {
    Asked.push_back(AName);
    return TplPerObject::ValidateAttribute(AName, AValue);
  }
  static inline std::vector<std::string> Asked;
};
TPROVIDER(TplStamped, TpoStamped)
// The same, with nothing overridden.
class TpoPlain : public TplPerObject {
  TCLASS(TpoPlain, TplPerObject)
};
TPROVIDER(TplPlain, TpoPlain)

class SavingStatementsTest : public THospital {
 protected:
  SavingStatementsTest() {
    Execute(
        "create table OMRA.STAMPED (ID number(10) primary key, NAME varchar2(60), BORN date, STAMP "
        "number(10))");
    FDatabase->Commit("schema");
    TClassMapBuilder builder("stamps");
    for (const char* name : {"Stamped", "Plain"}) {
      builder.Query(std::string("qu") + name)
          .Sql("select ID, NAME, BORN, STAMP\nfrom OMRA.STAMPED\nwhere\nID = :ID")
          .Float("ID")
          .String("NAME", 60, "Ime")
          .DateTime("BORN")
          .Float("STAMP", "Žig")
          .Update(std::string("us") + name)
          .Insert("insert into OMRA.STAMPED\n(ID, NAME, BORN)\nvalues\n(:ID, :NAME, :BORN)")
          .Modify(
              "update OMRA.STAMPED\nset ID = :ID, NAME = :NAME, BORN = :BORN, STAMP = :STAMP\n"
              "where ID = :ID");
    }
    FStamps = AddClassMap(builder.Build());
    FStamped = New<TplStamped>(nullptr, FStamps);
    FPlain = New<TplPlain>(nullptr, FStamps);
    TpoStamped::Asked.clear();
  }
  THold<TplPerObject> NewOf(TplProvider* provider, int id) {
    THold<TplPerObject> hold(provider->NewObject(FForm.Get()));
    hold->Release(FForm.Get());
    hold->SetAttrValue("ID", std::to_string(id));
    return hold;
  }
  std::string Count(const std::string& condition) {
    const TOwned<TIQuery> query = Make<TIQuery>();
    query->DatabaseName(TcmpClassMap::kDatabaseName);
    query->SQLText("select count(*) from OMRA.STAMPED where " + condition);
    query->Open();
    return query->Fields(0)->AsString();
  }

  TcmpClassMap* FStamps;
  TplStamped* FStamped;
  TplPlain* FPlain;
};

TEST_F(SavingStatementsTest, FewAreHeldForTheLengthOfATransaction) {
  for (TplProvider* provider : std::initializer_list<TplProvider*>{FStamped, FPlain}) {
    dbProvider()->StartTransaction("rows");
    for (int id = 1; id <= 50; ++id) {
      auto object = NewOf(provider, id);
      object->SetAttrValue("NAME", "n");
      object->SaveData();
      object->SetAttrValue("NAME", "m" + std::to_string(id));
      object->SetAttrValue("BORN", id % 2 == 0 ? "15.03.2023" : "");
      object->SetReadOnlyAttrValue("STAMP", std::to_string(id));
      object->SaveData();
      EXPECT_LE(FSession->Taken(), 16);
    }
    EXPECT_GE(FSession->Taken(), 2);
    dbProvider()->Commit("rows");
    EXPECT_EQ(FSession->Taken(), 0);
    EXPECT_EQ(Count("STAMP = ID and NAME = 'm' || ID"), "50");
    EXPECT_EQ(Count("BORN = to_date('15.03.2023', 'dd.mm.yyyy') and mod(ID, 2) = 0"), "25");
    EXPECT_EQ(Count("BORN is null"), "25");
    Execute("delete from OMRA.STAMPED");
    FDatabase->Commit("");
  }
}

TEST_F(SavingStatementsTest, WhoeverValidatesIsAskedAboutEveryAttribute) {
  const std::vector<std::string> all = {"ID", "NAME", "BORN", "STAMP"};
  auto stamped = NewOf(FStamped, 1);
  TpoStamped::Asked.clear();
  stamped->PostData();
  EXPECT_EQ(TpoStamped::Asked, all);

  auto plain = NewOf(FPlain, 2);
  plain->PostData();
  std::vector<std::string> asked;
  TplProvider::GetCallBackObject()->aiOnValidateAttribute(
      TIOnPerObjectValidateAttribute::From([&](TplPerObject*, bool&, const std::string& name,
                                               const Variant&) { asked.push_back(name); }));
  plain->PostData();
  EXPECT_EQ(asked, all);
  TplProvider::GetCallBackObject()->aiOnValidateAttribute(nullptr);

  // An error that somebody else has set goes with the first validation that passes.
  plain->SetAttrError("BORN", "!", TIErrorLevel::elError);
  plain->PostData();
  EXPECT_TRUE(plain->IsAttributeValid("BORN"));
}

TEST_F(SavingStatementsTest, ADescriptionThatHasChangedHolds) {
  auto plain = NewOf(FPlain, 1);
  plain->PostData();
  TField* stamp = FStamps->GetQuery("quPlain")->FieldByName("STAMP");
  stamp->ValidString("\tŽig\t0\t*\t\t\t \t");
  EXPECT_EQ(Raised([&] { plain->PostData(); }),
            "Napake v zapisu : \r\n  Polje Žig ne sme biti prazno.");
  EXPECT_TRUE(plain->SetAttrValue("STAMP", "7"));
  EXPECT_FALSE(plain->SetAttrValue("STAMP", ""));
  stamp->ValidString("\tŽig\t0\t \t\t\t \t");
  plain->PostData();
  EXPECT_TRUE(plain->IsAttributeValid("STAMP"));
}

}  // namespace
}  // namespace perlayer

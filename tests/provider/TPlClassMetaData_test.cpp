#include "perlayer/provider/TPlClassMetaData.h"

#include <gtest/gtest.h>

#include "support/HospitalFixture.h"

namespace perlayer {
namespace {

class TPlClassMetaDataTest : public THospital {
 protected:
  TPlClassMetaData* FMeta = FPatients->aiMetaData();
};

TEST_F(TPlClassMetaDataTest, RealAttributesAreTheFieldsInTheirOrder) {
  EXPECT_EQ(FMeta->AttrCount(), 9);
  ASSERT_EQ(FMeta->GetAttrNames()->Count(), 9);
  for (int i = 0; i < 9; ++i) {
    const std::string name = FMeta->GetAttrNames()->Strings(i);
    EXPECT_EQ(FMeta->GetFieldByIndex(i)->FieldName(), name);
    EXPECT_EQ(FMeta->GetAttrIndex(name), i);
    EXPECT_EQ(FMeta->GetField(name), FMeta->GetFieldByIndex(i));
  }
  EXPECT_EQ(FMeta->GetAttrIndex("sEx"), 2);
  EXPECT_EQ(FMeta->GetFieldByIndex(9), nullptr);
  EXPECT_TRUE(FMeta->HasAttribute("description"));
  FMeta->AddAttribute("AGE", 1, 2);
  EXPECT_EQ(FMeta->GetAttrIndex("AGE"), 9);
  EXPECT_EQ(FMeta->AttrCount(), 9);
}

TEST_F(TPlClassMetaDataTest, TellsTheProperties) {
  const TplAttrProperties sex = FMeta->GetAttrProperties("sex");
  EXPECT_EQ(sex.iType, TFieldType::ftString);
  EXPECT_EQ(sex.iSize, 3);
  EXPECT_EQ(sex.sDispLabel, "Spol");
  EXPECT_EQ(sex.sSifrant, "SPO");
  EXPECT_THROW(FMeta->GetAttrPropertiesByIndex(9), EListError);

  const TplAttrProperties description = FMeta->GetAttrProperties("Description");
  EXPECT_EQ(description.sValidInfo, "\tOpis\t150\t \t\t\t \t");
}

TEST_F(TPlClassMetaDataTest, CalculatedAttributeReplacesOneOfItsName) {
  const int count = FMeta->CalcAttributes().Count();
  FMeta->AddCalcAttribute("description", "Naziv", TFieldType::ftMemo, 7, " ABC ");
  EXPECT_EQ(FMeta->CalcAttributes().Count(), count);
  EXPECT_EQ(FMeta->GetCalcAttrProperties("DESCRIPTION").sValidInfo, "MS\tNaziv\t7\t \tABC\t\t \t");
  FMeta->AddCalcAttribute("AGE", "Starost", TFieldType::ftFloat, 0, "ŠŽČ");
  EXPECT_EQ(FMeta->CalcAttributes().Count(), count + 1);
  EXPECT_EQ(FMeta->GetAttrProperties("age").sValidInfo, "MS\tStarost\t0\t \tŠŽČ\t\t \t");
  // Another class has its own.
  EXPECT_FALSE(FEncounters->aiMetaData()->IsCalcAttr("AGE"));
}

TEST_F(TPlClassMetaDataTest, CalculatedFieldsOfTheMapAreNoColumns) {
  TcmpClassMap* map = AddClassMap(TClassMapBuilder("more")
                                      .Query("quPatient")
                                      .Sql("select ID\nfrom OMRA.PATIENT\nwhere\nID = :ID")
                                      .Float("ID")
                                      .Float("AGE", "Starost")
                                      .Calculated()
                                      .Build());
  TPlClassMetaData* meta = New<TplPatient>(nullptr, map)->aiMetaData();
  EXPECT_EQ(meta->AttrCount(), 1);
  EXPECT_EQ(meta->GetAttrProperties("AGE").sDispLabel, "Starost");
}

TEST_F(TPlClassMetaDataTest, OutlivesItsProviderInTheHandsOfAnother) {
  FMeta->AddRef(FForm.Get());
  TplProvider::GetProviderList()->FreeProviders();
  EXPECT_EQ(FMeta->GetAttrIndex("NAME"), 1);
  EXPECT_EQ(Raised([&] { FMeta->GetAttrProperties("AGE"); }),
            "CalcAttributes: Provider [Unknown]: Attribute AGE found.");
  FMeta->Release(FForm.Get());
}

}  // namespace
}  // namespace perlayer

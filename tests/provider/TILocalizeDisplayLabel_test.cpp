#include "perlayer/provider/TILocalizeDisplayLabel.h"

#include <gtest/gtest.h>

#include "support/HospitalFixture.h"

namespace perlayer {
namespace {

TEST(TILocalizeDisplayLabel, BringsLabelsIntoTheValidationStrings) {
  TcmpClassMap* map = AddClassMap(HospitalMap());
  TField* name = map->GetQuery("quPatient")->FieldByName("NAME");
  name->DisplayLabel("First name");
  auto* localizer = TILocalizeDisplayLabel::Instance();
  localizer->ExecuteAll();
  EXPECT_EQ(name->ValidString(), "\tFirst name\t60\t*\t\t\t \t");
  EXPECT_EQ(name->DisplayLabel(), "First name");
  TField* sex = map->GetQuery("quPatient")->FieldByName("SEX");
  sex->DisplayLabel("Sex");
  localizer->LocalizeField(sex);
  EXPECT_EQ(sex->ValidString(), "MS\tSex\t3\t \tSPO\t\t \t");
  EXPECT_EQ(sex->DisplayLabel(), "Sex");
}

TEST(TILocalizeDisplayLabel, KnowsLoadedMapsAndViewMapsTwice) {
  const TObjectList& loaded = TILocalizeDisplayLabel::Instance()->LoadedClassMaps();
  auto* map = New<TcmpClassMap>(HospitalMap());
  auto* view = New<TvmpView>(HospitalMap());
  ASSERT_EQ(loaded.Count(), 3);
  EXPECT_EQ(loaded.Items(1), view);
  EXPECT_EQ(loaded.Items(2), view);
  TILocalizeDisplayLabel::Instance()->ClassMapUnloaded(view);
  EXPECT_EQ(loaded.Count(), 2);
  view->Free();
  EXPECT_EQ(loaded.Count(), 1);
  map->Free();
  EXPECT_EQ(loaded.Count(), 0);
}

}  // namespace
}  // namespace perlayer

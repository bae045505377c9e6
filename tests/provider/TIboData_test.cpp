#include "perlayer/provider/TIboData.h"

#include <gtest/gtest.h>

#include "perlayer/corekit/TField.h"
#include "perlayer/platform/TFormatSettings.h"
#include "perlayer/platform/Text.h"
#include "support/HospitalFixture.h"

namespace perlayer {
namespace {

// A query that hides its cells, so that a store reads it field by field.
class TQueryOfFields : public TIQuery {
  TCLASS(TQueryOfFields, TIQuery)
 public:
  const std::shared_ptr<const TColumnLayout>& RowLayout() const override {
    return TDataSet::RowLayout();
  }
};

class TIboDataTest : public THospital {
 protected:
  static constexpr int kAttributes = 9;

  // A store of a patient that has not been loaded.
  TIboData& FreshStore() {
    if (FObject != nullptr) FObject->Release(FForm.Get());
    FObject = New<TpoPatient>(FPatients, FForm.Get());
    return FObject->Store();
  }
  ~TIboDataTest() override {
    if (FObject != nullptr) FObject->Release(FForm.Get());
  }
  // What one column of patient 1 is in the store, by cells and by fields alike.
  std::string Stored(const std::string& column) {
    const std::string text = Patient("1")->GetAttrValue(column);
    const TOwned<TQueryOfFields> query = Make<TQueryOfFields>();
    FPatients->GetQuery(query.Get());
    FPatients->IdToSQL("1", query.Get());
    query->Open();
    TIboData& store = FreshStore();
    store.InitFromDataSet(query.Get());
    EXPECT_EQ(store.GetAttrValue(column), text);
    EXPECT_EQ(store.Count(), kAttributes + 1);
    return text;
  }

  TpoPatient* FObject = nullptr;
};

TEST_F(TIboDataTest, FreshStoreHasOneSpareEntry) {
  TIboData& store = FreshStore();
  EXPECT_EQ(store.Count(), 0);
  EXPECT_THROW(store.GetAttrValue("NAME"), EListError);
  store.CancelData();
  store.InitData();
  EXPECT_EQ(store.Count(), kAttributes + 1);
  EXPECT_EQ(store.GetAttrValueByIndex(kAttributes), "");
  EXPECT_THROW(store.GetAttrValueByIndex(kAttributes + 1), EListError);
  EXPECT_EQ(Raised([&] { store.SetAttrValue("AGE", "5"); }),
            "Attribute not defined AGE [TplPatient]");
  EXPECT_FALSE(store.DataModified());  // a refused write keeps nothing
}

TEST_F(TIboDataTest, OldValuesAreThoseBeforeTheFirstChange) {
  TIboData& store = FreshStore();
  store.InitData();
  store.SetAttrValue("ID", "1");
  store.SetAttrValue("name", "Ana");
  store.SetDataModified(false);
  store.SetAttrValue("NAME", "Bor");
  EXPECT_EQ(store.GetAttrOldValue("NAME"), "Ana");
  store.SetAttrValue("NAME", "Cene");
  store.SetAttrValue("ID", "2");
  store.SetAttrValue("SEX", "M");
  EXPECT_EQ(store.GetAttrOldValue("NAME"), "Ana");
  EXPECT_TRUE(store.AttributeModified("NAME"));

  TIboData before;
  store.DisableOptimizingUpdateQueries(true);
  before.Assign(store);
  store.CancelData();
  EXPECT_EQ(store.GetAttrValue("ID"), "2");  // the first attribute is left alone
  EXPECT_EQ(store.GetAttrValue("NAME"), "Ana");
  EXPECT_EQ(store.GetAttrValue("SEX"), "");
  EXPECT_TRUE(store.DataModified());

  EXPECT_EQ(before.GetAttrValue("NAME"), "Cene");
  EXPECT_TRUE(before.AttributeModified("NAME"));
  EXPECT_TRUE(before.DataModified());
  EXPECT_FALSE(before.DisableOptimizingUpdateQueries());

  store.SetAttrOldValueByIndex(1, "ana");
  EXPECT_TRUE(store.AttributeModified("NAME"));  // case counts
  store.ClearValues();
  EXPECT_EQ(store.Count(), kAttributes + 1);
  EXPECT_EQ(store.GetAttrValue("NAME"), "");
  EXPECT_EQ(store.GetAttrOldValue("NAME"), "ana");
}

// In rows that have room for it and in such that have none.
TEST_F(TIboDataTest, AValueWrittenToBothIsNoDifferenceAndComesWhenItIsTaken) {
  TIboData& store = FreshStore();
  store.InitData();
  for (const std::string& id : {std::string("-1"), std::string("17"), std::string(3000, '1')}) {
    const std::string before = store.GetAttrValueByIndex(0);
    TIboData::TWrittenBoth written = store.WithBoth(0, id);
    EXPECT_EQ(store.GetAttrValueByIndex(0), before);
    store.Take(std::move(written), 0, id);
    EXPECT_EQ(store.GetAttrValueByIndex(0), id);
    EXPECT_EQ(store.GetAttrOldValueByIndex(0), id);
    EXPECT_TRUE(store.DataModified());
    store.SetAttrValueByIndex(1, id);
  }
  EXPECT_EQ(store.GetAttrOldValueByIndex(1), "") << "only the one is alike";
}

TEST_F(TIboDataTest, TextsOfAnyLengthComeWhole) {
  AddPatient(1, "Ana");
  EXPECT_EQ(Stored("NOTES"), "");
  for (const std::size_t size : {1u, 1023u, 1024u, 1025u, 1u << 20}) {
    std::string notes;
    while (notes.size() < size) notes += "č";
    SetPatient(1, "NOTES", notes);
    EXPECT_EQ(Stored("NOTES"), notes);
  }
  SetPatient(1, "NAME", "Žiga\r\n\tŠ");
  EXPECT_EQ(Stored("NAME"), "Žiga\r\n\tŠ");
}

TEST_F(TIboDataTest, FloatWrittenBackIsTheSameNumber) {
  AddPatient(1, "Ana");
  for (const double value : {0.1, -1234.567, 5e-324, 1e300}) {
    SetPatient(1, "WEIGHT", value);
    const std::string text = Patient("1")->GetAttrValue("WEIGHT");
    SetPatient(1, "WEIGHT", text);
    EXPECT_EQ(Patient("1")->GetAttrValueAsFloat("WEIGHT"), value) << text;
  }
  SetPatient(1, "WEIGHT", "72.5");
  EXPECT_EQ(Stored("WEIGHT"), "72.5");
  SetPatient(1, "VISITS", 12.0);
  EXPECT_EQ(Stored("VISITS"), "12");
}

TEST_F(TIboDataTest, DatesComeWithTheirTimeUnlessItIsZero) {
  AddPatient(1, "Ana");
  const std::pair<TDateTime, const char*> cases[] = {
      {45000, "15.03.2023"},        {45000.25 + 1 / 86400.0, "15.03.2023 06:00:01"},
      {45000 - 1e-9, "15.03.2023"},  // a rounding error is no time of day
      {45000 + 1e-9, "15.03.2023"}, {-1.25, "29.12.1899 06:00:00"},
      {MinDateTime, "01.01.0100"},  {2958465.5, "31.12.9999 12:00:00"}};
  for (const auto& [value, text] : cases) {
    SetPatient(1, "BORN", value);
    EXPECT_EQ(Stored("BORN"), text) << value;
  }
  // A date from an expression, which has no declared type.
  const TOwned<TIQuery> query = Make<TIQuery>();
  FPatients->GetQuery(query.Get());
  query->SQL()->Strings(
      0, "select ID, NAME, SEX, WEIGHT, VISITS, ID + 44999 as BORN, NOTES, ACTIVE, DATUMIPL");
  FPatients->IdToSQL("1", query.Get());
  query->Open();
  TIboData& store = FreshStore();
  store.InitFromDataSet(query.Get());
  EXPECT_EQ(store.GetAttrValue("BORN"), "15.03.2023");
  // A number that is no date says so, and the store is as it was.
  Execute("update OMRA.PATIENT set BORN = ID + 1000000000");
  EXPECT_THROW(Patient("1"), EConvertError);
}

TEST_F(TIboDataTest, RowWithoutAColumnForAnAttributeChangesNothing) {
  AddPatient(1, "Ana");
  for (const bool cells : {true, false}) {
    const TOwned<TIQuery> query(cells ? New<TIQuery>() : New<TQueryOfFields>());
    query->DatabaseName("_QOR");
    query->SQLText("select ID, NAME from OMRA.PATIENT");
    query->Open();
    TIboData& store = FreshStore();
    store.InitData();
    store.SetAttrValue("NAME", "kept");
    EXPECT_NE(Raised([&] { store.InitFromDataSet(query.Get()); }).find("SEX"), std::string::npos);
    EXPECT_EQ(store.GetAttrValue("NAME"), "kept");
  }
}

TEST_F(TIboDataTest, StoredValuesKeepTheFormatOfTheFirstLoad) {
  AddPatient(1, "Ana");
  SetPatient(1, "WEIGHT", 72.5);
  SetPatient(1, "BORN", 45000.5);
  FormatSettings().DecimalSeparator = ',';
  FormatSettings().TimeSeparator = '-';
  EXPECT_EQ(Stored("WEIGHT"), "72,5");
  EXPECT_EQ(Stored("BORN"), "15.03.2023 12-00-00");
  FormatSettings() = TFormatSettings();
  FormatSettings().ShortDateFormat = "yyyy-mm-dd";
  EXPECT_EQ(Stored("WEIGHT"), "72,5");
  EXPECT_EQ(Patient("1")->GetAttrValueAsDate("BORN"), 45000.5);
  EXPECT_EQ(Patient("1")->GetAttrValueAsFloat("WEIGHT"), 72.5);
}

}  // namespace
}  // namespace perlayer

#include "perlayer/provider/TIboData.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

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
  EXPECT_THROW(store.SetAttrValue("NAME", "x"), EListError);
  EXPECT_FALSE(store.DataModified());
  store.CancelData();
  store.InitData();
  EXPECT_EQ(store.Count(), kAttributes + 1);
  store.InitData();  // enough entries: nothing happens
  EXPECT_EQ(store.Count(), kAttributes + 1);
  EXPECT_EQ(store.GetAttrValueByIndex(kAttributes), "");
  EXPECT_THROW(store.GetAttrValueByIndex(kAttributes + 1), EListError);
  EXPECT_THROW(store.GetAttrValueByIndex(-1), EListError);
  EXPECT_EQ(Raised([&] { store.SetAttrValue("AGE", "5"); }),
            "Attribute not defined AGE [TplPatient]");
  EXPECT_FALSE(store.DataModified());  // a refused write keeps nothing
}

TEST_F(TIboDataTest, OldValuesAreThoseBeforeTheFirstChange) {
  TIboData& store = FreshStore();
  store.InitData();
  EXPECT_EQ(store.GetAttrOldValue("NAME"), "");  // copies the current ones
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
  EXPECT_FALSE(store.AttributeModified("WEIGHT"));

  const TIboData before = [&] {
    TIboData copy;
    store.DisableOptimizingUpdateQueries(true);
    copy.Assign(store);
    return copy;
  }();
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
  store.SetAttrOldValueByIndex(1, "Ana");
  EXPECT_FALSE(store.AttributeModified("NAME"));
  store.ClearValues();
  EXPECT_EQ(store.Count(), kAttributes + 1);
  EXPECT_EQ(store.GetAttrValue("NAME"), "");
  EXPECT_EQ(store.GetAttrOldValue("NAME"), "Ana");
}

TEST_F(TIboDataTest, TextsOfAnyLengthComeWhole) {
  AddPatient(1, "Ana");
  EXPECT_EQ(Stored("NOTES"), "");
  EXPECT_EQ(Stored("SEX"), "");
  for (const std::size_t size : {1u, 1023u, 1024u, 1025u, 1u << 20}) {
    std::string notes;
    while (notes.size() < size) notes += "č";
    SetPatient(1, "NOTES", notes);
    EXPECT_EQ(Stored("NOTES"), notes);
  }
  SetPatient(1, "NAME", "Žiga\r\n\tŠ");
  EXPECT_EQ(Stored("NAME"), "Žiga\r\n\tŠ");
}

// What a float attribute shows can be written back as text: the column then holds the same number.
TEST_F(TIboDataTest, FloatWrittenBackIsTheSameNumber) {
  AddPatient(1, "Ana");
  std::mt19937_64 random(20230127);
  const auto next = [&](int i) {
    switch (i % 4) {
      case 0:  // a price, a weight
        return static_cast<double>(static_cast<std::int64_t>(random() % 2000000) - 1000000) / 1000;
      case 1:
        return std::ldexp(static_cast<double>(random() >> 11),
                          static_cast<int>(random() % 40) - 60);
      case 2:
        return static_cast<double>(static_cast<std::int64_t>(random() >> random() % 64));
      default: {
        const std::uint64_t bits = random();
        double value;
        std::memcpy(&value, &bits, sizeof value);
        return std::isfinite(value) ? value : 0.5;
      }
    }
  };
  for (int i = 0; i < 1000; ++i) {
    const double value = next(i);
    SetPatient(1, "WEIGHT", value);
    const std::string text = Patient("1")->GetAttrValue("WEIGHT");
    ASSERT_EQ(StrToFloat(text), value) << text;
    ASSERT_EQ(Patient("1")->GetAttrValueAsFloat("WEIGHT"), value) << text;
    SetPatient(1, "WEIGHT", 0.0);
    SetPatient(1, "WEIGHT", text);
    ASSERT_EQ(Patient("1")->GetAttrValueAsFloat("WEIGHT"), value) << text;
    ASSERT_EQ(Patient("1")->GetAttrValue("WEIGHT"), text);
  }
  SetPatient(1, "WEIGHT", "72.5");
  EXPECT_EQ(Stored("WEIGHT"), "72.5");
  SetPatient(1, "WEIGHT", -3.0);
  EXPECT_EQ(Stored("WEIGHT"), "-3");
  SetPatient(1, "VISITS", 12.0);
  EXPECT_EQ(Stored("VISITS"), "12");
}

TEST_F(TIboDataTest, DatesComeWithTheirTimeUnlessItIsZero) {
  AddPatient(1, "Ana");
  const std::pair<TDateTime, const char*> cases[] = {
      {45000, "15.03.2023"},
      {45000.5, "15.03.2023 12:00:00"},
      {45000.25 + 1 / 86400.0, "15.03.2023 06:00:01"},
      {45000 - 1e-9, "15.03.2023"},  // a rounding error is no time of day
      {45000 + 1e-9, "15.03.2023"},
      {0, "30.12.1899"},
      {0.75, "30.12.1899 18:00:00"},
      {-1, "29.12.1899"},
      {-1.25, "29.12.1899 06:00:00"},
      {MinDateTime, "01.01.0100"},
      {2958465.5, "31.12.9999 12:00:00"}};
  for (const auto& [value, text] : cases) {
    SetPatient(1, "BORN", value);
    EXPECT_EQ(Stored("BORN"), text) << value;
  }
  SetPatient(1, "BORN", "");
  EXPECT_EQ(Stored("BORN"), "");
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
  SetPatient(1, "BORN", 1e9);
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
  SetPatient(1, "WEIGHT", 72.0);
  EXPECT_EQ(Stored("WEIGHT"), "72");
  const auto patient = Patient("1");
  EXPECT_EQ(patient->GetAttrValueAsDate("BORN"), 45000.5);
  SetPatient(1, "WEIGHT", 0.5);
  EXPECT_EQ(Patient("1")->GetAttrValueAsFloat("WEIGHT"), 0.5);
  SetPatient(1, "BORN", 45000.0);
  EXPECT_EQ(Stored("BORN"), "15.03.2023");
}

}  // namespace
}  // namespace perlayer

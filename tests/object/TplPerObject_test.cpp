#include "perlayer/object/TplPerObject.h"

#include <gtest/gtest.h>

#include "perlayer/corekit/TField.h"
#include "perlayer/foundation/FoundationState.h"
#include "perlayer/foundation/TplDomainNotifier.h"
#include "perlayer/platform/TSlotTable.h"
#include "support/HospitalFixture.h"
#include "support/TestLog.h"

namespace perlayer {
namespace {

// Counts what it is told.
class TListener : public TplDomainNotifier {
  TCLASS(TListener, TplDomainNotifier)
 public:
  void DoNotifyAction(TplDomainObject*, TIBaseObjectAction ActionType, TObject*,
                      TINotifiedObjectList*) override {
    Heard.push_back(ActionType);
  }
  std::vector<TIBaseObjectAction> Heard;
};

class TplPerObjectTest : public THospital {
 protected:
  TplPerObjectTest() {
    AddPatient(1, "Ana");
    SetPatient(1, "WEIGHT", 72.5);
    SetPatient(1, "VISITS", 3.0);
    SetPatient(1, "BORN", 45000.5);
    SetPatient(1, "NOTES", "opomba");
    SetPatient(1, "SEX", "Ž");
    FAna.emplace(FPatients, "1");
  }
  TpoPatient* Ana() { return FAna->Get(); }
  // The same object with one value changed in the store.
  TpoPatient* AnaWith(const char* attribute, const std::string& value) {
    Ana()->Store().SetAttrValue(attribute, value);
    return Ana();
  }
  std::optional<THold<TpoPatient>> FAna;
};

TEST_F(TplPerObjectTest, NeedsAProviderAndARetainer) {
  const std::int64_t live = TSlotTable::LiveCount();
  for (TPlBaseObject* owner :
       {static_cast<TPlBaseObject*>(nullptr), static_cast<TPlBaseObject*>(Ana())}) {
    EXPECT_EQ(Raised([&] { New<TpoPatient>(owner, FForm.Get()); }),
              "TplPerObject.Create: Can not create new object without provider!");
  }
  EXPECT_THROW(New<TpoPatient>(FPatients, nullptr), EAssertionFailed);
  EXPECT_EQ(TSlotTable::LiveCount(), live);
}

TEST_F(TplPerObjectTest, FetchedObjectTellsItsDefaults) {
  TpoPatient* ana = Ana();
  EXPECT_EQ(ana->GetGlobalID(), "PATIENT1");
  EXPECT_FALSE(ana->GetReadOnly());
  EXPECT_EQ(ana->GetEditState(), TIPersistentObjectState::posBrowse);
  EXPECT_EQ(DumpPerObject(ana),
            "*** TPlPerObject: [1] TpoPatient\r\nID = 1\r\nNAME = Ana\r\nSEX = Ž\r\nWEIGHT = "
            "72.5\r\nVISITS = 3\r\nBORN = 15.03.2023 12:00:00\r\nNOTES = opomba\r\nACTIVE = "
            "1\r\nDATUMIPL = \r\n");
  EXPECT_NE(DumpPerObject(nullptr).find(" is NIL"), std::string::npos);
}

TEST_F(TplPerObjectTest, AttributesAreReadByNameInAnyCase) {
  EXPECT_EQ(Ana()->GetAttrValue("nAmE"), "Ana");
  EXPECT_EQ(Ana()->StoredValue("nAmE"), "Ana");
  EXPECT_THROW(Ana()->StoredValue("AGE"), Exception);
  EXPECT_EQ(AnaWith("NAME", "Bor")->GetAttrOldValue("NAME"), "Ana");
  EXPECT_TRUE(Ana()->AttrExists("description"));
  EXPECT_EQ(Raised([&] { Ana()->GetAttrValue("AGE"); }),
            "GetAttrValue Wrong attribute TpoPatient(1) AGE");
  EXPECT_THROW(Ana()->AttrName(9), EListError);
}

TEST_F(TplPerObjectTest, CalculatedAttributeAsksTheEventFirst) {
  Ana()->GetMetaData()->AddCalcAttribute("AGE", "Starost", TFieldType::ftString, 3, "");
  EXPECT_EQ(Ana()->GetAttrValue("Description"), "[1] TpoPatient");
  EXPECT_EQ(Ana()->GetAttrValue("AGE"), "");
  Ana()->OnCalcAttribute(
      TCalcAttrValueProc::From([](TplPerObject* object, const std::string& name) {
        const std::string text = name + " of " + object->GetGID();
        object->OnCalcAttribute(nullptr);  // an event may take itself away
        return text;
      }));
  EXPECT_EQ(Ana()->GetAttrValue("age"), "age of 1");
  EXPECT_EQ(Ana()->GetAttrValue("AGE"), "");
}

TEST_F(TplPerObjectTest, FloatsThatAreNoneHaveTheNoValueNumber) {
  constexpr double kNone = -2147483647.0;
  EXPECT_EQ(Ana()->GetAttrValueAsFloat("WEIGHT"), 72.5);
  EXPECT_EQ(AnaWith("WEIGHT", "")->GetAttrValueAsFloat("WEIGHT"), kNone);
  EXPECT_EQ(Ana()->GetAttrValueAsVariant("WEIGHT").AsFloat(), 0);
  EXPECT_EQ(Ana()->GetAttrOldValueAsFloat("WEIGHT"), 72.5);
  const std::string message =
      "TplPerObject.GetAttrValueAsFloat: Napaka pri TpoPatient.GetAttrValueAsFloat(WEIGHT), "
      "value=a, ID=1";
  EXPECT_EQ(AnaWith("WEIGHT", "a")->GetAttrValueAsFloat("WEIGHT"), kNone);
  EXPECT_TRUE(Logged(message));
  Ana()->aiEmptyFloatReturnsZero(true);
  EXPECT_EQ(Ana()->GetAttrValueAsFloat("WEIGHT"), 0);
  EXPECT_EQ(AnaWith("WEIGHT", "")->GetAttrValueAsFloat("WEIGHT"), 0);
  Ana()->Store().SetAttrOldValueByIndex(3, "a");
  const auto lines = TestLog().Lines().size();
  EXPECT_EQ(Ana()->GetAttrOldValueAsFloat("WEIGHT"), kNone);
  EXPECT_EQ(TestLog().Lines().size(), lines);
}

TEST_F(TplPerObjectTest, DatesThatAreNoneHaveTheNoDateValue) {
  struct TCase {
    const char* text;
    TDateTime date, old;
    const char* formatted;
    bool isNull;
  };
  const TCase cases[] = {
      {"15.03.2023 12:30:45", 45000 + (12 * 60 + 30.75) / 1440, 0, "15.03.2023 12:30", false},
      {"15.03.2023", 45000, 0, "15.03.2023", false},
      {"15.03.2023 00:00:00", 45000, 0, "15.03.2023 00:00:00", false},
      {"15.3.2023 6:00", 45000.25, 0, "15.3.2023 6:00", false},
      {"", -1, 0, "", true},
      {"yesterday", -1, 0, "yesterday", true},
      {"29.12.1899", -1, 0, "29.12.1899", true},
      {"28.12.1899", -2, 0, "28.12.1899", false},
      // A negative date with a time is no value, but the old value of one is.
      {"28.12.1899 06:00:00", -1, -2.25, "28.12.1899 06:00:00", true},
      {"30.12.1899", 0, 0, "30.12.1899", false},
      {"01.01.0100", MinDateTime, 0, "01.01.0100", false},
      {"32.01.2023", -1, 0, "32.01.2023", true}};
  for (const TCase& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_NEAR(AnaWith("BORN", c.text)->GetAttrValueAsDate("BORN"), c.date, 1e-9);
    EXPECT_EQ(Ana()->GetAttrValueAsFormatedDate("BORN"), c.formatted);
    EXPECT_EQ(Ana()->GetAttrValueAsVariant("BORN").IsNull(), c.isNull);
    Ana()->Store().SetAttrOldValueByIndex(5, c.text);
    EXPECT_NEAR(Ana()->GetAttrOldValueAsDate("BORN"), c.old != 0 ? c.old : c.date, 1e-9);
  }
}

TEST_F(TplPerObjectTest, VariantGoesByTheTypeOfTheAttribute) {
  EXPECT_EQ(Ana()->GetAttrValueAsVariant("NOTES").AsText(), "opomba");
  EXPECT_EQ(AnaWith("NOTES", "")->GetAttrValueAsVariant("NOTES").Kind(), TVariantKind::String);
  EXPECT_EQ(Ana()->GetAttrValueAsVariant("DESCRIPTION").AsText(), "[1] TpoPatient");
  EXPECT_EQ(Ana()->GetAttrValueAsVariant("BORN").Kind(), TVariantKind::Date);
  EXPECT_EQ(Ana()->GetAttrValueAsVariant("VISITS").Kind(), TVariantKind::Unassigned);
  EXPECT_EQ(Raised([&] { Ana()->GetAttrValueAsVariant("AGE"); }),
            "CalcAttributes: Provider TplPatient: Attribute AGE found.");
}

TEST_F(TplPerObjectTest, DeleteMarkTellsTheRetainersOncePerChange) {
  auto* listener = New<TListener>(nullptr, FForm.Get());
  Ana()->AddRef(listener);
  Ana()->SetObjectMarkedDeleted(false);
  EXPECT_EQ(listener->Heard.size(), 0u);
  Ana()->SetObjectMarkedDeleted(true);
  Ana()->SetObjectMarkedDeleted(true);
  Ana()->SetObjectMarkedDeleted(false);
  using enum TIBaseObjectAction;
  EXPECT_EQ(listener->Heard,
            (std::vector{paModified, paMarkedDeleted, paModified, paMarkedDeleted, paModified}));
  Ana()->Release(listener);
  listener->Release(FForm.Get());
}

TEST_F(TplPerObjectTest, ThrowAwayIdMakesAnObjectNew) {
  Ana()->DiposeNewlyCreatedMe();
  EXPECT_EQ(Ana()->GetGID(), "-1");
  EXPECT_EQ(Ana()->GetEditState(), TIPersistentObjectState::posCreated);
  Ana()->SetInitializingBo(true);
  EXPECT_EQ(Ana()->GetEditState(), TIPersistentObjectState::posCreating);
  Ana()->SetInitializingBo(false);
  EXPECT_TRUE(Ana()->Store().DisableOptimizingUpdateQueries());
}

}  // namespace
}  // namespace perlayer

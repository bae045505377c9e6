#include "perlayer/foundation/TAuthManager.h"

#include <gtest/gtest.h>

#include <map>

#include "perlayer/corekit/ILoginInfo.h"
#include "support/HospitalFixture.h"
#include "support/TestLog.h"

namespace perlayer {
namespace {

// Codes by action; what is not here is not controlled.
class TRights : public TAuthManager {
  TCLASS(TRights, TAuthManager)
 public:
  std::string GetObjectBaseClassName(TplAuthorizedObject*) override { return "Patient"; }
  int GetActionCode(const std::string& AsActionName) override {
    asked.push_back(AsActionName);
    const auto code = codes.find(AsActionName);
    return code == codes.end() ? kNotControlled : code->second;
  }
  bool AllowedSP(TplAuthorizedObject*, const std::string&) override { return mineCounts; }
  bool IsSPDependant(TplProvider*) override { return true; }

  std::map<std::string, int> codes;
  std::vector<std::string> asked;
  bool mineCounts = true;
};

class TAuthManagerTest : public THospital {
 protected:
  TAuthManagerTest() { AddPatient(1, "Ana"); }
};

TEST_F(TAuthManagerTest, RightsAreCodesOfActionsAndOnesOwnIsTriedSecond) {
  using enum TIAccessRight;
  const auto patient = Patient("1");
  const TOwned<TRights> rights = Make<TRights>();
  EXPECT_EQ(rights->GetObjectRights(patient.Get()), kAllAccessRights);
  EXPECT_EQ(rights->asked,
            (std::vector<std::string>{"O Patient Scan", "O Patient Read", "O Patient Update",
                                      "O Patient Delete", "O Patient Print", "O Patient Insert"}));
  rights->asked.clear();
  EXPECT_EQ(rights->GetObjectRights(FPatients), TIAccessRights{arInsert});
  EXPECT_EQ(rights->asked, std::vector<std::string>{"O Patient Insert"});

  rights->codes = {{"O Patient Read", 1},
                   {"O Patient Read Mine", 4},
                   {"O Patient Update", 2},
                   {"O Patient Update Mine", 3}};
  EXPECT_EQ(rights->GetObjectRights(patient.Get()), (TIAccessRights{arScan, arDelete, arInsert}));
  ILoginInfo().Grant(1);
  ILoginInfo().Grant(3);
  EXPECT_EQ(rights->GetObjectRights(patient.Get()), kAllAccessRights);
  EXPECT_TRUE(rights->HasObjectActionRight(patient.Get(), " Update Mine"));
  rights->mineCounts = false;
  EXPECT_FALSE(rights->HasObjectActionRight(patient.Get(), " Update Mine"));
  EXPECT_FALSE(rights->HasObjectRights(patient.Get(), {arUpdate}));

  FbLogRights(true);
  FbLogMissingRights(true);
  TMemoryLog& log = TestLog();
  EXPECT_FALSE(rights->HasObjectActionRight(patient.Get(), " Update"));
  EXPECT_FALSE(rights->HasObjectRightsFromSourceRights(nullptr, {}, {arPrint, arScan}));
  EXPECT_EQ(log.Lines(),
            (std::vector<std::string>{
                "ACTION rights check: Action: O Patient Update, ActionSP: , Right: 2, RightSP: 0",
                "ACTION missing rights: Action: O Patient Update, ActionSP: , Right: 2, RightSP: 0",
                "OBJECT missing rights: Classname: nil, Rights: |arScan||arPrint|"}));
}

TEST_F(TAuthManagerTest, TheBaseClassIsNoManager) {
  const TOwned<TAuthManager> base = Make<TAuthManager>();
  EXPECT_EQ(Raised([&] { base->GetObjectRights(FPatients); }), "TAuthManager: Using wrong class!");
  EXPECT_THROW(SetAuthManagerClass(TAuthManagerClass::Of<TRights>()), EAssertionFailed);
}

}  // namespace
}  // namespace perlayer

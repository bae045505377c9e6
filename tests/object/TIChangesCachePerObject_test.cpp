#include "perlayer/object/TIChangesCachePerObject.h"

#include <gtest/gtest.h>

#include "perlayer/object/TISystemAttributes.h"
#include "support/HospitalFixture.h"
#include "support/TestLog.h"

namespace perlayer {
namespace {

class TIChangesCacheTest : public THospital {
 protected:
  TIChangesCacheTest() {
    AddPatient(1, "Ana");
    SetPatient(1, "WEIGHT", 72.5);
    SetPatient(1, "BORN", 45000.5);
    SetPatient(1, "NOTES", "opomba");
  }
};

TEST_F(TIChangesCacheTest, WhatOthersChangedIsTakenOverAndOnesOwnStays) {
  const auto ana = Patient("1");
  const TOwned<TIChangesCachePerObject> cache = Make<TIChangesCachePerObject>(ana.Get());
  const auto write = [&](const std::string& name, const std::string& value) {
    cache->OnSetAttrValue(name, value);
    ana->SetAttrValue(name, value);
  };
  write("NAME", "Ana Marija");
  write("NOTES", "");
  // Meanwhile, somebody else.
  SetPatient(1, "NAME", "Anica");
  SetPatient(1, "WEIGHT", 80.0);
  Execute("update OMRA.PATIENT set BORN = null where ID = 1");
  cache->OnDoSaveData();
  EXPECT_EQ(ana->GetAttrValue("NAME"), "Ana Marija");
  EXPECT_EQ(ana->GetAttrValue("NOTES"), "");
  EXPECT_EQ(ana->GetAttrValue("WEIGHT"), "80");
  EXPECT_EQ(ana->GetAttrValue("BORN"), "");
  EXPECT_EQ(cache->Attributes().CommaText(), "NAME=Anica,WEIGHT=80,BORN=#empty#");
  EXPECT_EQ(cache->ChangedAttributes().Count(), 0);

  // A value that the object refuses is told, and the others are taken over.
  SetPatient(1, "NAME", "Anka");
  SetPatient(1, "WEIGHT", 81.0);
  ana->SetReadOnlyFields({"NAME"}, false);
  cache->OnDoSaveData();
  EXPECT_TRUE(Logged("TIChangesCachePerObject.ChangeAttributes error setting NAME: "));
  EXPECT_EQ(ana->GetAttrValue("WEIGHT"), "81");

  Execute("delete from OMRA.PATIENT");
  write("WEIGHT", "82");
  cache->OnDoCancelData();
  cache->OnDoSaveData();
  EXPECT_EQ(cache->Attributes().Count(), 0);
}

TEST_F(TIChangesCacheTest, WhoChangedARowLastAndWhen) {
  Execute("alter table OMRA.PATIENT add USER_IPL varchar2(30)");
  Execute("create table OMRA.ISEC_USERS (USERDEF1 varchar2(30), USERDEF2 varchar2(60))");
  Execute("insert into OMRA.ISEC_USERS values ('jn', 'Janez Novak')");
  AddPatient(2, "Bor");
  AddPatient(3, "Cene");
  Execute("update OMRA.PATIENT set USER_IPL = 'jn', DATUMIPL = to_date('15.03.2023') where ID = 1");
  Execute("update OMRA.PATIENT set USER_IPL = 'xx' where ID = 2");
  const TOwned<TISystemAttributes> system =
      Make<TISystemAttributes>(static_cast<TplPerObject*>(nullptr));
  system->Update();
  EXPECT_EQ(system->aiUserIPL(), "/");
  const std::pair<const char*, const char*> cases[] = {
      {"1", "jn - Janez Novak"}, {"2", "xx - "}, {"3", "/"}};
  for (const auto& [id, user] : cases) {
    const auto patient = Patient(id);
    system->UpdateForObject(patient.Get());
    EXPECT_EQ(system->aiUserIPL(), user);
    EXPECT_EQ(system->aiDatumIPL(), std::string(id) == "1" ? 45000 : 0);
  }
}

}  // namespace
}  // namespace perlayer

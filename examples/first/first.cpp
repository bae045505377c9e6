#include <cstdio>

#include "perlayer/drivers/sqlite/TSqliteDatabase.h"
#include "perlayer/foundation/TAuthManager.h"
#include "perlayer/list/TPlBoList.h"
#include "perlayer/object/THold.h"
#include "perlayer/platform/TLayer.h"
#include "perlayer/provider/TPROVIDER.h"
#include "perlayer/provider/TcmpClassMap.h"

using namespace perlayer;

class TpoEncounter : public TplPerObject {
  TCLASS(TpoEncounter, TplPerObject)
 public:
  std::string GetTextDescription() override {
    return GetAttrValue("STARTED") + " " + GetAttrValue("NAME");
  }
};
TPROVIDER(TplEncounter, TpoEncounter)  // reads quEncounter of the class map, writes usEncounter

class TpoPatient : public TplPerObject {
  TCLASS(TpoPatient, TplPerObject)
  TplMember<TPlBoList> FEncounters;

 public:
  void Create(TPlBaseObject* AOwner, TObject* ARetainer) override {
    TplPerObject::Create(AOwner, ARetainer);
    RegisterAgregatedObjects({&FEncounters});
  }
  TPlBoList* Encounters() {
    return GetOne2ManyRelation(FEncounters, "PATIENT_ID", Provider<TplEncounter>(), "ID", "",
                               "STARTED");
  }
};
TPROVIDER(TplPatient, TpoPatient)

int main(int argc, char** argv) try {
  if (argc != 5) return std::fputs("usage: first ward.db ward.classmap ID CITY\n", stderr), 2;
  TLayer layer;
  SetAuthManagerClass(TAuthManagerClass::Of<TOpenAuthManager>());  // everybody may do everything
  TSqliteDatabase db("_QOR", argv[1]);
  TcmpClassMap* map = LoadClassMap(argv[2]);
  New<TplEncounter>(nullptr, map);
  New<TplPatient>(nullptr, map);

  THold<TpoPatient> patient(Provider<TplPatient>(), argv[3]);
  if (!patient) return std::puts("There is no such patient."), 1;
  std::printf("%s %s of %s\n", patient->GetAttrValue("FIRST").c_str(),
              patient->GetAttrValue("LAST").c_str(), patient->GetAttrValue("CITY").c_str());
  if (patient->SetAttrValue("CITY", argv[4])) patient->SaveData();
  for (TplPerObject* encounter : *patient->Encounters()) {
    std::puts(encounter->GetTextDescription().c_str());
  }
} catch (const std::exception& e) {
  return std::fprintf(stderr, "%s\n", e.what()), 1;
}

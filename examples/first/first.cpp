#include <cstdio>

#include "perlayer/drivers/sqlite/TSqliteDatabase.h"
#include "perlayer/foundation/TAuthManager.h"
#include "perlayer/object/THold.h"
#include "perlayer/platform/TLayer.h"
#include "perlayer/provider/TPROVIDER.h"
#include "perlayer/provider/TcmpClassMap.h"

using namespace perlayer;

class TpoPatient : public TplPerObject {
  TCLASS(TpoPatient, TplPerObject)
 public:
  std::string GetTextDescription() override {
    return GetAttrValue("FIRST") + " " + GetAttrValue("LAST");
  }
};
TPROVIDER(TplPatient, TpoPatient)  // reads quPatient of the class map, writes usPatient

int main(int argc, char** argv) try {
  if (argc != 5) return std::fputs("usage: first ward.db ward.classmap ID CITY\n", stderr), 2;
  TLayer layer;
  SetAuthManagerClass(TAuthManagerClass::Of<TOpenAuthManager>());  // everybody may do everything
  TSqliteDatabase db("_QOR", argv[1]);
  New<TplPatient>(nullptr, LoadClassMap(argv[2]));

  THold<TpoPatient> patient(Provider<TplPatient>(), argv[3]);
  if (!patient) return std::puts("There is no such patient."), 1;
  std::printf("%s lives in %s.\n", patient->GetTextDescription().c_str(),
              patient->GetAttrValue("CITY").c_str());
  if (patient->SetAttrValue("CITY", argv[4])) patient->SaveData();

  THold<TpoPatient> anew(Provider<TplPatient>(), argv[3]);
  std::printf("%s lives in %s now.\n", anew->GetTextDescription().c_str(),
              anew->GetAttrValue("CITY").c_str());
} catch (const std::exception& e) {
  return std::fprintf(stderr, "%s\n", e.what()), 1;
}

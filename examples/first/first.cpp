#include <cstdio>

#include "perlayer/drivers/sqlite/TSqliteDatabase.h"
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
TPROVIDER(TplPatient, TpoPatient)  // reads quPatient of the class map

int main(int argc, char** argv) try {
  if (argc != 4) return std::fputs("usage: first ward.db ward.classmap ID\n", stderr), 2;
  TLayer layer;
  TSqliteDatabase db("_QOR", argv[1]);
  New<TplPatient>(nullptr, LoadClassMap(argv[2]));

  THold<TpoPatient> patient(Provider<TplPatient>(), argv[3]);
  if (!patient) return std::puts("There is no such patient."), 1;
  for (int i = 0; i < patient->AttrCount(); ++i) {
    const std::string name = patient->AttrName(i);
    std::printf("%-12s %s\n", name.c_str(), patient->GetAttrValue(name).c_str());
  }
  std::printf("%s is held by %d retainer(s).\n", patient->GetTextDescription().c_str(),
              patient->aiRetainerList()->Count());
} catch (const std::exception& e) {
  return std::fprintf(stderr, "%s\n", e.what()), 1;
}

// consumer DATABASE: keeps a row in a database and has the layer answer it as an object.

#include <cstdio>

#include "perlayer/drivers/sqlite/TSqliteDatabase.h"
#include "perlayer/object/THold.h"
#include "perlayer/platform/TLayer.h"
#include "perlayer/provider/ClassMapFile.h"
#include "perlayer/provider/TPROVIDER.h"
#include "perlayer/provider/TcmpClassMap.h"

using namespace perlayer;

class TpoPatient : public TplPerObject {
  TCLASS(TpoPatient, TplPerObject)
};
TPROVIDER(TplPatient, TpoPatient)

constexpr char kMap[] = R"(
query quPatient
  sql
    select ID, LAST
    from OMRA.PATIENT
    where
    ID = :ID
  end
  fields
    ID    float
    LAST  string  60
  end
)";

int main(int argc, char** argv) try {
  if (argc != 2) return 2;
  TLayer layer;
  TSqliteDatabase db("_QOR", argv[1]);
  db.Execute("create table omra.patient (id number primary key, last varchar2(60))");
  db.Execute("insert into omra.patient (id, last) values (17, upper('č') || 'uk')");
  db->Commit("consumer");
  New<TplPatient>(nullptr, AddClassMap(ParseClassMap(kMap, "consumer.classmap")));
  THold<TpoPatient> patient(Provider<TplPatient>(), "17");
  if (!patient) return 1;
  std::printf("%s %s\n", patient->aiGID().c_str(), patient->GetAttrValue("LAST").c_str());
} catch (const std::exception& e) {
  return std::fprintf(stderr, "%s\n", e.what()), 1;
}

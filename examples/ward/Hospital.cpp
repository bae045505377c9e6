#include "Hospital.h"

#include "Encounter.h"
#include "Patient.h"
#include "perlayer/provider/TcmpClassMap.h"

namespace ward {

std::string MapFile(const std::string& name) { return PERLAYER_WARD_DIR "/maps/" + name; }

TcmpClassMap* LoadHospitalClasses() {
  TcmpClassMap* map = LoadClassMap(MapFile("ward.classmap"));
  New<TplPatient>(nullptr, map)->aiActiveFieldName("ACTIVE");
  New<TplEncounter>(nullptr, map);
  New<TplStay>(nullptr, map);
  return map;
}

}  // namespace ward

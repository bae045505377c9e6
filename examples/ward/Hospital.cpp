#include "Hospital.h"

#include "Discharge.h"
#include "Encounter.h"
#include "Finding.h"
#include "Organization.h"
#include "Patient.h"
#include "Rights.h"
#include "perlayer/provider/TcmpClassMap.h"

namespace ward {

std::string MapFile(const std::string& name) { return PERLAYER_WARD_DIR "/maps/" + name; }

TcmpClassMap* LoadHospitalClasses() {
  UseWardRights();
  TcmpClassMap* map = LoadClassMap(MapFile("ward.classmap"));
  New<TplOrganization>(nullptr, map)->aiActiveFieldName("ACTIVE");
  New<TplClinician>(nullptr, map)->aiActiveFieldName("ACTIVE");
  New<TplPatient>(nullptr, map)->aiActiveFieldName("ACTIVE");
  New<TplEncounter>(nullptr, map);
  New<TplStay>(nullptr, map);
  New<TplCondition>(nullptr, map)->aiActiveFieldName("ACTIVE");
  New<TplMedication>(nullptr, map)->aiActiveFieldName("ACTIVE");
  New<TplDischarge>(nullptr, map);
  return map;
}

}  // namespace ward

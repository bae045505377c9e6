#include "Show.h"

#include <iostream>

#include "AttributeTable.h"
#include "Database.h"
#include "Encounter.h"
#include "Hospital.h"
#include "Patient.h"
#include "perlayer/object/THold.h"
#include "perlayer/platform/Format.h"

namespace ward {

namespace {

void Show(TplProvider* provider, const char* what, const std::string& id) {
  const THold<> object(provider, id);
  if (!object) {
    const bool deactivated =
        provider->ExistsInDatabase(id) == TIObjectExistsInDatabaseResult::edDeleted;
    throw Exception(Format(deactivated ? "%s %s is deactivated" : "there is no %s %s", what, id));
  }
  std::cout << object->ClassName() << ": " << object->GetTextDescription() << '\n';
  for (const std::string& line : AttributeTable(object.Get())) std::cout << line << '\n';
}

}  // namespace

void ShowPatient(const std::string& databaseFile, const std::string& id) {
  const TSqliteDatabase database = OpenWard(databaseFile);
  LoadHospitalClasses();
  Show(Provider<TplPatient>(), "patient", id);
}

void ShowEncounter(const std::string& databaseFile, const std::string& id) {
  const TSqliteDatabase database = OpenWard(databaseFile);
  LoadHospitalClasses();
  Show(Provider<TplEncounter>(), "encounter", id);
}

}  // namespace ward

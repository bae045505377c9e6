#include "Who.h"

#include <iostream>

#include "Database.h"
#include "Encounter.h"
#include "Hospital.h"
#include "Kinds.h"
#include "Lines.h"
#include "Patient.h"
#include "RetainerTrace.h"
#include "TextTable.h"
#include "perlayer/reclaim/TplGlobalDictionary.h"

namespace ward {

namespace {

const TWardTable& PatientTable() {
  for (const TWardTable& table : WardTables()) {
    if (KindName(table) == "patient") return table;
  }
  throw Exception("the ward has no table of patients");
}

}  // namespace

void Who(const std::string& databaseFile, const std::string& id) {
  const TSqliteDatabase database = OpenWard(databaseFile);
  LoadHospitalClasses();
  const TUseDictionary dictionary(true);
  TRetainerTrace trace;
  const THold<> object = FetchObject(PatientTable(), id);
  auto* const patient = Cast<TpoPatient>(object.Get());
  for (TplPerObject* encounter : *patient->Encounters()) Cast<TpoEncounter>(encounter)->Patient();
  patient->Conditions();
  std::cout << patient->ClassName() << ": " << patient->GetTextDescription() << "\n\n";
  PrintLines(HolderTable(patient, &trace));
  std::cout << '\n' << Counted(static_cast<std::size_t>(patient->RefCount()), "reference") << '\n';
  // A patient and its encounters hold each other: the patient lets go.
  int errors = 0;
  patient->ForgetSubobjects(errors);
}

}  // namespace ward

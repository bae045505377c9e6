// A new object: values that are not valid, and one save that writes two tables.

#include "Rights.h"
#include "TourWriting.h"
#include "perlayer/database/TplDatabaseProvider.h"

namespace ward {

namespace {

void InvalidScene(TStage& stage) {
  TNarrator& narrator = stage.narrator;
  THold<TpoPatient>& patient = stage.patient;
  narrator.Scene("A new object, and values that are not valid");
  narrator.Say(
      "A new object has no row and a temporary ID. A write answers whether the value is valid; it "
      "stays written either way, with its message, and can be corrected.");
  WARD_ASK(narrator, LogInToWard("WARD");)
  WARD_ASK(narrator, patient = NewOf<TpoPatient>(Provider<TplPatient>());)
  WARD_ANSWER(narrator, patient->GetGID());
  WARD_ANSWER(narrator, patient->GetEditState());
  WARD_ANSWER(narrator, patient->SetAttrValue("FIRST", "Ana"));
  WARD_ANSWER(narrator, patient->GetEditState());
  WARD_ANSWER(narrator, patient->SetAttrValue("BIRTHDATE", "31.2.1951"));
  narrator.Message(patient->GetAttrErrorMessage("BIRTHDATE"));
  WARD_ANSWER(narrator, patient->SetAttrValue("SEX", "F"));
  narrator.Say("SEX and MARITAL are codes of code lists, which stand in tables.");
  WARD_ANSWER(narrator, patient->SetAttrValue("MARITAL", "Q"));
  narrator.Message(patient->GetAttrErrorMessage("MARITAL"));
  WARD_ANSWER(narrator, patient->SetAttrValue("MARITAL", "U"));
  narrator.Message(patient->GetAttrErrorMessage("MARITAL"));
  narrator.Say("Saving looks at every attribute (nobody has given a LAST), and refuses:");
  narrator.Refused([&] { WARD_ASK(narrator, patient->SaveData();) });
  WARD_ANSWER(narrator, dbProvider()->aiTransactionCount());
  stage.Rows("select count(*) ANAS from OMRA.PATIENT where FIRST = 'Ana'");
}

void SaveScene(TStage& stage) {
  TNarrator& narrator = stage.narrator;
  const THold<TpoPatient>& patient = stage.patient;
  narrator.Scene("One save, two tables");
  narrator.Say("The same object, corrected. PHONE and KIN are columns of a second table:");
  WARD_ANSWER(narrator, patient->SetAttrValue("LAST", "Novak"));
  WARD_ANSWER(narrator, patient->SetAttrValue("BIRTHDATE", "12.3.1951"));
  WARD_ANSWER(narrator, patient->SetAttrValue("MARITAL", "W"));
  WARD_ANSWER(narrator, patient->SetAttrValue("PHONE", "041-123-456"));
  narrator.Say("The class map has an update for each table; together they are one statement:");
  WARD_ANSWER(narrator, patient->GetInsertStatement());
  WARD_ASK(narrator, patient->SaveData();)
  narrator.Say(
      "The class's own DoBeforeSave has given the row a key, from a sequence, and has written down "
      "who saves it.");
  WARD_ANSWER(narrator, patient->GetGID());
  WARD_ANSWER(narrator, patient->aiWasNewObject());
  WARD_ANSWER(narrator, patient->GetEditState());
  stage.Rows(
      "select P.ID, P.FIRST, P.LAST, P.BIRTHDATE, P.USER_IPL, C.ID CONTACT, C.PHONE "
      "\nfrom OMRA.PATIENT P, OMRA.PATIENT_CONTACT C\nwhere C.ID = P.ID and P.ID = :ID");
}

}  // namespace

void NewPatientScenes(TStage& stage) {
  InvalidScene(stage);
  SaveScene(stage);
}

}  // namespace ward

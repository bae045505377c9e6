// Deletes: of a row, of one that others refer to, and of one that only counts as deleted.

#include "Discharge.h"
#include "Encounter.h"
#include "TourWriting.h"
#include "perlayer/database/TplDatabaseProvider.h"

namespace ward {

namespace {

void PhysicalScene(TStage& stage) {
  TNarrator& narrator = stage.narrator;
  narrator.Scene("Deletes that take the row away");
  WARD_ASK(narrator, auto letter = THold<TpoDischarge>::Where(
                         Provider<TplDischarge>(), "PATIENT_ID=" + stage.patient->GetGID());)
  if (!letter) return narrator.Answer("nullptr");
  narrator.Answer(letter->GetTextDescription());
  WARD_ASK(narrator, letter->DeleteObject();)
  WARD_ANSWER(narrator, letter->aiObjectDeleted());
  stage.Rows("select count(*) LETTERS from OMRA.DISCHARGE where PATIENT_ID = :ID");
  narrator.Say(
      "What the database refuses, as other rows refer to this one, leaves object and row as they "
      "were.");
  stage.Rows("select count(*) MEDICATIONS from OMRA.MEDICATION where ENCOUNTER_ID = 59");
  WARD_ASK(narrator, THold<TpoEncounter> encounter(Provider<TplEncounter>(), "59");)
  if (!encounter) return narrator.Answer("nullptr");
  narrator.Refused([&] { WARD_ASK(narrator, encounter->DeleteObject();) });
  WARD_ANSWER(narrator, encounter->GetEditState());
  WARD_ANSWER(narrator, encounter->aiObjectDeleted());
  WARD_ANSWER(narrator, Provider<TplEncounter>()->ExistsInDatabase("59"));
}

void LogicalScene(TStage& stage) {
  TNarrator& narrator = stage.narrator;
  const THold<TpoPatient>& patient = stage.patient;
  narrator.Scene("A delete that leaves the row");
  narrator.Say(
      "A class with an active attribute is never deleted: its ACTIVE becomes '0', by an ordinary "
      "save.");
  WARD_ANSWER(narrator, Provider<TplPatient>()->aiActiveFieldName());
  WARD_ASK(narrator, patient->DeleteObject();)
  WARD_ANSWER(narrator, patient->aiObjectDeleted());
  WARD_ANSWER(narrator, Provider<TplPatient>()->ExistsInDatabase(patient->GetGID()));
  stage.Rows("select FIRST, LAST, CITY, ACTIVE from OMRA.PATIENT where ID = :ID");
}

}  // namespace

void DeleteScenes(TStage& stage) {
  PhysicalScene(stage);
  LogicalScene(stage);
}

}  // namespace ward

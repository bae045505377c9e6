#pragma once
// The second act of the tour: a patient of the tour's own is made, changed, saved and deleted.

#include "Patient.h"
#include "Tour.h"

namespace ward {

// What the scenes share.
struct TStage {
  TNarrator& narrator;
  TSqliteDatabase& database;
  const std::string& databaseFile;
  THold<TpoPatient> patient;

  // Runs a select, as `ward sql` does; :ID in it is the patient's.
  void Rows(const std::string& select);
};

// The scenes, in their order. Each begins with a patient that is saved, but for the first.
void NewPatientScenes(TStage& stage);  // TourNewPatient.cpp
void EditScenes(TStage& stage);        // TourEdits.cpp
void RightsScene(TStage& stage);
void TransactionScenes(TStage& stage);  // TourTransactions.cpp
void LetterScene(TStage& stage);        // TourLetter.cpp
void DeleteScenes(TStage& stage);       // TourDeletes.cpp

}  // namespace ward

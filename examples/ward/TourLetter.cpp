// Large values: a letter in a CLOB, and a picture in a BLOB.

#include "Discharge.h"
#include "Lines.h"
#include "Picture.h"
#include "TourWriting.h"
#include "perlayer/database/TplDatabaseProvider.h"
#include "perlayer/platform/TMemoryStream.h"

namespace ward {

namespace {

std::string LetterOf(TpoPatient* patient) {
  return "Spoštovani,\n\n" + patient->GetAttrValue("FULLNAME") + ", " +
         patient->GetAttrValue("CITY") +
         ", odpuščamo v domačo oskrbo.\nPulz ob odpustu je viden na sliki.\nKontrola čez en "
         "mesec.\n";
}

}  // namespace

void LetterScene(TStage& stage) {
  TNarrator& narrator = stage.narrator;
  narrator.Scene("A letter and a picture");
  narrator.Say(
      "Large values have columns of their own, a CLOB and a BLOB here, and do not come with the "
      "row. "
      "The class reads its letter when it is asked to, and writes it in its DoAfterSave: within "
      "the "
      "transaction of the row.");
  WARD_ASK(narrator, auto letter = THold<TpoDischarge>::Where(
                         Provider<TplDischarge>(), "PATIENT_ID=" + stage.patient->GetGID());)
  if (!letter) return narrator.Answer("nullptr");
  WARD_ASK(narrator, letter->SetAttrValue("LETTER", LetterOf(stage.patient.Get()));)
  WARD_ASK(narrator, letter->SaveData();)
  narrator.Say("A picture goes from a stream into its column, piece by piece.");
  TMemoryStream picture;
  WARD_ASK(narrator, picture.WriteText(DrawPulse(5));)
  WARD_ASK(narrator, dbProvider()->StartTransaction("tour");)
  WARD_ASK(narrator, Provider<TplDischarge>()->SaveBlob(letter->GetGID(), "PICTURE", &picture);)
  WARD_ASK(narrator, dbProvider()->Commit("tour");)
  stage.Rows(
      "select SUBJECT, length(LETTER) CHARACTERS, PICTURE\nfrom OMRA.DISCHARGE where PATIENT_ID = "
      ":ID");
  narrator.Say("Both read back, by an object that was fetched anew:");
  WARD_ASK(narrator, THold<TpoDischarge> anew(Provider<TplDischarge>(), letter->GetGID());)
  WARD_ANSWER(narrator, anew->GetAttrValue("LETTER"));
  WARD_ASK(narrator, anew->LoadLetter();)
  WARD_ANSWER(narrator, anew->GetAttrValue("LETTER"));
  TMemoryStream back;
  WARD_ANSWER(narrator, Provider<TplDischarge>()->LoadBlob(anew->GetGID(), "PICTURE", &back));
  WARD_ANSWER(narrator, PictureLines(back.Bytes()));
}

}  // namespace ward

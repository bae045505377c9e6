// Edits: one that is cancelled, a warning, a question, and what one has no right to.

#include <sstream>

#include "Rights.h"
#include "TourWriting.h"
#include "perlayer/corekit/TConsoleDialogs.h"
#include "perlayer/database/TplDatabaseProvider.h"
#include "perlayer/foundation/FoundationState.h"
#include "perlayer/reclaim/TIPerLayerSettings.h"

namespace ward {

namespace {

void CancelScene(TStage& stage) {
  TNarrator& narrator = stage.narrator;
  const THold<TpoPatient>& patient = stage.patient;
  narrator.Scene("An edit, cancelled");
  narrator.Say(
      "The first write takes the object into edit state and keeps the values from before.");
  WARD_ANSWER(narrator, patient->SetAttrValue("LAST", "Horvat"));
  WARD_ANSWER(narrator, patient->GetEditState());
  WARD_ANSWER(narrator, patient->GetAttrValue("LAST"));
  WARD_ANSWER(narrator, patient->GetAttrOldValue("LAST"));
  WARD_ASK(narrator, patient->CancelData();)
  WARD_ANSWER(narrator, patient->GetAttrValue("LAST"));
  WARD_ANSWER(narrator, patient->GetEditState());
}

void WarningScene(TStage& stage) {
  TNarrator& narrator = stage.narrator;
  const THold<TpoPatient>& patient = stage.patient;
  narrator.Scene("A warning");
  narrator.Say(
      "Errors keep an object from being saved, warnings are told. No user is here: the dialog is "
      "answered at once, its text waits to be read, and the object is saved.");
  WARD_ANSWER(narrator, patient->SetAttrValue("BIRTHDATE", "12.3.1891"));
  WARD_ASK(narrator, patient->SaveData();)
  narrator.Ask("aiLastBoMessageText()");
  narrator.Message(aiLastBoMessageText());
  WARD_ANSWER(narrator, patient->aiWarningCount());
  stage.Rows("select FIRST, LAST, BIRTHDATE from OMRA.PATIENT where ID = :ID");
  WARD_ASK(narrator, patient->SetAttrValue("BIRTHDATE", "12.3.1951");)
  WARD_ASK(narrator, patient->SaveData();)
  WARD_ANSWER(narrator, patient->aiWarningCount());
}

void QuestionScene(TStage& stage) {
  TNarrator& narrator = stage.narrator;
  const THold<TpoPatient>& patient = stage.patient;
  narrator.Scene("A question");
  narrator.Say(
      "Before it records a death the class asks. Each question says what its answer is where "
      "nobody "
      "can be asked; here that is no, and saving is called off.");
  WARD_ANSWER(narrator, patient->SetAttrValue("DEATHDATE", "1.2.2023"));
  narrator.Refused([&] { WARD_ASK(narrator, patient->SaveData();) });
  narrator.Ask("aiLastBoMessageText()");
  narrator.Message(aiLastBoMessageText());
  narrator.Say(
      "With a user interface the user is asked. Any front end will do: this one reads answers from "
      "a text, where \"1\" is the first button. The object still holds what was entered, and is "
      "saved now.");
  std::istringstream in("1\n");
  std::ostringstream out;
  WARD_ASK(narrator, InstallDialogs(std::make_unique<TConsoleDialogs>(in, out));)
  WARD_ASK(narrator, PerLayerSettings()->aiUIExists(true);)
  TryFinally([&] { WARD_ASK(narrator, patient->SaveData();) },
             [&] {
               PerLayerSettings()->aiUIExists(false);
               InstallDialogs(nullptr);
             });
  narrator.Message(out.str());
  stage.Rows("select FIRST, LAST, DEATHDATE from OMRA.PATIENT where ID = :ID");
}

}  // namespace

void EditScenes(TStage& stage) {
  CancelScene(stage);
  WarningScene(stage);
  QuestionScene(stage);
}

void RightsScene(TStage& stage) {
  TNarrator& narrator = stage.narrator;
  const THold<TpoPatient>& patient = stage.patient;
  narrator.Scene("Rights");
  narrator.Say(
      "Rights are numbers. Which one an action needs, and who has it, stands in two tables, which "
      "the ward's rights manager reads. An action without a number is everybody's.");
  stage.Rows(
      "select A.ACTION, A.CODE, max(decode(U.USER_NAME, 'WARD', 'yes')) WARD,\n"
      "  max(decode(U.USER_NAME, 'DESK', 'yes')) DESK,\n"
      "  max(decode(U.USER_NAME, 'GUEST', 'yes')) GUEST\n"
      "from OMRA.ACTION_RIGHT A, OMRA.USER_RIGHT U\n"
      "where U.CODE(+) = A.CODE and A.ACTION like 'O Patient%'\n"
      "group by A.ACTION, A.CODE order by A.CODE");
  WARD_ASK(narrator, LogInToWard("GUEST");)
  TryFinally(
      [&] {
        WARD_ANSWER(narrator, patient->GetReadOnly());
        narrator.Refused([&] { WARD_ASK(narrator, patient->SetAttrValue("CITY", "Bled");) });
        narrator.Refused([&] { WARD_ASK(narrator, patient->DeleteObject();) });
        narrator.Refused([&] { WARD_ASK(narrator, NewOf<TpoPatient>(Provider<TplPatient>());) });
      },
      [&] { WARD_ASK(narrator, LogInToWard("WARD");) });
  WARD_ANSWER(narrator, patient->GetReadOnly());
  WARD_ANSWER(narrator, patient->GetEditState());
}

}  // namespace ward

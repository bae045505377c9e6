#include "TourWriting.h"

#include "Sql.h"
#include "perlayer/platform/Format.h"

namespace ward {

void TStage::Rows(const std::string& select) {
  narrator.Ask(select);
  const bool hasId = select.find(":ID") != std::string::npos;
  TSqlStatement statement(database, select,
                          hasId ? TSqlParameters{{"ID", patient->GetGID()}} : TSqlParameters{});
  narrator.Answer(statement.Run(TNarrator::kTableWidth));
}

namespace {

// The rows of the tour's own patient go; its database may be somebody's.
void SweepStage(TStage& stage) {
  if (!stage.patient || IndexIsTemporary(stage.patient->GetGID())) return;
  stage.narrator.Say(
      "\nThe tour takes away what it has written; no program should, and the layer has no word for "
      "it:");
  for (const char* table :
       {"DISCHARGE where PATIENT_ID", "PATIENT_CONTACT where ID", "PATIENT where ID"}) {
    const std::string statement =
        Format("delete from OMRA.%s = %s", table, stage.patient->GetGID());
    stage.narrator.Ask(statement);
    stage.narrator.Answer(stage.database.Execute(statement));
  }
  stage.database->Commit("tour");
}

}  // namespace

void WritingAct(TNarrator& narrator, TSqliteDatabase& database, const std::string& databaseFile) {
  narrator.Act("Second act: objects are changed and saved");
  TStage stage{narrator, database, databaseFile, {}};
  TryFinally(
      [&] {
        NewPatientScenes(stage);
        EditScenes(stage);
        RightsScene(stage);
        TransactionScenes(stage);
        LetterScene(stage);
        DeleteScenes(stage);
      },
      [&] { SweepStage(stage); });
}

}  // namespace ward

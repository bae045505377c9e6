#include "TourSharing.h"

#include "OtherProgram.h"
#include "Patient.h"
#include "perlayer/platform/Format.h"
#include "perlayer/reclaim/TIPerLayerStatistics.h"
#include "perlayer/reclaim/TplGlobalDictionary.h"

namespace ward {

namespace {

int Openings;

void CountOpening(TObject*, TIPerLayerStatisticsStartTimingType type) {
  if (type == TIPerLayerStatisticsStartTimingType::ttOpen) ++Openings;
}

}  // namespace

void OneObjectScene(TNarrator& narrator) {
  narrator.Scene("One row, one object");
  narrator.Say(
      "The dictionary knows every object that lives. Who asks for a row that somebody holds "
      "already "
      "gets that object, and the database is not asked.");
  Openings = 0;
  PerLayerStatistics()->aiOnStartTransfer(TIPerLayerStatisticsStartEvent::Bind<CountOpening>());
  WARD_ASK(narrator, THold<TpoPatient> one(Provider<TplPatient>(), "8");)
  WARD_ASK(narrator, THold<TpoPatient> two(Provider<TplPatient>(), "8");)
  PerLayerStatistics()->aiOnStartTransfer(nullptr);
  if (!one || !two) return narrator.Answer("nullptr");
  WARD_ANSWER(narrator, one.Get() == two.Get());
  WARD_ANSWER(narrator, one->RefCount());
  narrator.Answer(Format("(statements that were opened: %d)", Openings));
  WARD_ASK(narrator, one->SetAttrValue("CITY", "Bled");)
  WARD_ANSWER(narrator, two->GetAttrValue("CITY"));
  WARD_ASK(narrator, one->CancelData();)
  WARD_ANSWER(narrator, two->GetAttrValue("CITY"));
  WARD_ANSWER(narrator, GlobalDictionary()->Count());
}

void ReloadScene(TNarrator& narrator, const std::string& databaseFile) {
  narrator.Scene("Another program changes the row");
  narrator.Say(
      "An object keeps what was read until it is told to look again. Here another process writes "
      "to "
      "the same file; later it undoes that.");
  WARD_ASK(narrator, THold<TpoPatient> patient(Provider<TplPatient>(), "8");)
  if (!patient) return narrator.Answer("nullptr");
  WARD_ANSWER(narrator, patient->GetAttrValue("KIN"));
  const auto other = [&](const std::string& statement) {
    narrator.Ask("ward sql \"" + statement + "\" --commit");
    RunInAnotherProcess(databaseFile, statement);
  };
  const std::string before = patient->GetAttrValue("KIN");
  other("update OMRA.PATIENT_CONTACT set KIN = 'Jože Ankunding' where ID = 8");
  WARD_ANSWER(narrator, patient->GetAttrValue("KIN"));
  WARD_ASK(narrator, patient->Reload();)
  WARD_ANSWER(narrator, patient->GetAttrValue("KIN"));
  other(Format("update OMRA.PATIENT_CONTACT set KIN = '%s' where ID = 8", before));
  WARD_ASK(narrator, patient->Reload();)
  WARD_ANSWER(narrator, patient->GetAttrValue("KIN"));
}

void SharingAct(TNarrator& narrator, TSqliteDatabase& database, const std::string& databaseFile) {
  narrator.Act("Third act: objects are shared, related and listed");
  const TUseDictionary dictionary(true);
  OneObjectScene(narrator);
  RelationScene(narrator);
  HoldersScene(narrator);
  FilterAndOrderScene(narrator);
  SaveListScene(narrator, database);
  ReloadScene(narrator, databaseFile);
}

}  // namespace ward

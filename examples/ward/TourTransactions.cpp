// Transactions that nest, and one that is rolled back.

#include "Discharge.h"
#include "TourWriting.h"
#include "perlayer/corekit/TIQuery.h"
#include "perlayer/database/TplDatabaseProvider.h"
#include "perlayer/platform/Format.h"

namespace ward {

namespace {

// What another program finds at this moment.
std::string CityForOthers(const TStage& stage) {
  TSqliteDatabase other("another program", stage.databaseFile);
  const TOwned<TIQuery> query = Make<TIQuery>();
  query->DatabaseName(other->DatabaseName());
  query->SQLText("select CITY from OMRA.PATIENT where ID = :ID");
  query->ParamByName("ID").AsString(stage.patient->GetGID());
  query->Open();
  return query->IsEmpty() ? "(no row)" : query->Fields(0)->AsString();
}

// The layer's own account of what it has asked of the database, from line `begin` on.
void TellTrace(TNarrator& narrator, int begin) {
  const TStringList& trace = FindDatabase("_QOR")->TransactionTrace();
  narrator.Ask("FindDatabase(\"_QOR\")->TransactionTrace()");
  for (int i = begin; i < trace.Count(); ++i) narrator.Answer(trace.Strings(i));
}

void NestedScene(TStage& stage) {
  TNarrator& narrator = stage.narrator;
  const THold<TpoPatient>& patient = stage.patient;
  narrator.Scene("Transactions nest");
  narrator.Say(
      "Each save opens a transaction and commits it. Inside another one it only counts: nothing is "
      "committed before the outermost end, and nobody else sees it until then. (CityForOthers "
      "opens "
      "the file anew, as another program would.)");
  const int begin = FindDatabase("_QOR")->TransactionTrace().Count();
  WARD_ASK(narrator, dbProvider()->StartTransaction("tour");)
  WARD_ASK(narrator, patient->SetAttrValue("CITY", "Celje");)
  WARD_ASK(narrator, patient->SaveData();)
  WARD_ASK(narrator, THold<TpoDischarge> letter = NewOf<TpoDischarge>(Provider<TplDischarge>());)
  WARD_ASK(narrator, letter->SetAttrValue("PATIENT_ID", patient->GetGID());)
  WARD_ASK(narrator, letter->SetAttrValue("WRITTEN", "3.2.2023");)
  WARD_ASK(narrator, letter->SetAttrValue("SUBJECT", "Odpust iz bolnišnice");)
  WARD_ASK(narrator, letter->SaveData();)
  WARD_ANSWER(narrator, dbProvider()->aiTransactionCount());
  WARD_ANSWER(narrator, dbProvider()->IsInTransaction(patient.Get()));
  WARD_ANSWER(narrator, CityForOthers(stage));
  WARD_ASK(narrator, dbProvider()->Commit("tour");)
  WARD_ANSWER(narrator, dbProvider()->aiTransactionCount());
  WARD_ANSWER(narrator, CityForOthers(stage));
  TellTrace(narrator, begin);
}

void RollbackScene(TStage& stage) {
  TNarrator& narrator = stage.narrator;
  const THold<TpoPatient>& patient = stage.patient;
  narrator.Scene("A rollback, and a second try");
  narrator.Say(
      "Objects hear how the transaction ended. After a rollback they are as before it, and hold "
      "what "
      "the user has entered: saving can be repeated.");
  WARD_ASK(narrator, dbProvider()->StartTransaction("tour");)
  WARD_ASK(narrator, patient->SetAttrValue("CITY", "Bled");)
  WARD_ASK(narrator, patient->SaveData();)
  WARD_ANSWER(narrator, patient->GetEditState());
  WARD_ASK(narrator, dbProvider()->Rollback("tour");)
  WARD_ANSWER(narrator, patient->GetEditState());
  WARD_ANSWER(narrator, patient->GetAttrValue("CITY"));
  WARD_ANSWER(narrator, patient->GetAttrOldValue("CITY"));
  WARD_ANSWER(narrator, CityForOthers(stage));
  WARD_ASK(narrator, patient->SaveData();)
  WARD_ANSWER(narrator, patient->GetEditState());
  WARD_ANSWER(narrator, CityForOthers(stage));
}

}  // namespace

void TransactionScenes(TStage& stage) {
  NestedScene(stage);
  RollbackScene(stage);
}

}  // namespace ward

// Rows of different kinds, and rows that are not as they should be.

#include "AttributeTable.h"
#include "Encounter.h"
#include "Patient.h"
#include "Tour.h"
#include "perlayer/corekit/TIQuery.h"
#include "perlayer/foundation/FoundationState.h"
#include "perlayer/object/THold.h"

namespace ward {

namespace {

void Tell(TNarrator& narrator, const THold<TpoEncounter>& encounter) {
  if (!encounter) return narrator.Answer("nullptr");
  narrator.Answer(encounter->ClassName() + ": " + encounter->GetTextDescription());
  narrator.Answer(AttributeTable(encounter.Get(), TNarrator::kTableWidth));
}

}  // namespace

void SubclassScene(TNarrator& narrator, TSqliteDatabase& database) {
  narrator.Scene("Two kinds of encounter");
  narrator.Say(
      "Visits and hospital stays stand in one table. Both are asked for in the same way; the row's "
      "ENCOUNTERCLASS tells which class it becomes. A stay brings a query of its own, with more "
      "attributes and other labels.");
  WARD_ASK(narrator, THold<TpoEncounter> visit(Provider<TplEncounter>(), "59");)
  Tell(narrator, visit);
  WARD_ASK(narrator, THold<TpoEncounter> stay(Provider<TplEncounter>(), "60");)
  Tell(narrator, stay);

  narrator.Say("A value that the class does not know (the change is rolled back at once):");
  WARD_ASK(narrator, database->StartTransaction("tour");)
  WARD_ANSWER(narrator, database.Execute(
                            "update OMRA.ENCOUNTER set ENCOUNTERCLASS = 'seance' where ID = 59"));
  narrator.Refused(
      [&] { WARD_ASK(narrator, THold<TpoEncounter> encounter(Provider<TplEncounter>(), "59");) });
  WARD_ASK(narrator, database->Rollback("tour");)
}

void MissingRowScenes(TNarrator& narrator) {
  narrator.Scene("A row that does not exist");
  narrator.Say("That is no mistake: the answer is that there is no object.");
  WARD_ASK(narrator, THold<TpoPatient> nobody(Provider<TplPatient>(), "4711");)
  narrator.Answer(nobody ? nobody->GetTextDescription() : "nullptr");
  WARD_ANSWER(narrator, Provider<TplPatient>()->ExistsInDatabase("4711"));

  narrator.Scene("A condition that finds two rows");
  narrator.Say("One object was asked for. The layer does not choose:");
  narrator.Refused([&] {
    WARD_ASK(narrator, auto patient = THold<TpoPatient>::Where(
                           Provider<TplPatient>(), "CITY='Orleans' and DEATHDATE is not null");)
  });
}

void DeactivatedScene(TNarrator& narrator, TSqliteDatabase& database) {
  narrator.Scene("A deactivated row");
  narrator.Say(
      "Rows are seldom deleted: their ACTIVE becomes '0', and fetching passes them over. (This "
      "change, too, is rolled back.)");
  WARD_ASK(narrator, TplPatient* patients = Provider<TplPatient>();)
  WARD_ANSWER(narrator, patients->aiActiveFieldName());
  WARD_ASK(narrator, database->StartTransaction("tour");)
  WARD_ANSWER(narrator, database.Execute("update OMRA.PATIENT set ACTIVE = '0' where ID = 12"));
  {
    WARD_ASK(narrator, THold<TpoPatient> fetched(patients, "12");)
    narrator.Answer(fetched ? fetched->GetTextDescription() : "nullptr");
  }
  WARD_ANSWER(narrator, patients->ExistsInDatabase("12"));
  narrator.Say(
      "A program that comes to the row by a query of its own gets the object, marked as deleted, "
      "and "
      "the user is told. As no user is at hand here, the message waits to be read:");
  WARD_ASK(narrator, TOwned<TIQuery> query = Make<TIQuery>();)
  WARD_ASK(narrator, patients->GetQuery(query.Get());)
  WARD_ASK(narrator, patients->IdToSQL("12", query.Get());)
  WARD_ASK(narrator, query->Open();)
  const TOwned<TScopeRetainer> retainer = Make<TScopeRetainer>();
  WARD_ASK(narrator, TplPerObject* patient =
                         patients->GetObjectFromDataSet(retainer.Get(), query.Get(), true);)
  WARD_ASK(narrator, aiLastBoMessageText();)
  narrator.Message(aiLastBoMessageText());
  if (patient != nullptr) {
    WARD_ANSWER(narrator, patient->aiObjectMarkedDeleted());
    patient->Release(retainer.Get());
  }
  WARD_ASK(narrator, database->Rollback("tour");)
  WARD_ANSWER(narrator, patients->ExistsInDatabase("12"));
}

}  // namespace ward

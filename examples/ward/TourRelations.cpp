// Relations of objects, and who holds them.

#include "Encounter.h"
#include "Finding.h"
#include "Patient.h"
#include "RetainerTrace.h"
#include "TourSharing.h"
#include "perlayer/platform/Format.h"

namespace ward {

namespace {

// The first of a list, each in a line.
void TellFirst(TNarrator& narrator, const TPlBoList* list) {
  static constexpr int kShown = 3;
  for (int i = 0; i < list->Count() && i < kShown; ++i) {
    narrator.Answer(list->Get(i)->GetTextDescription());
  }
  if (list->Count() > kShown) narrator.Answer(Format("... (%d in all)", list->Count()));
}

// A patient and its encounters hold each other: one of them has to let go.
void CutCycles(TpoPatient* patient) {
  int errors = 0;
  patient->ForgetSubobjects(errors);
}

}  // namespace

void RelationScene(TNarrator& narrator) {
  narrator.Scene("Relations");
  narrator.Say(
      "An object reaches its relatives through variables that it has registered. They are filled "
      "when they are first asked for, and let go with the object.");
  WARD_ASK(narrator, THold<TpoPatient> patient(Provider<TplPatient>(), "8");)
  if (!patient) return narrator.Answer("nullptr");
  narrator.Ask("patient->Encounters()");
  TellFirst(narrator, patient->Encounters());
  narrator.Ask("patient->Conditions()");
  TellFirst(narrator, patient->Conditions());
  narrator.Say("And back again: the same patient, not another one of the same row.");
  if (patient->Encounters()->IsEmpty()) return narrator.Answer("(it has no encounters)");
  WARD_ASK(narrator, auto* encounter = Cast<TpoEncounter>(patient->Encounters()->Get(0));)
  WARD_ANSWER(narrator, encounter->Patient()->GetTextDescription());
  WARD_ANSWER(narrator, encounter->Patient() == patient.Get());
  CutCycles(patient.Get());
}

void HoldersScene(TNarrator& narrator) {
  narrator.Scene("Who holds this patient");
  narrator.Say(
      "Where objects do not go, one wants to know who holds them. The layer tells of every "
      "reference that is taken, to whoever listens; this program's TRetainerTrace writes down when "
      "and by which function.");
  WARD_ASK(narrator, TRetainerTrace trace;)
  WARD_ASK(narrator, THold<TpoPatient> patient(Provider<TplPatient>(), "8");)
  if (!patient) return narrator.Answer("nullptr");
  WARD_ASK(narrator, auto city = FetchedList(Provider<TplPatient>(), "CITY='Weymouth'");)
  WARD_ASK(narrator, TPlBoList* encounters = patient->Encounters();)
  if (encounters->Count() >= 2) {
    WARD_ASK(narrator, Cast<TpoEncounter>(encounters->Get(0))->Patient();)
    WARD_ASK(narrator, Cast<TpoEncounter>(encounters->Get(1))->Patient();)
  }
  WARD_ANSWER(narrator, HolderTable(patient.Get(), &trace));
  CutCycles(patient.Get());
  WARD_ASK(narrator, city.Reset();)
  WARD_ANSWER(narrator, HolderTable(patient.Get(), &trace));
}

}  // namespace ward

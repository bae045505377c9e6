// Who holds an object, and who hears of it.

#include "Patient.h"
#include "Tour.h"
#include "WardBoard.h"
#include "perlayer/foundation/FoundationState.h"
#include "perlayer/object/THold.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TApplication.h"

namespace ward {

namespace {

void TellRetainers(TNarrator& narrator, TplDomainObject* object) {
  narrator.Ask("patient->aiRetainerList()");
  TplRetainerList* retainers = object->aiRetainerList();
  for (int i = 0; i < retainers->Count(); ++i) {
    auto* const board = As<TWardBoard>(retainers->Objects(i));
    narrator.Answer(Format("%d: %s%s", i, retainers->Strings(i),
                           board == nullptr ? "" : ", " + board->GetHint()));
  }
}

}  // namespace

void RetainerScenes(TNarrator& narrator) {
  narrator.Scene("Who holds an object");
  narrator.Say(
      "An object knows who holds it. Each holder comes with AddRef and goes with Release; when the "
      "last has gone, the object goes. THold holds for the length of a scope. The boards are the "
      "program's own: one of a ward, one of the hospital.");
  THold<TpoPatient> patient(Provider<TplPatient>(), "8");
  const THold<TWardBoard> ward = TWardBoard::Make(narrator, "the ward's board");
  const THold<TWardBoard> hospital = TWardBoard::Make(narrator, "the hospital's board");
  if (!patient) return narrator.Answer("(there is no patient 8)");
  WARD_ANSWER(narrator, patient->AddRef(ward.Get()));
  WARD_ANSWER(narrator, patient->AddRef(hospital.Get()));
  TellRetainers(narrator, patient.Get());
  narrator.Say("Somebody who does not hold the object cannot release it: a warning, no more.");
  WARD_ASK(narrator, patient->Release(Application());)
  narrator.Message(aiLastBoMessageText());
  WARD_ANSWER(narrator, patient->RefCount());

  narrator.Scene("A notification");
  narrator.Say(
      "What happens to an object is told to its holders, and on to theirs, each once: the hospital "
      "holds the patient, and the ward as well.");
  WARD_ANSWER(narrator, ward->AddRef(hospital.Get()));
  WARD_ASK(narrator, patient->SetObjectMarkedDeleted(true);)
  WARD_ANSWER(narrator, patient->aiObjectMarkedDeleted());
  narrator.Say("The same again changes nothing, and nobody is told:");
  WARD_ASK(narrator, patient->SetObjectMarkedDeleted(true);)
  WARD_ASK(narrator, ward->Release(hospital.Get());)
  WARD_ASK(narrator, patient->Release(hospital.Get());)
  WARD_ASK(narrator, patient->Release(ward.Get());)
  TellRetainers(narrator, patient.Get());
}

}  // namespace ward

// From the class map to typed values.

#include "AttributeTable.h"
#include "Encounter.h"
#include "Hospital.h"
#include "Patient.h"
#include "Tour.h"
#include "perlayer/corekit/TIQuery.h"
#include "perlayer/drivers/sqlite/TSqliteSession.h"
#include "perlayer/object/THold.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/TPlClassMetaData.h"
#include "perlayer/reclaim/TIPerLayerStatistics.h"

namespace ward {

namespace {

void ClassMapScene(TNarrator& narrator) {
  narrator.Scene("Classes");
  narrator.Say(
      "All SQL stands in class maps, which a database administrator can read and tune. For each "
      "class a provider takes its statement and its attributes from there. This program's own "
      "LoadHospitalClasses reads " +
      MapFile("ward.classmap") + " and makes a provider for each class:");
  WARD_ASK(narrator, LoadHospitalClasses();)
  const TplProviderList* providers = TplProvider::GetProviderList();
  for (int i = 0; i < providers->GetCount(); ++i) {
    TplProvider* provider = providers->GetProvider(i);
    narrator.Answer(Format("%s reads %s \"%s\": table %s.%s, key %s, %d attributes",
                           provider->ClassName(), provider->aiQueryName(), provider->aiCaption(),
                           provider->aiTableOwner(), provider->aiTableName(),
                           provider->GetIDAttrName(), provider->aiMetaData()->AttrCount()));
  }
}

void FetchScene(TNarrator& narrator) {
  narrator.Scene("A row becomes an object");
  WARD_ASK(narrator, THold<TpoPatient> patient(Provider<TplPatient>(), "8");)
  if (!patient) return narrator.Answer("nullptr");
  WARD_ANSWER(narrator, patient->ClassName());
  WARD_ANSWER(narrator, patient->GetTextDescription());
  WARD_ANSWER(narrator, patient->GetGlobalID());
  narrator.Say(
      "Values are kept as text; typed values are made when they are asked for, and no value is "
      "told apart from zero. Labels come from the class map. AGE, DESCRIPTION and FULLNAME are "
      "calculated.");
  WARD_ANSWER(narrator, AttributeTable(patient.Get()));
  WARD_ANSWER(narrator, FormatDateTime("d. mmmm yyyy", patient->GetAttrValueAsDate("BIRTHDATE")));
  WARD_ANSWER(narrator, patient->GetAttrValueAsDate("DEATHDATE") == TplPerObject::kNoDate);
  narrator.Say("A name that the class map does not know is a mistake of the program:");
  narrator.Refused([&] { WARD_ASK(narrator, patient->GetAttrValue("SHOE_SIZE");) });
}

void ConditionScene(TNarrator& narrator) {
  narrator.Scene("An object by a condition");
  narrator.Say("The condition takes the place of the line below \"where\" in the class map.");
  WARD_ASK(narrator, auto patient = THold<TpoPatient>::Where(
                         Provider<TplPatient>(), "LAST='Zulauf375' and CITY='Pittsfield'");)
  narrator.Answer(patient ? patient->GetTextDescription() : "nullptr");
  WARD_ANSWER(narrator, Provider<TplPatient>()->FetchSpecOfLastFetch());
}

int OpenedStatements;

void CountOpening(TObject*, TIPerLayerStatisticsStartTimingType type) {
  if (type == TIPerLayerStatisticsStartTimingType::ttOpen) ++OpenedStatements;
}

}  // namespace

void ObjectScenes(TNarrator& narrator) {
  ClassMapScene(narrator);
  FetchScene(narrator);
  ConditionScene(narrator);
}

void StatementScene(TNarrator& narrator, TSqliteDatabase& database) {
  narrator.Scene("What ran in the database");
  narrator.Say(
      "Class maps are written in Oracle's SQL. The driver says each statement once in the words of "
      "the database at hand, and keeps it prepared.");
  {
    WARD_ASK(narrator, TIQuery* query = nullptr;)
    WARD_ASK(narrator, Provider<TplPatient>()->GetQueryForObject("8", query, false);)
    const TOwned<TIQuery> owner(query);
    WARD_ANSWER(narrator, query->SQLText());
    WARD_ANSWER(narrator, database->Session().Translated(query->Statement()));
  }

  const auto& session = static_cast<const TSqliteSession&>(database->Session());
  const std::size_t keptBefore = session.KeptStatements();
  OpenedStatements = 0;
  PerLayerStatistics()->aiOnStartTransfer(TIPerLayerStatisticsStartEvent::Bind<CountOpening>());
  int objects = 0;
  WARD_ASK(
      narrator, for (int id = 1; id <= 27; ++id) {
        if (THold<TpoPatient>(Provider<TplPatient>(), IntToStr(id))) ++objects;
      })
  PerLayerStatistics()->aiOnStartTransfer(nullptr);
  narrator.Answer(Format("%d objects: %d openings, %d statements prepared anew", objects,
                         OpenedStatements, session.KeptStatements() - keptBefore));
}

}  // namespace ward

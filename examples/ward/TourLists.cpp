// Lists: filtered, ordered, and saved.

#include "Listing.h"
#include "Patient.h"
#include "Sql.h"
#include "TourSharing.h"
#include "perlayer/database/TplDatabaseProvider.h"

namespace ward {

void FilterAndOrderScene(TNarrator& narrator) {
  narrator.Scene("Filters and orders");
  narrator.Say(
      "A list is filtered and ordered in memory. A filter hides objects, and keeps them. \"-\" "
      "turns "
      "a term of the order round, \"@\" takes the text of the code instead of the code: moški "
      "(male) stands before ženski (female).");
  WARD_ASK(narrator, auto patients = FetchedList(Provider<TplPatient>(), "1=1");)
  WARD_ASK(narrator,
           patients->aiListFilter(
               "(BIRTHDATE < TO_DATE('1.1.1990', 'DD.MM.YYYY')) AND (DEATHDATE IS NULL)");)
  WARD_ASK(narrator, patients->OrderBy("-CITY,LAST");)
  WARD_ANSWER(narrator, patients->CountWithFilter());
  WARD_ANSWER(narrator, ListTable(patients.Get(), {"LAST", "FIRST", "BIRTHDATE", "CITY", "@SEX"}));
  WARD_ASK(narrator, patients->OrderBy("@SEX,-BIRTHDATE");)
  WARD_ANSWER(narrator, ListTable(patients.Get(), {"@SEX", "SEX", "BIRTHDATE", "LAST", "FIRST"}));
  narrator.Say("A filter that is none is refused when it is looked through:");
  narrator.Refused([&] {
    WARD_ASK(narrator, patients->aiListFilter("(CITY = 'Boston' AND");)
    WARD_ASK(narrator, patients->CountWithFilter();)
  });
}

void SaveListScene(TNarrator& narrator, TSqliteDatabase& database) {
  narrator.Scene("A list, saved");
  narrator.Say(
      "Saving a list saves its members one by one. One that is not valid keeps nobody else from "
      "being saved; at the end its messages are told. (The transaction around it is rolled back.)");
  WARD_ASK(narrator, auto patients = FetchedList(Provider<TplPatient>(), "ID<=3");)
  WARD_ASK(
      narrator, for (TplPerObject* each
                     : *patients) { each->SetAttrValue("KIN", "(prazno)"); })
  WARD_ASK(narrator, patients->Get(1)->SetAttrValue("LAST", "");)
  WARD_ASK(narrator, dbProvider()->StartTransaction("tour");)
  narrator.Refused([&] { WARD_ASK(narrator, patients->SaveObjects(false);) });
  const std::string select =
      "select P.ID, P.LAST, C.KIN from OMRA.PATIENT P, OMRA.PATIENT_CONTACT C\n"
      "where C.ID = P.ID and P.ID <= 3 order by P.ID";
  narrator.Ask(select);
  narrator.Answer(TSqlStatement(database, select, {}).Run(TNarrator::kTableWidth));
  WARD_ASK(narrator, dbProvider()->Rollback("tour");)
  WARD_ASK(narrator, patients->CancelObjects();)
  WARD_ANSWER(narrator, patients->GetModified());
}

}  // namespace ward

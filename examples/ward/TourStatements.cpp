// Class maps that are checked, and statements that are run by hand.

#include "Check.h"
#include "Hospital.h"
#include "Sql.h"
#include "Tour.h"
#include "perlayer/provider/TcmpClassMap.h"

namespace ward {

void BrokenMapScene(TNarrator& narrator) {
  narrator.Scene("A class map with a slip in it");
  narrator.Say("The message names the file and the line, and nothing of the map is used.");
  narrator.Refused([&] { WARD_ASK(narrator, LoadClassMap(MapFile("broken.classmap"));) });
}

void CheckScene(TNarrator& narrator, TSqliteDatabase& database) {
  narrator.Scene("Class maps, checked");
  narrator.Say(
      "The layer changes statements by their lines and keywords, so a map has rules beyond those "
      "of "
      "its form. A checker tells where one is broken, and what is not there in the database.");
  WARD_ANSWER(narrator, CheckMap(MapFile("broken.classmap"), database).lines);
  WARD_ANSWER(narrator, CheckMap(MapFile("ward.classmap"), database).lines);
}

void SqlScene(TNarrator& narrator, TSqliteDatabase& database) {
  narrator.Scene("A statement by hand");
  narrator.Say(
      "`ward sql` says a statement in the words of the database and runs it. Here, the kinds of "
      "encounter since a day, and what they cost:");
  const std::string kinds =
      "select ENCOUNTERCLASS KIND, count(*) ENCOUNTERS, max(STARTED) LATEST,\n"
      "  round(avg((STOPPED - STARTED) * 24), 1) HOURS,\n"
      "  round(sum(TOTAL_COST), 0) COST, round(sum(nvl(COVERAGE, 0)), 0) COVERED\n"
      "from OMRA.ENCOUNTER\n"
      "where STARTED >= :DAY\n"
      "group by ENCOUNTERCLASS\n"
      "order by COST desc";
  narrator.Answer(kinds);
  WARD_ASK(narrator, TSqlStatement statement(database, kinds, {{"DAY", "1.1.2000"}});)
  WARD_ANSWER(narrator, statement.Ran());
  WARD_ANSWER(narrator, statement.Run(TNarrator::kTableWidth));
  narrator.Say(
      "Class maps may be written in a dialect that the database does not speak. Here, who has been "
      "in hospital most often; (+) keeps those who never were:");
  const std::string stays =
      "select * from (\n"
      "select P.FIRST || ' ' || P.LAST PATIENT,\n"
      "  decode(P.SEX, 'F', 'female', 'M', 'male', '?') SEX,\n"
      "  count(E.ID) STAYS, nvl(to_char(max(E.STARTED), 'YYYY'), 'never') LATEST\n"
      "from OMRA.PATIENT P, OMRA.ENCOUNTER E\n"
      "where E.PATIENT_ID(+) = P.ID\n"
      "  and E.ENCOUNTERCLASS(+) = 'inpatient'\n"
      "group by P.ID, P.FIRST, P.LAST, P.SEX\n"
      "order by STAYS desc, PATIENT) where rownum <= 4";
  narrator.Answer(stays);
  WARD_ASK(narrator, TSqlStatement often(database, stays, {});)
  WARD_ANSWER(narrator, often.Ran());
  WARD_ANSWER(narrator, often.Run(TNarrator::kTableWidth));
  narrator.Say("What cannot be said is refused, with its place. (AGE is computed by the class.)");
  narrator.Refused([&] {
    WARD_ASK(narrator, TSqlStatement(database, "select LAST, AGE from OMRA.PATIENT", {});)
  });
}

}  // namespace ward

// The ward's commands that list objects and tell who holds one.

#include "ward/WardFixture.h"

namespace perlayer {

namespace {

class WardList : public Ward {
 protected:
  void SetUp() override { Load(); }

  TProgramRun Do(std::vector<std::string> words) {
    words.insert(words.end(), {"--db", File});
    return Run(words);
  }
  // The rows of the table that a list has printed, without titles and what stands behind them.
  static std::string RowsOf(const TProgramRun& run) {
    std::vector<std::string> lines = SplitText(run.output, "\n");
    std::string rows;
    for (std::size_t i = 2; i < lines.size() && !lines[i].empty(); ++i) {
      rows += std::string(Trim(lines[i])) + "\n";
    }
    return rows;
  }
};

// What memory filters and orders is what the database would have.
TEST_F(WardList, ListsWhatTheFilterLeavesInTheOrderThatIsAsked) {
  struct TCase {
    std::vector<std::string> words;
    const char* select;
  };
  const TCase kCases[] = {
      {{"list", "encounters", "--filter", "ENCOUNTERCLASS = 'inpatient'", "--order", "-STARTED",
        "--columns", "id"},
       "select ID from OMRA.ENCOUNTER where ENCOUNTERCLASS = 'inpatient' order by STARTED desc"},
      {{"list", "patient", "--filter",
        "(BIRTHDATE < TO_DATE('1.1.1990', 'D')) AND (DEATHDATE IS NULL)", "--order",
        "@SEX,-BIRTHDATE", "--columns", "@SEX,LAST"},
       "select rpad(decode(SEX, 'M', 'moški', 'ženski'), 8) || LAST from OMRA.PATIENT "
       "where BIRTHDATE < date '1990-01-01' and DEATHDATE is null "
       "order by decode(SEX, 'M', 1, 2), BIRTHDATE desc"},
      {{"list", "medications", "--filter", "(TOTAL_COST > 1000) AND (NAME LIKE '%tablet%')",
        "--order", "PATIENT_ID,-ID", "--columns", "ID"},
       "select ID from OMRA.MEDICATION where TOTAL_COST > 1000 and upper(NAME) like '%TABLET%' "
       "order by PATIENT_ID, ID desc"},
  };
  for (const TCase& each : kCases) {
    const TProgramRun run = Do(each.words);
    EXPECT_EQ(run.status, 0) << run.output;
    EXPECT_EQ(RowsOf(run), Select(each.select));
    EXPECT_NE(RowsOf(run), "");
  }
  const TProgramRun patients = Do({"list", "patients"});
  ExpectInOrder(patients.output,
                {"ID  LAST ", "FIRST ", "BIRTHDATE ", "AGE  @SEX    CITY\n", "\n 8  Ankunding277",
                 "19.02.1988", "ženski  Weymouth\n", "\n\n27 patients\n"});
  ExpectInOrder(Do({"list", "patients", "--filter", "ID < 4"}).output, {"\n\n3 of 27 patients\n"});
  ExpectInOrder(Do({"list", "patients", "--filter", "ID < 0"}).output, {"\n\n0 of 27 patients\n"});
  ExpectInOrder(Do({"list", "discharges"}).output, {"\n\nno discharges\n"});
  // What only some of the objects have.
  ExpectInOrder(Do({"list", "encounters", "--columns", "ID,HOSPITAL", "--order", "ID"}).output,
                {"\n 59\n", " 60  BRIGHAM"});
  // Deactivated ones are not listed.
  Change("update OMRA.PATIENT set ACTIVE = '0' where ID = 4", 1);
  ExpectInOrder(Do({"list", "patients"}).output, {"\n\n26 patients\n"});
}

TEST_F(WardList, RefusesWhatItCannotList) {
  ExpectRefused(Do({"list"}), "expected `list KIND`, found no kind");
  ExpectRefused(Do({"list", "nurses"}), "\"nurse\"");
  ExpectRefused(Do({"list", "patients", "8"}), "`list` takes no argument \"8\"");
  ExpectRefused(Do({"list", "patients", "--columns", "LAST,SHOE"}), "no attribute \"SHOE\"");
  ExpectRefused(Do({"list", "patients", "--order", "SHOE"}), "SHOE");
  ExpectRefused(Do({"show", "patient", "8", "--order", "LAST"}), "`show` takes no --order");
  for (const char* filter : {"(CITY = 'Boston') AND", "SHOE = 3", "LAST = 'x"}) {
    const TProgramRun run = Do({"list", "patients", "--filter", filter});
    EXPECT_EQ(run.status, 1);
    ExpectInOrder(run.output, {"ward: Napačen filter: ", filter, "\n  = Wrong filter: "});
  }
  ExpectInOrder(Do({"list", "patients", "--filter", "(CITY = 'Boston'"}).output,
                {"(details: character 17: expected \")\", found the end of the filter)\n"});
}

TEST_F(WardList, TellsWhoHoldsAPatient) {
  const TProgramRun who = Do({"who", "patient", "8"});
  EXPECT_EQ(who.status, 0) << who.output;
  const std::string encounters = Select("select count(*) from OMRA.ENCOUNTER where PATIENT_ID = 8");
  ExpectInOrder(who.output, {"TpoPatient: Romona686 Ankunding277", "TScopeRetainer", "ward::",
                             "TpoEncounter", "ward::TpoEncounter::Patient\n", "references\n"});
  EXPECT_EQ(std::to_string(SplitText(who.output, "\nTpoEncounter").size() +
                           SplitText(who.output, "\nTpoStay").size() - 2) +
                "\n",
            encounters);
  ExpectRefused(Do({"who", "patient", "4711"}), "there is no patient 4711");
  ExpectRefused(Do({"who", "nurse", "8"}), "expected `who patient ID`");
}

}  // namespace

}  // namespace perlayer

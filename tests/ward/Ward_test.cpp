// The ward: its tour, and the commands that read.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "perlayer/corekit/TIQuery.h"
#include "perlayer/corekit/TIUpdateSQL.h"
#include "perlayer/drivers/sqlite/TSqliteDatabase.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/TcmpClassMap.h"
#include "ward/WardFixture.h"

namespace perlayer {

namespace {

TEST_F(Ward, TourTellsWhatTheLayerAnswers) {
  const TProgramRun tour = Run({"tour", "--db", File});
  EXPECT_EQ(tour.status, 0);
  ExpectInOrder(
      tour.output,
      {"OMRA.ORGANIZATION    63",
       "OMRA.CLINICIAN      166",
       "OMRA.PATIENT         27",
       "OMRA.ENCOUNTER      604",
       "OMRA.CONDITION      438",
       "OMRA.MEDICATION     663",
       "TplPatient reads quPatient \"Bolnik\"",
       "Romona686 Ankunding277 (19.02.1988)",
       "LAST         Priimek           string(60)                Ankunding277",
       "datetime           32192  19.02.1988",
       "GetAttrValue Wrong attribute TpoPatient(8) SHOE_SIZE",
       "Lewis216 Zulauf375 (26.11.1949)",
       "from \"OMRA.PATIENT\"",
       "27 objects: 27 openings, 0 statements",
       "1: TWardBoard",
       "Retainer of class TApplication is not in retainer list!",
       "the ward's board hears",
       "the hospital's board hears paMarkedDeleted",
       "TpoEncounter: 20.10.1988 07:50, ambulatory",
       "TpoStay: 13.03.2004 10:50, inpatient",
       "HOSPITAL         Bolnišnica    string(100)",
       "Cannot determine provider at TplEncounter (table: ENCOUNTER",
       "nullptr",
       "edNotExists",
       "Dobil več kot en objekt tipa TpoPatient!",
       "    = More than one object",
       "nullptr",
       "edDeleted",
       "Uporabljen objekt Dewey930 Moen819 (16.07.1977) je neaktiven!",
       "    = The object that was used is inactive!",
       "edExists",
       "broken.classmap:16: expected",
       "broken.classmap: 1 fault",
       "ward.classmap: no faults",
       "quStay can carry a view",
       "STARTED >= to_date(?1)",
       "inpatient            6  07.10.2020 06:18:23",
       "6 rows",
       "LEFT JOIN \"OMRA.ENCOUNTER\" E ON E.PATIENT_ID = P.ID",
       "Caleb651 Pagac496      male",
       "4 rows",
       "line 1, column 14: no such column: AGE",
       "Second act",
       "> patient->GetGID()\n      -1\n",
       "\"31.2.1951\")\n      false\n      Vrednost 31.2.1951 v polju Rojen ni datum.\n"
       "    = The value 31.2.1951 of field Rojen is no date.",
       "\"Q\")\n      false\n      Šifra Q šifranta ZAS",
       "Napake v zapisu",
       "Polje Priimek ne sme biti prazno.",
       "ANAS\n      ----\n         0\n",
       "insert into OMRA.PATIENT\n",
       "insert into OMRA.PATIENT_CONTACT\n",
       "> patient->GetGID()\n      28\n",
       "28  Ana    Novak  12.03.1951  WARD           28  041-123-456",
       "GetAttrOldValue(\"LAST\")\n      Novak\n",
       "preveri datum rojstva.",
       "Ana    Novak  12.03.1891",
       "Shranjevanje je preklicano.",
       "vpiše se smrt, 1.2.2023. Shranim?\n    = A death is recorded, 1.2.2023.",
       "1) Da  2) Ne [2]:",
       "Ana    Novak  01.02.2023",
       "O Patient Update    12  yes   yes\n",
       "\"CITY\", \"Bled\")\n      Objektu Ana Novak",
       "Brisanje ni dovoljeno!",
       "TplPatient nima pravice kreirati objekta!",
       "CityForOthers(stage)\n      (empty)\n",
       "CityForOthers(stage)\n      Celje\n",
       "tour->TplDatabaseProvider.Commit1",
       "Rollback(\"tour\")\n  > patient->GetEditState()\n      posEdit\n",
       "GetAttrValue(\"CITY\")\n      Bled\n",
       "CityForOthers(stage)\n      Celje\n",
       "CityForOthers(stage)\n      Bled\n",
       "Odpust iz bolnišnice         115  (98 bytes)\n",
       "GetAttrValue(\"LETTER\")\n      (empty)\n",
       "GetAttrValue(\"LETTER\")\n      Spoštovani,\n\n      Ana Novak, Bled, odpuščamo",
       "\"PICTURE\", &back)\n      true\n",
       "             ##              ##",
       "03.02.2023: Odpust iz bolnišnice",
       "FOREIGN KEY constraint failed",
       "edExists",
       "edDeleted",
       "Ana    Novak  Bled  0\n",
       "Third act",
       "one.Get() == two.Get()\n      true\n",
       "(statements that were opened: 1)",
       "two->GetAttrValue(\"CITY\")\n      Bled\n",
       "26.01.2024 10:50, outpatient: Encounter for problem",
       "... (24 in all)",
       "encounter->Patient() == patient.Get()\n      true\n",
       "TScopeRetainer ",
       "ward::HoldersScene\n",
       "1 object: CITY='Weymouth'",
       "ward::FetchedList\n",
       "TpoEncounter ",
       "ward::TpoEncounter::Patient\n",
       "moški   M ",
       "ženski  F ",
       "Napačen filter: ",
       "    = Wrong filter: ",
       "Polje Priimek ne sme biti prazno.",
       " 1  Mosciski958  (prazno)\n       2  Schmidt332\n       3  Okuneva707   (prazno)\n",
       "GetModified()\n      false\n",
       "KIN\")\n      Jože Ankunding\n",
       "KIN\")\n      (empty)\n",
       File + ".log"});
  // A listener that is reached on two ways hears once.
  EXPECT_EQ(SplitText(tour.output, "the hospital's board hears paMarkedDeleted").size(), 2u);
  for (const std::string& line : SplitText(tour.output, "\n")) EXPECT_LE(Utf8Length(line), 110u);

  // What the tour changed is rolled back, and what others change is told by the next one.
  const TProgramRun moen = Show("patient", "12");
  EXPECT_EQ(moen.status, 0) << moen.output;
  Change("update OMRA.PATIENT set CITY = 'Škofja Loka', ACTIVE = '1' where ID = 8", 1);
  Change("update OMRA.ENCOUNTER set ENCOUNTERCLASS = 'wellness' where ID = 60", 1);
  Change("insert into OMRA.KODE (LIST, CODE, NAME) values ('ZAS', 'Q', 'drugo')", 1);
  Change("insert into OMRA.USER_RIGHT values ('GUEST', 12)", 1);
  const TProgramRun second = Run({"tour", "--db", File});
  EXPECT_EQ(second.status, 0);
  ExpectInOrder(
      second.output,
      {"OMRA.PATIENT         27", "Kraj              string(40)                Škofja Loka",
       "TpoEncounter: 13.03.2004 10:50, wellness", "\"Q\")\n      true\n",
       "> patient->GetGID()\n      29\n", "O Patient Update    12  yes   yes   yes",
       "\"CITY\", \"Bled\")\n      (it was not refused)", "Brisanje ni dovoljeno!",
       "two->GetAttrValue(\"CITY\")\n      Škofja Loka\n"});
}

TEST_F(Ward, TourWithoutADatabaseLeavesNothingBehind) {
  const std::string before = std::filesystem::current_path();
  std::filesystem::current_path(Dir.Path());
  const TProgramRun tour = RunProgram({"env", "TMPDIR=" + Dir.Path(), PERLAYER_WARD, "tour"});
  std::filesystem::current_path(before);
  EXPECT_EQ(tour.status, 0) << tour.output;
  EXPECT_TRUE(std::filesystem::is_empty(Dir.Path()));
}

TEST_F(Ward, ShowTellsTheRowAsItStandsNow) {
  Load();
  struct TCase {
    const char* kind;
    const char* id;
    std::vector<std::string> lines;
  };
  const TCase kCases[] = {
      {"patient",
       "4",
       {"TpoPatient: Gene733 Mann644 (28.10.1973)", "25.07.1976", "\nAGE ", " 2\n"}},
      {"encounter",
       "60",
       {"TpoStay: ", "Strošek       float            8942.23  8942.23", "Impacted molars",
        "\nHOURS ", " 24.00\n"}},
      {"organization",
       "8",
       {"TpoOrganization: BERKSHIRE MEDICAL CENTER INC - 1, PITTSFIELD",
        "Pošta                string(10)                01201", "-73.26054"}},
      {"clinician",
       "2",
       {"TpoClinician: Víctor493 Noriega353, GENERAL PRACTICE",
        "ORGANIZATION_ID  Ustanova             float                  2  2"}},
      {"condition",
       "1",
       {"TpoCondition: 27.01.2023 to 09.02.2023: Acute viral pharyngitis", "\nDAYS ", " 13\n"}},
      {"condition",
       "2",
       {"TpoCondition: since 09.08.2011: Perennial", "\nSTOPPED ", " Null\n", "\nDAYS ", " 0\n"}},
      {"medication",
       "60",
       {"TpoMedication: 03.01.2011 to 03.01.2012: Simvastatin 10 MG Oral "
        "Tablet, for Hyperlipidemia\n",
        "40546.01525  03.01.2011 00:21:58", "\nDAYS ", " 365\n"}},
  };
  for (const TCase& each : kCases) {
    const TProgramRun run = Show(each.kind, each.id);
    EXPECT_EQ(run.status, 0) << run.output;
    ExpectInOrder(run.output, each.lines);
  }
  Change("update OMRA.PATIENT set FIRST = 'Žiga', EXPENSES = null where ID = 4", 1);
  ExpectInOrder(Show("patient", "4").output, {"TpoPatient: Žiga Mann644", "Stroški"});

  ExpectRefused(Show("patient", "4711"), "there is no patient 4711");
  ExpectRefused(Show("encounter", "8'--"), "there is no encounter 8'--");
  Change("update OMRA.PATIENT set ACTIVE = '0' where ID = 4", 1);
  ExpectRefused(Show("patient", "4"), "patient 4 is deactivated");
}

TEST_F(Ward, SqlTellsBothTextsAndATable) {
  Load();
  struct TCase {
    std::vector<std::string> words;
    int status;
    const char* output;
  };
  // Widths are those on the screen: \xCC\x81 is an accent on the letter before it, the two letters
  // behind are twice as wide as others.
  const TCase kCases[] = {
      {{"select ID, LAST, BIRTHDATE BORN, ZIP,\n"
        "  EXPENSES*0 NIL from OMRA.PATIENT P -- some\n"
        "where ID in (4, :ID) order by ID",
        "id=12"},
       0,
       "written:\n"
       "  select ID, LAST, BIRTHDATE BORN, ZIP,\n"
       "    EXPENSES*0 NIL from OMRA.PATIENT P -- some\n"
       "  where ID in (4, :ID) order by ID\n"
       "\nran:\n"
       "  select ID, LAST, BIRTHDATE BORN, ZIP,\n"
       "    EXPENSES*0 NIL from \"OMRA.PATIENT\" P\n"
       "  where ID in (4, ?1) order by ID NULLS LAST\n"
       "\n"
       "ID  LAST     BORN        ZIP    NIL\n"
       "--  -------  ----------  -----  ---\n"
       " 4  Mann644  28.10.1973  02653    0\n"
       "12  Moen819  16.07.1977           0\n"
       "\n2 rows\n"},
      {{"select :A A, 1 N from dual union all select 'e\xCC\x81\u6F22\u5B57', 10 from dual "
        "union all select 'abcdef', date '2023-01-27' - date '2023-01-28' from dual",
        "A=a\r\nb\tc\x1b[1m"},
       0,
       "A           N\n"
       "---------  --\n"
       "a\u21B5b c\u00B7[1m   1\n"
       "e\xCC\x81\u6F22\u5B57      10\n"
       "abcdef     -1\n"
       "\n3 rows\n"},
      {{"select NAME from OMRA.PATIENT"},
       1,
       "ward: line 1, column 8: no such column: NAME\n"
       "  select NAME from OMRA.PATIENT\n"
       "         ^\n"},
      {{"select 'šš漢' X,\tZIP from\n  OMRA.PATIENT where (ID = 3"},
       1,
       "ward: line 2, column 22: the parenthesis is not closed\n"
       "    OMRA.PATIENT where (ID = 3\n"
       "                       ^\n"},
      {{"select '012345678901234567890123456789012345678901234567890123456789', NAME,"
        " '01234567890123456789012345678901234567890123456789012345678901234567890' from dual"},
       1,
       "ward: line 1, column 72: no such column: NAME\n"
       "  \u2026345678901234567890123456789', NAME, '"
       "012345678901234567890123456789012345678901234567890123456\u2026\n"
       "                                 ^\n"},
      {{"select * from OMRA.PATIENT where ID = :ID or ID = :OTHER", "ID=1"},
       1,
       "ward: parameter :OTHER has no value; write OTHER=VALUE behind the statement\n"},
      {{"select 1 from dual", "ID=1"}, 1, "ward: the statement has no parameter :ID\n"},
      {{"select to_date(:DAY) from dual", "DAY=x"},
       1,
       "ward: a text is no date of the short date format\n"},
  };
  for (const TCase& each : kCases) {
    std::vector<std::string> words = {"sql", "--db", File};
    words.insert(words.end(), each.words.begin(), each.words.end());
    const TProgramRun run = Run(words);
    EXPECT_EQ(run.status, each.status) << run.output;
    EXPECT_TRUE(run.output.ends_with(each.output)) << run.output << "\nexpected\n" << each.output;
  }

  // Long texts give way, dates and numbers do not.
  const TProgramRun wide = Run({"sql", "select * from OMRA.MEDICATION where ID < 9", "--db", File});
  ExpectInOrder(wide.output, {" 27.09.2009 14:12:44   ", "\u2026", " 59932.56 ", "8 rows"});
}

TEST_F(Ward, SqlKeepsAChangeOnlyWhenAsked) {
  Load();
  const auto sql = [&](std::vector<std::string> words) {
    words.insert(words.begin(), {"sql", "--db", File, "update OMRA.PATIENT set CITY = :CITY"});
    return Run(words).output;
  };
  EXPECT_TRUE(sql({"CITY=Bled"})
                  .ends_with("\n27 rows changed\nrolled back: nothing stays changed; "
                             "--commit keeps it\n"));
  EXPECT_FALSE(StringInSet("Bled", Show("patient", "8").output));
  EXPECT_TRUE(sql({"CITY=Bled", "--commit"}).ends_with("\n27 rows changed\ncommitted\n"));
  EXPECT_TRUE(StringInSet("Bled", Show("patient", "8").output));
}

TEST_F(Ward, CheckFindsFaultsAndCountsRows) {
  Load();
  Change("delete from OMRA.CONDITION where ID > 400", 38);
  const TProgramRun sound = Run({"check", "--db", File});
  EXPECT_EQ(sound.status, 0) << sound.output;
  ExpectInOrder(sound.output, {"ward.classmap: no faults, ", "\n" + File + ":\n",
                               "OMRA.PATIENT         27\n", "OMRA.CONDITION      400\n"});

  // Every query can be browsed.
  EXPECT_EQ(SplitText(sound.output, "can carry a view").size(), 9u) << sound.output;

  const std::string maps = PERLAYER_WARD_DIR "/maps/";
  const TProgramRun faulty =
      Run({"check", maps + "broken.classmap", maps + "ward.classmap", "--db", File});
  EXPECT_EQ(faulty.status, 1);
  ExpectInOrder(faulty.output, {"broken.classmap: 1 fault", "  16  fault ", "strnig",
                                "ward.classmap: no faults", "OMRA.CONDITION      400\n"});
  Change("alter table OMRA.CONDITION rename column CODE to ICD", 0);
  const TProgramRun renamed = Run({"check", Dir.File("none.classmap"), "--db", File});
  EXPECT_EQ(renamed.status, 1);
  ExpectInOrder(renamed.output, {"none.classmap: 1 fault", "\n      fault  expected a file"});
  const TProgramRun without = Run({"check", "--db", File});
  EXPECT_EQ(without.status, 1);
  ExpectInOrder(without.output, {"ward.classmap: ", " faults", " fault ", "CODE"});
}

TEST_F(Ward, RefusesCommandLinesThatItDoesNotKnow) {
  EXPECT_EQ(Run({"--help"}).status, 0);
  EXPECT_EQ(Run({"tour", "-h"}).output, Run({"--help"}).output);
  ExpectRefused(Run({}), "expected a command");
  ExpectRefused(Run({"dance"}), "\"dance\"");
  ExpectRefused(Run({"tour", "8"}), "\"8\"");
  ExpectRefused(Run({"--fast", "tour"}), "\"--fast\"");
  ExpectRefused(Run({"show"}), "show KIND ID");
  ExpectRefused(Run({"show", "patient"}), "show patient 17");
  ExpectRefused(Run({"show", "nurse", "8"}), "\"nurse\"");
  ExpectRefused(Run({"show", "patient", "8", "--data", Dir.Path()}), "--data");
  ExpectRefused(Run({"load", "--commit"}), "--commit");
  ExpectRefused(Run({"sql", " "}), "expected a statement");
  ExpectRefused(Run({"sql", "select 1 from dual", "ID"}), "NAME=VALUE behind the statement, found");
  ExpectRefused(Run({"load", "--db"}), "--db needs a value");
  ExpectRefused(Run({"load", "--db", File, "--db", File}), "--db is given twice");
}

TEST_F(Ward, RefusesFilesThatCannotBeItsDatabase) {
  ExpectRefused(Show("patient", "8"), File + ": there is no such file; load the hospital first");
  EXPECT_FALSE(std::filesystem::exists(File));
  Dir.Write("ward.db", "");
  ExpectRefused(Show("patient", "8"), File + ": the tables of the ward are not there");
  Load();
  ExpectRefused(Run({"load", "--db", File}), File + ": the ward is loaded already");
  EXPECT_EQ(Show("patient", "8").status, 0);

  const std::string letter = Dir.Write("letter.txt", "Dear colleague, here is no database.\n");
  ExpectRefused(Run({"show", "patient", "8", "--db", letter}), letter + ": file is not a database");
  ExpectRefused(Run({"load", "--db", letter}), letter + ": file is not a database");
  // Neither of these can be written to, not even by root.
  for (const std::string place : {"/proc/ward.db", "/nowhere/ward.db"}) {
    ExpectRefused(Run({"load", "--db", place}), place + ": unable to open database file");
  }
  const TProgramRun full = RunProgram({"sh", "-c", "'" PERLAYER_WARD "' --help > /dev/full"});
  ExpectRefused(full, "the output cannot be written");
}

// One mistake in one of the sample's files. `line` is the line that is replaced, from 1; 0 appends.
struct TCsvMistake {
  const char* file;
  std::size_t line;
  const char* text;
  const char* message;
};

TEST_F(Ward, AMistakeInTheDataLeavesNoDatabase) {
#define PATIENT_AND_ENCOUNTER \
  ",,9d188916-8390-282b-3ec2-73fce6e08649,fa5e3e1f-217f-f8ce-a479-ed569c6599df,1,Cough"
  static constexpr TCsvMistake kMistakes[] = {
      {"medications.csv", 0, "2009-09-27,,9d188916", "medications.csv:665: expected 13 columns"},
      {"conditions.csv", 0, "2011-08-09,,,,,,", "conditions.csv:440: expected 6 columns"},
      {"conditions.csv", 3, "2011-08-09,,\"9d188916,a,b,c", "conditions.csv:3: the quote"},
      {"conditions.csv", 3, "2011-08-09,,9d\"188916,a,b,c", "conditions.csv:3: a quote"},
      {"conditions.csv", 3, "2011-08-09,,\"9d\"188916,a,b,c", "conditions.csv:3: expected a comma"},
      {"conditions.csv", 1, "START,STOP,PATIENT,ENCOUNTER,CODE,COLOUR",
       "conditions.csv:1: expected a column \"DESCRIPTION\""},
      {"conditions.csv", 0, "2011-02-30" PATIENT_AND_ENCOUNTER, "conditions.csv:440: START: "},
      {"conditions.csv", 0, PATIENT_AND_ENCOUNTER, "conditions.csv:440: START: expected a value"},
      {"conditions.csv", 0, "2011-02-03,,somebody,fa5e3e1f-217f-f8ce-a479-ed569c6599df,1,Cough",
       "conditions.csv:440: PATIENT: \"somebody\" is no row of table PATIENT"},
      {"conditions.csv", 3, "2011-08-09,,a,b,c,\xE8", "conditions.csv:3: expected UTF-8 text"},
      {"organizations.csv", 3, "1,N,A,C,MA,02703,north,-71.2,5,0,4", "organizations.csv:3: LAT: "},
      {"organizations.csv", 3, "5e765f2b-e908-3888-9fc7-df2cb87beb58,N,A,C,MA,0,41,-71,5,0,4",
       "organizations.csv:3: Id: "},
      {"organizations.csv", 3, "1,N,A,C,Massachusetts and farther,0,41,-71,5,0,4",
       "organizations.csv:3: STATE: expected at most 20 characters, found 25"},
  };
  const std::string data = Dir.File("data");
  const std::string source = PERLAYER_WARD_DIR "/data/";
  std::filesystem::copy(source, data);
  for (const TCsvMistake& mistake : kMistakes) {
    std::ifstream in(source + mistake.file, std::ios::binary);
    std::vector<std::string> lines =
        SplitText(std::string{std::istreambuf_iterator<char>(in), {}}, "\n");
    lines[mistake.line == 0 ? lines.size() - 1 : mistake.line - 1] = mistake.text;
    Dir.Write(std::string("data/") + mistake.file, JoinText(lines, "\n"));
    ExpectRefused(Run({"load", "--db", File, "--data", data}), mistake.message);
    for (const char* suffix : {"", "-wal", "-shm", ".log"}) {
      EXPECT_FALSE(std::filesystem::exists(File + suffix)) << suffix;
    }
    std::filesystem::copy(source + mistake.file, data + "/" + mistake.file,
                          std::filesystem::copy_options::overwrite_existing);
  }
  Dir.Write("data/conditions.csv", "START,STOP,PATIENT,ENCOUNTER,CODE,DESCRIPTION,COLOUR\n");
  ExpectRefused(Run({"load", "--db", File, "--data", data}), "csv:1: \"COLOUR\" is no column");
  std::filesystem::remove(data + "/patients.csv");
  ExpectRefused(Run({"load", "--db", File, "--data", data}), "/patients.csv: No such file");
}

TEST_F(Ward, ReadsQuotedFieldsAndBothLineEnds) {
  const std::string data = Dir.File("data");
  std::filesystem::copy(PERLAYER_WARD_DIR "/data/", data);
  for (const auto& file : std::filesystem::directory_iterator(data)) {
    std::ifstream in(file.path(), std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(in), {}};
    Dir.Write("data/" + file.path().filename().string(),
              StringReplaceAll(StringReplaceAll(text, "\n", "\r\n"), "Weymouth",
                               "\"Wey, \"\"Old\"\"\r\nmouth\""));
  }
  const TProgramRun load = Run({"load", "--db", File, "--data", data});
  ASSERT_EQ(load.status, 0) << load.output;
  ExpectInOrder(Show("patient", "8").output,
                {"string(40)                Wey, \"Old\"\u21B5mouth\n", "WARD"});
}

// A failure in the database when five tables are full and the last one is made: a name that its
// index needs is taken.
TEST_F(Ward, AFailureWhileWritingLeavesTheDatabaseAsItWas) {
  {
    TSqliteDatabase database("other", File);
    database.Execute("create table OMRA.MEDICATIONS_OF_OLD (ID NUMBER)");
    database.Execute("create index OMRA.MEDICATION_PATIENT_ID on OMRA.MEDICATIONS_OF_OLD (ID)");
    database->Commit("test");
  }
  const TProgramRun load = Run({"load", "--db", File});
  EXPECT_EQ(load.status, 1);
  EXPECT_TRUE(StringInSet("already exists", load.output)) << load.output;
  TSqliteDatabase database("other", File);
  const TOwned<TIQuery> tables = Make<TIQuery>();
  tables->DatabaseName("other");
  tables->SQLText("select count(*) from SQLITE_MASTER");
  tables->Open();
  EXPECT_EQ(tables->Fields(0)->AsInteger(), 2);
}

// Those that the layer does not run yet among them.
TEST_F(Ward, TheDatabaseUnderstandsEveryStatementOfTheClassMap) {
  Load();
  const TSqliteDatabase database(TcmpClassMap::kDatabaseName, File);
  const TcmpClassMap* map = LoadClassMap(PERLAYER_WARD_DIR "/maps/ward.classmap");
  int statements = 0;
  const auto prepare = [&](const std::string& sql) {
    const TOwned<TIQuery> query = Make<TIQuery>();
    query->DatabaseName(TcmpClassMap::kDatabaseName);
    query->SQLText(sql);
    EXPECT_NO_THROW(query->Prepare()) << sql;
    ++statements;
  };
  for (int i = 0; i < map->ComponentCount(); ++i) {
    if (const auto* query = As<TIQuery>(map->Components(i))) prepare(query->SQLText());
    if (const auto* update = As<TIUpdateSQL>(map->Components(i))) {
      for (int kind = 0; kind < TIUpdateSQL::kStatements; ++kind) prepare(update->Text(kind));
    }
  }
  EXPECT_EQ(statements, 35);
}

// The example of the README is the program that is built here, and it works.
TEST_F(Ward, TheExampleOfTheReadmeRuns) {
  const auto read = [](const std::string& path) {
    std::ifstream file(path);
    return std::string(std::istreambuf_iterator<char>(file), {});
  };
  const std::string root = PERLAYER_TESTS_DIR "/..";
  const std::string example = read(root + "/examples/first/first.cpp");
  ASSERT_FALSE(example.empty());
  EXPECT_TRUE(StringInSet("```cpp\n" + example + "```", read(root + "/README.md")));

  Load();
  const std::string map = PERLAYER_WARD_DIR "/maps/ward.classmap";
  Change("update OMRA.PATIENT set CITY = 'Kranjska Gora' where ID = 3", 1);
  const TProgramRun run = RunProgram({PERLAYER_FIRST, File, map, "3", "Škofja Loka"});
  EXPECT_EQ(run.status, 0);
  EXPECT_TRUE(run.output.starts_with("Jackie93 Okuneva707 of Kranjska Gora\n")) << run.output;
  EXPECT_EQ(run.output.substr(run.output.find('\n') + 1),
            Select("select to_char(STARTED, 'DD.MM.YYYY HH24:MI:SS') || ' ' || NAME "
                   "from OMRA.ENCOUNTER where PATIENT_ID = 3 order by STARTED"));
  ExpectInOrder(Show("patient", "3").output, {"CITY ", "Škofja Loka\n"});
  EXPECT_EQ(RunProgram({PERLAYER_FIRST, File, map, "4711", "Bled"}).status, 1);
}

}  // namespace

}  // namespace perlayer

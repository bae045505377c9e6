// The ward as its users meet it: the program is run, and its output and status are looked at.

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
#include "support/RunProgram.h"
#include "support/TempDir.h"

namespace perlayer {

namespace {

class Ward : public testing::Test {
 protected:
  TProgramRun Run(std::vector<std::string> words) {
    words.insert(words.begin(), PERLAYER_WARD);
    return RunProgram(words);
  }

  void Load() {
    const TProgramRun run = Run({"load", "--db", File});
    ASSERT_EQ(run.status, 0) << run.output;
  }

  TProgramRun Show(const std::string& what, const std::string& id) {
    return Run({"show", what, id, "--db", File});
  }

  // As another program would.
  void Change(const std::string& statement, int rows) {
    TSqliteDatabase database("other", File);
    EXPECT_EQ(database.Execute(statement), rows) << statement;
    database->Commit("test");
  }

  // Status 1 and a message that is one line and holds `message`.
  static void ExpectRefused(const TProgramRun& run, const std::string& message) {
    EXPECT_EQ(run.status, 1) << run.output;
    EXPECT_TRUE(run.output.starts_with("ward: ")) << run.output;
    EXPECT_EQ(run.output.find('\n') + 1, run.output.size()) << run.output;
    EXPECT_TRUE(StringInSet(message, run.output)) << "no \"" << message << "\" in " << run.output;
  }

  TTempDir Dir;
  std::string File = Dir.File("ward.db");
};

// Each of the texts stands in the output, behind the one before it.
void ExpectInOrder(const std::string& output, const std::vector<std::string>& texts) {
  std::size_t at = 0;
  for (const std::string& text : texts) {
    const std::size_t found = output.find(text, at);
    EXPECT_NE(found, std::string::npos) << "no \"" << text << "\" behind\n" << output.substr(0, at);
    if (found != std::string::npos) at = found + text.size();
  }
}

TEST_F(Ward, TourTellsWhatTheLayerAnswers) {
  const TProgramRun tour = Run({"tour", "--db", File});
  EXPECT_EQ(tour.status, 0);
  ExpectInOrder(tour.output, {"OMRA.ORGANIZATION:  63 rows",
                              "OMRA.CLINICIAN:     166 rows",
                              "OMRA.PATIENT:       27 rows",
                              "OMRA.ENCOUNTER:     604 rows",
                              "OMRA.CONDITION:     438 rows",
                              "OMRA.MEDICATION:    663 rows",
                              "TplPatient reads quPatient \"Bolnik\"",
                              "Romona686 Ankunding277 (19.02.1988)",
                              "Priimek           string(60)  Ankunding277",
                              "19.02.1988           Date 32192",
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
                              "Bolnišnica        string(100)",
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
                              File + ".log"});
  // A listener that is reached on two ways hears once.
  EXPECT_EQ(SplitText(tour.output, "the hospital's board hears").size(), 2u);
  for (const std::string& line : SplitText(tour.output, "\n")) EXPECT_LE(Utf8Length(line), 110u);

  // What the tour changed is rolled back, and what others change is told by the next one.
  const TProgramRun moen = Show("patient", "12");
  EXPECT_EQ(moen.status, 0) << moen.output;
  Change("update OMRA.PATIENT set CITY = 'Škofja Loka', ACTIVE = '1' where ID = 8", 1);
  Change("update OMRA.ENCOUNTER set ENCOUNTERCLASS = 'wellness' where ID = 60", 1);
  const TProgramRun second = Run({"tour", "--db", File});
  EXPECT_EQ(second.status, 0);
  ExpectInOrder(second.output, {"CITY            Kraj              string(40)  Škofja Loka",
                                "TpoEncounter: 13.03.2004 10:50, wellness"});
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
  ExpectInOrder(Show("patient", "4").output, {"TpoPatient: Gene733 Mann644 (28.10.1973)",
                                              "Umrl              datetime    25.07.1976",
                                              "AGE             Starost           float       2 "});
  ExpectInOrder(Show("encounter", "60").output,
                {"TpoStay: ", "Strošek           float       8942.23              Float 8942.23",
                 "Impacted molars"});
  Change("update OMRA.PATIENT set FIRST = 'Žiga', EXPENSES = null where ID = 4", 1);
  ExpectInOrder(Show("patient", "4").output, {"TpoPatient: Žiga Mann644", "Stroški"});

  ExpectRefused(Show("patient", "4711"), "there is no patient 4711");
  ExpectRefused(Show("encounter", "8'--"), "there is no encounter 8'--");
  Change("update OMRA.PATIENT set ACTIVE = '0' where ID = 4", 1);
  ExpectRefused(Show("patient", "4"), "patient 4 is deactivated");
}

TEST_F(Ward, RefusesCommandLinesThatItDoesNotKnow) {
  EXPECT_EQ(Run({"--help"}).status, 0);
  EXPECT_EQ(Run({"tour", "-h"}).output, Run({"--help"}).output);
  ExpectRefused(Run({}), "expected a command");
  ExpectRefused(Run({"dance"}), "\"dance\"");
  ExpectRefused(Run({"tour", "8"}), "\"8\"");
  ExpectRefused(Run({"--fast", "tour"}), "\"--fast\"");
  ExpectRefused(Run({"show", "patient"}), "show patient ID");
  ExpectRefused(Run({"show", "nurse", "8"}), "\"nurse\"");
  ExpectRefused(Run({"show", "patient", "8", "--data", Dir.Path()}), "--data");
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
  ExpectRefused(Run({"load", "--db", File, "--data", data}), "patients.csv: expected a file");
}

TEST_F(Ward, ReadsQuotedFieldsAndBothLineEnds) {
  const std::string data = Dir.File("data");
  std::filesystem::copy(PERLAYER_WARD_DIR "/data/", data);
  for (const auto& file : std::filesystem::directory_iterator(data)) {
    std::ifstream in(file.path(), std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(in), {}};
    Dir.Write("data/" + file.path().filename().string(),
              StringReplaceAll(StringReplaceAll(text, "Weymouth", "\"Wey, \"\"Old\"\"\r\nmouth\""),
                               "\n", "\r\n"));
  }
  const TProgramRun load = Run({"load", "--db", File, "--data", data});
  ASSERT_EQ(load.status, 0) << load.output;
  ExpectInOrder(Show("patient", "8").output, {"string(40)  Wey, \"Old\"", "mouth", "WARD"});
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
  EXPECT_EQ(statements, 12);
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
  const TProgramRun run = RunProgram({PERLAYER_FIRST, File, map, "3"});
  EXPECT_EQ(run.status, 0);
  ExpectInOrder(run.output, {"LAST         Okuneva707", "CITY         Kranjska Gora",
                             "Jackie93 Okuneva707 is held by 1 retainer(s)."});
  EXPECT_EQ(RunProgram({PERLAYER_FIRST, File, map, "4711"}).status, 1);
}

}  // namespace

}  // namespace perlayer

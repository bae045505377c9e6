#include "Tour.h"

#include <filesystem>

#include "Load.h"
#include "perlayer/corekit/ILog.h"
#include "perlayer/platform/Files.h"
#include "perlayer/platform/Format.h"

namespace ward {

namespace {

void LoadScene(TNarrator& narrator, const std::string& databaseFile,
               const std::string& dataDirectory) {
  narrator.Scene("A database");
  if (std::filesystem::exists(databaseFile)) {
    const TSqliteDatabase there = OpenWard(databaseFile);
    narrator.Say(Format("%s holds a ward already: it is used as it is.", databaseFile));
  } else {
    narrator.Say(
        "Six CSV files become six tables, in one transaction: after a mistake in any of their "
        "lines "
        "nothing would be there. Every row gets a numeric key.");
    narrator.Ask(Format("LoadHospital(\"%s\", \"%s\")", databaseFile, dataDirectory));
    LoadHospital(databaseFile, dataDirectory);
  }
}

void ContentsOf(TNarrator& narrator, TSqliteDatabase& database) {
  narrator.Say("The layer finds the database by the name that its class maps use.");
  WARD_ANSWER(narrator, FindDatabase("_QOR")->DatabaseName());
  WARD_ANSWER(narrator, RowCounts(database));
}

void LogScene(TNarrator& narrator) {
  narrator.Scene("The log");
  narrator.Say(
      "What the layer says to users and administrators also stands in its log, with the button "
      "that "
      "answered for the user who was not there.");
  ILogBuffer();
  WARD_ANSWER(narrator, ILogFileName());
  narrator.Message(ReadFile(ILogFileName()));
}

}  // namespace

void Tour(const std::string& databaseFile, const std::string& dataDirectory, bool isScratch) {
  TNarrator narrator;
  narrator.Title("A tour of the ward");
  narrator.Say(
      "This is a small hospital on a database, and between the two the layer: it turns rows into "
      "objects.\nBehind \">\" stands what the program asks, below it what the layer answered. The "
      "layer speaks Slovene to its users; \"=\" says it in English.");
  narrator.Act("First act: rows become objects");
  LoadScene(narrator, databaseFile, dataDirectory);
  TSqliteDatabase database = OpenWard(databaseFile);
  ContentsOf(narrator, database);
  ObjectScenes(narrator);
  StatementScene(narrator, database);
  RetainerScenes(narrator);
  SubclassScene(narrator, database);
  MissingRowScenes(narrator);
  DeactivatedScene(narrator, database);
  BrokenMapScene(narrator);
  CheckScene(narrator, database);
  SqlScene(narrator, database);
  WritingAct(narrator, database, databaseFile);
  SharingAct(narrator, database, databaseFile);
  LogScene(narrator);
  narrator.Say(isScratch
                   ? "\nThat was the tour. Its database and log go now; `ward tour --db FILE` "
                     "keeps them."
                   : Format("\nThat was the tour. Its database is %s.", databaseFile));
  narrator.Say("The program's text is in " PERLAYER_WARD_DIR ".");
}

}  // namespace ward

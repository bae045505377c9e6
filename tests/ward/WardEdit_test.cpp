// The ward's commands that write.

#include "ward/WardFixture.h"

namespace perlayer {

namespace {

class WardEdit : public Ward {
 protected:
  void SetUp() override { Load(); }

  TProgramRun Do(std::vector<std::string> words) {
    words.insert(words.end(), {"--db", File});
    return Run(words);
  }
  // All that the commands may write.
  std::string Rows() {
    return Select(
               "select ID || LAST || BIRTHDATE || DEATHDATE || CITY || MARITAL || ACTIVE || "
               "USER_IPL "
               "from OMRA.PATIENT order by ID") +
           Select("select ID || PHONE || KIN from OMRA.PATIENT_CONTACT order by ID") +
           Select("select count(*) from OMRA.ENCOUNTER");
  }
};

TEST_F(WardEdit, WritesAndTellsWhatStandsInTheDatabaseNow) {
  Change("update OMRA.PATIENT set DATUMIPL = date '2020-01-31', USER_IPL = 'X' where ID = 8", 1);
  const TProgramRun edit =
      Do({"edit", "patient", "8", "city=Šmarje = Sap", "PHONE=041-123-456", "--user", "DESK"});
  EXPECT_EQ(edit.status, 0);
  ExpectInOrder(edit.output, {"patient 8: Romona686 Ankunding277 (19.02.1988)\n\n",
                              "CITY       Kraj         Weymouth    Šmarje = Sap\n",
                              "PHONE      Telefon                  041-123-456\n",
                              "DATUMIPL   Spremenjeno  31.01.2020  ",
                              "USER_IPL   Spremenil    X           DESK\n"});
  EXPECT_EQ(Select("select P.CITY || C.PHONE from OMRA.PATIENT P, OMRA.PATIENT_CONTACT C "
                   "where P.ID = 8 and C.ID = 8"),
            "Šmarje = Sap041-123-456\n");
  // Values that are there already are not written; an empty one is NULL.
  ExpectInOrder(Do({"edit", "patient", "8", "CITY=Šmarje = Sap"}).output, {"nothing was written"});
  EXPECT_EQ(Select("select USER_IPL from OMRA.PATIENT where ID = 8"), "DESK\n");
  EXPECT_EQ(Do({"edit", "patient", "8", "CITY="}).status, 0);
  EXPECT_EQ(Select("select count(*) from OMRA.PATIENT where CITY is null"), "1\n");

  const TProgramRun warned = Do({"edit", "patient", "8", "BIRTHDATE=1.1.1880"});
  EXPECT_EQ(warned.status, 0);
  ExpectInOrder(warned.output, {"warning:\nNapake v zapisu", "star 14", "= The patient would be 14",
                                "BIRTHDATE  Rojen ", "19.02.1988 ", "01.01.1880\n"});

  const TProgramRun made = Do({"new", "patient", "LAST=Novak", "FIRST=Ana", "BIRTHDATE=12.3.1951",
                               "KIN=Jože Novak", "MARITAL=S"});
  EXPECT_EQ(made.status, 0);
  ExpectInOrder(made.output, {"patient 28: Ana Novak (12.03.1951)\n", "\nID ", " 28\n", "Svojci",
                              "Jože Novak\n", "\nACTIVE ", " 1\n", " WARD\n"});
  const TProgramRun gone = Do({"delete", "patient", "28"});
  ExpectInOrder(gone.output, {"patient 28: Ana Novak (12.03.1951)\nIt is deactivated"});
  EXPECT_EQ(Select("select ACTIVE from OMRA.PATIENT where ID = 28"), "0\n");
  ExpectRefused(Do({"delete", "patient", "28"}), "patient 28 is deactivated");

  // A letter is a CLOB, which stands apart from the row's other values.
  ExpectInOrder(Do({"new", "discharge", "PATIENT_ID=8", "WRITTEN=3.2.2023", "SUBJECT=Odpust",
                    "LETTER=Spoštovani,\nzdravi ste."})
                    .output,
                {"discharge 1: 03.02.2023: Odpust\n", "Spoštovani,\u21B5zdravi ste.\n"});
  ExpectInOrder(
      Do({"edit", "discharge", "1", "SUBJECT=Ponovni odpust"}).output,
      {"SUBJECT    Zadeva ", " Odpust ", " Ponovni odpust\n"});  // wider if DATUMIPL changes
  EXPECT_EQ(Select("select LETTER from OMRA.DISCHARGE"), "Spoštovani,\nzdravi ste.\n");
  ExpectInOrder(Do({"edit", "discharge", "1", "LETTER="}).output,
                {"LETTER     Pismo", "\u21B5zdravi"});
  ExpectInOrder(Show("discharge", "1").output, {"\nLETTER       Pismo        memo\n"});

  Change("update OMRA.MEDICATION set ENCOUNTER_ID = 60 where ENCOUNTER_ID = 59", 2);
  ExpectInOrder(Do({"delete", "encounter", "59"}).output, {"encounter 59: ", "Its row is gone.\n"});
  EXPECT_EQ(Select("select count(*) from OMRA.ENCOUNTER where ID = 59"), "0\n");
}

// What is wrong, and of which object; status 1, and no row has changed.
TEST_F(WardEdit, RefusesAndLeavesTheRowsAsTheyAre) {
  const std::string before = Rows();
  const std::string stays = "ward: patient 8 stays as it was:\n";
  struct TCase {
    std::vector<std::string> words;
    std::string output;
  };
  const TCase kCases[] = {
      {{"edit", "patient", "8", "CITY=Bled", "LAST=", "MARITAL=Q", "SEX=X", "EXPENSES=much",
        "BIRTHDATE=30.2.1951", "ZIP=12345678901"},
       stays + "Napake v zapisu : \n"
               "  = Errors in the record:\n"
               "  Polje Priimek ne sme biti prazno.\n"
               "    = Field Priimek must not be empty.\n"
               "  Šifra Q šifranta ZAS v polju Zakonski stan ne obstaja.\n"
               "    = There is no code Q in code list ZAS, of field Zakonski stan.\n"
               "  Šifra X šifranta SPOL v polju Spol ne obstaja.\n"
               "    = There is no code X in code list SPOL, of field Spol.\n"
               "  Vrednost 30.2.1951 v polju Rojen ni datum.\n"
               "    = The value 30.2.1951 of field Rojen is no date.\n"
               "  Vrednost v polju Pošta je predolga: 11 znakov, dovoljenih je 10.\n"
               "    = The value of field Pošta is too long: 11 characters where 10 may stand.\n"
               "  Vrednost much v polju Stroški ni število.\n"
               "    = The value much of field Stroški is no number.\n"},
      {{"edit", "patient", "8", "MARITAL=U"}, "= The value \"U\" may not be entered in field"},
      {{"edit", "patient", "8", "BIRTHDATE=1.1.2999"}, "= A birth must not lie in the future."},
      {{"edit", "patient", "8", "DEATHDATE=1.1.1900"}, "= Death must not come before birth."},
      {{"edit", "patient", "8", "DEATHDATE=1.1.2020"},
       "Shranim?\n  = A death is recorded, 1.1.2020. Shall it be saved?\n"
       "Shranjevanje je preklicano.\n  = Saving was called off.\n"},
      {{"edit", "patient", "8", "SHOE=44"},
       "has no attribute \"SHOE\" that can be written; it has\n"},
      {{"edit", "patient", "8", "AGE=44"},
       "has no attribute \"AGE\" that can be written; it has\n"},
      {{"edit", "patient", "8", "ID=9"}, "= The value of ID must not be changed."},
      {{"edit", "patient", "8", "CITY=Bled", "--user", "GUEST"},
       "= The values of this object must not be changed: attribute CITY to \"Bled\"."},
      {{"edit", "patient", "8", "CITY=Bled", "--user", "Nobody"},
       "ward: the ward knows no user \"Nobody\"; there are DESK, GUEST, WARD\n"},
      {{"edit", "patient", "4711", "CITY=Bled"}, "ward: there is no patient 4711\n"},
      {{"edit", "patient", "8", "CITY"}, "expected NAME=VALUE behind the ID, found \"CITY\""},
      {{"edit", "patient", "8"}, "expected NAME=VALUE behind the ID, found nothing"},
      {{"edit", "patient", "8", "=Bled"}, "found \"=Bled\""},
      {{"edit", "nurse", "8", "CITY=Bled"}, "\"nurse\""},
      {{"edit", "patient", "8", "CITY=Bled", "--wide"}, "`edit` takes no --wide"},
      {{"show", "patient", "8", "--user", "WARD"}, "`show` takes no --user"},
      {{"new", "patient", "LAST=Novak"},
       "ward: no new patient was saved:\nNapake v zapisu : \n  = Errors in the record:\n"
       "  Polje Ime ne sme biti prazno."},
      {{"new", "patient", "LAST=Novak", "--user", "GUEST"}, "nima pravice kreirati objekta!"},
      {{"new"}, "expected `new KIND`, found no kind"},
      {{"delete", "patient", "8", "--user", "DESK"},
       stays + "Brisanje ni dovoljeno!\n  = Deleting is not allowed.\n"},
      {{"delete", "encounter", "59"},
       "ward: encounter 59 stays as it was:\n" + File + ": FOREIGN KEY constraint failed"},
  };
  for (const TCase& each : kCases) {
    const TProgramRun run = Do(each.words);
    EXPECT_EQ(run.status, 1) << run.output;
    EXPECT_TRUE(StringInSet(each.output, run.output)) << run.output << "\nexpected\n"
                                                      << each.output;
  }
  EXPECT_EQ(Rows(), before);

  // Rights and codes stand in the database, not in the program.
  Change("delete from OMRA.USER_RIGHT where USER_NAME = 'WARD' and CODE = 13", 1);
  Change("insert into OMRA.USER_RIGHT values ('GUEST', 12)", 1);
  Change("update OMRA.KODE set ACTIVE = '0' where LIST = 'ZAS' and CODE = 'S'", 1);
  ExpectInOrder(Do({"delete", "patient", "8"}).output, {"Brisanje ni dovoljeno!"});
  EXPECT_EQ(Do({"edit", "patient", "8", "CITY=Bled", "--user", "GUEST"}).status, 0);
  ExpectInOrder(Do({"edit", "patient", "8", "MARITAL=S"}).output, {"Šifra S"});
}

TEST_F(WardEdit, AsksWhereSomebodyCanAnswer) {
  const auto edit = [&](const std::string& answer) {
    return RunProgram({"sh", "-c",
                       "echo " + answer +
                           " | '" PERLAYER_WARD "' edit patient 8 DEATHDATE=1.1.2020 --ask --db '" +
                           File + "'"});
  };
  const TProgramRun no = edit("Ne");
  EXPECT_EQ(no.status, 1);
  ExpectInOrder(no.output,
                {"Potrditev: Romona686 Ankunding277: vpiše se smrt", "= A death is recorded",
                 "1) Da  2) Ne [2]: ", "= Saving was called off."});
  const TProgramRun yes = edit("Da");
  EXPECT_EQ(yes.status, 0);
  ExpectInOrder(yes.output, {"1) Da  2) Ne [2]: ", "DEATHDATE  Umrl", "01.01.2020"});
}

TEST_F(WardEdit, AFileThatAnotherProgramWritesToIsToldSoon) {
  const std::string before = Rows();
  {
    TSqliteDatabase other("other", File);
    other->StartTransaction("test");
    other.Execute("update OMRA.PATIENT set CITY = 'Bled' where ID = 3");
    const TProgramRun run = Do({"edit", "patient", "8", "CITY=Bled"});
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(StringInSet("ward: patient 8 stays as it was:\n" + File + ": ", run.output) &&
                StringInSet("; another program writes to it, try again\n", run.output))
        << run.output;
    other->Rollback("test");
  }
  EXPECT_EQ(Rows(), before);
  EXPECT_EQ(Do({"edit", "patient", "8", "CITY=Bled"}).status, 0);
}

}  // namespace

}  // namespace perlayer

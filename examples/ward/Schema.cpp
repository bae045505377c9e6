#include "Schema.h"

#include <initializer_list>

#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"

namespace ward {

using namespace perlayer;

namespace {

using TColumns = std::vector<TWardColumn>;

constexpr TWardColumn Text(const char* csv, const char* name, int size) {
  return {csv, name, TColumnKind::text, size};
}
constexpr TWardColumn Text(const char* name, int size) { return Text(name, name, size); }
constexpr TWardColumn Number(const char* csv, const char* name) {
  return {csv, name, TColumnKind::number};
}
constexpr TWardColumn Number(const char* name) { return Number(name, name); }
constexpr TWardColumn Date(const char* csv, const char* name) {
  return {csv, name, TColumnKind::date};
}
constexpr TWardColumn Date(const char* name) { return Date(name, name); }
constexpr TWardColumn Required(TWardColumn column) {
  column.required = true;
  return column;
}
constexpr TWardColumn Reference(const char* csv, const char* name, const char* table) {
  return {csv, name, TColumnKind::reference, 0, true, table};
}

TColumns Together(std::initializer_list<TColumns> groups) {
  TColumns columns;
  for (const TColumns& group : groups) columns.insert(columns.end(), group.begin(), group.end());
  return columns;
}

std::string OwnedName(const char* table) { return Format("OMRA.%s", table); }

std::string Declaration(const TWardColumn& column) {
  const std::string notNull = column.required ? " not null" : "";
  switch (column.kind) {
    case TColumnKind::number:
      return Format("%s NUMBER%s", column.name, notNull);
    case TColumnKind::date:
      return Format("%s DATE%s", column.name, notNull);
    case TColumnKind::uuid:
      return Format("%s VARCHAR2(%d)%s unique", column.name, column.size, notNull);
    case TColumnKind::reference:
      return Format("%s NUMBER%s references %s (ID)", column.name, notNull,
                    OwnedName(column.table));
    case TColumnKind::clob:
      return Format("%s CLOB", column.name);
    case TColumnKind::blob:
      return Format("%s BLOB", column.name);
    case TColumnKind::text:
      break;
  }
  return Format("%s VARCHAR2(%d)%s", column.name, column.size, notNull);
}

}  // namespace

// The people who treat stand in CLINICIAN: a provider is something else in this program. What the
// CSV files call DESCRIPTION is NAME, since every class has an attribute DESCRIPTION already.
const std::vector<TWardTable>& WardTables() {
  // What several tables have.
  static const TColumns kKey = {Required({"Id", "UUID", TColumnKind::uuid, 36})};
  static const TColumns kPlace = {Text("ADDRESS", 60), Text("CITY", 40), Text("STATE", 20),
                                  Text("ZIP", 10),     Number("LAT"),    Number("LON")};
  static const TColumns kPatient = {Reference("PATIENT", "PATIENT_ID", "PATIENT")};
  static const TColumns kEncounter = {Reference("ENCOUNTER", "ENCOUNTER_ID", "ENCOUNTER")};
  static const TColumns kOrganization = {
      Reference("ORGANIZATION", "ORGANIZATION_ID", "ORGANIZATION")};
  static const TColumns kPeriod = {Required(Date("START", "STARTED")), Date("STOP", "STOPPED")};
  static const TColumns kCode = {Text("CODE", 20), Text("DESCRIPTION", "NAME", 200)};
  static const TColumns kReason = {Text("REASONCODE", "REASON_CODE", 20),
                                   Text("REASONDESCRIPTION", "REASON", 200)};

  static const std::vector<TWardTable> kTables = {
      {"organizations.csv", "ORGANIZATION",
       Together({kKey,
                 {Required(Text("NAME", 100))},
                 kPlace,
                 {Text("PHONE", 20), Number("REVENUE"), Number("UTILIZATION")}}),
       "ID,NAME,CITY,STATE,PHONE"},
      {"providers.csv", "CLINICIAN",
       Together({kKey,
                 kOrganization,
                 {Required(Text("NAME", 60)), Text("GENDER", "SEX", 1), Text("SPECIALITY", 60)},
                 kPlace,
                 {Number("UTILIZATION")}}),
       "ID,NAME,SPECIALITY,CITY"},
      {"patients.csv", "PATIENT",
       Together(
           {kKey,
            {Required(Text("LAST", 60)), Required(Text("FIRST", 60)), Text("PREFIX", 10),
             Text("SUFFIX", 10), Text("MAIDEN", 60), Required(Date("BIRTHDATE")), Date("DEATHDATE"),
             Text("GENDER", "SEX", 1), Text("MARITAL", 1), Text("RACE", 20), Text("ETHNICITY", 20),
             Text("BIRTHPLACE", 80), Text("SSN", 11), Text("DRIVERS", 20), Text("PASSPORT", 20)},
            kPlace,
            {Text("COUNTY", 40), Number("HEALTHCARE_EXPENSES", "EXPENSES"),
             Number("HEALTHCARE_COVERAGE", "COVERAGE")}}),
       "ID,LAST,FIRST,BIRTHDATE,AGE,@SEX,CITY"},
      {"encounters.csv", "ENCOUNTER",
       Together({kKey,
                 kPatient,
                 kOrganization,
                 {Reference("PROVIDER", "CLINICIAN_ID", "CLINICIAN"), Text("PAYER", 36),
                  Required(Text("ENCOUNTERCLASS", 20))},
                 kPeriod,
                 kCode,
                 {Number("BASE_ENCOUNTER_COST", "BASE_COST"),
                  Number("TOTAL_CLAIM_COST", "TOTAL_COST"), Number("PAYER_COVERAGE", "COVERAGE")},
                 kReason}),
       "ID,PATIENT_ID,STARTED,ENCOUNTERCLASS,NAME"},
      {"conditions.csv", "CONDITION", Together({kPatient, kEncounter, kPeriod, kCode}),
       "ID,PATIENT_ID,STARTED,STOPPED,NAME"},
      {"medications.csv", "MEDICATION",
       Together({kPatient,
                 kEncounter,
                 kPeriod,
                 {Text("PAYER", 36)},
                 kCode,
                 {Number("BASE_COST"), Number("PAYER_COVERAGE", "COVERAGE"), Number("DISPENSES"),
                  Number("TOTALCOST", "TOTAL_COST")},
                 kReason}),
       "ID,PATIENT_ID,STARTED,STOPPED,NAME"},
      {nullptr, "DISCHARGE",
       Together({kPatient,
                 {Required(Date("", "WRITTEN")),
                  Required(Text("SUBJECT", 100)),
                  {"", "LETTER", TColumnKind::clob},
                  {"", "PICTURE", TColumnKind::blob}}}),
       "ID,PATIENT_ID,WRITTEN,SUBJECT"}};
  return kTables;
}

std::string FullName(const TWardTable& table) { return OwnedName(table.name); }
std::string KindName(const TWardTable& table) { return LowerCase(table.name); }

std::vector<std::string> CreateStatements(const TWardTable& table) {
  const std::string name = FullName(table);
  std::string create = "create table " + name + " (\n  ID NUMBER primary key";
  std::vector<std::string> indexes;
  for (const TWardColumn& column : table.columns) {
    create += ",\n  " + Declaration(column);
    if (column.kind != TColumnKind::reference) continue;
    indexes.push_back(
        Format("create index %s_%s on %s (%s)", name, column.name, name, column.name));
  }
  create +=
      ",\n  ACTIVE VARCHAR2(1) default '1' not null,\n  DATUMIPL DATE,\n  USER_IPL VARCHAR2(30))";
  std::vector<std::string> statements = {create};
  statements.insert(statements.end(), indexes.begin(), indexes.end());
  return statements;
}

std::string InsertStatement(const TWardTable& table) {
  std::string columns = "ID";
  std::string values = ":ID";
  for (const TWardColumn& column : table.columns) {
    columns += Format(", %s", column.name);
    values += Format(", :%s", column.name);
  }
  return Format(
      "insert into %s\n(%s, ACTIVE, DATUMIPL, USER_IPL)\nvalues\n(%s, '1', sysdate, :USER_IPL)",
      FullName(table), columns, values);
}

}  // namespace ward

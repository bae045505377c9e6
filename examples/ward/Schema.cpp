#include "Schema.h"

#include "perlayer/platform/Format.h"

namespace ward {

using namespace perlayer;

namespace {

constexpr bool kRequired = true;
constexpr TColumnKind kText = TColumnKind::text;
constexpr TColumnKind kNumber = TColumnKind::number;
constexpr TColumnKind kDate = TColumnKind::date;
constexpr TWardColumn kUuid = {"Id", "UUID", TColumnKind::uuid, 36, kRequired};

constexpr TWardColumn Reference(const char* csv, const char* name, const char* table) {
  return {csv, name, TColumnKind::reference, 0, kRequired, table};
}

std::string FullName(const std::string& table) { return std::string(kWardOwner) + "." + table; }

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
      return Format("%s NUMBER%s references %s (ID)", column.name, notNull, FullName(column.table));
    case TColumnKind::text:
      break;
  }
  return Format("%s VARCHAR2(%d)%s", column.name, column.size, notNull);
}

}  // namespace

// The people who treat stand in CLINICIAN: a provider is something else in this program. What the
// CSV files call DESCRIPTION is NAME, since every class has an attribute DESCRIPTION already.
const std::vector<TWardTable>& WardTables() {
  static const std::vector<TWardTable> kTables = {
      {"organizations.csv",
       "ORGANIZATION",
       {kUuid,
        {"NAME", "NAME", kText, 100, kRequired},
        {"ADDRESS", "ADDRESS", kText, 60},
        {"CITY", "CITY", kText, 40},
        {"STATE", "STATE", kText, 20},
        {"ZIP", "ZIP", kText, 10},
        {"LAT", "LAT", kNumber},
        {"LON", "LON", kNumber},
        {"PHONE", "PHONE", kText, 20},
        {"REVENUE", "REVENUE", kNumber},
        {"UTILIZATION", "UTILIZATION", kNumber}}},
      {"providers.csv",
       "CLINICIAN",
       {kUuid,
        Reference("ORGANIZATION", "ORGANIZATION_ID", "ORGANIZATION"),
        {"NAME", "NAME", kText, 60, kRequired},
        {"GENDER", "SEX", kText, 1},
        {"SPECIALITY", "SPECIALITY", kText, 60},
        {"ADDRESS", "ADDRESS", kText, 60},
        {"CITY", "CITY", kText, 40},
        {"STATE", "STATE", kText, 20},
        {"ZIP", "ZIP", kText, 10},
        {"LAT", "LAT", kNumber},
        {"LON", "LON", kNumber},
        {"UTILIZATION", "UTILIZATION", kNumber}}},
      {"patients.csv",
       "PATIENT",
       {kUuid,
        {"LAST", "LAST", kText, 60, kRequired},
        {"FIRST", "FIRST", kText, 60, kRequired},
        {"PREFIX", "PREFIX", kText, 10},
        {"SUFFIX", "SUFFIX", kText, 10},
        {"MAIDEN", "MAIDEN", kText, 60},
        {"BIRTHDATE", "BIRTHDATE", kDate, 0, kRequired},
        {"DEATHDATE", "DEATHDATE", kDate},
        {"GENDER", "SEX", kText, 1},
        {"MARITAL", "MARITAL", kText, 1},
        {"RACE", "RACE", kText, 20},
        {"ETHNICITY", "ETHNICITY", kText, 20},
        {"BIRTHPLACE", "BIRTHPLACE", kText, 80},
        {"SSN", "SSN", kText, 11},
        {"DRIVERS", "DRIVERS", kText, 20},
        {"PASSPORT", "PASSPORT", kText, 20},
        {"ADDRESS", "ADDRESS", kText, 60},
        {"CITY", "CITY", kText, 40},
        {"STATE", "STATE", kText, 20},
        {"COUNTY", "COUNTY", kText, 40},
        {"ZIP", "ZIP", kText, 10},
        {"LAT", "LAT", kNumber},
        {"LON", "LON", kNumber},
        {"HEALTHCARE_EXPENSES", "EXPENSES", kNumber},
        {"HEALTHCARE_COVERAGE", "COVERAGE", kNumber}}},
      {"encounters.csv",
       "ENCOUNTER",
       {kUuid,
        Reference("PATIENT", "PATIENT_ID", "PATIENT"),
        Reference("ORGANIZATION", "ORGANIZATION_ID", "ORGANIZATION"),
        Reference("PROVIDER", "CLINICIAN_ID", "CLINICIAN"),
        {"PAYER", "PAYER", kText, 36},
        {"ENCOUNTERCLASS", "ENCOUNTERCLASS", kText, 20, kRequired},
        {"START", "STARTED", kDate, 0, kRequired},
        {"STOP", "STOPPED", kDate},
        {"CODE", "CODE", kText, 20},
        {"DESCRIPTION", "NAME", kText, 200},
        {"BASE_ENCOUNTER_COST", "BASE_COST", kNumber},
        {"TOTAL_CLAIM_COST", "TOTAL_COST", kNumber},
        {"PAYER_COVERAGE", "COVERAGE", kNumber},
        {"REASONCODE", "REASON_CODE", kText, 20},
        {"REASONDESCRIPTION", "REASON", kText, 200}}},
      {"conditions.csv",
       "CONDITION",
       {Reference("PATIENT", "PATIENT_ID", "PATIENT"),
        Reference("ENCOUNTER", "ENCOUNTER_ID", "ENCOUNTER"),
        {"START", "STARTED", kDate, 0, kRequired},
        {"STOP", "STOPPED", kDate},
        {"CODE", "CODE", kText, 20},
        {"DESCRIPTION", "NAME", kText, 200}}},
      {"medications.csv",
       "MEDICATION",
       {Reference("PATIENT", "PATIENT_ID", "PATIENT"),
        Reference("ENCOUNTER", "ENCOUNTER_ID", "ENCOUNTER"),
        {"START", "STARTED", kDate, 0, kRequired},
        {"STOP", "STOPPED", kDate},
        {"PAYER", "PAYER", kText, 36},
        {"CODE", "CODE", kText, 20},
        {"DESCRIPTION", "NAME", kText, 200},
        {"BASE_COST", "BASE_COST", kNumber},
        {"PAYER_COVERAGE", "COVERAGE", kNumber},
        {"DISPENSES", "DISPENSES", kNumber},
        {"TOTALCOST", "TOTAL_COST", kNumber},
        {"REASONCODE", "REASON_CODE", kText, 20},
        {"REASONDESCRIPTION", "REASON", kText, 200}}}};
  return kTables;
}

std::vector<std::string> CreateStatements(const TWardTable& table) {
  const std::string name = FullName(table.name);
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
      FullName(table.name), columns, values);
}

}  // namespace ward

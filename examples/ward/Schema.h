#pragma once
// The tables of the hospital's classes, and where their columns stand in the CSV files. What stands
// beside them (code lists, rights, a second table of patients) is told in Administration.h.
//
// Every table has, besides what is told here, a numeric key ID, ACTIVE ('1', or '0' for a row that
// counts as deleted), DATUMIPL and USER_IPL (when and by whom it was last written).

#include <string>
#include <vector>

namespace ward {

enum class TColumnKind { text, number, date, uuid, reference, clob, blob };

struct TWardColumn {
  const char* csv;   // its name in the CSV file
  const char* name;  // and in the table
  TColumnKind kind;
  int size = 0;  // characters of a text
  bool required = false;
  const char* table = nullptr;  // which table a reference refers to
};

struct TWardTable {
  const char* file;  // nullptr: the table starts without rows
  const char* name;  // without its owner
  std::vector<TWardColumn> columns;
  const char* listed;  // the attributes that tell most of an object, comma-separated
};

// In an order in which a table stands behind those that it refers to.
const std::vector<TWardTable>& WardTables();

std::string FullName(const TWardTable& table);  // "OMRA.PATIENT"
// What a user calls that which a row of it is: "patient".
std::string KindName(const TWardTable& table);

// The statements that make the table and the indexes of its references.
std::vector<std::string> CreateStatements(const TWardTable& table);
// With a parameter for ID, one named like each column, and USER_IPL.
std::string InsertStatement(const TWardTable& table);

}  // namespace ward

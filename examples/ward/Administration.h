#pragma once
// What the ward's database has beside the rows of the hospital: code lists, rights, the second
// table of patients, and a sequence for each table.

#include <string>

#include "Database.h"

namespace ward {

// REQUIRES: the tables of the hospital are there, and a transaction is open.
void WriteAdministration(TSqliteDatabase& database);

// The sequence that gives a table its keys.
std::string SequenceName(const std::string& table);

}  // namespace ward

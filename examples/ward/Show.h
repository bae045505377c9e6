#pragma once
// `ward show`: one object on the standard output. Raise when there is no such row.

#include <string>

namespace ward {

void ShowPatient(const std::string& databaseFile, const std::string& id);
void ShowEncounter(const std::string& databaseFile, const std::string& id);

}  // namespace ward

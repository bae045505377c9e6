#pragma once
// `ward who`: who holds a patient.

#include <string>

namespace ward {

// Loads the patient with its encounters and conditions, traced, and prints the patient's holders.
// Raises when there is no such patient.
void Who(const std::string& databaseFile, const std::string& id);

}  // namespace ward

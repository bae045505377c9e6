#pragma once
// Loads the sample hospital into a database.

#include <string>

namespace ward {

// Makes the tables in the database of that file, which is made when absent, and fills them from the
// CSV files: all in one transaction, so that after a failure nothing of it is there. Raises
// when the tables are there already.
void LoadHospital(const std::string& file, const std::string& dataDirectory);

// `ward load`: the same, and says what is there now.
void Load(const std::string& file, const std::string& dataDirectory);

}  // namespace ward

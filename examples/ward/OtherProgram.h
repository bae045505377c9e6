#pragma once
// Another process that works on the same database.

#include <string>

namespace ward {

// Runs this program anew, as `ward sql STATEMENT --commit`, and waits for its end; its output is
// not shown. Raises when it does not end well.
void RunInAnotherProcess(const std::string& databaseFile, const std::string& statement);

}  // namespace ward

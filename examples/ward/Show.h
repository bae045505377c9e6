#pragma once
// `ward show`: one object on the standard output.

#include <string>

#include "Schema.h"

namespace ward {

// The object of that table's row. Raises when there is no such row, or a deactivated one.
void Show(const std::string& databaseFile, const TWardTable& table, const std::string& id);

}  // namespace ward

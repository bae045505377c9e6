#pragma once
// `ward edit`, `ward new` and `ward delete`: one object is changed, made or deleted, and what came
// of it is read back from the database. Each is done whole, or raises and has changed nothing.

#include <string>
#include <utility>
#include <vector>

#include "Schema.h"

namespace ward {

struct TObjectChange {
  const TWardTable* table = nullptr;
  std::string id;                                           // edit and delete
  std::vector<std::pair<std::string, std::string>> values;  // edit and new: attribute, value
  std::string user = "WARD";                                // who does it
  bool asks = false;  // questions are put to whoever sits before the terminal
};

void Edit(const std::string& databaseFile, const TObjectChange& change);
void New(const std::string& databaseFile, const TObjectChange& change);
void Delete(const std::string& databaseFile, const TObjectChange& change);

}  // namespace ward

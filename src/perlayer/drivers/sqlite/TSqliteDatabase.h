#pragma once
// TSqliteDatabase: a named database on one SQLite file for the length of a scope.
//
//   TLayer layer;
//   TSqliteDatabase db("_QOR", "ward.db");
//
// Main thread only.

#include <string>
#include <string_view>

#include "perlayer/corekit/TIDatabase.h"

namespace perlayer {

struct TSqliteOptions;

class TSqliteDatabase {
 public:
  // Opens the file, which is made when absent. Raises EDatabaseError naming the file.
  TSqliteDatabase(std::string_view name, const std::string& path);
  TSqliteDatabase(std::string_view name, const std::string& path, const TSqliteOptions& options);

  TIDatabase* operator->() const { return FDatabase.Get(); }
  TIDatabase* Get() const { return FDatabase.Get(); }
  // Runs one statement and answers the rows that it changed.
  std::int64_t Execute(std::string_view sql);

 private:
  TOwned<TIDatabase> FDatabase;
};

}  // namespace perlayer

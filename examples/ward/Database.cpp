#include "Database.h"

#include <filesystem>

#include "Schema.h"
#include "TextTable.h"
#include "perlayer/corekit/TIQuery.h"
#include "perlayer/drivers/sqlite/TSqliteSession.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"

namespace ward {

double SelectNumber(TSqliteDatabase& database, const std::string& select) {
  const TOwned<TIQuery> query = Make<TIQuery>();
  query->DatabaseName(database->DatabaseName());
  query->SQLText(select);
  query->Open();
  return query->Fields(0)->AsFloat();
}

bool HoldsWard(TSqliteDatabase& database) {
  return SelectNumber(database, Format("select count(*) from SQLITE_MASTER where NAME = '%s'",
                                       FullName(WardTables().back()))) > 0;
}

TSqliteDatabase OpenWard(const std::string& file) {
  const std::string remedy = "; load the hospital first: ward load --db " + file;
  if (!std::filesystem::exists(file)) throw Exception(file + ": there is no such file" + remedy);
  // Somebody sits before the terminal: a file that another program writes to is soon told.
  TSqliteOptions options;
  options.busyTimeoutMilliseconds = 1000;
  TSqliteDatabase database(kDatabase, file, options);
  if (!HoldsWard(database))
    throw Exception(file + ": the tables of the ward are not there" + remedy);
  return database;
}

std::vector<std::string> RowCounts(TSqliteDatabase& database) {
  TTextTable counts({{"table"}, {"rows", TTextTable::TContent::number}});
  for (const TWardTable& table : WardTables()) {
    const std::string name = FullName(table);
    counts.Add({name, FloatToStr(SelectNumber(database, "select count(*) from " + name))});
  }
  return counts.Lines();
}

}  // namespace ward

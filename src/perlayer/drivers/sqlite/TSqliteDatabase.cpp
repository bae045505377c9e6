#include "perlayer/drivers/sqlite/TSqliteDatabase.h"

#include "perlayer/corekit/TIQuery.h"
#include "perlayer/drivers/sqlite/TSqliteSession.h"

namespace perlayer {

TSqliteDatabase::TSqliteDatabase(std::string_view name, const std::string& path)
    : TSqliteDatabase(name, path, TSqliteOptions()) {}

TSqliteDatabase::TSqliteDatabase(std::string_view name, const std::string& path,
                                 const TSqliteOptions& options)
    : FDatabase(Make<TIDatabase>(name, std::make_unique<TSqliteSession>(path, options))) {}

std::int64_t TSqliteDatabase::Execute(std::string_view sql) {
  const TOwned<TIQuery> query = Make<TIQuery>();
  query->DatabaseName(FDatabase->DatabaseName());
  query->SQLText(sql);
  return query->ExecSQL();
}

}  // namespace perlayer

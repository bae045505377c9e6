// A statement is refused, or becomes one that the database prepares or refuses, no table being
// known.

#include "fuzz/SqlTarget.h"
#include "perlayer/drivers/sqlite/TSqlTranslator.h"

namespace perlayer {

bool Takes(std::string_view input) {
  static TMemoryDatabase database;
  std::string sql;
  try {
    sql = TranslateSql(input);
  } catch (const EDatabaseError& e) {
    RequireRefusal(e, input);
    return false;
  }
  database.Try(sql);
  return true;
}

}  // namespace perlayer

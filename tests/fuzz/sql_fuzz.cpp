// A statement is refused, or becomes one (a block several) that the database prepares or refuses,
// no table being known.

#include "fuzz/SqlTarget.h"
#include "perlayer/drivers/sqlite/TSqlTranslator.h"

namespace perlayer {

bool Takes(std::string_view input) {
  static TMemoryDatabase database;
  const TStatementText text(input);
  TSqlTranslation translation;
  try {
    translation = TSqlTranslator(text, nullptr).Translate();
  } catch (const EDatabaseError& e) {
    RequireRefusal(e, input);
    return false;
  }
  database.Try(translation);
  return true;
}

}  // namespace perlayer

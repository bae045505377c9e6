// The same with the types of the columns known, once more with those parameters bound as numbers of
// which that makes another statement, and once more for places of large objects.

#include "fuzz/SqlTarget.h"
#include "perlayer/corekit/TStatementText.h"
#include "perlayer/drivers/sqlite/TSqlTranslator.h"

namespace perlayer {
namespace {

class TTables : public TSqlSchema {
 public:
  std::vector<TSqlColumn> Columns(const std::string& table) override {
    if (table == "OMRA.PATIENT") return FPatient;
    if (table == "OMRA.VISIT") return FVisit;
    return {};
  }

 private:
  const std::vector<TSqlColumn> FPatient = {
      {"ID", TSqlType::number},     {"LAST", TSqlType::text},
      {"CODE", TSqlType::text},     {"BORN", TSqlType::date},
      {"WEIGHT", TSqlType::number}, {"NOTES", TSqlType::text, false, true}};
  const std::vector<TSqlColumn> FVisit = {
      {"ID", TSqlType::number}, {"PATIENT_ID", TSqlType::number}, {"STARTED", TSqlType::date}};
};

// False when it is refused.
bool Translate(const TStatementText& text, TSqlNumberBinds numbers, TSqlTranslation& translation,
               TLargeObjects largeObjects = TLargeObjects::values) {
  static TTables tables;
  try {
    translation = TSqlTranslator(text, &tables, numbers, largeObjects).Translate();
  } catch (const EDatabaseError& e) {
    RequireRefusal(e, text.Text());
    return false;
  }
  const std::string& sql = translation.sql;
  for (std::size_t i = 0; i < sql.size(); i += 1 + sql.size() / 16) {
    Require(translation.SourceOffset(i) <= text.Text().size(), "places lead into the statement",
            sql);
  }
  return true;
}

}  // namespace

bool Takes(std::string_view input) {
  static TMemoryDatabase database;
  const TStatementText text(input);
  TSqlTranslation translation;
  if (!Translate(text, 0, translation)) return false;
  database.Try(translation);
  if (translation.bindsThatMatter != 0 &&
      Translate(text, translation.bindsThatMatter, translation)) {
    database.Try(translation);
  }
  Require(Translate(text, 0, translation, TLargeObjects::places),
          "what is said with values is said with places", text.Text());
  database.Try(translation);
  return true;
}

}  // namespace perlayer

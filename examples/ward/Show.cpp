#include "Show.h"

#include <iostream>

#include "AttributeTable.h"
#include "Database.h"
#include "Hospital.h"
#include "Lines.h"
#include "perlayer/object/THold.h"
#include "perlayer/platform/Format.h"
#include "perlayer/provider/TplProviderList.h"

namespace ward {

void Show(const std::string& databaseFile, const TWardTable& table, const std::string& id) {
  const TSqliteDatabase database = OpenWard(databaseFile);
  LoadHospitalClasses();
  // Classes are named after their tables.
  TplProvider* provider =
      TplProvider::GetProviderList()->GetProviderFor(Format("Tpo%s", table.name));
  Assert(provider != nullptr, "a table of the ward has no class");
  const THold<> object(provider, id);
  if (!object) {
    const bool deactivated =
        provider->ExistsInDatabase(id) == TIObjectExistsInDatabaseResult::edDeleted;
    throw Exception(
        Format(deactivated ? "%s %s is deactivated" : "there is no %s %s", KindName(table), id));
  }
  std::cout << object->ClassName() << ": " << object->GetTextDescription() << "\n\n";
  PrintLines(AttributeTable(object.Get()));
}

}  // namespace ward

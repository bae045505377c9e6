#include "Show.h"

#include <iostream>

#include "AttributeTable.h"
#include "Database.h"
#include "Hospital.h"
#include "Kinds.h"
#include "Lines.h"

namespace ward {

void Show(const std::string& databaseFile, const TWardTable& table, const std::string& id) {
  const TSqliteDatabase database = OpenWard(databaseFile);
  LoadHospitalClasses();
  const THold<> object = FetchObject(table, id);
  std::cout << object->ClassName() << ": " << object->GetTextDescription() << "\n\n";
  PrintLines(AttributeTable(object.Get()));
}

}  // namespace ward

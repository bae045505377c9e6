#include "perlayer/corekit/TIUpdateSQL.h"

#include "perlayer/corekit/StringLists.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Format.h"

namespace perlayer {

void TIUpdateSQL::Create(TComponent* AOwner) {
  TComponent::Create(AOwner);
  for (TStringList*& statement : FStatements) statement = New<TStringList>();
}

void TIUpdateSQL::Destroy() {
  for (TStringList*& statement : FStatements) FreeAndNil(statement);
  TComponent::Destroy();
}

TStringList* TIUpdateSQL::SQL(int index) const {
  if (index < 0 || index >= kStatements) {
    throw EListError(Format("List index out of bounds (%d)", index));
  }
  return FStatements[index];
}

std::string TIUpdateSQL::Text(int index) const { return StringList2StringSep(*SQL(index), "\r\n"); }

void TIUpdateSQL::Assign(const TIUpdateSQL& other) {
  for (int i = 0; i < kStatements; ++i) SQL(i)->Assign(*other.SQL(i));
}

}  // namespace perlayer

#include "perlayer/object/TISystemAttributes.h"

#include "perlayer/corekit/TField.h"
#include "perlayer/object/TplPerObject.h"
#include "perlayer/platform/Format.h"
#include "perlayer/provider/TcmpClassMap.h"
#include "perlayer/provider/TplProvider.h"

namespace perlayer {

void TISystemAttributes::Create(TplPerObject* APerObject) {
  FQuery = New<TIQuery>();
  FQuery->DatabaseName(GetDatabaseName());
  if (APerObject == nullptr) return;
  TakeFieldNames(APerObject->aiProvider());
  if (APerObject->aiNewObject()) ClearValues();
  CreateSQL(APerObject->aiProvider(), APerObject->GetGID());
}

void TISystemAttributes::Destroy() {
  FreeAndNil(FQuery);
  TObject::Destroy();
}

void TISystemAttributes::TakeFieldNames(TplProvider* AProvider) {
  FUserField = AProvider->GetUser_IPLFieldName();
  FDateField = AProvider->GetDatumIPLFieldName();
}

std::string TISystemAttributes::GetDatabaseName() const {
  return std::string(TcmpClassMap::kDatabaseName);
}

// An outer join: a user who is not in the users' table does not hide the row.
void TISystemAttributes::CreateSQL(TplProvider* AProvider, const std::string& AId) {
  if (FUserField.empty()) TakeFieldNames(AProvider);
  FQuery->SQLText(
      Format("select tab.%s, tab.%s, users.USERDEF2 from OMRA.%s tab, omra.ISEC_USERS users where "
             "%s = %s  and  users.USERDEF1(+) = tab.%s",
             FDateField, FUserField, AProvider->GetTableName(), AProvider->GetIDAttrName(), AId,
             FUserField));
}

void TISystemAttributes::DoUpdate() {
  if (FQuery->SQL()->Count() == 0) return;
  FQuery->Close();
  FQuery->Open();
  if (FQuery->IsEmpty()) return ClearValues();
  const TField* date = FQuery->FieldByName(FDateField);
  const std::string user = FQuery->FieldByName(FUserField)->AsString();
  FDatumIPL = date->IsNull() ? 0 : date->AsDateTime();
  FUserIPL = user.empty() ? "/" : user + " - " + FQuery->FieldByName("USERDEF2")->AsString();
}

void TISystemAttributes::UpdateForObject(TplPerObject* APerObject) {
  FQuery->Close();
  CreateSQL(APerObject->aiProvider(), APerObject->GetGID());
  DoUpdate();
}

void TISystemAttributes::ClearValues() {
  FDatumIPL = 0;
  FUserIPL = "/";
}

}  // namespace perlayer

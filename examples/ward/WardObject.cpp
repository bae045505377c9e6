#include "WardObject.h"

#include <random>

#include "Administration.h"
#include "perlayer/corekit/ILoginInfo.h"
#include "perlayer/corekit/TField.h"
#include "perlayer/corekit/TIQuery.h"
#include "perlayer/database/TplDatabaseProvider.h"
#include "perlayer/foundation/TAuthManager.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TFormatSettings.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/TPlClassMetaData.h"
#include "perlayer/provider/TcmpClassMap.h"

namespace ward {

namespace {

// What is wrong with the form of the value; empty for nothing.
std::string FaultOf(const TplAttrProperties& attribute, const std::string& value) {
  if (value.empty()) return "";
  double number = 0;
  switch (attribute.iType) {
    case TFieldType::ftFloat:
      if (TryStrToFloat(value, number, FrozenFormatSettings())) return "";
      return Format("Vrednost %s v polju %s ni število.", value, attribute.sDispLabel);
    case TFieldType::ftDateTime:
      if (TryStrToDateTime(value, number, FrozenFormatSettings())) return "";
      return Format("Vrednost %s v polju %s ni datum.", value, attribute.sDispLabel);
    case TFieldType::ftString:
      if (Utf8Length(value) <= static_cast<std::size_t>(attribute.iSize)) return "";
      return Format("Vrednost v polju %s je predolga: %d znakov, dovoljenih je %d.",
                    attribute.sDispLabel, Utf8Length(value), attribute.iSize);
    default:
      return "";
  }
}

// A random one (RFC 4122, version 4).
std::string NewUuid() {
  std::random_device random;
  std::string uuid;
  for (int i = 0; i < 4; ++i) uuid += Format("%.8x", random());
  uuid = LowerCase(uuid);
  uuid[12] = '4';
  uuid[16] = "89ab"[static_cast<std::size_t>(uuid[16]) % 4];
  for (const std::size_t at : {8u, 13u, 18u, 23u}) uuid.insert(at, 1, '-');
  return uuid;
}

std::string NextId(TplProvider* provider) {
  const TOwned<TIQuery> query = Make<TIQuery>();
  query->DatabaseName(TcmpClassMap::kDatabaseName);
  query->SQLText(Format("select %s.nextval from dual", SequenceName(provider->GetTableName())));
  query->Open();
  return query->Fields(0)->AsString();
}

}  // namespace

bool TpoWardObject::ValidateAttribute(const std::string& AName, const Variant& AValue) {
  if (!TplPerObject::ValidateAttribute(AName, AValue)) return false;
  const std::string fault = FaultOf(GetMetaData()->GetAttrProperties(AName), AValue.AsText());
  if (fault.empty()) return true;
  SetAttrError(AName, fault, TIErrorLevel::elError);
  return false;
}

void TpoWardObject::SetObjectTypeForNewObject() {
  if (AttrExists("UUID")) SetAttrValue("UUID", NewUuid());
}

void TpoWardObject::DoBeforeSave() {
  if (IndexIsTemporary(GetGID()))
    SetReadOnlyAttrValue(aiProvider()->GetIDAttrName(), NextId(aiProvider()));
  SetReadOnlyAttrValue(aiProvider()->GetUser_IPLFieldName(), ILoginInfo().User());
  SetReadOnlyAttrValue(aiProvider()->GetDatumIPLFieldName(),
                       DateTimeToStr(dbProvider()->aiServerDateTime(), FrozenFormatSettings()));
}

TIAccessRights TplWardProvider::GetRights() { return AuthManager()->GetObjectRights(this); }

}  // namespace ward

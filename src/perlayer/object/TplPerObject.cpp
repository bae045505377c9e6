#include "perlayer/object/TplPerObject.h"

#include "perlayer/corekit/ILog.h"
#include "perlayer/foundation/TAuthManager.h"
#include "perlayer/object/TObjectEdits.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TFormatSettings.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/TPlClassMetaData.h"
#include "perlayer/provider/TplProvider.h"
#include "perlayer/reclaim/TplGlobalDictionary.h"

namespace perlayer {

void TplPerObject::Create(TPlBaseObject* AOwner, TObject* ARetainer) {
  auto* provider = As<TplProvider>(AOwner);
  if (provider == nullptr) {
    throw Exception("TplPerObject.Create: Can not create new object without provider!");
  }
  FProvider = provider;
  FFacts = static_cast<std::uint8_t>(ClassType().Facts());
  TplDomainObject::Create(AOwner, ARetainer);
  FbRegisterNotify = provider->GetRegisterNotify();
  data.Create(this, this);
}

void TplPerObject::DoNotifyAction(TplDomainObject* Sender, TIBaseObjectAction ActionType,
                                  TObject* Data, TINotifiedObjectList* AVisitedObjectList) {
  if (!FDestroying) TplDomainObject::DoNotifyAction(Sender, ActionType, Data, AVisitedObjectList);
}

std::string TplPerObject::GetTextDescription() { return Format("[%s] %s", GetGID(), ClassName()); }

bool TplPerObject::GetReadOnly() {
  TAuthManager* const manager = AuthManager();
  if (manager->IsOpen() || manager->HasObjectRights(this, {TIAccessRight::arUpdate})) return false;
  return !(FNewObject && AuthManager()->HasObjectRights(this, {TIAccessRight::arInsert}));
}

void TplPerObject::SetLockedBy(TplLockedBy ALockedBy) { FLockedBy = ALockedBy; }
TplLockedBy TplPerObject::GetLockedBy() { return FLockedBy; }

void TplPerObject::SetInitializingBo(bool AInitializing) {
  if (AInitializing == FInitializingBo) return;
  FInitializingBo = AInitializing;
  if (!AInitializing) data.DisableOptimizingUpdateQueries(true);
}

// An object whose row has not come yet has no ID.
std::string TplPerObject::GetGID() {
  return data.Count() == 0 ? std::string() : data.GetAttrValue(FProvider->IDAttrName());
}

std::string TplPerObject::GetGlobalID() { return FProvider->GetTableNameKeyForDict() + GetGID(); }

void TplPerObject::DoAfterLoad() { SetNotify(true); }

void TplPerObject::ResetInternalCache() {
  throw Exception(Format("Reset internal cache not implemented : %s", ClassName()));
}

TPlClassMetaData* TplPerObject::GetMetaData() { return FProvider->GetMetaData(); }

std::string TplPerObject::aiCaption() { return FProvider->GetCaption(); }

void TplPerObject::SetTimeStampAfterGetObject() {
  if (!GetKeepObjectTimestamp() && !GetManualNotification()) return;
  SetTimeStamp(GetAttrValueAsDate("DATUMIPL"));
}

void TplPerObject::DiposeNewlyCreatedMe() {
  FNewObject = true;
  const std::string id = CDefNumericNoIdValue();
  // The row's key is free again: the object is not that row any more.
  GlobalDictionary()->ChangeID(FProvider, GetGID(), this, id);
  data.SetAttrValue(FProvider->IDAttrName(), id);
}

void TplPerObject::InitializeFromDataSet(TDataSet* ADataSet) {
  const TAlive alive(this);
  data.InitFromDataSet(ADataSet);
  if (Is<TplProviderDBLink>(FProvider)) DoForceCommitAfterLoad();
  if (!alive) return;
  SetInitializingBo(true);
  TryFinally([&] { DoAfterLoad(); },
             [&] {
               if (alive) SetInitializingBo(false);
             });
}

std::string TplPerObject::GetAttrValue(const std::string& AName) {
  TPlClassMetaData* metaData = GetMetaData();
  const TPlClassMetaData::TFound found = metaData->Find(AName);
  return found.index >= 0 ? data.GetAttrValueByIndex(found.index)
                          : CalculatedValue(AName, metaData->IsCalcAttr(found, AName));
}

std::string TplPerObject::CalculatedValue(const std::string& AName, bool AIsCalculated) {
  if (AIsCalculated) {
    return FCalcAttrValueProc != nullptr ? (*FCalcAttrValueProc)(this, AName)
                                         : GetCalcAttrValue(AName);
  }
  throw Exception(Format("GetAttrValue Wrong attribute %s(%s) %s", ClassName(), GetGID(), AName));
}

std::string TplPerObject::GetAttrOldValue(const std::string& AName) {
  return data.GetAttrOldValue(AName);
}

std::string TplPerObject::GetCalcAttrValue(const std::string& AName) {
  return UpperCase(AName) == "DESCRIPTION" ? GetTextDescription() : std::string();
}

// A negative date with a time of day is no value.
TDateTime TplPerObject::DateOfText(std::string_view AText) {
  TDateTime value;
  if (AText.empty() || !TryStrToDateTime(AText, value, FrozenFormatSettings())) return kNoDate;
  return value < 0 && TimePart(value) != 0 ? kNoDate : value;
}

double TplPerObject::GetAttrValueAsFloat(const std::string& AName) {
  const std::string text = GetAttrValue(AName);
  if (text.empty()) return NoFloat();
  double value;
  if (TryStrToFloat(text, value, FrozenFormatSettings())) return value;
  ILog(
      Format("TplPerObject.GetAttrValueAsFloat: Napaka pri %s.GetAttrValueAsFloat(%s), value=%s, "
             "ID=%s",
             ClassName(), AName, text, GetGID()));
  return NoFloat();
}

TDateTime TplPerObject::GetAttrValueAsDate(const std::string& AName) {
  return DateOfText(GetAttrValue(AName));
}

std::string TplPerObject::GetAttrValueAsFormatedDate(const std::string& AName) {
  constexpr std::size_t kWithMinutes = 16;
  constexpr std::size_t kSeconds = 3;
  std::string text = GetAttrValue(AName);
  if (text.size() > kWithMinutes && TimePart(GetAttrValueAsDate(AName)) != 0) {
    text.resize(text.size() - kSeconds);
  }
  return text;
}

Variant TplPerObject::GetAttrValueAsVariant(const std::string& AName) {
  switch (GetMetaData()->GetAttrProperties(AName).iType) {
    case TFieldType::ftString:
    case TFieldType::ftMemo:
      return Variant(GetAttrValue(AName));
    case TFieldType::ftFloat: {
      const double value = GetAttrValueAsFloat(AName);
      return Variant(value == kNoFloat ? 0.0 : value);
    }
    case TFieldType::ftDateTime: {
      const TDateTime value = GetAttrValueAsDate(AName);
      if (value == kNoDate || value < MinDateTime || value > MaxDateTime) return Variant::Null();
      return Variant::Date(value);
    }
    default:
      return Variant();  // numbers are declared float: an integer attribute has no variant
  }
}

double TplPerObject::GetAttrOldValueAsFloat(const std::string& AName) {
  double value;
  return TryStrToFloat(GetAttrOldValue(AName), value, FrozenFormatSettings()) ? value : kNoFloat;
}

TDateTime TplPerObject::GetAttrOldValueAsDate(const std::string& AName) {
  TDateTime value;
  return TryStrToDateTime(GetAttrOldValue(AName), value, FrozenFormatSettings()) ? value : kNoDate;
}

int TplPerObject::AttrCount() { return GetMetaData()->AttrCount(); }

std::string TplPerObject::AttrName(int AIndex) {
  return GetMetaData()->GetAttrNames()->Strings(AIndex);
}

bool TplPerObject::AttrExists(const std::string& AName) {
  return GetMetaData()->HasAttribute(AName);
}

TIPersistentObjectState TplPerObject::GetEditState() const {
  using enum TIPersistentObjectState;
  if (!FNewObject) return FModified ? posEdit : posBrowse;
  if (FInitializingBo) return posCreating;
  return FModified ? posInsert : posCreated;
}

const TCalcAttrValueProc& TplPerObject::OnCalcAttribute() const {
  static const TCalcAttrValueProc kNone;
  return FCalcAttrValueProc == nullptr ? kNone : *FCalcAttrValueProc;
}

void TplPerObject::OnCalcAttribute(TCalcAttrValueProc event) {
  FCalcAttrValueProc = event ? std::make_unique<TCalcAttrValueProc>(std::move(event)) : nullptr;
}

const TNotifyEvent& TplPerObject::aiOnBeforeFree() const {
  static const TNotifyEvent kNone;
  return FEdits == nullptr ? kNone : FEdits->FOnBeforeFree;
}

void TplPerObject::aiOnBeforeFree(TNotifyEvent event) { Edits().FOnBeforeFree = std::move(event); }

TPlTransaction* TplPerObject::aiTransaction() const {
  return FEdits == nullptr ? nullptr : FEdits->FTransaction;
}

void TplPerObject::aiTransaction(TPlTransaction* transaction) {
  if (transaction != aiTransaction()) Edits().FTransaction = transaction;
}

std::string DumpPerObject(TplPerObject* AObject) {
  if (AObject == nullptr) return "*** TPlPerObject:  is NIL";
  std::string text = "*** TPlPerObject: " + AObject->GetTextDescription() + "\r\n";
  for (int i = 0; i < AObject->AttrCount(); ++i) {
    const std::string name = AObject->AttrName(i);
    text += name + " = " + AObject->GetAttrValue(name) + "\r\n";
  }
  return text;
}

}  // namespace perlayer

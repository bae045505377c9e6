// TplPerObject: the way into edit state and out of it, writing, locks.

#include <utility>

#include "perlayer/corekit/ILog.h"
#include "perlayer/corekit/TIDatabase.h"
#include "perlayer/corekit/TIString.h"
#include "perlayer/database/TplDatabaseProvider.h"
#include "perlayer/database/TplDatabaseSession.h"
#include "perlayer/foundation/BoMessageDlg.h"
#include "perlayer/object/IAttributeValueChanged.h"
#include "perlayer/object/TIStringAndResult.h"
#include "perlayer/object/TObjectEdits.h"
#include "perlayer/object/TplPerObject.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TFormatSettings.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/TPlClassMetaData.h"
#include "perlayer/provider/TplProvider.h"
#include "perlayer/reclaim/TplGlobalDictionary.h"

namespace perlayer {

namespace {

constexpr const char* RSReadOnlyObject =
    "Objektu %s (%s: %s) ni dovoljeno spreminjati vrednosti - atribut '%s' na '%s'!\r\r\"%s\"";
constexpr const char* RSReadOnlyField =
    "Objektu %s ni dovoljeno spreminjati vrednosti %s! Preveri stanje in pravice!";
constexpr const char* kChangedInDatabase = "Pred popravljanjem osveži podatke!";
constexpr const char* kReloaded = "Podatki so bili spremenjeni! Ponovite akcijo!";
constexpr const char* RSBadDateTime = "Datum ni veljaven!";

}  // namespace

TObjectEdits& TplPerObject::Edits() {
  if (FEdits == nullptr) FEdits.reset(new TObjectEdits());
  return *FEdits;
}

bool TplPerObject::IsShown() const { return FEdits != nullptr && FEdits->FDataSet != nullptr; }

void TplPerObject::TEndEdits::operator()(TObjectEdits* edits) const noexcept { delete edits; }

// What this frees may ask the object once more: it finds nothing any more.
void TplPerObject::ReleaseEditing() { const auto edits = std::exchange(FEdits, nullptr); }

// --- writing ---

int TplPerObject::AttrIndexToWrite(const std::string& AName) {
  const int index = GetMetaData()->GetAttrIndex(AName);
  if (index >= 0) return index;
  throw Exception(Format("SetAttrValue: Wrong attribute %s(%s) %s!", ClassName(), GetGID(), AName));
}

bool TplPerObject::SetAttrValue(const std::string& AName, const std::string& AValue) {
  return SetAttrValueCommon(AName, AValue, true);
}

bool TplPerObject::ForceSetAttrValue(const std::string& AName, const std::string& AValue) {
  return SetAttrValueCommon(AName, AValue, false);
}

bool TplPerObject::SetFromXmlAttrValue(const std::string& AName, const std::string& AValue) {
  return SetAttrValue(AName, AValue);
}

bool TplPerObject::SetAttrValueCommon(const std::string& AName, const std::string& AValue,
                                      bool ACheckReadOnly) {
  TPlClassMetaData* metaData = GetMetaData();
  const TPlClassMetaData::TFound found = metaData->Find(AName);
  const int index = found.index;
  if (index < 0) AttrIndexToWrite(AName);  // raises
  // The old value may be written back whatever the rights: an edit can be undone.
  if (!FInitializingBo && ACheckReadOnly && AValue != data.OldValueView(index) && GetReadOnly()) {
    RaiseReadOnly(AName, AValue);
  }
  if (metaData->IsCalcAttr(found, AName) ||
      (IsReadOnlyIn(*metaData, index) && AValue != GetAttrOldValue(AName))) {
    RaiseReadOnlyField(metaData->GetAttrProperties(AName).sDispLabel);
  }
  if (IsUnedited() && data.ValueView(index) != AValue) {
    const TAlive alive(this);
    const std::string value = AValue;  // who hears of the edit may change what it refers to
    TryEdit(AName);
    return !alive || PrivateSetAttrValue(index, value);
  }
  return WriteValue(*metaData, index, AValue);
}

void TplPerObject::RaiseReadOnly(const std::string& AName, const std::string& AValue) {
  throw Exception(Format(RSReadOnlyObject, GetTextDescription(), ClassName(), GetGID(), AName,
                         AValue, GetReadOnlyReason()));
}

void TplPerObject::RaiseReadOnlyField(const std::string& ALabel) {
  throw Exception(Format(RSReadOnlyField, GetTextDescription(), ALabel));
}

bool TplPerObject::SetReadOnlyAttrValue(const std::string& AName, const std::string& AValue) {
  return PrivateSetAttrValue(AttrIndexToWrite(AName), AValue);
}

bool TplPerObject::ChangeAttrValueIfNotEmpty(const std::string& AName, const std::string& AValue) {
  if (AValue.empty() || AValue == GetAttrValue(AName)) return false;
  return SetAttrValue(AName, AValue);
}

bool TplPerObject::PrivateSetAttrValue(int AIndex, const std::string& AValue) {
  return WriteValue(*GetMetaData(), AIndex, AValue);
}

bool TplPerObject::WriteValue(TPlClassMetaData& AMetaData, int AIndex, const std::string& AValue) {
  const std::string& name = AMetaData.NameOf(AIndex);
  if (FProvider->IsIDAttr(name)) return WriteID(AIndex, name, AValue);
  return !data.SetAttrValueByIndex(AIndex, AValue) || EndWrite(AIndex, name, AValue);
}

// The value is a copy: what the dictionary does may change what it came from.
bool TplPerObject::WriteID(int AIndex, const std::string& AName, std::string AValue) {
  const bool changed = data.ValueView(AIndex) != AValue;
  // Written aside: once the dictionary has the new key nothing may fail any more.
  TIboData::TWrittenBoth written = data.WithBoth(AIndex, AValue);
  GlobalDictionary()->ChangeID(FProvider, GetGID(), this, AValue);
  data.Take(std::move(written), AIndex, AValue);
  return !changed || EndWrite(AIndex, AName, AValue);
}

// A value has changed: whoever shows the object, validates and hears it is told.
bool TplPerObject::EndWrite(int AIndex, const std::string& AName, const std::string& AValue) {
  return IsShown() ? EndShownWrite(AIndex, AName, AValue) : ValidateWrite(AIndex, AName, AValue);
}

// The value is a copy: listeners may change what it came from.
bool TplPerObject::EndShownWrite(int AIndex, const std::string& AName, std::string AValue) {
  const TAlive alive(this);
  TryFinally(
      [&] {
        FEdits->FDataSet->UpdateAttribute(AName);
        if (alive) AttributeValueChanged(AIndex, AName, AValue);
      },
      [&] {
        if (alive && !FInitializingBo) FModified = FNotChecked = true;
      });
  return !alive || ValidateWrite(AIndex, AName, AValue);
}

bool TplPerObject::SetAttrValueAsFloat(const std::string& AName, double AValue) {
  return SetAttrValue(
      AName, AValue == kNoFloat ? std::string() : FloatToStr(AValue, FrozenFormatSettings()));
}

bool TplPerObject::SetAttrValueAsDate(const std::string& AName, TDateTime AValue) {
  const TFormatSettings& settings = FrozenFormatSettings();
  if (!(AValue >= MinDateTime && AValue <= MaxDateTime)) {
    BoMessageDlg(RSBadDateTime, TMsgDlgType::mtError, {TMsgDlgBtn::mbOK}, TMsgDlgBtn::mbOK,
                 TMsgDlgBtn::mbOK);
    AValue = kNoDate;
  }
  if (AValue == kNoDate) return SetAttrValue(AName, "");
  if (TimePart(AValue) == 0) return SetAttrValue(AName, DateToStr(AValue, settings));
  return SetAttrValue(AName, FormatDateTime("DD.MM.YYYY HH:MM:SS", AValue, settings));
}

bool TplPerObject::GetObjectHasChangedAttribute(std::initializer_list<std::string_view> ANames) {
  for (const std::string_view name : ANames) {
    const std::string attribute(name);
    if (GetAttrValue(attribute) != GetAttrOldValue(attribute)) return true;
  }
  return false;
}

// --- edit state ---

void TplPerObject::TryEdit(const std::string&) { TryEdit(true); }

void TplPerObject::TryEdit(bool ALock) {
  if (FInitializingBo || FbReloading || !IsUnedited()) return;
  const TAlive alive(this);
  try {
    const bool isManual = GetManualNotification();
    const bool isLocking = IDatabaseSessionList()->LockingMode() == TILockingMode::lmNew;
    if (!isLocking && isManual) {
      if (TplDatabaseSession* session = IDatabaseSessionList()->GetCurrentSession()) {
        session->CheckLockingMessages();
        session->FlushLockingMessages();
      }
    }
    const bool isNewer = isLocking && isManual && !GetLockGroup().empty() && IsObjectInDbNewer();
    if (GetNeedToRefresh() || isNewer) {
      const bool canReload = aiCanEditObjectChangedInDatabase();
      const char* message = canReload ? kReloaded : kChangedInDatabase;
      const auto yesNo = [](bool value) { return value ? "True" : "False"; };
      std::string line =
          Format("%s - %s -  // aiNeedToRefresh=%s, BObjectInDbNewer=%s // ", ClassName(),
                 GetTextDescription(), yesNo(GetNeedToRefresh()), yesNo(isNewer));
      if (isNewer) {
        line += Format(" -  // GetDBTimeStamp=%s, GetTimeStamp=%s // ",
                       DateTimeToStr(GetDBTimeStamp()), DateTimeToStr(GetTimeStamp()));
      }
      ILog(line + " - " + message);
      if (canReload) Reload();
      throw ELockException(message);
    }
    if (ALock) {
      Lock(this, GetLockGroup());
      if (alive) Touch();
    }
  } catch (...) {
    if (alive && IsShown()) FEdits->FDataSet->Cancel();
    throw;
  }
}

void TplPerObject::Touch() {
  const TAlive alive(this);
  FModified = true;
  TryFinally([&] { Notify(TIBaseObjectAction::paModified); },
             [&] {
               if (alive) data.DisableOptimizingUpdateQueries(true);
             });
}

void TplPerObject::CancelData() {
  const TAlive alive(this);
  DoCancelData();
  if (!alive) return;
  const bool isModified = GetModified();
  if (isModified) data.CancelData();
  FbObjectMarkedDeleted = false;
  TryFinally(
      [&] {
        if (!isModified) return;
        FModified = false;
        CallNotifyAction(this, TIBaseObjectAction::paModified, nullptr);
        if (alive) CallNotifyAction(this, TIBaseObjectAction::paCancelData, nullptr);
        if (alive && IsShown()) {
          FEdits->FDataSet->RefreshFromBo();
        }
      },
      [&] {
        if (alive) UnLock(this, GetLockGroup());
      });
  // Once more for an object that was modified: listeners count on both.
  if (alive) CallNotifyAction(this, TIBaseObjectAction::paCancelData, nullptr);
}

void TplPerObject::SetObjectMarkedDeleted(bool AMarkedDeleted) {
  if (AMarkedDeleted == FbObjectMarkedDeleted) return;
  const TAlive alive(this);
  if (!FbDoSavingData) TryEdit(true);
  if (!alive) return;
  FbObjectMarkedDeleted = AMarkedDeleted;
  // The same action for marking and unmarking: listeners read the flag.
  CallNotifyAction(this, TIBaseObjectAction::paMarkedDeleted, nullptr);
  if (!alive) return;
  FModified = true;
  CallNotifyAction(this, TIBaseObjectAction::paModified, nullptr);
}

void TplPerObject::InternalSetModified(bool AModified) {
  FModified = AModified;
  data.SetDataModified(AModified);
}

// --- read-only attributes ---

TPlDictionary* TplPerObject::GetReadOnlyAttributes() {
  return FEdits == nullptr ? nullptr : FEdits->FReadOnlyAttributes.Get();
}

void TplPerObject::SetReadOnly(bool) { throw Exception("Setting of Read only not implemented"); }

bool TplPerObject::IsAttributeReadOnly(int AIndex) { return IsReadOnlyIn(*GetMetaData(), AIndex); }

bool TplPerObject::IsReadOnlyIn(TPlClassMetaData& AMetaData, int AIndex) {
  if (AMetaData.AttrPropertiesOf(AIndex).bReadOnly) return true;
  const TPlDictionary* names = GetReadOnlyAttributes();
  return names != nullptr && names->IndexOf(AMetaData.NameOf(AIndex)) >= 0;
}

void TplPerObject::SetReadOnlyFields(std::initializer_list<std::string_view> ANames, bool AClear) {
  TObjectEdits& edits = Edits();
  if (!edits.FReadOnlyAttributes) {
    edits.FReadOnlyAttributes = Make<TPlDictionary>();
  } else if (AClear) {
    edits.FReadOnlyAttributes->Clear();
  }
  for (const std::string_view name : ANames) edits.FReadOnlyAttributes->Add(name);
}

// --- who shows and hears it ---

IboDataSet* TplPerObject::GetDataSet() {
  if (!IsShown()) {
    const TAlive alive(this);
    Edits().FDataSet = MakeboDataSet(this);
    try {
      IboDataSet* dataSet = FEdits->FDataSet.get();
      if (!GetReadOnly() && !dataSet->IsEditing()) dataSet->Edit();
    } catch (...) {
      if (alive && FEdits != nullptr) FEdits->FDataSet.reset();
      throw;
    }
    if (!alive || FEdits == nullptr) return nullptr;
  }
  return FEdits->FDataSet.get();
}

void TplPerObject::RegisterForAttributeValueChanged(IAttributeValueChanged* AHandler) {
  TInterfaceRef<IInterfaceList>& handlers = Edits().FAttributeValueChangedHandlers;
  if (!handlers) handlers = TInterfaceRef<IInterfaceList>(New<TInterfaceList>());
  handlers->Add(AHandler);
}

void TplPerObject::UnRegisterForAttributeValueChanged(IAttributeValueChanged* AHandler) {
  if (FEdits == nullptr || !FEdits->FAttributeValueChangedHandlers) return;
  // Held beyond the removal: what it ends may end this object.
  const TInterfaceRef<IInterfaceList> handlers = FEdits->FAttributeValueChangedHandlers;
  const TAlive alive(this);
  handlers->Remove(AHandler);
  if (alive && FEdits != nullptr && handlers->Count() == 0) {
    FEdits->FAttributeValueChangedHandlers = TInterfaceRef<IInterfaceList>();
  }
}

void TplPerObject::AttributeValueChanged(int AIndex, const std::string& AName,
                                         const std::string& AValue) {
  if (FEdits == nullptr || !FEdits->FAttributeValueChangedHandlers) return;
  const TInterfaceRef<IInterfaceList> handlers = FEdits->FAttributeValueChangedHandlers;
  const TAlive alive(this);
  for (int i = 0; alive && i < handlers->Count(); ++i) {
    const TInterfaceRef<IInterface> handler(handlers->Get(i));
    if (handler) {
      static_cast<IAttributeValueChanged*>(handler.Get())
          ->AttributeValueChanged(this, AIndex, AName, AValue);
    }
  }
}

void TplPerObject::Notify(TIBaseObjectAction AAction) {
  if (IsHeard()) CallNotifyAction(this, AAction, nullptr);
}

void TplPerObject::CallNotifyActionForAttribute(TIBaseObjectAction AAction,
                                                const std::string& AName) {
  const TOwned<TIString> carrier = Make<TIString>(AName);
  CallNotifyAction(this, AAction, carrier.Get());
}

// --- locks ---

std::string TplPerObject::GetLockGroup() {
  return FEdits == nullptr ? std::string() : FEdits->FLockGroup;
}
void TplPerObject::aiLockGroup(const std::string& group) { Edits().FLockGroup = group; }

bool TplPerObject::DoLock(TplDomainObject*, const std::string&) { return false; }
bool TplPerObject::DoUnLock(TplDomainObject*, const std::string&) { return true; }

void TplPerObject::Lock(TplDomainObject* ARequester, const std::string& AGroup) {
  NotifyLock(ARequester, AGroup);
}

void TplPerObject::UnLock(TplDomainObject* ARequester, const std::string& AGroup) {
  const TAlive alive(this);
  const bool unlocked = NotifyUnLock(ARequester, AGroup);
  if (!alive) return;
  FAddToListReLock = !unlocked;
  FbEditState = false;
}

namespace {
bool NotifyOfLock(TplPerObject* object, TIBaseObjectAction action, const std::string& group,
                  bool result) {
  const TOwned<TIStringAndResult> carrier = Make<TIStringAndResult>(group, result);
  object->CallNotifyAction(object, action, carrier.Get());
  return carrier->Result();
}
}  // namespace

bool TplPerObject::NotifyLock(TplDomainObject* ARequester, const std::string& AGroup) {
  if (AGroup.empty()) return true;
  return NotifyOfLock(this, TIBaseObjectAction::paLock, AGroup, DoLock(ARequester, AGroup));
}

bool TplPerObject::NotifyUnLock(TplDomainObject* ARequester, const std::string& AGroup) {
  if (AGroup.empty()) return true;
  return NotifyOfLock(this, TIBaseObjectAction::paUnlock, AGroup, DoUnLock(ARequester, AGroup));
}

// --- notification of changes in the database ---

void TplPerObject::SetNotify(bool ANotify) {
  if (ANotify == FbNotify || FNewObject) return;
  if (GetBOMasterDBNotifyGlobalID().empty() || FbNotify == ANotify) return;
  FbNotify = ANotify;
  const TplRetainerList* retainers = aiRetainerList();
  // An object that the dictionary held first of all registers nothing.
  if (retainers != nullptr && retainers->Count() > 0 &&
      retainers->Objects(0) == GlobalDictionary()) {
    return;
  }
  const TAlive alive(this);
  try {
    RegisterNotify();
  } catch (...) {
    if (alive) FbNotify = !ANotify;  // it is not registered, and a later call tries again
    throw;
  }
}

void TplPerObject::RegisterNotify() {
  if (FbRegisterNotify) DoRegisterNotify(FbNotify);
}

std::string TplPerObject::GetBOMasterDBNotifyGlobalID() {
  if (!FInitializingBo && !FbMasterDBNotify && GlobalDictionary()->aiUSEDICTIONARY()) {
    DoFillMasterDBNotifyGlobalID();
    FbMasterDBNotify = true;
  }
  return FEdits == nullptr ? std::string() : FEdits->FBOMasterDBNotifyGlobalID;
}

void TplPerObject::SetBOMasterDBNotifyGlobalID(const std::string& AGlobalID) {
  Edits().FBOMasterDBNotifyGlobalID = AGlobalID;
}

void TplPerObject::DoForceCommitAfterLoad() {
  TplDatabaseProvider* provider = dbProvider();
  provider->aiIgnoreTimer(true);
  TryFinally(
      [&] {
        if (!provider->InTransaction()) return;
        TIDatabase* database = provider->aiDatabase();
        if (database->PendingWork() == 0) database->ForceCommit(TIDatabase::kForceCommitPhrase);
      },
      [&] { provider->aiIgnoreTimer(false); });
}

}  // namespace perlayer

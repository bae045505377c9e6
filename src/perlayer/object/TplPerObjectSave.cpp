// TplPerObject: saving, deleting, and the end of a transaction.

#include <cmath>
#include <cstdlib>
#include <vector>

#include "perlayer/corekit/ILog.h"
#include "perlayer/corekit/TField.h"
#include "perlayer/corekit/TIQuery.h"
#include "perlayer/corekit/TOracleQuery.h"
#include "perlayer/database/TISQLHelper.h"
#include "perlayer/database/TplDatabaseProvider.h"
#include "perlayer/foundation/BoMessageDlg.h"
#include "perlayer/foundation/TAuthManager.h"
#include "perlayer/list/TPlBoList.h"
#include "perlayer/object/TFlag.h"
#include "perlayer/object/TObjectEdits.h"
#include "perlayer/object/TplPerObject.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TFormatSettings.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/TPlClassMetaData.h"
#include "perlayer/provider/TcmpClassMap.h"
#include "perlayer/provider/TplProvider.h"
#include "perlayer/provider/TplProviderList.h"
#include "perlayer/reclaim/TIPerLayerStatistics.h"

namespace perlayer {

namespace {

bool IsBeingEdited(TIPersistentObjectState state) {
  return state == TIPersistentObjectState::posEdit || state == TIPersistentObjectState::posInsert;
}

// Runs `work` in a level of the counted transaction: any exception rolls that level back, unless
// its commit has ended it already and an event behind that has raised.
template <class TWork>
void InTransaction(std::string_view text, TWork&& work) {
  TplDatabaseProvider* provider = dbProvider();
  const int outside = provider->aiTransactionCount();
  provider->StartTransaction(text);
  try {
    work();
    provider->Commit(text);
  } catch (...) {
    if (outside == 0 || provider->aiTransactionCount() > outside) provider->Rollback(text);
    throw;
  }
}

// How an operation names itself in the trace: "TplPerObject.TpoPatient.SaveData". A name of usual
// length takes no memory.
class TCallerName {
 public:
  TCallerName(const TClass& cls, std::string_view operation) {
    for (const std::string_view part : {std::string_view("TplPerObject."), cls.Name(), operation}) {
      if (FLong.empty() && FSize + part.size() <= sizeof FUsual) {
        part.copy(FUsual + FSize, part.size());
        FSize += part.size();
      } else {
        if (FLong.empty()) FLong.assign(FUsual, FSize);
        FLong.append(part);
      }
    }
  }
  operator std::string_view() const {
    return FLong.empty() ? std::string_view(FUsual, FSize) : std::string_view(FLong);
  }

 private:
  char FUsual[100];
  std::size_t FSize = 0;
  std::string FLong;
};

TBoundValue ValueOfDate(std::string_view text) {
  const TFormatSettings& settings = FrozenFormatSettings();
  TDateTime value = 0;
  if (!TryStrToDateTime(text, value, settings)) value = StrToDateTime(text, settings);  // raises
  return {TIParam::TKind::number, value, {}};
}

TBoundValue ValueOfText(TFieldType type, std::string_view text) {
  if (text.empty()) return {};
  return type == TFieldType::ftDateTime ? ValueOfDate(text)
                                        : TBoundValue{TIParam::TKind::text, 0, text};
}

void Write(TIParam& param, const TBoundValue& value) {
  if (value.kind == TIParam::TKind::number) {
    param.AsFloat(value.number);
  } else {
    param.AsString(value.text);
  }
}

}  // namespace

// --- saving ---

void TplPerObject::SaveData() {
  FbEditState = IsBeingEdited(GetEditState());
  const bool wasNew = FNewObject;
  const bool wasModified = GetModified();
  const bool canSave = CanSaveData();
  if (!wasModified && !FNewObject) {
    AfterSaveData();
    return;
  }
  const TAlive alive(this);
  InTransaction(TCallerName(ClassType(), ".SaveData"), [&] {
    if (FbObjectMarkedDeleted) {
      FModified = true;
      DeleteObject();
    } else {
      const TFlag saving(this, FbDoSavingData);
      DoSaveData();
    }
    PerLayerStatistics()->StopTiming();
  });
  if (!alive) return;
  FModified = false;
  TryFinally(
      [&] {
        if (wasNew) SetNotify(true);
        if (alive && wasModified) Notify(TIBaseObjectAction::paModified);
      },
      [&] {  // it is saved: what its lock was for is over
        if (!alive) return;
        if (WasObjectInEditState(FbEditState) || (wasNew && FNewObject != wasNew)) {
          UnLock(this, GetLockGroup());
        } else if (!wasNew && !canSave) {
          AfterSaveNonEditedObject();  // only a list of it was modified: it was never locked
        }
      });
  if (alive) AfterSaveData();
}

void TplPerObject::DoSaveData() {
  FbEditState = IsBeingEdited(GetEditState());
  const TAlive alive(this);
  SaveCurrentData();
  if (alive) TplProvider::GetCallBackObject()->DoSaveData(this);
}

void TplPerObject::SaveCurrentData() {
  if (!CanSaveData()) return;
  const TAlive alive(this);
  const TFlag saving(this, FbSavingCurrentData);
  PerLayerStatistics()->Timed(TIPerLayerStatisticsStartTimingType::ttSave, [&] {
    PostData();
    if (alive) DoBeforeSave();
    if (!alive) return;
    KeepStateToReturnTo();
    std::string own;
    const std::string* statement =
        HasFact(kHasStatementsOfProvider) ? data.WholeStatement(FNewObject) : nullptr;
    if (statement == nullptr) {
      own = FNewObject ? GetInsertStatement() : GetModifyStatement();
      statement = &own;
    }
    if (!alive) return;
    CheckObjectIDTemporary();
    if (!statement->empty()) dbProvider()->PerformSQLStatement(*statement, this);
    FModified = false;
    FNewObject = false;
    try {
      DoAfterSave();
    } catch (...) {
      // The statement has run: a later save of this transaction has no other state to return to.
      if (alive) FHasBeenSavedAndNotComitted = true;
      throw;
    }
    if (!alive) return;
    data.DisableOptimizingUpdateQueries(false);
    FHasBeenSavedAndNotComitted = true;
  });
  if (alive) SetTimeStampAfterSaveObject();
}

void TplPerObject::KeepStateToReturnTo() {
  if (FHasBeenSavedAndNotComitted) return;
  FOldModified = FModified;
  FOldNewObject = FNewObject;
}

void TplPerObject::CheckObjectIDTemporary() {
  const std::string id = GetGID();
  std::int64_t number = -1;  // as one that is too long for its digits
  if (id.find('-') == std::string::npos || !Trim(id).starts_with('-') || !IsNumeric(id) ||
      (TryStrToInt(id, number) && number >= 0)) {
    return;
  }
  const std::string message =
      Format("Napaka pri shranjevanju! ID objekta %s - začasen ID (%s)!", ClassName(), id);
  ILog("TplPerObject.CheckObjectIDTemporary exception: " + message);
  throw Exception(message);
}

void TplPerObject::FillValuesInSqlParams(TIQuery* AQuery) {
  const int count = AQuery->ParamCount();
  const auto binding = FProvider->BindParams(AQuery->ParamsStatement());
  for (int i = 0; i < count; ++i) {
    FillValueInSqlParam(AQuery->Params(i), binding->params[static_cast<std::size_t>(i)]);
  }
}

void TplPerObject::FillValueInSqlParam(TIParam& AParam, const TParamMeaning& AMeaning) {
  if (AMeaning.isOld) {
    const std::string attribute(AParam.Name().substr(std::string_view("OLD_").size()));
    std::string text = GetAttrOldValue(attribute);
    if (text.empty()) text = GetAttrValue(attribute);
    return Write(AParam, ValueOfText(AMeaning.type, text));
  }
  if (AMeaning.index < 0) data.GetAttrIndex(AParam.Name());  // raises
  Write(AParam, ValueForStatement(AMeaning, AParam.DataType(), AParam.Name()));
}

// AType is the parameter's.
TBoundValue TplPerObject::ValueForStatement(const TParamMeaning& AMeaning, TFieldType AType,
                                            std::string_view AName) {
  if (AMeaning.type != TFieldType::ftFloat)
    return ValueOfText(AType, data.ValueView(AMeaning.index));
  double value = kNoFloat;
  if (TellsStoredValues()) {
    const std::string_view text = data.ValueView(AMeaning.index);
    if (text.empty() && !FbEmptyFloatReturnsZero) return {};
    if (!TryStrToFloat(text, value, FrozenFormatSettings())) value = kNoFloat;
  }
  if (value == kNoFloat) value = GetAttrValueAsFloat(std::string(AName));
  if (value == kNoFloat) return {};
  return {TIParam::TKind::number, value, {}};
}

bool TplPerObject::ValuesForStatement(const TParamBinding& ABinding, const TDataSet* AFields,
                                      std::vector<TBoundValue>& AValues) {
  if (!ABinding.isPlain || !TellsStoredValues()) return false;
  if (AFields != GetMetaData()->Fields()) return false;
  AValues.resize(ABinding.params.size());
  TBoundValue* value = AValues.data();
  for (const TParamMeaning& meaning : ABinding.params) {
    const std::string_view text = data.ValueView(meaning.index);
    if (meaning.type != TFieldType::ftFloat && meaning.type != TFieldType::ftDateTime) {
      *value = {text.empty() ? TIParam::TKind::null : TIParam::TKind::text, 0, text};
    } else {
      const auto i = static_cast<std::size_t>(value - AValues.data());
      *value = ValueForStatement(meaning, meaning.type, ABinding.statement->Parameters()[i]);
    }
    ++value;
  }
  return true;
}

// --- deleting ---

void TplPerObject::DeleteObject() {
  const TAlive alive(this);
  DoBeforeDeleteObject();
  if (!alive) return;
  bool cancelOnFailure = false;
  // A rollback returns to the state ahead of the delete, and not to what an earlier save has left:
  // an object that was new then would be inserted a second time.
  if (!FNewObject && FProvider->aiActiveFieldName().empty()) KeepStateToReturnTo();
  if (!FNewObject && !IsBeingEdited(GetEditState())) {
    cancelOnFailure = !GetModified();
    TryEdit(true);
    if (!alive) return;
  }
  FbDeletingObject = true;
  TryFinally(
      [&] {
        try {
          InTransaction(TCallerName(ClassType(), ".DeleteObject"), [&] { DoDeleteObject(); });
        } catch (...) {
          if (cancelOnFailure && alive) CancelData();
          throw;
        }
      },
      [&] {
        if (!alive) return;
        FbDeletingObject = false;
        UnLock(this, GetLockGroup());
      });
  if (!alive) return;
  FbObjectMarkedDeleted = true;
  CallNotifyAction(this, TIBaseObjectAction::paDelete, nullptr);
}

void TplPerObject::DoDeleteObject() {
  if (!FbDeletingObject) {
    throw Exception("TplPerObject.DoDeleteObject: Ilegal DoDeleteObject call!");
  }
  if (!AuthManager()->HasObjectRights(this, {TIAccessRight::arDelete})) {
    throw Exception("Brisanje ni dovoljeno!");
  }
  if (FNewObject) return;  // no row
  const std::string active = FProvider->aiActiveFieldName();
  const TAlive alive(this);
  if (active.empty()) {
    dbProvider()->PerformSQLStatement(GetDeleteStatement(), this);
  } else {
    Deactivate(active);
  }
  if (alive) TplProvider::GetCallBackObject()->DoDeleteObject(this);
}

// What failed takes its value back itself, lest an ordinary save deactivates the row: no rollback
// tells an object that never came into the transaction's list, nor any while an outer level goes
// on.
void TplPerObject::Deactivate(const std::string& AActive) {
  const TAlive alive(this);
  const std::string before = GetAttrValue(AActive);
  Edits().FOldActiveValue = before;
  try {
    SetReadOnlyAttrValue(AActive, "0");
    if (alive) DoSaveData();
  } catch (...) {
    if (alive) SetReadOnlyAttrValue(AActive, before);
    throw;
  }
}

// --- the end of the transaction ---

void TplPerObject::DoInternalCommit() {
  FModified = false;
  FNewObject = false;
  data.CommitValues();
  if (FbDeletingObject) FbObjectDeleted = true;
  FHasBeenSavedAndNotComitted = false;
}

void TplPerObject::DoInternalRollback() {
  FModified = FOldModified;
  FNewObject = FOldNewObject;
  const std::string active = FProvider->aiActiveFieldName();
  const TAlive alive(this);
  TryFinally(
      [&] {
        if (active.empty() || FEdits == nullptr || FEdits->FOldActiveValue.empty()) return;
        SetReadOnlyAttrValue(active, std::string(FEdits->FOldActiveValue));
      },
      [&] {
        if (alive) FHasBeenSavedAndNotComitted = false;
      });
}

// --- large objects ---

bool TplPerObject::_DoSaveBlob(const std::string& table, const std::string& idField,
                               const std::string& blobField, TStream* stream,
                               const std::string& sql) {
  TISQLHelper::SaveLob(table, blobField, idField, GetGID(), TOracleQuery::otBLOB, stream, sql);
  return true;
}

bool TplPerObject::_DoLoadBlob(const std::string& table, const std::string& idField,
                               const std::string& blobField, TStream* stream,
                               const std::string& sql) {
  TISQLHelper::LoadLob(table, blobField, idField, GetGID(), TOracleQuery::otBLOB, stream, sql);
  return stream->Size() > 0;
}

void TplPerObject::SaveClob(const std::string& AName) {
  FProvider->SaveClob(GetGID(), AName, GetAttrValue(AName));
}

void TplPerObject::LoadClob(const std::string& AName) {
  const TAlive alive(this);
  const bool initializing = FInitializingBo;
  SetInitializingBo(true);
  TryFinally([&] { SetAttrValue(AName, FProvider->LoadClob(GetGID(), AName)); },
             [&] {
               if (alive) SetInitializingBo(initializing);
             });
}

// --- the time stamp of the row ---

TDateTime TplPerObject::GetDBTimeStamp() {
  if (!GetKeepObjectTimestamp() && !GetManualNotification()) return kNoDate;
  std::string sql;
  try {
    sql = Format("select %s from %s.%s where %s=%s", "DATUMIPL", FProvider->aiTableOwner(),
                 FProvider->GetTableName(), FProvider->GetIDAttrName(), GetGID());
    const TOwned<TIQuery> query = Make<TIQuery>();
    query->DatabaseName(TcmpClassMap::kDatabaseName);
    query->SQLText(sql);
    query->Open();
    if (query->IsEmpty()) throw Exception("no row");
    const TField* stamp = query->FieldByName("DATUMIPL");
    return stamp->IsNull() ? kNoDate : stamp->AsDateTime();
  } catch (const std::exception&) {
    ILog("!!! No TimeStamp for " + sql);
    return kNoDate;
  }
}

void TplPerObject::SetTimeStampAfterSaveObject() {
  if (GetKeepObjectTimestamp() || GetManualNotification()) SetTimeStamp(GetDBTimeStamp());
}

bool TplPerObject::IsObjectInDbNewer() {
  if (FNewObject || (!GetKeepObjectTimestamp() && !GetManualNotification())) return false;
  const auto seconds = [](TDateTime value) {
    return static_cast<std::int64_t>(std::floor(std::round(value * kMillisecondsPerDay) / 1000));
  };
  return seconds(GetDBTimeStamp()) != seconds(GetTimeStamp());
}

// --- several objects ---

namespace {

template <class TAction>
void ForEachMember(TPlBoList* list, TAction&& action) {
  const TAlive alive(list);
  for (int i = 0; alive && i < list->Count(); ++i) {
    if (TplPerObject* const object = list->Get(i)) action(object);
  }
}

template <class TAction, class TListAction>
void ForEachItem(std::initializer_list<TPlBaseObject*> items, const char* operation,
                 TAction&& action, TListAction&& listAction) {
  // What is done to one may end another.
  const std::vector<TObjectHandle> handles(items.begin(), items.end());
  for (const TObjectHandle& handle : handles) {
    TObject* item = handle.Get();
    if (item == nullptr) continue;
    if (auto* object = As<TplPerObject>(item)) {
      action(object);
    } else if (auto* list = As<TPlBoList>(item)) {
      listAction(list);
    } else {
      throw Exception(std::string("Wrong type in ") + operation);
    }
  }
}

// The same for objects and members of lists alike.
template <class TAction>
void ForEachObject(std::initializer_list<TPlBaseObject*> items, const char* operation,
                   TAction&& action) {
  ForEachItem(items, operation, action, [&](TPlBoList* list) { ForEachMember(list, action); });
}

// Marks all members and saves the list; after a failure nobody stays marked.
void DeleteMembers(TPlBoList* list) {
  const TAlive alive(list);
  try {
    ForEachMember(list, [](TplPerObject* object) { object->SetObjectMarkedDeleted(true); });
    if (alive) list->SaveObjects(false);
  } catch (...) {
    if (alive) {
      ForEachMember(list, [](TplPerObject* object) { object->SetObjectMarkedDeleted(false); });
    }
    throw;
  }
}

}  // namespace

void TplPerObject::PostObjectList(std::initializer_list<TPlBaseObject*> AItems) {
  ForEachObject(AItems, "PostObjectList", [](TplPerObject* object) { object->PostData(); });
}

void TplPerObject::SaveObjectList(std::initializer_list<TPlBaseObject*> AItems) {
  ForEachItem(
      AItems, "SaveObjectList", [](TplPerObject* object) { object->SaveData(); },
      [](TPlBoList* list) { list->SaveObjects(false); });
}

void TplPerObject::DeleteObjectList(std::initializer_list<TPlBaseObject*> AItems) {
  ForEachItem(
      AItems, "DeleteObjectList",
      [](TplPerObject* object) {
        const TAlive alive(object);
        object->DeleteObject();
        if (alive) object->SaveData();
      },
      DeleteMembers);
}

bool TplPerObject::CheckForSaved(std::initializer_list<TPlBaseObject*> AItems) {
  bool saved = true;
  ForEachObject(AItems, "CheckForSaved", [&](TplPerObject* object) {
    if (object->GetModified() || object->aiNewObject()) saved = false;
  });
  return saved;
}

void TplPerObject::ChangeAttrValuesInList(const std::string& AName, const std::string& AValue,
                                          std::initializer_list<TPlBaseObject*> AItems,
                                          bool AForce) {
  ForEachObject(AItems, "ChangeAttrValuesInList", [&](TplPerObject* object) {
    if (AForce) {
      object->SetAttrValueCommon(AName, AValue, false);
    } else if (object->GetModified() || object->aiNewObject()) {
      object->SetAttrValue(AName, AValue);
    }
  });
}

}  // namespace perlayer

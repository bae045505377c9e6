#include "perlayer/provider/TplProvider.h"

#include <algorithm>
#include <vector>

#include "perlayer/corekit/TDriver.h"
#include "perlayer/corekit/TIQuery.h"
#include "perlayer/corekit/TIUpdateSQL.h"
#include "perlayer/database/SQLText.h"
#include "perlayer/foundation/BoMessageDlg.h"
#include "perlayer/list/TPlBoList.h"
#include "perlayer/object/TplPerObject.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TLayer.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/FetchSteps.h"
#include "perlayer/provider/TPlClassMetaData.h"
#include "perlayer/provider/TcmpClassMap.h"
#include "perlayer/provider/TplProviderList.h"
#include "perlayer/reclaim/TIPerLayerStatistics.h"
#include "perlayer/reclaim/TplGlobalDictionary.h"

namespace perlayer {

namespace {

struct TProviderState {
  bool greenMode = true;
  std::int64_t temporaryId = 1;
};

TProviderState& ProviderState() { return TLayer::Part<TProviderState>(TLayerPart::providerState); }

void ShowInformation(const std::string& text) {
  BoMessageDlg(text, TMsgDlgType::mtInformation, {TMsgDlgBtn::mbOK}, TMsgDlgBtn::mbOK,
               TMsgDlgBtn::mbOK);
}

}  // namespace

// --- life ---

void TplProvider::Create(TPlBaseObject* AOwner, TObject* ARetainer) {
  TplAuthorizedObject::Create(AOwner, ARetainer);
  SetQueryName();
  FActiveFieldName.clear();
  FIdAttrName.clear();
  FIncludeDeactivated = false;
  FsTableOwner = "OMRA";
  if (!Is<TcmpClassMap>(ARetainer)) {
    BoMessageDlg("TplProvider.Create: Retainer has to be of type TcmpClassMap",
                 TMsgDlgType::mtError, {TMsgDlgBtn::mbOK}, TMsgDlgBtn::mbOK, TMsgDlgBtn::mbOK);
  }
  cmpClassMap = Cast<TcmpClassMap>(ARetainer);
  CheckQueryExistance();
  FOptimizationSet = PerLayerSettings()->aiOptimization();
  PerLayerSettings()->ProviderList()->Add(this);
  GetProviderList()->Add(this);
}

void TplProvider::Destroy() {
  if (TPlClassMetaData* metaData = std::exchange(FMetaData, nullptr)) metaData->Release(this);
  FreeAndNil(FDefaults);
  TplAuthorizedObject::Destroy();
}

void TplProvider::CheckQueryExistance() {
  const TOwned<TIQuery> query = Make<TIQuery>();
  GetQuery(query.Get());
}

// --- names and settings ---

void TplProvider::SetQueryName() {
  const std::string name = ClassName();
  FQueryName = "qu" + name.substr(std::min<std::size_t>(3, name.size()));
}

bool TplProvider::CreatesClass(std::string_view AClassName) {
  std::string name = UpperCase(ClassName());
  if (name.size() > 2) name[2] = 'O';
  return name == UpperCase(AClassName);
}

TcmpClassMap* TplProvider::aiClassMap() const {
  if (auto* map = cmpClassMap.GetAs<TcmpClassMap>()) return map;
  throw Exception(Format("No class map defined for provider %s", ClassName()));
}

TIQuery* TplProvider::ClassMapQuery() {
  TcmpClassMap* map = aiClassMap();
  auto* query = static_cast<TIQuery*>(FClassMapQuery.Get());
  if (query == nullptr || query->Owner() != map || query->Name() != FQueryName ||
      query->Statement()->HasCommentLine()) {
    query = map->GetQuery(FQueryName);
    FClassMapQuery = query;
  }
  return query;
}

TPlClassMetaData* TplProvider::GetMetaData() {
  if (FMetaData == nullptr) FMetaData = New<TPlClassMetaData>(this, this);
  return FMetaData;
}

std::string TplProvider::GetIDAttrName() {
  if (FIdAttrName.empty()) {
    const TIQuery* query = ClassMapQuery();
    if (query->FieldCount() == 0) {
      throw Exception(Format("%s: query %s has no fields", ClassName(), FQueryName));
    }
    FIdAttrName = query->Fields(0)->FieldName();
  }
  return FIdAttrName;
}

std::string TplProvider::GetCaption() { return ClassMapQuery()->Caption(); }

TStringList* TplProvider::GetDefaults() {
  if (FDefaults == nullptr) FDefaults = New<TStringList>();
  return FDefaults;
}

TIQuery* TplProvider::GetQueryForBo(TplPerObject*) { return ClassMapQuery(); }

std::string TplProvider::GetTableNameKeyForDict() { return GetTableName(); }

std::string TplProvider::GetTableName() {
  if (!FsTableName.empty()) return FsTableName;
  const TOwned<TList> list = UpdateSQLList();
  const std::string insert = static_cast<TIUpdateSQL*>(list->Items(0))->Text(TIUpdateSQL::usInsert);
  const std::size_t owner = AsciiUpperCase(insert).find(FsTableOwner + ".");
  if (owner == std::string::npos) {
    throw Exception(
        Format("TplProvider.GetTableName: Ne najdem OMRA lastnika tabele za providerja %s (insert "
               "stavek = \"%s\")!",
               ClassName(), insert));
  }
  // The name ends at the line's end; the last character of the text is never part of it.
  const std::size_t begin = owner + FsTableOwner.size() + 1;
  std::size_t end = begin;
  while (end + 1 < insert.size() && static_cast<unsigned char>(insert[end]) >= 32) ++end;
  FsTableName = insert.substr(begin, end - begin);
  return FsTableName;
}

void TplProvider::ResetInternalCache() {
  throw Exception(Format("Reset internal cache not implemented : %s", ClassName()));
}

void TplProvider::OnSetAttrError(std::string& AsAttr, std::string& AsMessage,
                                 bool& AIgnoreStandard) {
  if (FOnSetAttrErrorEvent) FOnSetAttrErrorEvent(AsAttr, AsMessage, AIgnoreStandard);
}

TplProviderList* TplProvider::GetProviderList() { return TplProviderList::Instance(); }

TIProviderCallBacks* TplProvider::GetCallBackObject() {
  return &TLayer::Part<TIProviderCallBacks>(TLayerPart::callBacks);
}

bool TplProvider::GetGreenMode() { return ProviderState().greenMode; }
void TplProvider::SetGreenMode(bool AGreenMode) { ProviderState().greenMode = AGreenMode; }

std::string CDefNumericNoIdValue() { return IntToStr(-ProviderState().temporaryId++); }
bool IndexIsTemporary(std::string_view AId) { return AId.starts_with('-'); }

// --- queries ---

void TplProvider::GetQuery(TIQuery* quDest) {
  CopyQuery(quDest, ClassMapQuery());
  OverrideReplacementSELECTorFROM(quDest);
}

void TplProvider::OverrideReplacementSELECTorFROM(TIQuery* quDest) {
  if (quDest == nullptr) return;
  const auto replace = [&](int line, const std::string& text) {
    if (!text.empty() && quDest->SQL()->Count() > line) quDest->SQL()->Strings(line, text);
  };
  replace(0, FReplacementSELECT);
  replace(1, FReplacementFROM);
}

void TplProvider::IdToSQL(const std::string& sId, TIQuery* NewQuery) {
  NewQuery->ParamByName(GetIDAttrName()).AsString(sId);
}

bool TplProvider::FetchSpecToSQL(TIQuery* Query, const std::string& FetchSpec, const std::string&) {
  std::string condition = FetchSpec;
  if (!FActiveFieldName.empty() && !GetIncludeDeactivated()) {
    if (!condition.empty()) condition += " AND ";
    condition += FActiveFieldName + "='1'";
  }
  // A class without an active field: the statement's WHERE must have something behind it.
  if (condition.empty()) condition = "1=1";
  SetWhereClause(Query, condition, FBindVariables);
  return true;
}

// The class map's last line is by rule the ID condition, so no WHERE is looked for. The statement
// that comes of it is kept: most fetches of a class start from the same text.
void TplProvider::AppendActiveCondition(TIQuery* query) {
  if (query->Statement() != FActiveFrom || FActiveToField != FActiveFieldName) {
    const TStatementTextPtr from = query->Statement();
    TStringList* lines = query->SQL();
    const int last = lines->Count() - 1;
    lines->Strings(last, lines->Strings(last) + " AND " + FActiveFieldName + "='1'");
    FActiveTo = query->Statement();
    FActiveFrom = from;
    FActiveToField = FActiveFieldName;
    return;
  }
  query->AssignStatement(FActiveTo);
}

void TplProvider::GetQueryForObject(const std::string& sId, TIQuery*& AQuery, bool AFreeExisting) {
  if (AFreeExisting) FreeAndNil(AQuery);
  TOwned<TIQuery> query = Make<TIQuery>();
  GetQuery(query.Get());
  IdToSQL(sId, query.Get());
  if (!FActiveFieldName.empty() && !GetIncludeDeactivated()) AppendActiveCondition(query.Get());
  PerLayerStatistics()->Timed(TIPerLayerStatisticsStartTimingType::ttOpen, [&] { query->Open(); });
  AQuery = query.Release();
}

TIQuery* TplProvider::OpenFetchSpec(const std::string& FetchSpec) {
  TOwned<TIQuery> query = Make<TIQuery>();
  GetQuery(query.Get());
  FetchSpecToSQL(query.Get(), FetchSpec, "");
  PerLayerStatistics()->Timed(TIPerLayerStatisticsStartTimingType::ttOpen, [&] { query->Open(); });
  return query.Release();
}

const TRowBinding& TplProvider::BindRow(const std::shared_ptr<const TColumnLayout>& layout) {
  TPlClassMetaData* metaData = GetMetaData();
  const TStringList* names = metaData->GetAttrNames();
  const auto count = static_cast<std::size_t>(names->Count());
  if (FRowBinding.layout == layout && FRowBinding.columns.size() == count) return FRowBinding;
  TRowBinding binding;
  binding.columns.resize(count);
  for (std::size_t i = 0; i < count; ++i) {
    const std::string& name = names->Strings(static_cast<int>(i));
    const int column = layout->IndexOf(name);
    if (column < 0) {
      throw Exception(Format("%s: the query has no column for attribute %s", ClassName(), name));
    }
    const TColumnType type = layout->columns[static_cast<std::size_t>(column)].type;
    // A date that comes from an expression is a bare number in the row: the class map knows better.
    const TField* field = metaData->GetFieldByIndex(static_cast<int>(i));
    const bool declaredDate = field != nullptr && field->DataType() == TFieldType::ftDateTime;
    binding.columns[i] = {
        column, type == TColumnType::dateTime || (type == TColumnType::number && declaredDate)};
  }
  binding.layout = layout;
  FRowBinding = std::move(binding);
  return FRowBinding;
}

namespace {
// The class's statements for one table or one set of changed attributes.
constexpr std::size_t kParamBindings = 8;
constexpr std::string_view kOldValue = "OLD_";
}  // namespace

std::shared_ptr<const TParamBinding> TplProvider::BindParams(const TStatementTextPtr& statement) {
  TPlClassMetaData* metaData = GetMetaData();
  const int attributes = metaData->GetAttrNames()->Count();
  if (!FParamBindings.empty() && FParamBindings.front()->statement == statement &&
      FParamBindings.front()->attributes == attributes) {
    return FParamBindings.front();
  }
  const auto known = std::find_if(
      FParamBindings.begin(), FParamBindings.end(),
      [&](const std::shared_ptr<const TParamBinding>& b) { return b->statement == statement; });
  if (known != FParamBindings.end()) {
    std::rotate(FParamBindings.begin(), known, known + 1);
    if (FParamBindings.front()->attributes == attributes) return FParamBindings.front();
    FParamBindings.erase(FParamBindings.begin());
  }
  auto binding = std::make_shared<TParamBinding>();
  binding->statement = statement;
  binding->attributes = attributes;
  for (std::string_view name : statement->Parameters()) {
    const bool isOld = AsciiUpperCase(name.substr(0, kOldValue.size())) == kOldValue;
    if (isOld) name.remove_prefix(kOldValue.size());
    const int index = metaData->GetAttrIndex(name);
    const TField* field = metaData->GetFieldByIndex(index);
    binding->isPlain = binding->isPlain && !isOld && index >= 0;
    binding->params.push_back(
        {index, isOld, field == nullptr ? TFieldType::ftUnknown : field->DataType()});
  }
  if (FParamBindings.size() == kParamBindings) FParamBindings.pop_back();
  FParamBindings.insert(FParamBindings.begin(), binding);
  return binding;
}

// The text of one field of the current row, without making fields where the row has cells.
std::string TplProvider::RowText(TDataSet* ds, const std::string& field) {
  const auto& layout = ds->RowLayout();
  const int column = layout == nullptr ? -1 : layout->IndexOf(field);
  if (column < 0) return ds->FieldByName(field)->AsString();
  TCell cell;
  ds->RowCell(column, cell);
  return cell.AsText();
}

// --- fetching ---

TplPerObject* TplProvider::GetObject(TObject* ARetainer, const std::string& sId,
                                     bool bIncludeSubclasses) {
  if (sId.empty()) return nullptr;
  TplGlobalDictionary* dictionary = GlobalDictionary();
  TplPerObject* object = nullptr;
  if (dictionary->aiUSEDICTIONARY()) {
    object = dictionary->GetObjectForProvider(ARetainer, this, sId);
  }
  if (object == nullptr) {
    TIQuery* opened = nullptr;
    GetQueryForObject(sId, opened, false);
    TOwned<TIQuery> query(opened);
    if (!query->IsEmpty()) {
      object = GetObjectFromDataSet(ARetainer, query.Get(), bIncludeSubclasses);
    }
    query.Reset();
    if (object == nullptr) return nullptr;
    LetGoOnFailure(object, ARetainer, [&] {
      object->FGID = sId;
      dictionary->AddPerObject(this, object, ARetainer);
    });
  }
  LetGoOnFailure(object, ARetainer, [&] { FFetchedID = sId; });
  return object;
}

const std::string& TplProvider::FetchSpecOfLastFetch() {
  if (!FFetchedID.empty()) {
    FsFetchSpec.assign(GetIDAttrName()).append(" = '").append(FFetchedID).append("'");
    FFetchedID.clear();
  }
  return FsFetchSpec;
}

TplPerObject* TplProvider::GetObjectFromDataSet(TObject* ARetainer, TDataSet* ds,
                                                bool bIncludeSubclasses) {
  TplPerObject* object;
  if (!bIncludeSubclasses) {
    object = FetchObjectFromDataSet(ARetainer, ds, nullptr);
  } else {
    TObjectSql sql(ds);
    TplProvider* provider = GetProviderFromDataSet(ds, sql.query);
    Assert(provider != nullptr, "Wrong result class in provider");
    const bool sameRows = sql.query == sql.source || sql.query == nullptr;
    const TRestore<bool> include(provider->FIncludeDeactivated, GetIncludeDeactivated());
    object = provider->FetchObjectFromDataSet(ARetainer, sameRows ? ds : sql.query, provider);
  }
  if (object != nullptr) {
    LetGoOnFailure(object, ARetainer, [&] { object->SetTimeStampAfterGetObject(); });
  }
  return object;
}

TplProvider* TplProvider::GetProviderFromDataSet(TDataSet*, TIQuery*&) { return this; }

// --- new objects ---

TplPerObject* TplProvider::NewObject(TObject* ARetainer) {
  if (!HasRights({TIAccessRight::arInsert})) {
    throw Exception(Format("%s nima pravice kreirati objekta!", ClassName()));
  }
  TplPerObject* object = InternalCreateObject(ARetainer);
  auto* const list = As<TPlCustomBoList>(ARetainer);
  LetGoOnFailure(object, ARetainer, [&] {
    object->data.InitData();
    SetDefaultValues(object);
    PerLayerStatistics()->ReferenceEvent(object, TIReferenceEventType::reCreate, ARetainer);
    object->FNewObject = true;
    SetDefaultNewObjectValues(object);
    if (list != nullptr) list->SimpleAdd(object);  // the first reference is the entry's
  });
  const TAlive alive(object);
  const TAlive listAlive(list);
  try {
    if (list != nullptr) {
      list->CallNotifyAction(list, TIBaseObjectAction::paAddToList, object);
    }
    if (alive && !GetGreenMode()) GlobalDictionary()->AddPerObject(this, object, ARetainer);
  } catch (...) {
    if (alive && list == nullptr) object->Release(ARetainer);
    if (alive && listAlive) list->Remove(object);
    throw;
  }
  return alive ? object : nullptr;
}

void TplProvider::SetDefaultValues(TplPerObject* AplObject) {
  if (AplObject == nullptr) return;
  const bool initializing = AplObject->FInitializingBo;
  AplObject->SetInitializingBo(true);
  TryFinally(
      [&] {
        const TStringList* defaults = GetDefaults();
        for (int i = 0; i < defaults->Count(); ++i) {
          AplObject->SetAttrValue(defaults->Names(i), defaults->ValueFromIndex(i));
        }
      },
      [&] { AplObject->SetInitializingBo(initializing); });
}

void TplProvider::SetDefaultNewObjectValues(TplPerObject* ANewObject) {
  ANewObject->SetInitializingBo(true);
  TryFinally(
      [&] {
        ANewObject->SetObjectTypeForNewObject();
        if (!FActiveFieldName.empty()) ANewObject->SetAttrValue(FActiveFieldName, "1");
        if (GetGreenMode()) ANewObject->SetAttrValue(GetIDAttrName(), CDefNumericNoIdValue());
      },
      [&] { ANewObject->SetInitializingBo(false); });
}

// --- rows ---

TplPerObject* TplProvider::FetchObjectFromDataSet(TObject* ARetainer, TDataSet* ds,
                                                  TplProvider* ACorrectProvider) {
  auto* const query = As<TIQuery>(ds);
  if (!ds->Active()) {
    PerLayerStatistics()->Timed(TIPerLayerStatisticsStartTimingType::ttOpen, [&] { ds->Open(); });
  }
  if (ds->IsEmpty()) {
    ShowInformation(
        Format("TplProvider.FetchObjectFromDataSet:\r\rNe najdem zapisa o objektu v dodatni "
               "tabeli!\rObjekt z ID=%s se je shranil z napako, ali pa je nekdo zbrisal podatke iz "
               "dodatne tabele za ta objekt.\r\rIme providerja je %s\rSQL ukaz: %s",
               query == nullptr || query->ParamCount() == 0 ? "?" : query->Params(0).AsString(),
               ClassName(), query == nullptr ? ds->ClassName() : query->SQLText()));
    return nullptr;
  }
  TplProvider* provider = ACorrectProvider;
  if (provider == nullptr) {
    TObjectSql sql(ds);
    provider = GetProviderFromDataSet(ds, sql.query);
    Assert(provider != nullptr, "Wrong class in provider");
  }
  TplPerObject* object = provider->InternalCreateObject(ARetainer);
  // A hook, or a retainer that is told of the mark, may let go of the object.
  const TAlive alive(object);
  LetGoOnFailure(object, ARetainer, [&] {
    object->InitializeFromDataSet(ds);
    if (alive) object->InitializeAfterGetDataFromDataSet();
    if (alive && !FActiveFieldName.empty() && !GetIncludeDeactivated() &&
        RowText(ds, FActiveFieldName) == "0") {
      ShowInformation(Format("Uporabljen objekt %s je neaktiven!", object->GetTextDescription()));
      object->SetObjectMarkedDeleted(true);
    }
    if (alive) {
      PerLayerStatistics()->ReferenceEvent(object, TIReferenceEventType::reCreate, ARetainer);
    }
  });
  return alive ? object : nullptr;
}

void TplProvider::CheckOneRow(TIQuery* query, TplPerObject* object, const TFetch& fetch) {
  query->Next();
  if (query->Eof()) return;
  if (FOnOne2OneViolation) {
    TPlBoList* const list = GetObjectList(fetch.retainer);
    const TAlive alive(list);
    return TryFinally(
        [&] {
          list->LoadFromDataSet(query, fetch.includeSubclasses);
          FOnOne2OneViolation(fetch.retainer, list);
        },
        [&] {
          if (alive) list->Release(fetch.retainer);
        });
  }
  throw Exception(
      Format("TplProvider.FetchObject: Dobil več kot en objekt tipa %s!\r\rPogoj:\r%s\r\rSQL:\r%s",
             object->ClassName(), fetch.condition, query->SQLText()));
}

TplPerObject* TplProvider::FetchObject(TObject* ARetainer, const std::string& FetchSpec,
                                       bool bIncludeSubclasses) {
  TplGlobalDictionary* dictionary = GlobalDictionary();
  if (dictionary->aiUSEDICTIONARY()) {
    TplPerObject* found = PerLayerStatistics()->Timed(
        TIPerLayerStatisticsStartTimingType::ttDictionary,
        [&] { return dictionary->FetchObject(ARetainer, this, FetchSpec); });
    if (found != nullptr) return found;
  }
  TplPerObject* object = nullptr;
  {
    const TOwned<TIQuery> query(OpenFetchSpec(FetchSpec));
    if (!query->IsEmpty()) {
      object = GetObjectFromDataSet(ARetainer, query.Get(), bIncludeSubclasses);
    }
    if (object != nullptr) {
      LetGoOnFailure(object, ARetainer, [&] {
        CheckOneRow(query.Get(), object, {ARetainer, FetchSpec, bIncludeSubclasses});
      });
    }
  }
  LetGoOnFailure(object, ARetainer, [&] {
    FsFetchSpec = FetchSpec;
    FFetchedID.clear();
    if (object != nullptr) dictionary->ConsultDictionary(ARetainer, object);
  });
  return object;
}

TplPerObject* TplProvider::GetObjectFor(TObject* ARetainer, const std::string& sAttrName,
                                        const std::string& sAttrValue, bool bIncludeSubclasses) {
  return FetchObject(ARetainer, sAttrName + "='" + sAttrValue + "'", bIncludeSubclasses);
}

TplPerObject* TplProvider::FetchObjectTest(TObject* ARetainer, const std::string& FetchSpec,
                                           bool bIncludeSubclasses) {
  constexpr int kRounds = 20001;
  { const TOwned<TIQuery> first(OpenFetchSpec(FetchSpec)); }
  const TOwned<TIQuery> query(OpenFetchSpec(FetchSpec));
  if (query->IsEmpty()) return nullptr;
  TplPerObject* object = GetObjectFromDataSet(ARetainer, query.Get(), bIncludeSubclasses);
  for (int i = 0; object != nullptr && i < kRounds; ++i) {
    GlobalDictionary()->ConsultDictionary(ARetainer, object);
    object->Release(ARetainer);
    object = GetObjectFromDataSet(ARetainer, query.Get(), bIncludeSubclasses);
  }
  if (object != nullptr) {
    LetGoOnFailure(object, ARetainer, [&] { query->Next(); });
    const bool several = !query->Eof();
    const std::string name = object->ClassName();
    object->Release(ARetainer);
    if (several) {
      throw Exception(Format("TplProvider.FetchObject: Dobil več kot en objekt tipa %s! ", name));
    }
  }
  return nullptr;
}

TIObjectExistsInDatabaseResult TplProvider::ExistsInDatabase(const std::string& sID) {
  using enum TIObjectExistsInDatabaseResult;
  const std::string activeField = FActiveFieldName;
  // Without the name, for the moment, a deactivated row is found too.
  const TRestore<std::string> all(FActiveFieldName, "");
  TIQuery* opened = nullptr;
  GetQueryForObject(sID, opened, false);
  const TOwned<TIQuery> query(opened);
  if (query->IsEmpty()) return edNotExists;
  if (activeField.empty()) return edExists;
  return RowText(query.Get(), activeField) == "1" ? edExists : edDeleted;
}

void TplProvider::ReloadObjectInGlobalDictionary(
    const std::string& AGid, const TIOnReloadObjectsInDictionary& AOnReloadEvent) {
  TplPerObject* object = GlobalDictionary()->TakeObject(this, AGid);
  if (object == nullptr) return;
  if (AOnReloadEvent) {
    AOnReloadEvent(object);
  } else {
    object->Reload();
  }
}

TplProvider* TplProvider::CannotDetermineProvider(TplProvider* AProvider, const std::string& AField,
                                                  const std::string& ACurrentValue,
                                                  std::span<const std::string> AValidValues) {
  throw Exception(Format(
      "Cannot determine provider at %s (table: %s, field: %s, value: %s, valid values: %s)!",
      AProvider == nullptr ? "?" : AProvider->ClassName(),
      AProvider == nullptr ? "?" : AProvider->GetTableName(), AField, ACurrentValue,
      AValidValues.empty()
          ? "?"
          : JoinText(std::vector<std::string>(AValidValues.begin(), AValidValues.end()), ", ")));
}

}  // namespace perlayer

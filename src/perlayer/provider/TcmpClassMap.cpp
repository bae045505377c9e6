#include "perlayer/provider/TcmpClassMap.h"

#include <algorithm>

#include "perlayer/corekit/ILog.h"
#include "perlayer/corekit/TIQuery.h"
#include "perlayer/corekit/TIUpdateSQL.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TLayer.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/ClassMapFile.h"
#include "perlayer/provider/TIGetTableOwner.h"
#include "perlayer/provider/TILocalizeDisplayLabel.h"
#include "perlayer/provider/TplProviderList.h"
#include "perlayer/reclaim/TIPerLayerStatistics.h"

namespace perlayer {

namespace {

// The class maps that the layer keeps. Their providers go before them.
struct TKeptClassMaps {
  std::vector<TOwned<TcmpClassMap>> maps;
  ~TKeptClassMaps() {
    try {
      TplProviderList::Instance()->FreeProviders();
    } catch (const std::exception& e) {
      // Of an application's hook. It is told, and the providers go without it.
      ILog(Format("Unloading the layer: %s", e.what()));
      PerLayerStatistics()->aiBeforeDestroyingProviders(nullptr);
      TplProviderList::Instance()->FreeProviders();
    }
    while (!maps.empty()) maps.pop_back();
  }
};

TKeptClassMaps& KeptClassMaps() { return TLayer::Part<TKeptClassMaps>(TLayerPart::classMaps); }

}  // namespace

TcmpClassMap* AddClassMap(TClassMapDefinition definition) {
  auto& maps = KeptClassMaps().maps;
  maps.push_back(Make<TcmpClassMap>(std::move(definition)));
  return maps.back().Get();
}

TcmpClassMap* LoadClassMap(const std::string& path) { return AddClassMap(ReadClassMapFile(path)); }

TFieldType TcmpClassMap::FieldTypeOf(TClassMapFieldType type) {
  switch (type) {
    case TClassMapFieldType::memo:
      return TFieldType::ftMemo;
    case TClassMapFieldType::floating:
      return TFieldType::ftFloat;
    case TClassMapFieldType::integer:
      return TFieldType::ftInteger;
    case TClassMapFieldType::dateTime:
      return TFieldType::ftDateTime;
    case TClassMapFieldType::blob:
      return TFieldType::ftBlob;
    case TClassMapFieldType::string:
      break;
  }
  return TFieldType::ftString;
}

void TcmpClassMap::Create(TClassMapDefinition ADefinition) {
  FDefinition = std::move(ADefinition);
  TdmIBaseModule::Create(nullptr);
}

void TcmpClassMap::InternalLoadComponents() {
  if (FDefinition.queries.empty() && FDefinition.updateSqls.empty()) FDefinition = Define();
  CheckClassMap(FDefinition);
  FValidInfo1 = New<TIValidInfo>(this);
  FValidInfo1->Name("IValidInfo1");
  for (const TClassMapQuery& query : FDefinition.queries) LoadQuery(query);
  for (const TClassMapUpdateSql& update : FDefinition.updateSqls) LoadUpdateSql(update);
  TdmIBaseModule::InternalLoadComponents();
}

void TcmpClassMap::LoadQuery(const TClassMapQuery& definition) {
  auto* query = New<TIQuery>(this);
  query->Name(definition.name);
  query->Caption(definition.caption);
  query->DatabaseName(kDatabaseName);
  query->SQL()->AddStrings(definition.sql);
  for (const TClassMapField& item : definition.fields) {
    if (item.calculated) continue;
    TField* field = NewField(query, FieldTypeOf(item.type), item.name, item.size);
    field->Required(item.required);
    field->DisplayLabel(item.label);
    field->ValidString(
        ValidInfo2ValidString({std::string(ValidKindOfCodeList(item.codeList)),
                               field->DisplayLabel(), item.size, item.required, item.codeList}));
  }
}

void TcmpClassMap::LoadUpdateSql(const TClassMapUpdateSql& definition) {
  auto* update = New<TIUpdateSQL>(this);
  update->Name(definition.name);
  update->SQL(TIUpdateSQL::usInsert)->AddStrings(definition.insertSql);
  update->SQL(TIUpdateSQL::usModify)->AddStrings(definition.modifySql);
  update->SQL(TIUpdateSQL::usDelete)->AddStrings(definition.deleteSql);
}

void TcmpClassMap::dmIBaseModuleCreate(TObject* Sender) {
  TdmIBaseModule::dmIBaseModuleCreate(Sender);
  KeptClassMaps();  // from now on unloading the layer frees providers, whoever keeps this map
  TIGetTableOwner::Initialize(this);
  TILocalizeDisplayLabel::Instance()->ClassMapLoaded(this);
  TILocalizeDisplayLabel::Instance()->Execute(this);
}

void TcmpClassMap::dmIBaseModuleDestroy(TObject* Sender) {
  TdmIBaseModule::dmIBaseModuleDestroy(Sender);
  TILocalizeDisplayLabel::Instance()->ClassMapUnloaded(this);
}

TIQuery* TcmpClassMap::GetQuery(std::string_view sQueryName) {
  TComponent* component = FindComponent(sQueryName);
  if (component == nullptr) throw Exception(Format("No query for %s", sQueryName));
  auto* query = Cast<TIQuery>(component);
  DeleteSQLComments(query);
  return query;
}

TList* TcmpClassMap::GetUpdateSQLList(std::string_view sQueryName) {
  const std::string primary =
      "us" + std::string(sQueryName.substr(std::min<std::size_t>(2, sQueryName.size())));
  const std::string secondary = primary + "_";
  TOwned<TList> list = Make<TList>();
  for (int i = 0; i < ComponentCount(); ++i) {
    auto* update = As<TIUpdateSQL>(Components(i));
    if (update == nullptr) continue;
    if (update->Name() == primary || update->Name().starts_with(secondary)) list->Add(update);
  }
  return list.Release();
}

void TcmpClassMap::DeleteSQLComments(TIQuery*& AQuery) {
  if (!AQuery->Statement()->HasCommentLine()) return;
  TStringList* lines = AQuery->SQL();
  for (int i = 0; i < lines->Count(); ++i) {
    if (Trim(lines->Strings(i)).starts_with("--")) lines->Strings(i, "");
  }
}

std::vector<TClassMapField> TcmpClassMap::CalculatedFields(std::string_view sQueryName) const {
  std::vector<TClassMapField> result;
  for (const TClassMapQuery& query : FDefinition.queries) {
    if (!SameText(query.name, sQueryName)) continue;
    for (const TClassMapField& field : query.fields) {
      if (field.calculated) result.push_back(field);
    }
  }
  return result;
}

void TvmpView::dmIBaseModuleCreate(TObject* Sender) {
  TcmpClassMap::dmIBaseModuleCreate(Sender);
  TILocalizeDisplayLabel::Instance()->ClassMapLoaded(this);
  TILocalizeDisplayLabel::Instance()->Execute(this);
}

void TvmpView::dmIBaseModuleDestroy(TObject* Sender) {
  TcmpClassMap::dmIBaseModuleDestroy(Sender);
  TILocalizeDisplayLabel::Instance()->ClassMapUnloaded(this);
}

}  // namespace perlayer

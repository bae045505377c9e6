#include "perlayer/corekit/TISifranti.h"

#include "perlayer/corekit/TField.h"
#include "perlayer/corekit/TIQuery.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TLayer.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

constexpr std::string_view kDatabaseName = "_QOR";
constexpr std::string_view kByCode = "S_CODE";
constexpr std::string_view kByShortDesc = "S_DESC";
constexpr std::string_view kNone = "0";  // stands for a column that a list has not

// The columns of a prepared query.
enum TColumn { kCode, kShort, kDesc, kParams, kActive };

struct TSifrantiPart {
  TOwned<TISifranti> lists = Make<TISifranti>();
  TOwned<TISkupSifranti> shared = Make<TISkupSifranti>();
};

TSifrantiPart& Part() { return TLayer::Part<TSifrantiPart>(TLayerPart::codeLists); }

TOwned<TIQuery> Query(const std::string& sql) {
  TOwned<TIQuery> query = Make<TIQuery>();
  query->DatabaseName(kDatabaseName);
  query->SQLText(sql);
  return query;
}

std::string Column(const std::string& field) { return field.empty() ? std::string(kNone) : field; }

// The column's name, or kNone. No name of a column begins with a digit; several missing ones of a
// statement are numbered.
std::string NameOf(const TIQuery* query, TColumn column) {
  std::string name = query->Fields(column)->FieldName();
  return name.starts_with(kNone) ? std::string(kNone) : name;
}

std::string Text(const TIQuery* query, TColumn column) {
  return NameOf(query, column) == kNone ? std::string() : query->Fields(column)->AsString();
}

}  // namespace

TISifranti& Sifranti() { return *Part().lists; }
TISkupSifranti& SkupSifranti() { return *Part().shared; }
void InstallSifranti(TOwned<TISifranti> service) { Part().lists = std::move(service); }
void InstallSkupSifranti(TOwned<TISkupSifranti> service) { Part().shared = std::move(service); }

void TISifranti::Destroy() {
  DropBuffers();
  TObject::Destroy();
}

// --- the catalogue ---

std::string TISifranti::Folded(std::string_view AName) { return FoldCase(AName); }

TISifranti::TList& TISifranti::List(std::string_view AName) {
  const std::string key = Folded(AName);
  if (const auto found = FLists.find(key); found != FLists.end()) return found->second;
  const std::string catalogue = GetTableOwner("SIFRANTI") + ".SIFRANTI";
  const TOwned<TIQuery> query = Query(
      "select TABLE_NAME, LIST_FIELD, CODE_FIELD, SHORT_FIELD, DESC_FIELD, PARAMS_FIELD, "
      "ACTIVE_FIELD, TRASHOLD, START_ORDER\r\nfrom " +
      catalogue + "\r\nwhere\r\nupper(NAME) = upper(:NAME)");
  query->ParamByName("NAME").AsString(AName);
  query->Open();
  if (query->IsEmpty()) {
    throw Exception(Format("There is no code list %s in %s", AName, catalogue));
  }
  const auto text = [&](const char* name) { return query->FieldByName(name)->AsString(); };
  TList list;
  list.definition = {text("TABLE_NAME"),   text("LIST_FIELD"),
                     text("CODE_FIELD"),   text("SHORT_FIELD"),
                     text("DESC_FIELD"),   text("PARAMS_FIELD"),
                     text("ACTIVE_FIELD"), static_cast<int>(StrToIntDef(text("TRASHOLD"), 0)),
                     text("START_ORDER")};
  TOwned<TISifBuffer> buffer = Make<TISifBuffer>();
  TList& kept = FLists.emplace(key, std::move(list)).first->second;
  kept.buffer = buffer.Release();
  return kept;
}

const TISifranti::TDefinition& TISifranti::Definition(std::string_view AName) {
  return List(AName).definition;
}

void TISifranti::GetTableSelectFields(std::string_view AName, std::string& ADatabaseName,
                                      std::string& ATableName, std::string& ACodeField,
                                      std::string& ADescField) {
  const TDefinition& definition = Definition(AName);
  ADatabaseName = kDatabaseName;
  ATableName = definition.table;
  ACodeField = definition.codeField;
  ADescField = definition.descField;
}

std::string TISifranti::GetTableOwner(std::string_view) { return FDefaultOwner; }

void TISifranti::DropBuffer(std::string_view AName) {
  const auto found = FLists.find(Folded(AName));
  if (found == FLists.end()) return;
  FreeAndNil(found->second.buffer);
  FLists.erase(found);
}

void TISifranti::DropBuffers() {
  for (auto& [name, list] : FLists) FreeAndNil(list.buffer);
  FLists.clear();
}

// --- reading ---

std::string TISifranti::SelectText(std::string_view AName, const std::string& AField) {
  const TDefinition& list = Definition(AName);
  std::string sql = "select " + list.codeField + ", " + Column(list.shortField) + ", " +
                    Column(list.descField) + ", " + Column(list.paramsField) + ", " +
                    Column(list.activeField) + "\r\nfrom " + GetTableOwner(list.table) + "." +
                    list.table + "\r\nwhere\r\n" + AField + " = :CODE";
  if (!list.listField.empty()) sql += " and " + list.listField + " = :LIST";
  return sql;
}

TIQuery* TISifranti::GetPreparedQuery(const std::string& AKey, TISifBuffer*& ABuffer) {
  const bool byCode = AKey.starts_with(kByCode);
  if (!byCode && !AKey.starts_with(kByShortDesc)) {
    throw EDatabaseError(TDatabaseErrorKind::other, 0,
                         Format("There is no prepared query of a code list for %s", AKey), "");
  }
  const std::string name = AKey.substr(byCode ? kByCode.size() : kByShortDesc.size());
  const TDefinition& list = Definition(name);
  if (!byCode && list.shortField.empty()) {
    throw EDatabaseError(TDatabaseErrorKind::other, 0,
                         Format("The code list %s has no short texts", name), "");
  }
  TOwned<TIQuery> query = Query(SelectText(name, byCode ? list.codeField : list.shortField));
  if (!list.listField.empty()) query->ParamByName("LIST").AsString(name);
  ABuffer = List(name).buffer;
  return query.Release();
}

bool TISifranti::LoadFromDataSet(const std::string&, const std::string& ACode, TIQuery* AQuery,
                                 TISifBuffer* ABuffer) {
  AQuery->ParamByName("CODE").AsString(ACode);
  AQuery->Open();
  if (AQuery->IsEmpty()) return false;
  const std::string active = Text(AQuery, kActive);
  const bool hasActive = NameOf(AQuery, kActive) != kNone;
  ABuffer->Add(Text(AQuery, kCode), Text(AQuery, kShort), Text(AQuery, kDesc),
               hasActive && active != "1", Text(AQuery, kParams));
  return true;
}

std::string TISifranti::ISSifra(const TIQuery* AQuery) { return NameOf(AQuery, kCode); }
std::string TISifranti::ISOkrajsava(const TIQuery* AQuery) { return NameOf(AQuery, kShort); }
std::string TISifranti::ISOpis(const TIQuery* AQuery) { return NameOf(AQuery, kDesc); }
bool TISifranti::ISHasShortDesc(const TIQuery* AQuery) { return ISOkrajsava(AQuery) != kNone; }

const TISifCode* TISifranti::Code(std::string_view AName, std::string_view ACode) {
  if (ACode.empty()) return nullptr;
  if (const TISifCode* code = List(AName).buffer->Find(ACode)) return code;
  const std::string name(AName);
  TISifBuffer* buffer = nullptr;
  const TOwned<TIQuery> query(GetPreparedQuery(std::string(kByCode) + name, buffer));
  if (!LoadFromDataSet(name, std::string(ACode), query.Get(), buffer)) return nullptr;
  // Read anew: what has been loaded may have dropped the list's buffer.
  return List(AName).buffer->Find(ACode);
}

bool TISifranti::Exists(std::string_view AName, std::string_view ACode, bool AIncludeDeactivated) {
  const TISifCode* code = Code(AName, ACode);
  return code != nullptr && (AIncludeDeactivated || !code->deactivated);
}

std::string TISifranti::ShortDesc(std::string_view AName, std::string_view ACode) {
  const TISifCode* code = Code(AName, ACode);
  return code == nullptr ? std::string() : code->shortDesc;
}

std::string TISifranti::Desc(std::string_view AName, std::string_view ACode) {
  const TISifCode* code = Code(AName, ACode);
  return code == nullptr ? std::string() : code->desc;
}

std::string TISifranti::Params(std::string_view AName, std::string_view ACode) {
  const TISifCode* code = Code(AName, ACode);
  return code == nullptr ? std::string() : code->params;
}

std::string TISifranti::ShortDescToCode(std::string_view AName, std::string_view AShortDesc) {
  if (AShortDesc.empty()) return {};
  TISifBuffer* buffer = nullptr;
  const TOwned<TIQuery> query(
      GetPreparedQuery(std::string(kByShortDesc) + std::string(AName), buffer));
  query->ParamByName("CODE").AsString(AShortDesc);
  query->Open();
  return query->IsEmpty() ? std::string() : Text(query.Get(), kCode);
}

bool TISifranti::ExistsShortDesc(std::string_view AName, std::string_view AShortDesc,
                                 bool AIncludeDeactivated) {
  if (AShortDesc.empty() || AShortDesc == "'" || GetOkrajsava(AName).empty()) return false;
  const std::string code = ShortDescToCode(AName, AShortDesc);
  return !code.empty() && Exists(AName, code, AIncludeDeactivated);
}

// --- lists that share tables ---

bool TISkupSifranti::Exists(std::string_view AName, std::string_view ACode, bool ABuffered,
                            std::string_view ACondition, bool AIncludeDeactivated) {
  if (ABuffered && ACondition.empty()) return Exists(AName, ACode, AIncludeDeactivated);
  const TDefinition& list = Definition(AName);
  std::string sql = SelectText(AName, list.codeField);
  if (!ACondition.empty()) sql += "\r\nand (" + std::string(ACondition) + ")";
  if (!AIncludeDeactivated && !list.activeField.empty()) {
    sql += "\r\nand " + list.activeField + " = '1'";
  }
  const TOwned<TIQuery> query = Query(sql);
  query->ParamByName("CODE").AsString(ACode);
  if (!list.listField.empty()) query->ParamByName("LIST").AsString(AName);
  query->Open();
  return !query->IsEmpty();
}

}  // namespace perlayer
